// The tests' own tools: a wrong one would let wrong programs pass.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/faulty_utility.h"
#include "support/recording_host.h"
#include "support/snapshot.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;

class Faults : public testing::Test {
  protected:
    void Execute(const std::string& sql) {
        std::int64_t rows = 0;
        faulty.GetDatabase()->Execute(sql, rows);
    }

    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
    FaultyUtility faulty{host};
};

TEST_F(Faults, ACallThatFailsBeforeDoesNotReachTheHost) {
    host->catalogue.AddDatabase("tw_7");
    host->catalogue.AddTable("tw_7", "a(x INT)");
    faulty.FailAt(2, FaultyUtility::kBefore);
    Execute("DELETE FROM tw_7.a WHERE x = 1;");
    EXPECT_THROW(Execute("DELETE FROM tw_7.a WHERE x = 2;"), InjectedFault);
    Execute("DELETE FROM tw_7.a WHERE x = 3;");
    EXPECT_THAT(host->Lines("execute"),
                ElementsAre("DELETE FROM tw_7.a WHERE x = 1;", "DELETE FROM tw_7.a WHERE x = 3;"));
    EXPECT_EQ(3U, faulty.Calls());
}

TEST_F(Faults, ACallThatFailsAfterHasItsEffect) {
    host->catalogue.AddDatabase("tw_7");
    host->catalogue.AddTable("tw_7", "a(x INT)");
    faulty.FailAt(1, FaultyUtility::kAfter);
    EXPECT_THROW(Execute("DELETE FROM tw_7.a WHERE x = 1;"), InjectedFault);
    EXPECT_THAT(host->Lines("execute"), ElementsAre("DELETE FROM tw_7.a WHERE x = 1;"));
}

TEST_F(Faults, ServicesAndCommandsCountAsCalls) {
    host->catalogue.AddDatabase("tw_7");
    host->catalogue.AddTable("tw_7", "a(x INT)");
    faulty.GetComponentHost()->ResetSiteComponent(7, 100);
    const auto command = faulty.GetCommandFactory()->NewCommand();
    command->SetText("UPDATE tw_7.a SET x = ?;");
    command->AddParameter(1);
    std::int64_t rows = 0;
    faulty.FailAt(1, FaultyUtility::kBefore);
    EXPECT_THROW(command->ExecuteCommand(faulty.GetDatabase(), rows), InjectedFault);
    faulty.Heal();
    command->ExecuteCommand(faulty.GetDatabase(), rows);
    EXPECT_THAT(faulty.Log(), ElementsAre("service ResetSiteComponent 7 100",
                                          "UPDATE tw_7.a SET x = ?;", "UPDATE tw_7.a SET x = ?;"));
    EXPECT_THAT(host->Lines("command"), ElementsAre("UPDATE tw_7.a SET x = ?; [1]"));
}

RowSnapshot::Table TextTable() {
    RowSnapshot::Table table;
    table.hasPrimaryKey = true;
    table.keyColumns = {"textid"};
    table.defaults = {{"textid", "NULL"}, {"type", "0"}, {"text", "NULL"}};
    return table;
}

RowSnapshot::Row TextRow(const std::string& id, const std::string& type, const std::string& text) {
    return {id, {{"textid", id}, {"type", type}, {"text", text}}};
}

TEST(Snapshots, ChangesNameRowColumnAndBothValues) {
    RowSnapshot before;
    RowSnapshot after;
    before.tables["text"] = after.tables["text"] = TextTable();
    before.tables["text"].rows = {TextRow("1", "0", "'a'"), TextRow("2", "0", "NULL"),
                                  TextRow("3", "7", "NULL")};
    after.tables["text"].rows = {TextRow("1", "0", "'a'"), TextRow("2", "20", "'b'"),
                                 TextRow("4", "0", "'c'")};
    EXPECT_THAT(Changes(before, after), ElementsAre("text 2: type 0 -> 20, text NULL -> 'b'",
                                                    "- text 3: type 7", "+ text 4: text 'c'"));
    EXPECT_FALSE(SameRows(before, after));
    EXPECT_TRUE(OnlyTheseRowsChanged(
        before, after,
        {"+ text 4: text 'c'", "- text 3: type 7", "text 2: type 0 -> 20, text NULL -> 'b'"}));
    EXPECT_FALSE(OnlyTheseRowsChanged(before, after, {"+ text 4: text 'c'"}));
}

TEST(Snapshots, ANewColumnCountsOnlyWhereItDoesNotHoldItsDefault) {
    RowSnapshot before;
    RowSnapshot after;
    before.tables["text"] = TextTable();
    before.tables["text"].rows = {TextRow("1", "0", "'a'"), TextRow("2", "0", "'b'")};
    after = before;
    auto& table = after.tables["text"];
    table.defaults["len"] = "0";
    table.rows[0].values.emplace_back("len", "0");
    table.rows[1].values.emplace_back("len", "1");
    EXPECT_THAT(Changes(before, after), ElementsAre("text 2: len (new) -> 1"));
}

TEST(Snapshots, RowsWithoutAKeyComeAndGoAsWholes) {
    RowSnapshot before;
    before.tables["featurecache"].rows = {{"1", {{"featureid", "3"}, {"cacheid", "4"}}},
                                          {"2", {{"featureid", "3"}, {"cacheid", "4"}}}};
    RowSnapshot after = before;
    after.tables["featurecache"].rows.pop_back();
    EXPECT_THAT(Changes(before, after), ElementsAre("- featurecache: featureid 3, cacheid 4"));
    EXPECT_TRUE(SameRows(before, before));
    EXPECT_FALSE(SameRows(before, RowSnapshot()));
}

TEST(Snapshots, ASchemaIsReadAsItIsWritten) {
    const std::string text =
        "table site\n"
        "    siteid BIGINT DEFAULT 0 NOT NULL\n"
        "    PRIMARY KEY(siteid)\n"
        "    KEY deleted_idx(deleted)\n";
    const Schema schema = Schema::Parse("# a remark\n\n" + text);
    EXPECT_EQ(text, schema.Text());
    Schema other = schema;
    EXPECT_TRUE(SameSchema(schema, other));
    other.tables["site"].columns[0] = "siteid INT DEFAULT 0 NOT NULL";
    const auto result = SameSchema(schema, other);
    EXPECT_FALSE(result);
    EXPECT_THAT(result.message(), testing::HasSubstr("- site: siteid BIGINT DEFAULT 0 NOT NULL\n"
                                                     "+ site: siteid INT DEFAULT 0 NOT NULL\n"));
    other = schema;
    other.tables["new"];
    EXPECT_FALSE(SameSchema(schema, other));
    EXPECT_FALSE(SameSchema(other, schema));
}

}  // namespace
}  // namespace twupdate::test
