#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/run/lease_row.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {

/// The run is not the only one any more.
class LockLost : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// How a run holds the lease.
struct LeaseTerms {
    static constexpr unsigned kDefaultSeconds = 60;

    /// After so long without a sign of the holder another run may take the lease.
    std::chrono::seconds takenAfter{kDefaultSeconds};

    std::chrono::milliseconds Renewed() const { return Part(6); }
    /// The holder sends nothing more when it could not renew the lease for so long.
    std::chrono::milliseconds GivenUpAfter() const { return 4 * Part(6); }
    /// Those who wait look so often.
    std::chrono::milliseconds LookedAt() const { return Part(60); }
    /// A look that takes longer shows that the server takes no writes: then the holder cannot give
    /// a sign either.
    std::chrono::milliseconds LooksApart() const { return Part(6); }

  private:
    std::chrono::milliseconds Part(int of) const {
        return std::chrono::milliseconds(takenAfter) / of;
    }
};

/// Tells when a holder has shown no sign for long enough. Only the clock of the one who waits
/// counts, and only the time in which he looked all the while.
class Standstill {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// @param began, ended  of the look that has found the row so
    /// @returns whether it may be taken
    bool Seen(const LeaseRow& row, Time began, Time ended);
    /// A look has failed.
    void Forget() { since_.reset(); }

  private:
    std::string holder_;
    std::uint64_t counter_ = 0;
    std::optional<Time> since_;
    Time last_;
    bool isReached_ = false;  ///< stays so until the row moves
};

/// A lock that is a row of a table (see lease_row.h), which its holder renews, and which another
/// run may take when he does not: for clusters, where a lock of the server's holds on one node
/// only. It names every connection of the run, so that the other one can end them.
class Lease final : public ConnectionWatch {
  public:
    /// Waits for the one who has it, or until it may be taken from him.
    /// @param wait  for how long; 0: not at all
    /// @throws CommandError (exit 4) naming who has it
    static std::shared_ptr<Lease> Take(const Session& session, LeaseTerms terms,
                                       const std::string& note, std::chrono::seconds wait,
                                       Console& console);
    /// Gives it back.
    ~Lease() override;
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    /// To be called before each statement. Costs nothing while the lease is renewed in time, and
    /// waits for a renewal that is under way.
    /// @throws LockLost
    void Require() const;

    void Opening() override { Require(); }
    /// @throws LockLost, HostError
    void Opened(host::Connection& connection) override;
    std::string Naming(host::Connection& connection) const override;

  private:
    using Clock = std::chrono::steady_clock;

    Lease(std::shared_ptr<host::Connection> connection, LeaseTerms terms, std::string holder);
    void Renew();
    /// @returns whether it is this run's still
    bool RenewNow();
    void Lose(const std::string& why);

    const LeaseTerms terms_;
    const std::string holder_;
    std::shared_ptr<host::Connection> connection_;  ///< the thread's
    bool connectionIsLost_ = false;                 ///< known to the thread alone

    mutable std::mutex mutex_;  ///< guards what follows
    mutable std::condition_variable changed_;
    std::string lost_;           ///< why; empty while it is this run's
    Clock::time_point began_;    ///< of the last renewal that has succeeded
    Clock::time_point renewed_;  ///< its end

    std::optional<Ticker> thread_;  ///< ends first
};

}  // namespace twupdate::cli
