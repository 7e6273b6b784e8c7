#include "cli/report/run_figures.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace twupdate::cli {
namespace {

template <typename Visit>
void ForEachStep(std::span<const RunRecord> runs, const Visit& visit) {
    for (const RunRecord& run : runs) {
        for (const DatabaseRecord& database : run.databases) {
            for (const StepRecord& step : database.steps) {
                visit(StepRun{&step, &database});
            }
        }
    }
}

template <typename Total, typename Key>
void SortFromLargest(std::vector<Total>& totals, const Key& key) {
    std::stable_sort(totals.begin(), totals.end(),
                     [&](const Total& a, const Total& b) { return key(a) > key(b); });
}

template <typename Key, typename Total>
std::vector<Total> Values(std::map<Key, Total>& totals) {
    std::vector<Total> values;
    values.reserve(totals.size());
    for (auto& [key, total] : totals) {
        values.push_back(std::move(total));
    }
    return values;
}

DatabaseTotal::Outcome OutcomeOf(const DatabaseRecord& database, const RunRecord& run) {
    using Outcome = DatabaseTotal::Outcome;
    if (database.ended) {
        return Outcome::kUpgraded;
    }
    return run.end == RunEnd::kFailed    ? Outcome::kFailed
           : run.end == RunEnd::kStopped ? Outcome::kStopped
                                         : Outcome::kNotEnded;
}

bool IsFixed(const FailureRecord& failure, const RunRecord& run, std::span<const RunRecord> later) {
    return std::any_of(later.begin(), later.end(), [&](const RunRecord& next) {
        // What failed outside of a database's ladders has no end of its own.
        const bool wholeRun = run.InHand() == nullptr;
        return (wholeRun && next.end == RunEnd::kFinished && next.command == run.command) ||
               std::any_of(next.databases.begin(), next.databases.end(),
                           [&](const DatabaseRecord& database) {
                               return !wholeRun && database.ended &&
                                      database.name == failure.database;
                           });
    });
}

}  // namespace

std::string_view EndText(RunEnd end) {
    switch (end) {
        case RunEnd::kFinished:
            return "finished";
        case RunEnd::kFailed:
            return "failed";
        case RunEnd::kStopped:
            return "stopped";
        case RunEnd::kNone:
            return "did not end";
    }
    return "";
}

std::vector<StepTotal> StepTotals(std::span<const RunRecord> runs) {
    std::map<std::string_view, StepTotal> byName;
    ForEachStep(runs, [&](const StepRun& stepRun) {
        const StepRecord& step = *stepRun.step;
        if (!step.ended) {
            return;
        }
        StepTotal& total = byName[step.name];
        total.name = step.name;
        ++total.times;
        total.statements += step.statements;
        total.sum += step.duration;
        if (total.longestIn.empty() || step.duration > total.longest) {
            total.longest = step.duration;
            total.longestIn = stepRun.database->name;
        }
    });
    auto totals = Values(byName);
    SortFromLargest(totals, [](const StepTotal& total) { return total.sum; });
    return totals;
}

std::vector<StepRun> LongestSteps(const RunRecord& run, std::size_t most) {
    std::vector<StepRun> stepRuns;
    ForEachStep({&run, 1}, [&](const StepRun& stepRun) { stepRuns.push_back(stepRun); });
    SortFromLargest(stepRuns, [](const StepRun& stepRun) { return stepRun.step->duration; });
    stepRuns.resize(std::min(stepRuns.size(), most));
    return stepRuns;
}

std::vector<StepRun> SlowestStatements(std::span<const RunRecord> runs, std::size_t most) {
    std::vector<StepRun> stepRuns;
    ForEachStep(runs, [&](const StepRun& stepRun) {
        if (!stepRun.step->slowest.empty()) {
            stepRuns.push_back(stepRun);
        }
    });
    SortFromLargest(stepRuns, [](const StepRun& stepRun) { return stepRun.step->slowestTime; });
    stepRuns.resize(std::min(stepRuns.size(), most));
    return stepRuns;
}

