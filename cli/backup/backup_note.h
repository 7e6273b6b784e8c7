#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace twupdate::cli {

/// What the note beside a dump says.
struct BackupNote {
    static constexpr const char* kSite = "tw_tarnwick.site";  ///< where versions of sites stand

    double version = 0;        ///< of the database
    std::string source;        ///< the table that recorded it
    std::string time;          ///< of the dump, UTC, by the server's clock
    std::int64_t seconds = 0;  ///< the same, since 1970; 0 when it is not known
};

/// The note beside the dump of a database, in a backup folder.
std::filesystem::path NoteFile(const std::filesystem::path& folder, const std::string& database);

/// Nothing when there is no note, or it cannot be read.
/// @throws CommandError when its version is none that a database can have
std::optional<BackupNote> ReadNote(const std::filesystem::path& folder,
                                   const std::string& database);

/// The version of a site that tw_tarnwick.site had when its database was dumped; nothing when the
/// note beside the dump is about another version, that of copies of the central tables.
/// @throws CommandError when there is no such note
std::optional<double> DumpedSiteVersion(const std::filesystem::path& folder, std::int32_t siteId);

}  // namespace twupdate::cli
