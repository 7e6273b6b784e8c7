#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

// One query for each live thread: every pass handles the range from just above the last live root
// to the next one, and with it the removed roots that lie between.
void Update::SiteContentStep_1_0037(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "forum")) {
        return;
    }
    std::int32_t previous = 0;
    std::int32_t current = 0;
    for (;;) {
        const auto roots =
            OpenRecordset(Sql("SELECT elementid FROM ", db,
                              ".forum WHERE elementid = threadid AND removed = 0 AND elementid > ",
                              current, " ORDER BY elementid LIMIT 50;"));
        if (roots->IsEOF()) {
            roots->Close();
            return;
        }
        previous = current;
        current = Int32Field(*roots, "elementid");
        roots->Close();
        UpdateForumThreadStatistics(siteId, previous, current, false);
        UpdateForumThreadStatistics(siteId, previous, current, true);
    }
}

void Update::UpdateForumThreadStatistics(std::int32_t siteId, std::int32_t fromId,
                                         std::int32_t toId, bool publishedOnly) {
    const std::string db = SiteDatabase(siteId);
    const std::string_view prefix = publishedOnly ? "published" : "";
    const std::string_view filter = publishedOnly ? "AND f1.published = -1 " : "";
    const auto threads = OpenRecordset(
        Sql("SELECT f.elementid, MAX(f1.elementid) AS latestelementid, "
            "COUNT(f1.elementid) AS postings FROM ",
            db, ".forum f INNER JOIN ", db,
            ".forum f1 ON f.elementid = f1.threadid "
            "WHERE f.threadid = f.elementid And f.elementid > ",
            fromId, " AND f.elementid <= ", toId, " ", filter, "GROUP BY f.threadid;"));
    ForEachRow(threads, [&](const Recordset& thread) {
        Execute(Sql("UPDATE ", db, ".forum SET latest", prefix,
                    "elementid = ", Int32Field(thread, "latestelementid"), ", ", prefix,
                    "postings = ", Int32Field(thread, "postings"),
                    " WHERE elementid = ", Int32Field(thread, "elementid"), ";"));
    });
}

}  // namespace twupdate
