#pragma once

#include <vector>

#include "cli/server/installation.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// Sorts sites by the time that their upgrade is expected to take, the longest first, so that
/// several jobs end together: by their pending steps and, where the server tells it, the size of
/// their tables.
void SortLongestFirst(std::vector<SiteRow>& sites, host::Connection& connection);

}  // namespace twupdate::cli
