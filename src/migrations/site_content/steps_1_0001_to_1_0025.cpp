#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

// Steps that are not here stand by theme: charges.cpp, emails.cpp, navigation.cpp, styles.cpp,
// texts.cpp.

void Update::SiteContentStep_1_0001(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstancefield")) {
        Execute(Sql("UPDATE ", db,
                    ".formtemplateinstancefield SET operator = '=', valuetype = 1 "
                    "WHERE operator = 'PAGE';"));
    }
    result = kTrue;
}

void Update::SiteContentStep_1_0002(std::int32_t siteId, Boolean& result) {
    UpgradeSiteComponent(siteId, 1000);
    UpgradeSiteComponent(siteId, 100);
    RefreshSiteComponent(siteId, 100);
    result = kTrue;
}

void Update::SiteContentStep_1_0003(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        Execute(Sql("UPDATE ", db, ".formfield SET blankoptiontext = defaultvalue;"));
        Execute(
            Sql("UPDATE ", db, ".formfield SET blankoptiontext = '' WHERE blankoptiontext = '0';"));
    }
    result = kTrue;
}

void Update::SiteContentStep_1_0004(std::int32_t siteId, Boolean& result) {
    UpgradeSiteComponent(siteId, 900);
    UpgradeSiteComponent(siteId, 3700);
    result = kTrue;
}

void Update::SiteContentStep_1_0005(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("UPDATE ", db,
                ".layoutzone SET navdepth = navuntil - navfrom + 1, navoffset = navfrom;"));
    Execute(Sql("UPDATE ", db, ".layoutzone SET navdepth = 1 WHERE navdepth < 1;"));
    result = kTrue;
}

void Update::SiteContentStep_1_0006(std::int32_t siteId, Boolean& result) {
    AddIndexIfMissing(SiteDatabase(siteId), "contentupdate", "updatetime_idx", "updatetime");
    result = kTrue;
}

void Update::SiteContentStep_1_0008(std::int32_t siteId, Boolean& result) {
    UpgradeSiteComponent(siteId, 100);
    InitialiseSiteComponent(siteId, 100);
    ResetSiteComponent(siteId, 100);
    AddResetPasswordEvent(siteId);
    result = kTrue;
}

void Update::SiteContentStep_1_0010(std::int32_t siteId, Boolean& result) {
    AddIndexIfMissing(SiteDatabase(siteId), "pagehit", "eventid_idx", "eventid");
    result = kTrue;
}

void Update::SiteContentStep_1_0011(std::int32_t siteId, Boolean& result) {
    CopySiteTemplates(siteId);
    result = kTrue;
}

// One backslash goes out, and the server's string literal drops it: the pattern's first character
// is any character.
void Update::SiteContentStep_1_0012(std::int32_t siteId, Boolean& result) {
    Execute(Sql("UPDATE ", SiteDatabase(siteId),
                ".tagdependancy SET inheritsequence = 2 WHERE tagname REGEXP "
                "'^\\.LOnavlink[0-9]+( A)?(:Hover)?$' AND inheritsequence = 1;"));
    result = kTrue;
}

void Update::SiteContentStep_1_0015(std::int32_t siteId, Boolean& result) {
    RefreshSiteComponent(siteId, 1500);
    RefreshSiteComponent(siteId, 2600);
    result = kTrue;
}

void Update::SiteContentStep_1_0016(std::int32_t siteId, Boolean& result) {
    RenewComponentFiles(siteId, 300);
    result = kTrue;
}

void Update::SiteContentStep_1_0021(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("UPDATE ", db, ".feature SET hidden = -1 WHERE navigationstyle = 'LONavHidden';"));
    AddIndexIfMissing(db, "feature", "deadlink_idx", "deadlink");
    result = kTrue;
}

void Update::SiteContentStep_1_0022(std::int32_t siteId, Boolean& result) {
    RefreshSiteComponent(siteId, 3000);
    RenewComponentFiles(siteId, 900);
    result = kTrue;
}

void Update::SiteContentStep_1_0023(std::int32_t siteId, Boolean& result) {
    AddIndexIfMissing(SiteDatabase(siteId), "removedfeature", "navigationid_idx", "navigationid");
    result = kTrue;
}

void Update::SiteContentStep_1_0025(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "forum")) {
        AddIndexIfMissing(db, "forum", "threadid_idx", "threadid");
        AddIndexIfMissing(db, "forum", "featureid_idx", "featureid");
    }
    result = kTrue;
}

}  // namespace twupdate
