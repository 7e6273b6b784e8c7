#include "cli/run/server_care.h"

#include <fmt/format.h>

#include "cli/run/stop_request.h"
#include "cli/server/queries.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr std::chrono::seconds kBetweenLooks{1};
constexpr double kMostPaused = 0.1;  // of the time
constexpr const char* kPaused = "SHOW GLOBAL STATUS LIKE 'wsrep\\_flow\\_control\\_paused\\_ns';";

/// The number in the second column; nothing without a row.
std::optional<std::uint64_t> Status(host::Connection& connection, const std::string& query) {
    const auto rows = connection.Query(query);
    return rows->Next() ? std::optional(std::stoull(rows->Get(1).ToText())) : std::nullopt;
}

}  // namespace

std::optional<double> FlowControl::Next(std::uint64_t paused, Time now) {
    std::optional<double> share;
    if (paused_ && paused >= *paused_ && now > asked_) {  // a node that restarts counts from 0
        const std::chrono::duration<double, std::nano> time = now - asked_;
        share = static_cast<double>(paused - *paused_) / time.count();
    }
    paused_ = paused;
    asked_ = now;
    return share;
}

std::unique_ptr<ServerCare> ServerCare::For(const CareOptions& options, const Session& session,
                                            RunWatch& watch, const RunLock* lock) {
    const bool isCluster = Status(*session.GetConnection(), kPaused).has_value();
    if (!options.mostRunning && !options.mostLag && !isCluster) {
        return nullptr;
    }
    std::unique_ptr<ServerCare> care(new ServerCare(options, session, watch, lock, isCluster));
    care->RequireLagVisible();
    return care;
}

ServerCare::ServerCare(const CareOptions& options, const Session& session, RunWatch& watch,
                       const RunLock* lock, bool isCluster)
    : options_(options),
      session_(session),
      watch_(watch),
      lock_(lock),
      isCluster_(isCluster),
      connection_(session.Connect()) {
    for (const std::string& name : options_.replicas) {
        replicas_.emplace_back(name, session.ConnectOptions());
    }
}

void ServerCare::RequireLagVisible() {
    for (Replica& replica : replicas_) {
        try {
            replica.Lag();
        } catch (const HostError& error) {
            throw CommandError(fmt::format(
                "cannot see the lag of replica {}: {}{}; nothing was done{}", replica.Name(),
                error.what(), error.Code() == 0 ? "" : fmt::format(" ({})", error.Code()),
                error.Code() == kNeedsGlobalPrivilege
                    ? "\nhint: grant the account REPLICA MONITOR on the replica, or REPLICATION "
                      "CLIENT where there is no such privilege"
                    : ""));
        } catch (const CommandError& error) {
            throw CommandError(fmt::format("cannot see the lag of replica {}: {}; nothing was done",
                                           replica.Name(), error.what()));
        }
    }
}

void ServerCare::Pause(const Position& where, unsigned dumps) {
    if (lock_ != nullptr) {
        lock_->RequireLease();
    }
    std::unique_lock lock(mutex_);
    connections_[where.job] =
        where.connection == 0 ? session_.GetConnection()->ThreadId() : where.connection;
    bool hasWaited = false;
    while (const auto excess = Look(dumps)) {
        hasWaited = true;
        if (told_ != excess->cause) {
            if (!told_) {
                began_ = Clock::now();
                wait_ = RunWait{};
            }
            told_ = excess->cause;
            wait_.reason = excess->reason;
            watch_.Waiting(wait_);
        }
        lock.unlock();
        PauseUnlessStopped(kBetweenLooks);
        lock.lock();
    }
    if (told_) {
        told_.reset();
        watch_.WaitEnded(wait_, Clock::now() - began_);
    }
    if (hasWaited && lock_ != nullptr) {
        lock_->RequireHeld(*connection_);
    }
}

std::optional<ServerCare::Excess> ServerCare::Look(unsigned dumps) {
    if (Clock::now() - looked_ < kBetweenLooks) {
        return excess_;
    }
    if (connection_->IsLost()) {
        session_.Reopen(*connection_);
    }
    excess_ = Load(dumps);
    if (!excess_) {
        excess_ = Lag();
    }
    if (!excess_) {
        excess_ = Flow();
    }
    looked_ = Clock::now();
    return excess_;
}

std::optional<ServerCare::Excess> ServerCare::Load(unsigned dumps) {
    if (!options_.mostRunning) {
        return std::nullopt;
    }
    std::string own = "CONNECTION_ID()";
    for (const auto& [job, connection] : connections_) {
        own += fmt::format(", {}", connection);
    }
    const auto running =
        Status(*connection_, "SHOW GLOBAL STATUS LIKE 'Threads\\_running';").value_or(0);
    const auto ownRunning = std::stoll(
        FirstCell(*connection_, fmt::format("SELECT COUNT(*) FROM information_schema.processlist "
                                            "WHERE id IN ({}) AND command <> 'Sleep';",
                                            own))
            .value_or("0"));
    const std::int64_t others =
        static_cast<std::int64_t>(running) - ownRunning - static_cast<std::int64_t>(dumps);
    if (others <= *options_.mostRunning) {
        return std::nullopt;
    }
    return Excess{Cause::kLoad,
                  fmt::format("{} on the server, more than --max-load allows ({})",
                              Count(static_cast<std::uint64_t>(others),
                                    "thread of others is running", "threads of others are running"),
                              *options_.mostRunning)};
}

std::optional<ServerCare::Excess> ServerCare::Lag() {
    for (Replica& replica : replicas_) {
        std::string reason;
        try {
            const auto lag = replica.Lag();
            if (!lag) {
                reason = fmt::format("replica {} does not replicate, so its lag is not known",
                                     replica.Name());
            } else if (*lag > *options_.mostLag) {
                reason = fmt::format(
                    "replica {} is {} s behind, more than --max-replica-lag allows ({})",
                    replica.Name(), *lag, *options_.mostLag);
            }
        } catch (const std::exception& error) {
            reason = fmt::format("the lag of replica {} is not known: {}", replica.Name(),
                                 ErrorText(error));
        }
        if (!reason.empty()) {
            return Excess{Cause::kLag, reason};
        }
    }
    return std::nullopt;
}

std::optional<ServerCare::Excess> ServerCare::Flow() {
    if (!isCluster_) {
        return std::nullopt;
    }
    const auto share = flowControl_.Next(Status(*connection_, kPaused).value_or(0), Clock::now());
    if (!share || *share <= kMostPaused) {
        return std::nullopt;
    }
    return Excess{Cause::kFlowControl,
                  fmt::format("flow control pauses the cluster for {:.0f} % of the time, because a "
                              "node cannot keep up",
                              *share * 100)};
}

}  // namespace twupdate::cli
