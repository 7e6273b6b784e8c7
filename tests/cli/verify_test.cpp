#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>

#include "cli/installation_fixture.h"
#include "cli/server/layout.h"
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
    EXPECT_EQ(result["databases"].size(), 11U);
    // What a site without forms lacks is told apart from faults.
    EXPECT_THAT(result["absent_optional_tables"]["tw_1"].dump(), HasSubstr("\"formfield\""));
    EXPECT_FALSE(result["absent_optional_tables"].contains("tw_2"));
    const std::string lines = Run({"verify"}).out;
    const auto three = lines.find("tw_3: without");
    EXPECT_NE(three, std::string::npos);
    EXPECT_LT(three, lines.find("tw_10: without"));  // by number, not by name
}

TEST_F(Verify, SaysWhenThereIsNothingToCompare) {
    MakeCentralDatabase();
    const Outcome outcome = Run({"verify"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Not at " + kCurrentShown +
                               " and not looked at: tw_tarnwick\nNo database was compared.\n");
}

TEST_F(Verify, FindsNothingInANewCentralDatabase) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    const Outcome outcome = Run({"verify"});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.out, "1 database compared: as it should be.\n");
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
                HasSubstr("Not at " + kCurrentShown + " and not looked at: tw_tarnwick, tw_10"));
    EXPECT_THAT(outcome.out, HasSubstr("2 databases compared: 4 differences."));
    EXPECT_EQ(Run({"verify", "--site", "10"}).status, 0);
    EXPECT_EQ(Run({"verify", "--site", "7"}).status, 3);
    EXPECT_EQ(Run({"verify", "--site", "11"}).status, 1);
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
