#include "cli/report/fleet.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

void AddFigures(InstallationRuns& installation) {
    for (const DatabaseTotal& total : DatabaseTotals(installation.runs)) {
        if (total.isSite) {
            ++installation.sites;
            installation.sitesEnded += total.to ? 1U : 0U;
        }
    }
    for (const RunRecord& run : installation.runs) {
        installation.steps += run.StepsEnded();
        installation.statements += run.statements;
    }
    for (const FailureGroup& group : FailureGroups(installation.runs)) {
        installation.openFailures += static_cast<std::uint64_t>(
            std::count_if(group.occurrences.begin(), group.occurrences.end(),
                          [](const auto& occurrence) { return !occurrence.resolved; }));
    }
}

}  // namespace

std::vector<RunRecord> ReadAllRuns(const std::vector<std::filesystem::path>& files) {
    std::vector<RunRecord> runs;
    for (const std::filesystem::path& file : files) {
        for (RunRecord& run : ReadRuns(file)) {
            runs.push_back(std::move(run));
        }
    }
    std::stable_sort(runs.begin(), runs.end(),
                     [](const RunRecord& a, const RunRecord& b) { return a.start < b.start; });
    return runs;
}

nlohmann::ordered_json JsonOf(const InstallationRuns& installation) {
    return {
        {"installation", installation.name},         {"last_run", EndText(installation.Last().end)},
        {"runs", installation.runs.size()},          {"sites", installation.sites},
        {"sites_upgraded", installation.sitesEnded}, {"steps", installation.steps},
        {"statements", installation.statements},     {"open_failures", installation.openFailures}};
}

std::vector<InstallationRuns> ByInstallation(std::vector<RunRecord> runs) {
    const auto before = [](const std::string& a, const std::string& b) {
        return a != b && ComesBefore(a, b);
    };
    std::map<std::string, InstallationRuns, decltype(before)> byName(before);
    for (RunRecord& run : runs) {
        InstallationRuns& installation = byName[run.installation];
        installation.name = run.installation;
        installation.runs.push_back(std::move(run));
    }
    std::vector<InstallationRuns> installations;
    for (auto& [name, installation] : byName) {
        AddFigures(installation);
        installations.push_back(std::move(installation));
    }
    return installations;
}

std::vector<FleetFailure> FleetFailures(std::span<const InstallationRuns> installations) {
    std::map<FailureCause, FleetFailure> byCause;
    for (const InstallationRuns& installation : installations) {
        for (const FailureGroup& group : FailureGroups(installation.runs)) {
            FleetFailure& failure = byCause[CauseOf(group.Latest())];
            for (const FailureGroup::Occurrence& occurrence : group.occurrences) {
                failure.occurrences.push_back({&installation, occurrence});
            }
        }
    }
    std::vector<FleetFailure> failures;
    for (auto& [cause, failure] : byCause) {
        failures.push_back(std::move(failure));
    }
    std::stable_sort(failures.begin(), failures.end(),
                     [](const FleetFailure& a, const FleetFailure& b) {
                         return a.occurrences.size() > b.occurrences.size();
                     });
    return failures;
}

}  // namespace twupdate::cli
