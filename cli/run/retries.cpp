#include "cli/run/retries.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/run/stop_request.h"
#include "cli/server/server_errors.h"
#include "cli/server/session.h"

namespace twupdate::cli {
namespace {

/// Before an attempt: 1, 2 and 4 s.
std::chrono::seconds PauseBefore(unsigned attempt) {
    return std::chrono::seconds(1U << (std::min(attempt, Retries::kMost) - 1));
}

}  // namespace

std::string RetryLine(const RunRetry& retry) {
    return fmt::format("{}; attempt {} of {} follows in {} s", FailureLine(retry.failure),
                       retry.attempt, Retries::kMost, retry.pause.count());
}

std::optional<RunRetry> Retries::Next(std::int64_t siteId, const RunFailure& failure) {
    const bool passes =
        MayPass(failure.code) && (failure.code != kLockWaitTimeout || options_.lockWaits);
    const bool mayRepeat = !failure.where.step || failure.where.step->repeatable;
    if (!passes || !mayRepeat || failure.stopped) {
        return std::nullopt;
    }
    const std::lock_guard lock(mutex_);
    unsigned& attempts = attempts_[siteId];
    if (attempts == kMost) {
        return std::nullopt;
    }
    ++attempts;
    return RunRetry{failure, attempts, PauseBefore(attempts)};
}

void Retries::Reconnect(const RunRetry& retry, const std::function<host::Connection&()>& connect) {
    PauseUnlessStopped(retry.pause);
    const std::lock_guard lock(connecting_);
    host::Connection& connection = Connect(connect);
    if (lock_ != nullptr && IsLostConnection(retry.failure.code)) {
        lock_->HoldAgain(connection);
    }
}

host::Connection& Retries::Connect(const std::function<host::Connection&()>& connect) {
    if (gone_) {
        throw ServerGone("", false);
    }
    const auto began = Clock::now();
    std::optional<RunWait> wait;
    for (unsigned attempt = 1;; ++attempt) {
        try {
            host::Connection& connection = connect();
            if (wait) {
                watch_.WaitEnded(*wait, Clock::now() - began);
            }
            return connection;
        } catch (const CannotConnect& error) {
            if (!IsLostConnection(error.ServerCode())) {
                throw;
            }
            if (attempt >= kMost && Clock::now() - began >= options_.reconnect) {
                gone_ = true;
                throw ServerGone(error.what(), true);
            }
            if (!wait) {
                wait = RunWait{error.what()};
                watch_.Waiting(*wait);
            }
        }
        PauseUnlessStopped(PauseBefore(attempt + 1));
    }
}

}  // namespace twupdate::cli
