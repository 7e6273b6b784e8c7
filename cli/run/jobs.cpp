#include "cli/run/jobs.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "cli/run/job_number.h"
#include "cli/run/resume.h"
#include "cli/run/run_lock.h"
#include "cli/run/site_order.h"
#include "cli/run/stop_request.h"
#include "cli/server/cluster.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/update.h"

namespace twupdate::cli {
namespace {

constexpr unsigned kMostAuto = 8;
// A cluster runs statements that change tables one after the other on all of its nodes.
constexpr unsigned kMostAutoOnACluster = 2;
constexpr std::chrono::seconds kRound{5};  // after which the number of jobs is thought over

}  // namespace

/// What one job works with.
class Jobs::Job {
  public:
    Job(const Jobs& jobs, unsigned number)
        : number_(number),
          session_(jobs.session_),
          watch_(std::make_shared<RunWatch>(jobs.watch_, number,
                                            session_.GetConnection()->ThreadId())) {
        marks_ = std::make_shared<ProgressMarks>(session_.GetConnection(), jobs.marks_);
        marks_->SiteWalkStarting();
        for (auto& sink : jobs.makeSinks_(session_, marks_)) {
            watch_->AddSink(std::move(sink));
        }
        host_ = session_.ForComponent(watch_, watch_,
                                      jobs.options_.batches ? watch_->ForBatchedCalls() : nullptr);
        watch_->SetAfterLadders([this](std::int32_t siteId) { RecordVersion(*host_, siteId); });
        update_.Configure(host_);
    }

    unsigned Number() const { return number_; }
    ServiceCounts Services() const { return session_.Services(); }

    /// @param again  an earlier job has not completed it
    void Upgrade(std::int64_t siteId, bool again) {
        // Since the run began, the platform may have set the site aside.
        const auto site = Installation(session_.Own()).Site(siteId);
        if (site && site->State() == SiteState::kOld) {
            const std::string database = fmt::format("tw_{}", siteId);
            if (again) {
                marks_->ReadAgain(database);
            }
            session_.Run([&] {
                update_.UpdateSite(static_cast<std::int32_t>(siteId),
                                   marks_->ResumeVersion(database, *site->version));
            });
        }
    }

    RunFailure Leave(const std::exception& error) { return watch_->Leave(error); }
    host::Connection& GetConnection() const { return *session_.GetConnection(); }

