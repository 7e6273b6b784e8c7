#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "cli/check_finding.h"
#include "cli/layout.h"
#include "cli/root_site.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

/// The first step of the ladder, pending at that version, that makes something in the table.
std::string FirstPendingStep(const Layout::Table& table, Ladder ladder, double version) {
    for (const LadderStep& step : PendingSteps(ladder, version)) {
        for (const auto& [name, item] : table.items) {
            if (item.step == step.name) {
                return std::string(step.name);
            }
        }
    }
    return "";
}

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

bool IsConverted(const std::string& table, const std::string& column) {
    return (table.starts_with("form_") && column.starts_with("field_")) ||
           std::find(kConverted.begin(), kConverted.end(),
                     std::pair<std::string_view, std::string_view>(table, column)) !=
               kConverted.end();
}

bool IsFloat(const Layout::Table& table, const std::string& column) {
    const auto item = table.items.find(column);
    return item != table.items.end() &&
           item->second.definitions.front().starts_with(column + " FLOAT ");
}

/// A conversion that was cut between adding `double_temp` and dropping the column adds it again.
void CheckDoubleTemp(const std::string& database, const Layout& layout, const std::string& step,
                     std::vector<CheckFinding>& findings) {
    for (const auto& [name, table] : layout.tables) {
        bool fails = false;
        for (const auto& [column, item] : table.items) {
            fails = fails || (IsConverted(name, column) && IsFloat(table, column));
        }
        if (fails && table.items.contains("double_temp")) {
            findings.push_back(
                {database, name, step, "a column double_temp is left over from a run that was cut",
                 fmt::format("ALTER TABLE {}.{} DROP COLUMN double_temp", database, name)});
        }
    }
}

bool Runs(Ladder ladder, std::string_view name, double version) {
    const auto pending = PendingSteps(ladder, version);
    return std::any_of(pending.begin(), pending.end(),
                       [&](const LadderStep& step) { return step.name == name; });
}

std::string SiteDatabaseOf(const SiteRow& site) {
    return fmt::format("tw_{}", site.siteId);
}

/// Fields whose form table the step describes without asking whether it is there.
void CheckFormTables(const Session& session, const std::string& database, const Layout& layout,
                     const std::string& type, const std::string& step,
                     std::vector<CheckFinding>& findings) {
    const auto rows = session.GetConnection()->Query(fmt::format(
        "SELECT DISTINCT featureid FROM {}.formfield WHERE type = '{}';", database, type));
    while (rows->Next()) {
        const std::string form = "form_" + rows->Get(0).ToText();
        if (!layout.tables.contains(form)) {
            findings.push_back({database, form, step,
                                fmt::format("the table is missing, but formfield has {} fields "
                                            "of it",
                                            type),
                                "delete these rows of formfield, or bring the table back"});
        }
    }
}

}  // namespace

void CheckCentral(const Session& session, double version, std::vector<CheckFinding>& findings) {
    const std::string database = "tw_tarnwick";
    const Layout layout = ReadLayout(*session.Own(), database);
    for (const auto& [name, table] : CentralLayout().tables) {
        if (table.step.empty() && !layout.tables.contains(name)) {
            std::string step = FirstPendingStep(table, Ladder::kServer, version);
            step = step.empty() ? FirstPendingStep(table, Ladder::kServerData, version) : step;
            if (!step.empty()) {
                findings.push_back(
                    {database, name, step, "the table is missing", "bring it back from a backup"});
            }
        }
    }
    if (Runs(Ladder::kServer, "ServerStep_1_0035", version)) {
        CheckDoubleTemp(database, layout, "ServerStep_1_0035", findings);
    }
    if (Runs(Ladder::kServerData, "ServerDataStep_1_0030", version) &&
        !Installation(session.Own()).HasDatabase("tw_logs")) {
        findings.push_back({"tw_logs", "", "ServerDataStep_1_0030", "the database is missing",
                            "CREATE DATABASE tw_logs"});
    }
}

void CheckSite(const Session& session, const SiteRow& site, std::vector<CheckFinding>& findings) {
    const std::string database = SiteDatabaseOf(site);
    const double version = site.version.value_or(0);
    if (site.siteId > std::numeric_limits<std::int32_t>::max()) {
        findings.push_back({"tw_tarnwick", "site", "",
                            fmt::format("the site id {} does not fit 32 bits, and the site walk "
                                        "ends there",
                                        site.siteId),
                            "mend or remove the row"});
        return;
    }
    const Layout layout = ReadLayout(*session.Own(), database);
    if (layout.tables.empty() && !Installation(session.Own()).HasDatabase(database)) {
        // The central ladder comes to the root site's database before the site walk does.
        const bool root = RootSite(*session.Own()) == static_cast<std::int32_t>(site.siteId) &&
                          Runs(Ladder::kServerData, "ServerDataStep_1_0252",
                               Installation(session.Own()).Version());
        const auto pending = PendingSteps(Ladder::kSiteSchema, version);
        findings.push_back(
            {database, "",
             root              ? "ServerDataStep_1_0252"
             : pending.empty() ? ""
                               : std::string(pending.front().name),
             "the site's database is missing",
             fmt::format("bring it back from a backup, or mark site {} as hard-deleted",
                         site.siteId)});
        return;
    }
    for (const auto& [name, table] : SiteLayout().tables) {
        if (!table.optional && table.step.empty() && !layout.tables.contains(name)) {
            const std::string step = FirstPendingStep(table, Ladder::kSiteSchema, version);
            if (!step.empty()) {
                findings.push_back(
                    {database, name, step, "the table is missing", "bring it back from a backup"});
            }
        }
    }
    if (Runs(Ladder::kSiteSchema, "SiteSchemaStep_1_0032", version) &&
        layout.tables.contains("formloadingproperty") &&
        layout.tables.contains("formmappingproperty")) {
        findings.push_back({database, "formloadingproperty", "SiteSchemaStep_1_0032",
                            "formmappingproperty, its later name, is there as well",
                            "drop or rename the one that is not in use"});
    }
    const bool hasForms = layout.tables.contains("formfield");
    if (Runs(Ladder::kSiteSchema, "SiteSchemaStep_1_0035", version)) {
        CheckDoubleTemp(database, layout, "SiteSchemaStep_1_0035", findings);
        if (hasForms) {
            CheckFormTables(session, database, layout, "float", "SiteSchemaStep_1_0035", findings);
        }
    }
    if (hasForms && Runs(Ladder::kSiteSchema, "SiteSchemaStep_1_0047", version)) {
        CheckFormTables(session, database, layout, "currency", "SiteSchemaStep_1_0047", findings);
    }
}

}  // namespace twupdate::cli
