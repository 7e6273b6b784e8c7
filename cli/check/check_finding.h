#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cli/server/grants.h"
#include "cli/server/installation.h"
#include "cli/server/layout.h"
#include "cli/server/pending_run.h"
#include "cli/server/queries.h"
#include "cli/server/session.h"
#include "cli/server/stored_columns.h"

namespace twupdate::cli {

/// Something that would make an upgrade fail.
struct CheckFinding {
    std::string database;  ///< empty when it concerns none
    std::string table;     ///< likewise
    std::string step;      ///< that would fail; empty when the run would not come that far
    std::string problem;
    std::string cure;

    /// One line: "tw_7.layoutzone: …, so SiteSchemaStep_1_0035 fails; …".
    std::string Text() const;
};

/// The components that the upgrade knows.
struct Components {
    std::map<std::string, std::string> folders;  ///< their names, by component id as text
    std::optional<CheckFinding> fault;           ///< why they cannot be told; without a step
};

/// What is looked at, what the upgrade would bring along, and what is read once for all sites.
struct CheckScope {
    std::filesystem::path installFolder;
    std::string localHostName;
    double centralVersion = 0;
    bool upgradesCentral = false;           ///< before it comes to the sites
    StoredTables central;                   ///< of the central database
    Components components = {};             ///< as KnownComponents gives them
    std::set<std::string> unreadable = {};  ///< databases that the user may not read

    /// Of the central database; none when it is not upgraded.
    PendingRun CentralRun() const;
};

/// A database that the upgrade will read or write, and the version that says how far it has to go:
/// its own, or the central database's for what the central ladders do in others.
struct PendingDatabase {
    enum class Kind : std::uint8_t {
        kCentral,
        kLogs,
        kRootSite,  ///< as far as the central ladders write into it
        kSite,
        kRecord,  ///< the central database when one site alone is upgraded
    };
    std::string name;
    Kind kind = Kind::kSite;
    double version = 0;

    /// The steps of its ladders.
    PendingRun Run() const;
};

/// The server: another run in progress, its version, settings under which a statement fails.
/// @param pending  all of them readable
void CheckServer(const Session& session, const std::vector<PendingDatabase>& pending,
                 std::vector<CheckFinding>& findings);

/// Tables whose rows can become longer than the row format of InnoDB takes.
void CheckRowSizes(host::Connection& connection, const std::vector<PendingDatabase>& pending,
                   std::vector<CheckFinding>& findings);

/// The rights of the user, from SHOW GRANTS.
/// @return the databases that the user may not read
std::set<std::string> CheckRights(host::Connection& connection,
                                  const std::vector<PendingDatabase>& pending,
                                  std::vector<CheckFinding>& findings);

/// The free space where the server keeps its data, against the largest table that will be changed.
/// @param notes  receives a line when the space cannot be seen from here
void CheckSpace(const Session& session, const std::vector<PendingDatabase>& pending,
                std::vector<CheckFinding>& findings, std::vector<std::string>& notes);

/// The data files that the pending central steps import, against their format and against the
/// server's max_allowed_packet.
/// @param central  the central database, which takes them
void CheckDataFiles(const Session& session, const std::filesystem::path& installFolder,
                    const StoredTables& central, std::vector<CheckFinding>& findings);

/// The layout of the central database and of tw_logs, and its rows.
/// @param changes  receives what OwnChanges tells
void CheckCentral(const Session& session, const CheckScope& scope,
                  std::vector<CheckFinding>& findings, std::vector<std::string>& changes);

/// One site that the upgrade will come to.
/// @param changes  receives what OwnChanges tells
void CheckSite(const Session& session, const CheckScope& scope, const SiteRow& site,
               std::vector<CheckFinding>& findings, std::vector<std::string>& changes);

// --- parts of these two ------------------------------------------------------------------------

/// Tables and columns that a pending step names without asking whether they are there.
void CheckCentralNeeds(const Session& session, const CheckScope& scope, const Layout& layout,
                       const PendingRun& pending, std::vector<CheckFinding>& findings);
void CheckSiteNeeds(const Session& session, const std::string& database, const Layout& layout,
                    const PendingRun& pending, std::vector<CheckFinding>& findings);

/// Stored rows that a pending step cannot read, convert or write.
void CheckCentralRows(const Session& session, const CheckScope& scope, const PendingRun& pending,
                      std::vector<CheckFinding>& findings);
void CheckSiteRows(const Session& session, const CheckScope& scope, std::int32_t siteId,
                   const PendingRun& pending, std::vector<CheckFinding>& findings);

/// Rows that a pending step adds without a value for a column that has no default, and texts and
/// numbers of a step that a column does not hold.
void CheckSiteWrites(const Session& session, const std::string& database, const PendingRun& pending,
                     const StoredTables& stored, std::vector<CheckFinding>& findings);

/// The triggers on tables whose rows the upgrade changes. What they do cannot be known beforehand.
/// @param notes  receives a line that names them
void NoteTriggers(host::Connection& connection, const std::vector<PendingDatabase>& pending,
                  std::vector<std::string>& notes);

/// The columns of a table that an INSERT would leave without a value.
/// @param columns       that the INSERT names, apart by blanks
/// @param triggersHelp  false for an INSERT ... SELECT, which is refused before a trigger runs
void CheckInsert(host::Connection& connection, const std::string& database,
                 const StoredTables& stored, std::string_view table, std::string_view columns,
                 std::string_view step, std::vector<CheckFinding>& findings,
                 bool triggersHelp = true);

/// The components that the upgrade knows when it comes to the sites.
Components KnownComponents(host::Connection& connection, const CheckScope& scope);

/// What a pending step takes from elsewhere: the components, the central database, the files.
void CheckSiteSurroundings(const Session& session, const CheckScope& scope, std::int32_t siteId,
                           const PendingRun& pending, std::vector<CheckFinding>& findings);

/// The tables and rows of the root site that the central ladders come to.
void CheckRootSite(const Session& session, const CheckScope& scope, const PendingRun& pending,
                   std::vector<CheckFinding>& findings);

/// The files among these: the templates, the folders of the site, robots.txt.
/// @param formComponents  the components of the site's form pages
void CheckSiteFiles(const Session& session, const CheckScope& scope, std::int32_t siteId,
                    const PendingRun& pending, const std::vector<std::string>& formComponents,
                    std::vector<CheckFinding>& findings);

/// The folder that holds `templates`, `components`, `wwwroot` and `sites_secure`.
std::filesystem::path InstallationRoot(const std::filesystem::path& installFolder);

/// An index of a column's first characters that a pending step adds.
struct PrefixIndex {
    std::string name;
    std::string column;
    std::string characters;  ///< how many
};

/// Nothing when the index can be added.
/// @param type  of the column, such as "VARCHAR(8)"
std::optional<CheckFinding> PrefixFinding(const std::string& database, const std::string& table,
                                          const std::string& step, const PrefixIndex& index,
                                          const std::string& type);

/// Adds a finding unless the same is said of that place already, with an earlier step.
void AddOnce(CheckFinding finding, std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
