#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>

#include "cli/installation_fixture.h"
#include "cli/old_server.h"
#include "cli/server/layout.h"
#include "cli/server/server_version.h"
#include "support/versions.h"
#include "twupdate/update.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {
namespace {

using cli::Layout;
using testing::HasSubstr;
using testing::IsEmpty;

/// Notes, for every table, column and key of a database, the step after which it was as it is now.
class LayoutRecorder : public Observer, public host::StatementListener {
  public:
    LayoutRecorder(std::shared_ptr<host::Connection> connection, std::string database)
        : own_(std::make_shared<host::MariaDbUtility>(std::move(connection))),
          database_(std::move(database)),
          layout_(cli::ReadLayout(*own_->GetConnection(), database_)) {}

    void After(const host::StatementEvent& event, std::chrono::nanoseconds,
               const HostError*) override {
        changed_ = changed_ || event.sql.starts_with("ALTER") || event.sql.starts_with("CREATE") ||
                   event.sql.starts_with("RENAME") || event.sql.starts_with("DROP");
    }

    void StepEnded(const LadderStep& step, const std::string& /*database*/) override {
        if (!changed_) {
            return;
        }
        changed_ = false;
        Layout now = cli::ReadLayout(*own_->GetConnection(), database_);
        for (auto& [name, table] : now.tables) {
            const auto before = layout_.tables.find(name);
            const bool isNew = before == layout_.tables.end();
            table.step = isNew ? std::string(step.name) : before->second.step;
            for (auto& [itemName, item] : table.items) {
                item.step = step.name;
                if (!isNew) {
                    const auto old = before->second.items.find(itemName);
                    if (old != before->second.items.end() &&
                        old->second.definitions == item.definitions) {
                        item.step = old->second.step;
                    }
                }
            }
        }
        layout_ = std::move(now);
    }

    const Layout& Result() const { return layout_; }

  private:
    std::shared_ptr<host::MariaDbUtility> own_;
    std::string database_;
    Layout layout_;
    bool changed_ = false;
};

class Verify : public InstallationTest {
  protected:
    /// Upgrades with the component itself and returns how the database is then.
    static Layout Upgraded(const std::string& database,
                           const std::function<void(Update&)>& operation) {
        const auto options = CliServer::Get().Server().ConnectOptions();
        const auto recorder =
            std::make_shared<LayoutRecorder>(host::Connection::Open(options), database);
        host::MariaDbUtilityOptions host;
        host.installFolder = TWUPDATE_SOURCE_FOLDER;
        host.observer = recorder;
        host.listener = recorder;
        Update update;
        update.Configure(
            std::make_shared<host::MariaDbUtility>(host::Connection::Open(options), host));
        operation(update);
        return recorder->Result();
    }

    /// The feature that brings an optional table, on sites that have no other one.
    void NameFeatures(Layout& layout) {
        using enum sample::Group;
        const std::map<sample::Group, sample::Group> needs{
            {kTemplates, kForms}, {kCharges, kShop}, {kAffiliates, kShop}};
        std::int32_t siteId = 100;
        for (const sample::Group group : sample::AllGroups()) {
            sample::Groups groups{group};
            if (const auto found = needs.find(group); found != needs.end()) {
                groups.insert(found->second);
            }
            MakeSite(++siteId, kCurrentStored, groups);
            const std::string database = "tw_" + std::to_string(siteId);
            const Layout with =
                Upgraded(database, [siteId](Update& u) { u.UpdateSite(siteId, 1.0); });
            for (auto& [name, table] : layout.tables) {
                if (table.optional && table.feature.empty() && with.tables.contains(name)) {
                    table.feature = sample::GroupName(group);
                }
            }
        }
    }

    /// What the ladders add to the web logs of a site; the rest of them is the web server's.
    Layout UpgradedLogs() {
        MakeCentralDatabase();
        Layout logs = Upgraded("tw_logs", [](Update& u) { u.UpdateServer(1.0); });
        for (auto& [name, table] : logs.tables) {
            std::erase_if(table.items, [](const auto& item) { return item.second.step.empty(); });
        }
        Execute("DROP DATABASE tw_tarnwick;");
        Execute("DROP DATABASE tw_logs;");
        return logs;
    }

