#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

// Steps that are not here stand by theme: direct_urls.cpp, forms.cpp, shop.cpp, styles.cpp,
// text_embeds.cpp, texts.cpp.

// Bit 32 is set where it is missing; the other bits stay.
void Update::SiteContentStep_1_0225(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        Execute(Sql("UPDATE ", db,
                    ".formfield SET options = options + 32 "
                    "WHERE type = 'productfamily' AND MOD(options, 64) < 32;"));
    }
}

void Update::SiteContentStep_1_0229(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "externallookupfeedfield")) {
        Execute(Sql("UPDATE ", db, ".externallookupfeedfield e INNER JOIN ", db,
                    ".datafeedfield d ON d.fieldid = e.fieldid "
                    "SET e.featureid = d.featureid, e.formfieldid = d.pointer;"));
    }
}

void Update::SiteContentStep_1_0235(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 1000);
}

// The server's string literal drops the backslash of \d, so that what follows "Now" never
// matches; every value that begins with "Now" does, since what follows is optional.
void Update::SiteContentStep_1_0236(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstancefield")) {
        Execute(Sql("UPDATE ", db,
                    ".formtemplateinstancefield SET valuetype = 7 WHERE valuetype = 0 "
                    "AND value REGEXP '^Now( (Plus|Minus) \\d+ "
                    "(Years|Months|Days|Hours|Minutes|Seconds))?';"));
    }
}

void Update::SiteContentStep_1_0238(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 900);
    UpgradeSiteComponent(siteId, 3700);
}

void Update::SiteContentStep_1_0239(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 100);
}

// Nothing to do: the rung keeps the sequence of versions without a gap.
void Update::SiteContentStep_1_0240(std::int32_t) {}

void Update::SiteContentStep_1_0245(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 900);
    RefreshSiteComponent(siteId, 3700);
}

void Update::SiteContentStep_1_0256(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".layoutzonenavlevel("
                "zoneid INT DEFAULT 0 NOT NULL, "
                "level INT DEFAULT 0 NOT NULL, "
                "direction INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(zoneid, level));"));
    Execute(Sql("UPDATE ", db, ".layoutzone SET flyoutjs = '';"));
}

void Update::SiteContentStep_1_0257(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "formtemplateviewfield")) {
        return;
    }
    Execute(Sql("UPDATE ", db,
                ".formtemplateviewfield SET float_value = 1 "
                "WHERE formtemplateviewfieldtype = 22;"));
    Execute(Sql("INSERT INTO ", db,
                ".setting(overrideid, name, type, integer_value) "
                "SELECT s.overrideid, 'WordMatchType', 'integer', IF(s.integer_value = -1, 1, 0) "
                "FROM ",
                db, ".setting s LEFT JOIN ", db,
                ".setting w ON w.overrideid = s.overrideid AND w.name = 'WordMatchType' "
                "WHERE s.name = 'IgnoreWordFragments' AND w.settingid IS NULL "
                "ORDER BY s.settingid;"));
    Execute(Sql("DELETE FROM ", db, ".setting WHERE name = 'IgnoreWordFragments';"));
}

void Update::SiteContentStep_1_0258(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 2600);
}

void Update::SiteContentStep_1_0261(std::int32_t siteId) {
    ResetSiteComponent(siteId, 5600);
}

}  // namespace twupdate
