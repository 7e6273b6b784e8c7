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
                   rungs[i].IsBuilt()};
    }
    return view;
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
    // A rung that is added to a ladder must rise above the one before it, and none may lie above
    // the current version: what does not hold here does not compile.
    static_assert(L::kSiteSchema.size() == 92 && L::IsAscending(L::kSiteSchema) &&
                  L::kSiteSchema.back().threshold == 1.0264);
    static_assert(L::kSiteContent.size() == 84 && L::IsAscending(L::kSiteContent) &&
                  L::kSiteContent.back().threshold == 1.0261);
    static_assert(L::kServer.size() == 18 && L::IsAscending(L::kServer) &&
                  L::kServer.back().threshold == 1.0264);
    static_assert(L::kServerData.size() == 23 && L::IsAscending(L::kServerData) &&
                  L::kServerData.back().threshold == 1.0263);
    static_assert(L::kSiteSchema.back().threshold <= kCurrentVersion &&
                  L::kSiteContent.back().threshold <= kCurrentVersion &&
                  L::kServer.back().threshold <= kCurrentVersion &&
                  L::kServerData.back().threshold <= kCurrentVersion);

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
