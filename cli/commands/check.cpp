#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "cli/check/files.h"
#include "cli/check/finding.h"
#include "cli/check/privileges.h"
#include "cli/check/refusals.h"
#include "cli/check/rewrites.h"
#include "cli/check/rows.h"
#include "cli/check/server.h"
#include "cli/check/table_sizes.h"
#include "cli/check/walk.h"
#include "cli/check/writes.h"
#include "cli/commands/commands.h"
#include "cli/commands/jobs_option.h"
#include "cli/commands/site_option.h"
#include "cli/repair/repair_finding.h"
#include "cli/run/parallel.h"
#include "cli/run/run_lock.h"
#include "cli/server/data_files.h"
#include "cli/server/installation.h"
#include "cli/server/queries.h"
#include "cli/server/restore_mark.h"
#include "cli/server/root_site.h"
#include "cli/server/session.h"
#include "cli/terminal/counted_progress.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

CheckFinding NewerFinding(const std::string& database, double version) {
    return {database, "", "",
            fmt::format("it is at {}, newer than the {} that this program knows",
                        VersionText(version), VersionText(kCurrentVersion)),
            "use the program that brought it there"};
}

struct CheckArguments {
    std::optional<std::int32_t> siteId;
    JobsOption jobs;
};

struct Checked {
    std::vector<CheckFinding> findings;
    std::vector<std::string> notes;  ///< what could not be looked at
};

/// Says what an upgrade would refuse of a site.
/// @param alone  as upgrade-site takes it
/// @return whether the upgrade would come to the site
bool IsPending(const SiteRow& site, bool alone, std::vector<CheckFinding>& findings) {
    switch (site.State()) {
        case SiteState::kOld:
            if (site.siteId <= std::numeric_limits<std::int32_t>::max()) {
                return true;
            }
            findings.push_back(
                {"tw_tarnwick", "site", "",
                 fmt::format("there is a site {}, but a siteid lies between 1 and 2147483647",
                             site.siteId),
                 "correct its row"});
            break;
        case SiteState::kNewer:
            findings.push_back(NewerFinding(fmt::format("tw_{}", site.siteId), *site.version));
            break;
        case SiteState::kNoVersion:
            findings.push_back(
                {"tw_tarnwick", "site", "",
                 fmt::format("the version of site {} is {}", site.siteId, site.noVersion),
                 "set it to the version of its layout (0 runs every step)"});
            break;
        case SiteState::kHardDeleted:
        case SiteState::kInTransaction:
            if (alone) {  // otherwise it is left out
                findings.push_back(
                    {"tw_tarnwick", "site", "",
                     fmt::format("site {} is {}", site.siteId, SiteStateText(site.State())),
                     "leave it as it is, or clear the flag"});
            }
            break;
        case SiteState::kCurrent:
        case SiteState::kNoSite:
            break;
    }
    return false;
}

/// What keeps an upgrade from beginning: another run, and databases that a restore has in hand.
void CheckStart(const Session& session, std::vector<CheckFinding>& findings) {
    for (const std::string& database : MarkedForRestore(*session.Own())) {
        findings.push_back(
            {database, "", "", "a restore of it is unfinished", "give the same restore again"});
    }
    const auto used =
        session.GetConnection()->Query(fmt::format("SELECT IS_USED_LOCK('{}');", RunLock::kName));
    if (used->Next() && !used->Get(0).IsNull()) {
        findings.push_back(
            {"", "", "",
             fmt::format("another run is in progress (connection {})", used->Get(0).ToText()),
             "wait for its end"});
    } else if (const auto lease = FindLease(*session.GetConnection());
               lease && !lease->holder.empty()) {
        findings.push_back({"", "", "", "another run is in progress: " + lease->note,
                            "wait for its end; if it has died, use --lock-wait"});
    }
}

bool HasInterimColumn(const host::Catalogue& stored, const std::string& database) {
    const auto found = stored.Databases().find(database);
    return found != stored.Databases().end() &&
           std::any_of(found->second.tables.begin(), found->second.tables.end(),
                       [](const auto& table) { return table.second->Find(kInterimColumn); });
}

