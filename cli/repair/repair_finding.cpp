#include "cli/repair/repair_finding.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/server/queries.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

std::vector<RepairFinding> Find(const Session& session, const ProgressMarks& marks,
                                const SteppedDatabase& database, Ladder first, Ladder second) {
    std::vector<RepairFinding> findings;
    for (const Ladder ladder : {first, second}) {
        for (const LadderStep& step : LadderSteps(ladder)) {
            const StepHistory history = marks.History(database.name, step);
            for (Leftover& left : FindLeftovers(*session.Own(), step, database, history)) {
                findings.push_back({database.name, step, std::move(left)});
            }
        }
    }
    return findings;
}

/// The version was recorded, and then the run was interrupted before it could drop the table.
void FindMarksLeftOver(const ProgressMarks& marks, const std::string& database, double version,
                       std::vector<RepairFinding>& findings) {
    const auto marked = marks.Databases();
    if (!IsBelow(version, kCurrentVersion) && marks.Interrupted(database).empty() &&
        std::find(marked.begin(), marked.end(), database) != marked.end()) {
        Leftover left;
        left.table = ProgressMarks::kTable;
        left.seen = "the progress marks of a finished upgrade are left over";
        left.consequence = "nothing reads them";
        left.statements = {fmt::format("DROP TABLE {}.{};", database, ProgressMarks::kTable)};
        findings.push_back({database, std::nullopt, std::move(left)});
    }
}

void Append(std::vector<RepairFinding>& findings, std::vector<RepairFinding> more) {
    std::move(more.begin(), more.end(), std::back_inserter(findings));
}

/// The version of the copies of the central tables in a site's database; 0 when it is not known.
std::optional<double> VersionOfCopies(const Session& session, const std::string& database) {
    if (!HasRows(*session.GetConnection(),
                 fmt::format("SELECT 1 FROM information_schema.tables WHERE table_schema = '{}' "
                             "AND table_name = 'tw_installation'",
                             database))) {
        return std::nullopt;
    }
    const auto rows = session.GetConnection()->Query(
        fmt::format("SELECT version FROM {}.tw_installation ORDER BY version;", database));
    const Value version = rows->Next() ? rows->Get(0) : Value();
    return version.IsNumeric() ? version.ToDouble() : 0;
}

/// True for a step that runs in this database in this role.
bool Concerns(const LadderStep& step, const SteppedDatabase& database) {
    const bool isCentralStep = step.ladder == Ladder::kServer || step.ladder == Ladder::kServerData;
    const bool isCentral = database.name == "tw_tarnwick" || !database.tablePrefix.empty();
    return isCentralStep == isCentral;
}

/// Repairs it, and lets its step begin again.
void Apply(const Session& session, ProgressMarks& marks, const RepairFinding& finding) {
    for (const std::string& statement : finding.left.statements) {
        session.GetConnection()->Execute(statement);
    }
    if (finding.step) {
        marks.Forget(finding.database, *finding.step);
    }
}

}  // namespace

std::string RepairFinding::Text() const {
    return fmt::format("{}{}{}: {}; {}", database, left.table.empty() ? "" : ".", left.table,
                       left.seen, left.consequence);
}

std::vector<RepairFinding> FindCentralRepairs(const Session& session, const ProgressMarks& marks,
                                              double version) {
    auto findings =
        Find(session, marks, {"tw_tarnwick", "", version}, Ladder::kServer, Ladder::kServerData);
    FindMarksLeftOver(marks, "tw_tarnwick", version, findings);
    return findings;
}

std::vector<RepairFinding> FindSiteRepairs(const Session& session, const ProgressMarks& marks,
                                           const SiteRow& site) {
    const std::string database = fmt::format("tw_{}", site.siteId);
    const double version = site.version.value_or(0);
    auto findings =
        Find(session, marks, {database, "", version}, Ladder::kSiteSchema, Ladder::kSiteContent);
    if (const auto copies = VersionOfCopies(session, database)) {
        Append(findings, FindCopyRepairs(session, marks, database, *copies));
    }
    FindMarksLeftOver(marks, database, version, findings);
    return findings;
}

std::vector<RepairFinding> FindCopyRepairs(const Session& session, const ProgressMarks& marks,
                                           const std::string& database, double version) {
    return Find(session, marks, {database, "tw_", version}, Ladder::kServer, Ladder::kServerData);
}

std::string RepairCommand(const std::string& database) {
    return database == "tw_tarnwick"
               ? "twupdate repair --apply"
               : fmt::format("twupdate repair --site {} --apply", database.substr(3));
}

std::vector<RepairFinding> FindAndRepair(const Session& session, ProgressMarks& marks, bool apply,
                                         const std::function<std::vector<RepairFinding>()>& find,
                                         const std::function<void(const RepairFinding&)>& tell) {
    std::vector<RepairFinding> all;
    for (bool again = true; again;) {
        again = false;
        for (RepairFinding& finding : find()) {
            const bool isKnown = std::any_of(
                all.begin(), all.end(),
                [&](const RepairFinding& other) { return other.Text() == finding.Text(); });
            if (isKnown) {
                continue;
            }
            tell(finding);
            if (apply && finding.CanBeApplied()) {
                Apply(session, marks, finding);
                again = again || finding.step.has_value();
            }
            all.push_back(std::move(finding));
        }
    }
    return all;
}

std::vector<SteppedDatabase> SteppedDatabases(double version, const std::vector<SiteRow>& sites) {
    std::vector<SteppedDatabase> databases{{"tw_tarnwick", "", version}};
    for (const SiteRow& site : sites) {
        databases.push_back({fmt::format("tw_{}", site.siteId), "", site.version.value_or(0)});
    }
    return databases;
}

std::string InterruptionText(const Session& session, const ProgressMarks& marks,
                             const std::vector<SteppedDatabase>& databases, Leftovers leftovers) {
    std::vector<RepairFinding> findings;
    for (const SteppedDatabase& database : databases) {
        for (const LadderStep& step : marks.Interrupted(database.name)) {
            if (!Concerns(step, database)) {
                continue;
            }
            for (Leftover& left :
                 FindLeftovers(*session.Own(), step, database, StepHistory::kInterrupted)) {
                findings.push_back({database.name, step, std::move(left)});
            }
        }
    }
    if (leftovers == Leftovers::kRepair) {
        std::erase_if(findings, [](const RepairFinding& found) { return found.CanBeApplied(); });
    }
    if (findings.empty()) {
        return "";
    }
    const RepairFinding& first = findings.front();
    const bool isInOneDatabase =
        std::all_of(findings.begin(), findings.end(),
                    [&](const RepairFinding& found) { return found.database == first.database; });
    const std::string others =
        findings.size() == 1 ? "" : fmt::format(" (and {} more)", findings.size() - 1);
    return fmt::format(
        "{} was interrupted: {}{}\nhint: {}", first.step->name, first.Text(), others,
        first.CanBeApplied()
            ? fmt::format("run {} first, or repeat this command with --repair",
                          RepairCommand(isInOneDatabase ? first.database : "tw_tarnwick"))
            : "compare by hand, as the manual's page on recovery says, then repeat the command");
}

void RefuseInterrupted(const Session& session, const ProgressMarks& marks,
                       const std::vector<SteppedDatabase>& databases, Leftovers leftovers) {
    const std::string text = InterruptionText(session, marks, databases, leftovers);
    if (!text.empty()) {
        throw CommandError(JoinMessages({text}, "; nothing was done"));
    }
}

}  // namespace twupdate::cli
