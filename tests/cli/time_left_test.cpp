#include "cli/run/time_left.h"

#include <gtest/gtest.h>

#include "cli/run/progress.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

std::vector<LadderStep> StepsOfASiteAt(double version) {
    auto steps = PendingSteps(Ladder::kSiteSchema, version);
    const auto content = PendingSteps(Ladder::kSiteContent, version);
    steps.insert(steps.end(), content.begin(), content.end());
    return steps;
}

TEST(TimeLeft, IsNotKnownBeforeAStepWasMeasured) {
    TimeLeft left;
    left.Start({1.0});
    EXPECT_EQ(left.Estimate(), std::nullopt);
}

TEST(TimeLeft, IsNothingWhenNoSiteIsToCome) {
    TimeLeft left;
    left.Start({});
    left.StepMeasured(StepsOfASiteAt(1.0262).front(), seconds(5));
    EXPECT_EQ(left.Estimate(), nanoseconds(0));
}

TEST(TimeLeft, AddsTheStepsOfEverySiteToCome) {
    const auto steps = StepsOfASiteAt(1.0262);
    TimeLeft left;
    left.Start({1.0262, 1.0262, 1.0262});
    left.SiteStarting(1.0262);
    for (const LadderStep& step : steps) {
        left.StepMeasured(step, seconds(4));
    }
    left.SiteEnded();
    EXPECT_EQ(left.Estimate(), 2 * steps.size() * seconds(4));
}

TEST(TimeLeft, TakesTheMeanForAStepThatHasNotRunYet) {
    const auto steps = StepsOfASiteAt(1.0260);
    ASSERT_GE(steps.size(), 3U);
    TimeLeft left;
    left.Start({1.0260});
    left.SiteStarting(1.0260);
    left.StepMeasured(steps[0], seconds(3));
    EXPECT_EQ(left.Estimate(), (steps.size() - 1) * seconds(3));
    left.StepMeasured(steps[1], seconds(1));
    EXPECT_EQ(left.Estimate(), (steps.size() - 2) * seconds(2));
}

TEST(TimeLeft, CountsASiteOnceThatBeginsAgain) {
    const auto steps = StepsOfASiteAt(1.0262);
    Console console(false, true);
    Progress progress(console, [](const Position&) { return std::optional<LockWait>(); });
    RunStart start;
    for (const std::int64_t siteId : {7, 8, 9}) {
        start.sites.emplace_back();
        start.sites.back().siteId = siteId;
        start.sites.back().version = 1.0262;
    }
    progress.RunStarting(start);
    Position where;
    where.job = 1;
    where.siteId = 7;
    progress.SiteStarting(where, 1.0262);
    where.step = steps.front();
    progress.StepEnded(where, seconds(4), 1);
    EXPECT_EQ(progress.Figures().left, (3 * steps.size() - 1) * seconds(4));
    for (unsigned attempt = 1; attempt <= 2; ++attempt) {
        RunRetry retry;
        retry.failure.where = where;
        progress.Retrying(retry);
        EXPECT_GE(progress.Figures().left, (3 * steps.size() - 1) * seconds(4));
        progress.SiteStarting(where, 1.0262);
        EXPECT_EQ(progress.Figures().left, 3 * steps.size() * seconds(4));
    }
    // One that has failed is not to come any more.
    RunRetry retry;
    retry.failure.where = where;
    progress.Retrying(retry);
    progress.SiteFailed(retry.failure, {});
    where.siteId = 8;
    progress.SiteStarting(where, 1.0262);
    EXPECT_EQ(progress.Figures().left, 2 * steps.size() * seconds(4));
    progress.RunEnded({}, seconds(1));
}

}  // namespace
}  // namespace twupdate::cli
