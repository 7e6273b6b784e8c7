#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/recording_host.h"
#include "support/update_test_peer.h"

namespace twupdate {
namespace {

using ::testing::ElementsAre;

class SchemaPrimitives : public ::testing::Test {
  protected:
    SchemaPrimitives() {
        update.Configure(host);
        host->catalogue.AddTable(
            "tw_7", "t(a INT DEFAULT 0 NOT NULL, b FLOAT DEFAULT 0 NOT NULL, INDEX a_idx(a))");
    }
    ~SchemaPrimitives() override {
        EXPECT_EQ(host->openRecordsets, 0);
        EXPECT_LE(host->mostStatementsOfOneDatabase, 1);
    }

    std::shared_ptr<test::RecordingHost> host = std::make_shared<test::RecordingHost>();
    Update update;
    UpdateTestPeer peer{update};
};

TEST_F(SchemaPrimitives, TableExistsAsksForTablesLikeTheName) {
    EXPECT_TRUE(peer.TableExists("tw_7", "t"));
    EXPECT_FALSE(peer.TableExists("tw_7", "u"));
    EXPECT_THAT(host->log, ElementsAre("query SHOW TABLES FROM tw_7 LIKE 't';",
                                       "query SHOW TABLES FROM tw_7 LIKE 'u';"));
}

TEST_F(SchemaPrimitives, TableExistsTakesAnUnderscoreForAnyCharacter) {
    host->catalogue.AddTable("tw_7", "axb(a INT)");
    EXPECT_TRUE(peer.TableExists("tw_7", "a_b"));
}

TEST_F(SchemaPrimitives, TableExistsFailsOnAMissingDatabase) {
    EXPECT_THROW(static_cast<void>(peer.TableExists("tw_8", "t")), HostError);
}

TEST_F(SchemaPrimitives, ColumnExistsComparesToTheLetter) {
    EXPECT_TRUE(peer.ColumnExists("tw_7", "t", "b"));
    EXPECT_FALSE(peer.ColumnExists("tw_7", "t", "B"));
    EXPECT_FALSE(peer.ColumnExists("tw_7", "t", "c"));
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_7.t;", "reader DESCRIBE tw_7.t;",
                                       "reader DESCRIBE tw_7.t;"));
}

TEST_F(SchemaPrimitives, IndexExistsComparesToTheLetter) {
    EXPECT_TRUE(peer.IndexExists("tw_7", "t", "a_idx"));
    EXPECT_FALSE(peer.IndexExists("tw_7", "t", "A_IDX"));
    EXPECT_THAT(host->log, ElementsAre("reader SHOW INDEXES FROM tw_7.t;",
                                       "reader SHOW INDEXES FROM tw_7.t;"));
}

TEST_F(SchemaPrimitives, AddColumnIfMissingLeavesAnExistingColumnOfAnotherTypeAlone) {
    peer.AddColumnIfMissing("tw_7", "t", "b", "VARCHAR(10)");
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_7.t;"));
    EXPECT_EQ(host->catalogue.Definition("tw_7", "t", "b"), "FLOAT DEFAULT 0 NOT NULL");
}

TEST_F(SchemaPrimitives, AddColumnIfMissingAddsOnce) {
    peer.AddColumnIfMissing("tw_7", "t", "c", "INT DEFAULT 0 NOT NULL");
    peer.AddColumnIfMissing("tw_7", "t", "c", "INT DEFAULT 0 NOT NULL");
    EXPECT_THAT(host->log,
                ElementsAre("reader DESCRIBE tw_7.t;",
                            "execute ALTER TABLE tw_7.t ADD COLUMN c INT DEFAULT 0 NOT NULL;",
                            "reader DESCRIBE tw_7.t;"));
}

TEST_F(SchemaPrimitives, AddColumnDoesNotAsk) {
    peer.AddColumn("tw_7", "t", "c", "INT");
    EXPECT_THAT(host->log, ElementsAre("execute ALTER TABLE tw_7.t ADD COLUMN c INT;"));
    EXPECT_THROW(peer.AddColumn("tw_7", "t", "c", "INT"), HostError);
}

TEST_F(SchemaPrimitives, DropColumnDropsOnlyWhatIsThere) {
    peer.DropColumn("tw_7", "t", "c");
    peer.DropColumn("tw_7", "t", "b");
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_7.t;", "reader DESCRIBE tw_7.t;",
                                       "execute ALTER TABLE tw_7.t DROP COLUMN b;"));
}

