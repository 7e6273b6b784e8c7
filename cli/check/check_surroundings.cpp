#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>
#include <set>

#include "cli/check/check_finding.h"
#include "cli/server/root_site.h"
#include "cli/server/stored_columns.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

// --- components ----------------------------------------------------------------------------------

struct ComponentUse {
    std::string_view step;
    std::string_view components;
};

/// The components that steps look up in any site.
constexpr std::array kComponentUses{
    ComponentUse{"SiteContentStep_1_0002", "1000 100"},
    ComponentUse{"SiteContentStep_1_0004", "900 3700"},
    ComponentUse{"SiteContentStep_1_0007", "2400 1000"},
    ComponentUse{"SiteContentStep_1_0008", "100"},
    ComponentUse{"SiteContentStep_1_0015", "1500 2600"},
    ComponentUse{"SiteContentStep_1_0016", "300"},
    ComponentUse{"SiteContentStep_1_0022", "3000 900"},
    ComponentUse{"SiteContentStep_1_0027", "2300 300"},
    ComponentUse{"SiteContentStep_1_0029", "2600"},
    ComponentUse{"SiteContentStep_1_0032", "4100"},
    ComponentUse{"SiteContentStep_1_0048", "1000"},
    ComponentUse{"SiteContentStep_1_0051", "1450 900 800 3700 400 500 1000 1600"},
    ComponentUse{"SiteContentStep_1_0057", "900 3600"},
    ComponentUse{"SiteContentStep_1_0058", "1200"},
    ComponentUse{"SiteContentStep_1_0071", "1000"},
    ComponentUse{"SiteContentStep_1_0078", "1000"},
    ComponentUse{"SiteContentStep_1_0080", "1000"},
    ComponentUse{"SiteContentStep_1_0086", "1000 4300"},
    ComponentUse{"SiteContentStep_1_0087", "1000"},
    ComponentUse{"SiteContentStep_1_0094", "1000"},
    ComponentUse{"SiteContentStep_1_0096", "500 400"},
    ComponentUse{"SiteContentStep_1_0235", "1000"},
    ComponentUse{"SiteContentStep_1_0238", "900 3700"},
    ComponentUse{"SiteContentStep_1_0239", "100"},
    ComponentUse{"SiteContentStep_1_0245", "900 3700"},
    ComponentUse{"SiteContentStep_1_0258", "2600"},
};

/// The components of a site's form pages, but for those that cannot be read as a number, which are
/// findings of their own; none when its tables cannot tell.
std::vector<std::string> FormComponents(host::Connection& connection, const std::string& database) {
    return FirstColumn(
        connection,
        fmt::format("SELECT DISTINCT f.componentid FROM {0}.form m INNER JOIN {0}.feature f ON "
                    "f.featureid = m.formfeatureid WHERE f.componentid BETWEEN -2147483648 AND "
                    "2147483647 ORDER BY f.componentid;",
                    database));
}

/// The step that comes first to the components; empty when none is pending.
std::string_view FirstComponentStep(const PendingRun& pending) {
    std::string_view first;
    for (const ComponentUse& use : kComponentUses) {
        if (pending.Has(use.step) && (first.empty() || pending.IsBefore(use.step, first))) {
            first = use.step;
        }
    }
    return first;
}

/// A component that is not known is named once, with the first step that looks it up.
void CheckComponents(const std::string& database, const PendingRun& pending,
                     const Components& known, const std::vector<std::string>& formComponents,
                     std::vector<CheckFinding>& findings) {
    std::set<std::string> named;
    const auto use = [&](std::string_view step, const std::string& component,
                         std::string_view table) {
        if (!known.folders.contains(component) && named.insert(component).second) {
            findings.push_back(
                {database, std::string(table), std::string(step),
                 fmt::format("neither tw_tarnwick.component nor the data file has component {}",
                             component),
                 table.empty() ? "bring resources/componentData.txt back from the package"
                               : "give the form pages of that component another one, or bring the "
                                 "component's line in resources/componentData.txt back"});
        }
    };
    for (const ComponentUse& at : kComponentUses) {
        if (pending.Has(at.step)) {
            for (const std::string& component : SplitAtBlanks(at.components)) {
                use(at.step, component, "");
            }
        }
    }
    if (pending.Has("SiteContentStep_1_0091")) {
        for (const std::string& component : formComponents) {
            use("SiteContentStep_1_0091", component, "feature");
        }
    }
}

