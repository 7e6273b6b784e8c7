#include "component/ladders.h"

#include <algorithm>
#include <iterator>

namespace twupdate {
namespace {

template <std::size_t kCount, typename Rung>
constexpr std::array<LadderStep, kCount> ViewOf(Ladder ladder,
                                                const std::array<Rung, kCount>& rungs) {
    std::array<LadderStep, kCount> view{};
    for (std::size_t i = 0; i < kCount; ++i) {
        view[i] = {ladder,
                   static_cast<std::int32_t>(i + 1),
                   rungs[i].threshold,
                   rungs[i].name,
                   rungs[i].description,
                   rungs[i].repeatable};
    }
    return view;
}

/// A rung that is added to a ladder must rise above the one before it, and none may lie above the
/// current version.
template <typename Rungs>
constexpr bool IsAscendingToCurrent(const Rungs& rungs) {
    for (std::size_t i = 1; i < rungs.size(); ++i) {
        if (!(rungs[i - 1].threshold < rungs[i].threshold)) {
            return false;
        }
    }
    return rungs.back().threshold <= kCurrentVersion;
}

/// A step that is called twice must say the same of itself both times.
template <typename Rungs>
constexpr bool AgreesOnRepeatable(const Rungs& rungs) {
    for (const auto& rung : rungs) {
        for (const auto& other : rungs) {
            if (rung.repeatable != other.repeatable && rung.name == other.name) {
                return false;
            }
        }
    }
    return true;
}

template <typename Rungs>
constexpr bool IsSound(const Rungs& rungs) {
    return IsAscendingToCurrent(rungs) && AgreesOnRepeatable(rungs);
}

}  // namespace

std::string_view LadderName(Ladder ladder) {
    switch (ladder) {
        case Ladder::kSiteSchema:
            return "site schema";
        case Ladder::kSiteContent:
            return "site content";
        case Ladder::kServer:
            return "server";
        case Ladder::kServerData:
            return "server data";
    }
    return "";
}

std::span<const LadderStep> LadderSteps(Ladder ladder) {
    using L = Update::Ladders;
    static_assert(IsSound(L::kSiteSchema) && IsSound(L::kSiteContent) && IsSound(L::kServer) &&
                  IsSound(L::kServerData));
    static constexpr auto kSiteSchema = ViewOf(Ladder::kSiteSchema, L::kSiteSchema);
    static constexpr auto kSiteContent = ViewOf(Ladder::kSiteContent, L::kSiteContent);
    static constexpr auto kServer = ViewOf(Ladder::kServer, L::kServer);
    static constexpr auto kServerData = ViewOf(Ladder::kServerData, L::kServerData);
    switch (ladder) {
        case Ladder::kSiteSchema:
            return kSiteSchema;
        case Ladder::kSiteContent:
            return kSiteContent;
        case Ladder::kServer:
            return kServer;
        case Ladder::kServerData:
            return kServerData;
    }
    return {};
}

std::vector<LadderStep> PendingSteps(Ladder ladder, double version) {
    const auto steps = LadderSteps(ladder);
    std::vector<LadderStep> pending;
    std::copy_if(steps.begin(), steps.end(), std::back_inserter(pending),
                 [version](const LadderStep& step) { return IsBelow(version, step.threshold); });
    return pending;
}

}  // namespace twupdate
