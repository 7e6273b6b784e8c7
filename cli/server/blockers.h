#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/server/session.h"

namespace twupdate::cli {

/// The server's error for a lock that did not come in time.
inline constexpr std::uint32_t kLockWaitTimeout = 1205;

/// Who holds locks in that database, one line each: exact where the server has the plugin
/// metadata_lock_info, else every other connection that has a transaction open or runs a
/// statement. Empty when the user may see nothing. Never throws.
std::vector<std::string> LockHolders(const Session& session, const std::string& database);

}  // namespace twupdate::cli
