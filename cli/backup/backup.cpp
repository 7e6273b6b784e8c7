#include "cli/backup/backup.h"

#include <fmt/format.h>

#include <fstream>

#include "cli/run/events.h"
#include "cli/server/grants.h"
#include "cli/server/root_site.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {

namespace fs = std::filesystem;

namespace {

constexpr const char* kInstallation = "tw_tarnwick.installation";
constexpr const char* kSite = "tw_tarnwick.site";

}  // namespace

Backup::Backup(const Session& session, const GlobalOptions& options, Console& console)
    : own_(std::make_shared<host::MariaDbUtility>(session.Connect())),
      installation_(own_),
      client_(session, options),
      folder_(options.backup),
      console_(console) {
    std::error_code error;
    const bool isNew = fs::create_directories(folder_, error);
    if (error) {
        throw CommandError(
            fmt::format("cannot make the backup folder {}: {}", folder_.string(), error.message()));
    }
    if (isNew) {
        fs::permissions(folder_, fs::perms::owner_all, error);  // it holds what the sites hold
    }
    if (!MayReadRoutines(*session.GetConnection())) {
        console_.Warn(
            "procedures and functions of others are not in the backup: the user may not read them "
            "(SELECT on mysql.proc)");
    }
}

void Backup::LadderStarting(const Position& where, double version) {
    if (where.ladder != Ladder::kServer) {
        return;
    }
    if (where.database != "tw_tarnwick") {
        // The copies of the central tables in a site.
        Dump(where.database, version, where.database + ".tw_installation");
        return;
    }
    DumpCentral();
    if (IsBelow(version, 1.0030) && installation_.HasDatabase("tw_logs")) {
        Dump("tw_logs", version, kInstallation);  // gets indexes
    }
    if (const auto root = RootSite(*own_); root && IsBelow(version, 1.0252)) {
        DumpSite(*root);  // gets a domain from the central ladder already
    }
}

void Backup::SiteStarting(const Position& where, double /*version*/) {
    DumpCentral();  // holds the version of every site, and some steps write more there
    DumpSite(*where.siteId);
}

void Backup::DumpCentral() {
    if (dumped_.insert("tw_tarnwick").second && installation_.HasDatabase("tw_tarnwick")) {
        Dump("tw_tarnwick", installation_.Version(), kInstallation);
    }
}

void Backup::DumpSite(std::int64_t siteId) {
    const std::string database = fmt::format("tw_{}", siteId);
    if (!dumped_.insert(database).second || !installation_.HasDatabase(database)) {
        return;  // a missing database is for the step to tell that needs it
    }
    const auto site =
        installation_.HasDatabase("tw_tarnwick") ? installation_.Site(siteId) : std::nullopt;
    Dump(database, site ? site->version.value_or(0) : 0, kSite);
}

void Backup::Dump(const std::string& database, double version, const std::string& source) {
    const fs::path file = DumpFile(folder_, database);
    const fs::path note = NoteFile(folder_, database);
    if (fs::exists(file)) {
        std::ifstream stream(note);
        const auto kept = nlohmann::json::parse(stream, nullptr, false);
        // A site that has come to the end since is one that an earlier run has upgraded.
        const bool done = !IsBelow(version, kCurrentVersion);
        if (!kept.is_object() || (kept.value("version", -1.0) != version && !done)) {
            throw CommandError(
                fmt::format("{} holds a backup of {} at another version; name another folder",
                            folder_.string(), database));
        }
        console_.Say(fmt::format("{}: keeping the backup of {}", database,
                                 kept.value("time", "an earlier run")));
        return;
    }
    std::ofstream(note) << nlohmann::ordered_json{
        {"database", database}, {"version", version}, {"of", source}, {"time", TimeNow()}};
    DumpDatabase(client_, database, file);
}

fs::path DumpFile(const fs::path& folder, const std::string& database) {
    return folder / (database + ".sql.gz");
}

fs::path NoteFile(const fs::path& folder, const std::string& database) {
    return folder / (database + ".json");
}

std::optional<double> DumpedSiteVersion(const fs::path& folder, std::int32_t siteId) {
    std::ifstream stream(NoteFile(folder, fmt::format("tw_{}", siteId)));
    const auto note = nlohmann::json::parse(stream, nullptr, false);
    if (!note.is_object() || !note.contains("version") || !note["version"].is_number()) {
        throw CommandError(
            fmt::format("the note on the version of site {} is missing, {}; nothing was put back",
                        siteId, NoteFile(folder, fmt::format("tw_{}", siteId)).string()));
    }
    return note.value("of", kSite) == kSite ? std::optional(note["version"].get<double>())
                                            : std::nullopt;
}

}  // namespace twupdate::cli
