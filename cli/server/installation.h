#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "twupdate/host.h"

namespace twupdate::cli {

/// How a site stands to an upgrade.
enum class SiteState : std::uint8_t {
    kCurrent,        ///< at the current version
    kOld,            ///< an upgrade of the installation will upgrade it
    kHardDeleted,    ///< left out
    kInTransaction,  ///< left out
    kNewer,          ///< above the current version: made by a newer program
    kNoVersion,      ///< its version is NULL or no number: an upgrade does not begin
};

/// "current", "old", "hard-deleted", "in transaction", "newer" or "no version".
std::string SiteStateText(SiteState state);

/// One row of tw_tarnwick.site.
struct SiteRow {
    std::int64_t siteId = 0;
    std::string name;               ///< empty when it is NULL
    std::optional<double> version;  ///< nothing when it is NULL
    bool hardDeleted = false;
    bool inTransaction = false;

    SiteState State() const;
};

/// Reads what the central database records. Each operation sends its own queries through the
/// host and throws HostError like any statement.
class Installation {
  public:
    explicit Installation(std::shared_ptr<Utility> utility);

    /// tw_tarnwick.installation.version. Of several rows the lowest.
    /// @throws CommandError when there is no central database, no row, or a NULL, or when a restore
    ///         has not come to its end
    double Version();

    /// Every site, by id.
    std::vector<SiteRow> Sites();

    /// The row of one site; nothing when there is none.
    std::optional<SiteRow> Site(std::int64_t siteId);

    /// The version of the copy of the central tables that an imported site carries.
    /// @throws CommandError when the database has no such copy, or its version is NULL
    double ImportedVersion(std::int32_t siteId);

    bool HasDatabase(const std::string& name);

    /// The names of the databases that the user sees, of those that belong to the installation.
    std::vector<std::string> Databases();

  private:
    std::vector<SiteRow> ReadSites(const std::string& condition);
    std::shared_ptr<Recordset> Query(const std::string& sql);
    double VersionFrom(const std::string& table);

    std::shared_ptr<Utility> utility_;
};

}  // namespace twupdate::cli
