#include "dbutil/replace_all.h"
#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

// The other steps are sorted by subject: charges.cpp, emails.cpp, navigation.cpp, styles.cpp,
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

void Update::SiteContentStep_1_0007(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    RefreshSiteComponent(siteId, 2400);
    UpgradeSiteComponent(siteId, 1000);
    RefreshSiteComponent(siteId, 1000);
    if (TableExists(db, "charge")) {
        AddIndexIfMissing(db, "charge", "chargeoptionid_idx", "chargeoptionid");
        ConvertChargesToGroups(siteId);
    }
    result = kTrue;
}

// A link is converted if the charge at its other end already has its group, that is, if that charge
// comes earlier in the sequence; a forward link finds nothing and is dropped.
void Update::ConvertChargesToGroups(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto charges =
        OpenRecordset(Sql("SELECT c.chargeid, c.featureid, c.name, c.password, c.sequence FROM ",
                          db, ".charge c ORDER BY sequence;"));
    ForEachRow(charges, [&](const Recordset& charge) {
        const std::int32_t featureId = Int32Field(charge, "featureid");
        const std::int32_t chargeId = Int32Field(charge, "chargeid");
        const std::int32_t sequence = Int32Field(charge, "sequence");
        const std::string name = SqlEscape(TextField(charge, "name"));
        Execute(Sql("INSERT INTO ", db, ".chargegroup(featureid, name, sequence) VALUES(",
                    featureId, ", '", name, "' ,", sequence, ");"));
        const std::int32_t groupId = GetLastInsertId();

        const std::string password = SqlEscape(TextField(charge, "password"));
        Execute(Sql("INSERT INTO ", db,
                    ".chargeoption(groupid, featureid, name, password, sequence) VALUES(", groupId,
                    ", ", featureId, ", '", name, "', '", password, "', 1);"));
        const std::int32_t optionId = GetLastInsertId();
        Execute(Sql("UPDATE ", db, ".charge SET chargeoptionid = ", optionId,
                    " WHERE chargeid = ", chargeId, ";"));

        Execute(Sql(
            "INSERT INTO ", db, ".chargegrouptochargegroup(groupid, applytogroupid) SELECT ",
            groupId, ", co.groupid FROM ", db, ".chargetocharge ctc INNER JOIN ", db,
            ".charge c ON ctc.applytochargeid = c.chargeid INNER JOIN ", db,
            ".chargeoption co ON c.chargeoptionid = co.optionid WHERE ctc.chargeid = ", chargeId,
            ";"));
        Execute(Sql("INSERT INTO ", db,
                    ".chargegrouptoitemtype(groupid, applytoitemtypeid) SELECT ", groupId,
                    ", applytoitemtypeid FROM ", db,
                    ".chargetoitemtype WHERE chargeid = ", chargeId, ";"));
    });
}

void Update::SiteContentStep_1_0008(std::int32_t siteId, Boolean& result) {
    UpgradeSiteComponent(siteId, 100);
    InitialiseSiteComponent(siteId, 100);
    ResetSiteComponent(siteId, 100);
    AddResetPasswordEvent(siteId);
    result = kTrue;
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
            return;  // differs only in letter case
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

void Update::SiteContentStep_1_0010(std::int32_t siteId, Boolean& result) {
    AddIndexIfMissing(SiteDatabase(siteId), "pagehit", "eventid_idx", "eventid");
    result = kTrue;
}

void Update::SiteContentStep_1_0011(std::int32_t siteId, Boolean& result) {
    CopySiteTemplates(siteId);
    result = kTrue;
}

// One backslash is sent, and the server's string literal drops it: the pattern begins with any
// character.
void Update::SiteContentStep_1_0012(std::int32_t siteId, Boolean& result) {
    Execute(Sql("UPDATE ", SiteDatabase(siteId),
                ".tagdependancy SET inheritsequence = 2 WHERE tagname REGEXP "
                "'^\\.LOnavlink[0-9]+( A)?(:Hover)?$' AND inheritsequence = 1;"));
    result = kTrue;
}

}  // namespace twupdate
