// What the steps need on which tables, against the statements of a real upgrade.
#include "cli/step_needs.h"

#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>

#include "cli/installation_fixture.h"
#include "sample/installation.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {
namespace {

using cli::PendingDatabase;

/// The step that first uses each right on each table: ("tw_8.tag", "UPDATE") -> its name.
using FirstUses = std::map<std::pair<std::string, std::string>, std::string>;

FirstUses UsesOf(const std::filesystem::path& trace) {
    const std::regex write(
        R"(^(UPDATE|INSERT INTO|DELETE FROM|ALTER TABLE|CREATE TABLE IF NOT EXISTS) (tw_\w+\.\w+))");
    const std::regex rename(R"(^RENAME TABLE (\S+) TO ([^;]+);)");
    const std::regex repair(R"(^REPAIR TABLE ([^; ]+))");
    const std::regex described(R"(^(?:DESCRIBE|SHOW INDEXES FROM) ([^ ;]+))");
    const std::regex name(R"(tw_\w+\.\w+)");
    const std::regex rows(R"(^(SELECT|UPDATE|DELETE|INSERT INTO \S+ ?\([^)]*\) SELECT)\b)");
    FirstUses uses;
    for (const auto& line : JsonLinesOf(trace)) {
        const std::string sql = line.value("sql", "");
        const std::string step = line.value("step", "");
        const auto use = [&](const std::string& table, const std::string& right) {
            uses.emplace(std::pair(table, right), step);
        };
        std::smatch parts;
        bool isInsert = false;
        if (std::regex_search(sql, parts, write)) {
            const std::string verb = parts[1];
            use(parts[2], verb.substr(0, verb.find(' ')));
            isInsert = verb == "INSERT INTO";
        } else if (std::regex_search(sql, parts, rename)) {
            use(parts[1], "ALTER");
            use(parts[1], "DROP");
            use(parts[2], "CREATE");
            use(parts[2], "INSERT");
        } else if (std::regex_search(sql, parts, repair)) {
            use(parts[1], "INSERT");
            use(parts[1], "SELECT");
        } else if (std::regex_search(sql, parts, described)) {
            use(parts[1], "SELECT");
        }
        if (std::regex_search(sql, rows)) {
            auto table = std::sregex_iterator(sql.begin(), sql.end(), name);
            if (isInsert) {
                ++table;
            }
            for (; table != std::sregex_iterator(); ++table) {
                use(table->str(), "SELECT");
            }
        }
    }
    return uses;
}

class StepNeeds : public InstallationTest {
  protected:
    /// Site 1 of the sample: every feature, with rows for most of what a step can write.
    static void MakeSample() {
        sample::InstallationOptions options;
        options.sites = 1;
        options.rows = 20;
        sample::MakeInstallation(std::make_shared<host::MariaDbUtility>(host::Connection::Open(
                                     CliServer::Get().Server().ConnectOptions())),
                                 options);
    }

    using Kind = PendingDatabase::Kind;
    using AllNeeds = std::map<std::pair<std::string, std::string>, cli::FirstNeed>;

    static AllNeeds NeedsOf(const std::vector<PendingDatabase>& pending) {
        AllNeeds needs;
        for (const PendingDatabase& database : pending) {
            for (const auto& [right, tables] :
                 cli::NeedsOf(CliServer::Get().Root(), database.name, pending)) {
                for (const auto& [table, need] : tables) {
                    needs.emplace(std::pair(database.name + "." + table, right), need);
                }
            }
        }
        return needs;
    }

    FirstUses TraceUpgrade() {
        const auto trace = folder_ / "trace.jsonl";
        EXPECT_EQ(Run({"--trace", trace.string(), "upgrade"}).status, 0);
        return UsesOf(trace);
    }
};

TEST_F(StepNeeds, AreWhatAnUpgradeUses) {
    MakeSample();
    const AllNeeds needs = NeedsOf({{"tw_tarnwick", Kind::kCentral, 1.0},
                                    {"tw_logs", Kind::kLogs, 1.0},
                                    {"tw_1", Kind::kRootSite, 1.0},
                                    {"tw_1", Kind::kSite, 1.0}});
    FirstUses uses = TraceUpgrade();
    ASSERT_GT(uses.size(), 200U);
    // Written where an order has an address of several lines, which the sample's do not.
    uses[{"tw_1.customerorder", "UPDATE"}] = "SiteContentStep_1_0054";
    for (const auto& [use, step] : uses) {
        const auto need = needs.find(use);
        if (need == needs.end()) {
            ADD_FAILURE() << use.second << " on " << use.first << " in " << step;
        } else if (need->second.dependsOnRows) {
            EXPECT_EQ(need->second.step, step) << use.second << " on " << use.first;
        }
    }
}

TEST_F(StepNeeds, NameTheFirstStepThatUsesThemWhateverTheRows) {
    const std::set<std::string_view> rights{"SELECT", "INSERT", "UPDATE", "DELETE",
                                            "CREATE", "DROP",   "ALTER"};
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(8, "1.0000", sample::AllGroups());
    Execute("UPDATE tw_tarnwick.site SET parentsiteid = 1 WHERE siteid = 8;");
    const AllNeeds needs = NeedsOf({{"tw_tarnwick", Kind::kCentral, 1.0},
                                    {"tw_logs", Kind::kLogs, 1.0},
                                    {"tw_1", Kind::kRootSite, 1.0},
                                    {"tw_8", Kind::kSite, 1.0}});
    const FirstUses uses = TraceUpgrade();
    for (const auto& [use, need] : needs) {
        if (need.dependsOnRows || !rights.contains(use.second)) {
            continue;
        }
        const auto used = uses.find(use);
        const std::string unused = need.step.empty() ? "" : "(not used)";
        EXPECT_EQ(used == uses.end() ? unused : used->second, need.step)
            << use.second << " on " << use.first;
    }
}

}  // namespace
}  // namespace twupdate::test
