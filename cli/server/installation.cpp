#include "cli/server/installation.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "cli/server/restore_mark.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/ladder.h"

namespace twupdate::cli {
namespace {

Value FieldOf(const Recordset& rows, std::string_view column) {
    return rows.Fields().Item(column).Value();
}

/// The value that is not a version; empty for a number.
std::string NoVersion(const Value& version) {
    if (version.IsNull()) {
        return "NULL";
    }
    return version.IsNumeric() ? "" : fmt::format("'{}'", Printable(version.ToText()));
}

bool IsSet(const Value& value) {
    return !value.IsNull() && value.ToBool();
}

}  // namespace

std::string SiteStateText(SiteState state) {
    switch (state) {
        case SiteState::kCurrent:
            return "current";
        case SiteState::kOld:
            return "old";
        case SiteState::kHardDeleted:
            return "hard-deleted";
        case SiteState::kInTransaction:
            return "in transaction";
        case SiteState::kNewer:
            return "newer";
        case SiteState::kNoVersion:
            return "no version";
        case SiteState::kNoSite:
            return "an id below 1";
    }
    return "";
}

SiteState SiteRow::State() const {
    if (hardDeleted) {
        return SiteState::kHardDeleted;
    }
    if (siteId < 1) {
        return SiteState::kNoSite;
    }
    if (inTransaction) {
        return SiteState::kInTransaction;
    }
    if (!version) {
        return SiteState::kNoVersion;
    }
    if (IsBelow(*version, kCurrentVersion)) {
        return SiteState::kOld;
    }
    return *version > kCurrentVersion ? SiteState::kNewer : SiteState::kCurrent;
}

Installation::Installation(std::shared_ptr<Utility> utility) : utility_(std::move(utility)) {}

std::shared_ptr<Recordset> Installation::Query(const std::string& sql) {
    return utility_->GetDatabase()->OpenRecordset(sql, 0, 0);
}

double Installation::VersionFrom(const std::string& table) {
    const auto rows = Query("SELECT version FROM " + table + ";");
    std::vector<Value> versions;
    for (; !rows->IsEOF(); rows->MoveNext()) {
        versions.push_back(FieldOf(*rows, "version"));
    }
    rows->Close();
    if (versions.empty()) {
        throw CommandError(table +
                           " has no row, so the version is unknown\nhint: insert a row with the "
                           "version of the stored layout (0 runs every step)");
    }
    if (versions.size() > 1) {
        throw CommandError(
            fmt::format("{} has {} rows, so the version is unknown\nhint: delete all but the one "
                        "with the version of the stored layout",
                        table, versions.size()));
    }
    if (const std::string none = NoVersion(versions.front()); !none.empty()) {
        throw CommandError(
            fmt::format("{}.version is {}, so the version is unknown\nhint: set it to the version "
                        "of the stored layout (0 runs every step)",
                        table, none));
    }
    return versions.front().ToDouble();
}

bool Installation::HasDatabase(const std::string& name) {
    // A table of a database that is not there is reported like any missing table.
    const auto databases = Databases();
    return std::find(databases.begin(), databases.end(), name) != databases.end();
}

double Installation::Version() {
    RefuseUnfinishedRestore(*utility_);
    try {
        return VersionFrom("tw_tarnwick.installation");
    } catch (const HostError& error) {
        if (error.Code() != kUnknownTable && error.Code() != kUnknownDatabase) {
            throw;
        }
        if (!HasDatabase("tw_tarnwick")) {
            throw CommandError(
                "there is no central database tw_tarnwick on this server\nhint: check the "
                "connection options; on a new server, create-core creates it");
        }
        throw CommandError(
            "the central database tw_tarnwick is incomplete: it has no table installation\nhint: "
            "after an interrupted create-core, drop it and run create-core again; otherwise "
            "restore it from a backup");
    }
}

double Installation::ImportedVersion(std::int32_t siteId) {
    try {
        return VersionFrom(fmt::format("tw_{}.tw_installation", siteId));
    } catch (const HostError& error) {
        if (error.Code() != kUnknownTable && error.Code() != kUnknownDatabase) {
            throw;
        }
        throw CommandError(fmt::format(
            "tw_{} has no table tw_installation, so it holds no copy of the central tables",
            siteId));
    }
}

std::vector<SiteRow> Installation::ReadSites(const std::string& condition) {
    // An installation far behind does not have the column transaction yet.
    std::set<std::string> columns;
    const auto fields = Query("SHOW COLUMNS FROM tw_tarnwick.site;");
    for (; !fields->IsEOF(); fields->MoveNext()) {
        columns.insert(FieldOf(*fields, "Field").ToText());
    }
    fields->Close();
    const bool hasTransaction = columns.contains("transaction");
    std::vector<SiteRow> sites;
    const auto rows = Query(fmt::format(
        "SELECT siteid, sitename, version, harddeleted{} FROM tw_tarnwick.site{} ORDER BY siteid;",
        hasTransaction ? ", transaction" : "", condition));
    for (; !rows->IsEOF(); rows->MoveNext()) {
        SiteRow site;
        const Value id = FieldOf(*rows, "siteid");
        // The column may be a BIGINT: an id that the component cannot handle is shown nevertheless.
        site.siteId = std::stoll(id.ToText());
        const Value name = FieldOf(*rows, "sitename");
        site.name = name.IsNull() ? std::string() : name.ToText();
        const Value version = FieldOf(*rows, "version");
        site.noVersion = NoVersion(version);
        if (site.noVersion.empty()) {
            site.version = version.ToDouble();
        }
        site.hardDeleted = IsSet(FieldOf(*rows, "harddeleted"));
        site.inTransaction = hasTransaction && IsSet(FieldOf(*rows, "transaction"));
        sites.push_back(std::move(site));
    }
    rows->Close();
    return sites;
}

std::vector<SiteRow> Installation::Sites() {
    return ReadSites("");
}

std::optional<SiteRow> Installation::Site(std::int64_t siteId) {
    const auto sites = ReadSites(fmt::format(" WHERE siteid = {}", siteId));
    return sites.empty() ? std::nullopt : std::optional(sites.front());
}

std::vector<std::string> Installation::Databases() {
    std::vector<std::string> names;
    const auto rows = Query(
        "SELECT schema_name AS name FROM information_schema.schemata "
        "WHERE schema_name LIKE 'tw\\_%' ORDER BY schema_name;");
    for (; !rows->IsEOF(); rows->MoveNext()) {
        names.push_back(FieldOf(*rows, "name").ToText());
    }
    rows->Close();
    return names;
}

std::vector<SiteRow> Installation::WithoutDatabase(const std::vector<SiteRow>& sites) {
    const auto names = Databases();
    const std::set<std::string> there(names.begin(), names.end());
    std::vector<SiteRow> without;
    for (const SiteRow& site : sites) {
        if (site.State() == SiteState::kOld && !there.contains(fmt::format("tw_{}", site.siteId))) {
            without.push_back(site);
        }
    }
    return without;
}

std::vector<std::string> Refusals(Installation& installation, const std::vector<SiteRow>& sites) {
    std::vector<std::string> refusals;
    std::vector<SiteRow> walked;
    for (const SiteRow& site : sites) {
        if (site.State() == SiteState::kNoVersion) {
            refusals.push_back(
                fmt::format("the version of site {} in tw_tarnwick.site is {}\nhint: set it to the "
                            "version of its layout (0 runs every step)",
                            site.siteId, site.noVersion));
        } else if (site.State() == SiteState::kOld &&
                   site.siteId > std::numeric_limits<std::int32_t>::max()) {
            refusals.push_back(
                fmt::format("tw_tarnwick.site has a row with siteid {}, which is not between 1 and "
                            "2147483647\nhint: correct or delete the row",
                            site.siteId));
        } else {
            walked.push_back(site);
        }
    }
    if (const auto without = installation.WithoutDatabase(walked); !without.empty()) {
        refusals.push_back(WithoutDatabaseText(without));
    }
    return refusals;
}

std::string WithoutDatabaseText(const std::vector<SiteRow>& sites) {
    std::vector<std::string> names;
    for (const SiteRow& site : sites) {
        names.push_back(fmt::format("tw_{}", site.siteId));
    }
    return fmt::format(
        "{} no database that this account can see ({})\nhint: restore it from a backup, grant "
        "privileges on it, or mark the site hard-deleted in tw_tarnwick.site",
        Count(sites.size(), "site has", "sites have"), fmt::join(names, ", "));
}

}  // namespace twupdate::cli
