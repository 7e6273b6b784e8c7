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
                "AND BINARY ids.name = 'TargetInstanceIds' "
                "WHERE BINARY s.name = 'TargetInstanceId' AND s.type = 'integer' "
                "AND s.integer_value > 0 AND ids.settingid IS NULL ORDER BY s.settingid;"));

    AddIndexIfMissing(db, "navigation", "parentid_idx", "parentid");
    AddIndexIfMissing(db, "navigation", "level_idx", "level");
    AddIndexIfMissing(db, "navigation", "sequence_idx", "sequence");

    // In one statement: a renumbering that is cut half-way would change the order that the next
    // run starts from.
    Execute(Sql("UPDATE ", db,
                ".navigation n INNER JOIN ("
                "SELECT navigationid, ROW_NUMBER() OVER "
                "(PARTITION BY parentid ORDER BY sequence, navigationid) AS place FROM ",
                db,
                ".navigation) p ON p.navigationid = n.navigationid "
                "SET n.sequence = p.place WHERE n.sequence <> p.place;"));
    result = kTrue;
}

}  // namespace twupdate
