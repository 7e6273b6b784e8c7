#include "cli/backup/restore_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>

#include "cli/backup/backup_run.h"
#include "cli/server/queries.h"
#include "cli/terminal/table.h"
#include "cli/terminal/text.h"
#include "twupdate/value.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

std::int64_t UpSince(host::Connection& connection, std::int64_t now) {
    const auto status = connection.Query("SHOW GLOBAL STATUS LIKE 'Uptime';");
    return status->Next() ? now - std::stoll(status->Get(1).ToText()) : now;
}

void FindWriting(host::Connection& connection, std::int64_t since, DatabaseToRestore& database) {
    const auto rows = connection.Query(
        fmt::format("SELECT table_name, GREATEST(COALESCE(UNIX_TIMESTAMP(update_time), 0), "
                    "COALESCE(UNIX_TIMESTAMP(create_time), 0)) AS written "
                    "FROM information_schema.tables WHERE table_schema = '{}' AND table_type = "
                    "'BASE TABLE' AND table_name <> 'unfinished_restore' HAVING written > {} "
                    "ORDER BY written DESC, table_name;",
                    database.name, since));
    while (rows->Next()) {
        if (database.writtenTo.empty()) {
            database.lastWritten = std::stoll(rows->Get(1).ToText());
        }
        database.writtenTo.push_back(rows->Get(0).ToText());
    }
}

/// The version that is recorded of a database now; in words where there is none.
std::string VersionNow(host::Connection& connection, const std::string& database) {
    if (!HasRows(connection, "SELECT 1 FROM information_schema.schemata WHERE schema_name = '" +
                                 database + "'")) {
        return "not there";
    }
    const auto site = SiteOfDatabase(database);
    // Half a central database has no version.
    const auto version = FirstCell(
        connection,
        site ? fmt::format("SELECT version FROM tw_tarnwick.site WHERE siteid = {};", *site)
             : "SELECT version FROM tw_tarnwick.installation;");
    const Value value(version.value_or(""));
    return value.IsNumeric() ? VersionText(value.ToDouble()) : "not known";
}

std::string AgeText(std::int64_t seconds) {
    constexpr std::int64_t kDay = 86400;
    return seconds >= 2 * kDay
               ? Count(static_cast<std::uint64_t>(seconds / kDay), "day")
               : DurationText(std::chrono::seconds(std::max<std::int64_t>(seconds, 0)));
}

std::string DumpedText(const RestoreView& view, const DatabaseToRestore& database) {
    if (!database.note || database.note->time.empty()) {
        return "not known";
    }
    return database.note->seconds == 0 ? database.note->time
                                       : fmt::format("{}, {} ago", database.note->time,
                                                     AgeText(view.now - database.note->seconds));
}

std::string WrittenText(const DatabaseToRestore& database) {
    if (database.writtenTo.empty()) {
        return "";
    }
    return fmt::format("{} ({}), the last {}", Count(database.writtenTo.size(), "table"),
                       FirstFew(database.writtenTo), UtcText(database.lastWritten));
}

}  // namespace

RestoreView ViewRestore(const Session& session, const fs::path& folder,
                        const std::vector<std::string>& databases) {
    host::Connection& connection = *session.GetConnection();
    RestoreView view;
    const auto run = ReadBackupRun(folder);
    view.sinceRun = run && run->ended;
    view.now = ServerSeconds(*session.Own());
    view.upSince = UpSince(connection, view.now);
    for (const std::string& name : databases) {
        DatabaseToRestore database;
        database.name = name;
        database.versionNow = VersionNow(connection, name);
        database.note = ReadNote(folder, name);
        const std::int64_t dumped = database.note ? database.note->seconds : 0;
        FindWriting(connection, view.sinceRun ? *run->ended : dumped, database);
        view.databases.push_back(std::move(database));
    }
    return view;
}

void Print(const RestoreView& view, Console& console) {
    TextTable table({{"Database"},
                     {"Now"},
                     {"In the dump"},
                     {"Dumped"},
                     {view.sinceRun ? "Written to since the run ended"
                                    : "Written to since, by the unfinished run too"}});
    for (const DatabaseToRestore& database : view.databases) {
        table.AddRow({database.name, database.versionNow,
                      database.note ? VersionText(database.note->version) : "not known",
                      DumpedText(view, database), WrittenText(database)});
    }
    for (const std::string& line : table.Lines()) {
        console.Print(line);
    }
    console.Print(fmt::format(
        "A restore loses the changes since the dump. The server knows the changes since "
        "its last start, {}.",
        UtcText(view.upSince)));
}

nlohmann::ordered_json JsonOf(const RestoreView& view) {
    auto list = nlohmann::ordered_json::array();
    for (const DatabaseToRestore& database : view.databases) {
        nlohmann::ordered_json row{{"database", database.name},
                                   {"version_now", database.versionNow},
                                   {"version_in_dump", nullptr},
                                   {"dumped", nullptr}};
        if (database.note) {
            row["version_in_dump"] = VersionText(database.note->version);
            row["dumped"] = database.note->time;
        }
        row["written_to"] = database.writtenTo;
        row["last_written"] = nullptr;
        if (!database.writtenTo.empty()) {
            row["last_written"] = UtcText(database.lastWritten);
        }
        list.push_back(std::move(row));
    }
    return list;
}

}  // namespace twupdate::cli
