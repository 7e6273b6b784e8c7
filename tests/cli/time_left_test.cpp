#include "cli/run/time_left.h"

#include <gtest/gtest.h>

namespace twupdate::cli {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

LadderStep SchemaStep(std::size_t number) {
    return LadderSteps(Ladder::kSiteSchema)[number - 1];
}

TEST(TimeLeft, IsNotKnownBeforeAStepWasMeasured) {
    TimeLeft left;
    left.Start({1.0});
    EXPECT_EQ(left.Estimate(), std::nullopt);
}

TEST(TimeLeft, IsNothingWhenNoSiteIsToCome) {
    TimeLeft left;
    left.Start({});
    left.StepMeasured(SchemaStep(92), seconds(5));
    EXPECT_EQ(left.Estimate(), nanoseconds(0));
}

// A site at 1.0262 runs one schema step (number 92, below 1.0264) and no content step.
TEST(TimeLeft, AddsTheStepsOfEverySiteToCome) {
    TimeLeft left;
    left.Start({1.0262, 1.0262, 1.0262});
    left.SiteStarting(1.0262);
    left.StepMeasured(SchemaStep(92), seconds(4));
    left.SiteEnded();
    EXPECT_EQ(left.Estimate(), seconds(8));
}

// A site at 1.0260 runs the schema steps 91 and 92 and the content step 84.
TEST(TimeLeft, TakesTheMeanForAStepThatHasNotRunYet) {
    TimeLeft left;
    left.Start({1.0260});
    left.SiteStarting(1.0260);
    left.StepMeasured(SchemaStep(91), seconds(3));
    EXPECT_EQ(left.Estimate(), seconds(6));
    left.StepMeasured(SchemaStep(92), seconds(1));
    EXPECT_EQ(left.Estimate(), seconds(2));
}

}  // namespace
}  // namespace twupdate::cli
