#include <vector>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteContentStep_1_0237(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto canonicalSettings = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT s.settingid, o.featureid, s.string_value FROM ", db,
                                 ".setting s INNER JOIN ", db,
                                 ".override o ON o.overrideid = s.overrideid "
                                 "WHERE s.name = 'canonical' AND s.settingid > ",
                                 last, " ORDER BY s.settingid LIMIT 50;"));
    };
    ForEachRowInPages("settingid", canonicalSettings, [&](const Recordset& setting) {
        const std::string url = TextField(setting, "string_value");
        if (!url.empty()) {
            MakeUrlCanonical(db, Int32Field(setting, "featureid"), url);
        }
        // Last, so that a cut loses nothing.
        Execute(Sql("DELETE FROM ", db,
                    ".setting WHERE settingid = ", Int32Field(setting, "settingid"), ";"));
    });

    if (TableExists(db, "formfield")) {
        Execute(Sql("UPDATE ", db, ".formfield f INNER JOIN ", db,
                    ".override o ON o.featureid = f.featureid INNER JOIN ", db,
                    ".setting s ON s.overrideid = o.overrideid "
                    "SET f.directurlreplacementchar = LEFT(s.string_value, 1) "
                    "WHERE s.name = 'DirectURLReplacementChar' "
                    "AND LENGTH(s.string_value) > 0;"));
    }
}

/// Gives every navigation row of the page (or the page itself, where it has none) the URL.
void Update::MakeUrlCanonical(StringRef db, std::int32_t featureId, StringRef url) {
    std::vector<std::int32_t> navigationIds;
    ForEachRow(
        OpenRecordset(Sql("SELECT navigationid FROM ", db,
                          ".navigation WHERE featureid = ", featureId, " ORDER BY navigationid;")),
        [&](const Recordset& row) { navigationIds.push_back(Int32Field(row, "navigationid")); });
    if (navigationIds.empty()) {
        navigationIds.push_back(0);
    }
    const std::string literal = SqlEscape(url);
    for (const std::int32_t navigationId : navigationIds) {
        std::int32_t directUrlId = 0;
        ForEachRow(OpenRecordset(Sql("SELECT directurlid, url FROM ", db,
                                     ".directurl WHERE featureid = ", featureId,
                                     " AND navigationid = ", navigationId, " AND url = '", literal,
                                     "' ORDER BY directurlid;")),
                   [&](const Recordset& row) {
                       // The server finds it in any letter case; a URL is exact.
                       if (directUrlId == 0 && TextField(row, "url") == url) {
                           directUrlId = Int32Field(row, "directurlid");
                       }
                   });
        if (directUrlId == 0) {
            Execute(Sql("INSERT INTO ", db, ".directurl(featureid, navigationid, url, canonical) ",
                        "VALUES(", featureId, ", ", navigationId, ", '", literal, "', -1);"));
        } else {
            Execute(Sql("UPDATE ", db,
                        ".directurl SET canonical = -1 WHERE directurlid = ", directUrlId, ";"));
        }
    }
    Execute(Sql("UPDATE ", db, ".navigation SET canonical = '", literal,
                "' WHERE featureid = ", featureId, ";"));
}

}  // namespace twupdate
