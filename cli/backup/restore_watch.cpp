#include "cli/backup/restore_watch.h"

#include <fmt/format.h>

namespace twupdate::cli {
namespace {

constexpr std::chrono::seconds kLong{5};

}  // namespace

RestoreWatch::RestoreWatch(const Session& session, const ClientNumber& client, Console& console,
                           CountedProgress& progress, unsigned job)
    : client_(client),
      console_(console),
      progress_(progress),
      job_(job),
      finder_(session),
      ticker_([this] { Look(); }) {}

void RestoreWatch::In(const std::string& database) {
    const std::lock_guard lock(mutex_);
    database_ = database;
}

std::optional<LockWait> RestoreWatch::Find(const std::string& database) {
    if (const auto client = client_.Get()) {
        if (auto wait = finder_.Find(database, *client)) {
            return wait;
        }
    }
    return finder_.Find(database);
}

void RestoreWatch::Look() {
    std::unique_lock lock(mutex_);
    const std::string database = database_;
    lock.unlock();
    const auto wait = Find(database);
    const auto now = std::chrono::steady_clock::now();
    if (!wait) {
        since_.reset();
        told_ = false;
        progress_.Waiting("", job_);
        return;
    }
    since_ = since_.value_or(now);
    if (now - *since_ < kLong) {
        return;
    }
    progress_.Waiting(wait->brief, job_);
    if (!told_ && !console_.Interactive()) {
        console_.Warn(fmt::format("{}: {}", database, wait->Text()));
    }
    told_ = true;
}

}  // namespace twupdate::cli
