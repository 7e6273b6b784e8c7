#include <gmock/gmock.h>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Plan = InstallationTest;

std::string Pending(std::initializer_list<Ladder> ladders, double version) {
    return std::to_string(PendingCount(ladders, version));
}

TEST_F(Plan, GroupsTheSitesByTheirStartingVersion) {
    MakeCentralDatabase();
    for (const std::int32_t site : {3, 4, 9}) {
        MakeSiteRow(site, "1.0094");
    }
    MakeSiteRow(5, "1.0262");
    MakeSiteRow(6, kCurrentStored);
    MakeSiteRow(7, "1.9000");
    MakeSiteRow(8, "1.0000");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 8;");
    const std::string schema = Pending({Ladder::kSiteSchema}, 1.0094);
    const std::string content = Pending({Ladder::kSiteContent}, 1.0094);
    const Outcome outcome = Run({"plan"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("3 sites at 1.0094: " + schema + " schema and " + content +
                                       " content steps (sites 3, 4, 9)\n"));
    EXPECT_THAT(
        outcome.out,
        HasSubstr("1 site at 1.0262: " + Pending({Ladder::kSiteSchema}, 1.0262) + " schema and " +
                  Pending({Ladder::kSiteContent}, 1.0262) + " content steps (site 5)\n"));
    EXPECT_THAT(outcome.out, HasSubstr("Left out, hard-deleted: 1 site (8)\n"));
    EXPECT_THAT(outcome.out, HasSubstr("Left out, newer: 1 site (7)\n"));
    EXPECT_THAT(
        outcome.out,
        HasSubstr("server ladder on tw_tarnwick: " + Pending({Ladder::kServer}, 1.0) + " steps\n"));
    EXPECT_THAT(outcome.out, HasSubstr("server data ladder on tw_tarnwick: " +
                                       Pending({Ladder::kServerData}, 1.0) + " steps\n"));
    EXPECT_THAT(outcome.out, HasSubstr("site schema ladder: " + schema + " steps\n"));
    EXPECT_THAT(outcome.out, ContainsRegex("\n  1.0264  SiteSchemaStep_1_0264 +4 sites  [A-Za-z]"));
    EXPECT_THAT(outcome.out, ContainsRegex("\n  1.0095  SiteSchemaStep_1_0095 +3 sites  [A-Za-z]"));
}

TEST_F(Plan, TellsTheSameInJson) {
    MakeCentralDatabase();
    MakeSiteRow(3, "1.0094");
    MakeSiteRow(8, "1.0000");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 8;");
    const auto plan = Run({"--json", "plan"}).Json();
    ASSERT_TRUE(plan.is_object());
    EXPECT_EQ(plan["version"], "1.0000");
    ASSERT_EQ(plan["groups"].size(), 1U);
    EXPECT_EQ(plan["groups"][0]["version"], "1.0094");
    EXPECT_EQ(plan["groups"][0]["sites"], nlohmann::json::array({3}));
    EXPECT_EQ(plan["groups"][0]["schema_steps"], PendingCount({Ladder::kSiteSchema}, 1.0094));
    EXPECT_EQ(plan["left_out"]["hard-deleted"], nlohmann::json::array({8}));
    EXPECT_EQ(plan["ladders"]["server"].size(), LadderSteps(Ladder::kServer).size());
    EXPECT_EQ(plan["ladders"]["server data"].size(), LadderSteps(Ladder::kServerData).size());
    EXPECT_EQ(plan["ladders"]["site content"].size(), PendingCount({Ladder::kSiteContent}, 1.0094));
    const auto& last = plan["ladders"]["site schema"].back();
    EXPECT_EQ(last["step"], std::string(LadderSteps(Ladder::kSiteSchema).back().name));
    EXPECT_EQ(last["threshold"], "1.0264");
    EXPECT_EQ(last["databases"], 1);
}

TEST_F(Plan, ShowsOneSiteAlone) {
    MakeCentralDatabase();
    MakeSiteRow(3, "1.0262");
    MakeSiteRow(4, "1.0000");
    const Outcome outcome = Run({"plan", "--site", "3"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("1 site at 1.0262"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("tw_tarnwick")));
    EXPECT_THAT(outcome.out, Not(HasSubstr("1.0001")));
    EXPECT_EQ(Run({"plan", "--site", "99"}).status, 1);
}

TEST_F(Plan, OfACurrentInstallationIsEmpty) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    MakeSiteRow(3, "1.0262");
    const Outcome outcome = Run({"plan"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "Installation: version " + kCurrentShown + " of " + kCurrentShown +
                  "; an upgrade would do nothing.\n"
                  "Older all the same, 1.0262: 1 site (3); run upgrade-site --all-old\n");
}

TEST_F(Plan, OfACurrentSiteSaysSo) {
    MakeCentralDatabase();
    MakeSiteRow(3, kCurrentStored);
    const std::string text =
        "Site 3 is at " + kCurrentShown + " already; upgrade-site would do nothing.\n";
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, std::vector<std::string>{"--sql"}}) {
        std::vector<std::string> words{"plan", "--site", "3"};
        words.insert(words.end(), options.begin(), options.end());
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, text);
        words.emplace_back("--json");
        EXPECT_EQ(Run(words).Json()["groups"], nlohmann::json::array());
    }
}