/// What interrupted runs have left in the databases that an upgrade comes to and a repeat makes
/// worse. It is looked for where marks or a column tell of an interruption.
std::vector<RepairFinding> FindInterruptions(const Session& session, const WalkScope& scope,
                                             const host::Catalogue& stored) {
    const ProgressMarks marks(session.GetConnection());
    std::vector<RepairFinding> found;
    const auto add = [&](const std::string& database, const auto& find) {
        const auto interrupted = marks.Interrupted(database);
        if (interrupted.empty() && !HasInterimColumn(stored, database)) {
            return;
        }
        for (RepairFinding& finding : find()) {
            const auto* table = stored.Find(database, finding.left.table);
            const bool isMarked =
                std::any_of(interrupted.begin(), interrupted.end(), [&](const LadderStep& step) {
                    return finding.step && finding.step->name == step.name;
                });
            if (isMarked || (table != nullptr && table->Find(kInterimColumn) != nullptr)) {
                found.push_back(std::move(finding));
            }
        }
    };
    if (scope.centralVersion) {
        add("tw_tarnwick",
            [&] { return FindCentralRepairs(session, marks, *scope.centralVersion); });
    }
    for (const PendingSite& site : scope.sites) {
        SiteRow row;
        row.siteId = site.siteId;
        row.version = site.version;
        add(site.Database(), [&] { return FindSiteRepairs(session, marks, row); });
    }
    return found;
}

/// In the place of what a repeat of the interrupted step would meet.
void TellOfInterruptions(const std::vector<RepairFinding>& interruptions,
                         std::vector<CheckFinding>& findings) {
    std::erase_if(findings, [&](const CheckFinding& finding) {
        return std::any_of(interruptions.begin(), interruptions.end(), [&](const auto& other) {
            return other.database == finding.database && other.left.table == finding.table &&
                   other.step && other.step->name == finding.step;
        });
    });
    for (const RepairFinding& found : interruptions) {
        findings.push_back(
            {found.database, found.left.table, "", found.left.seen + "; " + found.left.consequence,
             found.CanBeApplied() ? "run " + RepairCommand(found.database)
                                  : "compare by hand, as the manual's page on recovery says",
             true});
    }
}

/// What an upgrade comes to. Versions that it refuses are reported.
WalkScope ScopeOf(const Session& session, const GlobalOptions& options,
                  std::optional<std::int32_t> siteId, std::vector<CheckFinding>& findings) {
    Installation installation(session.Own());
    const double version = installation.Version();
    WalkScope scope{InstallFolder(options), options.localHostName, std::nullopt, {}, {}};
    if (version > kCurrentVersion) {
        findings.push_back(NewerFinding("tw_tarnwick", version));
    }
    if (!siteId && IsBelow(version, kCurrentVersion)) {
        InstallFolderWithData(options);  // a usage error, as for an upgrade
        scope.centralVersion = version;
        scope.otherDatabases.emplace_back("tw_logs");
        if (const auto root = RootSite(*session.Own())) {
            scope.otherDatabases.push_back(fmt::format("tw_{}", *root));
        }
    }
    bool isThere = false;
    for (const SiteRow& site : installation.Sites()) {
        if (siteId ? site.siteId != *siteId : !scope.centralVersion) {
            continue;
        }
        isThere = true;
        if (IsPending(site, siteId.has_value(), findings)) {
            scope.sites.push_back({static_cast<std::int32_t>(site.siteId), *site.version});
        }
    }
    if (siteId && !isThere) {
        throw CommandError(fmt::format("tw_tarnwick.site has no site {}", *siteId));
    }
    return scope;
}

/// Leaves out what the user may not read; without the central database nothing can be said.
void LeaveOutUnreadable(host::Connection& connection, WalkScope& scope,
                        std::vector<CheckFinding>& findings) {
    std::vector<std::string> databases{"tw_tarnwick"};
    databases.insert(databases.end(), scope.otherDatabases.begin(), scope.otherDatabases.end());
    for (const PendingSite& site : scope.sites) {
        databases.push_back(site.Database());
    }
    const auto unreadable = UnreadableDatabases(connection, databases, findings);
    const bool all = unreadable.contains("tw_tarnwick");
    std::erase_if(scope.sites, [&](const PendingSite& site) {
        return all || unreadable.contains(site.Database());
    });
    const bool central =
        std::none_of(scope.otherDatabases.begin(), scope.otherDatabases.end(),
                     [&](const std::string& database) { return unreadable.contains(database); });
    if (all || !central) {
        scope.centralVersion.reset();
    }
}

