#pragma once

#include <cstdint>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/backup/backup.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// A database before it is restored.
struct DatabaseToRestore {
    std::string name;
    std::string versionNow;          ///< in words where there is none, e.g. "not there"
    std::optional<BackupNote> note;  ///< of its dump
    /// The tables that were written to or made since, the last first.
    std::vector<std::string> writtenTo;
    std::int64_t lastWritten = 0;  ///< in seconds since 1970, when there are such tables
};

/// What a restore would replace, for the person who decides on it.
struct RestoreView {
    std::vector<DatabaseToRestore> databases;
    bool sinceRun = false;     ///< writing is counted since the end of the run, not since the dump
    std::int64_t now = 0;      ///< by the server's clock
    std::int64_t upSince = 0;  ///< the server does not know of any writing before its start
};

/// @throws CommandError when a note has a version that no database can have
RestoreView ViewRestore(const Session& session, const std::filesystem::path& folder,
                        const std::vector<std::string>& databases);

void Print(const RestoreView& view, Console& console);
nlohmann::ordered_json JsonOf(const RestoreView& view);

}  // namespace twupdate::cli
