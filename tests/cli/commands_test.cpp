#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

using Commands = InstallationTest;

// --- create-core -------------------------------------------------------------------------------

TEST_F(Commands, CreateCoreMakesTheCentralDatabase) {
    const Outcome outcome = Run({"create-core"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Central database tw_tarnwick created at version " +
                                       kCurrentShown + "."));
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.tables "
                   "WHERE table_schema = 'tw_tarnwick';"),
              "23");
    EXPECT_NE(Cell("SELECT COUNT(*) FROM tw_tarnwick.country;"), "0");
}

TEST_F(Commands, CreateCoreLeavesAnExistingCentralDatabaseAlone) {
    MakeCentralDatabase();
    const Outcome outcome = Run({"create-core"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "The central database tw_tarnwick exists already; nothing was done.\n");
    EXPECT_EQ(outcome.err, "");
    const auto json = Run({"--json", "create-core"}).Json();
    EXPECT_EQ(json["result"], "nothing to do");
    EXPECT_EQ(json["created"], false);
    EXPECT_EQ(InstallationVersion(), "1");
}

TEST_F(Commands, CreateCoreTellsAnUnfinishedCentralDatabaseFromAFinishedOne) {
    const auto refuses = [](const std::string& what) {
        const Outcome outcome = Run({"create-core"});
        EXPECT_EQ(outcome.status, 1) << outcome.out;
        EXPECT_EQ(outcome.err, "twupdate: the central database tw_tarnwick is incomplete: " + what +
                                   "; nothing was done\ntwupdate: hint: after a failed "
                                   "create-core, drop it (DROP DATABASE tw_tarnwick) and run "
                                   "create-core again; otherwise restore it from a backup\n");
    };
    Execute("CREATE DATABASE tw_tarnwick;");
    refuses("it has no table installation");
    Execute("DROP DATABASE tw_tarnwick;");
    ASSERT_EQ(Run({"create-core"}).status, 0);
    EXPECT_EQ(Run({"create-core"}).status, 0);
    Execute("DELETE FROM tw_tarnwick.componenttype;");
    refuses("its table componenttype has no rows");
    Execute("DROP TABLE tw_tarnwick.schedule;");
    refuses("it has no table schedule");
    Execute("DELETE FROM tw_tarnwick.installation;");
    refuses("its table installation has no row");
}

TEST_F(Commands, AnUnfinishedCentralDatabaseIsReportedByStatusAndUpgrade) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    for (const char* command : {"status", "upgrade"}) {
        EXPECT_EQ(Run({command}).err, "");
    }
    Execute("DELETE FROM tw_tarnwick.componenttype;");
    const std::string unfinished =
        "the central database tw_tarnwick is incomplete: its table componenttype has no rows";
    const std::string dropIt =
        "after a failed create-core, drop it (DROP DATABASE tw_tarnwick) and run create-core "
        "again; otherwise restore it from a backup";
    for (const char* command : {"status", "upgrade"}) {
        const Outcome outcome = Run({command});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err,
                  "twupdate: warning: " + unfinished + "\ntwupdate: hint: " + dropIt + "\n");
    }
    EXPECT_EQ(Run({"--json", "status"}).Json()["unfinished"],
              nlohmann::json({{"text", unfinished}, {"hint", dropIt}}));
    // What has sites is no leftover, and is not to be dropped.
    MakeSiteRow(5, kCurrentStored);
    EXPECT_EQ(Run({"status"}).err,
              "twupdate: warning: " + unfinished +
                  "\ntwupdate: hint: it has sites: restore it from a backup\n");
}

