#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "cli/installation_fixture.h"
#include "cli/program.h"
#include "cli/server/option_files.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// What --print-defaults shows of an option: its value and where that comes from.
using Defaults = std::map<std::string, std::pair<std::string, std::string>>;

class OptionSources : public testing::Test {
  protected:
    std::string File(const std::string& name, const std::string& content) {
        WriteFile(folder_ / name, content);
        return (folder_ / name).string();
    }

    /// With HOME elsewhere, so that only these files count.
    Outcome Run(const std::vector<std::string>& arguments,
                std::map<std::string, std::string> environment = {}) {
        environment.emplace("HOME", folder_.Path().string());
        return RunProgram(arguments, environment);
    }

    Defaults DefaultsOf(std::vector<std::string> arguments,
                        const std::map<std::string, std::string>& environment = {}) {
        arguments.insert(arguments.begin(), {"--json", "--print-defaults"});
        const Outcome outcome = Run(arguments, environment);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        Defaults defaults;
        const auto json = outcome.Json();
        for (const auto& row : json["options"]) {
            defaults[row["option"]] = {row["value"], row["from"]};
        }
        return defaults;
    }

    TemporaryFolder folder_;
};

TEST_F(OptionSources, TheCommandLineBeatsTheEnvironmentAndThatTheOptionFile) {
    const std::string file =
        File("x.cnf", "[twupdate]\njobs=2\nddl_timeout = 7 # seconds\nlocal-host-name='a.b'\n");
    const std::vector<std::string> base{"--defaults-file", file, "upgrade"};
    Defaults defaults = DefaultsOf(base);
    EXPECT_EQ(defaults["jobs"], std::pair(std::string("2"), file + ", line 2, group [twupdate]"));
    EXPECT_EQ(defaults["ddl-timeout"].first, "7");
    EXPECT_EQ(defaults["local-host-name"].first, "a.b");
    EXPECT_EQ(defaults["charset"], std::pair(std::string("utf8mb4"), std::string("the default")));

    const std::map<std::string, std::string> environment{
        {"TWUPDATE_JOBS", "3"}, {"TWUPDATE_DDL_TIMEOUT", ""}, {"TWUPDATE_NO_SITE_FILES", "1"}};
    defaults = DefaultsOf(base, environment);
    EXPECT_EQ(defaults["jobs"],
              std::pair(std::string("3"), std::string("the variable TWUPDATE_JOBS")));
    EXPECT_EQ(defaults["ddl-timeout"].first, "7") << "an empty variable is none";
    EXPECT_EQ(defaults["no-site-files"].first, "1");

    defaults = DefaultsOf({"--defaults-file", file, "upgrade", "--jobs", "4"}, environment);
    EXPECT_EQ(defaults["jobs"], std::pair(std::string("4"), std::string("the command line")));
}

TEST_F(OptionSources, TheSuffixAddsGroupsAndTheLastLineWins) {
    const std::string file = File("x.cnf",
                                  "[client]\nuser=all\nport=1\n[twupdate]\nlock-wait=1\nkeep=5\n"
                                  "[client-eu1]\nuser=one\npassword=secret\n"
                                  "[twupdate-eu1]\nlock-wait=2\n"
                                  "[twupdate-eu2]\nlock-wait=3\nnonsense=1\n");
    Defaults defaults = DefaultsOf({"--defaults-file", file});
    EXPECT_EQ(defaults["user"].first, "all");
    EXPECT_EQ(defaults["lock-wait"].first, "1");
    EXPECT_FALSE(defaults.contains("password"));
    for (const auto& [arguments, environment] :
         std::vector<std::pair<std::vector<std::string>, std::map<std::string, std::string>>>{
             {{"--defaults-file", file, "--defaults-group-suffix=-eu1"}, {}},
             {{"--defaults-file", file}, {{"TWUPDATE_DEFAULTS_GROUP_SUFFIX", "-eu1"}}},
             {{}, {{"MYSQL_GROUP_SUFFIX", "-eu1"}, {"TWUPDATE_DEFAULTS_FILE", file}}}}) {
        defaults = DefaultsOf(arguments, environment);
        EXPECT_EQ(defaults["user"],
                  std::pair(std::string("one"), file + ", line 8, group [client-eu1]"));
        EXPECT_EQ(defaults["port"].first, "1");
        EXPECT_EQ(defaults["lock-wait"].first, "2");
        EXPECT_EQ(defaults["keep"].first, "5");
        EXPECT_EQ(defaults["password"].first, "********");
        EXPECT_EQ(defaults["defaults-group-suffix"].first, "-eu1");
    }
}

