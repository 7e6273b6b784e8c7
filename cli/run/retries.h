#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/run/run_lock.h"
#include "cli/run/run_sink.h"
#include "cli/run/run_watch.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

struct RetryOptions {
    /// A wait for a lock that takes too long is tried again.
    bool lockWaits = true;
    /// How long a run waits for a server that cannot be reached, beyond its usual attempts.
    std::chrono::seconds reconnect{0};
};

/// The server did not come back in time.
class ServerGone : public std::runtime_error {
  public:
    /// @param isFirst  false when another job has found it out, whose failure tells of it
    ServerGone(const std::string& text, bool isFirst)
        : std::runtime_error(text), isFirst_(isFirst) {}
    bool IsFirst() const noexcept { return isFirst_; }

  private:
    bool isFirst_;
};

/// What a run tries again, and when: failures that pass by themselves, outside of steps that cannot
/// simply be repeated. The jobs of a run share it.
class Retries {
  public:
    static constexpr unsigned kMost = 3;  ///< attempts for a site, after its first failure

    /// @param lock  of the run; nullptr when it has none
    Retries(RetryOptions options, RunWatch& watch, const RunLock* lock)
        : options_(options), watch_(watch), lock_(lock) {}

    /// @param siteId  that has failed; 0: the run itself
    /// @returns nothing when the failure stays one
    std::optional<RunRetry> Next(std::int64_t siteId, const RunFailure& failure);

    /// Pauses and connects again, as often and as long as the options say. When the connection was
    /// lost, the lock of the run is then held again.
    /// @param connect  opens the new connection
    /// @throws ServerGone, also when another job has waited in vain
    /// @throws StopRequested, LockLost, CommandError for other reasons not to connect, HostError
    void Reconnect(const RunRetry& retry, const std::function<host::Connection&()>& connect);

  private:
    host::Connection& Connect(const std::function<host::Connection&()>& connect);

    const RetryOptions options_;
    RunWatch& watch_;
    const RunLock* const lock_;

    std::mutex mutex_;  ///< guards what follows
    std::map<std::int64_t, unsigned> attempts_;

    std::mutex connecting_;  ///< one job finds out for all whether the server is back
    bool gone_ = false;      ///< guarded by it
};

}  // namespace twupdate::cli
