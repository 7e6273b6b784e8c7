#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

using Failures = InstallationTest;

TEST_F(Failures, WrongPasswordSaysWhoWasRefused) {
    Execute("CREATE USER IF NOT EXISTS 'operator'@'localhost' IDENTIFIED BY 'right';");
    WriteFile(folder_ / "password", "wrong\n");
    chmod((folder_ / "password").c_str(), 0600);
    const auto socket = CliServer::Get().Server().Socket().string();
    const Outcome outcome = RunProgram({"--socket", socket, "--user", "operator", "--password-file",
                                        (folder_ / "password").string(), "status"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cannot connect to the server: Access denied for user "
                                       "'operator'@'localhost'"));
    EXPECT_THAT(outcome.err, HasSubstr("(1045)"));
    EXPECT_THAT(outcome.err, Not(HasSubstr("wrong")));
}

TEST_F(Failures, ThePasswordComesFromItsFileTheEnvironmentOrAnOptionFile) {
    Execute("CREATE USER IF NOT EXISTS 'operator'@'localhost' IDENTIFIED BY 'right';");
    Execute("GRANT ALL ON *.* TO 'operator'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    const auto says = [&](const Outcome& outcome) {
        EXPECT_THAT(outcome.err, HasSubstr("there is no central database"));
    };
    WriteFile(folder_ / "password", "right\n");
    chmod((folder_ / "password").c_str(), 0600);
    says(RunProgram({"--socket", socket, "--user", "operator", "--password-file",
                     (folder_ / "password").string(), "status"}));
    says(
        RunProgram({"--socket", socket, "--user", "operator", "status"}, {{"MYSQL_PWD", "right"}}));
    WriteFile(folder_ / "options.cnf",
              "[client]\nsocket=" + socket + "\n[twupdate]\nuser=operator\npassword=right\n");
    says(RunProgram({"--defaults-file", (folder_ / "options.cnf").string(), "status"}));
}

TEST_F(Failures, NoCentralDatabaseSaysHowToMakeOne) {
    for (const char* command : {"status", "upgrade"}) {
        const Outcome outcome = Run({command});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err,
                    HasSubstr("there is no central database tw_tarnwick on this server"));
    }
}

TEST_F(Failures, AnInstallationWithoutAVersionIsNamed) {
    MakeCentralDatabase();
    Execute("ALTER TABLE tw_tarnwick.installation MODIFY version DOUBLE NULL;");
    Execute("UPDATE tw_tarnwick.installation SET version = NULL;");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("tw_tarnwick.installation.version is NULL"));
    Execute("DELETE FROM tw_tarnwick.installation;");
    EXPECT_THAT(Run({"upgrade"}).err, HasSubstr("tw_tarnwick.installation has no row"));
}

TEST_F(Failures, ASiteWithoutAVersionIsNamedBeforeAnythingIsDone) {
    MakeNearlyCurrentInstallation();
    MakeSiteRow(5, "1.0200");
    Execute("ALTER TABLE tw_tarnwick.site MODIFY version DOUBLE NULL;");
    Execute("UPDATE tw_tarnwick.site SET version = NULL;");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        outcome.err,
        HasSubstr("twupdate: the version of site 5 in tw_tarnwick.site is NULL; nothing was "
                  "done\ntwupdate: hint: set it to the version of its layout"));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    const Outcome one = Run({"upgrade-site", "5"});
    EXPECT_EQ(one.status, 1);
    EXPECT_THAT(one.err, HasSubstr("the version of site 5 in tw_tarnwick.site is NULL\ntwupdate: "
                                   "hint: name the version of its layout with --from"));
}

TEST_F(Failures, ASiteIdThatIsTooLargeIsNamedBeforeAnythingIsDone) {
    MakeNearlyCurrentInstallation();
    MakeSiteRow(5, "1.0262");
    Execute("UPDATE tw_tarnwick.site SET siteid = 5000000000;");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("twupdate: tw_tarnwick.site has a row with siteid "
                                       "5000000000, which is not between 1 and 2147483647"));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1;");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

