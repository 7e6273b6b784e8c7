#include <vector>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteContentStep_1_0063(std::int32_t siteId) {
    CopySiteTemplate(siteId, "EmailTest");
}

// 2 is the type of the permission caches.
void Update::SiteContentStep_1_0066(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    DropTemplateCaches(db, 2);
    Execute(Sql("UPDATE ", db, ".feature SET permissioncacheid = 0 WHERE permissioncacheid > 0;"));
}

void Update::DropTemplateCaches(const std::string& db, std::int32_t type) {
    std::string ids;
    ForEachRow(OpenRecordset(Sql("SELECT cacheid FROM ", db, ".cache WHERE type = ", type,
                                 " AND templateid > 0;")),
               [&](const Recordset& cache) {
                   ids += Sql(ids.empty() ? "" : ",", Int32Field(cache, "cacheid"));
               });
    if (ids.empty()) {
        return;
    }
    Execute(Sql("DELETE FROM ", db, ".cache WHERE cacheid IN(", ids, ");"));
    Execute(Sql("DELETE FROM ", db, ".featurecache WHERE cacheid IN(", ids, ");"));
}

// 6 and 7 are the view fields that offer a choice of options.
void Update::SiteContentStep_1_0068(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateviewfield")) {
        Execute(Sql("UPDATE ", db,
                    ".formtemplateviewfield SET hideitemifnooptions = -1 "
                    "WHERE formtemplateviewfieldtype IN(6, 7);"));
    }
}

void Update::SiteContentStep_1_0069(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(
        Sql("UPDATE ", db, ".event SET name = 'Order Completion' WHERE name = 'Order Payment';"));
    if (TableExists(db, "customerorder")) {
        Execute(Sql("UPDATE ", db, ".customerorder o INNER JOIN ", db,
                    ".orderpayment p ON p.orderid = o.orderid SET o.live = 0 WHERE p.live = 0;"));
    }
}

void Update::SiteContentStep_1_0071(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1000);
}

void Update::SiteContentStep_1_0072(std::int32_t siteId) {
    Execute(Sql("UPDATE ", SiteDatabase(siteId),
                ".tag SET cssorder = 500 WHERE name LIKE '%basefont%';"));
}

void Update::SiteContentStep_1_0074(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    AddIndexIfMissing(db, "tag", "cssid_idx", "cssid");
    AddIndexIfMissing(db, "tag", "templateid_idx", "templateid");
    AddIndexIfMissing(db, "tag", "overrideid_idx", "overrideid");
    AddIndexIfMissing(db, "attribute", "tagid_idx", "tagid");
    CopySiteTemplate(siteId, "ServerManager");
}

void Update::SiteContentStep_1_0078(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1000);
}

void Update::SiteContentStep_1_0080(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1000);
}

void Update::SiteContentStep_1_0081(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    for (const std::string_view copy : {"DefaultBillingCountryId", "DefaultShippingCountryId"}) {
        Execute(Sql("INSERT INTO ", db,
                    ".setting(overrideid, name, type, string_value, text, textlen, integer_value, "
                    "float_value) SELECT s.overrideid, '",
                    copy,
                    "', s.type, s.string_value, s.text, s.textlen, s.integer_value, s.float_value "
                    "FROM ",
                    db, ".setting s INNER JOIN ", db,
                    ".override o ON o.overrideid = s.overrideid INNER JOIN ", db,
                    ".feature f ON f.featureid = o.featureid LEFT JOIN ", db,
                    ".setting c ON c.overrideid = s.overrideid AND c.name = '", copy,
                    "' WHERE f.componentid = 1000 AND s.name = 'DefaultCountryId' "
                    "AND c.settingid IS NULL ORDER BY s.settingid;"));
    }
}

