#include "cli/run/progress.h"

#include <fmt/format.h>

#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

// Often enough to look alive, rarely enough to cost nothing.
constexpr std::chrono::milliseconds kBetweenDrawings{100};

}  // namespace

void Progress::RunStarting(const RunStart& start) {
    started_ = Clock::now();
    sites_ = start.sites.size();
    std::vector<double> versions;
    for (const SiteRow& site : start.sites) {
        versions.push_back(site.version.value_or(0));
    }
    timeLeft_.Start(versions);
}

void Progress::LadderStarting(const Position& where, double /*version*/) {
    Draw(where);
}

void Progress::StepStarting(const Position& where) {
    Draw(where);
}

void Progress::StepEnded(const Position& where, std::chrono::nanoseconds duration,
                         std::uint64_t /*statements*/) {
    timeLeft_.StepMeasured(*where.step, duration);
}

void Progress::SiteStarting(const Position& /*where*/, double version) {
    timeLeft_.SiteStarting(version);
}

void Progress::CallEnded(const Position& where, const Call& /*call*/) {
    Draw(where);
}

void Progress::DatabaseEnded(const DatabaseDone& done, const Counts& counts) {
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

void Progress::Draw(const Position& where) {
    const auto now = Clock::now();
    if (!console_.Interactive() || now - drawn_ < kBetweenDrawings) {
        return;
    }
    drawn_ = now;
    std::string line = where.database;
    if (where.ladder) {
        line += fmt::format("  {}", LadderName(*where.ladder));
    }
    if (where.step) {
        line += fmt::format("  {}", where.step->name);
    }
    if (sites_ > 0) {
        line += fmt::format("  {}/{} sites", sitesDone_, sites_);
    }
    line += "  " + DurationText(now - started_);
    if (const auto left = timeLeft_.Estimate()) {
        line += fmt::format(", about {} left", DurationText(*left));
    }
    console_.DrawProgress(line);
}

}  // namespace twupdate::cli
