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
        SiteLeft(failure.where.job);
    }
    if (failure.where.job > 0) {  // the other jobs go on for a while
        console_.Error("failed: " + FailureLine(failure));
    }
}

void Progress::RunFailed(const RunFailure& /*failure*/, const Counts& /*counts*/) {
    ticker_.reset();
    console_.ClearProgress();
}

void Progress::RunEnded(const Counts& /*counts*/, std::chrono::nanoseconds /*duration*/) {
    ticker_.reset();
    console_.ClearProgress();
}

void Progress::Doing(const Position& where, const std::string& activity) {
    const std::lock_guard lock(mutex_);
    jobs_[where.job].activity = activity;
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
    timeLeft_.SiteStarting(version, where.job);
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

void Progress::CallEnded(const Position& where, const Call& /*call*/) {
    const std::lock_guard lock(mutex_);
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
    if (job > 0) {
        jobs_.erase(job);
    }
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

std::vector<const Progress::Job*> Progress::InHand() const {
    std::vector<const Job*> jobs;
    for (const auto& [number, job] : jobs_) {
        if (number > 0 || jobs_.size() == 1) {  // the run itself waits for its jobs
            jobs.push_back(&job);
        }
    }
    return jobs;
}

std::vector<std::string> Progress::Parts() const {
    const auto now = Clock::now();
    const auto jobs = InHand();
    std::vector<std::string> parts;
    for (const Job* job : jobs) {
        if (job->wait) {
            parts.push_back(fmt::format("waits {} for {}", DurationText(now - job->callStarted),
                                        job->wait->brief));
        }
    }
    if (sites_ > 0) {
        parts.push_back(fmt::format("{} of {}", Grouped(sitesDone_), Count(sites_, "site")));
    }
    std::string time = DurationText(now - started_);
    if (const auto left = timeLeft_.Estimate()) {
        time += fmt::format(", about {} left", DurationText(*left));
    }
    parts.push_back(std::move(time));
    for (const Job* job : jobs) {
        AddParts(*job, parts);
    }
    return parts;
}

void Progress::AddParts(const Job& job, std::vector<std::string>& parts) {
    if (!job.activity.empty()) {
        parts.push_back(job.activity);
        return;
    }
    parts.push_back(job.where.database);
    if (job.where.step) {
        parts.push_back(fmt::format("{} {}", LadderName(job.where.step->ladder),
                                    VersionText(job.where.step->threshold)));
        if (const auto time = Clock::now() - job.stepStarted; time >= kLong) {
            parts.push_back(fmt::format("step {}", DurationText(time)));
        }
    }
}

void Progress::Draw() {
    if (console_.Interactive()) {
        drawn_ = Clock::now();
        console_.DrawProgress(Parts());
    }
}

}  // namespace twupdate::cli
