#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "cli/run/run_sink.h"
#include "twupdate/host.h"
#include "twupdate_host/listener.h"

namespace twupdate::cli {

/// What an error means for a run that stands there.
RunFailure FailureOf(const std::exception& error, const Position& where);

/// Watches one operation of the component: keeps where it stands and what it has done, and tells
/// the sinks. Where a run has several jobs, each has a watch of its own, in its own thread; they
/// share the counts and the sinks that record the run.
class RunWatch final : public Observer, public host::StatementListener {
  public:
    RunWatch();
    /// The watch of a job of that run.
    RunWatch(const RunWatch& run, unsigned job, std::uint64_t connection);

    /// A sink of this watch alone, told before the shared ones. It may use the server.
    void AddSink(std::shared_ptr<RunSink> sink);
    /// A sink of the run, told of every job, of one call at a time.
    void AddSharedSink(std::shared_ptr<RunSink> sink);

    /// The server's number of the connection, when it is another one now.
    void SetConnection(std::uint64_t connection) { where_.connection = connection; }

    /// What is done before each site and each step, for example to wait; it may throw. The jobs'
    /// watches that are made afterwards do it too.
    void SetPause(std::function<void(const Position& where)> pause);
    /// What is done when the central ladders have ended, before the component looks for sites.
    void SetBeforeSites(std::function<void()> beforeSites);
    /// What is done when the ladders of a site have ended and it is not yet told as done.
    void SetAfterLadders(std::function<void(std::int32_t siteId)> afterLadders);

    /// For a host that batches statements: hears of the component's calls, while this watch itself
    /// hears of what goes to the server. A stop is then before a call. Must not outlive the watch.
    std::shared_ptr<host::StatementListener> ForBatchedCalls();

    const Position& Where() const { return where_; }
    Counts Done() const;
    /// Once the jobs have ended.
    const std::vector<DatabaseDone>& Databases() const { return run_->databases; }
    std::chrono::nanoseconds Elapsed() const { return Clock::now() - run_->started; }

    /// The run begins; time counts from here.
    void Start(const RunStart& start);
    /// The operation has ended well.
    void End();
    /// What has ended here with this error. What follows is another site, or the same once more.
    RunFailure Leave(const std::exception& error);
    /// It is tried again.
    void Retry(const RunRetry& retry);
    void Waiting(const RunWait& wait);
    void WaitEnded(const RunWait& wait, std::chrono::nanoseconds duration);
    /// A site has failed, unless it was a stop.
    void FailSite(const RunFailure& failure);
    /// The run has ended with this failure.
    void Fail(const RunFailure& failure);
    /// All failures of sites, before Fail().
    void FailSites(const std::vector<RunFailure>& failures);

    void Before(const host::StatementEvent& event) override;
    void After(const host::StatementEvent& event, std::chrono::nanoseconds elapsed,
               const HostError* error) override;

    void LadderStarting(Ladder ladder, const std::string& database, double version) override;
    void LadderEnded(Ladder ladder, const std::string& database) override;
    void StepStarting(const LadderStep& step, const std::string& database) override;
    void StepEnded(const LadderStep& step, const std::string& database) override;
    void SiteWalkStarting() override;
    void SiteStarting(std::int32_t siteId, double version) override;
    void SiteEnded(std::int32_t siteId) override;
    void FileCopied(const std::filesystem::path& source,
                    const std::filesystem::path& destination) override;

  private:
    class BatchedCalls;

    /// What the watches of a run share.
    struct Run {
        std::mutex mutex;  ///< guards what follows
        std::vector<std::shared_ptr<RunSink>> sinks;
        Counts counts;
        std::vector<DatabaseDone> databases;
        Clock::time_point started = Clock::now();
    };

    void EndIfStopped() const;
    void CallEnded(const Call& call);
    void DatabaseStarting(const std::string& database, double version);
    void DatabaseEnded();
    /// Nothing is in progress.
    void Leave();

    template <typename Tell>
    void TellSinks(const Tell& tell) {
        for (const auto& sink : sinks_) {
            tell(*sink);
        }
        const std::lock_guard lock(run_->mutex);
        for (const auto& sink : run_->sinks) {
            tell(*sink);
        }
    }

    std::shared_ptr<Run> run_;
    std::vector<std::shared_ptr<RunSink>> sinks_;
    std::function<void(const Position&)> pause_;
    std::function<void()> beforeSites_;
    std::function<void(std::int32_t)> afterLadders_;
    Position where_;
    DatabaseDone current_;
    Clock::time_point databaseStarted_;
    Clock::time_point stepStarted_;
    std::uint64_t stepStatements_ = 0;
    bool batches_ = false;
    std::vector<SentStatement>
        sent_;  ///< in the component's call; only where statements are batched
};

}  // namespace twupdate::cli
