#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "cli/report/run_events.h"

// What the records of runs add up to. The records must outlive what names them.
namespace twupdate::cli {

/// "finished", "failed", "stopped" or "did not end".
std::string_view EndText(RunEnd end);

/// A step over all databases.
struct StepTotal {
    std::string name;
    std::uint64_t times = 0;
    std::uint64_t statements = 0;
    EventDuration sum{0};
    EventDuration longest{0};
    std::string longestIn;  ///< the database
};

/// The steps that have ended, the longest sum first.
std::vector<StepTotal> StepTotals(std::span<const RunRecord> runs);

/// One run of a step, in one database.
struct StepRun {
    const StepRecord* step;
    const DatabaseRecord* database;
};

/// The steps of one run that took longest, those that did not end included; the longest first.
std::vector<StepRun> LongestSteps(const RunRecord& run, std::size_t most);

/// The steps whose slowest statement took longest; the longest first.
std::vector<StepRun> SlowestStatements(std::span<const RunRecord> runs, std::size_t most);

/// What failures have in common that are one group: the step and the server's error number, whose
/// texts name tables and values; the text where the error is not the server's.
using FailureCause = std::tuple<std::string, std::uint64_t, std::string>;
FailureCause CauseOf(const FailureRecord& failure);

/// Runs that failed in the same step with the same error.
struct FailureGroup {
    struct Occurrence {
        const RunRecord* run;
        const FailureRecord* failure;
        /// A later run has brought the database to its end.
        bool resolved;
    };
    const FailureRecord& Latest() const { return *occurrences.back().failure; }
    std::vector<Occurrence> occurrences;  ///< in the order of the runs
};

/// The failures of the runs, which are in the order of time; the most frequent first. A run that
/// was stopped did not fail.
std::vector<FailureGroup> FailureGroups(std::span<const RunRecord> runs);

/// A service over all calls.
struct ServiceTotal {
    std::string name;
    std::uint64_t calls = 0;
    std::uint64_t failed = 0;
    std::uint64_t components = 0;  ///< different ones
    EventDuration sum{0};
    EventDuration longest{0};
};

/// The services, the one called most often first.
std::vector<ServiceTotal> ServiceTotals(std::span<const RunRecord> runs);

/// What became of a database in all runs together.
struct DatabaseTotal {
    enum class Outcome : std::uint8_t { kUpgraded, kFailed, kStopped, kNotEnded, kNotBegun };

    std::string name;
    bool isSite = false;
    double from = 0;           ///< where the first run began
    std::optional<double> to;  ///< nothing where no run came to the end
    EventDuration sum{0};
    std::uint64_t statements = 0;
    Outcome outcome = Outcome::kNotBegun;
};

/// The databases that the runs have begun or were to begin: the central one, then the sites by
/// their ids.
std::vector<DatabaseTotal> DatabaseTotals(std::span<const RunRecord> runs);

/// The databases that began at one version.
struct VersionTotal {
    double from = 0;
    std::uint64_t begun = 0;
    std::uint64_t ended = 0;
    EventDuration median{0};  ///< of those that ended; the lower one of two in the middle
    EventDuration longest{0};
    std::string longestIn;  ///< the database
};

/// The databases by version, the oldest first.
std::vector<VersionTotal> VersionTotals(std::span<const RunRecord> runs);

}  // namespace twupdate::cli
