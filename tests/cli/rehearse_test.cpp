#include <gmock/gmock.h>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::HasSubstr;

using Rehearse = InstallationTest;

/// Everything that says whether the source was written: versions, rows, times of change.
std::string Written() {
    const auto rows = CliServer::Get().Root().Query(
        "SELECT CONCAT_WS(' ', COUNT(*), SUM(table_rows), MAX(update_time), MAX(create_time)) "
        "FROM information_schema.tables WHERE table_schema LIKE 'tw\\_%';");
    rows->Next();
    return rows->Get(0).ToText();
}

TEST_F(Rehearse, UpgradesACopyAndOnlyReadsTheSource) {
    MakeCentralDatabase();
    MakeSite(1, "1.0000", {sample::Group::kForum});
    MakeSite(2);
    MakeSite(3);
    Execute("DROP TABLE tw_2.layoutzone;");
    Execute("CREATE OR REPLACE USER 'reader'@'localhost';");
    Execute("GRANT SELECT, SHOW DATABASES, SHOW VIEW ON *.* TO 'reader'@'localhost';");
    const std::string before = Written();
    const auto socket = CliServer::Get().Server().Socket().string();
    const Outcome outcome = RunProgram({"--socket", socket, "--user", "reader", "--json",
                                        "rehearse", "--workdir", (folder_ / "r").string()});
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    EXPECT_EQ(Written(), before);
    EXPECT_EQ(InstallationVersion(), "1");
    const auto result = outcome.Json();
    ASSERT_TRUE(result.is_object()) << outcome.out;
    // The site that would fail is named, and the ones behind it are rehearsed all the same.
    ASSERT_EQ(result["upgraded"].size(), 3U);
    EXPECT_EQ(result["upgraded"][0]["database"], "tw_tarnwick");
    EXPECT_EQ(result["upgraded"][1]["database"], "tw_1");
    EXPECT_EQ(result["upgraded"][2]["database"], "tw_3");
    EXPECT_EQ(result["upgraded"][2]["steps"],
              PendingCount({Ladder::kSiteSchema, Ladder::kSiteContent}, 1.0));
    ASSERT_EQ(result["failures"].size(), 1U);
    EXPECT_EQ(result["failures"][0]["database"], "tw_2");
    EXPECT_EQ(result["failures"][0]["step"], "SiteSchemaStep_1_0005");
    EXPECT_EQ(result["differences"].size(), 0U);
    EXPECT_EQ(
        result["notes"][0],
        "triggers are not copied: the account lacks the privilege TRIGGER on tw_tarnwick, tw_logs, "
        "tw_1, tw_2, tw_3");
}

TEST_F(Rehearse, TakesTheChosenSitesAloneAndTheirTablesWithoutRowsOnRequest) {
    MakeCentralDatabase();
    for (const std::int32_t site : {1, 2, 3}) {
        MakeSite(site);
    }
    const Outcome outcome =
        Run({"rehearse", "--workdir", (folder_ / "r").string(), "--site", "2", "--schema-only"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Rehearsed: 2 databases upgraded, 0 failures, 0 "
                                       "differences."));
    // tw_tarnwick, tw_logs, tw_2 and the root site
    EXPECT_THAT(outcome.out, HasSubstr("tw_2: copied (3 of 4)\n"));
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("tw_3")));
    // Without rows the times tell nothing.
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("would take")));
    EXPECT_EQ(SiteVersion(2), "1");
    // A second rehearsal in the same folder would mix with the first.
    EXPECT_EQ(Run({"rehearse", "--workdir", (folder_ / "r").string()}).status, 2);
}