  private:
    unsigned number_;
    Session session_;
    std::shared_ptr<RunWatch> watch_;
    std::shared_ptr<ProgressMarks> marks_;
    std::shared_ptr<Utility> host_;
    Update update_;
};

Jobs::Jobs(const Session& session, RunWatch& watch, const ProgressMarks& marks, MakeSinks makeSinks,
           JobOptions options, Retries& retries, Console& console)
    : session_(session),
      watch_(watch),
      marks_(marks),
      makeSinks_(std::move(makeSinks)),
      options_(options),
      retries_(retries),
      console_(console) {}

Jobs::~Jobs() {
    Join();
}

void Jobs::Upgrade(std::vector<SiteRow> sites, const std::vector<RefusedSite>& refused) {
    failures_.clear();  // of an earlier call
    Refuse(refused);
    SortLongestFirst(sites, *session_.GetConnection());
    sites_.assign(sites.begin(), sites.end());
    most_ = std::numeric_limits<unsigned>::max();
    try {
        Run();
    } catch (...) {
        EndRun();
        Join();
        throw;
    }
    Join();
    if (!failures_.empty()) {
        ThrowFailures();
    }
    if (!sites_.empty()) {
        throw StopRequested();
    }
}

void Jobs::ThrowFailures() {
    using How = JobsEnded::How;
    std::stable_partition(failures_.begin(), failures_.end(),
                          [](const RunFailure& failure) { return !failure.stopped; });
    throw JobsEnded(ending_                                       ? How::kFailed
                    : failures_.back().stopped || !sites_.empty() ? How::kStopped
                                                                  : How::kIncomplete,
                    failures_);
}

void Jobs::Refuse(const std::vector<RefusedSite>& refused) {
    for (const RefusedSite& one : refused) {
        RunFailure failure;
        failure.where.siteId = static_cast<std::int32_t>(one.site.siteId);
        failure.where.database = fmt::format("tw_{}", one.site.siteId);
        failure.text = FactOf(one.why);
        watch_.FailSite(failure);
        failures_.push_back(std::move(failure));
    }
}

/// Begins jobs as they are needed, until none is at work any more.
void Jobs::Run() {
    std::optional<JobNumber> number;
    if (options_.isAuto) {
        number.emplace(IsClusterNode(*session_.GetConnection()) ? kMostAutoOnACluster : kMostAuto);
    }
    auto roundBegan = Clock::now();
    std::uint64_t statementsBefore = 0;
    std::unique_lock lock(mutex_);
    while (true) {
        wanted_ = std::min(number ? number->Now() : options_.number, most_);
        while (!IsEnding() && atWork_.size() < wanted_) {
            Begin(lock);
            roundBegan = Clock::now();
            statementsBefore = watch_.Done().statements;
        }
        if (atWork_.empty()) {
            return;
        }
        changed_.wait_for(lock, std::chrono::seconds(1));
        if (number && atWork_.size() == wanted_ && Clock::now() - roundBegan >= kRound) {
            const std::uint64_t statements = watch_.Done().statements;
            const std::chrono::duration<double> seconds = Clock::now() - roundBegan;
            number->Next(static_cast<double>(statements - statementsBefore) / seconds.count());
            roundBegan = Clock::now();
            statementsBefore = statements;
        }
    }
}

void Jobs::Begin(std::unique_lock<std::mutex>& lock) {
    unsigned number = 1;
    while (atWork_.contains(number)) {
        ++number;
    }
    lock.unlock();
    std::unique_ptr<Job> job;
    std::string refusal;
    try {
        job = std::make_unique<Job>(*this, number);
    } catch (const CommandError& error) {
        refusal = error.what();
    }
    lock.lock();
    if (!job) {
        if (atWork_.empty()) {
            throw CommandError(refusal);
        }
        most_ = wanted_ = static_cast<unsigned>(atWork_.size());
        console_.Warn(fmt::format("no more than {} at a time: {}", Count(most_, "site"), refusal));
        return;
    }
    threads_.emplace_back([this, begun = std::move(job)]() mutable { Work(std::move(begun)); });
    atWork_.insert(number);
}

void Jobs::Work(std::unique_ptr<Job> job) {
    const unsigned number = job->Number();
    while (job) {
        const auto site = Next();
        if (!site) {
            break;
        }
        Upgrade(job, *site);
    }
    if (job) {
        AddServicesOf(*job);
        job.reset();
    }
    const std::lock_guard lock(mutex_);
    atWork_.erase(number);
    changed_.notify_all();
}

void Jobs::Upgrade(std::unique_ptr<Job>& job, const SiteRow& site) {
    const unsigned number = job->Number();
    std::optional<RunRetry> retry;
    while (true) {
        RunFailure failure;
        bool endsRun = false;
        try {
            if (retry) {
                job = Replace(number, *retry);
            }
            job->Upgrade(site.siteId, retry.has_value());
            return;
        } catch (const ServerGone& gone) {
            failure = retry->failure;
            endsRun = true;
            if (!gone.IsFirst()) {
                EndRun();
                return;
            }
        } catch (const std::exception& error) {
            failure = job ? job->Leave(error) : FailureOf(error, {});
            if (retry && !failure.where.siteId) {
                failure.where = retry->failure.where;
            }
            endsRun = dynamic_cast<const LockLost*>(&error) != nullptr ||
                      (!job && dynamic_cast<const HostError*>(&error) == nullptr);
        }
        if (job) {
            AddServicesOf(*job);
            job.reset();
        }
        retry = endsRun ? std::nullopt : retries_.Next(site.siteId, failure);
        if (!retry) {
            watch_.FailSite(failure);
            if (Failed(failure, endsRun)) {
                GoOn(job, number, failure);
            }
            return;
        }
        watch_.Retry(*retry);
    }
}

std::unique_ptr<Jobs::Job> Jobs::Replace(unsigned number, const RunRetry& retry) {
    std::unique_ptr<Job> job;
    retries_.Reconnect(retry, [&]() -> host::Connection& {
        job = std::make_unique<Job>(*this, number);
        return job->GetConnection();
    });
    return job;
}

void Jobs::GoOn(std::unique_ptr<Job>& job, unsigned number, const RunFailure& failure) {
    try {
        job = Replace(number, {failure, 1, std::chrono::seconds(0)});
    } catch (const StopRequested&) {
        // No other site is begun.
    } catch (const ServerGone& gone) {
        EndRun();
        if (gone.IsFirst()) {
            console_.Error(gone.what());
        }
    } catch (const std::exception& error) {
        RunFailure ended = FailureOf(error, {});
        ended.where.job = number;
        Failed(std::move(ended), true);
    }
}

void Jobs::AddServicesOf(const Job& job) {
    const ServiceCounts services = job.Services();
    const std::lock_guard lock(mutex_);
    services_.carriedOut += services.carriedOut;
    services_.recorded += services.recorded;
}

std::optional<SiteRow> Jobs::Next() {
    const std::lock_guard lock(mutex_);
    if (IsEnding() || atWork_.size() > wanted_) {
        return std::nullopt;
    }
    SiteRow site = std::move(sites_.front());
    sites_.pop_front();
    return site;
}

bool Jobs::Failed(RunFailure failure, bool endsRun) {
    const std::lock_guard lock(mutex_);
    const bool isOfSite = failure.where.siteId && !endsRun;
    const bool stopped = failure.stopped;
    failures_.push_back(std::move(failure));
    if (stopped) {
        return false;
    }
    const auto failed = static_cast<std::size_t>(std::count_if(
        failures_.begin(), failures_.end(), [](const RunFailure& one) { return !one.stopped; }));
    ending_ = ending_ || !isOfSite || failed > options_.mostFailures;
    return !ending_;
}

void Jobs::EndRun() {
    const std::lock_guard lock(mutex_);
    ending_ = true;
}

bool Jobs::IsEnding() const {
    return ending_ || sites_.empty() || StopSignals::Requested();
}

ServiceCounts Jobs::Services() const {
    const std::lock_guard lock(mutex_);
    return services_;
}

void Jobs::Join() {
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

}  // namespace twupdate::cli
