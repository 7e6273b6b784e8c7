#include <array>
#include <string>
#include <vector>

#include "capi/host_adapter.h"
#include "twupdate/ladder.h"

namespace twupdate::capi {
namespace {

constexpr std::size_t kLadders = 4;

/// The steps of one ladder with texts that end with a NUL.
struct CLadder {
    explicit CLadder(Ladder ladder) : name(LadderName(ladder)) {
        const auto ladderSteps = LadderSteps(ladder);
        for (const LadderStep& step : ladderSteps) {
            names.emplace_back(step.name);
            descriptions.emplace_back(step.description);
        }
        for (std::size_t i = 0; i < ladderSteps.size(); ++i) {
            const LadderStep& step = ladderSteps[i];
            steps.push_back({static_cast<twu_ladder>(ladder), step.number, step.threshold,
                             names[i].c_str(), descriptions[i].c_str()});
        }
    }
    // A copy's steps would point into the texts of the original.
    CLadder(const CLadder&) = delete;
    CLadder& operator=(const CLadder&) = delete;

    std::string name;
    std::vector<std::string> names;
    std::vector<std::string> descriptions;
    std::vector<twu_step> steps;
};

/// nullptr for a number that is no ladder.
const CLadder* FindLadder(twu_ladder ladder) {
    static_assert(TWU_SITE_SCHEMA == static_cast<int>(Ladder::kSiteSchema) &&
                  TWU_SITE_CONTENT == static_cast<int>(Ladder::kSiteContent) &&
                  TWU_SERVER == static_cast<int>(Ladder::kServer) &&
                  TWU_SERVER_DATA == static_cast<int>(Ladder::kServerData));
    static const std::array<CLadder, kLadders> ladders{
        CLadder(Ladder::kSiteSchema), CLadder(Ladder::kSiteContent), CLadder(Ladder::kServer),
        CLadder(Ladder::kServerData)};
    const auto index = static_cast<std::size_t>(ladder);
    return ladder >= 0 && index < kLadders ? &ladders[index] : nullptr;
}

}  // namespace

const twu_step* FindStep(twu_ladder ladder, std::size_t index) {
    const CLadder* found = FindLadder(ladder);
    return found != nullptr && index < found->steps.size() ? &found->steps[index] : nullptr;
}

}  // namespace twupdate::capi

// --- the C functions about ladders ------------------------------------------------------------

using twupdate::capi::FindLadder;

const char* twu_version(void) {
    return TWUPDATE_VERSION;
}

double twu_current_version(void) {
    return twupdate::kCurrentVersion;
}

const char* twu_ladder_name(twu_ladder ladder) {
    try {
        const auto* found = FindLadder(ladder);
        return found == nullptr ? "" : found->name.c_str();
    } catch (const std::bad_alloc&) {
        return "";
    }
}

size_t twu_ladder_size(twu_ladder ladder) {
    try {
        const auto* found = FindLadder(ladder);
        return found == nullptr ? 0 : found->steps.size();
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

const twu_step* twu_ladder_step(twu_ladder ladder, size_t index) {
    try {
        return twupdate::capi::FindStep(ladder, index);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

size_t twu_pending_steps(twu_ladder ladder, double version, const twu_step** steps,
                         size_t capacity) {
    size_t pending = 0;
    const size_t size = twu_ladder_size(ladder);
    for (size_t i = 0; i < size; ++i) {
        const twu_step* step = twu_ladder_step(ladder, i);
        if (twupdate::IsBelow(version, step->threshold)) {
            if (steps != nullptr && pending < capacity) {
                steps[pending] = step;
            }
            ++pending;
        }
    }
    return pending;
}
