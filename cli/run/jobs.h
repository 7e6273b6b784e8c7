#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/run/progress_marks.h"
#include "cli/run/retries.h"
#include "cli/run/run_watch.h"
#include "cli/server/installation.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

struct JobOptions {
    /// The program begins with a few jobs and finds out how many pay.
    bool isAuto = false;
    unsigned number = 1;  ///< of the jobs, unless that is found out
    /// How many sites may fail while others are still begun.
    std::size_t mostFailures = 0;
    /// Statements are batched, also in the component's own walk; see host::BatchingUtility.
    bool batches = false;

    /// Otherwise the component's own walk upgrades the sites.
    bool AreWanted() const { return isAuto || number > 1 || mostFailures > 0; }
};

/// A site that a run leaves out because it would fail.
struct RefusedSite {
    SiteRow site;
    std::string why;
};

/// Sites have failed, or the run was to stop, before the jobs had done all of them.
class JobsEnded : public std::exception {
  public:
    enum class How : std::uint8_t {
        kFailed,      ///< there are sites that were not begun
        kStopped,     ///< as requested
        kIncomplete,  ///< all sites but the failed ones are done
    };

    /// @param failures  at least one
    JobsEnded(How how, std::vector<RunFailure> failures)
        : how_(how), failures_(std::move(failures)) {}
    const char* what() const noexcept override { return failures_.front().text.c_str(); }
    How HowEnded() const { return how_; }
    /// What has ended each site that was begun, in the order of time; those that were stopped last.
    const std::vector<RunFailure>& Failures() const { return failures_; }

  private:
    How how_;
    std::vector<RunFailure> failures_;
};

/// Upgrades sites several at a time. Each job has a thread, a connection and an Update of its own,
/// and sends for a site what the component's walk over the sites sends, the record of its version
/// included.
class Jobs {
  public:
    /// What belongs to the run of one job beside the records of all.
    using MakeSinks = std::function<std::vector<std::shared_ptr<RunSink>>(
        const Session& session, const std::shared_ptr<ProgressMarks>& marks)>;

    /// @param session  must outlive this, as all that follows; it is not used while jobs are at
    /// work
    Jobs(const Session& session, RunWatch& watch, const ProgressMarks& marks, MakeSinks makeSinks,
         JobOptions options, Retries& retries, Console& console);
    ~Jobs();
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    /// Upgrades those of the sites that are still older when their turn comes.
    /// @param refused  sites that are left out, each of which counts as failed
    /// @throws JobsEnded once no job is at work any more
    /// @throws StopRequested when the run is to stop and no site has failed or was stopped
    void Upgrade(std::vector<SiteRow> sites, const std::vector<RefusedSite>& refused);

    /// Of all jobs.
    ServiceCounts Services() const;

  private:
    class Job;

    void Run();
    void Begin(std::unique_lock<std::mutex>& lock);
    void Work(std::unique_ptr<Job> job);
    /// Upgrades the site, and tries again what may be tried again.
    /// @param job  is another one afterwards, if a new connection was needed; nullptr when it ends
    void Upgrade(std::unique_ptr<Job>& job, const SiteRow& site);
    /// The same job on a new connection.
    std::unique_ptr<Job> Replace(unsigned number, const RunRetry& retry);
    /// What a site has left in the session is not for another one.
    void GoOn(std::unique_ptr<Job>& job, unsigned number, const RunFailure& failure);
    std::optional<SiteRow> Next();
    /// @returns whether the job goes on
    bool Failed(RunFailure failure, bool endsRun);
    void Refuse(const std::vector<RefusedSite>& refused);
    void AddServicesOf(const Job& job);
    [[noreturn]] void ThrowFailures();
    void EndRun();
    bool IsEnding() const;
    void Join();

    const Session& session_;
    RunWatch& watch_;
    const ProgressMarks& marks_;
    const MakeSinks makeSinks_;
    const JobOptions options_;
    Retries& retries_;
    Console& console_;
    std::vector<std::thread> threads_;

    mutable std::mutex mutex_;  ///< guards what follows
    std::condition_variable changed_;
    std::deque<SiteRow> sites_;  ///< to be begun
    std::set<unsigned> atWork_;  ///< the numbers of the jobs
    unsigned wanted_ = 0;        ///< jobs
    unsigned most_ = 0;          ///< that the server takes
    bool ending_ = false;        ///< no more sites are begun
    std::vector<RunFailure> failures_;
    ServiceCounts services_;
};

}  // namespace twupdate::cli
