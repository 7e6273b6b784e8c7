#include "cli/repair/repair_finding.h"

#include <fmt/format.h>

#include <array>
#include <map>

#include "cli/server/layout.h"
#include "cli/terminal/text.h"
#include "twupdate/ladder.h"

namespace twupdate::cli {
namespace {

using Columns = std::map<std::string, std::vector<std::string>>;

constexpr std::array<std::string_view, 4> kTimings{"startshowdelay", "startfadein",
                                                   "starthidedelay", "startfadeout"};

/// The columns that SiteSchemaStep_1_0035 converts, by table; those of forms are in formfield.
Columns ConvertedSiteColumns(const Session& session, const std::string& database,
                             const Layout& layout) {
    Columns columns{{"setting", {"float_value"}},
                    {"navigation", {"xmlmappriority"}},
                    {"layoutzone", {kTimings.begin(), kTimings.end()}},
                    {"commission", {"percentage"}},
                    {"accesscodeaccount", {"associatepercentage"}}};
    if (layout.tables.contains("formfield")) {
        const auto rows = session.GetConnection()->Query(
            fmt::format("SELECT featureid, formfieldid FROM {}.formfield WHERE type = 'float' "
                        "ORDER BY formfieldid;",
                        database));
        while (rows->Next()) {
            columns["form_" + rows->Get(0).ToText()].push_back("field_" + rows->Get(1).ToText());
        }
    }
    return columns;
}

bool HasColumn(const Layout& layout, const std::string& table, const std::string& column) {
    const auto found = layout.tables.find(table);
    return found != layout.tables.end() && found->second.items.contains(column);
}

/// A conversion that was cut: before its column was dropped `double_temp` is to go; afterwards it
/// is the column, but for its name.
void FindCutConversions(const std::string& database, const Layout& layout, const Columns& columns,
                        std::vector<RepairFinding>& findings) {
    for (const auto& [table, names] : columns) {
        if (!HasColumn(layout, table, "double_temp")) {
            continue;
        }
        std::vector<std::string> gone;
        for (const std::string& name : names) {
            if (!HasColumn(layout, table, name)) {
                gone.push_back(name);
            }
        }
        const std::string alter = fmt::format("ALTER TABLE {}.{} ", database, table);
        if (gone.size() == 1) {
            findings.push_back({database,
                                table,
                                fmt::format("the values of {} are in double_temp", gone[0]),
                                "a conversion to DOUBLE was cut after its column was dropped",
                                {alter + fmt::format("CHANGE COLUMN double_temp {} DOUBLE "
                                                     "DEFAULT 0 NOT NULL;",
                                                     gone[0])}});
        } else if (gone.empty()) {
            findings.push_back({database,
                                table,
                                "the column double_temp is left over",
                                "a conversion to DOUBLE was cut before its column was dropped",
                                {alter + "DROP COLUMN double_temp;"}});
        }
    }
}

/// The first timing column stands for all four, so that the others are never added later.
void FindMissingTimings(const std::string& database, const Layout& layout, double version,
                        std::vector<RepairFinding>& findings) {
    if (!HasColumn(layout, "layoutzone", std::string(kTimings.front())) ||
        HasColumn(layout, "layoutzone", "double_temp")) {
        return;
    }
    const std::string type = IsBelow(version, 1.0035) ? "FLOAT" : "DOUBLE";
    RepairFinding finding{database, "layoutzone", "", "SiteSchemaStep_1_0018 was cut", {}};
    for (const std::string_view timing : kTimings) {
        if (!HasColumn(layout, "layoutzone", std::string(timing))) {
            finding.statements.push_back(
                fmt::format("ALTER TABLE {}.layoutzone ADD COLUMN {} {} DEFAULT 0 NOT NULL;",
                            database, timing, type));
        }
    }
    if (!finding.statements.empty()) {
        finding.problem = fmt::format("{} of the four timing columns missing",
                                      Count(finding.statements.size(), "column"));
        findings.push_back(std::move(finding));
    }
}

std::uint64_t Number(const Session& session, const std::string& sql) {
    const auto rows = session.GetConnection()->Query(sql);
    return rows->Next() ? std::stoull(rows->Get(0).ToText()) : 0;
}

/// The addresses of lookup feeds are copied only by the run that makes their table.
void FindFeedAddresses(const Session& session, const std::string& database, const Layout& layout,
                       std::vector<RepairFinding>& findings) {
    if (!layout.tables.contains("externallookupfeedurl") ||
        !layout.tables.contains("featurenamevalue") ||
        Number(session, fmt::format("SELECT COUNT(*) FROM {}.externallookupfeedurl;", database)) >
            0) {
        return;
    }
    const auto addresses = Number(
        session, fmt::format("SELECT COUNT(*) FROM {}.featurenamevalue WHERE type = 2;", database));
    if (addresses > 0) {
        findings.push_back(
            {database,
             "externallookupfeedurl",
             fmt::format("the table is empty, and featurenamevalue holds {}",
                         Count(addresses, "address", "addresses")),
             "SiteSchemaStep_1_0225 was cut after it made the table",
             {fmt::format("INSERT INTO {0}.externallookupfeedurl(featureid, url, sequence) "
                          "SELECT featureid, value, sequence FROM {0}.featurenamevalue WHERE "
                          "type = 2;",
                          database)}});
    }
}

/// Before the conversion has ended nothing else fills these tables.
void FindHalfConvertedCharges(const Session& session, const std::string& database,
                              std::vector<RepairFinding>& findings) {
    const auto groups =
        Number(session, fmt::format("SELECT COUNT(*) FROM {}.chargegroup;", database));
    if (groups == 0) {
        return;
    }
    RepairFinding finding{
        database,
        "chargegroup",
        fmt::format("{} of a conversion that did not end", Count(groups, "group")),
        "SiteContentStep_1_0007 was cut; the next run converts every charge "
        "again",
        {}};
    for (const char* table :
         {"chargegroup", "chargeoption", "chargegrouptochargegroup", "chargegrouptoitemtype"}) {
        finding.statements.push_back(fmt::format("TRUNCATE TABLE {}.{};", database, table));
    }
    finding.statements.push_back(fmt::format("UPDATE {}.charge SET chargeoptionid = 0;", database));
    findings.push_back(std::move(finding));
}

/// Groups that no charge names, beside one of the same feature, name and sequence that is named.
void FindDoubleCharges(const Session& session, const std::string& database,
                       std::vector<RepairFinding>& findings) {
    const std::string named = fmt::format(
        "EXISTS (SELECT 1 FROM {0}.chargeoption o INNER JOIN {0}.charge c ON c.chargeoptionid = "
        "o.optionid WHERE o.groupid = ",
        database);
    const auto rows = session.GetConnection()->Query(fmt::format(
        "SELECT g.groupid FROM {0}.chargegroup g WHERE NOT {1} g.groupid) AND EXISTS (SELECT 1 "
        "FROM {0}.chargegroup t WHERE t.groupid <> g.groupid AND t.featureid = g.featureid AND "
        "t.name = g.name AND t.sequence = g.sequence AND {1} t.groupid)) ORDER BY g.groupid;",
        database, named));
    std::string ids;
    std::uint64_t count = 0;
    for (; rows->Next(); ++count) {
        ids += (ids.empty() ? "" : ", ") + rows->Get(0).ToText();
    }
    if (count == 0) {
        return;
    }
    const auto remove = [&](std::string_view table, std::string_view column) {
        return fmt::format("DELETE FROM {}.{} WHERE {} IN ({});", database, table, column, ids);
    };
    findings.push_back({database,
                        "chargegroup",
                        fmt::format("{} that no charge names, beside {} of the same name",
                                    Count(count, "group"), count == 1 ? "one" : "others"),
                        "SiteContentStep_1_0007 was cut and then converted every charge again",
                        {remove("chargegrouptochargegroup", "groupid"),
                         remove("chargegrouptochargegroup", "applytogroupid"),
                         remove("chargegrouptoitemtype", "groupid"),
                         remove("chargeoption", "groupid"), remove("chargegroup", "groupid")}});
}

}  // namespace

std::vector<RepairFinding> FindCentralRepairs(const Session& session) {
    std::vector<RepairFinding> findings;
    FindCutConversions("tw_tarnwick", ReadLayout(*session.GetConnection(), "tw_tarnwick"),
                       {{"account", {"associatepercentage"}}}, findings);
    return findings;
}

std::vector<RepairFinding> FindSiteRepairs(const Session& session, const SiteRow& site) {
    const std::string database = fmt::format("tw_{}", site.siteId);
    const double version = site.version.value_or(0);
    const Layout layout = ReadLayout(*session.GetConnection(), database);
    std::vector<RepairFinding> findings;
    FindCutConversions(database, layout, ConvertedSiteColumns(session, database, layout), findings);
    FindMissingTimings(database, layout, version, findings);
    FindFeedAddresses(session, database, layout, findings);
    if (layout.tables.contains("chargegroup") && HasColumn(layout, "charge", "chargeoptionid")) {
        if (IsBelow(version, 1.0007)) {
            FindHalfConvertedCharges(session, database, findings);
        } else {
            FindDoubleCharges(session, database, findings);
        }
    }
    return findings;
}

}  // namespace twupdate::cli