/// What each walk's statements would meet, in the order of the walks and their databases, however
/// many jobs look.
void CheckWalks(const ServerState& server, const host::Catalogue& stored,
                const std::vector<Walk>& walks, const JobSessions& sessions, Console& console,
                std::vector<CheckFinding>& findings) {
    struct Found {
        std::vector<CheckFinding> findings;  ///< of the statements
        std::optional<RowQuestions> questions;
        std::vector<std::vector<CheckFinding>> ofRows;  ///< of each database
    };
    std::vector<Found> found(walks.size());
    const auto checkWalk = [&](unsigned job, std::size_t place) {
        const Walk& walk = walks[place];
        const ServerState own = server.On(sessions.ConnectionOf(job));
        CheckRefusals(own, stored, walk, found[place].findings);
        CheckWrites(own, stored, walk, found[place].findings);
        CheckNextIds(own, walk, found[place].findings);
        CheckTableSizes(own, walk, found[place].findings);
        found[place].questions.emplace(own, stored, walk);
        found[place].ofRows.resize(walk.databases.size());
    };
    InParallel(sessions.Count(), walks.size(), {checkWalk, {}, {}});
    std::vector<std::pair<std::size_t, std::size_t>> databases;  // of which walk, which of them
    for (std::size_t walk = 0; walk < walks.size(); ++walk) {
        for (std::size_t i = 0; i < walks[walk].databases.size(); ++i) {
            databases.emplace_back(walk, i);
        }
    }
    CountedProgress progress(console, "database", databases.size());
    const auto askRows = [&](unsigned job, std::size_t place) {
        const std::size_t walk = databases[place].first;
        const std::size_t i = databases[place].second;
        const std::string& database = walks[walk].databases[i];
        progress.Next(database);
        found[walk].questions->Ask(sessions.ConnectionOf(job), database, found[walk].ofRows[i]);
    };
    InParallel(sessions.Count(), databases.size(), {askRows, {}, {}});
    const auto add = [&](std::vector<CheckFinding>& some) {
        for (CheckFinding& finding : some) {
            AddOnce(std::move(finding), findings);
        }
    };
    for (Found& ofWalk : found) {
        add(ofWalk.findings);
        std::for_each(ofWalk.ofRows.begin(), ofWalk.ofRows.end(), add);
    }
}

Checked CheckAll(const Session& session, const GlobalOptions& options, Console& console,
                 const CheckArguments& arguments) {
    const auto& siteId = arguments.siteId;
    Checked checked;
    auto& findings = checked.findings;
    host::Connection& connection = *session.GetConnection();
    CheckStart(session, findings);
    if (!findings.empty() && !findings.front().database.empty()) {
        return checked;  // nothing can be said of half a database
    }
    WalkScope scope = ScopeOf(session, options, siteId, findings);
    LeaveOutUnreadable(connection, scope, findings);
    const std::string fault =
        scope.centralVersion ? FaultOfDataFiles(scope.installFolder) : std::string();
    if (!fault.empty()) {  // with which an upgrade refuses to begin, and the ladders do not go
        findings.push_back({"", "", "", fault, "put the file back from the package"});
        return checked;
    }
    const host::Catalogue stored = ReadLayouts(session, scope);
    std::erase_if(scope.sites, [&](const PendingSite& site) {
        const bool missing = !stored.HasDatabase(site.Database());
        if (missing) {
            findings.push_back({site.Database(), "", "", "the database is missing",
                                "bring it back from a backup, or mark the site as hard-deleted"});
        }
        return missing;
    });
    const JobSessions sessions(session, arguments.jobs.Number(), scope.sites.size(), console);
    const auto walks = WalkLadders(sessions, scope, stored, console);
    const ServerState server = ServerState::Of(connection);
    CheckWalks(server, stored, walks, sessions, console, findings);
    TellOfInterruptions(FindInterruptions(session, scope, stored), findings);
    CheckPrivileges(connection, walks, siteId && !scope.sites.empty(), findings);
    if (RunLock::IsLease(connection, options)) {
        CheckLeasePrivileges(connection, findings);
    }
    CheckServer(server, walks, findings);
    CheckSpace(connection, walks, findings, checked.notes);
    CheckFiles(scope.installFolder, scope.sites, findings);
    NoteUploads(scope.installFolder, walks, checked.notes);
    NoteAdditions(server, stored, walks, checked.notes);
    return checked;
}

int Check(const GlobalOptions& options, Console& console, const CheckArguments& arguments) {
    Session session(options);
    const auto [findings, notes] = CheckAll(session, options, console, arguments);
    auto list = nlohmann::ordered_json::array();
    for (const CheckFinding& finding : findings) {
        console.Print(finding.Text());
        list.push_back({{"database", finding.database},
                        {"table", finding.table},
                        {"step", finding.step},
                        {"problem", finding.problem},
                        {"fix", finding.fix}});
    }
    for (const std::string& note : notes) {
        console.Say("note: " + note);
    }
    console.Say(findings.empty() ? "Nothing found that would make an upgrade fail."
                                 : fmt::format("{}.", Count(findings.size(), "finding")));
    console.Result({{"command", "check"},
                    {"result", findings.empty() ? "clean" : "findings"},
                    {"findings", list},
                    {"notes", notes}});
    return findings.empty() ? kDone : kFindings;
}

}  // namespace

void AddCheck(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand("check", "Find what would make an upgrade fail; read-only");
    const auto arguments = std::make_shared<CheckArguments>();
    AddSiteOption(*command, arguments->siteId, "Check only this site");
    AddJobsOption(*command, arguments->jobs, "Check this many sites at a time");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Check(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
