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
    // drops nothing: it makes the server keep the three columns in memory, apart from the table
    // that changes. A join in the UPDATE itself needs a default database on old servers.
    Execute(Sql("UPDATE ", db,
                ".navigation SET sequence = (SELECT COUNT(*) FROM (SELECT DISTINCT parentid, "
                "sequence, navigationid FROM ",
                db, ".navigation) b WHERE b.parentid = ", db,
                ".navigation.parentid AND (b.sequence < ", db,
                ".navigation.sequence OR b.sequence = ", db,
                ".navigation.sequence AND b.navigationid <= ", db,
                ".navigation.navigationid)) WHERE parentid IS NOT NULL AND sequence IS NOT NULL;"));
    result = kTrue;
}

}  // namespace twupdate