    static std::shared_ptr<host::MariaDbUtility> Utility() {
        return std::make_shared<host::MariaDbUtility>(
            host::Connection::Open(CliServer::Get().Server().ConnectOptions()));
    }
};

/// Compares a layout with its file in the tree, and writes the file when the developer asks so.
void ExpectFresh(const std::string& name, const Layout& layout) {
    const std::string file = std::string(TWUPDATE_SOURCE_FOLDER) + "/cli/server/layouts/" + name;
    const std::string text =
        "# Written by the test Verify.TheLayoutsAreFresh in ./dev refresh.\n" + layout.Text();
    if (std::getenv("TWUPDATE_REFRESH") != nullptr) {
        WriteFile(file, text);
    }
    EXPECT_EQ(ContentOf(file), text) << file << " is stale; run ./dev refresh";
}

TEST_F(Verify, TheLayoutsAreFresh) {
    ExpectFresh("logs.txt", UpgradedLogs());
    MakeCentralDatabase();
    // The central database: as the ladders make it, and as the creation does.
    const Layout upgraded = Upgraded("tw_tarnwick", [](Update& u) { u.UpdateServer(1.0); });
    MakeSite(7, kCurrentStored, sample::AllGroups());
    Layout site = Upgraded("tw_7", [](Update& u) { u.UpdateSite(7, 1.0); });
    MakeSite(8, kCurrentStored);
    const Layout bare = Upgraded("tw_8", [](Update& u) { u.UpdateSite(8, 1.0); });
    for (auto& [name, table] : site.tables) {
        table.optional = !bare.tables.contains(name);
    }
    NameFeatures(site);
    for (const auto& [name, table] : site.tables) {
        EXPECT_EQ(table.optional, !table.feature.empty()) << name;
    }
    ExpectFresh("site.txt", site);

    Execute("DROP DATABASE tw_tarnwick;");
    Layout central = Upgraded("tw_tarnwick", [](Update& u) { u.CreateCoreDb(); });
    central = cli::ReadLayout(*Utility()->GetConnection(), "tw_tarnwick");
    for (auto& [name, table] : central.tables) {
        const auto& other = upgraded.tables.at(name);
        table.step = other.step;
        for (auto& [itemName, item] : table.items) {
            const auto& otherItem = other.items.at(itemName);
            item.step = otherItem.step;
            if (!item.Allows(otherItem.definitions.front())) {
                item.definitions.push_back(otherItem.definitions.front());
            }
        }
        for (const auto& [itemName, item] : other.items) {
            if (!table.items.contains(itemName)) {  // an upgraded database alone has it
                table.items[itemName] = {{item.definitions.front(), cli::kAbsent}, item.step};
            }
        }
    }
    ExpectFresh("central.txt", central);
}

TEST_F(Verify, FindsNothingInAnUpgradedInstallationWithWhateverFeatures) {
    using enum sample::Group;
    MakeCentralDatabase();
    const std::vector<sample::Groups> features{{},
                                               sample::AllGroups(),
                                               {kForms},
                                               {kForms, kTemplates},
                                               {kFeeds},
                                               {kShop},
                                               {kShop, kCharges},
                                               {kShop, kAffiliates},
                                               {kForum},
                                               {kOAuth}};
    std::int32_t site = 0;
    for (const auto& groups : features) {
        MakeSite(++site, "1.0000", groups);
    }
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const Outcome outcome = Run({"verify", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    const auto result = outcome.Json();
    EXPECT_EQ(result["findings"], nlohmann::json::array());
    EXPECT_EQ(result["notes"], nlohmann::json::array());
    EXPECT_EQ(result["databases"].size(), 12U);  // with the web logs
    // What a site without forms lacks is distinguished from faults.
    EXPECT_THAT(result["absent_optional_tables"]["tw_1"].dump(), HasSubstr("\"formfield\""));
    EXPECT_FALSE(result["absent_optional_tables"].contains("tw_2"));
    EXPECT_EQ(Run({"verify"}).out, "12 databases compared: no differences.\n");
}

TEST_F(Verify, SaysWhenThereIsNothingToCompare) {
    MakeCentralDatabase();
    const Outcome outcome = Run({"verify"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Not at " + kCurrentShown +
                               ", so not compared: tw_tarnwick\nNo database was compared.\n");
}

TEST_F(Verify, FindsNothingInANewCentralDatabase) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    const Outcome outcome = Run({"verify"});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.out, "1 database compared: no differences.\n");
}

TEST_F(Verify, NamesWhatIsMissingAndTheStepThatMakesIt) {
    MakeCentralDatabase();
    MakeUpgradedSite(7, kCurrentStored);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0264;");
    Execute("ALTER TABLE tw_7.userlock DROP COLUMN subfeatureid;");
    Execute("ALTER TABLE tw_7.attribute MODIFY value VARCHAR(99) DEFAULT '' NOT NULL;");
    Execute("DROP TABLE tw_7.plaintext;");
    MakeSiteRow(9, kCurrentStored);
    MakeSiteRow(10, "1.0000");
    const Outcome outcome = Run({"verify"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out,
                testing::ContainsRegex("tw_7.userlock: column subfeatureid is missing; "
                                       "SiteSchemaStep_1_0[0-9]+ makes it: subfeatureid INT"));
    EXPECT_THAT(outcome.out,
                testing::ContainsRegex("tw_7.attribute: column value is value VARCHAR\\(99\\) "
                                       "DEFAULT '' NOT NULL; SiteSchemaStep_1_0[0-9]+ makes it: "
                                       "value VARCHAR\\(255\\) DEFAULT '' NOT NULL"));
    EXPECT_THAT(outcome.out, testing::ContainsRegex("tw_7.plaintext: the table is missing; "
                                                    "SiteSchemaStep_1_0[0-9]+ makes it"));
    EXPECT_THAT(outcome.out, HasSubstr("tw_9: the database is missing, or has no tables"));
    EXPECT_THAT(outcome.out,
                HasSubstr("Not at " + kCurrentShown + ", so not compared: tw_tarnwick, tw_10"));
    EXPECT_THAT(outcome.out, HasSubstr("2 databases compared: 4 differences."));
    EXPECT_EQ(Run({"verify", "--site", "10"}).status, 0);
    EXPECT_EQ(Run({"verify", "--site", "7"}).status, 3);
    EXPECT_EQ(Run({"verify", "--site", "11"}).status, 1);
}

/// What somebody may do to a table, and what is said of it.
struct Change {
    std::string table;
    std::string sql;  ///< "{}" stands for the table
    std::string text;
    bool isNote = false;
    bool newServersAlone = false;
};

const std::vector<Change>& Changes() {
    const std::string left =
        ": column double_temp is left over from an interrupted conversion; twupdate repair tells "
        "what it holds";
    static const std::vector<Change> changes{
        // Tables
        {"tw_7.orderpayment", "DROP TABLE {};",
         "tw_7.orderpayment: the table is missing, but the site has other tables of its feature, "
         "shop"},
        {"tw_7.ordertermsagreed", "DROP TABLE {};",
         "tw_7.ordertermsagreed: the table is missing, but the site has other tables of its "
         "feature, "
         "shop"},
        {"tw_7.queryindex", "DROP TABLE {};",
         "tw_7.queryindex: the table is missing, but the site has other tables of its feature, "
         "templates"},
        {"tw_7.charge", "DROP TABLE {};",
         "tw_7.charge: the table is missing, but the site has other tables of its feature, "
         "charges"},
        {"tw_7.formfield", "DROP TABLE {};",
         "tw_7.formfield: the table is missing, but the site has other tables of its feature, "
         "forms"},
        {"tw_7.css", "DROP TABLE {}; CREATE VIEW {} AS SELECT * FROM tw_7.kept;",
         "tw_7.css: it is a view instead of a table"},
        // Columns
        {"tw_7.tag", "ALTER TABLE {} MODIFY media INT AS (1) STORED;",
         "tw_7.tag: column media is media INT NULL STORED GENERATED; SiteSchemaStep_1_0050 makes "
         "it: media INT DEFAULT '0' NOT NULL",
         false, true},
        {"tw_7.email",
         "ALTER TABLE {} DROP COLUMN message, ADD COLUMN message LONGTEXT AS ('') VIRTUAL;",
         "tw_7.email: column message is message LONGTEXT NULL VIRTUAL GENERATED; it belongs to "
         "every version: message LONGTEXT NULL",
         false, true},
        {"tw_7.css", "ALTER TABLE {} MODIFY name VARCHAR(100) INVISIBLE DEFAULT '' NOT NULL;",
         "tw_7.css: column name is name VARCHAR(100) DEFAULT '' NOT NULL INVISIBLE; it belongs to "
         "every version: name VARCHAR(100) DEFAULT '' NOT NULL",
         false, true},
        {"tw_7.css", "ALTER TABLE {} MODIFY cssid INT NOT NULL INVISIBLE AUTO_INCREMENT;",
         "tw_7.css: column cssid is cssid INT AUTO_INCREMENT NOT NULL INVISIBLE; it belongs to "
         "every version: cssid INT AUTO_INCREMENT NOT NULL",
         false, true},
        {"tw_7.pagehit",
         "ALTER TABLE {} MODIFY hittime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL ON UPDATE "
         "CURRENT_TIMESTAMP;",
         "tw_7.pagehit: column hittime is hittime DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL "
         "ON UPDATE CURRENT_TIMESTAMP"},
        {"tw_7.forum", "ALTER TABLE {} ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;",
         "tw_7.forum" + left},
        {"tw_7.form_8", "ALTER TABLE {} ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;",
         "tw_7.form_8" + left},
        {"tw_tarnwick.emailerror", "ALTER TABLE {} ADD COLUMN double_temp DOUBLE DEFAULT 0;",
         "tw_tarnwick.emailerror" + left},
        {"tw_7.navigation", "ALTER TABLE {} ADD COLUMN note VARCHAR(9) NOT NULL;",
         "tw_7.navigation: column note is not of the layout, NOT NULL and without a default: rows "
         "that do not name it are refused"},
        {"tw_tarnwick.emailerror", "ALTER TABLE {} ADD COLUMN note DATE NOT NULL;",
         "tw_tarnwick.emailerror: column note is not of the layout, NOT NULL and without a "
         "default: rows that do not name it are refused"},
        // Keys
        {"tw_7.setting", "ALTER TABLE {} ALTER INDEX overrideid_idx IGNORED;",
         "tw_7.setting: KEY overrideid_idx is KEY overrideid_idx(overrideid) IGNORED; it belongs "
         "to every version: KEY overrideid_idx(overrideid)",
         false, true},
        {"tw_7.setting", "ALTER TABLE {} DROP INDEX name_idx, ADD INDEX name_idx(name(15) DESC);",
         "tw_7.setting: KEY name_idx is KEY name_idx(name(15) DESC); it belongs to every version: "
         "KEY name_idx(name(15))",
         false, true},
        {"tw_logs.tw_1", "ALTER TABLE {} DROP INDEX LogTime_idx;",
         "tw_logs.tw_1: KEY LogTime_idx is missing; ServerDataStep_1_0030 makes it: KEY "
         "LogTime_idx(LogTime)"},
        {"tw_logs.tw_1", "ALTER TABLE {} DROP INDEX target_idx, ADD INDEX target_idx(target(9));",
         "tw_logs.tw_1: KEY target_idx is KEY target_idx(target(9)); ServerDataStep_1_0030 makes "
         "it: KEY target_idx(target(7))"},
        // What is for the owner to decide
        {"tw_7.css", "ALTER TABLE {} ENGINE=MyISAM;",
         "tw_7 has tables with the engine MyISAM and not InnoDB: css", true},
        {"tw_tarnwick.emailerror", "ALTER TABLE {} ENGINE=MyISAM;",
         "tw_tarnwick has tables with the engine MyISAM and not InnoDB: emailerror", true},
        {"tw_7.cachesetting", "ALTER TABLE {} DEFAULT CHARACTER SET ascii;",
         "tw_7 has tables with the collation ascii_general_ci, while its own is ", true},
        {"tw_7.css",
         "ALTER TABLE {} MODIFY name VARCHAR(100) CHARACTER SET ascii DEFAULT '' NOT NULL;",
         "tw_7 has columns with the collation ascii_general_ci, which is not that of their table: "
         "css.name",
         true},
        {"tw_7.css",
         "ALTER TABLE {} MODIFY name VARCHAR(100) CHARACTER SET utf8mb4 COLLATE utf8mb4_bin "
         "DEFAULT '' NOT NULL;",
         "tw_7 has columns with the collation utf8mb4_bin, which is not that of their table: "
         "css.name",
         true},
        {"tw_7.pagehit", "ALTER TABLE {} PARTITION BY HASH(hitid) PARTITIONS 3;",
         "tw_7 has partitioned tables: pagehit", true},
        {"tw_7.navigation", "ALTER TABLE {} ADD COLUMN a INT, ADD COLUMN b INT DEFAULT 1 NOT NULL;",
         "tw_7.navigation has columns of its own: a, b", true},
        {"tw_7.navigation", "ALTER TABLE {} ADD INDEX own(level), ADD UNIQUE INDEX once(level);",
         "tw_7.navigation has keys of its own: UNIQUE KEY once(level), KEY own(level)", true},
    };
    return changes;
}

std::string WithTable(std::string sql, const std::string& table) {
    for (auto at = sql.find("{}"); at != std::string::npos; at = sql.find("{}")) {
        sql.replace(at, 2, table);
    }
    return sql;
}

/// Upgrades an installation, changes one table at a time and verifies it.
class VerifyChanges : public Verify {
  protected:
    void ExpectEachChangeIsReported() {
        MakeCentralDatabase();
        MakeSite(7, "1.0000", sample::AllGroups());
        for (const std::string& statement : sample::Layouts().FormTable(7, 8)) {
            Execute(statement);
        }
        const Outcome upgraded = Run({"--sql-mode", "", "upgrade"});
        ASSERT_EQ(upgraded.status, 0) << upgraded.err;
        ExpectReported({}, {});
        const bool isNew = cli::ServerVersion::Of(CliServer::Get().Root()).IsMariaDb();
        for (const Change& change : Changes()) {
            if (isNew || !change.newServersAlone) {
                SCOPED_TRACE(WithTable(change.sql, change.table));
                Try(change);
            }
        }
        ExpectReported({}, {});
    }

  private:
    void Try(const Change& change) {
        const std::string kept = change.table.substr(0, change.table.find('.')) + ".kept";
        Execute("RENAME TABLE " + change.table + " TO " + kept + ";");
        Execute("CREATE TABLE " + change.table + " LIKE " + kept + ";");
        for (const std::string& sql :
             sample::SplitStatements(WithTable(change.sql, change.table))) {
            Execute(sql);
        }
        const std::vector<std::string> texts{change.text};
        ExpectReported(change.isNote ? std::vector<std::string>() : texts,
                       change.isNote ? texts : std::vector<std::string>());
        const bool isView = change.sql.find("CREATE VIEW") != std::string::npos;
        Execute((isView ? "DROP VIEW " : "DROP TABLE IF EXISTS ") + change.table + ";");
        Execute("RENAME TABLE " + kept + " TO " + change.table + ";");
    }

    static void ExpectReported(const std::vector<std::string>& findings,
                               const std::vector<std::string>& notes) {
        const Outcome outcome = Run({"verify", "--json"});
        EXPECT_EQ(outcome.status, findings.empty() ? 0 : 3) << outcome.err;
        const auto result = outcome.Json();
        std::vector<std::string> reported;
        for (const auto& finding : result["findings"]) {
            reported.push_back(finding["text"]);
        }
        const auto begin = [](const std::vector<std::string>& texts) {
            std::vector<testing::Matcher<std::string>> matchers;
            for (const std::string& text : texts) {
                matchers.push_back(testing::StartsWith(text));
            }
            return testing::ElementsAreArray(matchers);
        };
        EXPECT_THAT(reported, begin(findings));
        EXPECT_THAT(result["notes"].get<std::vector<std::string>>(), begin(notes));
    }
};

/// A feature that has lost all of its tables, and what else tells that the site has it.
struct LostFeature {
    std::vector<std::string> features;  ///< that are gone
    std::string sql;
    std::string table;  ///< of which the finding tells
    std::string text;
};

TEST_F(Verify, FindsAFeatureThatHasLostAllItsTablesByWhatElseTheSiteHas) {
    const std::string page = "INSERT INTO tw_7.feature(componentid) VALUES";
    const std::vector<LostFeature> losses{
        {{"forum"}, page + "(1450), (1450);", "forum", "2 pages of component 1450 (Forum)"},
        {{"feeds"}, page + "(2600);", "datafeedfield", "1 page of component 2600 (Data Feed)"},
        {{"templates"}, page + "(900);", "querytable", "1 page of component 900 (Record List)"},
        {{"templates"}, page + "(1600);", "queryjoin", "1 page of component 1600 (Record Page)"},
        {{"templates"},
         page + "(3700);",
         "formtemplate",
         "1 page of component 3700 (Record Table)"},
        {{"templates", "forms"}, page + "(800);", "formfield", "1 page of component 800 (Form)"},
        {{"templates", "forms"},
         "CREATE TABLE tw_7.form_9(replyid INT); CREATE TABLE tw_7.form_10(replyid INT); CREATE "
         "TABLE tw_7.form_x(replyid INT);",
         "formfield",
         "the records of forms in form_9, form_10"},
        {{"forms"}, "", "formfield", "the tables of templates, which need those of forms"},
        {{"charges"},
         page + "(2400);",
         "charge",
         "1 page of component 2400 (Delivery and Charges)"},
        {{"shop"}, "", "basket", "the tables of charges, which need those of shop"},
        {{"shop", "charges"}, "", "basket", "the tables of affiliates, which need those of shop"},
        {{"shop", "charges", "affiliates"},
         page + "(1000);",
         "customerorder",
         "1 page of component 1000 (Shop)"},
        {{"affiliates"},
         "INSERT INTO tw_tarnwick.account(accountid, siteid) VALUES(801, 7), (802, 8); "
         "INSERT INTO tw_tarnwick.accountpayment(accountid, cartorderid) VALUES(801, 12), "
         "(801, 0), (802, 13);",
         "commission",
         "1 payment to affiliates for orders of its shop"}};
    ASSERT_EQ(Run({"create-core"}).status, 0);
    MakeUpgradedSite(7, kCurrentStored, sample::AllGroups());
    Execute("CREATE DATABASE kept;");
    for (const LostFeature& loss : losses) {
        SCOPED_TRACE(loss.text);
        std::vector<std::string> lost;
        for (const auto& [name, table] : cli::SiteLayout().tables) {
            if (testing::Value(loss.features, testing::Contains(table.feature))) {
                lost.push_back(name);
                Execute("RENAME TABLE tw_7." + name + " TO kept." + name + ";");
            }
        }
        if (!loss.sql.empty()) {  // nothing tells of it
            EXPECT_EQ(Run({"verify", "--site", "7"}).status, 0);
        }
        for (const std::string& sql : sample::SplitStatements(loss.sql)) {
            Execute(sql);
        }
        const Outcome outcome = Run({"verify", "--site", "7"});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.out,
                    HasSubstr("tw_7." + loss.table + ": the table is missing, but the site has " +
                              loss.text + "\n"));
        for (const std::string& name : lost) {
            Execute("RENAME TABLE kept." + name + " TO tw_7." + name + ";");
        }
        Execute("DELETE FROM tw_7.feature;");
        Execute("DELETE FROM tw_tarnwick.accountpayment;");
        Execute("DROP TABLE IF EXISTS tw_7.form_9, tw_7.form_10, tw_7.form_x;");
    }
    Execute("DROP DATABASE kept;");
    EXPECT_EQ(Run({"verify", "--site", "7"}).status, 0);
}

// Nothing but a backup knows of a site's log-in through other sites.
TEST_F(Verify, FindsATableThatTheLastBackupHas) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    Execute("CREATE DATABASE tw_logs;");
    MakeSite(7, "1.0000", {sample::Group::kOAuth});
    MakeSite(8, "1.0000");
    const auto backup = folder_ / "backup";
    ASSERT_EQ(Run({"--backup", backup.string(), "upgrade"}).status, 0);
    const auto run = std::filesystem::directory_iterator(backup)->path();
    EXPECT_EQ(Run({"verify", "--backup", backup.string()}).status, 0);
    Execute("DROP TABLE tw_7.oauthconsumer;");
    EXPECT_EQ(Run({"verify"}).status, 0);
    for (const auto& folder : {backup, run}) {
        const Outcome outcome = Run({"verify", "--backup", folder.string()});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(outcome.out,
                    testing::ContainsRegex("^tw_7.oauthconsumer: the table is missing, but the "
                                           "dump of 20[-0-9T:]+Z has it\n3 databases compared: 1 "
                                           "difference.\n$"));
    }
    const Outcome other = Run({"verify", "--backup", (folder_ / "other").string()});
    EXPECT_EQ(other.status, 2);
    EXPECT_THAT(other.err, HasSubstr("other has no dump of these databases\n"));
    WriteFile(run / "tw_7.sql.gz", "");
    const Outcome damaged = Run({"verify", "--backup", backup.string()});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_THAT(damaged.err, HasSubstr("tw_7.sql.gz is not a complete dump\n"));
}

TEST_F(VerifyChanges, AreReportedAndNothingElse) {
    ExpectEachChangeIsReported();
}

TEST_F(VerifyChanges, AreReportedOnAnOldServer) {
    if (!OldServer::IsThere()) {
        GTEST_SKIP() << "no old server in build/old-server";
    }
    const OldServer server({"--character-set-server=utf8mb4"});
    ExpectEachChangeIsReported();
}

/// A statement that spoils one item of a table, in one of several ways; empty when that way does
/// not suit the item.
std::string Spoil(const std::string& table, const std::string& name, const std::string& definition,
                  int way) {
    const std::string alter = "ALTER TABLE tw_7." + table;
    if (name == "PRIMARY KEY") {
        return definition.find(',') == std::string::npos ? "" : alter + " DROP PRIMARY KEY;";
    }
    if (name.starts_with("KEY ")) {
        const std::string key = name.substr(4);
        return way % 2 == 0 ? alter + " DROP INDEX " + key + ";"
                            : alter + " DROP INDEX " + key + ", ADD COLUMN spoilt INT, ADD INDEX " +
                                  key + "(spoilt);";
    }
    const bool counts = definition.find("AUTO_INCREMENT") != std::string::npos;
    switch (way % 4) {
        case 0:
            return counts ? "" : alter + " DROP COLUMN " + name + ";";
        case 1:
            return alter + " MODIFY " + name + " VARCHAR(77) DEFAULT '7' NOT NULL;";
        case 2:
            return counts || !definition.ends_with(" NOT NULL")
                       ? ""
                       : alter + " MODIFY " + name + " " +
                             definition.substr(name.size() + 1,
                                               definition.size() - name.size() - 10) +
                             " NULL;";
        default:
            return definition.find(" INT DEFAULT '0'") == std::string::npos
                       ? ""
                       : alter + " ALTER COLUMN " + name + " SET DEFAULT 5;";
    }
}

/// The server's own words; unchanged when a change has no effect, as NULL in a primary key.
std::string Definition(const std::string& table) {
    const auto rows = CliServer::Get().Root().Query("SHOW CREATE TABLE tw_7." + table + ";");
    rows->Next();
    return rows->Get(1).ToText();
}

TEST_F(Verify, FindsEachOfAHundredThingsThatAreBrokenOneAtATime) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000", sample::AllGroups());
    ASSERT_EQ(Run({"upgrade-site", "7"}).status, 0);
    const auto utility = Utility();
    const auto& layout = cli::SiteLayout();
    int broken = 0;
    int way = 0;
    int turn = 0;
    for (const auto& [table, expected] : layout.tables) {
        for (const auto& [name, item] : expected.items) {
            if (turn++ % 3 != 0) {
                continue;  // every third item, so that all tables have their turn
            }
            const std::string sql = Spoil(table, name, item.definitions.front(), ++way);
            if (sql.empty() || broken == 100) {
                continue;
            }
            Execute("RENAME TABLE tw_7." + table + " TO tw_7.kept;");
            Execute("CREATE TABLE tw_7." + table + " LIKE tw_7.kept;");
            const std::string before = Definition(table);
            try {
                Execute(sql);
            } catch (const HostError&) {
                // The server will not have it, as for a column with a key.
            }
            const bool spoilt = Definition(table) != before;
            if (spoilt) {
                ++broken;
                std::vector<std::string> absent;
                const auto findings = cli::Compare(
                    "tw_7", layout, cli::ReadLayout(*utility->GetConnection(), "tw_7"), absent);
                bool found = false;
                for (const cli::LayoutFinding& finding : findings) {
                    found = found || (finding.table == table && finding.item == name &&
                                      finding.step == item.step);
                }
                EXPECT_TRUE(found) << sql;
                EXPECT_THAT(absent, IsEmpty());
            }
            Execute("DROP TABLE tw_7." + table + ";");
            Execute("RENAME TABLE tw_7.kept TO tw_7." + table + ";");
        }
    }
    EXPECT_EQ(broken, 100);
    std::vector<std::string> absent;
    EXPECT_THAT(
        cli::Compare("tw_7", layout, cli::ReadLayout(*utility->GetConnection(), "tw_7"), absent),
        IsEmpty());
}

}  // namespace
}  // namespace twupdate::test