TEST_F(Plan, PrintsTheStatements) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262", {sample::Group::kForms, sample::Group::kTemplates});
    Execute("ALTER TABLE tw_7.formtemplateinstance DROP COLUMN cachettl;");
    const std::string before = StateOf("tw_7") + StateOf("tw_tarnwick");
    const Outcome outcome = Run({"plan", "--sql"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("-- tw_tarnwick from 1.0262: "));
    EXPECT_THAT(outcome.out, HasSubstr("\n-- after the ladders\n"
                                       "UPDATE tw_tarnwick.installation SET version = ?;\n"));
    EXPECT_THAT(outcome.out,
                HasSubstr("-- tw_7 from 1.0262: 2 statements\n"
                          "\n"
                          "-- SiteSchemaStep_1_0264\n"
                          "ALTER TABLE tw_7.formtemplateinstance ADD COLUMN cachettl INT DEFAULT "
                          "-1 NOT NULL;\n"
                          "CREATE TABLE IF NOT EXISTS tw_7.htmlcache("));
    EXPECT_EQ(StateOf("tw_7") + StateOf("tw_tarnwick"), before);
}

TEST_F(Plan, PrintsTheStatementsOfOneSiteInJson) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    const auto plan = Run({"--json", "plan", "--sql", "--site", "7"}).Json();
    ASSERT_EQ(plan["databases"].size(), 1U);
    EXPECT_EQ(plan["databases"][0]["database"], "tw_7");
    EXPECT_EQ(plan["databases"][0]["version"], "1.0262");
    ASSERT_EQ(plan["databases"][0]["statements"].size(), 1U);
    const auto& statement = plan["databases"][0]["statements"][0];
    EXPECT_EQ(statement["step"], "SiteSchemaStep_1_0264");
    EXPECT_EQ(statement["times"], 1);
    EXPECT_FALSE(statement.contains("refused"));
    EXPECT_THAT(statement["sql"].get<std::string>(),
                StartsWith("CREATE TABLE IF NOT EXISTS tw_7.htmlcache("));
}

// Everything that a user needs is the right to read, so nothing can be written.
TEST_F(Plan, NeedsNoPrivilegeButToRead) {
    MakeCentralDatabase();
    MakeSite(3, "1.0094");
    Execute("CREATE USER IF NOT EXISTS 'reader'@'localhost';");
    Execute("GRANT SELECT, SHOW DATABASES, SHOW VIEW ON *.* TO 'reader'@'localhost';");
    const std::string written =
        "SELECT CONCAT_WS(' ', SUM(table_rows), MAX(update_time), MAX(create_time), COUNT(*)) "
        "FROM information_schema.tables WHERE table_schema LIKE 'tw\\_%';";
    const std::string before = Cell(written);
    const auto socket = CliServer::Get().Server().Socket().string();
    for (const char* command : {"plan", "status"}) {
        const Outcome outcome = RunProgram({"--socket", socket, "--user", "reader", command});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("1.0094"));
    }
    EXPECT_EQ(Cell(written), before);
}

}  // namespace
}  // namespace twupdate::test
