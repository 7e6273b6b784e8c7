#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "cli/run/lease.h"
#include "cli/run/run_sink.h"
#include "cli/server/options.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// The lock that makes a run the only one on its server. It lives on a connection of its own, so
/// that the server lets go of it when the program ends, in whatever way. On a cluster it is a
/// lease; with --lease it is both.
class RunLock {
  public:
    /// Takes the lock, unless --no-lock was given. Waits for it as long as --lock-wait says, and
    /// tells for whom.
    /// @param command  what the run is, e.g. "upgrade-site 7", for those whom it keeps out
    /// @throws CommandError (exit 4) naming who holds it, or that the server refuses it
    RunLock(const Session& session, const GlobalOptions& options, const std::string& command,
            Console& console);
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

    /// Whether the lock of a run with these options is a lease.
    static bool IsLease(host::Connection& connection, const GlobalOptions& options);

    /// To be called before each statement: ends the run when its lease was not renewed in time.
    /// Costs nothing without one.
    /// @throws LockLost
    void RequireLease() const;

    /// Tests that the server still holds the lock for this run: it lets go of it when it ends that
    /// connection.
    /// @param connection  another one, so that the lock's own still tells since when it is held
    /// @throws LockLost when it does not
    void RequireHeld(host::Connection& connection) const;

    /// Takes the lock again if its connection was lost, as when the server was restarted. Several
    /// jobs may call it at the same time.
    /// @param connection  a new one, through which nothing else has been sent yet
    /// @throws LockLost when another run is in progress
    /// @throws CommandError when the server refuses the lock
    /// @throws HostError
    void HoldAgain(host::Connection& connection) const;

    /// The name under which the server knows it.
    static constexpr const char* kName = "twupdate.run";

  private:
    void TakeOfServer(const GlobalOptions& options, Console& console);
    /// The server's answer: true, false when somebody else has it, NULL when it refuses.
    /// @throws CommandError
    Value Take(unsigned waitSeconds) const;
    bool IsHeld(host::Connection& connection) const;

    const Session& session_;
    std::shared_ptr<Lease> lease_;                  ///< none on a single server
    std::string note_;                              ///< for those whom the lock keeps out
    mutable std::mutex mutex_;                      ///< guards the connection once jobs are at work
    std::shared_ptr<host::Connection> connection_;  ///< none with --no-lock and on a cluster
};

/// Ends a run before its next site when the run has lost its lock, and before its next statement
/// when its lease was not renewed in time.
class LockWatch final : public RunSink {
  public:
    LockWatch(const RunLock& lock, std::shared_ptr<host::Connection> connection);
    void SiteStarting(const Position& where, double version) override;
    void CallStarting(const Position& where) override;

  private:
    const RunLock& lock_;
    std::shared_ptr<host::Connection> connection_;
};

}  // namespace twupdate::cli