TEST_F(Rehearse, EndsWithTotalsAndWhatTheWholeUpgradeWouldTake) {
    MakeCentralDatabase();
    for (const std::int32_t site : {1, 2, 3}) {
        MakeSite(site);
    }
    MakeUpgradedSite(4, kCurrentStored);
    const auto rehearse = [&](const std::string& folder, std::vector<std::string> words) {
        words.insert(words.begin(), {"rehearse", "--workdir", (folder_ / folder).string()});
        return Run(words);
    };
    const Outcome outcome = rehearse("all", {"--json"});
    const auto all = outcome.Json();
    ASSERT_TRUE(all.is_object()) << outcome.err;
    ASSERT_EQ(all["upgraded"].size(), 4U);
    double seconds = 0;
    std::int64_t steps = 0;
    std::int64_t statements = 0;
    for (const auto& done : all["upgraded"]) {
        seconds += done["seconds"].get<double>();
        steps += done["steps"].get<std::int64_t>();
        statements += done["statements"].get<std::int64_t>();
    }
    EXPECT_EQ(all["upgraded"][0]["from"], "1.0000");
    EXPECT_EQ(all["totals"]["databases"], 4);
    EXPECT_EQ(all["totals"]["steps"], steps);
    EXPECT_EQ(all["totals"]["statements"], statements);
    EXPECT_NEAR(all["totals"]["seconds"].get<double>(), seconds, 1e-6);
    EXPECT_EQ(all["whole_upgrade"]["sites"], 3);
    EXPECT_NEAR(all["whole_upgrade"]["seconds"].get<double>(), seconds, 1e-6);
    // Of one of three like sites: the other two take what the steps of this one took.
    const auto one = rehearse("one", {"--json", "--sample", "1"}).Json();
    ASSERT_EQ(one["upgraded"].size(), 2U);
    const double central = one["upgraded"][0]["seconds"].get<double>();
    const double site = one["upgraded"][1]["seconds"].get<double>();
    const double whole = one["whole_upgrade"]["seconds"].get<double>();
    EXPECT_EQ(one["whole_upgrade"]["sites"], 3);
    EXPECT_LE(whole, central + 3 * site);
    EXPECT_GT(whole, central + 2 * site);
    const Outcome shown = rehearse("shown", {});
    EXPECT_THAT(shown.out, testing::ContainsRegex("\nTotal +" + std::to_string(steps) + " +" +
                                                  std::to_string(statements) + " +[0-9.]+ s\n"));
    EXPECT_THAT(shown.out,
                testing::ContainsRegex("\nAn upgrade of the installation with all 3 sites would "
                                       "take about [0-9.]+ s here, without backups.\n"));
}

TEST_F(Rehearse, ANamedSiteThatIsNotToBeUpgradedIsRefused) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    MakeSiteRow(3, kCurrentStored);
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 2;");
    const std::vector<std::pair<std::string, std::string>> refused{
        {"2", "site 2 would not be upgraded, so it cannot be rehearsed: hard-deleted"},
        {"3", "site 3 would not be upgraded, so it cannot be rehearsed: current"},
        {"9", "tw_tarnwick.site has no site 9"}};
    for (const auto& [site, message] : refused) {
        const Outcome outcome =
            Run({"rehearse", "--workdir", (folder_ / "r").string(), "--site", "1", "--site", site});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "twupdate: " + message + "\n");
    }
    EXPECT_FALSE(std::filesystem::exists(folder_ / "r"));
}

TEST_F(Rehearse, NamesAFolderThatCannotBeMade) {
    MakeCentralDatabase();
    WriteFile(folder_ / "file", "");
    const std::string folder = (folder_ / "file" / "r").string();
    const Outcome outcome = Run({"rehearse", "--workdir", folder});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "twupdate: cannot create the folder " + folder + ": Not a directory\n");
}

