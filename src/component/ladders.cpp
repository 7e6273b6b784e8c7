#include "component/ladders.h"

#include <algorithm>
#include <iterator>

namespace twupdate {
namespace {

template <std::size_t kCount, typename Rung, typename Names>
constexpr std::array<LadderStep, kCount> ViewOf(Ladder ladder,
                                                const std::array<Rung, kCount>& rungs,
                                                const Names& notRepeatable) {
    std::array<LadderStep, kCount> view{};
    for (std::size_t i = 0; i < kCount; ++i) {
        view[i] = {ladder,
                   static_cast<std::int32_t>(i + 1),
                   rungs[i].threshold,
                   rungs[i].name,
                   rungs[i].description,
                   std::ranges::find(notRepeatable, rungs[i].name) == notRepeatable.end()};
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
    return rungs.back().threshold <= TWU_CURRENT_VERSION;
}

template <typename Names, typename... Ladders>
constexpr bool AreSteps(const Names& names, const Ladders&... ladders) {
    return std::ranges::all_of(names, [&](std::string_view name) {
        return ((std::ranges::find(ladders, name, &LadderStep::name) != ladders.end()) || ...);
    });
}

}  // namespace

constinit const double kCurrentVersion = TWU_CURRENT_VERSION;

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
    static_assert(IsAscendingToCurrent(L::kSiteSchema) && IsAscendingToCurrent(L::kSiteContent) &&
                  IsAscendingToCurrent(L::kServer) && IsAscendingToCurrent(L::kServerData));
    static constexpr auto kSiteSchema =
        ViewOf(Ladder::kSiteSchema, L::kSiteSchema, L::kNotRepeatable);
    static constexpr auto kSiteContent =
        ViewOf(Ladder::kSiteContent, L::kSiteContent, L::kNotRepeatable);
    static constexpr auto kServer = ViewOf(Ladder::kServer, L::kServer, L::kNotRepeatable);
    static constexpr auto kServerData =
        ViewOf(Ladder::kServerData, L::kServerData, L::kNotRepeatable);
    static_assert(AreSteps(L::kNotRepeatable, kSiteSchema, kSiteContent, kServer, kServerData));
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