// As the site walk does. One of them has no version, which would stop the upgrade for a site.
TEST_F(Failures, RowsWithAnIdBelowOneAreLeftOutWithAWarning) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(3, "1.0262");
    Execute("ALTER TABLE tw_tarnwick.site MODIFY COLUMN version DOUBLE;");
    Execute(
        "INSERT INTO tw_tarnwick.site(siteid, version, harddeleted) VALUES(-3, 1.0262, 0), "
        "(-2, 1.0262, -1), (-1, NULL, 0);");
    EXPECT_EQ(Run({"check"}).status, 0);
    const Outcome outcome = Run({"--json", "upgrade"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err,
                HasSubstr("twupdate: warning: left out, an id below 1: 2 sites (-3, -1)\n"));
    EXPECT_EQ(outcome.Json()["left_out"]["an id below 1"], nlohmann::json({-3, -1}));
    EXPECT_EQ(InstallationVersion(), "1.0265");
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = 3;"), "1.0265");
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = -3;"), "1.0262");
    // verify would tell of the column.
    Execute("DELETE FROM tw_tarnwick.site WHERE siteid = -1;");
    Execute("ALTER TABLE tw_tarnwick.site MODIFY COLUMN version DOUBLE DEFAULT 0 NOT NULL;");
    for (const char* command : {"status", "plan", "verify", "repair"}) {
        const Outcome after = Run({command});
        EXPECT_EQ(after.status, 0) << command << after.out << after.err;
    }
}

TEST_F(Failures, ASiteThatFailsStopsTheRunAndIsNamed) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(3, "1.0262");
    MakeSiteThatFails(8);
    MakeUpgradedSite(9, "1.0262");
    const Outcome outcome = Run({"upgrade", "--jobs", "1"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                ContainsRegex("twupdate: failed: database tw_8, site schema ladder, step "
                              "SiteSchemaStep_1_0264: .*tw_8.*: server error 1347 "
                              "\\(HY000\\): .*\n"));
    EXPECT_THAT(
        outcome.err,
        HasSubstr("Completed: 1 database (tw_3). The ladders of tw_tarnwick are done; its version "
                  "is recorded after the last site. Repeat the command; it resumes.\n"));
    EXPECT_EQ(SiteVersion(3), kCurrentStored);
    EXPECT_EQ(SiteVersion(8), "1.0262");
    EXPECT_EQ(SiteVersion(9), "1.0262");
    EXPECT_EQ(InstallationVersion(), "1.0262");

    // Once the cause is fixed the same command continues with the sites that are left.
    Execute("DELETE FROM tw_tarnwick.site WHERE siteid = 8;");
    const Outcome again = Run({"--json", "upgrade"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.Json()["sites"], 1);
    EXPECT_EQ(SiteVersion(9), kCurrentStored);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
}

TEST_F(Failures, SitesWithoutTheirDatabasesAreNamedBeforeAnythingIsDone) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(3, "1.0262");
    MakeSiteRow(8, "1.0262");
    MakeSiteRow(10, "1.0000");
    MakeSiteRow(11, kCurrentStored);  // nothing would be done there
    MakeSiteRow(12, "1.0000");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 12;");
    const fs::path trace = folder_ / "trace";
    const Outcome outcome = Run({"--trace", trace.string(), "upgrade"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "twupdate: 2 sites have no database that this account can see (tw_8, tw_10); nothing "
              "was done\ntwupdate: hint: restore it from a backup, grant privileges on it, or mark "
              "the site hard-deleted in tw_tarnwick.site\n");
    EXPECT_FALSE(fs::exists(trace));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_EQ(SiteVersion(3), "1.0262");
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"upgrade-site", "8"}, {"upgrade-site", "8", "--from", "1.0262", "--no-record"}}) {
        const Outcome one = Run(command);
        EXPECT_EQ(one.status, 1);
        EXPECT_THAT(one.err,
                    HasSubstr("twupdate: 1 site has no database that this account can see (tw_8)"));
    }
    const Outcome copies = Run({"import-master-data", "8", "--from", "1.0262"});
    EXPECT_EQ(copies.status, 1);
    EXPECT_EQ(copies.err, "twupdate: there is no database tw_8 on this server\n");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid IN(8, 10);");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(SiteVersion(3), kCurrentStored);
}

