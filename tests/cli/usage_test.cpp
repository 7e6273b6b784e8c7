#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "cli/program.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// Usage error: exit 2, a reason on the error output, nothing on the standard output.
void ExpectUsageError(const std::vector<std::string>& arguments, const std::string& reason) {
    const Outcome outcome = RunProgram(arguments);
    EXPECT_EQ(outcome.status, 2) << testing::PrintToString(arguments);
    EXPECT_THAT(outcome.err, HasSubstr(reason)) << testing::PrintToString(arguments);
    EXPECT_EQ(outcome.out, "");
}

TEST(Usage, NeedsACommand) {
    ExpectUsageError({}, "A subcommand is required");
}

TEST(Usage, NamesWhatItDoesNotKnow) {
    ExpectUsageError({"upgrdae"}, "upgrdae");
    ExpectUsageError({"status", "--colour"}, "--colour");
}

TEST(Usage, TakesSiteIdsFrom1ToTheLargest32BitInteger) {
    for (const char* id : {"0", "-3", "seven", "2147483648"}) {
        ExpectUsageError({"upgrade-site", id}, id);
        ExpectUsageError({"import-master-data", id}, id);
    }
    ExpectUsageError({"upgrade-site"}, "ID, or --all-old, is required");
}

TEST(Usage, TakesNoVersionBelow0) {
    ExpectUsageError({"upgrade-site", "7", "--from", "-1"}, "--from");
    ExpectUsageError({"upgrade-site", "7", "--from", "old"}, "--from");
    ExpectUsageError({"upgrade-site", "7", "--from", "1,5"}, "'1,5' is not a version");
    ExpectUsageError({"import-master-data", "7", "--from", "inf"}, "'inf' is not a version");
}

TEST(Usage, TakesNoEmptyValues) {
    for (const char* option :
         {"--trace", "--events", "--log", "--services-log", "--charset", "--backup", "--datadir",
          "--socket", "--user", "--host", "--password-file", "--ssl-ca", "--service-command"}) {
        ExpectUsageError({option, "", "status"}, "must not be empty");
        ExpectUsageError({std::string(option) + "=", "status"}, "must not be empty");
    }
    ExpectUsageError({"report", "", "--events", "/dev/null"}, "must not be empty");
    ExpectUsageError({"report", "page.html", "--events", ""}, "must not be empty");
    ExpectUsageError({"rehearse", "--workdir", ""}, "must not be empty");
}

TEST(Usage, OffersRecordsOfARunToRunsAlone) {
    const TemporaryFolder folder;
    const std::string file = (folder / "record").string();
    const auto refused = [&](std::vector<std::string> command, const std::string& option) {
        const std::string text = command.front() + " does not write the file of " + option;
        command.insert(command.end(), {"--socket", "/nowhere", option, file});
        ExpectUsageError(command, text);
        EXPECT_FALSE(std::filesystem::exists(file)) << text;
    };
    for (const char* option : {"--trace", "--events", "--log", "--metrics", "--report"}) {
        for (const std::vector<std::string>& command :
             std::vector<std::vector<std::string>>{{"check"},
                                                   {"verify"},
                                                   {"plan"},
                                                   {"repair"},
                                                   {"restore", folder.Path().string()}}) {
            refused(command, option);
        }
    }
    refused({"rehearse", "--workdir", "x"}, "--log");
    for (const char* option : {"--trace", "--log", "--metrics", "--report"}) {
        refused({"status"}, option);
    }
    // One file of options for all commands.
    const std::string options = (folder / "options.cnf").string();
    WriteFile(options, "[twupdate]\nlog=" + file + "\nevents=" + file + "x\n");
    for (const char* command : {"check", "repair", "verify"}) {
        EXPECT_THAT(RunProgram({"--defaults-file", options, "--socket", "/nowhere", command}).err,
                    HasSubstr("(2002)"));
    }
}