TEST_F(SchemaPrimitives, DropColumnByQuerySendsTheSameTextAsAQuery) {
    peer.DropColumnByQuery("tw_7", "t", "c");
    peer.DropColumnByQuery("tw_7", "t", "b");
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_7.t;", "reader DESCRIBE tw_7.t;",
                                       "query ALTER TABLE tw_7.t DROP COLUMN b;"));
    host->openRecordsets = 0;  // the returned object is discarded, not closed
}

TEST_F(SchemaPrimitives, DropIndexDropsOnlyWhatIsThere) {
    peer.DropIndex("tw_7", "t", "b_idx");
    peer.DropIndex("tw_7", "t", "a_idx");
    EXPECT_THAT(host->log,
                ElementsAre("reader SHOW INDEXES FROM tw_7.t;", "reader SHOW INDEXES FROM tw_7.t;",
                            "execute ALTER TABLE tw_7.t DROP INDEX a_idx;"));
}

TEST_F(SchemaPrimitives, AddIndexIfMissingAddsOnce) {
    peer.AddIndexIfMissing("tw_7", "t", "b_idx", "b");
    peer.AddIndexIfMissing("tw_7", "t", "b_idx", "b");
    EXPECT_THAT(host->log, ElementsAre("reader SHOW INDEXES FROM tw_7.t;",
                                       "execute ALTER TABLE tw_7.t ADD INDEX b_idx(b);",
                                       "reader SHOW INDEXES FROM tw_7.t;"));
}

TEST_F(SchemaPrimitives, AddIndexTakesAPrefix) {
    host->catalogue.Run("ALTER TABLE tw_7.t ADD COLUMN pageroute VARCHAR(255);");
    peer.AddIndex("tw_7", "t", "pageroute_idx", "pageroute(20)");
    EXPECT_THAT(host->log,
                ElementsAre("execute ALTER TABLE tw_7.t ADD INDEX pageroute_idx(pageroute(20));"));
}

TEST_F(SchemaPrimitives, ConvertFloatToDoubleGoesThroughATemporaryColumn) {
    peer.ConvertFloatToDouble("tw_7", "t", "b");
    EXPECT_THAT(
        host->log,
        ElementsAre(
            "reader DESCRIBE tw_7.t;",
            "execute ALTER TABLE tw_7.t ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;",
            "execute UPDATE tw_7.t SET double_temp = CAST(b AS BINARY);",
            "execute ALTER TABLE tw_7.t DROP COLUMN b;",
            "execute ALTER TABLE tw_7.t CHANGE COLUMN double_temp b DOUBLE DEFAULT 0 NOT NULL;"));
    EXPECT_EQ(host->catalogue.Definition("tw_7", "t", "b"), "DOUBLE DEFAULT 0 NOT NULL");
}

TEST_F(SchemaPrimitives, ConvertFloatToDoubleLeavesOtherTypesAndMissingColumnsAlone) {
    host->catalogue.AddTable("tw_7", "d(a DOUBLE, b FLOAT(7,2))");
    for (const char* column : {"a", "b", "c"}) {
        peer.ConvertFloatToDouble("tw_7", "d", column);
    }
    EXPECT_THAT(host->Changes(), ElementsAre());
    EXPECT_EQ(host->log.size(), 3U);
}

TEST_F(SchemaPrimitives, ConvertFloatToDoubleFailsOnALeftOverTemporaryColumn) {
    host->catalogue.AddTable("tw_7", "partial(a FLOAT, double_temp DOUBLE)");
    EXPECT_THROW(peer.ConvertFloatToDouble("tw_7", "partial", "a"), HostError);
    EXPECT_EQ(host->openRecordsets, 0);
}

TEST_F(SchemaPrimitives, ConvertToDecimalModifiesAnExistingColumnEveryTime) {
    peer.ConvertToDecimal("tw_7", "t", "b");
    peer.ConvertToDecimal("tw_7", "t", "b");
    const std::string modify =
        "execute ALTER TABLE tw_7.t MODIFY COLUMN b DECIMAL(17,2) NOT NULL DEFAULT '0.00';";
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_7.t b;", modify,
                                       "reader DESCRIBE tw_7.t b;", modify));
}

TEST_F(SchemaPrimitives, ConvertToDecimalLeavesAMissingColumnAlone) {
    peer.ConvertToDecimal("tw_7", "t", "c");
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_7.t c;"));
}

}  // namespace
}  // namespace twupdate
