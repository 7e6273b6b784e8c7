#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "cli/run/progress_marks.h"
#include "cli/run/run_watch.h"
#include "cli/server/installation.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

struct JobOptions {
    /// The program begins with a few jobs and finds out how many pay.
    bool isAuto = false;
    unsigned number = 1;  ///< of the jobs, unless that is found out
};

/// Sites have failed, or the run was to stop, before the jobs had done all of them.
class JobsEnded : public std::exception {
  public:
    /// @param failures  at least one
    explicit JobsEnded(std::vector<RunFailure> failures) : failures_(std::move(failures)) {}
    const char* what() const noexcept override { return failures_.front().text.c_str(); }
    /// What has ended each site that was begun, in the order of time; those that were stopped last.
    const std::vector<RunFailure>& Failures() const { return failures_; }

  private:
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
    Jobs(const Session& session, const RunWatch& watch, const ProgressMarks& marks,
         MakeSinks makeSinks, JobOptions options, Console& console);
    ~Jobs();
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    /// Upgrades those of the sites that are still older when their turn comes.
    /// @throws JobsEnded once no job is at work any more
    /// @throws StopRequested when the run is to stop and no site was begun
    void Upgrade(std::vector<SiteRow> sites);

    /// Of all jobs.
    ServiceCounts Services() const;

  private:
    class Job;

    void Run();
    void Begin(std::unique_lock<std::mutex>& lock);
    void Work(std::unique_ptr<Job> job);
    std::optional<SiteRow> Next();
    void Failed(RunFailure failure);
    bool IsEnding() const;
    void Join();

    const Session& session_;
    const RunWatch& watch_;
    const ProgressMarks& marks_;
    const MakeSinks makeSinks_;
    const JobOptions options_;
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
