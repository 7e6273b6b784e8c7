#include "cli/terminal/counted_progress.h"

#include <fmt/format.h>

#include <utility>

#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr std::chrono::milliseconds kBetweenDrawings{100};
constexpr std::chrono::seconds kBetweenLines{5};

}  // namespace

CountedProgress::CountedProgress(Console& console, std::string noun, std::size_t total)
    : console_(console), noun_(std::move(noun)), total_(total) {
    if (console_.Interactive()) {
        ticker_.emplace([this] {
            const std::lock_guard lock(mutex_);
            Draw();
        });
    } else {
        drawn_ = started_;  // the first plain line comes when there is something to wait for
    }
}

CountedProgress::~CountedProgress() {
    ticker_.reset();
    console_.ClearProgress();
}

void CountedProgress::Next(std::string label) {
    const std::lock_guard lock(mutex_);
    ++number_;
    label_ = std::move(label);
    const auto since = Clock::now() - drawn_;
    if (console_.Interactive() && since >= kBetweenDrawings) {
        Draw();
    } else if (console_.OnPlainTerminal() && since >= kBetweenLines) {
        drawn_ = Clock::now();
        console_.Say(fmt::format("{}", fmt::join(Parts(), ", ")));
    }
}

void CountedProgress::Waiting(std::string forWhat, unsigned job) {
    const std::lock_guard lock(mutex_);
    if (forWhat.empty()) {
        waitsFor_.erase(job);
    } else {
        waitsFor_[job] = std::move(forWhat);
    }
}

std::string CountedProgress::Place() const {
    const std::lock_guard lock(mutex_);
    return fmt::format("{} of {}", Grouped(number_), Grouped(total_));
}

std::vector<std::string> CountedProgress::Parts() const {
    const auto elapsed = Clock::now() - started_;
    std::string time = DurationText(elapsed);
    if (number_ > 1) {
        const auto each = elapsed / static_cast<std::int64_t>(number_ - 1);
        const auto left = each * static_cast<std::int64_t>(total_ - number_ + 1);
        time += fmt::format(", about {} left", DurationText(left));
    }
    std::vector<std::string> parts;
    if (!waitsFor_.empty()) {
        parts.push_back("waits for " + waitsFor_.begin()->second);
    }
    parts.push_back(fmt::format("{} of {}", Grouped(number_), Count(total_, noun_)));
    parts.push_back(std::move(time));
    if (!label_.empty()) {
        parts.push_back(label_);
    }
    return parts;
}

void CountedProgress::Draw() {
    drawn_ = Clock::now();
    if (number_ > 0 || !waitsFor_.empty()) {
        console_.DrawProgress({Parts()});
    }
}

}  // namespace twupdate::cli
