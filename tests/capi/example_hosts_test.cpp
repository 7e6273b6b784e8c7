// The example hosts upgrade real databases: what they leave behind is what the reference host
// leaves behind, table by table and row by row.

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <fstream>

#include "sample/installation.h"
#include "support/lines.h"
#include "support/server_test.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Example {
    const char* name;
    const char* command;  ///< the program, with what it needs before its arguments
};

void PrintTo(const Example& example, std::ostream* out) {
    *out << example.name;
}

struct Outcome {
    int exitCode = -1;
    std::string output;  ///< standard output and standard error
};

/// Runs a command through a shell. The folders of the test have no blanks or quotes.
Outcome RunShell(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    Outcome outcome;
    std::array<char, 4096> part{};
    while (const std::size_t size = fread(part.data(), 1, part.size(), pipe)) {
        outcome.output.append(part.data(), size);
    }
    const int status = pclose(pipe);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

class ExampleTest : public ServerTest {
  protected:
    ExampleTest() {
        WriteFile("client.cnf",
                  "[client]\nsocket=" + Server().Socket().string() + "\nuser=root\npassword=\n");
    }
    std::string OptionFile() const { return (Root() / "client.cnf").string(); }
    std::string Arguments() const { return OptionFile() + " " + InstallFolder().string(); }

    /// Schema and rows of every database of the platform.
    std::map<std::string, std::string> Everything() {
        std::map<std::string, std::string> everything;
        for (const std::string& database : Rows("SHOW DATABASES LIKE 'tw\\_%'")) {
            everything[database] = SchemaOf(database).Text() + RowsOf(database).Text();
        }
        return everything;
    }

    void DropEverything() {
        for (const std::string& database : Rows("SHOW DATABASES LIKE 'tw\\_%'")) {
            Sql("DROP DATABASE " + database + ";");
        }
    }

    void MakeSample() {
        sample::InstallationOptions options;
        options.sites = 5;
        options.rows = 20;
        sample::MakeInstallation(Host(), options);
    }

    /// What the reference host makes of the sample.
    const std::map<std::string, std::string>& ExpectedOfSample() {
        static const auto expected = [this] {
            MakeSample();
            UpgradeInstallation();
            auto everything = Everything();
            DropEverything();
            return everything;
        }();
        return expected;
    }

    /// A central database that is current and a site that is not.
    void LoadOldSite() {
        LoadLogs(7);
        LoadCentral(kCurrentVersion);
        LoadSite(7);
        LoadForm(7, 20, {{1, "text"}, {2, "float"}});
        Sql("INSERT INTO tw_7.group_table(groupid, displayname) VALUES(1, 'O''Neill \\\\ Zoë');");
    }
};

class ExampleHosts : public ExampleTest, public testing::WithParamInterface<Example> {
  protected:
    static Outcome RunExample(const std::string& arguments) {
        return RunShell(GetParam().command + (" " + arguments));
    }
};

TEST_P(ExampleHosts, UpgradeOneSite) {
    LoadOldSite();
    Upgrade(7, 1.0);
    SetSiteVersion(7, kCurrentVersion);
    const auto expected = Everything();
    DropEverything();
    LoadOldSite();
    ASSERT_EQ(Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = 7"), "1");

    const auto outcome = RunExample(Arguments() + " 7");

    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_EQ(Everything(), expected);
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = 7"), kCurrentStored);

    EXPECT_THAT(LinesOf(outcome.output, "site "),
                ElementsAre("site 7 is at 1.0000", "site 7 is done"));
    EXPECT_EQ(LinesOf(outcome.output, "  Site").size(),
              PendingCount({Ladder::kSiteSchema, Ladder::kSiteContent}, 1.0));
    EXPECT_THAT(outcome.output,
                StartsWith("site 7 is at 1.0000\n  SiteSchemaStep_1_0001 on tw_7: value type and "
                           "required flag of form template criteria\n"));
    EXPECT_THAT(outcome.output, HasSubstr("  SiteContentStep_1_0048 on tw_7: "));
    EXPECT_THAT(outcome.output, HasSubstr("\n    service: upgrade component 1000 of site 7\n"));
    EXPECT_TRUE(outcome.output.ends_with("\nsite 7 is done\ndone\n")) << outcome.output;
}

TEST_P(ExampleHosts, UpgradeTheSampleInstallation) {
    const auto& expected = ExpectedOfSample();
    MakeSample();

    const auto outcome = RunExample(Arguments());

    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_EQ(Everything(), expected);
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), kCurrentStored);
    EXPECT_EQ(LinesOf(outcome.output, "  ServerStep_").size(),
              PendingCount({Ladder::kServer}, 1.0));
    EXPECT_THAT(outcome.output, HasSubstr("    service: refresh the application\n"));
    EXPECT_TRUE(outcome.output.ends_with("\ndone\n"));
}

