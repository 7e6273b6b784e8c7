#pragma once

#include <string>
#include <vector>

#include "cli/server/session.h"

namespace twupdate::cli {

/// Who holds locks in that database, one line each: exact where the server has the plugin
/// metadata_lock_info, else every other connection that has a transaction open or runs a
/// statement. Empty when the user may see nothing. Never throws.
std::vector<std::string> LockHolders(const Session& session, const std::string& database);

}  // namespace twupdate::cli
