#include <gmock/gmock.h>

#include "cli/installation_fixture.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Plan = InstallationTest;

TEST_F(Plan, GroupsTheSitesByTheirStartingVersion) {
    MakeCentralDatabase();
    for (const std::int32_t site : {3, 4, 9}) {
        MakeSiteRow(site, "1.0094");
    }
    MakeSiteRow(5, "1.0262");
    MakeSiteRow(6, "1.0265");
    MakeSiteRow(7, "1.0300");
    MakeSiteRow(8, "1.0000");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 8;");
    const Outcome outcome = Run({"plan"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    // Rows 59 to 92 and 61 to 84 of the two ladders lie above 1.0094.
    EXPECT_THAT(outcome.out, HasSubstr("3 sites at 1.0094: 34 schema and 24 content steps "
                                       "(sites 3, 4, 9)\n"));
    EXPECT_THAT(outcome.out,
                HasSubstr("1 site at 1.0262: 1 schema and 0 content steps (site 5)\n"));
    EXPECT_THAT(outcome.out, HasSubstr("Left out, hard-deleted: 1 site (8)\n"));
    EXPECT_THAT(outcome.out, HasSubstr("Left out, newer: 1 site (7)\n"));
    EXPECT_THAT(outcome.out, HasSubstr("server ladder on tw_tarnwick: 18 steps\n"));
    EXPECT_THAT(outcome.out, HasSubstr("server data ladder on tw_tarnwick: 23 steps\n"));
    EXPECT_THAT(outcome.out, HasSubstr("site schema ladder: 34 steps\n"));
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
    EXPECT_EQ(plan["version"], 1.0);
    ASSERT_EQ(plan["groups"].size(), 1U);
    EXPECT_EQ(plan["groups"][0]["version"], 1.0094);
    EXPECT_EQ(plan["groups"][0]["sites"], nlohmann::json::array({3}));
    EXPECT_EQ(plan["groups"][0]["schema_steps"], 34);
    EXPECT_EQ(plan["left_out"]["hard-deleted"], nlohmann::json::array({8}));
    EXPECT_EQ(plan["ladders"]["server"].size(), 18U);
    EXPECT_EQ(plan["ladders"]["server data"].size(), 23U);
    EXPECT_EQ(plan["ladders"]["site content"].size(), 24U);
    const auto& last = plan["ladders"]["site schema"].back();
    EXPECT_EQ(last["step"], "SiteSchemaStep_1_0264");
    EXPECT_EQ(last["threshold"], 1.0264);
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
              "Installation: version 1.0265 of 1.0265; an upgrade would do nothing.\n"
              "Older all the same, 1.0262: 1 site (3); see upgrade-site\n");
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
    EXPECT_EQ(plan["databases"][0]["version"], 1.0262);
    ASSERT_EQ(plan["databases"][0]["statements"].size(), 1U);
    const auto& statement = plan["databases"][0]["statements"][0];
    EXPECT_EQ(statement["step"], "SiteSchemaStep_1_0264");
    EXPECT_EQ(statement["times"], 1);
    EXPECT_FALSE(statement.contains("refused"));
    EXPECT_THAT(statement["sql"].get<std::string>(),
                StartsWith("CREATE TABLE IF NOT EXISTS tw_7.htmlcache("));
}

// Everything that a user needs is the right to read, so nothing can be written.
TEST_F(Plan, NeedsNoRightButToRead) {
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
