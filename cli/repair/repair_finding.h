#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/run/progress_marks.h"
#include "cli/server/installation.h"
#include "cli/server/session.h"
#include "twupdate/interruption.h"

namespace twupdate::cli {

/// Something that an interrupted run has left and that a repeat does not fix.
struct RepairFinding {
    std::string database;
    std::optional<LadderStep> step;  ///< nothing: it is of no step
    Leftover left;

    /// False: a person must compare the values.
    bool CanBeApplied() const { return !left.statements.empty(); }
    /// "tw_7.email: 3 e-mails are not converted, …; a repeat converts none".
    std::string Text() const;
};

/// Looks at the central database at its recorded version.
std::vector<RepairFinding> FindCentralRepairs(const Session& session, const ProgressMarks& marks,
                                              double version);

/// Looks at one site, and at the copies of the central tables in it, if it has any.
std::vector<RepairFinding> FindSiteRepairs(const Session& session, const ProgressMarks& marks,
                                           const SiteRow& site);

/// Looks at the copies of the central tables in the database of an imported site.
std::vector<RepairFinding> FindCopyRepairs(const Session& session, const ProgressMarks& marks,
                                           const std::string& database, double version);

/// The command that repairs what is found in a database, e.g. "twupdate repair --site 7
/// --apply".
std::string RepairCommand(const std::string& database);

/// Reports each finding, and repairs it where that is requested and possible, until nothing
/// more turns up: where two steps were interrupted in one table the second is seen after the first.
/// @param find  looks at the databases
/// @returns everything that was found
std::vector<RepairFinding> FindAndRepair(const Session& session, ProgressMarks& marks, bool apply,
                                         const std::function<std::vector<RepairFinding>()>& find,
                                         const std::function<void(const RepairFinding&)>& tell);

/// How a run handles what interrupted steps have left.
enum class Leftovers : std::uint8_t {
    kRefuse,  ///< it does not begin
    kRepair,  ///< it repairs what can be repaired, database by database
};

/// The databases of an upgrade of the installation: the central one and those of these sites.
std::vector<SteppedDatabase> SteppedDatabases(double version, const std::vector<SiteRow>& sites);

/// Why a run must not begin, since it would repeat an interrupted step where that does harm, and
/// the command that repairs it; empty when it may begin.
/// @param databases  that the run will upgrade
std::string InterruptionText(const Session& session, const ProgressMarks& marks,
                             const std::vector<SteppedDatabase>& databases, Leftovers leftovers);

/// @throws CommandError with that text
void RefuseInterrupted(const Session& session, const ProgressMarks& marks,
                       const std::vector<SteppedDatabase>& databases, Leftovers leftovers);

}  // namespace twupdate::cli
