#include <algorithm>

#include "support/calls_by_step.h"
#include "unit/site_schema_fixture.h"

namespace twupdate::test {
namespace {

using ::testing::ElementsAreArray;

class SiteSchemaStatements : public SiteSchema, public ::testing::WithParamInterface<StepCase> {};

TEST_P(SiteSchemaStatements, AreExactlyTheseOnAFullSite) {
    MakeFullSiteBefore(GetParam().step);
    EXPECT_THAT(LogOf(GetParam().step), ElementsAreArray(GetParam().script.For(kFullFirst)));
}

TEST_P(SiteSchemaStatements, AreExactlyTheseWhereTheEffectIsThere) {
    MakeFullSiteBefore(GetParam().step);
    Run(GetParam().step);
    const auto tables = Tables();
    EXPECT_THAT(LogOf(GetParam().step), ElementsAreArray(GetParam().script.For(kFullAgain)));
    ExpectSameTables(tables);
}

TEST_P(SiteSchemaStatements, AreExactlyTheseWithoutOptionalTables) {
    MakeBareSiteBefore(GetParam().step);
    EXPECT_THAT(LogOf(GetParam().step), ElementsAreArray(GetParam().script.For(kBareFirst)));
    const auto tables = Tables();
    EXPECT_THAT(LogOf(GetParam().step), ElementsAreArray(GetParam().script.For(kBareAgain)));
    ExpectSameTables(tables);
}

INSTANTIATE_TEST_SUITE_P(Of, SiteSchemaStatements, ::testing::ValuesIn(AllStepCases()),
                         [](const auto& instance) { return instance.param.step; });

TEST_F(SiteSchema, EachRungOfAWalkSendsTheStatementsOfItsOwnStep) {
    MakeFullSite();
    const auto calls = std::make_shared<CallsByStep>(*host);
    host->observer = calls;
    peer.RunSiteSchemaLadder(7, 1.0);
    const auto cases = AllStepCases();
    auto expected = cases.begin();
    ASSERT_EQ(calls->runs.size(), LadderSteps(Ladder::kSiteSchema).size());
    for (const auto& [rung, sent] : calls->runs) {
        // Two thresholds call the step before them once more.
        const bool again = rung.threshold == 1.0030 || rung.threshold == 1.0250;
        if (again) {
            --expected;
        }
        ASSERT_NE(expected, cases.end());
        EXPECT_EQ(rung.name, expected->step);
        EXPECT_THAT(sent, ElementsAreArray(expected->script.For(again ? kFullAgain : kFullFirst)))
            << rung.threshold;
        ++expected;
    }
}

TEST(SiteSchemaCases, CoverEveryStepOfTheLadderOnce) {
    std::vector<std::string> covered;
    for (const StepCase& stepCase : AllStepCases()) {
        covered.push_back(stepCase.step);
    }
    std::vector<std::string> steps;
    for (const LadderStep& rung : LadderSteps(Ladder::kSiteSchema)) {
        if (steps.empty() || steps.back() != rung.name) {  // two steps stand twice, one after
            steps.emplace_back(rung.name);                 // the other
        }
    }
    EXPECT_EQ(covered, steps);
}

}  // namespace
}  // namespace twupdate::test