// 0 is the type of the style caches.
void Update::SiteContentStep_1_0082(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    DropTemplateCaches(db, 0);
    Execute(Sql("UPDATE ", db, ".feature SET stylecacheid = 0 WHERE stylecacheid > 0;"));
    Execute(Sql("UPDATE ", db, ".tag SET cssorder = 50 WHERE name = '.LOpage';"));
}

void Update::SiteContentStep_1_0086(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 1000);
    UpgradeSiteComponent(siteId, 1000);
    RefreshSiteComponent(siteId, 4300);
    ResetSiteComponent(siteId, 4300);
}

void Update::SiteContentStep_1_0087(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1000);
    ResetSiteComponent(siteId, 1000);
}

void Update::SiteContentStep_1_0089(std::int32_t siteId) {
    Execute(Sql("UPDATE ", SiteDatabase(siteId),
                ".event SET name='Record Change' WHERE name='Form Record Change';"));
}

void Update::SiteContentStep_1_0090(std::int32_t siteId) {
    ResetSiteComponent(siteId, 3100);
}

void Update::SiteContentStep_1_0091(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "form")) {
        return;
    }
    const auto forms = [&](std::int32_t last) { return OpenForms(db, last); };
    ForEachRowInPages("formfeatureid", forms, [&](const Recordset& form) {
        RecordFormFeatureId(db, Int32Field(form, "formfeatureid"));
    });

    // All ids first: copying asks the database again.
    std::vector<std::int32_t> componentIds;
    ForEachRow(
        OpenRecordset(Sql("SELECT DISTINCT f.componentid FROM ", db, ".form m INNER JOIN ", db,
                          ".feature f ON f.featureid = m.formfeatureid "
                          "ORDER BY f.componentid;")),
        [&](const Recordset& row) { componentIds.push_back(Int32Field(row, "componentid")); });
    for (const std::int32_t componentId : componentIds) {
        RenewComponentFiles(siteId, componentId);
    }
}

std::shared_ptr<Recordset> Update::OpenForms(const std::string& db, std::int32_t lastFormId) {
    return OpenRecordset(Sql("SELECT formfeatureid FROM ", db, ".form WHERE formfeatureid > ",
                             lastFormId, " ORDER BY formfeatureid LIMIT ", kRowsPerPage, ";"));
}

void Update::RecordFormFeatureId(const std::string& db, std::int32_t formFeatureId) {
    const std::int32_t overrideId = OverrideOfPage(db, formFeatureId);
    if (!SettingExists(db, overrideId, "FormFeatureId")) {
        AddIntegerSetting(db, overrideId, "FormFeatureId", formFeatureId);
        return;
    }
    Execute(Sql("UPDATE ", db, ".setting SET type = 'integer', integer_value = ", formFeatureId,
                " WHERE overrideid = ", overrideId,
                " AND name = 'FormFeatureId' AND (type <> 'integer' "
                "OR integer_value <> ",
                formFeatureId, ");"));
}

void Update::SiteContentStep_1_0094(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 1000);
    UpgradeSiteComponent(siteId, 1000);
}

void Update::SiteContentStep_1_0096(std::int32_t siteId) {
    ResetSiteComponent(siteId, 500);
    ResetSiteComponent(siteId, 400);
    InitialiseSiteComponent(siteId, 500);
    InitialiseSiteComponent(siteId, 400);
}

void Update::SiteContentStep_1_0098(std::int32_t siteId) {
    CopySiteTemplate(siteId, "gs");
}

// The server's string literal drops the backslash, as in step 1.0012.
void Update::SiteContentStep_1_0099(std::int32_t siteId) {
    Execute(Sql("UPDATE ", SiteDatabase(siteId),
                ".tag SET cssorder = 550 WHERE name REGEXP '^\\.(emptybasketlink|"
                "continueshoppinglink|continuetocheckoutlink|returntobasketlink)';"));
}

void Update::SiteContentStep_1_0100(std::int32_t siteId) {
    ResetSiteComponent(siteId, 1200);
}

}  // namespace twupdate
