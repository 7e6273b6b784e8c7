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
        started_ = stepStarted_ = Clock::now();
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

void Progress::RunFailed(const RunFailure& /*failure*/, const Counts& /*counts*/) {
    ticker_.reset();
    console_.ClearProgress();
}

void Progress::RunEnded(const Counts& /*counts*/, std::chrono::nanoseconds /*duration*/) {
    ticker_.reset();
    console_.ClearProgress();
}

void Progress::Doing(const std::string& activity) {
    const std::lock_guard lock(mutex_);
    activity_ = activity;
    Draw();
}

void Progress::LadderStarting(const Position& where, double /*version*/) {
    const std::lock_guard lock(mutex_);
    GoOn(where);
}

void Progress::StepStarting(const Position& where) {
    const std::lock_guard lock(mutex_);
    stepStarted_ = Clock::now();
    GoOn(where);
}

void Progress::StepEnded(const Position& where, std::chrono::nanoseconds duration,
                         std::uint64_t /*statements*/) {
    const std::lock_guard lock(mutex_);
    timeLeft_.StepMeasured(*where.step, duration);
}

void Progress::SiteStarting(const Position& where, double version) {
    const std::lock_guard lock(mutex_);
    timeLeft_.SiteStarting(version);
    GoOn(where);
}

void Progress::CallStarting(const Position& where) {
    const std::lock_guard lock(mutex_);
    callStarted_ = Clock::now();
    inCall_ = true;
    ++call_;
    where_ = where;
    activity_.clear();
}

void Progress::CallEnded(const Position& where, const Call& /*call*/) {
    const std::lock_guard lock(mutex_);
    inCall_ = false;
    wait_.reset();
    GoOn(where);
}

void Progress::DatabaseEnded(const DatabaseDone& done, const Counts& counts) {
    const std::lock_guard lock(mutex_);
    timeLeft_.SiteEnded();
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

void Progress::GoOn(const Position& where) {
    where_ = where;
    activity_.clear();
    if (Clock::now() - drawn_ >= kBetweenDrawings) {
        Draw();
    }
}

void Progress::Tick() {
    AskForWait();
    const std::lock_guard lock(mutex_);
    Draw();
}

void Progress::AskForWait() {
    std::unique_lock lock(mutex_);
    const auto now = Clock::now();
    if (!inCall_ || now - callStarted_ < kLong || now - asked_ < kBetweenQuestions) {
        return;
    }
    asked_ = now;
    const std::uint64_t call = call_;
    const std::string database = where_.database;
    lock.unlock();
    auto wait = findWait_(database);  // the run goes on meanwhile
    lock.lock();
    if (!inCall_ || call_ != call) {
        return;
    }
    wait_ = std::move(wait);
    if (wait_ && warnedCall_ != call && !console_.Interactive()) {
        warnedCall_ = call;
        console_.Warn(fmt::format("{}: a statement waits for a lock{}", database,
                                  wait_->holder.empty() ? "; the server does not show whose"
                                                        : " that may be held by " + wait_->holder));
    }
}

std::vector<std::string> Progress::Parts() const {
    const auto now = Clock::now();
    std::vector<std::string> parts;
    if (wait_) {
        parts.push_back(
            fmt::format("waits {} for {}", DurationText(now - callStarted_), wait_->brief));
    }
    if (sites_ > 0) {
        parts.push_back(fmt::format("{} of {}", Grouped(sitesDone_), Count(sites_, "site")));
    }
    std::string time = DurationText(now - started_);
    if (const auto left = timeLeft_.Estimate()) {
        time += fmt::format(", about {} left", DurationText(*left));
    }
    parts.push_back(std::move(time));
    if (!activity_.empty()) {
        parts.push_back(activity_);
        return parts;
    }
    parts.push_back(where_.database);
    if (where_.step) {
        parts.push_back(fmt::format("{} {}", LadderName(where_.step->ladder),
                                    VersionText(where_.step->threshold)));
        if (now - stepStarted_ >= kLong) {
            parts.push_back(fmt::format("step {}", DurationText(now - stepStarted_)));
        }
    }
    return parts;
}

void Progress::Draw() {
    if (console_.Interactive()) {
        drawn_ = Clock::now();
        console_.DrawProgress(Parts());
    }
}

}  // namespace twupdate::cli