TEST_F(OptionSources, ReadsTheFilesThatTheServersClientsRead) {
    File(".my.cnf", "[twupdate]\nlock-wait=3\n");
    std::filesystem::create_directory(folder_ / "more");
    File("more/b.cnf", "[twupdate]\nport=12\n");
    File("more/a.cnf", "[twupdate]\nport=11\nuser=\"a \\\"b\\\"\"\n");
    File("more/c.txt", "[twupdate]\nport=13\n");
    const std::string extra =
        File("extra.cnf", "[twupdate]\nlock-wait=4\nddl-timeout=5\n!includedir " +
                              (folder_ / "more").string() + "\n");
    Defaults defaults = DefaultsOf({"--defaults-extra-file", extra});
    EXPECT_EQ(defaults["lock-wait"].first, "3") << "the home folder comes last";
    EXPECT_EQ(defaults["ddl-timeout"].first, "5");
    EXPECT_EQ(defaults["port"].first, "12");
    EXPECT_EQ(defaults["user"].first, "a \"b\"");
    defaults = DefaultsOf({"--no-defaults"});
    EXPECT_FALSE(defaults.contains("lock-wait"));
    EXPECT_FALSE(defaults.contains("port"));
    const Outcome both = Run({"--no-defaults", "--defaults-extra-file", extra, "status"});
    EXPECT_EQ(both.status, 2);
}