TEST_F(Commands, CreateCoreDoesNotClaimWhatSomebodyElseHasMadeMeanwhile) {
    const std::string trace = (folder_ / "trace").string();
    ASSERT_EQ(mkfifo(trace.c_str(), 0600), 0);  // holds the program up until somebody reads
    const GlobalSetting output("log_output", "'TABLE'");
    const GlobalSetting log("general_log", "ON");
    Execute("TRUNCATE TABLE mysql.general_log;");
    Program program(With({"--no-lock", "--json", "--trace", trace, "create-core"}));
    // The last that it asks before it opens the trace.
    ASSERT_TRUE(WaitUntil([] {
        return Cell(
                   "SELECT COUNT(*) FROM mysql.general_log WHERE argument LIKE "
                   "'%''unfinished\\_restore''%' AND argument NOT LIKE '%general%';") != "0";
    }));
    Execute("CREATE DATABASE tw_tarnwick;");
    const std::ifstream reader(trace);
    const Outcome outcome = program.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.Json()["result"], "nothing to do");
    EXPECT_EQ(outcome.Json()["created"], false);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.tables WHERE table_schema = "
                   "'tw_tarnwick';"),
              "0");
}

TEST_F(Commands, CreateCoreAfterOneThatFailedSaysWhatToDo) {
    const fs::path install = folder_ / "component";
    fs::create_directories(install);
    fs::copy(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources", install / "resources",
             fs::copy_options::recursive);
    WriteFile(install / "resources" / "currencyData.txt", "two\tUSD\t$\n");
    const std::vector<std::string> create{"--install-folder", install.string(), "create-core"};
    EXPECT_EQ(Run(create).status, 1);
    const Outcome again = Run(create);
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.err, HasSubstr("incomplete: its table componenttype has no rows"));
    Execute("DROP DATABASE tw_tarnwick;");
    fs::copy_file(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources" / "currencyData.txt",
                  install / "resources" / "currencyData.txt", fs::copy_options::overwrite_existing);
    EXPECT_EQ(Run(create).status, 0);
}

// --- upgrade -----------------------------------------------------------------------------------

TEST_F(Commands, UpgradeBringsAnOldInstallationToTheCurrentVersion) {
    MakeCentralDatabase();
    MakeSite(1, "1.0000", sample::AllGroups());
    MakeSite(4, "1.0000");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
    EXPECT_EQ(SiteVersion(4), kCurrentStored);
    EXPECT_THAT(outcome.out, HasSubstr("Upgrading the installation from 1.0000 to " +
                                       kCurrentShown + "; 2 sites to upgrade."));
    // 18 + 23 rungs of the central ladders, 92 + 84 of a site's. Either site may end first.
    EXPECT_THAT(outcome.out, ContainsRegex("tw_tarnwick: ladders from 1.0000 done: 41 steps, "
                                           "[0-9,]+ statements, [0-9.]+ s\n"));
    EXPECT_THAT(outcome.out, ContainsRegex("tw_[14]: ladders from 1.0000 done: 176 steps, "
                                           "[0-9,]+ statements, [0-9.]+ s \\(2 of 2 sites\\)\n"));
    EXPECT_THAT(outcome.out, ContainsRegex("Done: 3 databases, 393 steps, [0-9,]+ statements in "));
    EXPECT_THAT(outcome.out, Not(HasSubstr("\x1b")));  // no progress line in a file
}

TEST_F(Commands, UpgradeHasNothingToDoTheSecondTime) {
    MakeNearlyCurrentInstallation();
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    const Outcome second = Run({"upgrade"});
    EXPECT_EQ(second.status, 0);
    EXPECT_THAT(second.out, HasSubstr("The installation is at " + kCurrentShown +
                                      " already; nothing was done."));
    EXPECT_EQ(second.err, "");
}

TEST_F(Commands, UpgradeOfACurrentInstallationWarnsOfOlderSites) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    MakeSiteRow(3, "1.0100");
    MakeSiteRow(9, "1.0100");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err,
                HasSubstr("2 sites are older than the installation (the first is site 3)"));
    EXPECT_EQ(SiteVersion(3), "1.01");
}