TEST_F(Failures, AVersionThatIsNoNumberIsNamedBeforeAnythingIsDone) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(5, "1.0262");
    MakeUpgradedSite(6, "1.0262");
    Execute("ALTER TABLE tw_tarnwick.site MODIFY version VARCHAR(20) NULL;");
    Execute("UPDATE tw_tarnwick.site SET version = 'old' WHERE siteid = 6;");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "twupdate: the version of site 6 in tw_tarnwick.site is 'old'; nothing was "
              "done\ntwupdate: hint: set it to the version of its layout (0 runs every step)\n");
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_THAT(Run({"upgrade-site", "6"}).err,
                HasSubstr("the version of site 6 in tw_tarnwick.site is 'old'\ntwupdate: hint: "
                          "name the version of its layout with --from"));
    EXPECT_THAT(Run({"status"}).out, ContainsRegex("   6  Site 6  'old'    no version"));
    EXPECT_THAT(Run({"check"}).out, HasSubstr("the version of site 6 is 'old'"));

    Execute("UPDATE tw_tarnwick.site SET version = '1.0262' WHERE siteid = 6;");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(SiteVersion(6), kCurrentStored);

    Execute("ALTER TABLE tw_tarnwick.installation MODIFY version VARCHAR(20) NULL;");
    Execute("UPDATE tw_tarnwick.installation SET version = 'new';");
    for (const char* command : {"status", "upgrade"}) {
        EXPECT_THAT(
            Run({command}).err,
            HasSubstr(
                "twupdate: tw_tarnwick.installation.version is 'new', so the version is unknown"));
    }
}

TEST_F(Failures, TwoRowsForOneVersionAreReportedBeforeAnythingIsDone) {
    MakeNearlyCurrentInstallation();
    Execute("INSERT INTO tw_tarnwick.installation(version) VALUES(1.0100);");
    for (const char* command : {"status", "upgrade", "check", "plan"}) {
        const Outcome outcome = Run({command});
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_EQ(
            outcome.err,
            "twupdate: tw_tarnwick.installation has 2 rows, so the version is unknown\ntwupdate: "
            "hint: delete all but the one with the version of the stored layout\n");
    }
    EXPECT_EQ(Cell("SELECT GROUP_CONCAT(version ORDER BY version) FROM tw_tarnwick.installation;"),
              "1.01,1.0262");
}

TEST_F(Failures, AFailureIsReportedInJson) {
    MakeNearlyCurrentInstallation();
    MakeSiteThatFails(8);
    const Outcome outcome = Run({"--json", "upgrade"});
    EXPECT_EQ(outcome.status, 1);
    const auto result = outcome.Json();
    ASSERT_TRUE(result.is_object()) << outcome.out;
    EXPECT_EQ(result["result"], "failed");
    EXPECT_EQ(result["error"]["database"], "tw_8");
    EXPECT_EQ(result["error"]["ladder"], "site schema");
    EXPECT_EQ(result["error"]["step"], "SiteSchemaStep_1_0264");
    EXPECT_THAT(result["error"]["statement"].get<std::string>(), HasSubstr("tw_8"));
    EXPECT_GT(result["error"]["code"].get<int>(), 0);
    EXPECT_EQ(result["upgraded"].size(), 1U);
}

TEST_F(Failures, ASiteIdTooLargeForTheComponentIsAnError) {
    MakeNearlyCurrentInstallation();
    Execute("INSERT INTO tw_tarnwick.site(siteid, version) VALUES(4294967301, 1.0262);");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("siteid"));
    EXPECT_THAT(Run({"status"}).out, HasSubstr("4294967301"));
}

/// A copy of the data files that a test may spoil.
fs::path CopyOfTheDataFiles(const TemporaryFolder& folder) {
    const fs::path install = folder / "component";
    fs::create_directories(install);
    fs::copy(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources", install / "resources",
             fs::copy_options::recursive);
    return install;
}

