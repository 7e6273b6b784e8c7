#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/server/session.h"

namespace twupdate::cli {

/// Who holds locks in that database, one line each: exact where the server has the plugin
/// metadata_lock_info, else every other connection that has a transaction open or runs a
/// statement, the longest transaction first. Empty when the user may see nothing. Never throws.
std::vector<std::string> LockHolders(const Session& session, const std::string& database);

/// A statement that waits for a lock.
struct LockWait {
    std::string brief;   ///< "connection 45 of app@web1, idle for 300 s", or "a lock"
    std::string holder;  ///< the same with all that is known; empty when nothing is

    /// "a statement waits for a lock that may be held by connection 45 …".
    std::string Text() const;
};

/// Finds out whom a statement of a session, or of another connection of the program, waits for,
/// over a connection of its own, which is opened at the first question.
class LockWaitFinder {
  public:
    /// @param session  must outlive this
    explicit LockWaitFinder(const Session& session);

    /// Nothing while the current statement waits for no lock, and when the user may not see that.
    /// May be called from any one thread. Never throws.
    /// @param database    in which the statement works
    /// @param connection  the server's number of the one that waits; 0: the session's own
    std::optional<LockWait> Find(const std::string& database, std::uint64_t connection = 0);

  private:
    const Session& session_;
    std::uint64_t waiting_;  ///< the server's number of the session's connection
    std::shared_ptr<host::Connection> connection_;
};

}  // namespace twupdate::cli
