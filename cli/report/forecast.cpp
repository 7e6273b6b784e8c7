#include "cli/report/forecast.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>

#include "twupdate/ladder.h"

namespace twupdate::cli {
namespace {

using Seconds = std::chrono::duration<double>;

struct Cost {
    struct Kind {
        double statements = 0;
        double seconds = 0;
    };
    double seconds = 0;  ///< the time between statements included
    std::array<Kind, kStatementKinds> kinds{};

    void Add(const Cost& other, double share = 1) {
        seconds += other.seconds * share;
        for (std::size_t i = 0; i < kinds.size(); ++i) {
            kinds.at(i).statements += other.kinds.at(i).statements * share;
            kinds.at(i).seconds += other.kinds.at(i).seconds * share;
        }
    }
};

Cost CostOf(const StepRecord& step) {
    Cost cost;
    cost.seconds = Seconds(step.duration).count();
    for (std::size_t i = 0; i < step.kinds.size(); ++i) {
        cost.kinds.at(i) = {static_cast<double>(step.kinds.at(i).statements),
                            Seconds(step.kinds.at(i).time).count()};
    }
    return cost;
}

EventDuration DurationOf(double seconds) {
    constexpr double kLongest = 1e9;  // thirty years; the sum of a few of them can be counted
    return EventDuration(std::llround(std::min(seconds, kLongest) * 1e9));
}

/// What steps and whole databases have cost in earlier runs.
class Measured {
  public:
    explicit Measured(std::span<const RunRecord> runs) {
        for (const RunRecord& run : runs) {
            for (const DatabaseRecord& database : run.databases) {
                Take(database);
            }
        }
    }

    bool HadJobs() const { return hadJobs_; }

    /// The whole upgrade of that database from that version; nullptr if none was measured.
    const Cost* Whole(const std::string& name, double version) const {
        const auto found = whole_.find({name, version});
        return found == whole_.end() ? nullptr : &found->second;
    }

    /// The mean; of a step that was not measured that of all steps.
    Cost Mean(const std::string& step, std::set<std::string>& unmeasured) const {
        const auto found = steps_.find(step);
        if (found == steps_.end()) {
            unmeasured.insert(step);
        }
        const Sum& sum = found == steps_.end() ? all_ : found->second;
        Cost mean;
        if (sum.times > 0) {
            mean.Add(sum.cost, 1.0 / static_cast<double>(sum.times));
        }
        return mean;
    }

  private:
    struct Sum {
        Cost cost;
        std::uint64_t times = 0;
    };

    void Take(const DatabaseRecord& database) {
        hadJobs_ = hadJobs_ || database.job > 1;
        Cost whole;
        for (const StepRecord& step : database.steps) {
            const Cost cost = CostOf(step);
            whole.Add(cost);
            if (step.ended) {
                for (Sum* sum : {&steps_[step.name], &all_}) {
                    sum->cost.Add(cost);
                    ++sum->times;
                }
            }
        }
        if (database.ended) {
            whole.seconds = Seconds(database.duration).count();
            whole_[{database.name, database.from}] = whole;
        }
    }

    std::map<std::pair<std::string, double>, Cost> whole_;
    std::map<std::string, Sum> steps_;
    Sum all_;
    bool hadJobs_ = false;
};

Cost Expected(const Measured& measured, const Forecast::Database& database,
              std::set<std::string>& unmeasured) {
    const std::array ladders = database.isSite
                                   ? std::array{Ladder::kSiteSchema, Ladder::kSiteContent}
                                   : std::array{Ladder::kServer, Ladder::kServerData};
    Cost cost;
    for (const Ladder ladder : ladders) {
        for (const LadderStep& step : PendingSteps(ladder, database.version)) {
            cost.Add(measured.Mean(std::string(step.name), unmeasured));
        }
    }
    return cost;
}

}  // namespace

Forecast MakeForecast(std::span<const RunRecord> runs,
                      const std::vector<Forecast::Database>& databases) {
    const Measured measured(runs);
    Forecast forecast;
    forecast.databases = databases.size();
    forecast.hadJobs = measured.HadJobs();
    std::set<std::string> unmeasured;
    Cost sum;
    double siteSeconds = 0;
    for (const Forecast::Database& database : databases) {
        const Cost* whole = measured.Whole(database.name, database.version);
        const Cost cost = whole != nullptr ? *whole : Expected(measured, database, unmeasured);
        forecast.measuredThemselves += whole != nullptr ? 1U : 0U;
        sum.Add(cost);
        const EventDuration time = DurationOf(cost.seconds);
        if (database.isSite) {
            siteSeconds += cost.seconds;
            forecast.longest = std::max(forecast.longest, time);
        } else {
            forecast.central += time;
        }
    }
    forecast.sites = DurationOf(siteSeconds);
    for (std::size_t i = 0; i < kStatementKinds; ++i) {
        forecast.kinds.at(i) = {sum.kinds.at(i).statements, DurationOf(sum.kinds.at(i).seconds)};
    }
    forecast.unmeasuredSteps.assign(unmeasured.begin(), unmeasured.end());
    return forecast;
}

EventDuration Forecast::WithJobs(unsigned jobs) const {
    return std::max(Floor(), central + sites / static_cast<std::int64_t>(jobs));
}

EventDuration Forecast::Floor() const {
    const auto& changes = kinds.at(static_cast<std::size_t>(StatementKind::kTableChange));
    return central + std::max(longest, DurationOf(Seconds(changes.time).count() / kMostGain));
}

}  // namespace twupdate::cli