TEST_F(Failures, AShortLineInADataFileIsNamedBeforeAnythingIsDone) {
    const fs::path install = CopyOfTheDataFiles(folder_);
    const fs::path currencies = install / "resources" / "currencyData.txt";
    const std::string sound = ContentOf(currencies);
    WriteFile(currencies, "1\tGBP\t\xC2\xA3\n2\tUSD\n");
    const Outcome outcome = Run({"--install-folder", install.string(), "create-core"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "twupdate: " + currencies.string() +
                               " line 2 has only 2 of 3 fields; nothing was done\n");
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.schemata WHERE schema_name = "
                   "'tw_tarnwick';"),
              "0");
    const Outcome json = Run({"--json", "--install-folder", install.string(), "create-core"});
    EXPECT_EQ(json.Json()["result"], "failed");
    EXPECT_THAT(json.Json()["error"].dump(), HasSubstr("currencyData.txt line 2"));

    WriteFile(currencies, sound);
    MakeNearlyCurrentInstallation();
    const std::string components = Cell("SELECT COUNT(*) FROM tw_tarnwick.component;");
    const fs::path file = install / "resources" / "componentData.txt";
    WriteFile(file, ContentOf(file) + "1\t2\n");
    const Outcome upgrade = Run({"--install-folder", install.string(), "upgrade"});
    EXPECT_EQ(upgrade.status, 1);
    EXPECT_THAT(upgrade.err, HasSubstr("only 2 of 13 fields; nothing was done\n"));
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.component;"), components);
    EXPECT_EQ(InstallationVersion(), "1.0262");
}

