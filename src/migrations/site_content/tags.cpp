#include <string_view>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

// Tag names are compared as bytes: selectors that differ in letter case are different rules.
std::int32_t Update::FindTag(const std::string& db, const std::string& name,
                             const std::string& condition) {
    std::int32_t tagId = 0;
    ForEachRow(OpenRecordset(Sql("SELECT tagid, name FROM ", db, ".tag WHERE name = '",
                                 SqlEscape(name), "' AND ", condition, " ORDER BY tagid;")),
               [&](const Recordset& tag) {
                   if (tagId == 0 && TextField(tag, "name") == name) {
                       tagId = Int32Field(tag, "tagid");
                   }
               });
    return tagId;
}

std::int32_t Update::AddTag(const std::string& db, std::int32_t templateId, std::int32_t overrideId,
                            const std::string& name) {
    Execute(Sql("INSERT INTO ", db, ".tag(templateid, overrideid, name) VALUES(", templateId, ", ",
                overrideId, ", '", SqlEscape(name), "');"));
    return GetLastInsertId();
}

/// Copies the attributes whose name the target tag lacks.
/// @param filter  "" or a further condition on the attribute `a`, beginning with " AND "
void Update::CopyMissingAttributes(const std::string& db, std::int32_t fromTagId,
                                   std::int32_t toTagId, std::string_view filter) {
    Execute(Sql("INSERT INTO ", db, ".attribute(tagid, name, value) SELECT ", toTagId,
                ", a.name, a.value FROM ", db, ".attribute a LEFT JOIN ", db,
                ".attribute own ON own.tagid = ", toTagId,
                " AND own.name = a.name WHERE a.tagid = ", fromTagId,
                " AND own.attributeid IS NULL", filter, ";"));
}

}  // namespace twupdate
