#include "cli/run/time_left.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace twupdate::cli {
namespace {

constexpr std::array kSiteLadders{Ladder::kSiteSchema, Ladder::kSiteContent};

}  // namespace

std::optional<std::chrono::nanoseconds> TimeLeft::Measured::Mean() const {
    if (count == 0) {
        return std::nullopt;
    }
    return sum / static_cast<std::int64_t>(count);
}

void TimeLeft::Start(const std::vector<double>& versions) {
    for (const double version : versions) {
        // A NaN cannot be a key; it runs what 0 runs.
        ++toCome_[std::isnan(version) ? 0.0 : version];
    }
}

void TimeLeft::StepMeasured(const LadderStep& step, std::chrono::nanoseconds duration,
                            unsigned job) {
    const Key key{step.ladder, step.number};
    for (Measured* measured : {&measured_[key], &all_}) {
        ++measured->count;
        measured->sum += duration;
    }
    if (const auto inHand = pending_.find(job); inHand != pending_.end()) {
        std::erase(inHand->second, key);
    }
}

void TimeLeft::SiteStarting(double version, unsigned job) {
    const auto group = toCome_.find(std::isnan(version) ? 0.0 : version);
    if (group != toCome_.end() && --group->second == 0) {
        toCome_.erase(group);
    }
    SiteAgain(version, job);
}

void TimeLeft::SiteAgain(double version, unsigned job) {
    auto& pending = pending_[job];
    pending.clear();
    for (const Ladder ladder : kSiteLadders) {
        for (const LadderStep& step : PendingSteps(ladder, version)) {
            pending.emplace_back(ladder, step.number);
        }
    }
}

void TimeLeft::SiteEnded(unsigned job) {
    pending_.erase(job);
}

std::optional<std::chrono::nanoseconds> TimeLeft::Estimate() const {
    const auto mean = all_.Mean();
    if (!mean) {
        return std::nullopt;
    }
    const auto timeOf = [&](const Key& key) {
        const auto measured = measured_.find(key);
        return measured == measured_.end() ? *mean : measured->second.Mean().value_or(*mean);
    };
    std::chrono::nanoseconds left{0};
    for (const auto& [job, pending] : pending_) {
        for (const Key& key : pending) {
            left += timeOf(key);
        }
    }
    for (const auto& [version, sites] : toCome_) {
        for (const Ladder ladder : kSiteLadders) {
            for (const LadderStep& step : LadderSteps(ladder)) {
                if (IsBelow(version, step.threshold)) {
                    left += timeOf({ladder, step.number}) * static_cast<std::int64_t>(sites);
                }
            }
        }
    }
    return left / std::max<std::int64_t>(1, static_cast<std::int64_t>(pending_.size()));
}

}  // namespace twupdate::cli
