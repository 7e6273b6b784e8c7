#include <algorithm>
#include <iostream>

#include "site_content_site.h"
#include "support/trials.h"

namespace twupdate::test {
namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

class SiteContentSteps : public SiteContentTest {
  protected:
    /// Runs the step to its end with a fault at the n-th call, then without one.
    void RunWithFault(const Scenario& scenario, std::size_t call, FaultyUtility::When when) {
        const auto faulty = Faulty();
        faulty->FailAt(call, when);
        EXPECT_THROW(RunStep(scenario.step, 7, faulty), InjectedFault);
        faulty->Heal();
        RunStep(scenario.step, 7, faulty);
    }
};

TEST_F(SiteContentSteps, EveryScenarioNamesAStepOfTheLadder) {
    std::set<std::string> steps;
    for (const LadderStep& step : LadderSteps(Ladder::kSiteContent)) {
        steps.emplace(step.name);
    }
    for (const Scenario& scenario : Scenarios()) {
        EXPECT_TRUE(steps.contains(scenario.step)) << scenario.name;
    }
}

TEST_F(SiteContentSteps, EachChangesWhatItShouldAndNothingElseAndASecondRunNothing) {
    LoadContentSite();
    for (const Scenario& scenario : Scenarios()) {
        SCOPED_TRACE(scenario.step + " " + scenario.name);
        Prepare(scenario);
        const Schema oldSchema = SchemaOf("tw_7");
        const InstallationRows before = AllRows();
        ASSERT_NO_THROW(RunStep(scenario.step, 7));
        const InstallationRows after = AllRows();
        EXPECT_THAT(SiteChanges(before.site, after.site),
                    UnorderedElementsAreArray(scenario.changes));
        EXPECT_THAT(Changes(before.central, after.central),
                    UnorderedElementsAreArray(scenario.centralChanges));
        EXPECT_THAT(SchemaChanges(oldSchema, SchemaOf("tw_7")),
                    UnorderedElementsAreArray(scenario.schemaChanges));

        const Schema newSchema = SchemaOf("tw_7");
        ASSERT_NO_THROW(RunStep(scenario.step, 7));
        const InstallationRows again = AllRows();
        EXPECT_THAT(Changes(after.site, again.site), IsEmpty());
        EXPECT_THAT(Changes(after.central, again.central), IsEmpty());
        EXPECT_THAT(SchemaChanges(newSchema, SchemaOf("tw_7")), IsEmpty());
        Sql(scenario.undo);
    }
}

// Every call of every step fails once, before and after it takes effect; then the step runs again.
// In an ordinary run every seventh call of all steps takes its turn, with TWUPDATE_SOAK=1 each.
TEST_F(SiteContentSteps, AfterAnInterruptionAtAnyCallARunReachesTheSameEnd) {
    LoadContentSite();
    std::size_t calls = 0;
    Trials trials("site content steps: a call fails, and the step runs again");
    for (const Scenario& scenario : Scenarios()) {
        if (!scenario.survivesInterruptions) {
            continue;
        }
        SCOPED_TRACE(scenario.step + " " + scenario.name);
        Prepare(scenario);
        const auto counting = Faulty();
        RunStep(scenario.step, 7, counting);
        const InstallationRows expected = AllRows();
        const Schema expectedSchema = SchemaOf("tw_7");
        for (std::size_t call = 1; call <= counting->Calls(); ++call) {
            for (const auto when : {FaultyUtility::kBefore, FaultyUtility::kAfter}) {
                if (!Soak() && ++calls % 7 != 0) {
                    continue;
                }
                trials.Next();
                SCOPED_TRACE((when == FaultyUtility::kBefore ? "before " : "after ") +
                             counting->Log()[call - 1].substr(0, 200));
                Prepare(scenario);
                RunWithFault(scenario, call, when);
                const InstallationRows actual = AllRows();
                EXPECT_TRUE(SameRows(expected.site, actual.site));
                EXPECT_TRUE(SameRows(expected.central, actual.central));
                if (!scenario.schemaChanges.empty()) {
                    EXPECT_TRUE(SameSchema(expectedSchema, SchemaOf("tw_7")));
                }
            }
        }
        Sql(scenario.undo);
    }
    EXPECT_GT(trials.Number(), 20u);
}

}  // namespace
}  // namespace twupdate::test
