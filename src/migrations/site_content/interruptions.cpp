#include "migrations/interruptions.h"

#include "dbutil/inspection.h"
#include "dbutil/sql.h"
#include "migrations/site_content/email_texts.h"

namespace twupdate {
namespace {

/// Group g was made from charge c.
constexpr const char* kMadeFrom =
    "c.featureid = g.featureid AND COALESCE(c.name, '') = g.name AND c.sequence = g.sequence";

std::string GroupsText(std::int64_t groups) {
    return std::to_string(groups) + (groups == 1 ? " group" : " groups");
}

/// Rows in the tables of the conversion that do not come from charges, or that orders use.
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
    rows += inspection.Count(Sql(db, ".orderchargeoption u INNER JOIN ", db,
                                 ".chargeoption o ON o.optionid = u.chargeoptionid"));
    rows += inspection.Count(Sql(db, ".orderpasswordchargeoption u INNER JOIN ", db,
                                 ".chargeoption o ON o.optionid = u.optionid"));
    rows += inspection.Count(Sql(db, ".ordercharge u INNER JOIN ", db,
                                 ".chargeoption o ON o.optionid = u.chargeoptionid"));
    return rows;
}

/// Below 1.0007 only the conversion fills these tables.
std::vector<Leftover> HalfConverted(const Inspection& inspection, const std::string& db) {
    const std::int64_t groups = inspection.Count(Sql(db, ".chargegroup"));
    if (groups == 0) {
        return {};
    }
    Leftover leftover{.table = "chargegroup",
                      .seen = Concat(GroupsText(groups), " of an unfinished conversion"),
                      .consequence = "a repeat converts every charge again",
                      .statements = {}};
    if (const std::int64_t others = RowsOfOthers(inspection, db); others > 0) {
        leftover.seen += Concat("; not from charges, or in use by orders: ", std::to_string(others),
                                others == 1 ? " row" : " rows");
        return {std::move(leftover)};
    }
    for (const char* table :
         {"chargegroup", "chargeoption", "chargegrouptochargegroup", "chargegrouptoitemtype"}) {
        leftover.statements.push_back(Sql("TRUNCATE TABLE ", db, ".", table, ";"));
    }
    leftover.statements.push_back(Sql("UPDATE ", db, ".charge SET chargeoptionid = 0;"));
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
               ? HalfConverted(inspection, database.name)
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
