#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/backup/backup.h"
#include "cli/backup/dump.h"
#include "cli/backup/kept_versions.h"
#include "cli/backup/restore_view.h"
#include "cli/backup/restore_watch.h"
#include "cli/commands/commands.h"
#include "cli/commands/jobs_option.h"
#include "cli/commands/site_option.h"
#include "cli/run/parallel.h"
#include "cli/run/run_lock.h"
#include "cli/run/stop_request.h"
#include "cli/server/blockers.h"
#include "cli/server/grants.h"
#include "cli/server/queries.h"
#include "cli/server/restore_mark.h"
#include "cli/server/session.h"
#include "cli/terminal/counted_progress.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

constexpr const char* kCentral = "tw_tarnwick";

/// A database is dropped before it is recreated, so a missing privilege must be found before.
void RequirePrivilege(bool granted, const std::string& database, const std::string& privilege,
                      const std::string& purpose = "") {
    if (!granted) {
        throw CommandError(
            fmt::format("{}: the account lacks the privilege {}{}; nothing was restored", database,
                        privilege, purpose));
    }
}

void RequireTablePrivileges(host::Connection& connection,
                            const std::vector<std::string>& databases) {
    for (const std::string& database : databases) {
        for (const char* privilege : {"DROP", "CREATE", "ALTER", "INSERT"}) {
            RequirePrivilege(HasPrivilege(connection, database, privilege), database, privilege);
        }
    }
}

/// The session's account or role, as a dump writes it.
bool IsOwn(host::Connection& connection, const std::string& definer) {
    const auto own = connection.Query(
        "SELECT CONCAT('`', REPLACE(SUBSTRING_INDEX(CURRENT_USER(), '@', 1), '`', '``'), '`@`', "
        "SUBSTRING_INDEX(CURRENT_USER(), '@', -1), '`'), CONCAT('`', CURRENT_ROLE(), '`');");
    own->Next();
    const Value role = own->Get(1);
    return definer == own->Get(0).ToText() || (!role.IsNull() && definer == role.ToText());
}

/// The server then accepts triggers and functions only from accounts with SUPER.
bool DistrustsFunctions(host::Connection& connection) {
    return FirstCell(connection,
                     "SELECT @@GLOBAL.log_bin AND NOT @@GLOBAL.log_bin_trust_function_creators;") ==
           "1";
}

/// What the dump holds besides its tables needs further privileges.
void RequirePrivilegesFor(const DumpContents& contents, host::Connection& connection,
                          const std::string& database) {
    constexpr std::array<std::pair<const char*, const char*>, 9> kPrivileges{
        {{"VIEW", "CREATE VIEW"},
         {"TRIGGER", "TRIGGER"},
         {"EVENT", "EVENT"},
         {"PROCEDURE", "CREATE ROUTINE"},
         {"PROCEDURE", "ALTER ROUTINE"},  // a dump drops it before
         {"FUNCTION", "CREATE ROUTINE"},
         {"FUNCTION", "ALTER ROUTINE"},
         {"PACKAGE", "CREATE ROUTINE"},
         {"PACKAGE", "ALTER ROUTINE"}}};
    for (const auto& [kind, privilege] : kPrivileges) {
        RequirePrivilege(!contents.Holds(kind) || HasPrivilege(connection, database, privilege),
                         database, privilege);
    }
    for (const std::string& definer : contents.Definers()) {
        RequirePrivilege(IsOwn(connection, definer) || HasGlobalPrivilege(connection, "SET USER") ||
                             HasGlobalPrivilege(connection, "SUPER"),
                         database, "SET USER", " for what belongs to " + definer);
    }
    if (contents.Holds("TRIGGER") || contents.Holds("FUNCTION")) {
        RequirePrivilege(!DistrustsFunctions(connection) || HasGlobalPrivilege(connection, "SUPER"),
                         database, "SUPER",
                         ", which triggers and functions need if the server has a binary log and "
                         "log_bin_trust_function_creators is off");
    }
}

/// The versions to which the dumped sites are reset if the central database is not restored with
/// them.
SiteVersions VersionsToRecord(const fs::path& folder, const std::vector<std::string>& databases) {
    SiteVersions versions;
    for (const std::string& database : databases) {
        const auto siteId = SiteOfDatabase(database);
        if (!siteId) {
            continue;
        }
        if (const auto version = DumpedSiteVersion(folder, *siteId)) {
            versions[*siteId] = *version;
        }
    }
    return versions;
}

