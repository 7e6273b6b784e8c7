#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>

#include "dbutil/replace_all.h"
#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

/// The zone that a layout tag's name carries: 12 for ".LOnavlink12 A:Hover"; none for
/// ".LOheading1".
std::optional<std::int32_t> ZoneOfTag(std::string_view name) {
    for (const std::string_view prefix :
         {".LOnavlink", ".LOheading1", ".LOheading2", ".LOnavdivider", ".LOzone"}) {
        if (!name.starts_with(prefix)) {
            continue;
        }
        const std::string_view rest = name.substr(prefix.size());
        std::int32_t zone = 0;
        if (!rest.starts_with('-') &&
            std::from_chars(rest.data(), rest.data() + rest.size(), zone).ec == std::errc{}) {
            return zone;
        }
    }
    return std::nullopt;
}

struct NamedColour {
    std::string_view name;
    std::string_view code;
};

// In this order: the replacement also finds a name inside a longer one, so that "white" before
// "whitesmoke" turns the latter into #fffsmoke where both stand in one value.
constexpr std::array<NamedColour, 19> kNamedColours{{
    {"gainsboro", "#dcdcdc"},    {"silver", "#c0c0c0"},     {"dimgray", "#696969"},
    {"white", "#fff"},           {"darkblue", "#00008b"},   {"lightyellow", "#ffffe0"},
    {"lemonchiffon", "#fffacd"}, {"blue", "#00f"},          {"whitesmoke", "#f5f5f5"},
    {"lightgrey", "#d3d3d3"},    {"darkgray", "#a9a9a9"},   {"lightsteelblue", "#b0c4de"},
    {"black", "#000"},           {"dodgerblue", "#1e90ff"}, {"darkkhaki", "#bdb76b"},
    {"darkred", "#8b0000"},      {"red", "#f00"},           {"yellow", "#ff0"},
    {"orange", "#ffa500"},
}};

}  // namespace

// Tag names are compared as bytes: selectors that differ in letter case are different rules.
std::int32_t Update::FindTag(StringRef db, StringRef name, StringRef condition) {
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

std::int32_t Update::AddTag(StringRef db, std::int32_t templateId, std::int32_t overrideId,
                            StringRef name) {
    Execute(Sql("INSERT INTO ", db, ".tag(templateid, overrideid, name) VALUES(", templateId, ", ",
                overrideId, ", '", SqlEscape(name), "');"));
    return GetLastInsertId();
}

/// Copies the attributes whose name the target tag lacks.
/// @param filter  "" or a further condition on the attribute `a`, beginning with " AND "
void Update::CopyMissingAttributes(StringRef db, std::int32_t fromTagId, std::int32_t toTagId,
                                   std::string_view filter) {
    Execute(Sql("INSERT INTO ", db, ".attribute(tagid, name, value) SELECT ", toTagId,
                ", a.name, a.value FROM ", db, ".attribute a LEFT JOIN ", db,
                ".attribute own ON own.tagid = ", toTagId,
                " AND own.name = a.name WHERE a.tagid = ", fromTagId,
                " AND own.attributeid IS NULL", filter, ";"));
}

void Update::SiteContentStep_1_0009(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    const auto treeLinks =
        OpenRecordset(Sql("SELECT t.tagid, t.name, t.templateid, t.overrideid FROM ", db,
                          ".tag t WHERE t.name LIKE 'span.TreeLink%';"));
    ForEachRow(treeLinks, [&](const Recordset& tag) {
        const std::string name = TextField(tag, "name");
        const std::string newName =
            ReplaceAll(name, "span.TreeLink", "div.twTreeNode span.SiteTreeLink[suffix]");
        if (newName == name) {
            return;  // found in another letter case only
        }
        const std::int32_t templateId = Int32Field(tag, "templateid");
        const std::int32_t overrideId = Int32Field(tag, "overrideid");
        std::int32_t newTagId = FindTag(
            db, newName, Sql("templateid = ", templateId, " AND overrideid = ", overrideId));
        if (newTagId == 0) {
            newTagId = AddTag(db, templateId, overrideId, newName);
        }
        CopyMissingAttributes(db, Int32Field(tag, "tagid"), newTagId,
                              " AND a.name <> 'height' AND a.name NOT LIKE 'padding%'");
    });
    result = kTrue;
}

void Update::SiteContentStep_1_0017(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("UPDATE ", db, ".layoutelement SET showtype = 1 WHERE showtoall = 0;"));
    const auto pageOfHeadings = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT tagid, name, templateid, overrideid FROM ", db,
                ".tag WHERE BINARY name IN('.heading', '.subheading') AND overrideid <> 0 "
                "AND tagid > ",
                last, " ORDER BY tagid LIMIT 50;"));
    };
    ForEachRowInPages("tagid", pageOfHeadings, [&](const Recordset& tag) {
        const std::string element = TextField(tag, "name") == ".heading" ? "h1" : "h2";
        const std::int32_t overrideId = Int32Field(tag, "overrideid");
        std::int32_t elementTagId = FindTag(db, element, Sql("overrideid = ", overrideId));
        if (elementTagId == 0) {
            elementTagId = AddTag(db, Int32Field(tag, "templateid"), overrideId, element);
        }
        CopyMissingAttributes(db, Int32Field(tag, "tagid"), elementTagId, "");
    });
    result = kTrue;
}

