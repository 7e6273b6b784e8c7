#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "twupdate/host.h"

namespace twupdate::cli {

/// The state of a site with respect to an upgrade.
enum class SiteState : std::uint8_t {
    kCurrent,        ///< at the current version
    kOld,            ///< an upgrade of the installation will upgrade it
    kHardDeleted,    ///< left out
    kInTransaction,  ///< left out
    kNewer,          ///< above the current version: made by a newer program
    kNoVersion,      ///< its version is NULL or not a number: an upgrade does not begin
    kNoSite,         ///< an id below 1, which no site has: left out
};

/// "current", "old", "hard-deleted", "in transaction", "newer", "no version" or "an id below 1".
std::string SiteStateText(SiteState state);

/// One row of tw_tarnwick.site.
struct SiteRow {
    std::int64_t siteId = 0;
    std::string name;               ///< empty when it is NULL
    std::optional<double> version;  ///< nothing if it is NULL or not a number
    std::string noVersion;          ///< the stored value in that case: "NULL", or a text in quotes
    bool hardDeleted = false;
    bool inTransaction = false;

    SiteState State() const;
};

/// Reads what the central database records. Each operation sends its own queries through the
/// host and throws HostError like any statement.
class Installation {
  public:
    explicit Installation(std::shared_ptr<Utility> utility);

    /// tw_tarnwick.installation.version.
    /// @throws CommandError when there is no central database, when the table has not one row with
    ///         a number, or when a restore is unfinished
    double Version();

    /// Every site, by id.
    std::vector<SiteRow> Sites();

    /// The row of one site; nothing when there is none.
    std::optional<SiteRow> Site(std::int64_t siteId);

    /// The version of the copy of the central tables that an imported site carries.
    /// @throws CommandError when the database has no such copy, or not one row with a number
    double ImportedVersion(std::int32_t siteId);

    bool HasDatabase(const std::string& name);

    /// The names of the installation's databases that the account can see.
    std::vector<std::string> Databases();

    /// The sites that an upgrade would visit and whose database the account cannot see.
    std::vector<SiteRow> WithoutDatabase(const std::vector<SiteRow>& sites);

  private:
    std::vector<SiteRow> ReadSites(const std::string& condition);
    std::shared_ptr<Recordset> Query(const std::string& sql);
    double VersionFrom(const std::string& table);

    std::shared_ptr<Utility> utility_;
};

/// What an upgrade of the installation refuses before its first statement, a line for each reason.
/// Such a site would be silently skipped, or stop the run at every repeat.
std::vector<std::string> Refusals(Installation& installation, const std::vector<SiteRow>& sites);

/// That these sites have no database, by name, and what to do.
std::string WithoutDatabaseText(const std::vector<SiteRow>& sites);

}  // namespace twupdate::cli