TEST(Usage, ASwitchMayBeOff) {
    EXPECT_THAT(RunProgram({"--print-defaults=false", "--socket", "/nowhere", "status"}).err,
                HasSubstr("(2002)"));
}

TEST(Usage, TakesAnEmptySqlMode) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"--sql-mode=", "--socket", "/nowhere", "status"},
             {"--sql-mode", "", "--socket", "/nowhere", "status"}}) {
        EXPECT_THAT(RunProgram(arguments).err, HasSubstr("cannot connect to the server"));
    }
}

TEST(Usage, TakesDecimalNumbers) {
    const std::vector<std::vector<std::string>> before{
        {"--port"}, {"--lock-wait"}, {"--ddl-timeout"}, {"--backup", "/tmp", "--keep"}};
    for (const std::string number : {"0x10", "0b1", "1e1", "1.0", "1'0", " 1", "ten"}) {
        for (auto arguments : before) {
            arguments.insert(arguments.end(), {number, "status"});
            ExpectUsageError(arguments, "'" + number + "' is not a decimal integer");
        }
        for (const std::string command : {"plan", "verify", "check", "repair"}) {
            ExpectUsageError({command, "--site", number},
                             "'" + number + "' is not a decimal integer");
        }
        ExpectUsageError({"upgrade-site", number}, "is not a decimal integer");
        ExpectUsageError({"import-master-data", number}, "is not a decimal integer");
        ExpectUsageError({"rehearse", "--workdir", "/tmp", "--sample", number},
                         "is not a decimal integer");
    }
    // 010 is ten: in octal 0200000 would be the port 65536, and 089 no number at all.
    ExpectUsageError({"--port", "0200000", "status"}, "Value 200000 not in range 1 to 65535");
    EXPECT_THAT(RunProgram({"--host", "127.0.0.1", "--port", "089", "status"}).err,
                HasSubstr("cannot connect to the server"));
}

TEST(Usage, TakesALocalHostNameThatTheColumnHolds) {
    for (const std::string& name : {std::string(), std::string("a b"), std::string(101, 'a')}) {
        ExpectUsageError({"--local-host-name", name, "status"}, "1 to 100 characters");
    }
}

TEST(Usage, RefusesPasswordsOnTheCommandLineWithoutRepeatingThem) {
    const std::vector<std::vector<std::string>> ways{{"-psecret", "status"},
                                                     {"-p", "secret", "status"},
                                                     {"--password=secret", "status"},
                                                     {"--password", "secret", "status"},
                                                     {"status", "--password"}};
    for (const auto& arguments : ways) {
        const Outcome outcome = RunProgram(arguments);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(outcome.err, HasSubstr("--password-file")) << testing::PrintToString(arguments);
        EXPECT_THAT(outcome.err, Not(HasSubstr("secret"))) << testing::PrintToString(arguments);
    }
}

TEST(Usage, RefusesAPasswordFileThatEverybodyMayRead) {
    TemporaryFolder folder;
    WriteFile(folder / "password", "secret\n");
    chmod((folder / "password").c_str(), 0644);
    ExpectUsageError({"--password-file", (folder / "password").string(), "status"}, "chmod 600");
}

TEST(Usage, NamesAPasswordFileThatCannotBeRead) {
    const TemporaryFolder folder;
    ExpectUsageError(
        {"--password-file", folder.Path().string(), "status"},
        "cannot read the password file " + folder.Path().string() + ": Is a directory\n");
    ExpectUsageError({"--password-file", "/nowhere/password", "status"}, "/nowhere/password");
}

TEST(Usage, NamesAnInstallFolderThatIsNotThere) {
    ExpectUsageError({"--install-folder", "/nowhere", "status"}, "/nowhere");
}

TEST(Usage, TakesEitherAServerOrAPrivateOne) {
    ExpectUsageError({"--datadir", "/tmp/x", "--socket", "/tmp/y", "status"}, "--datadir");
}

