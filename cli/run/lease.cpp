#include "cli/run/lease.h"

#include <fmt/format.h>

#include <array>
#include <random>
#include <thread>
#include <utility>

#include "cli/run/end_connections.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/error.h"

namespace twupdate::cli {
namespace {

constexpr unsigned kAttempts = 5;

std::string NewHolder() {
    std::random_device random;
    return fmt::format("{:08x}{:08x}{:08x}{:08x}", random(), random(), random(), random());
}

/// On a cluster, a write that comes at the same time as another node's to the same row is a
/// deadlock, and nothing is written.
template <typename Write>
auto AgainAfterDeadlock(const Write& write) {
    for (unsigned attempt = 1;; ++attempt) {
        try {
            return write();
        } catch (const HostError& error) {
            if (error.Code() != kDeadlock || attempt == kAttempts) {
                throw;
            }
        }
    }
}

/// Of two who take it at the same time, one gets the answer that nothing was changed, or a
/// deadlock.
bool Try(host::Connection& connection, const LeaseRow& from, const LeaseRow& to) {
    try {
        return TakeLease(connection, from, to);
    } catch (const HostError& error) {
        if (error.Code() != kDeadlock) {
            throw;
        }
        return false;
    }
}

/// Waits for the lease, or for the moment to take it.
class Standby {
  public:
    Standby(const Session& session, std::shared_ptr<host::Connection> connection, LeaseRow wanted,
            Console& console)
        : session_(session),
          connection_(std::move(connection)),
          wanted_(std::move(wanted)),
          console_(console) {}

    /// @returns whether it was taken
    bool Take(std::chrono::seconds wait) {
        const auto began = Clock::now();
        while (!Look()) {
            if (Clock::now() - began >= wait) {
                console_.ClearProgress();
                return false;
            }
            Tell(Clock::now() - began, wait);
            std::this_thread::sleep_for(TermsOf(seen_).LookedAt());
        }
        console_.ClearProgress();
        return true;
    }

    const LeaseRow& Seen() const { return seen_; }

  private:
    using Clock = std::chrono::steady_clock;

    /// The holder's terms count.
    static LeaseTerms TermsOf(const LeaseRow& row) {
        return LeaseTerms{std::chrono::seconds(row.seconds)};
    }

    /// @returns whether the lease was taken
    bool Look() {
        try {
            if (connectionIsLost_) {
                connection_->Reopen();
                connectionIsLost_ = false;
            }
            const auto began = Clock::now();
            AgainAfterDeadlock([&] { ProbeLease(*connection_); });
            seen_ = ReadLease(*connection_);
            const bool standsStill = standstill_.Seen(seen_, began, Clock::now());
            if (seen_.holder.empty()) {
                const bool isTaken = Try(*connection_, seen_, wanted_);
                seen_ = ReadLease(*connection_);
                return isTaken;
            }
            return standsStill && End() && Try(*connection_, seen_, wanted_);
        } catch (const HostError& error) {
            if (!MayPass(error.Code())) {
                throw;
            }
            connectionIsLost_ = IsLostConnection(error.Code());
            standstill_.Forget();
            return false;
        }
    }

    /// @returns whether the holder's connections are gone
    bool End() {
        if (toldOf_ != seen_.holder) {
            toldOf_ = seen_.holder;
            console_.Warn(
                fmt::format("the other run has shown no sign for {}; ending its "
                            "connections: {}",
                            DurationText(std::chrono::seconds(seen_.seconds)), seen_.note));
        }
        const std::string reason = EndConnections(session_, *connection_, seen_.connections);
        if (!reason.empty() && reason != reason_) {
            console_.Warn("the lock cannot be taken over yet: " + reason);
        }
        reason_ = reason;
        return reason.empty();
    }

    void Tell(std::chrono::nanoseconds elapsed, std::chrono::seconds wait) {
        if (wait.count() > 0 && !told_) {
            told_ = true;
            console_.Say(fmt::format("Waiting for the end of another run: {}", seen_.note));
        }
        if (Clock::now() - drawn_ >= std::chrono::seconds(1)) {
            drawn_ = Clock::now();
            console_.DrawProgress({{fmt::format("waits {} of {} for another run",
                                                DurationText(elapsed), DurationText(wait)),
                                    seen_.note}});
        }
    }

