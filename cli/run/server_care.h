#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "cli/run/run_lock.h"
#include "cli/run/run_sink.h"
#include "cli/run/run_watch.h"
#include "cli/server/replica.h"
#include "cli/server/session.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// What a run may do to its server and to those that replicate it.
struct CareOptions {
    std::optional<std::int64_t> mostRunning;  ///< threads of others that run a statement
    std::optional<std::int64_t> mostLag;      ///< seconds that a replica may be behind
    std::vector<std::string> replicas;        ///< HOST[:PORT] of each
};

/// The share of the time since the last question for which the flow control of a Galera cluster
/// has paused it; nothing at the first one.
class FlowControl {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// @param paused  nanoseconds since the node's start, as wsrep_flow_control_paused_ns has them
    std::optional<double> Next(std::uint64_t paused, Time now);

  private:
    std::optional<std::uint64_t> paused_;
    Time asked_;
};

/// Lets a run wait between two steps while its server, a replica or the cluster has too much to do.
/// The jobs of a run share it: whatever their number, it asks at most once a second.
class ServerCare {
  public:
    /// @param lock  of the run, which is tested after a wait; nullptr when it has none
    /// @returns nullptr when there is nothing to care for: no limit, and no cluster
    /// @throws CommandError when a limit is given of which nothing can be seen
    static std::unique_ptr<ServerCare> For(const CareOptions& options, const Session& session,
                                           RunWatch& watch, const RunLock* lock);

    /// Returns when no limit is exceeded any more. Jobs may call it at the same time.
    /// @param where  the job, and its connection
    /// @param dumps  programs of the run that are at work on the server too
    /// @throws StopRequested when the run is to stop meanwhile
    /// @throws LockLost when the run has lost its lock meanwhile
    /// @throws HostError when the server cannot be asked
    void Pause(const Position& where, unsigned dumps);

  private:
    enum class Cause : std::uint8_t { kLoad, kLag, kFlowControl };

    struct Excess {
        Cause cause;
        std::string reason;
    };

    ServerCare(const CareOptions& options, const Session& session, RunWatch& watch,
               const RunLock* lock, bool isCluster);

    void RequireLagVisible();
    std::optional<Excess> Look(unsigned dumps);
    std::optional<Excess> Load(unsigned dumps);
    std::optional<Excess> Lag();
    std::optional<Excess> Flow();

    const CareOptions options_;
    const Session& session_;
    RunWatch& watch_;
    const RunLock* const lock_;
    const bool isCluster_;

    std::mutex mutex_;  ///< guards what follows
    std::shared_ptr<host::Connection> connection_;
    std::vector<Replica> replicas_;
    FlowControl flowControl_;
    std::map<unsigned, std::uint64_t> connections_;  ///< the server's number of each, by job
    Clock::time_point looked_;
    std::optional<Excess> excess_;  ///< what that look has found
    std::optional<Cause> told_;     ///< why the run waits
    RunWait wait_;
    Clock::time_point began_;
};

}  // namespace twupdate::cli
