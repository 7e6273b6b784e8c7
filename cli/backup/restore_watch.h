#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "cli/backup/dump.h"
#include "cli/server/blockers.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"
#include "cli/terminal/counted_progress.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {

/// Looks every second whether a restore waits for a lock, with a statement of the program itself or
/// of the client that it has started. After five seconds it tells whose lock it is: in the progress
/// line, or by a warning where none is drawn.
class RestoreWatch {
  public:
    /// All of them must outlive this.
    /// @param job  of several that restore
    RestoreWatch(const Session& session, const ClientNumber& client, Console& console,
                 CountedProgress& progress, unsigned job = 0);

    /// What follows is done in this database.
    void In(const std::string& database);

  private:
    void Look();
    std::optional<LockWait> Find(const std::string& database);

    const ClientNumber& client_;
    Console& console_;
    CountedProgress& progress_;
    const unsigned job_;
    LockWaitFinder finder_;
    std::mutex mutex_;
    std::string database_;  ///< guarded by it
    // Of the ticker's thread alone.
    std::optional<std::chrono::steady_clock::time_point> since_;  ///< it has been seen waiting
    bool told_ = false;
    Ticker ticker_;
};

}  // namespace twupdate::cli