// --- the central database ------------------------------------------------------------------------

/// The commissions of a site look for their payments in the central database.
void CheckPayments(host::Connection& connection, const CheckScope& scope,
                   const std::string& database, const PendingRun& pending,
                   std::vector<CheckFinding>& findings) {
    constexpr std::string_view kStep = "SiteContentStep_1_0223";
    if (!pending.Has(kStep)) {
        return;
    }
    try {
        const auto commissions = connection.Query(
            fmt::format("SELECT 1 FROM {}.commission WHERE orderid > 0 LIMIT 1;", database));
        if (!commissions->Next()) {
            return;
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
        return;
    }
    constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kColumns{
        {{"account", "accountid"},
         {"account", "siteid"},
         {"account", "userid"},
         {"accountpayment", "accountpaymentid"},
         {"accountpayment", "accountid"},
         {"accountpayment", "amount"},
         {"accountpayment", "cartorderid"},
         {"accountpayment", "paymentdate"}}};
    for (const auto& [table, column] : kColumns) {
        const bool made = column == "cartorderid" && scope.CentralRun().Has("ServerStep_1_0223");
        if (made || scope.central.Find(std::string(table), std::string(column)) != nullptr) {
            continue;
        }
        const bool tableIsThere = scope.central.tables.contains(std::string(table));
        const std::string problem = tableIsThere ? fmt::format("the column {} is missing", column)
                                                 : std::string("the table is missing");
        AddOnce({"tw_tarnwick", std::string(table), std::string(kStep), problem,
                 tableIsThere && column == "cartorderid" ? "upgrade the central database first"
                                                         : "bring it back from a backup"},
                findings);
    }
}

// --- the root site -------------------------------------------------------------------------------

/// The columns of the root site that ServerDataStep_1_0252 misses.
class RootSiteColumns {
  public:
    RootSiteColumns(std::string database, const StoredTables& stored,
                    std::vector<CheckFinding>& findings)
        : database_(std::move(database)), stored_(stored), findings_(findings) {}

    bool Have(const std::string& table, std::string_view columns) {
        bool all = true;
        for (const std::string& column : SplitAtBlanks(columns)) {
            if (stored_.Find(table, column) != nullptr) {
                continue;
            }
            all = false;
            AddOnce(
                {database_, table, std::string(kStep),
                 stored_.tables.contains(table) ? fmt::format("the column {} is missing", column)
                                                : std::string("the table is missing"),
                 "bring it back from a backup"},
                findings_);
        }
        return all;
    }

    static constexpr std::string_view kStep = "ServerDataStep_1_0252";

  private:
    std::string database_;
    const StoredTables& stored_;
    std::vector<CheckFinding>& findings_;
};

}  // namespace

