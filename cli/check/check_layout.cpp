#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

#include "cli/check/check_finding.h"
#include "cli/check/own_changes.h"
#include "cli/server/layout.h"
#include "cli/server/root_site.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// Columns that a conversion turns from single into double precision. Those of forms are fields.
constexpr std::array<std::pair<std::string_view, std::string_view>, 9> kConverted{
    {{"account", "associatepercentage"},
     {"setting", "float_value"},
     {"navigation", "xmlmappriority"},
     {"layoutzone", "startshowdelay"},
     {"layoutzone", "startfadein"},
     {"layoutzone", "starthidedelay"},
     {"layoutzone", "startfadeout"},
     {"commission", "percentage"},
     {"accesscodeaccount", "associatepercentage"}}};

bool IsConverted(host::Connection& connection, const std::string& database,
                 const std::string& table, const std::string& column) {
    if (table.starts_with("form_")) {
        return HasRows(connection, database,
                       fmt::format("SELECT 1 FROM {{0}}.formfield WHERE type = 'float' AND {} = "
                                   "CONCAT('form_', featureid) AND {} = CONCAT('field_', "
                                   "formfieldid)",
                                   TextLiteral(table), TextLiteral(column)));
    }
    return std::find(kConverted.begin(), kConverted.end(),
                     std::pair<std::string_view, std::string_view>(table, column)) !=
           kConverted.end();
}

bool IsFloat(const std::string& column, const LayoutItem& item) {
    return item.definitions.front().starts_with(column + " FLOAT ");
}

/// A conversion that was cut between adding `double_temp` and dropping the column adds it again.
void CheckDoubleTemp(host::Connection& connection, const std::string& database,
                     const Layout& layout, const std::string& step,
                     std::vector<CheckFinding>& findings) {
    for (const auto& [name, table] : layout.tables) {
        if (!table.items.contains("double_temp")) {
            continue;
        }
        bool fails = false;
        for (const auto& [column, item] : table.items) {
            fails =
                fails || (IsFloat(column, item) && IsConverted(connection, database, name, column));
        }
        if (fails) {
            findings.push_back(
                {database, name, step, "a column double_temp is left over from a run that was cut",
                 fmt::format("ALTER TABLE {}.{} DROP COLUMN double_temp", database, name)});
        }
    }
}

void AddOwnChanges(const Session& session, const std::string& database, const Layout& stored,
                   const Layout& expected, const PendingRun& pending,
                   std::vector<std::string>& changes) {
    auto found = OwnChanges(*session.GetConnection(), database, stored, expected, pending);
    std::move(found.begin(), found.end(), std::back_inserter(changes));
}

std::string SiteDatabaseOf(const SiteRow& site) {
    return fmt::format("tw_{}", site.siteId);
}

}  // namespace

PendingRun CheckScope::CentralRun() const {
    return {Ladder::kServer, Ladder::kServerData,
            upgradesCentral ? centralVersion : kCurrentVersion};
}

void CheckCentral(const Session& session, const CheckScope& scope,
                  std::vector<CheckFinding>& findings, std::vector<std::string>& changes) {
    const std::string database = "tw_tarnwick";
    const Layout layout = ReadLayout(*session.GetConnection(), database);
    const PendingRun pending = scope.CentralRun();
    CheckCentralNeeds(session, scope, layout, pending, findings);
    if (pending.Has("ServerStep_1_0035")) {
        CheckDoubleTemp(*session.GetConnection(), database, layout, "ServerStep_1_0035", findings);
    }
    if (pending.Has("ServerDataStep_1_0030") && !scope.unreadable.contains("tw_logs") &&
        !Installation(session.Own()).HasDatabase("tw_logs")) {
        findings.push_back({"tw_logs", "", "ServerDataStep_1_0030", "the database is missing",
                            "CREATE DATABASE tw_logs"});
    }
    CheckCentralRows(session, scope, pending, findings);
    CheckRootSite(session, scope, pending, findings);
    AddOwnChanges(session, database, layout, CentralLayout(), pending, changes);
}

void CheckSite(const Session& session, const CheckScope& scope, const SiteRow& site,
               std::vector<CheckFinding>& findings, std::vector<std::string>& changes) {
    const std::string database = SiteDatabaseOf(site);
    const auto siteId = static_cast<std::int32_t>(site.siteId);
    const Layout layout = ReadLayout(*session.GetConnection(), database);
    if (layout.tables.empty() && !Installation(session.Own()).HasDatabase(database)) {
        // The central ladder comes to the root site's database before the site walk does.
        const bool root =
            RootSite(*session.Own()) == siteId && scope.CentralRun().Has("ServerDataStep_1_0252");
        const auto steps = PendingSteps(Ladder::kSiteSchema, site.version.value_or(0));
        findings.push_back(
            {database, "",
             root            ? "ServerDataStep_1_0252"
             : steps.empty() ? ""
                             : std::string(steps.front().name),
             "the site's database is missing",
             fmt::format("bring it back from a backup, or mark site {} as hard-deleted",
                         site.siteId)});
        return;
    }
    const PendingRun pending(Ladder::kSiteSchema, Ladder::kSiteContent, site.version.value_or(0));
    CheckSiteNeeds(session, database, layout, pending, findings);
    if (pending.Has("SiteSchemaStep_1_0032") && layout.tables.contains("formloadingproperty") &&
        layout.tables.contains("formmappingproperty")) {
        findings.push_back({database, "formloadingproperty", "SiteSchemaStep_1_0032",
                            "formmappingproperty, its later name, is there as well",
                            "drop or rename the one that is not in use"});
    }
    if (pending.Has("SiteSchemaStep_1_0035")) {
        CheckDoubleTemp(*session.GetConnection(), database, layout, "SiteSchemaStep_1_0035",
                        findings);
    }
    CheckSiteRows(session, scope, siteId, pending, findings);
    CheckSiteSurroundings(session, scope, siteId, pending, findings);
    AddOwnChanges(session, database, layout, SiteLayout(), pending, changes);
}

}  // namespace twupdate::cli
