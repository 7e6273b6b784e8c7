#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "cli/backup/dump.h"
#include "cli/run/run_sink.h"
#include "cli/server/installation.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// --backup: dumps each database before it is first changed. What cannot be dumped ends the run
/// before that database is touched. A backup that is there already, of the same version, is the
/// one that an earlier run made before its first change, and is kept.
class Backup final : public RunSink {
  public:
    /// Makes the folder.
    /// @throws CommandError
    Backup(const Session& session, const GlobalOptions& options, Console& console);

    void LadderStarting(const Position& where, double version) override;
    void SiteStarting(const Position& where, double version) override;

  private:
    void DumpCentral();
    void DumpSite(std::int64_t siteId);
    /// @param source  the table that records the version
    void Dump(const std::string& database, double version, const std::string& source);

    std::shared_ptr<Utility> own_;  ///< on a connection of its own
    Installation installation_;
    ClientOptionFile client_;
    std::filesystem::path folder_;
    std::set<std::string> dumped_;  ///< by this run
    Console& console_;
};

/// The dump of a database, and the note beside it, in a backup folder.
std::filesystem::path DumpFile(const std::filesystem::path& folder, const std::string& database);
std::filesystem::path NoteFile(const std::filesystem::path& folder, const std::string& database);

/// The version of a site that tw_tarnwick.site had when its database was dumped; nothing when the
/// note beside the dump is about another version, that of copies of the central tables.
/// @throws CommandError when there is no such note
std::optional<double> DumpedSiteVersion(const std::filesystem::path& folder, std::int32_t siteId);

}  // namespace twupdate::cli
