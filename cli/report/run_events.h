#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/run/statement_kind.h"

namespace twupdate::cli {

/// UTC, as the events have it.
using EventTime = std::chrono::sys_time<std::chrono::milliseconds>;
using EventDuration = std::chrono::nanoseconds;

/// A step in one database.
struct StepRecord {
    std::string name;
    std::string ladder;  ///< e.g. "site schema"
    EventTime start;
    EventDuration duration{0};  ///< of one that has not ended: to the last event of its database
    std::uint64_t statements = 0;
    bool ended = false;
    std::string slowest;  ///< its statement that took longest; empty without any
    EventDuration slowestTime{0};
    KindTotals kinds{};  ///< of its statements; empty in events without them
};

struct LadderRecord {
    std::string name;
    EventTime start;
    EventTime end;
};

/// A database that a run has begun to upgrade.
struct DatabaseRecord {
    std::string name;
    std::optional<std::int64_t> siteId;
    std::uint64_t job = 0;  ///< that has upgraded it; 0: the run itself
    double from = 0;
    EventTime start;
    EventDuration duration{0};
    std::uint64_t statements = 0;
    bool ended = false;  ///< all its ladders have
    std::vector<LadderRecord> ladders;
    std::vector<StepRecord> steps;

    std::uint64_t StepsEnded() const;
};

/// A call to one of the component's services.
struct ServiceRecord {
    std::string name;
    std::string database;
    std::optional<std::int64_t> componentId;
    EventTime time;
    EventDuration duration{0};
    bool failed = false;
};

/// Where and why a run ended early.
struct FailureRecord {
    std::string database;  ///< the current one, or where the run stood
    std::string ladder;    ///< empty between ladders
    std::string step;      ///< empty between steps
    std::string statement;
    std::uint64_t code = 0;  ///< the server's; 0 if it was not an error of the server
    std::string sqlState;
    std::string error;
    EventTime time;
};

enum class RunEnd : std::uint8_t {
    kFinished,
    kFailed,
    kStopped,  ///< as was asked for
    kNone      ///< the events end here: the program was killed, or is still running
};

/// A site that a run should upgrade.
struct PlannedSite {
    std::int64_t siteId = 0;
    double from = 0;
};

/// What the events tell of one run.
struct RunRecord {
    std::string command;
    /// Of which it is: by its name in the events, else by its server; empty in events without both.
    std::string installation;
    std::string server;   ///< empty in events without it
    std::string account;  ///< the same
    double from = 0;
    double to = 0;
    std::uint64_t sitesToDo = 0;
    std::vector<PlannedSite> sites;  ///< empty in events without them
    /// The ids of the sites that the run leaves out, by reason.
    std::map<std::string, std::vector<std::int64_t>> leftOut;
    EventTime start;
    EventTime lastEvent;
    EventDuration duration{0};  ///< of one that did not finish: to its last event
    RunEnd end = RunEnd::kNone;
    bool truncatedLine = false;  ///< the file ends in the middle of an event
    std::uint64_t statements = 0;
    std::vector<DatabaseRecord> databases;  ///< in the order in which they were begun
    std::vector<ServiceRecord> services;
    std::optional<FailureRecord> failure;  ///< that ended the run; also where it was stopped
    std::vector<FailureRecord> failures;   ///< of sites, and that of the run where it is another

    std::uint64_t DatabasesEnded() const;
    std::uint64_t SitesEnded() const;
    std::uint64_t StepsEnded() const;
    /// The last database that was begun and has not ended; nullptr without one.
    const DatabaseRecord* InHand() const;
};

/// Makes the records of runs from their events, one after the other.
class RunReader {
  public:
    RunReader();
    ~RunReader();
    RunReader(const RunReader&) = delete;
    RunReader& operator=(const RunReader&) = delete;

    /// @throws std::runtime_error for what is no event of a run
    void Take(const nlohmann::json& event);
    /// The last event of the current run is not whole. Needs a run.
    void Truncated();
    bool HasRuns() const;
    /// The end of the current run is still to come.
    bool IsInRun() const;
    /// The runs as they would be if their events ended here.
    std::vector<RunRecord> Runs() const;

  private:
    class Builder;
    std::unique_ptr<Builder> builder_;
};

/// Reads what --events has written: one run, or several in sequence.
/// @throws CommandError for a file that cannot be read or holds something else
std::vector<RunRecord> ReadRuns(const std::filesystem::path& file);

}  // namespace twupdate::cli
