#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/run/run_sink.h"
#include "cli/run/time_left.h"
#include "cli/server/blockers.h"
#include "cli/terminal/console.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {

/// What a run has done and what is still to come.
struct ProgressFigures {
    std::uint64_t sites = 0;  ///< that the run is to upgrade
    std::uint64_t sitesDone = 0;
    std::uint64_t sitesFailed = 0;
    std::uint64_t sitesInProgress = 0;
    std::uint64_t statements = 0;
    std::uint64_t jobs = 0;     ///< at work; 1 while the run has none of its own
    std::uint64_t waiting = 0;  ///< statements that wait for a lock, as far as that is known
    bool isPaused = false;      ///< because the server or a replica has too much to do
    std::optional<std::chrono::nanoseconds> left;
};

/// Tells the person how the run goes on: on a terminal a line that is drawn over every second, and
/// one for each job if there are several; otherwise a plain line for each database that is done.
/// When a statement has taken five seconds it asks every five seconds whether it waits for a lock,
/// and tells whose.
class Progress final : public RunSink {
  public:
    /// Tells whether the current statement there waits for a lock. It is called from a thread of
    /// its own, and must not use a connection of the run nor throw.
    using FindWait = std::function<std::optional<LockWait>(const Position& where)>;

    Progress(Console& console, FindWait findWait);

    /// What the program does itself between two statements, e.g. "dumping tw_7"; until the run
    /// goes on.
    void Doing(const Position& where, const std::string& activity);

    /// May be called from any thread.
    ProgressFigures Figures() const;

    void RunStarting(const RunStart& start) override;
    void LadderStarting(const Position& where, double version) override;
    void StepStarting(const Position& where) override;
    void StepEnded(const Position& where, std::chrono::nanoseconds duration,
                   std::uint64_t statements) override;
    void SiteStarting(const Position& where, double version) override;
    void DatabaseEnded(const DatabaseDone& done, const Counts& counts) override;
    void CallStarting(const Position& where) override;
    void CallEnded(const Position& where, const Call& call) override;
    void Retrying(const RunRetry& retry) override;
    void Waiting(const RunWait& wait) override;
    void WaitEnded(const RunWait& wait, std::chrono::nanoseconds duration) override;
    void SiteFailed(const RunFailure& failure, const Counts& counts) override;
    void RunFailed(const RunFailure& failure, const Counts& counts) override;
    void RunEnded(const Counts& counts, std::chrono::nanoseconds duration) override;

  private:
    /// What one job of the run does, or the run itself.
    struct Job {
        bool atWork = true;  ///< it has a site, or is the run itself
        Position where;
        std::string activity;
        Clock::time_point stepStarted = Clock::now();
        Clock::time_point callStarted;
        Clock::time_point asked;
        bool inCall = false;
        std::uint64_t call = 0;        ///< the number of the current call
        std::uint64_t warnedCall = 0;  ///< the last one of which a warning told that it waits
        std::optional<LockWait> wait;  ///< of the current call
    };

    void End();
    void Tick();
    void AskForWait(unsigned number);
    void GoOn(const Position& where);
    /// The job has no current site.
    void SiteLeft(unsigned job);
    /// The job does nothing for now.
    void Rest(unsigned job);
    bool HasJobs() const { return jobs_.size() > 1; }
    std::vector<std::string> WholeLine() const;
    std::vector<std::vector<std::string>> Lines() const;
    static void AddWait(const Job& job, std::vector<std::string>& parts);
    static void AddPlace(const Job& job, std::vector<std::string>& parts);
    void Draw();

    Console& console_;
    const FindWait findWait_;

    mutable std::mutex mutex_;  ///< guards what follows
    TimeLeft timeLeft_;
    std::map<unsigned, Job> jobs_;    ///< by number; the run is 0
    std::set<std::int32_t> again_;    ///< sites that have begun and will begin again
    std::optional<RunWait> runWait_;  ///< that of all jobs
    std::uint64_t sites_ = 0;
    std::uint64_t sitesDone_ = 0;
    std::uint64_t sitesFailed_ = 0;
    std::uint64_t statements_ = 0;
    Clock::time_point started_ = Clock::now();
    Clock::time_point drawn_;

    std::optional<Ticker> ticker_;  ///< from the start of the run to its end
};

}  // namespace twupdate::cli