    const Session& session_;
    std::shared_ptr<host::Connection> connection_;
    bool connectionIsLost_ = false;
    const LeaseRow wanted_;
    Console& console_;
    LeaseRow seen_;
    Standstill standstill_;
    std::string toldOf_;  ///< the holder whose connections are ended
    std::string reason_;
    bool told_ = false;
    Clock::time_point drawn_;
};

}  // namespace

bool Standstill::Seen(const LeaseRow& row, Time began, Time ended) {
    const LeaseTerms terms{std::chrono::seconds(row.seconds)};
    if (row.holder != holder_ || row.counter != counter_) {
        holder_ = row.holder;
        counter_ = row.counter;
        since_.reset();
        isReached_ = false;
    }
    if (!since_ || ended - last_ > terms.LooksApart()) {
        since_ = ended;
    }
    last_ = ended;
    isReached_ = isReached_ || began - *since_ >= terms.takenAfter;
    return isReached_;
}

std::shared_ptr<Lease> Lease::Take(const Session& session, LeaseTerms terms,
                                   const std::string& note, std::chrono::seconds wait,
                                   Console& console) {
    auto connection = session.Connect();
    RequireLeaseTable(*connection);
    LeaseRow wanted;
    wanted.holder = NewHolder();
    wanted.note = note;
    wanted.seconds = static_cast<unsigned>(terms.takenAfter.count());
    Standby standby(session, connection, wanted, console);
    if (!standby.Take(wait)) {
        throw CommandError(
            fmt::format("another run is in progress: {}\nhint: wait for it to finish (--lock-wait "
                        "SECONDS); with more than {} seconds, this run continues when the other "
                        "one has died",
                        standby.Seen().note.empty() ? "it has just ended" : standby.Seen().note,
                        standby.Seen().seconds),
            kLocked);
    }
    if (session.GetConnection()->IsLost()) {
        session.Reconnect();  // its node may have died while this run waited
    }
    std::shared_ptr<Lease> lease(new Lease(connection, terms, wanted.holder));
    lease->Opened(*connection);
    lease->Opened(*session.GetConnection());
    return lease;
}

Lease::Lease(std::shared_ptr<host::Connection> connection, LeaseTerms terms, std::string holder)
    : terms_(terms),
      holder_(std::move(holder)),
      connection_(std::move(connection)),
      began_(Clock::now()),
      renewed_(began_) {
    thread_.emplace([this] { Renew(); });
}

Lease::~Lease() {
    thread_.reset();
    if (!lost_.empty() || Clock::now() - renewed_ >= terms_.GivenUpAfter()) {
        return;
    }
    const auto free = [this] { AgainAfterDeadlock([this] { FreeLease(*connection_, holder_); }); };
    try {
        try {
            free();
        } catch (const HostError& error) {
            if (!IsLostConnection(error.Code())) {
                throw;
            }
            connection_->Reopen();  // its node may have died since the last renewal
            free();
        }
    } catch (const HostError&) {
        // The next run takes it when it has stood still.
    }
}

void Lease::Require() const {
    std::unique_lock lock(mutex_);
    // A renewal may be under way: on a cluster it waits for the end of each ALTER TABLE.
    changed_.wait(
        lock, [this] { return !lost_.empty() || Clock::now() - began_ < terms_.GivenUpAfter(); });
    if (!lost_.empty()) {
        throw LockLost(lost_);
    }
}

void Lease::Opened(host::Connection& connection) {
    const std::string naming = NamingStatement(connection, holder_);
    if (AgainAfterDeadlock([&] { return connection.Execute(naming); }) != 1) {
        Lose("the run has lost its lock: another run has taken it over");
        Require();
    }
}

std::string Lease::Naming(host::Connection& connection) const {
    Require();
    return NamingStatement(connection, holder_);
}

void Lease::Renew() {
    const auto now = Clock::now();
    Clock::time_point began;
    Clock::time_point renewed;
    {
        const std::lock_guard lock(mutex_);
        if (!lost_.empty()) {
            return;
        }
        began = began_;
        renewed = renewed_;
    }
    if (now - renewed >= terms_.GivenUpAfter()) {
        // Also when the program was stopped for so long: nothing more may reach the server.
        Lose(fmt::format("the run has lost its lock: it could not be renewed for {}",
                         DurationText(now - renewed)));
        return;
    }
    if (now - began < terms_.Renewed()) {
        return;
    }
    try {
        if (!RenewNow()) {
            Lose("the run has lost its lock: another run has taken it over");
            return;
        }
        const std::lock_guard lock(mutex_);
        began_ = now;
        renewed_ = Clock::now();
        changed_.notify_all();
    } catch (const HostError& error) {
        connectionIsLost_ = connectionIsLost_ || IsLostConnection(error.Code());
    }
}

bool Lease::RenewNow() {
    if (!connectionIsLost_) {
        return RenewLease(*connection_, holder_);
    }
    connection_->Reopen();
    connectionIsLost_ = false;
    return connection_->Execute(NamingStatement(*connection_, holder_)) == 1;
}

void Lease::Lose(const std::string& why) {
    const std::lock_guard lock(mutex_);
    lost_ = why;
    changed_.notify_all();
}

}  // namespace twupdate::cli
