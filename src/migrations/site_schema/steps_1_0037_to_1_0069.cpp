#include "dbutil/fields.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteSchemaStep_1_0037(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "forum")) {
        AddColumnIfMissing(db, "forum", "latestelementid", "INT");
        AddColumnIfMissing(db, "forum", "latestpublishedelementid", "INT");
        AddColumnIfMissing(db, "forum", "postings", "INT");
        AddColumnIfMissing(db, "forum", "publishedpostings", "INT");
    }
}

void Update::SiteSchemaStep_1_0038(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "indexed", "BOOL DEFAULT 0 NOT NULL");
    }
    AddColumnIfMissing(db, "taskstatus", "token", "VARCHAR(50)");
    AddColumnIfMissing(db, "taskstatus", "returncode", "INT");
    // From here on several rows may share one feature and type.
    if (IndexExists(db, "taskstatus", "PRIMARY")) {
        Execute(Sql("ALTER TABLE ", db, ".taskstatus DROP PRIMARY KEY;"));
    }
    AddIndexIfMissing(db, "taskstatus", "featureid_idx", "featureid");
    AddIndexIfMissing(db, "taskstatus", "type_idx", "type");
}

void Update::SiteSchemaStep_1_0039(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "forum")) {
        AddColumnIfMissing(db, "forum", "threadroot", "BOOL DEFAULT 0 NOT NULL");
        AddIndexIfMissing(db, "forum", "threadroot_idx", "threadroot");
    }
}

void Update::SiteSchemaStep_1_0040(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                    ".formmappingproperty("
                    "featureid INT DEFAULT 0 NOT NULL, "
                    "propertytype INT DEFAULT 0 NOT NULL, "
                    "type INT DEFAULT 0 NOT NULL, "
                    "value INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY (featureid, propertytype, type)"
                    ");"));
    }
}

void Update::SiteSchemaStep_1_0042(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "linktype", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "hovertype", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "hovertarget",
                           "VARCHAR(100) DEFAULT '' NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "hoverqueryfieldid", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "hovernewwin", "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "hoverallparams", "BOOL DEFAULT -1 NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstance", "enableajax", "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstance", "ajaxchannels",
                           "VARCHAR(100) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0045(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "ajaxinitialrecords",
                           "BOOL DEFAULT -1 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0047(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formlink")) {
        ConvertToDecimal(db, "formlink", "productlinkprice");
    }
    if (TableExists(db, "customerorder")) {
        ConvertToDecimal(db, "customerorder", "grossamount");
        ConvertToDecimal(db, "customerorder", "chargetotal");
    }
    if (TableExists(db, "orderitem")) {
        ConvertToDecimal(db, "orderitem", "price");
    }
    if (TableExists(db, "orderpayment")) {
        ConvertToDecimal(db, "orderpayment", "amount");
    }
    if (TableExists(db, "ordercharge")) {
        ConvertToDecimal(db, "ordercharge", "chargeamount");
    }
    if (TableExists(db, "chargeregion")) {
        ConvertToDecimal(db, "chargeregion", "price");
    }
    if (TableExists(db, "chargeregionvalueband")) {
        ConvertToDecimal(db, "chargeregionvalueband", "bandstart");
        ConvertToDecimal(db, "chargeregionvalueband", "price");
    }
    if (TableExists(db, "commission")) {
        ConvertToDecimal(db, "commission", "commission");
    }
    if (TableExists(db, "formfield")) {
        const auto fields = OpenRecordset(
            Sql("SELECT featureid, formfieldid FROM ", db, ".formfield WHERE type = 'currency';"));
        for (; !fields->IsEOF(); fields->MoveNext()) {
            ConvertToDecimal(db, Concat("form_", Int32Field(*fields, "featureid")),
                             Concat("field_", Int32Field(*fields, "formfieldid")));
        }
        fields->Close();
    }
}

void Update::SiteSchemaStep_1_0050(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "tag", "media", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0052(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "prefix", "VARCHAR(100) DEFAULT '' NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "suffix", "VARCHAR(100) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0054(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "customerorder")) {
        for (const char* column :
             {"billingaddress1", "billingaddress2", "billingtown", "billingcounty",
              "customerpurchasenumber", "shippingaddress1", "shippingaddress2", "shippingtown",
              "shippingcounty", "shippingtelephone"}) {
            AddColumnIfMissing(db, "customerorder", column, "VARCHAR(100) DEFAULT '' NOT NULL");
        }
    }
    for (const char* column : {"address1", "address2", "town", "county"}) {
        AddColumnIfMissing(db, "security", column, "VARCHAR(100) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0055(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "customerorder")) {
        AddColumnIfMissing(db, "customerorder", "customervatnumber",
                           "VARCHAR(100) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0059(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "charreplacement",
                           "VARCHAR(10) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0060(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "ajaxhoverblockms",
                           "INT DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0061(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "feature", "inlinechildnav", "BOOL DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "layoutzone", "inlinechildnav", "BOOL DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "tag", "subownerid", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0062(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "maxrecords", "INT DEFAULT -1 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0064(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "email", "personalized", "BOOL DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0066(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "feature", "permissioncacheid", "INT DEFAULT 0 NOT NULL");
    AddIndexIfMissing(db, "feature", "permissioncacheid_idx", "permissioncacheid");
    AddIndexIfMissing(db, "cachegrantpermission", "cacheid_idx", "cacheid");
}

void Update::SiteSchemaStep_1_0067(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "email", "adddefaultparentparams", "BOOL DEFAULT -1 NOT NULL");
}

void Update::SiteSchemaStep_1_0068(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateviewfield")) {
        AddColumnIfMissing(db, "formtemplateviewfield", "hideitemifnooptions",
                           "BOOL DEFAULT 0 NOT NULL");
    }
    AddColumnIfMissing(db, "security", "receiveemails", "BOOL DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0069(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".accountproportion("
                "featureid INT DEFAULT 0 NOT NULL, "
                "groupid INT DEFAULT 0 NOT NULL, "
                "proportion DOUBLE NOT NULL DEFAULT '0.00', "
                "threshold DECIMAL(17,2) NOT NULL DEFAULT '0.00', "
                "currencyid INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(featureid, currencyid, groupid, threshold), "
                "INDEX groupid_idx(groupid), "
                "INDEX currencyid_idx(currencyid) "
                ");"));
    AddIndexIfMissing(db, "cachesetting", "cacheid_idx", "cacheid");
    AddIndexIfMissing(db, "cachesetting", "settingid_idx", "settingid");
    AddIndexIfMissing(db, "featurecache", "featureid_idx", "featureid");
    AddIndexIfMissing(db, "featurecache", "cacheid_idx", "cacheid");
    if (TableExists(db, "customerorder")) {
        AddColumnIfMissing(db, "customerorder", "accountamount",
                           "DECIMAL(17,2) NOT NULL DEFAULT '0.00'");
        AddColumnIfMissing(db, "customerorder", "live", "BOOL DEFAULT -1 NOT NULL");
        AddColumnIfMissing(db, "customerorder", "accountamountsetmax", "BOOL DEFAULT 0 NOT NULL");
    }
}

}  // namespace twupdate
