#include "twupdate/interruption.h"

#include <algorithm>
#include <array>

#include "migrations/interruptions.h"

namespace twupdate {
namespace {

struct Interruption {
    std::string_view step;
    std::string_view effectOfRepeat;
    LeftoverSearch* search;
};

constexpr std::string_view kCaches = "a repeat leaves links to caches that no longer exist";
constexpr std::string_view kConversion = "a repeat stops with error 1060, or ends without a column";

constexpr std::array<Interruption, 10> kInterruptions{{
    {"SiteSchemaStep_1_0018", "a repeat ends without some of the timings of layout zones",
     LeftBySiteSchemaStep_1_0018},
    {"SiteSchemaStep_1_0035", kConversion, LeftBySiteSchemaStep_1_0035},
    {"SiteSchemaStep_1_0225", "a repeat leaves the addresses of lookup feeds out",
     LeftBySiteSchemaStep_1_0225},
    {"SiteContentStep_1_0007", "a repeat converts every charge again",
     LeftBySiteContentStep_1_0007},
    {"SiteContentStep_1_0043", "a repeat converts no e-mail", LeftBySiteContentStep_1_0043},
    {"SiteContentStep_1_0066", kCaches, LeftBySiteContentStep_1_0066},
    {"SiteContentStep_1_0082", kCaches, LeftBySiteContentStep_1_0082},
    {"ServerStep_1_0035", kConversion, LeftByServerStep_1_0035},
    {"ServerStep_1_0074", "a repeat sets no start marks", LeftByServerStep_1_0074},
    {"ServerDataStep_1_0252", "a repeat leaves the local domain without a group",
     LeftByServerDataStep_1_0252},
}};

const Interruption* InterruptionOf(const LadderStep& step) {
    const auto found =
        std::find_if(kInterruptions.begin(), kInterruptions.end(),
                     [&step](const Interruption& known) { return known.step == step.name; });
    return found == kInterruptions.end() ? nullptr : &*found;
}

}  // namespace

std::string_view EffectOfRepeat(const LadderStep& step) {
    const Interruption* interruption = InterruptionOf(step);
    return interruption == nullptr ? std::string_view() : interruption->effectOfRepeat;
}

std::vector<Leftover> FindLeftovers(Utility& host, const LadderStep& step,
                                    const SteppedDatabase& database, StepHistory history) {
    const Interruption* interruption = InterruptionOf(step);
    return interruption == nullptr ? std::vector<Leftover>()
                                   : interruption->search(host, database, history);
}

}  // namespace twupdate
