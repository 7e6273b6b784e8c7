#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/backup/backup_note.h"
#include "cli/backup/backup_run.h"
#include "cli/backup/dump.h"
#include "cli/run/progress.h"
#include "cli/run/run_sink.h"
#include "cli/server/installation.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// --backup: dumps each database before its first change, into the folder of the run. A failed dump
/// ends the run before that database is changed. A run that resumes an unfinished one uses its
/// folder and keeps its dumps: they hold the state before the first change.
class Backup final : public RunSink {
  public:
    /// Makes the folders, or finds the one that is resumed.
    /// @param progress  is notified of each dump
    /// @throws CommandError
    Backup(const Session& session, const GlobalOptions& options, const RunStart& start,
           std::shared_ptr<Progress> progress, Console& console);

    const std::filesystem::path& Folder() const { return run_.folder; }

    /// Dumps that are being made at the moment, each by a program with a connection of its own.
    unsigned DumpsUnderWay() const { return dumps_; }

    /// The run has succeeded: marks its backup, and removes old ones as --keep requires. A failure
    /// here is a warning.
    void RunEnded(const Counts& counts, std::chrono::nanoseconds duration) override;
    void LadderStarting(const Position& where, double version) override;
    void SiteStarting(const Position& where, double version) override;

  private:
    /// The connection may have been lost while nothing was to be dumped.
    void ReopenIfLost();
    /// A database to be dumped into a file.
    struct Task {
        std::string database;
        std::filesystem::path file;
    };

    /// The unfinished run that this one resumes.
    std::optional<BackupRun> ResumedRun(const RunStart& start);
    /// Whether the databases that were dumped are as an unfinished run leaves them.
    bool HasDumpsOfNow(const std::filesystem::path& folder);
    std::optional<double> VersionNow(const std::string& database, const BackupNote& note);
    void DumpCentral(std::unique_lock<std::mutex>& lock, const Position& where);
    /// Prepares the dump of a site's database; nothing when it is done already.
    std::optional<Task> PrepareSite(std::int64_t siteId);
    /// Writes the note beside the dump; nothing when an earlier run has dumped the database.
    /// @param source  the table that records the version
    std::optional<Task> Prepare(const std::string& database, double version,
                                const std::string& source);
    /// Makes the dump. A lock that is not held is taken for what follows the dump.
    /// @throws HostError when the server was lost meanwhile
    void Dump(std::unique_lock<std::mutex>& lock, const Position& where,
              const std::optional<Task>& task);

    std::atomic<unsigned> dumps_ = 0;
    std::mutex mutex_;  ///< for all but the dump of a site: jobs dump several at once
    std::shared_ptr<host::Connection> connection_;
    std::shared_ptr<Utility> own_;  ///< on a connection of its own
    Installation installation_;
    ClientOptionFile client_;
    std::filesystem::path parent_;
    std::optional<std::size_t> keep_;
    BackupRun run_;
    std::set<std::string> dumped_;  ///< that have their dump
    std::shared_ptr<Progress> progress_;
    Console& console_;
};

/// The databases that --backup dumps, of those that the folder has.
/// @throws CommandError when nothing can be seen of it
std::vector<std::string> DumpedDatabases(const std::filesystem::path& folder);

/// The site to which a database belongs; nothing for tw_tarnwick and tw_logs.
std::optional<std::int32_t> SiteOfDatabase(const std::string& database);

/// The dump of a database in a backup folder.
std::filesystem::path DumpFile(const std::filesystem::path& folder, const std::string& database);

}  // namespace twupdate::cli
