#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "cli/run/run_sink.h"
#include "twupdate/host.h"

namespace twupdate::cli {

/// The backup of one run: a folder below that of --backup, named after the time at which the run
/// began. Its file run.json identifies the run and its state.
struct BackupRun {
    enum class State : std::uint8_t {
        kUnfinished,  ///< it has not ended: the run that resumes it keeps its dumps
        kFinished,
        kRestored,  ///< a database was restored since, so that no run resumes it
    };
    std::filesystem::path folder;
    std::string command;
    std::optional<std::int32_t> siteId;  ///< that the command names
    std::string server;                  ///< see ServerName
    State state = State::kUnfinished;
    std::int64_t began = 0;             ///< by the server's clock, in seconds since 1970
    std::optional<std::int64_t> ended;  ///< likewise
};

/// Reads the run of a folder; nothing when it is no run's, or cannot be read.
std::optional<BackupRun> ReadBackupRun(const std::filesystem::path& folder);

/// @throws CommandError
void WriteBackupRun(const BackupRun& run);

/// The runs whose folders are in this one, the oldest first.
std::vector<BackupRun> BackupRuns(const std::filesystem::path& parent);

/// Creates the folder of a run that begins now, accessible only to its owner.
/// @throws CommandError
BackupRun MakeBackupRun(const std::filesystem::path& parent, const RunStart& start,
                        Utility& utility);

/// A database from `folder` is restored: neither its run nor another unfinished one beside it, of
/// the same server, is resumed after that.
/// @throws CommandError
void MarkRestored(const std::filesystem::path& folder);

/// Removes the oldest runs that have ended, but for the newest `keep` of them. A run whose folder
/// holds anything but a backup, or an unfinished restore, stays.
/// @return the folders that were removed
std::vector<std::filesystem::path> RemoveOldRuns(const std::filesystem::path& parent,
                                                 std::size_t keep);

/// Which server this is, so that two servers may share a folder of --backup.
std::string ServerName(Utility& utility);

/// The server's clock, in seconds since 1970.
std::int64_t ServerSeconds(Utility& utility);

/// "2026-11-21T21:05:03Z".
std::string UtcText(std::int64_t seconds);

}  // namespace twupdate::cli