FailureCause CauseOf(const FailureRecord& failure) {
    return {failure.step, failure.code, failure.code == 0 ? failure.error : ""};
}

std::vector<FailureGroup> FailureGroups(std::span<const RunRecord> runs) {
    std::map<FailureCause, FailureGroup> groups;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const RunRecord& run = runs[i];
        for (const FailureRecord& failure : run.failures) {
            groups[CauseOf(failure)].occurrences.push_back(
                {&run, &failure, IsFixed(failure, run, runs.subspan(i + 1))});
        }
    }
    auto sorted = Values(groups);
    SortFromLargest(sorted, [](const FailureGroup& group) { return group.occurrences.size(); });
    return sorted;
}

std::vector<ServiceTotal> ServiceTotals(std::span<const RunRecord> runs) {
    std::map<std::string_view, ServiceTotal> byName;
    std::map<std::string_view, std::set<std::int64_t>> components;
    for (const RunRecord& run : runs) {
        for (const ServiceRecord& call : run.services) {
            ServiceTotal& total = byName[call.name];
            total.name = call.name;
            ++total.calls;
            total.failed += call.failed ? 1U : 0U;
            total.sum += call.duration;
            total.longest = std::max(total.longest, call.duration);
            if (call.componentId) {
                components[call.name].insert(*call.componentId);
            }
            total.components = components[call.name].size();
        }
    }
    auto totals = Values(byName);
    SortFromLargest(totals, [](const ServiceTotal& total) { return total.calls; });
    return totals;
}

std::vector<DatabaseTotal> DatabaseTotals(std::span<const RunRecord> runs) {
    std::map<std::pair<std::optional<std::int64_t>, std::string>, DatabaseTotal> byId;
    for (const RunRecord& run : runs) {
        for (const DatabaseRecord& database : run.databases) {
            const auto [found, isNew] = byId.try_emplace({database.siteId, database.name});
            DatabaseTotal& total = found->second;
            if (isNew) {
                total.name = database.name;
                total.isSite = database.siteId.has_value();
                total.from = database.from;
            }
            total.sum += database.duration;
            total.statements += database.statements;
            total.outcome = OutcomeOf(database, run);
            if (database.ended) {
                total.to = run.to;
            }
        }
    }
    for (const RunRecord& run : runs) {
        for (const PlannedSite& site : run.sites) {
            const std::string name = "tw_" + std::to_string(site.siteId);
            const auto [found, isNew] = byId.try_emplace({site.siteId, name});
            if (isNew) {
                found->second.name = name;
                found->second.isSite = true;
                found->second.from = site.from;
            }
        }
    }
    return Values(byId);
}

std::vector<VersionTotal> VersionTotals(std::span<const RunRecord> runs) {
    // A database that several runs have begun counts once, as the last that ended, if any did.
    std::map<std::pair<double, std::string_view>, const DatabaseRecord*> databases;
    for (const RunRecord& run : runs) {
        for (const DatabaseRecord& database : run.databases) {
            const DatabaseRecord*& latest = databases[{database.from, database.name}];
            if (latest == nullptr || database.ended) {
                latest = &database;
            }
        }
    }
    std::map<double, VersionTotal> byVersion;
    std::map<double, std::vector<EventDuration>> durations;
    for (const auto& [key, database] : databases) {
        VersionTotal& total = byVersion[database->from];
        total.from = database->from;
        ++total.begun;
        if (!database->ended) {
            continue;
        }
        ++total.ended;
        durations[database->from].push_back(database->duration);
        if (total.longestIn.empty() || database->duration > total.longest) {
            total.longest = database->duration;
            total.longestIn = database->name;
        }
    }
    std::vector<VersionTotal> totals;
    for (auto& [version, total] : byVersion) {
        auto& times = durations[version];
        if (!times.empty()) {
            std::sort(times.begin(), times.end());
            total.median = times[(times.size() - 1) / 2];
        }
        totals.push_back(total);
    }
    return totals;
}

}  // namespace twupdate::cli
