#include "cli/server/left_out.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/terminal/text.h"

namespace twupdate::cli {

LeftOut SitesLeftOut(const std::vector<SiteRow>& sites) {
    LeftOut leftOut;
    for (const SiteRow& site : sites) {
        const SiteState state = site.State();
        if (state != SiteState::kOld && state != SiteState::kCurrent) {
            leftOut[state].push_back(site.siteId);
        }
    }
    return leftOut;
}

std::string LeftOutText(SiteState state, const std::vector<std::int64_t>& ids) {
    return fmt::format("{}: {} ({})", SiteStateText(state), Count(ids.size(), "site"),
                       IdsText(ids));
}

nlohmann::ordered_json JsonOf(const LeftOut& leftOut) {
    auto object = nlohmann::ordered_json::object();
    for (const auto& [state, ids] : leftOut) {
        object[SiteStateText(state)] = ids;
    }
    return object;
}

std::string IdsText(const std::vector<std::int64_t>& ids) {
    constexpr std::size_t kMost = 12;
    std::string text;
    for (std::size_t i = 0; i < std::min(ids.size(), kMost); ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(ids[i]);
    }
    return ids.size() > kMost ? text + fmt::format(" and {} more", ids.size() - kMost) : text;
}

}  // namespace twupdate::cli
