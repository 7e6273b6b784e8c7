#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "cli/run/run_sink.h"
#include "cli/run/time_left.h"
#include "cli/server/blockers.h"
#include "cli/terminal/console.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {

/// Tells the person how the run goes on: on a terminal a line that is drawn over every second,
/// otherwise a plain line for each database that is done. When a statement has taken five seconds
/// it asks every five seconds whether it waits for a lock, and tells whose.
class Progress final : public RunSink {
  public:
    /// Tells whether the current statement, in that database, waits for a lock. It is called from
    /// a thread of its own, and must not use the connection of the run nor throw.
    using FindWait = std::function<std::optional<LockWait>(const std::string& database)>;

    Progress(Console& console, FindWait findWait);

    /// What the program does itself between two statements, e.g. "dumping tw_7"; until the run
    /// goes on.
    void Doing(const std::string& activity);

    void RunStarting(const RunStart& start) override;
    void LadderStarting(const Position& where, double version) override;
    void StepStarting(const Position& where) override;
    void StepEnded(const Position& where, std::chrono::nanoseconds duration,
                   std::uint64_t statements) override;
    void SiteStarting(const Position& where, double version) override;
    void DatabaseEnded(const DatabaseDone& done, const Counts& counts) override;
    void CallStarting(const Position& where) override;
    void CallEnded(const Position& where, const Call& call) override;
    void RunFailed(const RunFailure& failure, const Counts& counts) override;
    void RunEnded(const Counts& counts, std::chrono::nanoseconds duration) override;

  private:
    void Tick();
    void AskForWait();
    void GoOn(const Position& where);
    std::vector<std::string> Parts() const;
    void Draw();

    Console& console_;
    const FindWait findWait_;

    std::mutex mutex_;  ///< guards what follows
    TimeLeft timeLeft_;
    Position where_;
    std::string activity_;
    std::uint64_t sites_ = 0;
    std::uint64_t sitesDone_ = 0;
    Clock::time_point started_ = Clock::now();
    Clock::time_point stepStarted_ = started_;
    Clock::time_point callStarted_ = started_;
    Clock::time_point drawn_;
    Clock::time_point asked_;
    bool inCall_ = false;
    std::uint64_t call_ = 0;        ///< the number of the current call
    std::uint64_t warnedCall_ = 0;  ///< the last one for which a warning was printed
    std::optional<LockWait> wait_;  ///< of the current call

    std::optional<Ticker> ticker_;  ///< from the start of the run to its end
};

}  // namespace twupdate::cli