TEST_P(ExampleHosts, TellWhatTheServerRefusedAndGoOnLater) {
    LoadOldSite();
    Sql("RENAME TABLE tw_7.pagehit TO tw_7.elsewhere;");

    const auto failed = RunExample(Arguments() + " 7");

    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.output, HasSubstr("Table 'tw_7.pagehit' doesn't exist"));
    EXPECT_THAT(failed.output, HasSubstr("error 1146, SQLSTATE 42S02"));
    EXPECT_THAT(failed.output, HasSubstr("\n  in: "));
    EXPECT_THAT(failed.output, Not(HasSubstr("site 7 is done")));
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = 7"), "1");

    Sql("RENAME TABLE tw_7.elsewhere TO tw_7.pagehit;");
    EXPECT_EQ(RunExample(Arguments() + " 7").exitCode, 0);
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = 7"), kCurrentStored);
}

TEST_P(ExampleHosts, TellWhatThePlatformLacks) {
    LoadOldSite();
    Sql("DELETE FROM tw_tarnwick.component WHERE componentid = 1000;");
    const auto outcome = RunExample(Arguments() + " 7");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.output, testing::ContainsRegex("(component|Item) 1000"));
}

TEST_P(ExampleHosts, SaySoWhenThereIsNoSuchSite) {
    LoadOldSite();
    Sql("ALTER TABLE tw_tarnwick.site MODIFY version DOUBLE;");
    Sql("UPDATE tw_tarnwick.site SET version = NULL WHERE siteid = 7;");
    for (const char* site : {"7", "8"}) {  // the one has no version, the other is not there
        const auto outcome = RunExample(Arguments() + " " + site);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.output,
                    StartsWith(std::string(GetParam().name) +
                               ": no number from SELECT version FROM tw_tarnwick.site WHERE "
                               "siteid = " +
                               site));
        EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1)
            << outcome.output;
    }
}

TEST_P(ExampleHosts, SaySoWhenThereIsNoInstallation) {
    const auto outcome = RunExample(Arguments());
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.output, StartsWith(std::string(GetParam().name) + ": "));
    EXPECT_THAT(outcome.output, HasSubstr("tw_tarnwick"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("Traceback")));
}

TEST_P(ExampleHosts, SayThatTheCentralDatabaseIsTooOld) {
    MakeSample();
    const auto outcome = RunExample(Arguments() + " 2");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.output, HasSubstr("; upgrade the central database first\n"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("SQLSTATE"))) << "no server has refused anything";
}

TEST_P(ExampleHosts, SaySoWhenThereIsNoServer) {
    WriteFile("nobody.cnf", "[client]\nsocket=" + (Root() / "no.sock").string() + "\nuser=root\n");
    const auto outcome =
        RunExample((Root() / "nobody.cnf").string() + " " + InstallFolder().string());
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.output, HasSubstr("no.sock"));
}

TEST_P(ExampleHosts, ExplainTheirArguments) {
    const auto outcome = RunExample("");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.output, HasSubstr(" OPTION-FILE INSTALL-FOLDER [SITE]\n"));
}

#ifdef TWUPDATE_PYTHON
TEST_F(ExampleTest, APythonProgramBuildsOnTheExample) {
    LoadOldSite();
    WriteFile("own.py",
              "import sys\n"
              "sys.path[:0] = ['" TWUPDATE_PYTHON_FOLDER
              "']\n"
              "sys.dont_write_bytecode = True\n"
              "import python_host\n"
              "class Host(python_host.Host):\n"
              "    def step_starting(self, step, database):\n"
              "        print('own', database.decode(), step[0].name.decode())\n"
              "        if step[0].name == b'SiteSchemaStep_1_0005':\n"
              "            raise RuntimeError('enough')\n"
              "connection = python_host.Connection(sys.argv[1])\n"
              "try:\n"
              "    python_host.run(Host(connection, sys.argv[2]), site=7)\n"
              "except python_host.UpgradeError as error:\n"
              "    print(error)\n"
              "connection.close()\n");
    const auto outcome =
        RunShell(TWUPDATE_PYTHON " " + (Root() / "own.py").string() + " " + Arguments());
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output,
              "site 7 is at 1.0000\n"
              "own tw_7 SiteSchemaStep_1_0001\n"
              "own tw_7 SiteSchemaStep_1_0003\n"
              "own tw_7 SiteSchemaStep_1_0005\n"
              "TWU_HOST_ERROR: RuntimeError('enough')\n"
              "  in: StepStarting\n");
}
#endif

const Example kExamples[] = {
#ifdef TWUPDATE_PYTHON
    {"python_host", TWUPDATE_PYTHON " " TWUPDATE_PYTHON_FOLDER "/python_host.py"},
#endif
    {"cpp_host", TWUPDATE_CPP_HOST},
    {"c_host", TWUPDATE_C_HOST},
};
INSTANTIATE_TEST_SUITE_P(Examples, ExampleHosts, testing::ValuesIn(kExamples),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace twupdate::test