TEST_F(Rehearse, SaysWhyAnUpgradeWouldNotBegin) {
    MakeCentralDatabase();
    MakeUpgradedSite(1, "1.0262");
    MakeUpgradedSite(2, "1.0262");
    MakeSiteRow(3, "1.0262");
    Execute("ALTER TABLE tw_tarnwick.site MODIFY version VARCHAR(20) NULL;");
    Execute("UPDATE tw_tarnwick.site SET version = 'old' WHERE siteid = 2;");
    const auto reasons = nlohmann::json::array(
        {{{"text", "the version of site 2 in tw_tarnwick.site is 'old'"},
          {"hint", "set it to the version of its layout (0 runs every step)"}},
         {{"text", "1 site has no database that this account can see (tw_3)"},
          {"hint",
           "restore it from a backup, grant privileges on it, or mark the site hard-deleted in "
           "tw_tarnwick.site"}}});
    const Outcome outcome = Run({"rehearse", "--workdir", (folder_ / "r").string()});
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    for (const auto& reason : reasons) {
        EXPECT_THAT(outcome.out,
                    HasSubstr("an upgrade would not begin: " + reason["text"].get<std::string>() +
                              "\nhint: " + reason["hint"].get<std::string>() + "\n"));
    }
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("would fail")));
    EXPECT_THAT(outcome.out, HasSubstr("Rehearsed: 2 databases upgraded, 0 failures"));
    const auto result = Run({"--json", "rehearse", "--workdir", (folder_ / "j").string()}).Json();
    EXPECT_EQ(result["refusals"], reasons);
}

TEST_F(Rehearse, ASampleHasTheOldestSiteAndTheNewestAmongThem) {
    MakeCentralDatabase();
    for (const std::int32_t site : {1, 2, 3}) {
        MakeSite(site);
    }
    MakeUpgradedSite(4, "1.0240");
    MakeUpgradedSite(5, "1.0262");
    const auto rehearsed = [&](const std::string& sample) {
        const auto result = Run({"--json", "rehearse", "--workdir", (folder_ / sample).string(),
                                 "--sample", sample})
                                .Json();
        std::vector<std::string> databases;
        for (const auto& done : result["upgraded"]) {
            databases.push_back(done["database"]);
        }
        return databases;
    };
    EXPECT_THAT(rehearsed("1"), testing::ElementsAre("tw_tarnwick", "tw_1"));
    EXPECT_THAT(rehearsed("2"), testing::ElementsAre("tw_tarnwick", "tw_1", "tw_5"));
    EXPECT_THAT(rehearsed("3"), testing::ElementsAre("tw_tarnwick", "tw_1", "tw_3", "tw_5"));
    EXPECT_THAT(rehearsed("9"), testing::SizeIs(6));
}

// A trigger runs with the privileges of an account that the copy does not have by itself.
TEST_F(Rehearse, FindsATriggerThatMakesAStepFail) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    Execute("CREATE OR REPLACE USER 'it''s'@'10.0.0.1';");
    Execute("GRANT ALL ON *.* TO 'it''s'@'10.0.0.1';");
    Execute("INSERT INTO tw_2.setting(overrideid, name) VALUES(1, 'x');");
    Execute(
        "CREATE DEFINER='it''s'@'10.0.0.1' PROCEDURE tw_2.refuse() "
        "SIGNAL SQLSTATE '45000' SET MESSAGE_TEXT = 'settings are frozen';");
    Execute(
        "CREATE DEFINER='it''s'@'10.0.0.1' TRIGGER tw_2.frozen BEFORE UPDATE ON tw_2.setting "
        "FOR EACH ROW CALL tw_2.refuse();");
    const auto result = Run({"--json", "rehearse", "--workdir", (folder_ / "r").string()}).Json();
    ASSERT_EQ(result["failures"].size(), 1U) << result;
    EXPECT_EQ(result["failures"][0]["database"], "tw_2");
    EXPECT_EQ(result["failures"][0]["step"], "SiteSchemaStep_1_0035");
    EXPECT_THAT(result["failures"][0]["text"].get<std::string>(), HasSubstr("settings are frozen"));
    EXPECT_EQ(result["notes"].size(), 0U);
    EXPECT_THAT(Run({"upgrade"}).err, HasSubstr("settings are frozen"));
    Execute("DROP USER 'it''s'@'10.0.0.1';");
}

