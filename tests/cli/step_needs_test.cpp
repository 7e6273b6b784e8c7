// What the steps need on which tables, against the statements of a real upgrade.
#include "cli/check/step_needs.h"

#include <gmock/gmock.h>

#include <map>
#include <set>

#include "cli/installation_fixture.h"
#include "cli/sample_run.h"

namespace twupdate::test {
namespace {

using cli::PendingDatabase;

class StepNeeds : public InstallationTest {
  protected:
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
    MakeFirstSampleSite();
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