/// Asked of the server itself: a privilege on the table or its column suffices.
bool MayRecord(host::Connection& connection) {
    try {
        connection.Execute("UPDATE tw_tarnwick.site SET version = 0 WHERE FALSE;");
        return true;
    } catch (const HostError& error) {
        if (!IsMissing(error) && !IsDenied(error)) {
            throw;
        }
        return IsMissing(error);  // an incomplete central database, which will be restored
    }
}

void Record(host::Connection& connection, const SiteVersions& versions) {
    for (const auto& [siteId, recorded] : versions) {
        const Value version = recorded;
        connection.ExecutePrepared(
            fmt::format("UPDATE tw_tarnwick.site SET version = ? WHERE siteid = {};", siteId),
            std::span(&version, 1));
    }
}

/// The versions of the sites whose databases stay unchanged; nothing if the central database is
/// incomplete.
std::optional<SiteVersions> VersionsOfOthers(const Session& session,
                                             const std::vector<std::string>& databases) {
    SiteVersions versions;
    try {
        for (const SiteRow& site : Installation(session.Own()).Sites()) {
            const std::string database = fmt::format("tw_{}", site.siteId);
            if (site.version && !Contains(databases, database)) {
                versions[site.siteId] = *site.version;
            }
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
        return std::nullopt;
    }
    return versions;
}

/// The same, before the central database is dropped. Once a restore of these databases was
/// interrupted, the central database may already have been restored with old versions.
SiteVersions VersionsToKeep(const Session& session, const fs::path& folder,
                            const std::vector<std::string>& databases) {
    const auto marked = MarkedForRestore(*session.Own());
    const bool wasInterrupted =
        std::any_of(marked.begin(), marked.end(),
                    [&](const std::string& name) { return Contains(databases, name); });
    const auto now = VersionsOfOthers(session, databases);
    const auto kept = wasInterrupted || !now ? KeptVersions(folder) : std::nullopt;
    return kept ? *kept : now.value_or(SiteVersions());
}

/// A restored central database has old versions of the sites that are not restored with it.
void RecordOthers(const Session& session, const std::vector<std::string>& databases,
                  SiteVersions versions, Console& console) {
    const SiteVersions now = VersionsOfOthers(session, databases).value_or(SiteVersions());
    std::erase_if(versions, [&](const auto& site) {
        const auto found = now.find(site.first);
        return found == now.end() || found->second == site.second;
    });
    Record(*session.GetConnection(), versions);
    for (const auto& [siteId, version] : versions) {
        console.Say(fmt::format("tw_{}: not in the backup, so its version stays {}", siteId,
                                VersionText(version)));
    }
}

/// For the client, what the session has been told: how long a statement waits for a lock.
std::string ClientSettings(const GlobalOptions& options) {
    return options.ddlTimeoutSeconds
               ? fmt::format("SET lock_wait_timeout = {0}, innodb_lock_wait_timeout = {0};",
                             *options.ddlTimeoutSeconds)
               : "";
}

void RestoreDatabase(const Session& session, const GlobalOptions& options,
                     const ClientOptionFile& client, const ClientNumber& number,
                     const fs::path& folder, const std::string& database, Console& console) {
    try {
        LoadDump(client, DumpFile(folder, database), database,
                 session.NamingForClient() + ClientSettings(options),
                 RestoreMarkStatement(database), number);
    } catch (const CommandError& error) {
        if (options.ddlTimeoutSeconds) {  // the client's own message tells whether that was it
            for (const std::string& holder : LockHolders(session, database)) {
                console.Error("a lock may be held by " + holder);
            }
        }
        throw CommandError(
            fmt::format("cannot restore {}: {}; the database is incomplete\nhint: fix the cause "
                        "and repeat the command",
                        database, error.what()));
    }
}

struct RestoreArguments {
    fs::path folder;
    std::optional<std::int32_t> siteId;
    JobsOption jobs;
    bool apply = false;
};

/// The databases to restore.
std::vector<std::string> ChosenDatabases(const RestoreArguments& arguments) {
    auto databases = DumpedDatabases(arguments.folder);
    if (arguments.siteId) {
        const std::string database = fmt::format("tw_{}", *arguments.siteId);
        std::erase_if(databases, [&](const std::string& name) { return name != database; });
    }
    if (!databases.empty()) {
        return databases;
    }
    if (const auto runs = BackupRuns(arguments.folder); !runs.empty()) {
        std::vector<std::string> names;
        for (const BackupRun& run : runs) {
            names.push_back(run.folder.string());
        }
        throw CommandError(
            fmt::format("{} holds the backups of {}\nhint: name the folder of one of them: {}",
                        arguments.folder.string(), Count(runs.size(), "run"),
                        fmt::join(names, ", ")),
            kUsageError);
    }
    throw CommandError(
        fmt::format("{} holds no backup{}", arguments.folder.string(),
                    arguments.siteId ? fmt::format(" of site {}", *arguments.siteId) : ""));
}

/// What the restore writes into tw_tarnwick.site besides restoring the databases.
struct VersionsToSet {
    SiteVersions dumped;  ///< of the sites that are restored without the central database
    SiteVersions others;  ///< of the sites that are not restored with it
};

VersionsToSet FindVersions(const Session& session, const fs::path& folder,
                           const std::vector<std::string>& databases) {
    VersionsToSet versions;
    if (Contains(databases, kCentral)) {
        versions.others = VersionsToKeep(session, folder, databases);
    } else if (Installation(session.Own()).HasDatabase(kCentral)) {
        versions.dumped = VersionsToRecord(folder, databases);
    }
    return versions;
}

/// Checks everything that can be known to fail before the first database is dropped.
void RequireAll(const JobSessions& sessions, const fs::path& folder,
                const std::vector<std::string>& databases, const VersionsToSet& versions,
                Console& console) {
    host::Connection& connection = sessions.ConnectionOf(0);
    RequireTablePrivileges(connection, databases);
    RequirePrivilege((versions.dumped.empty() && versions.others.empty()) || MayRecord(connection),
                     kCentral, "UPDATE", ", which sets the versions of sites");
    CountedProgress progress(console, "database", databases.size());
    const auto require = [&](unsigned job, std::size_t place) {
        const std::string& database = databases[place];
        progress.Next("reading the dump of " + database);
        RequirePrivilegesFor(CheckDump(DumpFile(folder, database), database),
                             sessions.ConnectionOf(job), database);
    };
    InParallel(sessions.Count(), databases.size(), {require, {}, {}});
}

nlohmann::ordered_json ResultOf(const char* result, const std::vector<std::string>& databases,
                                const RestoreView& view) {
    return {{"command", "restore"},
            {"result", result},
            {"databases", databases},
            {"details", JsonOf(view)}};
}

/// A stop between two databases: the marks keep upgrades away until the restore is repeated.
int Stopped(const std::vector<std::string>& databases, std::size_t done, const RestoreView& view,
            Console& console) {
    const auto border = databases.begin() + static_cast<std::ptrdiff_t>(done);
    console.Error(
        fmt::format("stopped as requested; restored: {}; not yet restored: {}\nhint: repeat the "
                    "command; it restores all of them",
                    FirstFew({databases.begin(), border}), FirstFew({border, databases.end()})));
    auto result = ResultOf("stopped", databases, view);
    result["put_back"] = std::vector<std::string>(databases.begin(), border);
    console.Result(result);
    return kStopped;
}

/// A folder that nobody may write into can still be restored.
void NoteRestore(const fs::path& folder, Console& console) {
    try {
        MarkRestored(folder);
    } catch (const CommandError& error) {
        console.Warn(
            fmt::format("{}\nhint: use another --backup folder for the next run", error.what()));
    }
}

/// The sites at the same time, then the other databases one after the other: what belongs to a
/// site, such as a view, may need a table of these while it is created.
/// @returns how many are done
std::size_t RestoreInOrder(const JobSessions& sessions, const std::vector<std::string>& databases,
                           const ParallelWork& work) {
    const auto other = std::find_if(databases.begin(), databases.end(),
                                    [](const std::string& name) { return !SiteOfDatabase(name); });
    const auto sites = static_cast<std::size_t>(other - databases.begin());
    const std::size_t done = InParallel(sessions.Count(), sites, work);
    if (done < sites || (done > 0 && !work.goesOn())) {
        return done;
    }
    const auto behind = [&](std::size_t place) { return place + sites; };
    return sites +
           InParallel(1, databases.size() - sites,
                      {[&](unsigned job, std::size_t place) { work.work(job, behind(place)); },
                       [&](std::size_t place) { work.done(behind(place)); }, work.goesOn});
}

/// What one job restores with.
struct Restorer {
    Restorer(const Session& session, Console& console, CountedProgress& progress, unsigned job)
        : watch(session, number, console, progress, job) {}

    ClientNumber number;
    RestoreWatch watch;
};

int Apply(const JobSessions& sessions, const GlobalOptions& options, Console& console,
          const fs::path& folder, const std::vector<std::string>& databases,
          const RestoreView& view) {
    const Session& session = sessions.Of(0);
    host::Connection& connection = *session.GetConnection();
    const StopSignals stopSignals("database", options.graceSeconds.value_or(0));
    const VersionsToSet versions = FindVersions(session, folder, databases);
    RequireAll(sessions, folder, databases, versions, console);
    const ClientOptionFile client(session, options);
    if (StopSignals::Requested()) {
        throw CommandError("stopped as requested; nothing was restored", kStopped);
    }
    NoteRestore(folder, console);
    if (!versions.others.empty()) {
        KeepVersions(folder, versions.others);
    }
    CountedProgress progress(console, "database", databases.size());
    std::vector<std::unique_ptr<Restorer>> restorers;
    for (unsigned job = 0; job < sessions.Count(); ++job) {
        restorers.push_back(std::make_unique<Restorer>(sessions.Of(job), console, progress, job));
    }
    RestoreWatch& watch = restorers.front()->watch;
    for (const std::string& database : databases) {
        watch.In(database);
        MarkForRestore(connection, database);
    }
    watch.In(kCentral);
    Record(connection, versions.dumped);  // before the drop: no old layout under a new version
    const auto restore = [&](unsigned job, std::size_t place) {
        progress.Next("restoring " + databases[place]);
        restorers[job]->watch.In(databases[place]);
        RestoreDatabase(sessions.Of(job), options, client, restorers[job]->number, folder,
                        databases[place], console);
    };
    const auto tell = [&](std::size_t place) {
        console.Say(fmt::format("{}: restored ({} of {})", databases[place], Grouped(place + 1),
                                Grouped(databases.size())));
    };
    const auto goesOn = [] { return !StopSignals::Requested(); };
    const std::size_t done = RestoreInOrder(sessions, databases, {restore, tell, goesOn});
    if (done < databases.size()) {
        return Stopped(databases, done, view, console);
    }
    watch.In(kCentral);
    if (Contains(databases, kCentral)) {
        RecordOthers(session, databases, versions.others, console);
        RemoveKeptVersions(folder);  // before the marks, by which a later restore would take it
    }
    for (const std::string& database : databases) {
        RemoveRestoreMark(connection, database);
    }
    console.Say(fmt::format("{} restored.", Count(databases.size(), "database")));
    console.Result(ResultOf("done", databases, view));
    return kDone;
}

int Restore(const GlobalOptions& options, Console& console, const RestoreArguments& arguments) {
    const auto databases = ChosenDatabases(arguments);
    Session session(options);
    const unsigned jobs = arguments.jobs.Number();
    if (arguments.apply) {
        const RunLock lock(session, options, "restore", console);
        const RestoreView view = ViewRestore(session, arguments.folder, databases);
        Print(view, console);
        const JobSessions sessions(session, jobs, databases.size(), console);
        return Apply(sessions, options, console, arguments.folder, databases, view);
    }
    const RestoreView view = ViewRestore(session, arguments.folder, databases);
    RequireAll(JobSessions(session, jobs, databases.size(), console), arguments.folder, databases,
               FindVersions(session, arguments.folder, databases), console);
    Print(view, console);
    console.Say(fmt::format("Nothing was restored; --apply restores {}.",
                            Count(databases.size(), "database")));
    console.Result(ResultOf("shown", databases, view));
    return kFindings;
}

}  // namespace

void AddRestore(CLI::App& app, Invocation& invocation) {
    auto* command =
        app.add_subcommand("restore", "Show what a backup would restore; restore it with --apply");
    const auto arguments = std::make_shared<RestoreArguments>();
    command->add_option("DIR", arguments->folder, "The folder of one run, below that of --backup")
        ->required()
        ->check(CLI::ExistingDirectory);
    AddSiteOption(*command, arguments->siteId, "Restore only this site");
    AddJobsOption(*command, arguments->jobs, "Restore this many sites at a time");
    command->add_flag("--apply", arguments->apply, "Restore; changes since the dump are lost");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Restore(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
