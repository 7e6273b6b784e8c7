#include "migrations/interruptions.h"

#include <algorithm>
#include <array>

#include "dbutil/inspection.h"
#include "dbutil/sql.h"
#include "migrations/site_content/email_texts.h"

namespace twupdate {
namespace {

/// Charge c is the one that group g was made from, as the rows have it.
constexpr std::string_view kMadeFrom =
    "c.featureid = g.featureid AND COALESCE(c.name, '') = g.name AND c.sequence = g.sequence";

/// The tables that the conversion fills, the one by which it is seen last.
constexpr std::array<std::string_view, 4> kChargeTables{
    "chargegrouptoitemtype", "chargegrouptochargegroup", "chargeoption", "chargegroup"};

std::string GroupsText(std::int64_t groups) {
    return std::to_string(groups) + (groups == 1 ? " group" : " groups");
}

/// Rows in the tables that the conversion fills which are not what it makes of the charges.
std::int64_t RowsOfOthers(const Inspection& inspection, const std::string& db) {
    const std::string groupAndCharge =
        Sql(db, ".chargegroup g INNER JOIN ", db, ".charge c ON ", kMadeFrom);
    std::int64_t rows = inspection.Count(Sql(db, ".chargegroup g WHERE NOT EXISTS (SELECT 1 FROM ",
                                             db, ".charge c WHERE ", kMadeFrom, ")"));
    rows += inspection.Count(Sql(
        db, ".chargeoption o WHERE o.sequence <> 1 OR NOT EXISTS (SELECT 1 FROM ", groupAndCharge,
        " WHERE g.groupid = o.groupid AND o.featureid = g.featureid AND o.name = g.name AND "
        "o.password = COALESCE(c.password, ''))"));
    rows += inspection.Count(Sql(
        db, ".chargegrouptochargegroup l WHERE NOT EXISTS (SELECT 1 FROM ", groupAndCharge,
        " INNER JOIN ", db, ".chargetocharge x ON x.chargeid = c.chargeid INNER JOIN ", db,
        ".charge d ON d.chargeid = x.applytochargeid INNER JOIN ", db,
        ".chargegroup h ON d.featureid = h.featureid AND COALESCE(d.name, '') = h.name AND "
        "d.sequence = h.sequence WHERE g.groupid = l.groupid AND h.groupid = l.applytogroupid)"));
    rows += inspection.Count(
        Sql(db, ".chargegrouptoitemtype l WHERE NOT EXISTS (SELECT 1 FROM ", groupAndCharge,
            " INNER JOIN ", db,
            ".chargetoitemtype x ON x.chargeid = c.chargeid WHERE g.groupid = l.groupid AND "
            "x.applytoitemtypeid = l.applytoitemtypeid)"));
    return rows;
}

/// Rows of the same tables that belong to the group of no charge, whatever has become of the charge
/// since: it is the one that names the group's option, or the one with the group's values. The last
/// group may be the one in hand, which no charge names yet.
std::int64_t RowsOfNoCharge(const Inspection& inspection, const std::string& db) {
    const auto isMade = [&db](std::string_view group) {
        return Sql("EXISTS (SELECT 1 FROM ", db, ".chargegroup g INNER JOIN ", db, ".charge c ON (",
                   kMadeFrom, ") OR EXISTS (SELECT 1 FROM ", db,
                   ".chargeoption k WHERE k.groupid = g.groupid AND k.optionid = "
                   "c.chargeoptionid) OR (g.groupid = (SELECT MAX(groupid) FROM ",
                   db, ".chargegroup) AND NOT EXISTS (SELECT 1 FROM ", db,
                   ".chargeoption k WHERE k.groupid = g.groupid AND k.name <> g.name)) WHERE "
                   "g.groupid = ",
                   group, ")");
    };
    std::int64_t rows = inspection.Count(Sql(db, ".chargegroup t WHERE NOT ", isMade("t.groupid")));
    rows += inspection.Count(
        Sql(db, ".chargeoption o WHERE o.sequence <> 1 OR EXISTS (SELECT 1 FROM ", db,
            ".chargeoption p WHERE p.groupid = o.groupid AND p.optionid < o.optionid) OR NOT ",
            isMade("o.groupid")));
    rows += inspection.Count(Sql(db, ".chargegrouptochargegroup l WHERE NOT ", isMade("l.groupid"),
                                 " OR NOT ", isMade("l.applytogroupid")));
    rows += inspection.Count(Sql(db, ".chargegrouptoitemtype l WHERE NOT ", isMade("l.groupid")));
    return rows;
}

/// Rows of orders that name an option.
std::int64_t RowsOfOrders(const Inspection& inspection, const std::string& db) {
    return inspection.Count(Sql(db, ".orderchargeoption u INNER JOIN ", db,
                                ".chargeoption o ON o.optionid = u.chargeoptionid")) +
           inspection.Count(Sql(db, ".orderpasswordchargeoption u INNER JOIN ", db,
                                ".chargeoption o ON o.optionid = u.optionid")) +
           inspection.Count(Sql(db, ".ordercharge u INNER JOIN ", db,
                                ".chargeoption o ON o.optionid = u.chargeoptionid"));
}

/// The ending under which none of the tables has a copy yet.
std::string FreeEnding(const Inspection& inspection) {
    for (int number = 1;; ++number) {
        const std::string ending = number == 1 ? "_kept" : Concat("_kept_", number);
        if (std::none_of(kChargeTables.begin(), kChargeTables.end(), [&](std::string_view table) {
                return inspection.HasTable(Concat(table, ending));
            })) {
            return ending;
        }
    }
}

/// Puts empty tables in the place of these, and keeps them. All at once, so that an interruption
/// leaves either.
std::vector<std::string> KeepAside(const std::string& db, const std::string& ending) {
    std::vector<std::string> statements;
    std::string names;
    for (const std::string_view table : kChargeTables) {
        statements.push_back(Sql("CREATE TABLE IF NOT EXISTS ", db, ".", table, "_empty LIKE ", db,
                                 ".", table, ";"));
        names += Sql(names.empty() ? "" : ", ", db, ".", table, " TO ", db, ".", table, ending,
                     ", ", db, ".", table, "_empty TO ", db, ".", table);
    }
    statements.push_back(Sql("UPDATE ", db, ".charge SET chargeoptionid = 0;"));
    statements.push_back(Sql("RENAME TABLE ", names, ";"));
    return statements;
}

std::vector<std::string> Empty(const std::string& db) {
    std::vector<std::string> statements{Sql("UPDATE ", db, ".charge SET chargeoptionid = 0;")};
    for (const std::string_view table : kChargeTables) {
        statements.push_back(Sql("TRUNCATE TABLE ", db, ".", table, ";"));
    }
    return statements;
}

/// Below 1.0007 nothing but the conversion fills these tables.
/// @param isKnown  a mark tells of the interruption, so that rows which differ from the charges do
///                 so because the charges were changed since
std::vector<Leftover> HalfConverted(const Inspection& inspection, const std::string& db,
                                    bool isKnown) {
    const std::int64_t groups = inspection.Count(Sql(db, ".chargegroup"));
    if (groups == 0) {
        return {};
    }
    Leftover leftover{.table = "chargegroup",
                      .seen = Concat(GroupsText(groups), " of an unfinished conversion"),
                      .consequence = "a repeat converts every charge again",
                      .statements = {}};
    const std::int64_t orders = RowsOfOrders(inspection, db);
    const std::int64_t changed = RowsOfOthers(inspection, db);
    const std::int64_t others = isKnown && changed > 0 ? RowsOfNoCharge(inspection, db) : changed;
    if (others > 0) {
        leftover.seen += Concat("; ", std::to_string(others),
                                others == 1 ? " row of the groups is" : " rows of the groups are",
                                " not from the charges");
    }
    if (orders > 0) {
        leftover.seen += Concat("; ", std::to_string(orders),
                                orders == 1 ? " row of orders names" : " rows of orders name",
                                " an option of theirs");
    }
    if (others > 0 || orders > 0) {
        return {std::move(leftover)};
    }
    if (changed == 0) {
        leftover.statements = Empty(db);
        return {std::move(leftover)};
    }
    const std::string ending = FreeEnding(inspection);
    leftover.seen += Concat("; charges were changed since, so the groups stay in chargegroup",
                            ending, " and so on");
    leftover.statements = KeepAside(db, ending);
    return {std::move(leftover)};
}

/// Unused groups as a conversion makes them, while a later one with the same feature, name and
/// sequence is in use.
std::vector<Leftover> ConvertedTwice(const Inspection& inspection, const std::string& db) {
    const auto isNamed = [&db](std::string_view group) {
        return Sql("EXISTS (SELECT 1 FROM ", db, ".chargeoption o INNER JOIN ", db,
                   ".charge c ON c.chargeoptionid = o.optionid WHERE o.groupid = ", group,
                   ".groupid)");
    };
    const auto isUsed = [&db](std::string_view table, std::string_view column) {
        return Sql("EXISTS (SELECT 1 FROM ", db, ".chargeoption o INNER JOIN ", db, ".", table,
                   " u ON u.", column, " = o.optionid WHERE o.groupid = g.groupid)");
    };
    const std::string unchanged =
        inspection.HasColumn("chargegroup", "validfrom") &&
                inspection.HasColumn("chargegroup", "validuntil")
            ? " AND g.validfrom = DEFAULT(g.validfrom) AND g.validuntil = DEFAULT(g.validuntil)"
            : "";
    const auto ids = inspection.Texts(
        Sql("SELECT g.groupid AS id FROM ", db, ".chargegroup g WHERE NOT ", isNamed("g"),
            " AND (SELECT COUNT(*) FROM ", db,
            ".chargeoption o WHERE o.groupid = g.groupid) = 1 AND EXISTS (SELECT 1 FROM ", db,
            ".chargeoption o WHERE o.groupid = g.groupid AND o.name = g.name AND o.sequence = 1)",
            unchanged, " AND EXISTS (SELECT 1 FROM ", db,
            ".chargegroup t WHERE t.groupid > g.groupid AND t.featureid = g.featureid AND t.name = "
            "g.name AND t.sequence = g.sequence AND ",
            isNamed("t"), ") AND NOT ", isUsed("orderchargeoption", "chargeoptionid"), " AND NOT ",
            isUsed("orderpasswordchargeoption", "optionid"), " AND NOT ",
            isUsed("ordercharge", "chargeoptionid"), " ORDER BY g.groupid;"),
        "id");
    if (ids.empty()) {
        return {};
    }
    std::string list;
    for (const std::string& id : ids) {
        list += (list.empty() ? "" : ", ") + id;
    }
    const auto remove = [&](std::string_view table, std::string_view column) {
        return Sql("DELETE FROM ", db, ".", table, " WHERE ", column, " IN (", list, ");");
    };
    return {{.table = "chargegroup",
             .seen = Concat(GroupsText(static_cast<std::int64_t>(ids.size())),
                            " that no charge refers to, beside ",
                            ids.size() == 1 ? "one" : "others", " of the same name"),
             .consequence = "every charge was converted again, and the shop shows it twice",
             .statements = {remove("chargegrouptochargegroup", "groupid"),
                            remove("chargegrouptochargegroup", "applytogroupid"),
                            remove("chargegrouptoitemtype", "groupid"),
                            remove("chargeoption", "groupid"), remove("chargegroup", "groupid")}}};
}

/// Links in `featurecache` to caches that are not in `cache` any more.
/// @param mayHaveBegun  whether the step that deletes both can have begun and not ended
std::vector<Leftover> LinksWithoutCache(Utility& host, const std::string& db, bool mayHaveBegun) {
    const Inspection inspection(host, db);
    if (!mayHaveBegun || !inspection.HasTable("featurecache") || !inspection.HasTable("cache")) {
        return {};
    }
    const std::string rest = Sql(db, ".featurecache l LEFT JOIN ", db,
                                 ".cache c ON c.cacheid = l.cacheid WHERE c.cacheid IS NULL");
    const std::int64_t links = inspection.Count(rest);
    if (links == 0) {
        return {};
    }
    return {{.table = "featurecache",
             .seen = Concat(std::to_string(links), links == 1 ? " link leads" : " links lead",
                            " to a cache that no longer exists"),
             .consequence = "a new cache may get such a number and belong to the wrong pages",
             .statements = {Sql("DELETE FROM ", db,
                                ".featurecache WHERE cacheid NOT IN (SELECT cacheid FROM ", db,
                                ".cache);")}}};
}

}  // namespace

std::vector<Leftover> LeftBySiteContentStep_1_0007(Utility& host, const SteppedDatabase& database,
                                                   StepHistory history) {
    const Inspection inspection(host, database.name);
    // The column is the last one that the schema step of the charges adds, except for passwords.
    if (history == StepHistory::kNotRunning || !inspection.HasTable("chargegroup") ||
        !inspection.HasColumn("charge", "chargeoptionid") ||
        !inspection.HasColumn("charge", "password")) {
        return {};
    }
    return history == StepHistory::kInterrupted || IsBelow(database.version, 1.0007)
               ? HalfConverted(inspection, database.name, history == StepHistory::kInterrupted)
               : ConvertedTwice(inspection, database.name);
}

// A second conversion changes nothing: no '<' or '>' is left.
std::vector<Leftover> LeftBySiteContentStep_1_0043(Utility& host, const SteppedDatabase& database,
                                                   StepHistory history) {
    const std::string& db = database.name;
    const Inspection inspection(host, db);
    const bool isRunning = history == StepHistory::kInterrupted ||
                           (history == StepHistory::kUnknown && IsBelow(database.version, 1.0043));
    if (!isRunning || !inspection.HasColumn("email", "ishtml")) {
        return {};
    }
    std::string unconverted;
    for (const std::string_view column : kEmailTexts) {
        unconverted += Sql(unconverted.empty() ? "" : " OR ", "INSTR(", column,
                           ", '<') > 0 OR INSTR(", column, ", '>') > 0");
    }
    const std::int64_t emails = inspection.Count(Sql(db, ".email WHERE ", unconverted));
    if (emails == 0) {
        return {};
    }
    Leftover leftover{
        .table = "email",
        .seen = Concat(std::to_string(emails), emails == 1 ? " e-mail is" : " e-mails are",
                       " not converted, although the table already has the column ishtml"),
        .consequence = "a repeat converts none",
        .statements = {}};
    if (inspection.Count(Sql(db, ".email WHERE ishtml <> 0")) > 0) {
        leftover.seen += Sql(", which is set in some");
    } else {
        leftover.statements.push_back(Sql("ALTER TABLE ", db, ".email DROP COLUMN ishtml;"));
    }
    return {std::move(leftover)};
}

std::vector<Leftover> LeftBySiteContentStep_1_0066(Utility& host, const SteppedDatabase& database,
                                                   StepHistory history) {
    return LinksWithoutCache(
        host, database.name,
        history == StepHistory::kInterrupted ||
            (history == StepHistory::kUnknown && IsBelow(database.version, 1.0066)));
}

// Below 1.0066 the search for that step finds the same links.
std::vector<Leftover> LeftBySiteContentStep_1_0082(Utility& host, const SteppedDatabase& database,
                                                   StepHistory history) {
    return LinksWithoutCache(
        host, database.name,
        history == StepHistory::kInterrupted ||
            (history == StepHistory::kUnknown && IsBelow(database.version, 1.0082) &&
             !IsBelow(database.version, 1.0066)));
}

}  // namespace twupdate