TEST_F(Commands, UpgradeSaysWhichSitesItLeavesOut) {
    MakeNearlyCurrentInstallation();
    for (const std::int32_t site : {2, 5, 11}) {
        MakeSiteRow(site, "1.0100");
    }
    MakeSiteRow(7, "1.9001");
    MakeSiteRow(10, "1.9000");
    MakeSiteRow(12, kCurrentStored);  // has nothing to go, and is not left out
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid IN(2, 11);");
    Execute("UPDATE tw_tarnwick.site SET transaction = -1 WHERE siteid = 5;");
    fs::create_directories(folder_ / "wwwroot");
    fs::create_directories(folder_ / "update");
    fs::create_directory_symlink(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources",
                                 folder_ / "update" / "resources");
    const std::vector<std::string> upgrade{"--install-folder", (folder_ / "update").string(),
                                           "upgrade"};
    const Outcome outcome = Run(upgrade);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Left out, hard-deleted: 2 sites (2, 11)\n"));
    EXPECT_EQ(outcome.err,
              "twupdate: warning: left out, in transaction: 1 site (5)\n"
              "twupdate: warning: left out, newer: 2 sites (7, 10)\n");
    for (const std::int32_t site : {2, 5, 11}) {
        EXPECT_EQ(SiteVersion(site), "1.01");
    }
    EXPECT_EQ(SiteVersion(7), "1.9001");
    EXPECT_EQ(SiteVersion(10), "1.9");
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    const Outcome again = Run(upgrade);
    EXPECT_THAT(again.out,
                HasSubstr("already; nothing was done.\nLeft out, hard-deleted: 2 sites "));
    EXPECT_EQ(again.err, outcome.err);
    EXPECT_EQ(Run({"--json", "upgrade"}).Json()["left_out"]["newer"], nlohmann::json({7, 10}));
    EXPECT_THAT(Run({"plan"}).out, HasSubstr("Left out, in transaction: 1 site (5)\n"));
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    EXPECT_EQ(
        Run({"--json", "upgrade"}).Json()["left_out"],
        nlohmann::json({{"hard-deleted", {2, 11}}, {"in transaction", {5}}, {"newer", {7, 10}}}));
}

TEST_F(Commands, UpgradeRefusesAnInstallationNewerThanItself) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.9000;");
    const Outcome outcome = Run({"upgrade"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                HasSubstr("the installation is at 1.9000, newer than the " + kCurrentShown));
    EXPECT_EQ(InstallationVersion(), "1.9");
}

