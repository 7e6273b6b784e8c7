#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

// Steps that are not here stand by theme: emails.cpp, forms.cpp, forum.cpp, layouts.cpp, shop.cpp,
// styles.cpp, texts.cpp.

void Update::SiteContentStep_1_0027(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 2300);
    RefreshSiteComponent(siteId, 300);
}

void Update::SiteContentStep_1_0029(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 2600);
}

void Update::SiteContentStep_1_0032(std::int32_t siteId) {
    InitialiseSiteComponent(siteId, 4100);
    RefreshSiteComponent(siteId, 4100);
    UpgradeSiteComponent(siteId, 4100);
    ResetSiteComponent(siteId, 4100);
}

void Update::SiteContentStep_1_0039(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "forum")) {
        Execute(Sql("UPDATE ", db, ".forum SET threadroot = -1 WHERE elementid = threadid;"));
    }
}

void Update::SiteContentStep_1_0042(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        Execute(Sql("UPDATE ", db,
                    ".formtemplatefield SET linktype = 1 WHERE linkformtemplatefieldid > 0;"));
    }
}

void Update::SiteContentStep_1_0048(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1000);
}

void Update::SiteContentStep_1_0051(std::int32_t siteId) {
    for (const std::int32_t componentId : {1450, 900, 800, 3700, 400, 500, 1000, 1600}) {
        RefreshSiteComponent(siteId, componentId);
    }
}

void Update::SiteContentStep_1_0057(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 900);
    UpgradeSiteComponent(siteId, 3600);
}

void Update::SiteContentStep_1_0058(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1200);
}

void Update::SiteContentStep_1_0062(std::int32_t siteId) {
    ResetSiteComponent(siteId, 3900);
}

void Update::SiteContentStep_1_0063(std::int32_t siteId) {
    CopySiteTemplate(siteId, "EmailTest");
}

// 2 is the type of the permission caches.
void Update::SiteContentStep_1_0066(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    DropTemplateCaches(db, 2);
    Execute(Sql("UPDATE ", db, ".feature SET permissioncacheid = 0 WHERE permissioncacheid > 0;"));
}

void Update::DropTemplateCaches(StringRef db, std::int32_t type) {
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
