#include "cli/run/run_watch.h"

#include <fmt/format.h>

#include <utility>

#include "cli/run/stop_request.h"
#include "cli/terminal/text.h"
#include "twupdate/error.h"
#include "twupdate_host/batching_utility.h"

namespace twupdate::cli {
namespace {

constexpr const char* kCentralDatabase = "tw_tarnwick";

std::string SiteDatabaseName(std::int32_t siteId) {
    return "tw_" + std::to_string(siteId);
}

/// A call as the sinks hear of it.
Call CallOf(const host::StatementEvent& event, std::chrono::nanoseconds elapsed,
            const HostError* error) {
    Call call;
    call.operation = event.operation;
    call.sql = event.sql;
    call.params = event.params;
    call.service = event.service;
    call.siteId = event.siteId;
    call.componentId = event.componentId;
    call.duration = elapsed;
    call.failed = error != nullptr;
    return call;
}

}  // namespace

std::string FailureLine(const RunFailure& failure) {
    std::string line = "database " + failure.where.database;
    if (failure.where.ladder) {
        line += fmt::format(", {} ladder", LadderName(*failure.where.ladder));
    }
    if (failure.where.step) {
        line += fmt::format(", step {}", failure.where.step->name);
    }
    if (failure.stopped) {
        return line;  // who asked for it needs no reason
    }
    return line + ": " +
           DescribeError(failure.statement, failure.code, failure.sqlState, failure.text);
}

RunFailure FailureOf(const std::exception& error, const Position& where) {
    RunFailure failure;
    failure.where = where;
    failure.text = ErrorText(error);
    if (const auto* hostError = dynamic_cast<const HostError*>(&error)) {
        failure.statement = WithoutPasswords(hostError->Statement());
        failure.code = hostError->Code();
        failure.sqlState = hostError->SqlState();
    }
    if (const auto* late = dynamic_cast<const host::LateError*>(&error)) {
        failure.where.step = late->Step();
        failure.where.ladder = late->Step() ? std::optional(late->Step()->ladder) : std::nullopt;
    }
    failure.stopped = dynamic_cast<const StopRequested*>(&error) != nullptr;
    return failure;
}

/// The component's calls, where statements are batched.
class RunWatch::BatchedCalls : public host::StatementListener {
  public:
    explicit BatchedCalls(RunWatch& watch) : watch_(watch) {}

    void Before(const host::StatementEvent& event) override {
        watch_.sent_.clear();
        if (event.operation != host::Operation::kBatch) {
            watch_.EndIfStopped();
        }
    }
    void After(const host::StatementEvent& event, std::chrono::nanoseconds elapsed,
               const HostError* error) override {
        watch_.TellSinks([&](RunSink& sink) {
            sink.BatchedCallEnded(watch_.where_, CallOf(event, elapsed, error), watch_.sent_);
        });
    }