TEST_F(Commands, QuietPrintsNothingWhenAllIsWell) {
    MakeNearlyCurrentInstallation();
    const Outcome outcome = Run({"--quiet", "upgrade"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
}

TEST_F(Commands, UpgradePrintsItsResultAsJson) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    const Outcome outcome = Run({"upgrade", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto result = outcome.Json();
    ASSERT_TRUE(result.is_object()) << outcome.out;
    EXPECT_EQ(result["command"], "upgrade");
    EXPECT_EQ(result["result"], "done");
    EXPECT_EQ(result["from"], "1.0262");
    EXPECT_EQ(result["databases"], 2);
    EXPECT_EQ(result["sites"], 1);
    const auto ofTheSite = PendingCount({Ladder::kSiteSchema, Ladder::kSiteContent}, 1.0262);
    EXPECT_EQ(result["steps"],
              PendingCount({Ladder::kServer, Ladder::kServerData}, 1.0262) + ofTheSite);
    ASSERT_EQ(result["upgraded"].size(), 2U);
    EXPECT_EQ(result["upgraded"][0]["database"], "tw_tarnwick");
    EXPECT_EQ(result["upgraded"][1]["database"], "tw_7");
    EXPECT_EQ(result["upgraded"][1]["from"], "1.0262");
    EXPECT_EQ(result["upgraded"][1]["steps"], ofTheSite);
}

// --- upgrade-site ------------------------------------------------------------------------------

TEST_F(Commands, UpgradeSiteRecordsTheNewVersion) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    const Outcome outcome = Run({"upgrade-site", "7"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
    EXPECT_EQ(InstallationVersion(), "1");
}

TEST_F(Commands, UpgradeSiteRecordsNothingOnRequest) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    const Outcome outcome = Run({"upgrade-site", "7", "--no-record"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(SiteVersion(7), "1");
}

TEST_F(Commands, UpgradeSiteStartsFromTheVersionOfItsOption) {
    MakeCentralDatabase();
    MakeUpgradedSite(7, "1.0000");
    const Outcome outcome = Run({"--json", "upgrade-site", "7", "--from", "1.0262"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.Json()["steps"],
              PendingCount({Ladder::kSiteSchema, Ladder::kSiteContent}, 1.0262));
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

TEST_F(Commands, UpgradeSiteUnderAnOldCentralDatabaseNamesTheCommandThatHelps) {
    MakeCentralDatabase();
    MakeSite(8, "1.0000", sample::AllGroups());
    const std::string untouched = StateOf("tw_8");
    Execute("INSERT INTO tw_8.commission(orderid) VALUES(5);");
    const Outcome outcome = Run({"upgrade-site", "8"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(
        outcome.err,
        "twupdate: SiteContentStep_1_0223 of tw_8: tw_tarnwick.accountpayment has no column "
        "cartorderid; upgrade the central database first; nothing was done\ntwupdate: hint: run "
        "upgrade: it upgrades the central database, then the older sites, including this one\n");
    Execute("DELETE FROM tw_8.commission;");
    EXPECT_EQ(StateOf("tw_8"), untouched);
    Execute("INSERT INTO tw_8.commission(orderid) VALUES(5);");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(SiteVersion(8), kCurrentStored);
}

TEST_F(Commands, UpgradeSiteNeedsNoCentralDatabaseWhenItNeitherReadsNorRecords) {
    MakeCentralDatabase();
    MakeUpgradedSite(7, kCurrentStored);
    Execute("DROP DATABASE tw_tarnwick;");
    const Outcome outcome = Run({"upgrade-site", "7", "--from", "1.0262", "--no-record"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Commands, UpgradeSiteOfACurrentSiteHasNothingToDo) {
    MakeCentralDatabase();
    MakeSiteRow(7, kCurrentStored);
    const Outcome outcome = Run({"upgrade-site", "7"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
                HasSubstr("Site 7 is at " + kCurrentShown + " already; nothing was done."));
}

TEST_F(Commands, UpgradeSiteRefusesWhatTheUpgradeLeavesOut) {
    MakeCentralDatabase();
    MakeSiteRow(7, "1.0000");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1;");
    const Outcome deleted = Run({"upgrade-site", "7"});
    EXPECT_EQ(deleted.status, 1);
    EXPECT_THAT(deleted.err, HasSubstr("site 7 is hard-deleted"));
    const Outcome unknown = Run({"upgrade-site", "8"});
    EXPECT_EQ(unknown.status, 1);
    EXPECT_THAT(unknown.err, HasSubstr("tw_tarnwick.site has no site 8"));
}

// --- import-master-data ------------------------------------------------------------------------

TEST_F(Commands, ImportMasterDataUpgradesTheCopiesInASite) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    for (const std::string& statement : sample::Layouts().ImportedMasterData(7)) {
        Execute(statement);
    }
    // It imports no reference data: any folder will do.
    const TemporaryFolder empty;
    const Outcome outcome =
        Run({"--json", "--install-folder", empty.Path().string(), "import-master-data", "7"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.Json()["from"], "1.0000");
    EXPECT_EQ(outcome.Json()["steps"], PendingCount({Ladder::kServer, Ladder::kServerData}, 1.0));
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.columns WHERE table_schema = 'tw_7' "
                   "AND table_name = 'tw_installation' AND column_name = 'mailserverusername';"),
              "1");
    EXPECT_EQ(Cell("SELECT version FROM tw_7.tw_installation;"), "1");
    EXPECT_EQ(InstallationVersion(), "1");
}

TEST_F(Commands, ImportMasterDataNeedsNoInstallFolder) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    for (const std::string& statement : sample::Layouts().ImportedMasterData(7)) {
        Execute(statement);
    }
    const TemporaryFolder alone;  // no resources lie there, nor in a folder above it
    std::filesystem::copy_file(BuiltProgram(), alone.Path() / "twupdate");
    std::vector<std::string> words = Connect();
    words.insert(words.end(), {"import-master-data", "7"});
    const Outcome outcome = RunProgram(words, {}, RunAs::kSelf, alone.Path() / "twupdate");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.columns WHERE table_schema = 'tw_7' "
                   "AND table_name = 'tw_installation' AND column_name = 'mailserverusername';"),
              "1");
}

TEST_F(Commands, ImportMasterDataSaysThatThereAreNoCopies) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    const Outcome outcome = Run({"import-master-data", "7"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("tw_7 has no table tw_installation"));
    const Outcome missing = Run({"import-master-data", "8"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.err, HasSubstr("there is no database tw_8"));
}

// --- status ------------------------------------------------------------------------------------

TEST_F(Commands, StatusShowsTheInstallationAndItsSites) {
    MakeCentralDatabase();
    MakeSiteRow(1, "1.0000");
    MakeSiteRow(30, "1.0262");
    MakeSiteRow(5, kCurrentStored);
    MakeSiteRow(6, "1.9000");
    MakeSiteRow(7, "1.0000");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 7;");
    Execute("UPDATE tw_tarnwick.site SET sitename = 'Caf\xC3\xA9 \"Z\"' WHERE siteid = 30;");
    const Outcome outcome = Run({"status"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto line = [](const std::string& site, double version) {
        return fmt::format("{} {:>13} {:>14}\n", site, PendingCount({Ladder::kSiteSchema}, version),
                           PendingCount({Ladder::kSiteContent}, version));
    };
    EXPECT_EQ(outcome.out,
              fmt::format("Installation: version 1.0000 of {}; {} server steps and {} server data "
                          "steps pending.\n\n",
                          kCurrentShown, PendingCount({Ladder::kServer}, 1.0),
                          PendingCount({Ladder::kServerData}, 1.0)) +
                  "Site  Name      Version  State         Schema steps  Content steps\n" +
                  line("   1  Site 1    1.0000   old         ", 1.0) +
                  line("   5  Site 5    " + kCurrentShown + "   current     ", kCurrentVersion) +
                  line("   6  Site 6    1.9000   newer       ", 1.9) +
                  line("   7  Site 7    1.0000   hard-deleted", 1.0) +
                  line("  30  Caf\xC3\xA9 \"Z\"  1.0262   old         ", 1.0262) +
                  fmt::format("Total: 2 of 5 sites old; {} central steps, {} schema steps and {} "
                              "content steps pending.\n",
                              PendingCount({Ladder::kServer, Ladder::kServerData}, 1.0),
                              PendingCount({Ladder::kSiteSchema}, 1.0) +
                                  PendingCount({Ladder::kSiteSchema}, 1.0262),
                              PendingCount({Ladder::kSiteContent}, 1.0) +
                                  PendingCount({Ladder::kSiteContent}, 1.0262)));
}

TEST_F(Commands, StatusTellsByItsExitStatusWhetherStepsArePending) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    const std::vector<std::string> ask{"status", "--exit-code"};
    EXPECT_EQ(Run(ask).status, 0);
    MakeSiteRow(5, kCurrentStored);
    MakeSiteRow(7, "1.0000");
    EXPECT_EQ(Run(ask).status, 3);
    EXPECT_EQ(Run({"status"}).status, 0);
    const auto totals = Run({"status", "--exit-code", "--json"}).Json()["totals"];
    EXPECT_EQ(totals["sites"], 2);
    EXPECT_EQ(totals["old_sites"], 1);
    EXPECT_EQ(totals["pending_central_steps"], 0);
    EXPECT_EQ(totals["pending_schema_steps"], PendingCount({Ladder::kSiteSchema}, 1.0));
    EXPECT_EQ(totals["pending_content_steps"], PendingCount({Ladder::kSiteContent}, 1.0));
    // An upgrade leaves it out.
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 7;");
    EXPECT_EQ(Run(ask).status, 0);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    EXPECT_EQ(Run(ask).status, 3);
}

TEST_F(Commands, StatusCannotSayThatASiteWithoutAVersionIsCurrent) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    MakeSiteRow(5, kCurrentStored);
    Execute("ALTER TABLE tw_tarnwick.site MODIFY version DOUBLE NULL;");
    Execute("UPDATE tw_tarnwick.site SET version = NULL;");
    EXPECT_EQ(Run({"status", "--exit-code"}).status, 3);
}

TEST_F(Commands, StatusListsInterruptedStepsInTheOrderOfTheSites) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    for (const std::string database : {"tw_10", "tw_2"}) {
        Execute("CREATE DATABASE " + database + ";");
        Execute("CREATE TABLE " + database +
                ".twupdate_progress(step VARCHAR(64) PRIMARY KEY, ended DATETIME);");
        Execute("INSERT INTO " + database +
                ".twupdate_progress(step) VALUES('SiteContentStep_1_0007');");
    }
    const auto interrupted = Run({"status", "--json"}).Json()["interrupted"];
    ASSERT_EQ(interrupted.size(), 2U);
    EXPECT_EQ(interrupted[0]["database"], "tw_2");
    EXPECT_EQ(interrupted[1]["database"], "tw_10");
}

TEST_F(Commands, StatusKnowsSitesInTransactionOnceTheColumnIsThere) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    MakeSiteRow(5, "1.0200");
    Execute("UPDATE tw_tarnwick.site SET transaction = -1;");
    const auto result = Run({"--json", "status"}).Json();
    ASSERT_TRUE(result.is_object());
    EXPECT_EQ(result["installation"]["version"], kCurrentShown);
    EXPECT_EQ(result["installation"]["pending_server_steps"], 0);
    ASSERT_EQ(result["sites"].size(), 1U);
    EXPECT_EQ(result["sites"][0]["id"], 5);
    EXPECT_EQ(result["sites"][0]["name"], "Site 5");
    EXPECT_EQ(result["sites"][0]["version"], "1.0200");
    EXPECT_EQ(result["sites"][0]["state"], "in transaction");
}

TEST_F(Commands, StatusOfHostileNamesIsStillJson) {
    MakeCentralDatabase();
    MakeSiteRow(5, "1.0200");
    Execute("UPDATE tw_tarnwick.site SET sitename = 'a\\\"b\\nc\\td\\\\';");
    const auto result = Run({"--json", "status"}).Json();
    ASSERT_TRUE(result.is_object());
    EXPECT_EQ(result["sites"][0]["name"], "a\"b\nc\td\\");
    EXPECT_THAT(Run({"status"}).out, HasSubstr("a\"b c d\\"));
}

TEST_F(Commands, StatusOfAnEmptyInstallationSaysThatThereAreNoSites) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    EXPECT_EQ(Run({"status"}).out, "Installation: version " + kCurrentShown + " of " +
                                       kCurrentShown +
                                       "; 0 server steps and 0 server data steps "
                                       "pending.\nNo sites.\n");
}

TEST_F(Commands, WhatCannotBePrintedIsAnError) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    const std::string program =
        BuiltProgram().string() + " --socket " + With({})[1] + " --user root ";
    const std::string err = (folder_ / "err").string();
    const auto statusOf = [](const std::string& command) {
        return WEXITSTATUS(std::system(command.c_str()));
    };
    for (const std::string command : {"status", "--json status", "--json upgrade", "plan"}) {
        EXPECT_EQ(statusOf(program + command + " >/dev/full 2>" + err), 1) << command;
        EXPECT_EQ(ContentOf(err),
                  "twupdate: cannot write the standard output: No space left on device\n");
    }
    EXPECT_EQ(statusOf(program + "--help >/dev/full 2>" + err), 1);
    EXPECT_EQ(ContentOf(err), "twupdate: cannot write the standard output\n");
    // What a run says about how it goes on is not what was asked for.
    EXPECT_EQ(statusOf(program + "upgrade >/dev/full"), 0);
    // A reader that has had enough is no error.
    EXPECT_EQ(statusOf("bash -c 'set -o pipefail; " + program + "status | true'"), 0);
}

TEST_F(Commands, ShowsAVersionOfNullAsSuch) {
    MakeCentralDatabase();
    MakeSiteRow(5, "1.0200");
    Execute("ALTER TABLE tw_tarnwick.site MODIFY version DOUBLE NULL;");
    Execute("UPDATE tw_tarnwick.site SET version = NULL;");
    EXPECT_THAT(Run({"status"}).out, ContainsRegex("   5  Site 5  NULL     no version"));
    const auto result = Run({"--json", "status"}).Json();
    EXPECT_TRUE(result["sites"][0]["version"].is_null());
    EXPECT_EQ(result["sites"][0]["state"], "no version");
}

}  // namespace
}  // namespace twupdate::test
