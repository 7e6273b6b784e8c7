#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteContentStep_1_0020(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("INSERT INTO ", db,
                ".setting(overrideid, name, type, text) "
                "SELECT s.overrideid, 'TargetInstanceIds', 'text', s.integer_value FROM ",
                db, ".setting s LEFT JOIN ", db,
                ".setting ids ON ids.overrideid = s.overrideid "
                "AND ids.name = 'TargetInstanceIds' "
                "WHERE s.name = 'TargetInstanceId' AND s.type = 'integer' "
                "AND s.integer_value > 0 AND ids.settingid IS NULL ORDER BY s.settingid;"));

    AddIndexIfMissing(db, "navigation", "parentid_idx", "parentid");
    AddIndexIfMissing(db, "navigation", "level_idx", "level");
    AddIndexIfMissing(db, "navigation", "sequence_idx", "sequence");

    // In one statement: a renumbering that is interrupted half-way would change the order that the
    // next run starts from. A row's place is the number of rows of its parent up to it. DISTINCT
    // drops nothing: it makes the server keep the three columns in memory, which is many times
    // faster than reading the table again for every row.
    Execute(Sql(
        "UPDATE ", db,
        ".navigation n INNER JOIN ("
        "SELECT a.navigationid, COUNT(*) AS place FROM ",
        db, ".navigation a INNER JOIN (SELECT DISTINCT parentid, sequence, navigationid FROM ", db,
        ".navigation) b ON b.parentid = a.parentid AND (b.sequence < a.sequence OR "
        "b.sequence = a.sequence AND b.navigationid <= a.navigationid) "
        "GROUP BY a.navigationid) p ON p.navigationid = n.navigationid "
        "SET n.sequence = p.place WHERE n.sequence <> p.place;"));
    result = kTrue;
}

}  // namespace twupdate
