#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <optional>
#include <regex>

#include "cli/backup/backup.h"
#include "cli/backup/dump.h"
#include "cli/backup/kept_versions.h"
#include "cli/commands/commands.h"
#include "cli/commands/site_option.h"
#include "cli/run/run_lock.h"
#include "cli/server/grants.h"
#include "cli/server/queries.h"
#include "cli/server/restore_mark.h"
#include "cli/server/session.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

constexpr const char* kCentral = "tw_tarnwick";

/// The databases that --backup dumps, of those that the folder has.
std::vector<std::string> DumpedDatabases(const fs::path& folder) {
    const std::regex form(R"((tw_(?:tarnwick|logs|\d+))\.sql\.gz)");
    std::vector<std::string> databases;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        std::smatch parts;
        if (std::regex_match(name, parts, form)) {
            databases.push_back(parts[1]);
        }
    }
    std::sort(databases.begin(), databases.end(), ComesBefore);
    return databases;
}

/// A database is dropped before it is made again, so a right that is missing must show before.
void RequireRight(bool granted, const std::string& database, const std::string& right,
                  const std::string& purpose = "") {
    if (!granted) {
        throw CommandError(fmt::format("{}: the user lacks the right {}{}; nothing was put back",
                                       database, right, purpose));
    }
}

