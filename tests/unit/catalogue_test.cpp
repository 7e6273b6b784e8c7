#include "twupdate_host/catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "twupdate/update.h"
#include "twupdate_host/dry_host.h"

namespace twupdate::test {
namespace {

using host::Catalogue;
using host::DryHost;
using host::DryStatement;
using host::NamesIn;
using host::Refusal;
using host::StatementKind;
using testing::ElementsAre;
using testing::SizeIs;

/// The code with which a statement is refused; 0 when it is not.
std::uint32_t CodeOf(Catalogue& catalogue, const std::string& sql) {
    try {
        catalogue.Run(sql);
    } catch (const Refusal& refusal) {
        return refusal.code;
    }
    return 0;
}

const Catalogue::Column& Column(const Catalogue& catalogue, const char* table, const char* column) {
    return *catalogue.Find("tw_7", table)->Find(column);
}

TEST(CatalogueColumns, AreKeptAsAServerShowsThem) {
    Catalogue catalogue;
    catalogue.AddTable("tw_7",
                       "t(id INT AUTO_INCREMENT NOT NULL, flag BOOL DEFAULT -1 NOT NULL, "
                       "small MEDIUMINT UNSIGNED, money DECIMAL(17,2) DEFAULT 0 NOT NULL, "
                       "share DOUBLE NOT NULL DEFAULT '0.50', name VARCHAR(20) DEFAULT 'it''s', "
                       "made DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, note TEXT, c CHAR, "
                       "PRIMARY KEY(id))");
    const auto* table = catalogue.Find("tw_7", "t");
    std::vector<std::string> types;
    std::vector<std::string> defaults;
    for (const auto& column : table->columns) {
        types.push_back(column.type);
        defaults.push_back(column.defaultText.value_or("none"));
    }
    EXPECT_THAT(types,
                ElementsAre("int(11)", "tinyint(1)", "mediumint(8) unsigned", "decimal(17,2)",
                            "double", "varchar(20)", "datetime", "text", "char(1)"));
    EXPECT_THAT(defaults, ElementsAre("none", "-1", "none", "0.00", "0.5", "it's",
                                      "1000-01-01 00:00:00", "none", "none"));
    EXPECT_TRUE(Column(catalogue, "t", "id").autoIncrement);
    EXPECT_FALSE(Column(catalogue, "t", "id").NeedsValue());
    EXPECT_EQ(Column(catalogue, "t", "name").charset, "utf8mb4");
    EXPECT_EQ(Column(catalogue, "t", "made").charset, "");
    EXPECT_EQ(Column(catalogue, "t", "small").Definition(), "MEDIUMINT UNSIGNED");
    EXPECT_EQ(Column(catalogue, "t", "NAME").Definition(), "VARCHAR(20) DEFAULT 'it's'");
}

TEST(CatalogueColumns, HaveNoDisplayWidthsWhereTheServerShowsNone) {
    Catalogue catalogue;
    catalogue.defaults.displayWidths = false;
    catalogue.AddTable("tw_7", "t(a INT, b BOOL, c BIGINT UNSIGNED, d DECIMAL)");
    EXPECT_EQ(Column(catalogue, "t", "a").type, "int");
    EXPECT_EQ(Column(catalogue, "t", "b").type, "tinyint(1)");
    EXPECT_EQ(Column(catalogue, "t", "c").type, "bigint unsigned");
    EXPECT_EQ(Column(catalogue, "t", "d").type, "decimal(10,0)");
}

TEST(CatalogueColumns, OfANewTextHaveTheCharacterSetOfTheirTable) {
    Catalogue catalogue;
    catalogue.AddDatabase("tw_7", {"latin1", "latin1_swedish_ci", {}});
    catalogue.AddTable("tw_7", "t(a INT)");
    catalogue.Run("ALTER TABLE tw_7.t ADD COLUMN b VARCHAR(10), ADD COLUMN c INT FIRST;");
    EXPECT_EQ(Column(catalogue, "t", "b").collation, "latin1_swedish_ci");
    EXPECT_EQ(catalogue.Find("tw_7", "t")->columns.front().name, "c");
}

TEST(CatalogueKeys, FollowTheirColumns) {
    Catalogue catalogue;
    catalogue.AddTable("tw_7",
                       "t(a INT, b INT, c VARCHAR(50), PRIMARY KEY(a), INDEX bc(b, c(20)), "
                       "INDEX b_idx(b), UNIQUE KEY c_idx(c(50)))");
    EXPECT_FALSE(Column(catalogue, "t", "a").nullable);
    EXPECT_EQ(catalogue.Find("tw_7", "t")->FindIndex("c_idx")->PartsText(), "c");
    catalogue.Run("ALTER TABLE tw_7.t CHANGE COLUMN c d VARCHAR(60);");
    EXPECT_EQ(catalogue.Find("tw_7", "t")->FindIndex("bc")->PartsText(), "b, d(20)");
    catalogue.Run("ALTER TABLE tw_7.t DROP COLUMN b;");
    EXPECT_EQ(catalogue.Find("tw_7", "t")->FindIndex("bc")->PartsText(), "d(20)");
    EXPECT_EQ(catalogue.Find("tw_7", "t")->FindIndex("b_idx"), nullptr);
}

TEST(CatalogueRefusals, HaveTheServersCodesAndChangeNothing) {
    Catalogue catalogue;
    catalogue.AddTable("tw_7",
                       "t(a INT AUTO_INCREMENT NOT NULL, b INT, c TEXT, PRIMARY KEY(a), "
                       "INDEX b_idx(b))");
    const std::string before = catalogue.Text();
    const std::pair<const char*, std::uint32_t> refused[] = {
        {"CREATE DATABASE tw_7;", 1007},
        {"DROP DATABASE tw_8;", 1008},
        {"CREATE TABLE tw_8.t(a INT);", 1049},
        {"SHOW TABLES FROM tw_8 LIKE 't';", 1049},
        {"CREATE TABLE tw_7.t(a INT);", 1050},
        {"DROP TABLE tw_7.u;", 1051},
        {"ALTER TABLE tw_7.t MODIFY COLUMN x INT;", 1054},
        {"ALTER TABLE tw_7.t ADD COLUMN B INT;", 1060},
        {"ALTER TABLE tw_7.t ADD INDEX b_idx(a);", 1061},
        {"ALTER TABLE tw_7.t ADD PRIMARY KEY(b);", 1068},
        {"ALTER TABLE tw_7.t ADD INDEX x_idx(x);", 1072},
        {"ALTER TABLE tw_7.t DROP PRIMARY KEY;", 1075},
        {"ALTER TABLE tw_7.t ADD INDEX p_idx(b(5));", 1089},
        {"ALTER TABLE tw_7.t DROP COLUMN x;", 1091},
        {"ALTER TABLE tw_7.t DROP INDEX x_idx;", 1091},
        {"ALTER TABLE tw_7.u ADD COLUMN x INT;", 1146},
        {"ALTER TABLE tw_8.t ADD COLUMN x INT;", 1146},
        {"DESCRIBE tw_7.u;", 1146},
        {"RENAME TABLE tw_7.u TO tw_7.v;", 1146},
        {"SELECT a FROM tw_7.u;", 1146},
        {"INSERT INTO tw_7.t(a, x) VALUES(1, 2);", 1054},
        {"UPDATE tw_7.t SET b = x;", 1054},
        {"SELECT s.x FROM tw_7.t s;", 1054},
        {"CREATE TABLE tw_7.u(a TEXT NOT NULL, PRIMARY KEY(a));", 1170},
        // Neither half of it is carried out.
        {"ALTER TABLE tw_7.t ADD COLUMN x INT, ADD COLUMN b INT;", 1060},
        {"FLUSH TABLES;", 0},
        {"CREATE TABLE tw_7.u(a DECIMAL(5,x) DEFAULT '1');", 0},
        {"CREATE TABLE tw_7.u(a DECIMAL(5,999999999) DEFAULT '1');", 0},
        {"ALTER TABLE tw_7.t ADD INDEX x_idx(c(x));", 0},
        {"ALTER TABLE tw_7.t ADD INDEX x_idx(c(99999999999999999999));", 0},
    };
    for (const auto& [sql, code] : refused) {
        EXPECT_EQ(CodeOf(catalogue, sql), code) << sql;
    }
    EXPECT_EQ(catalogue.Text(), before);
    catalogue.defaults.shortensKeys = false;
    EXPECT_EQ(CodeOf(catalogue, "ALTER TABLE tw_7.t ADD INDEX c_idx(c);"), 1170U);
}

TEST(CatalogueRefusals, AreNoneWhereTheStatementAllowsForWhatIsThere) {
    Catalogue catalogue;
    catalogue.AddTable("tw_7", "t(a INT)");
    for (const char* sql :
         {"CREATE DATABASE IF NOT EXISTS tw_7;", "CREATE TABLE IF NOT EXISTS tw_7.t(b INT);",
          "DROP TABLE IF EXISTS tw_7.u;", "DROP DATABASE IF EXISTS tw_8;"}) {
        EXPECT_EQ(CodeOf(catalogue, sql), 0U) << sql;
    }
    EXPECT_EQ(catalogue.Definition("tw_7", "t", "a"), "INT");
    EXPECT_EQ(CodeOf(catalogue, "DROP DATABASE IF EXISTS tw_7;"), 0U);
    EXPECT_FALSE(catalogue.HasDatabase("tw_7"));
}

TEST(CatalogueRefusals, MayBeNotedAndTheCauseTakenForRemoved) {
    Catalogue catalogue;
    catalogue.AddTable("tw_7", "t(a INT)");
    std::optional<Refusal> refusal;
    catalogue.Run("ALTER TABLE tw_7.t ADD COLUMN a INT, ADD COLUMN b INT;", &refusal);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->code, 1060U);
    EXPECT_NE(catalogue.Find("tw_7", "t")->Find("b"), nullptr);
    refusal.reset();
    catalogue.Run("ALTER TABLE tw_7.t MODIFY COLUMN c DOUBLE;", &refusal);
    EXPECT_EQ(refusal->code, 1054U);
    EXPECT_EQ(catalogue.Definition("tw_7", "t", "c"), "DOUBLE");
}

TEST(CatalogueNames, AreComparedWithAPatternInATimeThatDoesNotExplode) {
    Catalogue catalogue;
    catalogue.AddDatabase(std::string(60, 'a') + "b");
    catalogue.AddDatabase("tw_7");
    std::string pattern;
    for (int i = 0; i < 30; ++i) {
        pattern += "%a";
    }
    EXPECT_THAT(catalogue.Run("SHOW DATABASES LIKE '" + pattern + "';").rows, SizeIs(0));
    EXPECT_THAT(catalogue.Run("SHOW DATABASES LIKE '" + pattern + "b';").rows, SizeIs(1));
    EXPECT_THAT(catalogue.Run("SHOW DATABASES LIKE 't__%7%';").rows, SizeIs(1));
    EXPECT_THAT(catalogue.Run("SHOW DATABASES LIKE 't___7';").rows, SizeIs(0));
}

TEST(Catalogues, ThatAreCopiedShareTablesUntilOneChanges) {
    Catalogue one;
    one.AddTable("tw_7", "t(a INT)");
    one.AddTable("tw_7", "u(a INT)");
    Catalogue other = one;
    other.Run("ALTER TABLE tw_7.t ADD COLUMN b INT;");
    EXPECT_EQ(one.Find("tw_7", "t")->Find("b"), nullptr);
    EXPECT_NE(other.Find("tw_7", "t")->Find("b"), nullptr);
    EXPECT_EQ(one.Share({"tw_7", "u"}), other.Share({"tw_7", "u"}));
}

/// "database.table" of each.
std::vector<std::string> TablesOf(const host::StatementNames& names) {
    std::vector<std::string> tables;
    for (const auto& name : names.tables) {
        tables.push_back(name.database + "." + name.table);
    }
    return tables;
}

/// "table.column", or "column" where any table may have it.
std::vector<std::string> UsesOf(const host::StatementNames& names) {
    std::vector<std::string> uses;
    for (const auto& use : names.uses) {
        uses.push_back((use.table ? use.table->table + "." : "") + use.column);
    }
    return uses;
}

TEST(StatementNames, OfAReadOverSeveralTables) {
    const auto names = NamesIn(
        "SELECT s.name, IF(s.type = 'from x', text, NULL) AS shown FROM tw_7.setting s INNER JOIN "
        "tw_7.override AS o ON s.overrideid = o.overrideid WHERE shown LIKE '%a' AND CAST(value "
        "AS CHAR) <> '' ORDER BY sequence DESC LIMIT 5,50;");
    EXPECT_EQ(names.kind, StatementKind::kRead);
    EXPECT_THAT(TablesOf(names), ElementsAre("tw_7.setting", "tw_7.override"));
    EXPECT_THAT(UsesOf(names),
                ElementsAre("setting.name", "setting.type", "text", "setting.overrideid",
                            "override.overrideid", "value", "sequence"));
    EXPECT_EQ(names.target, host::TableName{});
}

TEST(StatementNames, OfAnInsertOutOfATable) {
    const auto names = NamesIn(
        "INSERT IGNORE INTO tw_7.a(x, `key`) SELECT b.y, COUNT(*) FROM tw_7.b b GROUP BY b.y ON "
        "DUPLICATE KEY UPDATE x = VALUES(x);");
    EXPECT_EQ(names.kind, StatementKind::kInsert);
    EXPECT_EQ(names.target, (host::TableName{"tw_7", "a"}));
    EXPECT_THAT(names.columns, ElementsAre("x", "key"));
    EXPECT_THAT(TablesOf(names), ElementsAre("tw_7.a", "tw_7.b"));
    EXPECT_THAT(UsesOf(names), ElementsAre("b.y", "b.y", "x", "x"));
}

TEST(StatementNames, OfChangesThroughAnAlias) {
    const auto straight = NamesIn(
        "SELECT p.id FROM tw_7.a x STRAIGHT_JOIN tw_7.b p ON p.id = x.id STRAIGHT_JOIN "
        "(SELECT DISTINCT id FROM tw_7.c WHERE id > 0) y ON y.id = x.id;");
    EXPECT_EQ(straight.tables.size(), 3U);
    EXPECT_EQ(std::count_if(straight.uses.begin(), straight.uses.end(),
                            [](const auto& use) { return !use.table && use.column != "id"; }),
              0);
    const auto update = NamesIn(
        "UPDATE tw_7.a x INNER JOIN tw_7.b y ON x.id = y.id SET x.n = tw_7.b.n, m = "
        "DATE_ADD(NOW(), INTERVAL 1 DAY);");
    EXPECT_EQ(update.kind, StatementKind::kUpdate);
    EXPECT_EQ(update.target, (host::TableName{"tw_7", "a"}));
    EXPECT_THAT(UsesOf(update), ElementsAre("a.id", "b.id", "a.n", "b.n", "m"));
    const auto remove = NamesIn(
        "DELETE y FROM tw_7.a x INNER JOIN tw_7.b y ON x.id = y.id WHERE EXISTS(SELECT 1 FROM "
        "tw_7.c);");
    EXPECT_EQ(remove.target, (host::TableName{"tw_7", "b"}));
    EXPECT_THAT(TablesOf(remove), ElementsAre("tw_7.a", "tw_7.b", "tw_7.c"));
    EXPECT_THAT(UsesOf(remove), ElementsAre("a.id", "b.id"));
}

TEST(StatementNames, OfWhatIsNoRead) {
    EXPECT_EQ(NamesIn("REPAIR TABLE tw_7.t QUICK;").kind, StatementKind::kAlterTable);
    EXPECT_EQ(NamesIn("CALL tw_7.p();").kind, StatementKind::kAlterTable);
    EXPECT_EQ(NamesIn("SELECT a INTO OUTFILE '/x' FROM tw_7.t;").kind, StatementKind::kAlterTable);
    EXPECT_EQ(NamesIn("SELECT a FROM tw_7.t FOR UPDATE;").kind, StatementKind::kAlterTable);
    EXPECT_EQ(NamesIn("-- SELECT\nDELETE FROM tw_7.t;").kind, StatementKind::kDelete);
    EXPECT_EQ(NamesIn("CREATE DATABASE tw_8;").target.database, "tw_8");
}

// A dry host without a server: every read is empty.
TEST(DryHosts, KeepARecordOfWhatASiteWouldBeSent) {
    Catalogue layout;
    layout.AddTable("tw_7", "formtemplateinstance(instanceid INT)");
    const auto dry = std::make_shared<DryHost>(nullptr, layout);
    Update update;
    update.Configure(dry);
    update.UpdateSite(7, 1.0263);
    ASSERT_THAT(dry->Record(), SizeIs(testing::Ge(4U)));
    const DryStatement& alter = dry->Record()[2];
    EXPECT_EQ(alter.kind, StatementKind::kAlterTable);
    EXPECT_EQ(alter.sql,
              "ALTER TABLE tw_7.formtemplateinstance ADD COLUMN cachettl INT DEFAULT -1 NOT NULL;");
    EXPECT_EQ(alter.step->name, "SiteSchemaStep_1_0264");
    EXPECT_EQ(alter.database, "tw_7");
    EXPECT_EQ(alter.before->Find("cachettl"), nullptr);
    EXPECT_EQ(alter.after->Find("cachettl")->defaultText, "-1");
    EXPECT_FALSE(alter.refusal);
    const DryStatement& create = dry->Record()[3];
    EXPECT_EQ(create.kind, StatementKind::kCreateTable);
    EXPECT_EQ(create.before, nullptr);
    EXPECT_THAT(create.after->columns, SizeIs(14));
    EXPECT_NE(dry->Layout().Find("tw_7", "htmlcache"), nullptr);
    EXPECT_EQ(layout.Find("tw_7", "htmlcache"), nullptr);
}

TEST(DryHosts, FoldStatementsThatDifferInTheirValues) {
    Catalogue layout;
    layout.AddTable("tw_7", "t(a INT, b VARCHAR(5))");
    DryHost dry(nullptr, layout);
    std::int64_t rows = 0;
    for (const char* sql :
         {"UPDATE tw_7.t SET a = 1 WHERE b = 'x';", "UPDATE tw_7.t SET a = 22 WHERE b = 'it''s';",
          "UPDATE tw_7.t SET a = 1;", "UPDATE tw_7.u SET a = 1;"}) {
        dry.GetDatabase()->Execute(sql, rows);
    }
    ASSERT_THAT(dry.Record(), SizeIs(3));
    EXPECT_EQ(dry.Record()[0].times, 2U);
    EXPECT_EQ(dry.Record()[1].times, 1U);
    ASSERT_TRUE(dry.Record()[2].refusal);
    EXPECT_EQ(dry.Record()[2].refusal->code, 1146U);
}

TEST(DryHosts, RefuseWhereTheyAreAskedTo) {
    DryHost dry(nullptr, Catalogue(), {.refuses = true});
    try {
        dry.GetDatabase()->OpenRecordset("SELECT a FROM tw_7.t;", 0, 0);
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1146U);
        EXPECT_EQ(error.Statement(), "SELECT a FROM tw_7.t;");
    }
}

TEST(DryHosts, LeaveNoFolderBehind) {
    std::filesystem::path folder;
    {
        DryHost dry(nullptr, Catalogue(), {.resources = TWUPDATE_SOURCE_FOLDER "/resources"});
        folder = dry.InstallFolder();
        EXPECT_TRUE(std::filesystem::exists(folder / "resources" / "countryData.txt"));
    }
    EXPECT_FALSE(std::filesystem::exists(folder.parent_path()));
    EXPECT_TRUE(std::filesystem::exists(TWUPDATE_SOURCE_FOLDER "/resources/countryData.txt"));
}

}  // namespace
}  // namespace twupdate::test