TEST_F(Rehearse, LeavesOutViewsWhichMayShowWhatIsNotCopied) {
    MakeCentralDatabase();
    MakeSite(1);
    Execute("CREATE DATABASE tw_9;");
    Execute("CREATE TABLE tw_9.thing(id INT);");
    Execute("CREATE VIEW tw_1.things AS SELECT id FROM tw_9.thing;");
    const Outcome outcome = Run({"rehearse", "--workdir", (folder_ / "r").string()});
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

TEST_F(Rehearse, TheCopyHasTheSqlModeOfTheSource) {
    MakeCentralDatabase();
    MakeSite(1);
    const GlobalSetting mode("sql_mode", "'EMPTY_STRING_IS_NULL'");
    const auto result = Run({"--json", "rehearse", "--workdir", (folder_ / "r").string()}).Json();
    ASSERT_EQ(result["failures"].size(), 1U) << result;
    EXPECT_EQ(result["failures"][0]["step"], "ServerStep_1_0002");
    EXPECT_EQ(result["failures"][0]["code"], 1067);
}

TEST_F(Rehearse, DoesNotMixWithWhatIsInAFolder) {
    WriteFile(folder_ / "r" / "notes.txt", "somebody's");
    const std::string folder = (folder_ / "r").string();
    const Outcome outcome = RunProgram({"--socket", "/nowhere", "rehearse", "--workdir", folder});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "twupdate: " + folder +
                  " is not empty\ntwupdate: hint: name another folder for the rehearsal\n");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "r" / "server"));
}

TEST_F(Rehearse, ThatCannotBeginLeavesTheFolderForTheNextTry) {
    MakeCentralDatabase();
    const std::string folder = (folder_ / "r").string();
    EXPECT_EQ(Run({"--install-folder", "/", "rehearse", "--workdir", folder}).status, 2);
    EXPECT_EQ(Run({"rehearse", "--workdir", folder}).status, 0);
}

TEST_F(Rehearse, TheCopyHasTheRowFormatsOfTheSource) {
    MakeCentralDatabase();
    const sample::Groups shop{sample::Group::kShop};
    {
        const GlobalSetting format("innodb_default_row_format", "compact");
        MakeSite(1, "1.0047", shop);
    }
    MakeSite(2, "1.0000", shop);
    const auto result = Run({"--json", "rehearse", "--workdir", (folder_ / "r").string()}).Json();
    ASSERT_EQ(result["failures"].size(), 1U) << result;
    EXPECT_EQ(result["failures"][0]["database"], "tw_1");
    EXPECT_EQ(result["failures"][0]["step"], "SiteSchemaStep_1_0054");
    EXPECT_EQ(result["failures"][0]["code"], 1118);
    EXPECT_THAT(Run({"upgrade"}).err,
                testing::ContainsRegex("tw_1.*SiteSchemaStep_1_0054: .*server error 1118"));
}

TEST_F(Rehearse, TheCopyGivesTablesTheRowFormatThatTheSourceWould) {
    MakeCentralDatabase();
    MakeSite(1, "1.0000", {sample::Group::kShop});
    const GlobalSetting format("innodb_default_row_format", "redundant");
    const auto strict =
        Run({"--json", "rehearse", "--workdir", (folder_ / "strict").string()}).Json();
    ASSERT_EQ(strict["failures"].size(), 1U) << strict;
    EXPECT_EQ(strict["failures"][0]["step"], "SiteSchemaStep_1_0054");
    EXPECT_EQ(strict["failures"][0]["code"], 1118);
    EXPECT_THAT(Run({"upgrade"}).err,
                testing::ContainsRegex("tw_1.*SiteSchemaStep_1_0054: .*server error 1118"));
    const GlobalSetting lax("innodb_strict_mode", "OFF");
    EXPECT_EQ(Run({"rehearse", "--workdir", (folder_ / "lax").string()}).status, 0);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

}  // namespace
}  // namespace twupdate::test