  private:
    RunWatch& watch_;
};

RunWatch::RunWatch() : run_(std::make_shared<Run>()) {}

RunWatch::RunWatch(const RunWatch& run, unsigned job, std::uint64_t connection)
    : run_(run.run_), pause_(run.pause_) {
    where_.job = job;
    where_.connection = connection;
}

void RunWatch::AddSink(std::shared_ptr<RunSink> sink) {
    sinks_.push_back(std::move(sink));
}

void RunWatch::AddSharedSink(std::shared_ptr<RunSink> sink) {
    run_->sinks.push_back(std::move(sink));
}

void RunWatch::SetPause(std::function<void(const Position&)> pause) {
    pause_ = std::move(pause);
}

void RunWatch::SetBeforeSites(std::function<void()> beforeSites) {
    beforeSites_ = std::move(beforeSites);
}

void RunWatch::SetAfterLadders(std::function<void(std::int32_t)> afterLadders) {
    afterLadders_ = std::move(afterLadders);
}

Counts RunWatch::Done() const {
    const std::lock_guard lock(run_->mutex);
    return run_->counts;
}

void RunWatch::Start(const RunStart& start) {
    run_->started = Clock::now();
    TellSinks([&](RunSink& sink) { sink.RunStarting(start); });
}

void RunWatch::End() {
    const auto elapsed = Elapsed();
    TellSinks([&](RunSink& sink) { sink.RunEnded(run_->counts, elapsed); });
}

RunFailure RunWatch::Leave(const std::exception& error) {
    const RunFailure failure = FailureOf(error, where_);
    Leave();
    return failure;
}

void RunWatch::Retry(const RunRetry& retry) {
    TellSinks([&](RunSink& sink) { sink.Retrying(retry); });
}

void RunWatch::Waiting(const RunWait& wait) {
    TellSinks([&](RunSink& sink) { sink.Waiting(wait); });
}

void RunWatch::WaitEnded(const RunWait& wait, std::chrono::nanoseconds duration) {
    TellSinks([&](RunSink& sink) { sink.WaitEnded(wait, duration); });
}

void RunWatch::FailSite(const RunFailure& failure) {
    if (failure.where.siteId && !failure.stopped) {
        TellSinks([&](RunSink& sink) { sink.SiteFailed(failure, run_->counts); });
    }
}

void RunWatch::FailSites(const std::vector<RunFailure>& failures) {
    TellSinks([&](RunSink& sink) { sink.SitesFailed(failures); });
}

void RunWatch::Fail(const RunFailure& failure) {
    TellSinks([&](RunSink& sink) { sink.RunFailed(failure, run_->counts); });
}

void RunWatch::Leave() {
    where_.database = kCentralDatabase;
    where_.siteId.reset();
    where_.ladder.reset();
    where_.step.reset();
}

std::shared_ptr<host::StatementListener> RunWatch::ForBatchedCalls() {
    batches_ = true;
    return std::make_shared<BatchedCalls>(*this);
}

void RunWatch::EndIfStopped() const {
    // A step that cannot simply run again is not stopped inside: the same command then resumes.
    if (StopSignals::Requested() && (!where_.step || where_.step->repeatable)) {
        throw StopRequested();
    }
}

void RunWatch::Before(const host::StatementEvent& /*event*/) {
    if (!batches_) {
        EndIfStopped();
    }
    TellSinks([&](RunSink& sink) { sink.CallStarting(where_); });
}

void RunWatch::After(const host::StatementEvent& event, std::chrono::nanoseconds elapsed,
                     const HostError* error) {
    CallEnded(CallOf(event, elapsed, error));
    if (batches_ && !event.sql.empty()) {
        sent_.push_back({std::string(event.sql), elapsed});
    }
}

void RunWatch::CallEnded(const Call& call) {
    using host::Operation;
    if (call.operation == Operation::kService || call.operation == Operation::kRefresh) {
        const std::lock_guard lock(run_->mutex);
        ++run_->counts.services;
    } else if (call.operation) {
        ++current_.statements;
        ++stepStatements_;
        const std::lock_guard lock(run_->mutex);
        ++run_->counts.statements;
    }
    TellSinks([&](RunSink& sink) { sink.CallEnded(where_, call); });
}

void RunWatch::DatabaseStarting(const std::string& database, double version) {
    where_.database = database;
    current_ = DatabaseDone{};
    current_.database = database;
    current_.job = where_.job;
    current_.from = version;
    databaseStarted_ = Clock::now();
}

void RunWatch::DatabaseEnded() {
    current_.duration = Clock::now() - databaseStarted_;
    {
        const std::lock_guard lock(run_->mutex);
        auto& databases = run_->databases;
        if (!current_.siteId) {  // a run that is tried again walks the central ladders again
            run_->counts.databases -= std::erase_if(databases, [&](const DatabaseDone& done) {
                return done.database == current_.database && !done.siteId;
            });
        }
        ++run_->counts.databases;
        run_->counts.sites += current_.siteId ? 1U : 0U;
        databases.push_back(current_);
    }
    TellSinks([&](RunSink& sink) { sink.DatabaseEnded(current_, run_->counts); });
    Leave();
}

void RunWatch::LadderStarting(Ladder ladder, const std::string& database, double version) {
    // The first of the two ladders on the central tables begins that database; a site's begins
    // with the site.
    if (ladder == Ladder::kServer) {
        DatabaseStarting(database, version);
    }
    where_.database = database;
    where_.ladder = ladder;
    TellSinks([&](RunSink& sink) { sink.LadderStarting(where_, version); });
}

void RunWatch::LadderEnded(Ladder ladder, const std::string& /*database*/) {
    TellSinks([&](RunSink& sink) { sink.LadderEnded(where_); });
    where_.ladder.reset();
    if (ladder == Ladder::kServerData) {
        DatabaseEnded();
    } else if (ladder == Ladder::kSiteContent) {
        // What follows is the record of the site's version.
        where_.database = kCentralDatabase;
    }
}

void RunWatch::StepStarting(const LadderStep& step, const std::string& /*database*/) {
    if (pause_) {
        pause_(where_);  // outside of the step, so that an end there needs no repair
    }
    where_.step = step;
    stepStatements_ = 0;
    stepStarted_ = Clock::now();
    TellSinks([&](RunSink& sink) { sink.StepStarting(where_); });
}

void RunWatch::StepEnded(const LadderStep& /*step*/, const std::string& /*database*/) {
    ++current_.steps;
    {
        const std::lock_guard lock(run_->mutex);
        ++run_->counts.steps;
    }
    const auto duration = Clock::now() - stepStarted_;
    TellSinks([&](RunSink& sink) { sink.StepEnded(where_, duration, stepStatements_); });
    where_.step.reset();
}

void RunWatch::SiteWalkStarting() {
    where_.database = kCentralDatabase;
    if (beforeSites_) {
        beforeSites_();
    }
    TellSinks([](RunSink& sink) { sink.SiteWalkStarting(); });
}

void RunWatch::SiteStarting(std::int32_t siteId, double version) {
    DatabaseStarting(SiteDatabaseName(siteId), version);
    current_.siteId = siteId;
    where_.siteId = siteId;
    if (pause_) {
        pause_(where_);
    }
    TellSinks([&](RunSink& sink) { sink.SiteStarting(where_, version); });
}

void RunWatch::SiteEnded(std::int32_t siteId) {
    if (afterLadders_) {
        afterLadders_(siteId);
    }
    DatabaseEnded();
}

void RunWatch::FileCopied(const std::filesystem::path& source,
                          const std::filesystem::path& destination) {
    Call copy;
    copy.siteId = where_.siteId;
    const std::string from = source.string();
    const std::string to = destination.string();
    copy.source = from;
    copy.destination = to;
    CallEnded(copy);
}

}  // namespace twupdate::cli
