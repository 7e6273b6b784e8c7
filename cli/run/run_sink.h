#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/server/installation.h"
#include "cli/server/left_out.h"
#include "twupdate/ladder.h"
#include "twupdate/value.h"
#include "twupdate_host/listener.h"

namespace twupdate::cli {

using Clock = std::chrono::steady_clock;

/// Where a run stands.
struct Position {
    std::string database = "tw_tarnwick";
    std::optional<Ladder> ladder;    ///< nothing between ladders
    std::optional<LadderStep> step;  ///< nothing between steps
    std::optional<std::int32_t> siteId;
    unsigned job = 0;              ///< of those that upgrade sites; 0: the run itself
    std::uint64_t connection = 0;  ///< the server's number of it
};

/// One call that the component has made to its host, or a file that it has copied. What it names
/// lasts as long as the call that tells of it.
struct Call {
    std::optional<host::Operation> operation;  ///< nothing for a copied file
    std::string_view sql;
    std::span<const Value> params;
    std::string_view service;
    std::optional<std::int32_t> siteId;
    std::optional<std::int32_t> componentId;
    std::string_view source;       ///< of a copied file
    std::string_view destination;  ///< of a copied file
    bool failed = false;
    std::chrono::nanoseconds duration{0};
};

/// A statement that went to the server.
struct SentStatement {
    std::string sql;
    std::chrono::nanoseconds duration{0};
};

/// What a run has done so far.
struct Counts {
    std::uint64_t databases = 0;  ///< of which all ladders have ended
    std::uint64_t sites = 0;      ///< of these, sites
    std::uint64_t steps = 0;      ///< that have ended
    std::uint64_t statements = 0;
    std::uint64_t services = 0;
};

/// A database whose ladders have all ended.
struct DatabaseDone {
    std::string database;
    std::optional<std::int32_t> siteId;
    unsigned job = 0;  ///< that has upgraded it; see Position
    double from = 0;
    std::uint64_t steps = 0;
    std::uint64_t statements = 0;
    std::chrono::nanoseconds duration{0};
};

/// What is known about a run before it starts.
struct RunStart {
    std::string command;                                ///< e.g. "upgrade"
    double version = 0;                                 ///< of the database that the command names
    std::vector<SiteRow> sites;                         ///< that the run will upgrade
    std::optional<std::int32_t> siteId = std::nullopt;  ///< that the command names
    LeftOut leftOut = {};                               ///< sites that the run will not upgrade
    std::string server = {};                            ///< as Session::ServerText() has it
    std::string account = {};                           ///< by which the run signs in there
    std::string installation = {};  ///< its name among several; empty without one
};

/// What ended a run before its time.
struct RunFailure {
    Position where;
    std::string statement;  ///< without passwords; empty when no statement failed
    std::uint32_t code = 0;
    std::string sqlState;
    std::string text;
    bool stopped = false;      ///< not an error: a person asked the run to stop
    bool isOfOneSite = false;  ///< the other sites of the run are done
};

/// A failure that may pass by itself: what has failed is tried again.
struct RunRetry {
    RunFailure failure;
    unsigned attempt = 1;           ///< which one follows
    std::chrono::seconds pause{0};  ///< before it
};

/// Something outside for which the whole run waits.
struct RunWait {
    std::string reason;  ///< e.g. "replica db2 is 75 s behind, …"
    std::chrono::system_clock::time_point since = std::chrono::system_clock::now();
};

/// "database tw_7, …: server error 1213 (40001): Deadlock found; attempt 1 of 3 follows in 1 s".
std::string RetryLine(const RunRetry& retry);

/// "database tw_7, site schema ladder, step SiteSchemaStep_1_0028: statement: server error 1060
/// (42S21): Duplicate column name"; on one line. Of a stop the place alone.
std::string FailureLine(const RunFailure& failure);

/// Is notified of the progress of a run; the position is the one before an end and after a start.
class RunSink {
  public:
    virtual ~RunSink() = default;
    virtual void RunStarting(const RunStart& /*start*/) {}
    virtual void LadderStarting(const Position& /*where*/, double /*version*/) {}
    virtual void LadderEnded(const Position& /*where*/) {}
    virtual void StepStarting(const Position& /*where*/) {}
    virtual void StepEnded(const Position& /*where*/, std::chrono::nanoseconds /*duration*/,
                           std::uint64_t /*statements*/) {}
    /// The component is about to walk over the sites, and records the version of each that ends.
    virtual void SiteWalkStarting() {}
    virtual void SiteStarting(const Position& /*where*/, double /*version*/) {}
    virtual void DatabaseEnded(const DatabaseDone& /*done*/, const Counts& /*counts*/) {}
    virtual void CallStarting(const Position& /*where*/) {}
    virtual void CallEnded(const Position& /*where*/, const Call& /*call*/) {}
    /// Where statements are batched, CallEnded() tells of those that go to the server, and this of
    /// the component's calls with what was sent meanwhile.
    virtual void BatchedCallEnded(const Position& /*where*/, const Call& /*call*/,
                                  const std::vector<SentStatement>& /*sent*/) {}
    /// An error has ended the upgrade of a site; the run goes on or fails thereafter.
    virtual void SiteFailed(const RunFailure& /*failure*/, const Counts& /*counts*/) {}
    /// A site, or the run, goes on after a pause on a new connection, from what it has completed.
    virtual void Retrying(const RunRetry& /*retry*/) {}
    virtual void Waiting(const RunWait& /*wait*/) {}
    virtual void WaitEnded(const RunWait& /*wait*/, std::chrono::nanoseconds /*duration*/) {}
    /// All failures of sites, before the run ends.
    virtual void SitesFailed(const std::vector<RunFailure>& /*failures*/) {}
    virtual void RunFailed(const RunFailure& /*failure*/, const Counts& /*counts*/) {}
    virtual void RunEnded(const Counts& /*counts*/, std::chrono::nanoseconds /*duration*/) {}
};

}  // namespace twupdate::cli
