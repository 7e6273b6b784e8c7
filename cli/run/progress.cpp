#include "cli/run/progress.h"

#include <fmt/format.h>

#include <utility>

#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

// Often enough to look alive, rarely enough to cost nothing.
constexpr std::chrono::milliseconds kBetweenDrawings{100};
constexpr std::chrono::seconds kLong{5};  // of a step or a statement
constexpr std::chrono::seconds kBetweenQuestions{5};

}  // namespace

Progress::Progress(Console& console, FindWait findWait)
    : console_(console), findWait_(std::move(findWait)) {}

void Progress::RunStarting(const RunStart& start) {
    {
        const std::lock_guard lock(mutex_);
        started_ = Clock::now();
        jobs_.clear();
        jobs_[0] = Job();
        sites_ = start.sites.size();
        sitesDone_ = 0;
        sitesFailed_ = 0;
        statements_ = 0;
        again_.clear();
        timeLeft_ = TimeLeft();
        std::vector<double> versions;
        for (const SiteRow& site : start.sites) {
            versions.push_back(site.version.value_or(0));
        }
        timeLeft_.Start(versions);
    }
    ticker_.emplace([this] { Tick(); });
}

void Progress::SiteFailed(const RunFailure& failure, const Counts& /*counts*/) {
    {
        const std::lock_guard lock(mutex_);
        ++sitesFailed_;
        again_.erase(failure.where.siteId.value_or(0));
        SiteLeft(failure.where.job);
    }
    if (failure.where.job > 0) {  // the other jobs go on for a while
        console_.Error("failed: " + FailureLine(failure));
    }
}

void Progress::Retrying(const RunRetry& retry) {
    {
        const std::lock_guard lock(mutex_);
        Rest(retry.failure.where.job);  // its steps are still to come
        if (retry.failure.where.siteId) {
            again_.insert(*retry.failure.where.siteId);
        }
    }
    console_.Warn(RetryLine(retry));
}

void Progress::Waiting(const RunWait& wait) {
    {
        const std::lock_guard lock(mutex_);
        runWait_ = wait;
    }
    console_.Warn("waits: " + wait.reason);
}

void Progress::WaitEnded(const RunWait& wait, std::chrono::nanoseconds duration) {
    {
        const std::lock_guard lock(mutex_);
        runWait_.reset();
    }
    console_.Say(fmt::format("goes on after {}: {}", DurationText(duration), wait.reason));
}

void Progress::RunFailed(const RunFailure& /*failure*/, const Counts& /*counts*/) {
    End();
}

void Progress::RunEnded(const Counts& /*counts*/, std::chrono::nanoseconds /*duration*/) {
    End();
}

void Progress::End() {
    ticker_.reset();
    console_.ClearProgress();
    const std::lock_guard lock(mutex_);
    jobs_.clear();
    jobs_[0].atWork = false;
    runWait_.reset();
}

void Progress::Doing(const Position& where, const std::string& activity) {
    const std::lock_guard lock(mutex_);
    Job& job = jobs_[where.job];
    job.atWork = true;
    job.activity = activity;
    Draw();
}

void Progress::LadderStarting(const Position& where, double /*version*/) {
    const std::lock_guard lock(mutex_);
    GoOn(where);
}

void Progress::StepStarting(const Position& where) {
    const std::lock_guard lock(mutex_);
    jobs_[where.job].stepStarted = Clock::now();
    GoOn(where);
}

void Progress::StepEnded(const Position& where, std::chrono::nanoseconds duration,
                         std::uint64_t /*statements*/) {
    const std::lock_guard lock(mutex_);
    timeLeft_.StepMeasured(*where.step, duration, where.job);
}

void Progress::SiteStarting(const Position& where, double version) {
    const std::lock_guard lock(mutex_);
    if (again_.erase(*where.siteId) > 0) {
        timeLeft_.SiteAgain(version, where.job);
    } else {
        timeLeft_.SiteStarting(version, where.job);
    }
    jobs_[where.job].atWork = true;
    jobs_[where.job].stepStarted = Clock::now();
    GoOn(where);
}

void Progress::CallStarting(const Position& where) {
    const std::lock_guard lock(mutex_);
    Job& job = jobs_[where.job];
    job.callStarted = Clock::now();
    job.inCall = true;
    ++job.call;
    job.where = where;
    job.activity.clear();
}

void Progress::CallEnded(const Position& where, const Call& call) {
    const std::lock_guard lock(mutex_);
    statements_ += call.operation ? 1U : 0U;
    Job& job = jobs_[where.job];
    job.inCall = false;
    job.wait.reset();
    GoOn(where);
}

void Progress::DatabaseEnded(const DatabaseDone& done, const Counts& counts) {
    const std::lock_guard lock(mutex_);
    SiteLeft(done.job);
    sitesDone_ = counts.sites;
    if (console_.Interactive()) {
        return;
    }
    const std::string sites = done.siteId && sites_ > 0
                                  ? fmt::format(" ({} of {})", sitesDone_, Count(sites_, "site"))
                                  : "";
    console_.Say(fmt::format("{}: ladders from {} done: {}, {}, {}{}", done.database,
                             VersionText(done.from), Count(done.steps, "step"),
                             Count(done.statements, "statement"), DurationText(done.duration),
                             sites));
}