// A slip of the pen in the folder's name would otherwise make a whole server there.
TEST(Usage, StartsNoServerOnAFolderWithoutData) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "backup");
    WriteFile(folder / "backup" / "tw_1.sql.gz", "");
    const std::string data = (folder / "trail" / "db").string();
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"status"},
             {"plan"},
             {"check"},
             {"upgrade"},
             {"upgrade-site", "1"},
             {"import-master-data", "1"},
             {"verify"},
             {"repair"},
             {"rehearse", "--workdir", (folder / "rehearsal").string()},
             {"restore", (folder / "backup").string()}}) {
        std::vector<std::string> arguments{"--datadir", data};
        arguments.insert(arguments.end(), command.begin(), command.end());
        const Outcome outcome = RunProgram(arguments);
        EXPECT_EQ(outcome.status, 2) << command.front();
        EXPECT_EQ(outcome.err,
                  "twupdate: there is no server data in the folder " + data +
                      "\ntwupdate: hint: create-core initialises a new server there\n");
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "trail"));
    EXPECT_FALSE(std::filesystem::exists(folder / "rehearsal"));
}

TEST(Usage, StartsAServerOfItsOwnWhereCreateCoreHasMadeOne) {
    const TemporaryFolder folder;
    const std::string data = (folder / "db").string();
    const Outcome created = RunProgram({"--datadir", data, "create-core"});
    EXPECT_EQ(created.status, 0) << created.err;
    const Outcome status = RunProgram({"--datadir", data, "status"});
    EXPECT_EQ(status.status, 0) << status.err;
    EXPECT_THAT(status.out, HasSubstr("version " + kCurrentShown + " of " + kCurrentShown));
    WriteFile(folder / "others" / "letter.txt", "Dear reader");
    ExpectUsageError({"--datadir", (folder / "others").string(), "create-core"},
                     "is not empty and holds no server data");
}

