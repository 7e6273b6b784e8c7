#include "cli/backup/backup_note.h"

#include <fmt/format.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/ladder.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

constexpr double kFirstVersion = 1.0;

}  // namespace

fs::path NoteFile(const fs::path& folder, const std::string& database) {
    return folder / (database + ".json");
}

std::optional<BackupNote> ReadNote(const fs::path& folder, const std::string& database) {
    const fs::path file = NoteFile(folder, database);
    std::ifstream stream(file);
    const auto json = nlohmann::json::parse(stream, nullptr, false);
    if (!json.is_object() || !json.contains("version") || !json["version"].is_number()) {
        return std::nullopt;
    }
    BackupNote note;
    note.version = json["version"].get<double>();
    // 0 is the version of a site of which nobody knows another.
    if (note.version != 0 && !(note.version >= kFirstVersion && note.version <= kCurrentVersion)) {
        throw CommandError(fmt::format(
            "{}: {} is not a possible version ({} to {}); nothing was restored", file.string(),
            VersionText(note.version), VersionText(kFirstVersion), VersionText(kCurrentVersion)));
    }
    const auto text = [&](const char* key, const char* otherwise) {
        return json.contains(key) && json[key].is_string() ? json[key].get<std::string>()
                                                           : otherwise;
    };
    note.source = text("of", BackupNote::kSite);
    note.time = text("time", "");
    if (json.contains("seconds") && json["seconds"].is_number_integer()) {
        note.seconds = json["seconds"].get<std::int64_t>();
    }
    return note;
}

std::optional<double> DumpedSiteVersion(const fs::path& folder, std::int32_t siteId) {
    const std::string database = fmt::format("tw_{}", siteId);
    const auto note = ReadNote(folder, database);
    if (!note) {
        throw CommandError(
            fmt::format("the file with the version of site {} is missing, {}; nothing was restored",
                        siteId, NoteFile(folder, database).string()));
    }
    return note->source == BackupNote::kSite ? std::optional(note->version) : std::nullopt;
}

}  // namespace twupdate::cli
