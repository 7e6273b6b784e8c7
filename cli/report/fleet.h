#pragma once

#include <cstdint>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

#include "cli/report/run_figures.h"

namespace twupdate::cli {

/// The runs of one installation, in the order of time, and what they say of it.
struct InstallationRuns {
    std::string name;
    std::vector<RunRecord> runs;  ///< at least one
    std::uint64_t sites = 0;      ///< that were to be upgraded, in all runs together
    std::uint64_t sitesEnded = 0;
    std::uint64_t steps = 0;
    std::uint64_t statements = 0;
    std::uint64_t openFailures = 0;  ///< that no later run has resolved

    const RunRecord& Last() const { return runs.back(); }
    bool IsDone() const { return Last().end == RunEnd::kFinished && openFailures == 0; }
};

/// The runs of all files in the order of time.
/// @throws CommandError as ReadRuns() does
std::vector<RunRecord> ReadAllRuns(const std::vector<std::filesystem::path>& files);

/// @param runs  in the order of time
/// @returns the installations by their names
std::vector<InstallationRuns> ByInstallation(std::vector<RunRecord> runs);

nlohmann::ordered_json JsonOf(const InstallationRuns& installation);

/// Failures in the same step with the same error, in all installations.
struct FleetFailure {
    struct Occurrence {
        const InstallationRuns* installation;
        FailureGroup::Occurrence in;
    };
    const FailureRecord& Latest() const { return *occurrences.back().in.failure; }
    std::vector<Occurrence> occurrences;
};

/// The most frequent first.
std::vector<FleetFailure> FleetFailures(std::span<const InstallationRuns> installations);

/// One HTML page about the runs of several installations.
/// @param installations  at least one
std::string FleetPage(std::span<const InstallationRuns> installations);

}  // namespace twupdate::cli
