// The layouts load on a real server, and the test fixture does what it says.
#include "support/server_test.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LayoutsOnServer : public ServerTest {};

TEST_F(LayoutsOnServer, LoadInStrictMode) {
    EXPECT_THAT(Cell("SELECT @@sql_mode"), testing::HasSubstr("STRICT_TRANS_TABLES"));
    LoadSite(7);
    LoadLogs(7);
    LoadImportedMasterData(7);
    EXPECT_EQ("1", Cell("SELECT version FROM tw_tarnwick.installation"));
    EXPECT_THAT(Rows("SHOW TABLES FROM tw_logs"), ElementsAre("tw_7"));
    EXPECT_EQ(22U, SchemaOf("tw_tarnwick").tables.size());
}

TEST_F(LayoutsOnServer, TakeEveryTypeOfFormField) {
    LoadSite(7, {Group::kForms});
    std::vector<FormField> fields;
    for (const std::string& type : Layouts().FieldTypes()) {
        fields.push_back({static_cast<std::int32_t>(fields.size()) + 1, type});
    }
    LoadForm(7, 20, fields, true);
    EXPECT_EQ(3U + fields.size(), SchemaOf("tw_7").tables["form_20"].columns.size());
    EXPECT_EQ("-1", Cell("SELECT securefiles FROM tw_7.form WHERE formfeatureid = 20"));
}

TEST_F(LayoutsOnServer, AreGoneWhenTheNextTestBegins) {
    EXPECT_THAT(Rows("SHOW DATABASES LIKE 'tw\\_%'"), IsEmpty());
}

TEST_F(LayoutsOnServer, TheSchemaReadsLikeItsDescription) {
    Sql("CREATE DATABASE tw_7;"
        "CREATE TABLE tw_7.kinds(id INT AUTO_INCREMENT NOT NULL, flag BOOL DEFAULT -1 NOT NULL, "
        "small MEDIUMINT DEFAULT 0 NOT NULL, big BIGINT, money DECIMAL(17,2) DEFAULT '0.00' NOT "
        "NULL, ratio DOUBLE DEFAULT 0.5 NOT NULL, share FLOAT, name VARCHAR(20) DEFAULT '' NOT "
        "NULL, note LONGTEXT, made DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, kind INT NOT "
        "NULL, PRIMARY KEY(id), INDEX name_idx(name(5)), UNIQUE KEY KindIndex(kind, big));");
    EXPECT_EQ(
        "table kinds\n"
        "    id INT AUTO_INCREMENT NOT NULL\n"
        "    flag BOOL DEFAULT -1 NOT NULL\n"
        "    small MEDIUMINT DEFAULT 0 NOT NULL\n"
        "    big BIGINT NULL\n"
        "    money DECIMAL(17,2) DEFAULT 0.00 NOT NULL\n"
        "    ratio DOUBLE DEFAULT 0.5 NOT NULL\n"
        "    share FLOAT NULL\n"
        "    name VARCHAR(20) DEFAULT '' NOT NULL\n"
        "    note LONGTEXT NULL\n"
        "    made DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL\n"
        "    kind INT NOT NULL\n"
        "    PRIMARY KEY(id)\n"
        "    UNIQUE KEY KindIndex(kind, big)\n"
        "    KEY name_idx(name(5))\n",
        SchemaOf("tw_7").Text());
}

TEST_F(LayoutsOnServer, RowsAreReadAsLiterals) {
    Sql("CREATE DATABASE tw_7;"
        "CREATE TABLE tw_7.kinds(id INT AUTO_INCREMENT NOT NULL, money DECIMAL(17,2) DEFAULT "
        "'0.00' NOT NULL, ratio DOUBLE DEFAULT 0 NOT NULL, note LONGTEXT, name VARCHAR(20) DEFAULT "
        "'' NOT NULL, PRIMARY KEY(id));"
        "INSERT INTO tw_7.kinds(money, ratio, note, name) VALUES(19.9, 0.1, NULL, ''), "
        "(0, 0, 'it''s\\n', 'a');");
    EXPECT_EQ(
        "kinds 1: money 19.90, ratio 0.1\n"
        "kinds 2: note 'it\\'s\\n', name 'a'\n",
        RowsOf("tw_7").Text());
    const auto before = RowsOf("tw_7");
    Sql("UPDATE tw_7.kinds SET note = 'x' WHERE id = 1; DELETE FROM tw_7.kinds WHERE id = 2;"
        "INSERT INTO tw_7.kinds(name) VALUES('b');");
    EXPECT_TRUE(
        OnlyTheseRowsChanged(before, RowsOf("tw_7"),
                             {"kinds 1: note NULL -> 'x'", "- kinds 2: note 'it\\'s\\n', name 'a'",
                              "+ kinds 3: name 'b'"}));
}

TEST_F(LayoutsOnServer, ASiteIsBroughtToAnOlderVersionByItsOwnSteps) {
    LoadSite(7, sample::AllGroups(), {1.0007, 1.0001});
    const Schema schema = SchemaOf("tw_7");
    EXPECT_TRUE(schema.tables.contains("chargegroup"));
    EXPECT_FALSE(schema.tables.contains("textcache"));
    EXPECT_EQ("1.0001", Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = 7"));
}

TEST_F(LayoutsOnServer, AnOlderSiteIsTheOneThatItsStepsMakeOneByOne) {
    std::int32_t siteId = 10;
    for (const double version : {1.0035, 1.0097, 1.0233}) {
        const std::int32_t brought = siteId++;
        const std::int32_t stepped = siteId++;
        LoadSite(brought, sample::AllGroups(), {version, 1.0});
        LoadSite(stepped);
        for (const LadderStep& step : LadderSteps(Ladder::kSiteSchema)) {
            if (step.threshold <= version) {
                RunStep(std::string(step.name), stepped);
            }
        }
        EXPECT_TRUE(SameSchema(SchemaOf("tw_" + std::to_string(stepped)),
                               SchemaOf("tw_" + std::to_string(brought))))
            << version;
    }
}

TEST_F(LayoutsOnServer, AnOlderCentralDatabaseHasTheStepsUpToItsVersionOnly) {
    LoadLogs(1);
    LoadCentral(1.0041);
    const Schema schema = SchemaOf("tw_tarnwick");
    EXPECT_THAT(schema.tables.at("site").columns,
                testing::Contains("transaction BOOL DEFAULT 0 NOT NULL"));
    EXPECT_THAT(schema.tables.at("account").columns,
                testing::Contains("currentbalance DOUBLE DEFAULT 0 NOT NULL"))
        << "money is converted by 1.0047";
    EXPECT_EQ("1.0041", Cell("SELECT version FROM tw_tarnwick.installation"));
}

TEST_F(LayoutsOnServer, AKilledServerComesBackWithWhatWasDone) {
    LoadSite(7, {});
    Sql("INSERT INTO tw_7.image(filename) VALUES('a.png');");
    const auto before = RowsOf("tw_7");
    Server().Kill();
    EXPECT_THROW(Sql("INSERT INTO tw_7.image(filename) VALUES('b.png');"), HostError);
    Server().Start();
    Reconnect();
    EXPECT_TRUE(SameRows(before, RowsOf("tw_7")));
}

}  // namespace
}  // namespace twupdate::test