void RequireTableRights(host::Connection& connection, const std::vector<std::string>& databases) {
    for (const std::string& database : databases) {
        for (const char* right : {"DROP", "CREATE", "ALTER", "INSERT"}) {
            RequireRight(HasRight(connection, database, right), database, right);
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

/// The server then takes triggers and functions from those alone who may do anything.
bool DistrustsFunctions(host::Connection& connection) {
    return FirstCell(connection,
                     "SELECT @@GLOBAL.log_bin AND NOT @@GLOBAL.log_bin_trust_function_creators;") ==
           "1";
}

/// What the dump holds beside its tables takes rights of its own.
void RequireRightsFor(const DumpContents& contents, host::Connection& connection,
                      const std::string& database) {
    constexpr std::array<std::pair<const char*, const char*>, 9> kRights{
        {{"VIEW", "CREATE VIEW"},
         {"TRIGGER", "TRIGGER"},
         {"EVENT", "EVENT"},
         {"PROCEDURE", "CREATE ROUTINE"},
         {"PROCEDURE", "ALTER ROUTINE"},  // a dump drops it before
         {"FUNCTION", "CREATE ROUTINE"},
         {"FUNCTION", "ALTER ROUTINE"},
         {"PACKAGE", "CREATE ROUTINE"},
         {"PACKAGE", "ALTER ROUTINE"}}};
    for (const auto& [kind, right] : kRights) {
        RequireRight(!contents.Holds(kind) || HasRight(connection, database, right), database,
                     right);
    }
    for (const std::string& definer : contents.Definers()) {
        RequireRight(IsOwn(connection, definer) || HasGlobalRight(connection, "SET USER") ||
                         HasGlobalRight(connection, "SUPER"),
                     database, "SET USER", " for what belongs to " + definer);
    }
    if (contents.Holds("TRIGGER") || contents.Holds("FUNCTION")) {
        RequireRight(!DistrustsFunctions(connection) || HasGlobalRight(connection, "SUPER"),
                     database, "SUPER",
                     ", which triggers and functions need where the server has a binary log and "
                     "log_bin_trust_function_creators is off");
    }
}

/// The versions that the dumped sites have to have again, where the central database does not come
/// back with them.
SiteVersions VersionsToRecord(const fs::path& folder, const std::vector<std::string>& databases) {
    SiteVersions versions;
    for (const std::string& database : databases) {
        std::int32_t siteId = 0;
        const char* end = database.data() + database.size();
        if (std::from_chars(database.data() + 3, end, siteId).ptr != end) {
            continue;
        }
        if (const auto version = DumpedSiteVersion(folder, siteId)) {
            versions[siteId] = *version;
        }
    }
    return versions;
}

/// Asked of the server itself: a right on the table or its column suffices.
bool MayRecord(host::Connection& connection) {
    try {
        connection.Execute("UPDATE tw_tarnwick.site SET version = 0 WHERE FALSE;");
        return true;
    } catch (const HostError& error) {
        if (!IsMissing(error) && !IsDenied(error)) {
            throw;
        }
        return IsMissing(error);  // half a central database, which comes back
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

/// The versions of the sites whose databases stay as they are; nothing where the central database
/// is not whole.
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

/// The same, before the central database is dropped. Once a restore of these databases was cut,
/// the central database may have come back with old versions already.
SiteVersions VersionsToKeep(const Session& session, const fs::path& folder,
                            const std::vector<std::string>& databases) {
    const auto marked = MarkedForRestore(*session.Own());
    const bool wasCut = std::any_of(marked.begin(), marked.end(), [&](const std::string& name) {
        return Contains(databases, name);
    });
    const auto now = VersionsOfOthers(session, databases);
    const auto kept = wasCut || !now ? KeptVersions(folder) : std::nullopt;
    return kept ? *kept : now.value_or(SiteVersions());
}

/// A central database that has come back has old versions of sites that do not come back with it.
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

void PutBack(const ClientOptionFile& client, const fs::path& folder, const std::string& database) {
    try {
        LoadDump(client, DumpFile(folder, database), database, RestoreMarkStatement(database));
    } catch (const CommandError& error) {
        throw CommandError(
            fmt::format("cannot put back {}: {}; the database is not whole now: mend the cause and "
                        "give the same command again",
                        database, error.what()));
    }
}

int Restore(const GlobalOptions& options, Console& console, const fs::path& folder,
            std::optional<std::int32_t> siteId) {
    auto databases = DumpedDatabases(folder);
    if (siteId) {
        const std::string database = fmt::format("tw_{}", *siteId);
        std::erase_if(databases, [&](const std::string& name) { return name != database; });
    }
    if (databases.empty()) {
        throw CommandError(fmt::format("{} holds no backup{}", folder.string(),
                                       siteId ? fmt::format(" of site {}", *siteId) : ""));
    }
    Session session(options);
    host::Connection& connection = *session.GetConnection();
    RequireTableRights(connection, databases);
    const RunLock lock(session, options);
    const ClientOptionFile client(session, options);
    const bool central = Contains(databases, kCentral);
    SiteVersions versions;
    SiteVersions others;
    if (central) {
        others = VersionsToKeep(session, folder, databases);
    } else if (Installation(session.Own()).HasDatabase(kCentral)) {
        versions = VersionsToRecord(folder, databases);
    }
    RequireRight((versions.empty() && others.empty()) || MayRecord(connection), kCentral, "UPDATE",
                 ", which sets the versions of sites");
    for (const std::string& database : databases) {  // all of them, before the first is put back
        RequireRightsFor(CheckDump(DumpFile(folder, database), database), connection, database);
    }
    if (!others.empty()) {
        KeepVersions(folder, others);
    }
    for (const std::string& database : databases) {
        MarkForRestore(connection, database);
    }
    Record(connection, versions);  // before the drop: no old layout stands under a new version
    for (const std::string& database : databases) {
        PutBack(client, folder, database);
        console.Say(fmt::format("{}: put back", database));
    }
    if (central) {
        RecordOthers(session, databases, others, console);
        RemoveKeptVersions(folder);  // before the marks, by which a later restore would take it
    }
    for (const std::string& database : databases) {
        RemoveRestoreMark(connection, database);
    }
    console.Say(fmt::format("{} put back.", Count(databases.size(), "database")));
    console.Result({{"command", "restore"}, {"result", "done"}, {"databases", databases}});
    return kDone;
}

}  // namespace

void AddRestore(CLI::App& app, Invocation& invocation) {
    struct Arguments {
        fs::path folder;
        std::optional<std::int32_t> siteId;
    };
    auto* command = app.add_subcommand("restore", "Put back what --backup has kept");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("DIR", arguments->folder, "The folder of the backup")
        ->required()
        ->check(CLI::ExistingDirectory);
    AddSiteOption(*command, arguments->siteId, "Put back one site alone");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Restore(options, console, arguments->folder, arguments->siteId);
        };
    });
}

}  // namespace twupdate::cli