void Progress::SiteLeft(unsigned job) {
    timeLeft_.SiteEnded(job);
    Rest(job);
}

void Progress::Rest(unsigned job) {
    jobs_[job] = Job();
    jobs_[job].atWork = job == 0;
}

void Progress::GoOn(const Position& where) {
    Job& job = jobs_[where.job];
    job.where = where;
    job.activity.clear();
    if (Clock::now() - drawn_ >= kBetweenDrawings) {
        Draw();
    }
}

void Progress::Tick() {
    std::vector<unsigned> jobs;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [number, job] : jobs_) {
            jobs.push_back(number);
        }
    }
    for (const unsigned number : jobs) {
        AskForWait(number);
    }
    const std::lock_guard lock(mutex_);
    Draw();
}

void Progress::AskForWait(unsigned number) {
    std::unique_lock lock(mutex_);
    const auto now = Clock::now();
    const auto asked = jobs_.find(number);
    if (asked == jobs_.end()) {
        return;
    }
    Job& job = asked->second;
    if (!job.inCall || now - job.callStarted < kLong || now - job.asked < kBetweenQuestions) {
        return;
    }
    job.asked = now;
    const std::uint64_t call = job.call;
    const Position where = job.where;
    lock.unlock();
    auto wait = findWait_(where);  // the run goes on meanwhile
    lock.lock();
    const auto again = jobs_.find(number);
    if (again == jobs_.end() || !again->second.inCall || again->second.call != call) {
        return;
    }
    again->second.wait = std::move(wait);
    const auto& found = again->second.wait;
    if (found && again->second.warnedCall != call && !console_.Interactive()) {
        again->second.warnedCall = call;
        console_.Warn(fmt::format("{}: {}", where.database, found->Text()));
    }
}

ProgressFigures Progress::Figures() const {
    const std::lock_guard lock(mutex_);
    ProgressFigures figures;
    figures.sites = sites_;
    figures.sitesDone = sitesDone_;
    figures.sitesFailed = sitesFailed_;
    figures.statements = statements_;
    figures.left = timeLeft_.Estimate();
    figures.isPaused = runWait_.has_value();
    for (const auto& [number, job] : jobs_) {
        const bool isAtWork = job.atWork && (number > 0 || !HasJobs());
        figures.jobs += isAtWork ? 1U : 0U;
        figures.sitesInProgress += isAtWork && job.where.siteId ? 1U : 0U;
        figures.waiting += job.wait ? 1U : 0U;
    }
    return figures;
}

/// How the run goes on as a whole.
std::vector<std::string> Progress::WholeLine() const {
    std::vector<std::string> parts;
    if (runWait_) {
        const auto time = std::chrono::system_clock::now() - runWait_->since;
        parts.push_back(fmt::format("waits {}: {}", DurationText(time), runWait_->reason));
    }
    if (sites_ > 0) {
        parts.push_back(fmt::format("{} of {}", Grouped(sitesDone_), Count(sites_, "site")));
    }
    if (sitesFailed_ > 0) {
        parts.push_back(fmt::format("{} failed", Grouped(sitesFailed_)));
    }
    std::string time = DurationText(Clock::now() - started_);
    if (const auto left = timeLeft_.Estimate()) {
        time += fmt::format(", about {} left", DurationText(*left));
    }
    parts.push_back(std::move(time));
    return parts;
}

std::vector<std::vector<std::string>> Progress::Lines() const {
    if (!HasJobs()) {
        const Job& run = jobs_.begin()->second;
        std::vector<std::string> line;
        AddWait(run, line);
        for (std::string& part : WholeLine()) {
            line.push_back(std::move(part));
        }
        AddPlace(run, line);
        if (const auto time = Clock::now() - run.stepStarted; run.where.step && time >= kLong) {
            line.push_back(fmt::format("step {}", DurationText(time)));
        }
        return {line};
    }
    std::vector<std::vector<std::string>> lines{WholeLine()};
    for (const auto& [number, job] : jobs_) {
        if (number == 0) {  // the run itself waits for its jobs
            continue;
        }
        std::vector<std::string> line{fmt::format("job {}", number)};
        if (job.atWork) {
            AddWait(job, line);
            AddPlace(job, line);
            line.push_back(DurationText(Clock::now() - job.stepStarted));
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

void Progress::AddWait(const Job& job, std::vector<std::string>& parts) {
    if (job.wait) {
        parts.push_back(fmt::format("waits {} for {}", DurationText(Clock::now() - job.callStarted),
                                    job.wait->brief));
    }
}

void Progress::AddPlace(const Job& job, std::vector<std::string>& parts) {
    if (!job.activity.empty()) {
        parts.push_back(job.activity);
        return;
    }
    parts.push_back(job.where.database);
    if (job.where.step) {
        parts.push_back(fmt::format("{} {}", LadderName(job.where.step->ladder),
                                    VersionText(job.where.step->threshold)));
    }
}

void Progress::Draw() {
    if (console_.Interactive()) {
        drawn_ = Clock::now();
        console_.DrawProgress(Lines());
    }
}

}  // namespace twupdate::cli
