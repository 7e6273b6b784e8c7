#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <set>
#include <string>

#include "twupdate/interruption.h"
#include "twupdate/ladder.h"

namespace twupdate {
namespace {

// The four decimals of every threshold up to 1.0265, in order.
const std::vector<int> kSiteSchema = {
    1,   3,   5,   7,   8,   13,  14,  17,  18,  19,  20,  21,  23,  25,  28,  30,  31,  32,  33,
    34,  35,  37,  38,  39,  40,  42,  45,  47,  50,  52,  54,  55,  59,  60,  61,  62,  64,  66,
    67,  68,  69,  72,  73,  75,  77,  78,  79,  80,  81,  82,  83,  84,  85,  90,  91,  92,  93,
    94,  95,  96,  97,  200, 210, 224, 225, 226, 227, 228, 229, 231, 232, 233, 234, 235, 236, 237,
    238, 241, 243, 244, 246, 247, 248, 249, 250, 251, 252, 257, 259, 260, 262, 264};
const std::vector<int> kSiteContent = {
    1,   2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,  15,  16,  17,  19,  20,
    21,  22,  23,  25,  26,  27,  29,  30,  31,  32,  37,  39,  42,  43,  44,  48,  49,
    50,  51,  53,  54,  55,  57,  58,  61,  62,  63,  66,  68,  69,  71,  72,  74,  78,
    80,  81,  82,  86,  87,  89,  90,  91,  94,  96,  98,  99,  100, 222, 223, 225, 229,
    234, 235, 236, 237, 238, 239, 240, 242, 245, 254, 255, 256, 257, 258, 259, 261};
const std::vector<int> kServer = {2,  13, 24, 26, 30, 35,  39,  40,  41,
                                  47, 56, 63, 74, 76, 220, 223, 253, 264};
const std::vector<int> kServerData = {19, 25,  26,  30,  34,  36,  63,  65,  79,  81,  88, 91,
                                      92, 210, 221, 223, 230, 231, 233, 244, 252, 257, 263};

const std::set<int> kServerDataSteps = {26, 30, 36, 63, 252};  // the others reimport

std::string FourDigits(int minor) {
    std::string digits = std::to_string(minor);
    return std::string(4 - digits.size(), '0') + digits;
}

double Threshold(int minor) {
    return std::stod("1." + FourDigits(minor));
}

/// The step's name in each ladder, worked out from its threshold.
std::string NameOf(Ladder ladder, int minor) {
    switch (ladder) {
        case Ladder::kSiteSchema:  // two steps are called again under a later threshold
            return "SiteSchemaStep_1_" + FourDigits(minor == 30 ? 28 : minor == 250 ? 249 : minor);
        case Ladder::kSiteContent:
            return "SiteContentStep_1_" + FourDigits(minor == 53 ? 50 : minor);
        case Ladder::kServer:
            return "ServerStep_1_" + FourDigits(minor);
        case Ladder::kServerData:
            return kServerDataSteps.contains(minor) ? "ServerDataStep_1_" + FourDigits(minor)
                                                    : "ReimportReferenceData";
    }
    return {};
}

/// What a step of that threshold is called, unless it is one from further up.
std::string NameAt(Ladder ladder, double threshold) {
    char version[32];
    std::snprintf(version, sizeof version, "%.4f", threshold);
    std::string name = version;
    name[1] = '_';
    switch (ladder) {
        case Ladder::kSiteSchema:
            return "SiteSchemaStep_" + name;
        case Ladder::kSiteContent:
            return "SiteContentStep_" + name;
        case Ladder::kServer:
            return "ServerStep_" + name;
        case Ladder::kServerData:
            return "ServerDataStep_" + name;
    }
    return {};
}

struct Expected {
    Ladder ladder;
    const std::vector<int>& minors;
};

const Expected kLadders[] = {{Ladder::kSiteSchema, kSiteSchema},
                             {Ladder::kSiteContent, kSiteContent},
                             {Ladder::kServer, kServer},
                             {Ladder::kServerData, kServerData}};

// What was released at 1.0265 stays as it is; later steps stand behind it.
TEST(LadderView, BeginsWithTheRungsOf1_0265InTheirOrder) {
    for (const auto& [ladder, minors] : kLadders) {
        const auto steps = LadderSteps(ladder);
        ASSERT_GE(steps.size(), minors.size());
        for (std::size_t i = 0; i < minors.size(); ++i) {
            EXPECT_EQ(steps[i].ladder, ladder);
            EXPECT_EQ(steps[i].number, static_cast<int>(i) + 1);
            EXPECT_EQ(steps[i].threshold, Threshold(minors[i]));
            EXPECT_EQ(steps[i].name, NameOf(ladder, minors[i]));
        }
        for (const LadderStep& later : steps.subspan(minors.size())) {
            EXPECT_GT(later.threshold, 1.0265);
            const auto before = steps.first(static_cast<std::size_t>(later.number) - 1);
            const bool again = std::ranges::count(before, later.name, &LadderStep::name) > 0;
            EXPECT_TRUE(again || later.name == NameAt(ladder, later.threshold)) << later.name;
        }
    }
}

// The one place that knows these numbers.
TEST(LadderView, HasTheDocumentedNumberOfRungsAt1_0265) {
    const auto rungsAt1_0265 = [](Ladder ladder) {
        return std::ranges::count_if(
            LadderSteps(ladder), [](const LadderStep& step) { return step.threshold <= 1.0265; });
    };
    EXPECT_EQ(rungsAt1_0265(Ladder::kSiteSchema), 92);
    EXPECT_EQ(rungsAt1_0265(Ladder::kSiteContent), 84);
    EXPECT_EQ(rungsAt1_0265(Ladder::kServer), 18);
    EXPECT_EQ(rungsAt1_0265(Ladder::kServerData), 23);
}

TEST(LadderView, TheCurrentVersionIs1_0265OrTheLastThresholdAboveIt) {
    double current = 1.0265;
    for (const auto& expected : kLadders) {
        current = std::max(current, LadderSteps(expected.ladder).back().threshold);
    }
    EXPECT_EQ(kCurrentVersion, current);
}

TEST(LadderView, PendingStepsAreThoseStrictlyAbove) {
    for (const auto& expected : kLadders) {
        const auto steps = LadderSteps(expected.ladder);
        EXPECT_EQ(PendingSteps(expected.ladder, 0).size(), steps.size());
        EXPECT_TRUE(PendingSteps(expected.ladder, steps.back().threshold).empty());
    }
    const auto at28 = PendingSteps(Ladder::kSiteSchema, 1.0028);
    ASSERT_FALSE(at28.empty());
    EXPECT_EQ(at28.front().threshold, 1.0030);
    EXPECT_EQ(at28.front().name, "SiteSchemaStep_1_0028");
    const auto at27 = PendingSteps(Ladder::kSiteSchema, 1.0027);
    EXPECT_EQ(at27[0].name, "SiteSchemaStep_1_0028");
    EXPECT_EQ(at27[1].name, "SiteSchemaStep_1_0028");
    const auto at51 = PendingSteps(Ladder::kSiteContent, 1.0051);
    EXPECT_EQ(at51.front().name, "SiteContentStep_1_0050");
    EXPECT_EQ(at51.front().threshold, 1.0053);
    EXPECT_EQ(at51[1].name, "SiteContentStep_1_0054");
}

TEST(LadderView, AVersionThatIsNotANumberIsBelowEverything) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(IsBelow(nan, 1.0001));
    EXPECT_TRUE(IsBelow(nan, kCurrentVersion));
    for (const auto& expected : kLadders) {
        EXPECT_EQ(PendingSteps(expected.ladder, nan).size(), LadderSteps(expected.ladder).size());
    }
}

TEST(LadderView, EveryRungIsDescribed) {
    for (const auto& expected : kLadders) {
        for (const LadderStep& step : LadderSteps(expected.ladder)) {
            EXPECT_FALSE(step.description.empty()) << step.name;
        }
    }
}

TEST(LadderView, TellsWhichStepsAreNotCompletedByRunningThemAgain) {
    std::set<std::string_view> notRepeatable;
    for (const auto& expected : kLadders) {
        for (const LadderStep& step : LadderSteps(expected.ladder)) {
            // A stop waits for the end of the import; a repeat completes it all the same.
            EXPECT_EQ(EffectOfRepeat(step).empty(),
                      step.repeatable || step.name == "ReimportReferenceData")
                << step.name;
            if (!step.repeatable && step.threshold <= 1.0265) {
                notRepeatable.insert(step.name);
            }
        }
    }
    EXPECT_THAT(notRepeatable,
                testing::UnorderedElementsAre(
                    "SiteSchemaStep_1_0018", "SiteSchemaStep_1_0035", "SiteSchemaStep_1_0225",
                    "SiteContentStep_1_0007", "SiteContentStep_1_0043", "SiteContentStep_1_0066",
                    "SiteContentStep_1_0082", "ServerStep_1_0035", "ServerStep_1_0074",
                    "ServerDataStep_1_0252", "ReimportReferenceData"));
}

}  // namespace
}  // namespace twupdate
