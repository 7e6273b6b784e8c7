#pragma once

#include <cstdint>
#include <optional>

#include "twupdate/host.h"

namespace twupdate::cli {

/// The site that the central ladder treats as the root: ServerDataStep_1_0252 registers the local
/// host name in its database.
std::optional<std::int64_t> RootSite(Utility& utility);

}  // namespace twupdate::cli