TEST(Usage, PrintsItsVersion) {
    const Outcome outcome = RunProgram({"--version"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, testing::ContainsRegex("^twupdate 1\\.[0-9]+\\.[0-9]+ "));
    EXPECT_THAT(outcome.out, HasSubstr("(brings databases to version " + kCurrentShown + ")\n"));
}

TEST(Usage, ListsItsCommands) {
    const Outcome outcome = RunProgram({"--help"});
    EXPECT_EQ(outcome.status, 0);
    for (const char* command :
         {"create-core", "upgrade", "upgrade-site", "import-master-data", "status"}) {
        EXPECT_THAT(outcome.out, HasSubstr(command));
    }
    EXPECT_THAT(outcome.out, Not(HasSubstr("--password,")));
}

TEST(Usage, TellsOfEachCommandThatTheProgramsOptionsMayStandBehindIt) {
    const std::string hint = "\nThe options listed by 'twupdate --help' are accepted here too.\n";
    for (const char* command : {"status", "upgrade", "upgrade-site", "restore", "rehearse"}) {
        EXPECT_THAT(RunProgram({command, "--help"}).out, HasSubstr(hint)) << command;
    }
    EXPECT_THAT(RunProgram({"--help"}).out, Not(HasSubstr(hint)));
    const Outcome behind = RunProgram({"status", "--socket", "/nowhere/mysqld.sock"});
    EXPECT_THAT(behind.err, HasSubstr("cannot connect to the server"));
}

TEST(Usage, NamesTheLineThatMakesAFileNoFileOfOptions) {
    const TemporaryFolder folder;
    const std::string file = (folder / "options.cnf").string();
    const auto said = [&](const std::string& content) {
        WriteFile(file, content);
        return RunProgram({"--defaults-file", file, "--socket", "/nowhere", "status"}).err;
    };
    const std::string unusable = "twupdate: the option file " + file + " cannot be used: ";
    EXPECT_EQ(said("\n# mine\nuser=root\n"),
              unusable + "line 3 is not in a group such as [client]\n");
    EXPECT_EQ(said(std::string("\x7f"
                               "ELF\0\1\2",
                               7)),
              unusable + "line 1 is not in a group such as [client]\n");
    EXPECT_EQ(said("[client]\nuser=root\nthis is garbage\n"),
              unusable + "line 3 is not an option\n");
    EXPECT_EQ(said("[client\nuser=root\n"),
              unusable + "line 1 has a group without a closing bracket\n");
    for (const char* good : {"", "# nothing\n", "[mysqld]\nsql mode is x\n",
                             "[client]\n\n; a remark\nuser = root\nssl\n!include /nowhere\n"}) {
        EXPECT_THAT(said(good), HasSubstr("(2002)")) << good;
    }
}

TEST(Usage, SaysThatNoServerAnswers) {
    const Outcome outcome = RunProgram({"--socket", "/nowhere/mysqld.sock", "status"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.err, HasSubstr("cannot connect to the server"));
    EXPECT_THAT(outcome.err, HasSubstr("(2002)"));
}

TEST(Usage, SaysItInJsonToo) {
    const Outcome outcome = RunProgram({"--json", "--socket", "/nowhere/mysqld.sock", "status"});
    EXPECT_EQ(outcome.status, 7);
    const auto result = outcome.Json();
    ASSERT_TRUE(result.is_object()) << outcome.out;
    EXPECT_EQ(result["result"], "failed");
    EXPECT_THAT(result["error"]["text"].get<std::string>(), HasSubstr("cannot connect"));
}

/// What the page writes with "…" for a value, as a regular expression.
std::string PatternOf(const std::string& message) {
    static const std::string ellipsis = "…";
    std::string pattern;
    for (std::size_t i = 0; i < message.size(); ++i) {
        if (message.compare(i, ellipsis.size(), ellipsis) == 0) {
            pattern += ".+";
            i += ellipsis.size() - 1;
        } else {
            pattern += std::string("()[]*+?.").find(message[i]) == std::string::npos
                           ? std::string(1, message[i])
                           : std::string("[") + message[i] + "]";
        }
    }
    return pattern;
}

TEST(Usage, FindsEveryMessageOfTheParserOnThePageOfErrors) {
    const std::string page = ContentOf(TWUPDATE_SOURCE_FOLDER "/docs/errors.md");
    const std::vector<std::pair<std::vector<std::string>, std::string>> uses{
        {{}, "A subcommand is required"},
        {{"upgrdae"}, "unknown: …"},
        {{"status", "--colour"}, "The following argument was not expected: …"},
        {{"status", "upgrade", "--colour"}, "The following arguments were not expected: …"},
        {{"upgrade-site"}, "… is required"},
        {{"rehearse"}, "… is required"},
        {{"--port"}, "…: 1 required … missing"},
        {{"--port", "1", "--port", "2", "status"}, "…: At Most 1 required but received 2"},
        {{"--port", "65536", "status"}, "…: Value … not in range … to …"},
        {{"upgrade-site", "0"}, "…: Value … not in range … to …"},
        {{"--json=yes!", "status"}, "Could not convert: … = …"},
        {{"--port", "1", "--datadir", "x", "status"}, "… excludes …"},
        {{"--defaults-file", "/nowhere", "status"}, "the option file … cannot be used: …"},
        {{"--install-folder", "/nowhere", "status"}, "…: Directory does not exist: …"},
        {{"--defaults-file", "/", "status"}, "the option file … cannot be used: …"},
        {{"--install-folder", "/dev/null", "status"}, "…: Directory is actually a file: …"}};
    for (const auto& [arguments, message] : uses) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        EXPECT_THAT(page, HasSubstr("`" + message + "`"));
        const Outcome outcome = RunProgram(arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, testing::StartsWith("twupdate: "));
        EXPECT_THAT(outcome.err.substr(0, outcome.err.find('\n')),
                    testing::MatchesRegex("twupdate: " + PatternOf(message)));
    }
}

}  // namespace
}  // namespace twupdate::test