void Update::SiteContentStep_1_0061(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    std::map<std::int32_t, std::int32_t> elementByZone;
    ForEachRow(OpenRecordset(Sql("SELECT zoneid, elementid FROM ", db, ".layoutzone;")),
               [&](const Recordset& zone) {
                   elementByZone.emplace(Int32Field(zone, "zoneid"), Int32Field(zone, "elementid"));
               });

    using Rule = std::tuple<std::string, std::int32_t, std::int32_t, std::int32_t, std::int32_t>;
    std::set<Rule> seen;  // the owner follows from the name
    const auto pageOfLayoutTags = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT tagid, name, templateid, overrideid, cssid, media, subownerid FROM ", db,
                ".tag WHERE name LIKE '.LO%' AND tagid > ", last, " ORDER BY tagid LIMIT 50;"));
    };
    std::string duplicates;
    const auto deleteDuplicates = [&] {
        if (!duplicates.empty()) {
            Execute(Sql("DELETE FROM ", db, ".attribute WHERE tagid IN(", duplicates, ");"));
            Execute(Sql("DELETE FROM ", db, ".tag WHERE tagid IN(", duplicates, ");"));
            duplicates.clear();
        }
    };
    for (std::int32_t last = 0;;) {
        const auto tags = pageOfLayoutTags(last);
        if (tags->IsEOF()) {
            tags->Close();
            return;
        }
        ForEachRow(tags, [&](const Recordset& tag) {
            const std::int32_t tagId = Int32Field(tag, "tagid");
            last = tagId;
            const std::string name = TextField(tag, "name");
            const auto zone = ZoneOfTag(name);
            const auto element = zone ? elementByZone.find(*zone) : elementByZone.end();
            if (element == elementByZone.end()) {
                return;
            }
            const bool isNew =
                seen.emplace(name, Int32Field(tag, "templateid"), Int32Field(tag, "overrideid"),
                             Int32Field(tag, "cssid"), Int32Field(tag, "media"))
                    .second;
            if (!isNew) {
                duplicates += Sql(duplicates.empty() ? "" : ",", tagId);
            } else if (Int32Field(tag, "subownerid") != element->second) {
                Execute(Sql("UPDATE ", db, ".tag SET subownerid = ", element->second,
                            " WHERE tagid = ", tagId, ";"));
            }
        });
        deleteDuplicates();
    }
}

void Update::SiteContentStep_1_0254(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    for (const NamedColour& colour : kNamedColours) {
        Execute(Sql("UPDATE ", db, ".attribute SET value = REPLACE(LCASE(value), '", colour.name,
                    "', '", colour.code,
                    "') WHERE (name LIKE '%color' OR name LIKE 'border-%') "
                    "AND value REGEXP '(^| )",
                    colour.name, "( |$)';"));
    }
    std::int32_t offset = 0;
    for (bool more = true; more;) {
        more = false;
        ForEachRow(
            OpenRecordset(
                Sql("SELECT cssid FROM ", db, ".css ORDER BY cssid LIMIT ", offset, ",50;")),
            [&](const Recordset& stylesheet) {
                const std::int32_t cssId = Int32Field(stylesheet, "cssid");
                Execute(Sql("UPDATE ", db, ".css SET cachebuilt = 0 WHERE cssid = ", cssId, ";"));
                Execute(Sql("UPDATE ", db, ".tag SET cachebuilt = 0 WHERE cssid = ", cssId, ";"));
                ++offset;
                more = true;
            });
    }
}

}  // namespace twupdate
