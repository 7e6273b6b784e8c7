#include <gmock/gmock.h>

#include "cli/installation_fixture.h"

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
    EXPECT_EQ(result["upgraded"][2]["steps"], 176);
    ASSERT_EQ(result["failures"].size(), 1U);
    EXPECT_EQ(result["failures"][0]["database"], "tw_2");
    EXPECT_EQ(result["failures"][0]["step"], "SiteSchemaStep_1_0005");
    EXPECT_EQ(result["differences"].size(), 0U);
}

TEST_F(Rehearse, TakesTheChosenSitesAloneAndTheirTablesWithoutRowsWhenToldSo) {
    MakeCentralDatabase();
    for (const std::int32_t site : {1, 2, 3}) {
        MakeSite(site);
    }
    const Outcome outcome =
        Run({"rehearse", "--workdir", (folder_ / "r").string(), "--site", "2", "--schema-only"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Rehearsed: 2 databases upgraded, 0 failures, 0 "
                                       "differences."));
    EXPECT_THAT(outcome.out, HasSubstr("tw_2: copied"));
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("tw_3")));
    EXPECT_EQ(SiteVersion(2), "1");
    // A second rehearsal in the same folder would mix with the first.
    EXPECT_EQ(Run({"rehearse", "--workdir", (folder_ / "r").string()}).status, 2);
}

}  // namespace
}  // namespace twupdate::test