void CheckRootSite(const Session& session, const CheckScope& scope, const PendingRun& pending,
                   std::vector<CheckFinding>& findings) {
    host::Connection& connection = *session.GetConnection();
    const auto root = pending.Has(RootSiteColumns::kStep) ? RootSite(*session.Own()) : std::nullopt;
    const std::string database = fmt::format("tw_{}", root.value_or(0));
    if (root.value_or(0) <= 0 || scope.unreadable.contains(database)) {
        return;
    }
    const StoredTables stored = ReadStoredTables(connection, database);
    if (stored.tables.empty()) {
        return;  // a database that is missing is told of with the site
    }
    RootSiteColumns columns(database, stored, findings);
    const auto& name = scope.localHostName;
    if (!columns.Have("domain", "domainid domainname") ||
        HasRows(connection,
                fmt::format("SELECT 1 FROM {}.domain WHERE domainname = CONVERT(X'{:02X}' USING "
                            "utf8mb4)",
                            database,
                            fmt::join(std::vector<unsigned char>(name.begin(), name.end()), "")))) {
        return;
    }
    const std::string group =
        fmt::format(" FROM {}.group_table WHERE displayname = 'local Visitor'", database);
    if (!columns.Have("group_table", "groupid displayname") ||
        !HasRows(connection, "SELECT 1" + group) ||
        !columns.Have("domaingroup", "groupid domainid domaingrouptype")) {
        return;
    }
    if (stored.tables.at("domaingroup").key.size() == 3 &&
        HasRows(
            connection,
            fmt::format("SELECT 1 FROM {0}.domaingroup g INNER JOIN information_schema.tables t "
                        "ON t.auto_increment = g.domainid WHERE t.table_schema = '{0}' AND "
                        "t.table_name = 'domain' AND g.domaingrouptype = 0 AND g.groupid = "
                        "(SELECT groupid{1} LIMIT 1)",
                        database, group))) {
        findings.push_back({database, "domaingroup", std::string(RootSiteColumns::kStep),
                            "a row is left over of the id that the next domain gets",
                            "delete the rows of domains that there are not"});
    }
}

Components KnownComponents(host::Connection& connection, const CheckScope& scope) {
    Components components;
    const auto add = [&](const Value& id, const std::string& folder, const auto& fault) {
        try {
            components.folders[std::to_string(id.ToInt32())] = folder;
        } catch (const ConversionError&) {  // NULL, or out of range
            components.fault = fault();
        }
    };
    const auto path = scope.installFolder / "resources" / "componentData.txt";
    std::ifstream lines(path, std::ios::binary);
    const bool replacesTable = lines && scope.CentralRun().Has("ReimportReferenceData");
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const auto name = line.find('\t');
        const auto folder = name == std::string::npos ? name : line.find('\t', name + 1);
        const Value id(line.substr(0, name));
        if (folder != std::string::npos && id.IsNumeric()) {
            add(id, line.substr(folder + 1, line.find_first_of("\t\r", folder + 1) - folder - 1),
                [&] {
                    return CheckFinding{"", "", "",
                                        fmt::format("{} line {} has a component id that does not "
                                                    "fit a 32-bit integer",
                                                    path.string(), number),
                                        "mend the line, or bring the file back from the package"};
                });
        }
    }
    if (replacesTable) {
        return components;
    }
    const std::string table = "component";
    try {
        const auto rows = connection.Query(
            "SELECT componentid, foldername, componentname FROM tw_tarnwick.component;");
        while (rows->Next()) {
            const Value id = rows->Get(0);
            const Value folder = rows->Get(1);
            add(id, folder.IsNull() ? "" : folder.ToText(), [&] {
                return CheckFinding{"tw_tarnwick", table, "",
                                    fmt::format("componentid {} does not fit a 32-bit integer",
                                                id.IsNull() ? "NULL" : id.ToText()),
                                    "mend or remove the row"};
            });
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
        components.fault = {"tw_tarnwick", table, "", "the table is missing, or a column of it",
                            "bring it back from a backup"};
    }
    return components;
}

void CheckSiteSurroundings(const Session& session, const CheckScope& scope, std::int32_t siteId,
                           const PendingRun& pending, std::vector<CheckFinding>& findings) {
    host::Connection& connection = *session.GetConnection();
    const std::string database = fmt::format("tw_{}", siteId);
    const auto formComponents = FormComponents(connection, database);
    if (!scope.components.fault) {
        CheckComponents(database, pending, scope.components, formComponents, findings);
    } else if (const std::string_view step = FirstComponentStep(pending); !step.empty()) {
        CheckFinding fault = *scope.components.fault;
        fault.step = step;
        AddOnce(std::move(fault), findings);
    }
    CheckPayments(connection, scope, database, pending, findings);
    CheckSiteFiles(session, scope, siteId, pending, formComponents, findings);
}

}  // namespace twupdate::cli