TEST_F(OptionSources, ShowsNoPassword) {
    const std::string file =
        File("x.cnf", "[client]\npassword=secret\nssl-passphrase=hidden\nssl-key=/k\n");
    const Outcome shown = Run({"--defaults-file", file, "--print-defaults"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.out, AllOf(HasSubstr("password"), HasSubstr("********"), HasSubstr("/k"),
                                 Not(HasSubstr("secret")), Not(HasSubstr("hidden"))));
    EXPECT_THAT(Run({"--print-defaults", "--no-defaults"}, {{"MYSQL_PWD", "secret"}}).out,
                AllOf(HasSubstr("the variable MYSQL_PWD"), Not(HasSubstr("secret"))));
}

TEST_F(OptionSources, NamesTheFileTheGroupAndTheOption) {
    const auto said = [&](const std::string& content, const std::string& command = "status") {
        const std::string file = File("x.cnf", content);
        const Outcome outcome =
            Run({"--defaults-file", file, "--defaults-group-suffix=-eu1", command});
        EXPECT_EQ(outcome.status, 2) << content;
        EXPECT_EQ(outcome.out, "");
        return outcome.err;
    };
    const std::string file = (folder_ / "x.cnf").string();
    EXPECT_THAT(
        said("[twupdate-eu1]\njbos=2\n"),
        HasSubstr("twupdate: " + file + ", line 2, group [twupdate-eu1]: unknown option 'jbos'\n"));
    EXPECT_THAT(said("[twupdate]\nhelp\n"), HasSubstr("unknown option 'help'"));
    EXPECT_THAT(
        said("[twupdate]\nport=1\nlock-wait=soon\n"),
        AllOf(HasSubstr("'soon' is not a decimal integer"),
              HasSubstr("hint: the value is from " + file + ", line 3, group [twupdate]\n")));
    EXPECT_THAT(said("[twupdate]\njobs=many\n", "upgrade"),
                AllOf(HasSubstr("'many' is not a number of jobs"), HasSubstr(", line 2,")));
    EXPECT_THAT(said("[twupdate]\nlock-wait\n"), HasSubstr("the option 'lock-wait' needs a value"));
    EXPECT_THAT(said("[twupdate]\nno-services=perhaps\n"),
                HasSubstr("'perhaps' is neither true nor false"));
}

TEST_F(OptionSources, TakesWhatOtherCommandsAndProgramsKnow) {
    const std::string file = File("x.cnf",
                                  "[client]\nnobody-knows\n[mysqldump]\nquick\n"
                                  "[twupdate]\njobs=2\nsample=3\nloose-new-option=1\n"
                                  "connect-timeout=5\nno-services=0\n");
    const Outcome outcome = Run({"--defaults-file", file, "--service-command", "x", "--socket",
                                 "/nowhere/mysqld.sock", "status"});
    EXPECT_THAT(outcome.err, HasSubstr("(2002)"));
    EXPECT_EQ(Run({"--defaults-file", File("bad.cnf", "[twupdate]\nx=1\n"), "--help"}).status, 0);
}

TEST_F(OptionSources, ACommandThatOnlyLooksDoesNotAskForTheFilesOfRuns) {
    const std::string file =
        File("x.cnf", "[twupdate]\nbackup=/dev/null/x\nkeep=2\nevents=/nowhere/x\n");
    const std::vector<std::string> base{"--defaults-file", file, "--socket", "/nowhere"};
    for (const auto& [command, status] :
         std::vector<std::pair<std::string, int>>{{"status", 7}, {"upgrade", 2}}) {
        auto arguments = base;
        arguments.push_back(command);
        EXPECT_EQ(Run(arguments).status, status) << command;
    }
}

TEST_F(OptionSources, AnOptionOfTheCommandLineBeatsWhatItExcludes) {
    const std::string file = File("x.cnf", "[twupdate]\nno-services\nservices-log=/tmp/x\n");
    EXPECT_THAT(Run({"--defaults-file", file, "upgrade"}).err, HasSubstr("excludes"));
    const Defaults defaults =
        DefaultsOf({"--defaults-file", file, "--service-command", "x", "status"});
    EXPECT_FALSE(defaults.contains("no-services"));
    EXPECT_TRUE(DefaultsOf({"--defaults-file", file, "upgrade"}, {{"TWUPDATE_NO_SERVICES", "0"}})
                    .contains("services-log"));
    // Otherwise the client library would look for the server of the variable.
    EXPECT_THAT(Run({"--socket", "/nowhere/x", "status"}, {{"TWUPDATE_HOST", "192.0.2.1"}}).err,
                HasSubstr("(2002)"));
}

TEST_F(OptionSources, ThePrivateServerMayStandInTheFileThatIsNamed) {
    const std::string file =
        File("x.cnf", "[client]\nsocket=/s\n[twupdate]\ndatadir=/nowhere/data\n");
    EXPECT_EQ(DefaultsOf({"--defaults-file", file})["datadir"].first, "/nowhere/data");
    const Outcome outcome = Run({"--defaults-file", file, "status"});
    EXPECT_THAT(outcome.err, testing::HasSubstr("/nowhere/data"));
    EXPECT_EQ(DefaultsOf({"--defaults-file", file, "--socket", "/t"}).count("datadir"), 0U);
}

TEST_F(OptionSources, RefusesAFileThatEverybodyMayWrite) {
    const std::string file = File("x.cnf", "[twupdate]\nservice-command=/tmp/evil\n");
    chmod(file.c_str(), 0666);
    const Outcome outcome = Run({"--defaults-file", file, "status"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("the option file " + file + " cannot be used: "),
                                   HasSubstr("everybody may write it"), HasSubstr("chmod o-w")));
}

class OptionFilesOfAServer : public InstallationTest {};

TEST_F(OptionFilesOfAServer, AGroupNamesAnInstallationForTheProgramAndForItsBackups) {
    MakeNearlyCurrentInstallation();
    Execute("CREATE OR REPLACE USER 'eu1'@'localhost' IDENTIFIED BY 'it\\'s \"x\\\\';");
    Execute("GRANT ALL PRIVILEGES ON *.* TO 'eu1'@'localhost';");
    const std::string file = (folder_ / "fleet.cnf").string();
    WriteFile(file,
              "[client]\nuser=nobody\nsocket=/nowhere\n"
              "[twupdate]\nno-services\nno-site-files\n"
              "[twupdate-eu1]\nsocket=" +
                  CliServer::Get().Server().Socket().string() +
                  "\nuser=eu1\npassword=\"it's \\\"x\\\\\"\nbackup=" +
                  (folder_ / "backup").string() + "\n");
    const Outcome outcome =
        RunProgram({"--defaults-file", file, "--defaults-group-suffix=-eu1", "upgrade"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(InstallationVersion(), "1.0265");
    std::size_t dumps = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_ / "backup")) {
        dumps += entry.path().filename() == "tw_tarnwick.sql.gz" ? 1U : 0U;
    }
    EXPECT_EQ(dumps, 1u);
    EXPECT_THAT(RunProgram({"--defaults-file", file, "status"}).err, HasSubstr("(2002)"));
}

}  // namespace
}  // namespace twupdate::test