TEST_F(Failures, AValueThatTheServerRefusesInADataFileIsNamed) {
    const fs::path install = CopyOfTheDataFiles(folder_);
    WriteFile(install / "resources" / "currencyData.txt", "1\tGBP\t\xC2\xA3\ntwo\tUSD\t$\n");
    const Outcome outcome = Run({"--install-folder", install.string(), "create-core"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("Unknown column 'two'"));
    EXPECT_THAT(outcome.err, HasSubstr("DROP DATABASE tw_tarnwick"));
    // Creation looks at the name alone, so resuming would find the database "there".
    EXPECT_THAT(outcome.err, Not(HasSubstr("resumes")));
    EXPECT_THAT(outcome.err, Not(HasSubstr("json")));
}

TEST_F(Failures, AReadOnlyFolderForTheTraceStopsBeforeAnyStatement) {
    MakeNearlyCurrentInstallation();
    // A file in the place of a folder cannot be written into, by root neither.
    WriteFile(folder_ / "file", "");
    const Outcome outcome = Run({"--trace", (folder_ / "file" / "trace").string(), "upgrade"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write " + (folder_ / "file" / "trace").string()));
    EXPECT_EQ(InstallationVersion(), "1.0262");
}

TEST_F(Failures, AFileThatCannotBeWrittenIsReportedWhenThereIsNothingToDoToo) {
    MakeCentralDatabase();
    Execute("UPDATE tw_tarnwick.installation SET version = " + kCurrentStored + ";");
    WriteFile(folder_ / "file", "");
    for (const char* option : {"--trace", "--events", "--log", "--services-log"}) {
        const std::string bad = (folder_ / "file" / "x").string();
        const Outcome outcome = Run({option, bad, "upgrade"});
        EXPECT_EQ(outcome.status, 2) << option;
        EXPECT_EQ(outcome.err, "twupdate: cannot write " + bad + ", the file of " + option +
                                   ": Not a directory\n");
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_EQ(Run({"--trace", (folder_ / "x").string(), "upgrade"}).status, 0);
}

TEST_F(Failures, AFolderIsNoFileToWriteInto) {
    // No server is asked for: none is there.
    for (const char* option : {"--trace", "--events", "--log", "--services-log"}) {
        for (const std::string& bad : {folder_.Path().string(), (folder_ / "new").string() + "/"}) {
            const Outcome outcome = RunProgram({"--socket", "/nowhere", option, bad, "upgrade"});
            EXPECT_EQ(outcome.status, 2) << option;
            EXPECT_EQ(outcome.err, "twupdate: cannot write " + bad + ", the file of " + option +
                                       ": Is a directory\n");
        }
    }
}

TEST_F(Failures, ABackupThatHasNoFolderToGoToIsReportedFirst) {
    const std::string file = (folder_ / "file").string();
    WriteFile(file, "");
    std::filesystem::create_directory(folder_ / "closed");
    std::filesystem::permissions(folder_ / "closed", std::filesystem::perms::owner_read |
                                                         std::filesystem::perms::owner_exec);
    GiveToNobody(folder_.Path());
    const std::string closed = (folder_ / "closed").string();
    const std::vector<std::pair<std::string, std::string>> reasonOf{
        {file, "Not a directory"},
        {file + "/new", "Not a directory"},
        {closed, "Permission denied"},
        {closed + "/new/er", "Permission denied"}};
    for (const auto& [backup, reason] : reasonOf) {
        const Outcome outcome =
            RunProgram({"--socket", "/nowhere", "--backup", backup, "upgrade"}, {}, RunAs::kNobody);
        EXPECT_EQ(outcome.status, 2) << backup;
        EXPECT_EQ(outcome.err, "twupdate: cannot write into " + backup +
                                   ", the folder of --backup: " + reason + "\n");
        EXPECT_EQ(outcome.out, "");
    }
    for (const std::string good : {"new/er", "new/er/"}) {
        const Outcome outcome =
            RunProgram({"--socket", "/nowhere", "--backup", (folder_ / good).string(), "upgrade"},
                       {}, RunAs::kNobody);
        EXPECT_EQ(outcome.status, 7) << "comes as far as the server: " << outcome.err;
    }
    EXPECT_FALSE(std::filesystem::exists(folder_ / "new"));
}

TEST_F(Failures, TwoOutputsDoNotShareAFile) {
    const std::string file = (folder_ / "one").string();
    const std::string same = (folder_ / "." / "one").string();
    const Outcome outcome =
        RunProgram({"--socket", "/nowhere", "--trace", file, "--events", same, "upgrade"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "twupdate: --events and --trace name the same file: " + file + "\n");
    const Outcome folder =
        RunProgram({"--socket", "/nowhere", "--backup", file, "--log", same, "upgrade"});
    EXPECT_EQ(folder.status, 2);
    EXPECT_EQ(folder.err, "twupdate: --backup and --log name the same file: " + same + "\n");
    fs::create_symlink("one", folder_ / "link");
    fs::create_symlink(folder_ / "link", folder_ / "longer");
    for (const bool isThere : {false, true}) {
        for (const std::string name : {"link", "longer", "hard"}) {
            if (isThere) {
                WriteFile(file, "");
            }
            if (name == "hard") {
                if (!isThere) {
                    continue;
                }
                fs::create_hard_link(file, folder_ / name);
            }
            const std::string other = (folder_ / name).string();
            const Outcome linked =
                RunProgram({"--socket", "/nowhere", "--events", file, "--log", other, "upgrade"});
            EXPECT_EQ(linked.status, 2) << name;
            EXPECT_EQ(linked.err,
                      "twupdate: --events and --log name the same file: " + other + "\n");
        }
    }
    const Outcome options = RunProgram({"--defaults-file", file, "--log", same, "upgrade"});
    EXPECT_EQ(options.status, 2);
    EXPECT_EQ(options.err,
              "twupdate: --defaults-file and --log name the same file: " + same + "\n");
    const Outcome devices = RunProgram(
        {"--socket", "/nowhere", "--trace", "/dev/null", "--events", "/dev/null", "upgrade"});
    EXPECT_EQ(devices.status, 7);  // comes as far as the server
}

TEST_F(Failures, TheFoldersOfTheFilesThatARunWritesAreMade) {
    MakeNearlyCurrentInstallation();
    std::vector<std::string> arguments;
    for (const char* name : {"trace", "events", "log", "services-log"}) {
        arguments.push_back(std::string("--") + name);
        arguments.push_back((folder_ / name / "below" / "file").string());
    }
    arguments.emplace_back("upgrade");
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    for (const char* name : {"trace", "events", "log", "services-log"}) {
        EXPECT_TRUE(fs::exists(folder_ / name / "below" / "file")) << name;
    }
}

TEST_F(Failures, AnUpgradeWithoutTheFilesOfTheSitesIsAskedFor) {
    MakeCentralDatabase();
    MakeSite(7, "1.0264");
    const fs::path root = folder_ / "platform";
    const fs::path install = root / "update";
    fs::create_directories(install);
    fs::copy(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources", install / "resources");
    const auto run = [&](const std::string& folder, const std::vector<std::string>& command) {
        auto words = Connect();
        words.insert(words.end(), {"--install-folder", folder});
        words.insert(words.end(), command.begin(), command.end());
        return RunProgram(words);
    };
    for (const std::string end : {"", "/"}) {
        for (const std::vector<std::string>& command :
             std::vector<std::vector<std::string>>{{"upgrade"}, {"upgrade-site", "7"}}) {
            const Outcome outcome = run(install.string() + end, command);
            EXPECT_EQ(outcome.status, 2);
            EXPECT_EQ(outcome.err,
                      "twupdate: " + root.string() +
                          " has none of the folders templates, components and wwwroot, so no site "
                          "files can be copied; nothing was done\ntwupdate: hint: name the "
                          "component's folder inside the installation with --install-folder, or "
                          "use --no-site-files if the sites have no files here\n");
        }
    }
    EXPECT_EQ(InstallationVersion(), "1");
    EXPECT_EQ(SiteVersion(7), "1.0264");
    fs::create_directories(root / "wwwroot");
    const Outcome contrary = run(install.string(), {"--no-site-files", "upgrade-site", "7"});
    EXPECT_EQ(contrary.status, 2);
    EXPECT_EQ(contrary.err, "twupdate: " + root.string() +
                                " has the folder wwwroot, so the sites have files there; nothing "
                                "was done\ntwupdate: hint: omit --no-site-files\n");
    EXPECT_EQ(run(install.string(), {"upgrade-site", "7"}).status, 0);
    Execute("UPDATE tw_tarnwick.site SET version = 1.0264;");
    fs::remove(root / "wwwroot");
    EXPECT_EQ(run(install.string(), {"--no-site-files", "upgrade-site", "7"}).status, 0);
    // The central database has no files.
    EXPECT_EQ(run(install.string(), {"--no-services", "upgrade"}).status, 0);
}

TEST_F(Failures, WhatIsNoDataFileIsReportedBeforeAnythingIsDone) {
    MakeNearlyCurrentInstallation();
    const fs::path install = CopyOfTheDataFiles(folder_);
    const fs::path file = install / "resources" / "componentData.txt";
    const std::string components = Cell("SELECT COUNT(*) FROM tw_tarnwick.component;");
    const auto refused = [&] {
        for (const char* command : {"upgrade", "check"}) {
            const Outcome outcome = Run({"--install-folder", install.string(), command});
            EXPECT_EQ(outcome.status, 2) << command;
            EXPECT_EQ(outcome.err,
                      "twupdate: " + file.string() +
                          " is not a file; nothing was done\ntwupdate: hint: restore the data file "
                          "from the package, or remove what has its name\n");
        }
    };
    fs::remove(file);
    fs::create_directory(file);
    refused();
    fs::remove(file);
    fs::create_symlink(folder_ / "nowhere", file);
    refused();
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.component;"), components);
}

TEST_F(Failures, ARecordThatCannotBeWrittenAnyFurtherIsAWarningOnce) {
    MakeNearlyCurrentInstallation();
    for (const char* option : {"--trace", "--events", "--log"}) {
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
        const Outcome outcome = Run({option, "/dev/full", "upgrade"});
        EXPECT_EQ(outcome.status, 0) << option;
        EXPECT_EQ(outcome.err,
                  "twupdate: warning: cannot continue to write /dev/full: No space left on device; "
                  "the run continues without it\n")
            << option;
        EXPECT_EQ(InstallationVersion(), kCurrentStored);
    }
    MakeSiteThatFails(8);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    const Outcome failed = Run({"--events", "/dev/full", "upgrade"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, HasSubstr("failed: database tw_8, site schema ladder"));
}

TEST_F(Failures, AnInstallFolderWithoutDataIsAUsageError) {
    MakeNearlyCurrentInstallation();
    const std::string folder = folder_.Path().string();
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"upgrade"},
             {"create-core"},
             {"check"},
             {"rehearse", "--workdir", (folder_ / "rehearsal").string()}}) {
        auto arguments = std::vector<std::string>{"--install-folder", folder};
        arguments.insert(arguments.end(), command.begin(), command.end());
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 2) << command.front();
        EXPECT_EQ(outcome.err,
                  "twupdate: " + folder +
                      " has no folder resources with the reference data\ntwupdate: hint: "
                      "--install-folder names the folder that contains resources\n");
    }
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_NE(Cell("SELECT COUNT(*) FROM tw_tarnwick.component;"), "0");
    EXPECT_EQ(Run({"--install-folder", folder, "status"}).status, 0);
}

TEST_F(Failures, AFolderOfASiteThatCannotBeMadeStopsTheRunAndIsNamed) {
    MakeNearlyCurrentInstallation();
    MakeSite(7, "1.0000");
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0000;");
    const fs::path install = CopyOfTheDataFiles(folder_);
    WriteFile(folder_ / "templates" / "site" / "index.htm", "x");
    WriteFile(folder_ / "wwwroot" / "sites", "a file where a folder belongs");
    const Outcome outcome = Run({"--install-folder", install.string(), "upgrade-site", "7"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr((folder_ / "wwwroot" / "sites" / "7").string()));
    EXPECT_THAT(outcome.err, HasSubstr("database tw_7, site "));
}

TEST_F(Failures, AStatementIsShortenedInTheMessage) {
    const fs::path install = CopyOfTheDataFiles(folder_);
    std::string words;
    for (int i = 0; i < 2000; ++i) {
        words += "word" + std::to_string(i) + "\n";
    }
    words += std::string(60, 'x') + "\n";  // longer than the column
    WriteFile(install / "resources" / "englishwordData.txt", words);
    const Outcome outcome = Run({"--install-folder", install.string(), "create-core"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                HasSubstr("INSERT INTO tw_tarnwick.englishword(word) VALUES('word0')"));
    EXPECT_THAT(outcome.err, ContainsRegex("\\[[0-9]+ bytes in all\\]"));
    EXPECT_LT(outcome.err.size(), 1500U);
}

TEST_F(Failures, AnInterruptedRunIsResumedByTheSameCommand) {
    MakeCentralDatabase();
    for (const std::int32_t site : {1, 2, 3}) {
        MakeSite(site, "1.0000");
    }
    const fs::path trace = folder_ / "trace";
    {
        const auto reader = ReaderOfSite(2);  // holds the run at a statement that simply reruns
        Program upgrade(With({"--trace", trace.string(), "upgrade", "--jobs", "1"}));
        ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
        upgrade.Signal(SIGKILL);
        EXPECT_EQ(upgrade.Wait().status, 128 + SIGKILL);
        ASSERT_TRUE(WaitUntil([] { return !SomebodyWaits(); }));
    }
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
    EXPECT_EQ(InstallationVersion(), "1");
    EXPECT_GT(JsonLinesOf(trace).size(), 100U);  // line by line, so nothing is lost with it
    const Outcome again = Run({"--json", "upgrade"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_LE(again.Json()["sites"], 2);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    for (const std::int32_t site : {1, 2, 3}) {
        EXPECT_EQ(SiteVersion(site), kCurrentStored);
    }
}

TEST_F(Failures, ALostServerEndsTheRun) {
    MakeCentralDatabase();
    MakeSite(1, "1.0000", sample::AllGroups());
    MakeSite(2, "1.0000", sample::AllGroups());
    const auto reader = ReaderOfSite(2);  // holds the run at a statement that simply reruns
    Program upgrade(With({"upgrade", "--jobs", "1"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
    CliServer::Get().Server().Kill();
    const Outcome outcome = upgrade.Wait();
    CliServer::Get().ForgetConnection();
    CliServer::Get().Server().Start();
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.err, ContainsRegex("server error 20(06|13)"));
    const Outcome again = Run({"upgrade"});
    EXPECT_EQ(again.status, 0) << again.err;
}

}  // namespace
}  // namespace twupdate::test
