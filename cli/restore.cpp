#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>

#include "cli/backup.h"
#include "cli/check_finding.h"
#include "cli/commands.h"
#include "cli/dump.h"
#include "cli/failure.h"
#include "cli/run_lock.h"
#include "cli/session.h"
#include "cli/site_option.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSuffix = ".sql.gz";

std::vector<std::string> DumpedDatabases(const fs::path& folder) {
    std::vector<std::string> databases;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("tw_") && name.ends_with(kSuffix)) {
            databases.push_back(name.substr(0, name.size() - kSuffix.size()));
        }
    }
    std::sort(databases.begin(), databases.end());
    return databases;
}

/// A site that comes back alone has its old version again, which the central database must say.
void RecordOldVersion(const Session& session, const fs::path& folder, std::int32_t siteId) {
    std::ifstream stream(NoteFile(folder, fmt::format("tw_{}", siteId)));
    const auto note = nlohmann::json::parse(stream, nullptr, false);
    if (!note.is_object() || !note.contains("version")) {
        throw CommandError(fmt::format(
            "the note on the version of site {} is missing; set its version in tw_tarnwick.site",
            siteId));
    }
    const Value version = note["version"].get<double>();
    session.GetConnection()->ExecutePrepared(
        fmt::format("UPDATE tw_tarnwick.site SET version = ? WHERE siteid = {};", siteId),
        std::span(&version, 1));
}

/// A database is dropped before it is made again, so a right that is missing must show before.
void RequireRights(host::Connection& connection, const std::vector<std::string>& databases) {
    for (const std::string& database : databases) {
        for (const char* right : {"DROP", "CREATE", "ALTER", "INSERT"}) {
            if (!HasRight(connection, database, right)) {
                throw CommandError(fmt::format(
                    "{}: the user lacks the right {}; nothing was put back", database, right));
            }
        }
    }
}

void PutBack(const ClientOptionFile& client, const fs::path& folder, const std::string& database) {
    try {
        LoadDump(client, DumpFile(folder, database));
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
    RequireRights(*session.GetConnection(), databases);
    const RunLock lock(session, options);
    const ClientOptionFile client(session, options);
    for (const std::string& database : databases) {
        CheckDump(DumpFile(folder, database));  // all of them, before the first is put back
    }
    for (const std::string& database : databases) {
        PutBack(client, folder, database);
        console.Say(fmt::format("{}: put back", database));
    }
    if (siteId) {
        RecordOldVersion(session, folder, *siteId);
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
