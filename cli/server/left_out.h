#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "cli/server/installation.h"

namespace twupdate::cli {

/// The sites that an upgrade of the installation leaves out although they are not current: their
/// ids by reason.
using LeftOut = std::map<SiteState, std::vector<std::int64_t>>;

LeftOut SitesLeftOut(const std::vector<SiteRow>& sites);

/// "hard-deleted: 4 sites (8, 15, 16, 23)".
std::string LeftOutText(SiteState state, const std::vector<std::int64_t>& ids);

/// One list of ids for each state.
nlohmann::ordered_json JsonOf(const LeftOut& leftOut);

/// The first of the ids, and how many more there are.
std::string IdsText(const std::vector<std::int64_t>& ids);

}  // namespace twupdate::cli
