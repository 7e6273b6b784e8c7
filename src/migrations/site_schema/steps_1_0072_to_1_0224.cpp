#include "dbutil/fields.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteSchemaStep_1_0072(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "tag", "cssorder", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0073(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "formtemplateinstance")) {
        return;
    }
    AddColumnIfMissing(db, "formtemplateinstance", "minrecords", "INT DEFAULT -1 NOT NULL");
}

void Update::SiteSchemaStep_1_0075(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "formfield")) {
        return;
    }
    AddColumnIfMissing(db, "formfield", "targetqueryfeatureid", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "formfield", "targetqueryvaluefieldid", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "formfield", "targetquerytextfieldid", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "formlink", "objformid", "INT DEFAULT 0 NOT NULL");
    AddIndexIfMissing(db, "formlink", "objformid_idx", "objformid");

    const auto fields =
        OpenRecordset(Sql("SELECT formfieldid, featureid, type, targetformfeatureid "
                          "FROM ",
                          db,
                          ".formfield "
                          "WHERE type IN('formlink', 'multiformlink', 'productfamily');"));
    for (; !fields->IsEOF(); fields->MoveNext()) {
        const auto featureId = Int32Field(*fields, "featureid");
        const auto formFieldId = Int32Field(*fields, "formfieldid");
        const auto targetFormId = Int32Field(*fields, "targetformfeatureid");
        if (TextField(*fields, "type") == "formlink") {
            const auto form = Concat("form_", featureId);
            const auto column = Concat("field_", formFieldId, "_targetformid");
            AddColumnIfMissing(db, form, column, "INT DEFAULT 0 NOT NULL");
            AddIndexIfMissing(db, form, column + "_idx", column);
            Execute(Sql("UPDATE ", db, ".", form, " SET ", column, " = ", targetFormId, ";"));
        } else {
            Execute(Sql("UPDATE ", db, ".formlink SET objformid = ", targetFormId,
                        " WHERE formfieldid = ", formFieldId, ";"));
        }
    }
    fields->Close();
}

void Update::SiteSchemaStep_1_0077(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    SiteSchemaStep_1_0075(siteId);
    if (TableExists(db, "orderitem")) {
        AddColumnIfMissing(db, "orderitem", "descriptionstylesheetids",
                           "VARCHAR(50) DEFAULT '' NOT NULL");
    }
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "pageparamcompletion", "INT DEFAULT 0 NOT NULL");
        // Bit 3 of the options.
        Execute(Sql("UPDATE ", db,
                    ".formfield SET pageparamcompletion = 1 WHERE MOD(options, 16) >=8;"));
    }
}

void Update::SiteSchemaStep_1_0078(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "basket")) {
        return;
    }
    AddColumnIfMissing(db, "basket", "lastreferer", "VARCHAR(255)");
}

void Update::SiteSchemaStep_1_0079(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateviewfield")) {
        AddColumnIfMissing(db, "formtemplateviewfield", "text", "VARCHAR(100)");
    }
    CopySiteTemplate(siteId, "gs");
}

void Update::SiteSchemaStep_1_0080(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "customerorder")) {
        return;
    }
    AddColumnIfMissing(db, "customerorder", "billingfax", "VARCHAR(50) DEFAULT '' NOT NULL");
    AddColumnIfMissing(db, "customerorder", "shippingfax", "VARCHAR(50) DEFAULT '' NOT NULL");
}

void Update::SiteSchemaStep_1_0081(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".settingcountry("
                "settingid INT DEFAULT 0 NOT NULL, "
                "countryid INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(settingid, countryid), "
                "INDEX countryid_idx(countryid) "
                ");"));
}

void Update::SiteSchemaStep_1_0082(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "feature", "stylecacheid", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0083(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "applyinitialparameterstring",
                           "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstancefield", "criteriatype",
                           "INT DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0084(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".eventdelay ("
                "delayid INT NOT NULL AUTO_INCREMENT, "
                "delayuntiltype INT DEFAULT 0 NOT NULL, "
                "delayuntildate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
                "delayuntilnexttype INT DEFAULT 0 NOT NULL, "
                "delayuntilformfieldid INT DEFAULT 0 NOT NULL, "
                "delayuntilqueryinstanceid INT DEFAULT 0 NOT NULL, "
                "delayuntilqueryfieldid INT DEFAULT 0 NOT NULL, "
                "adjustbytype INT DEFAULT 0 NOT NULL, "
                "adjustbytimespan VARCHAR(35) DEFAULT '' NOT NULL, "
                "adjustbyformfieldid INT DEFAULT 0 NOT NULL, "
                "adjustbyqueryinstanceid INT DEFAULT 0 NOT NULL, "
                "adjustbyqueryfieldid INT DEFAULT 0 NOT NULL, "
                "subtractadjustby BOOL DEFAULT 0 NOT NULL, "
                "copieddelayid INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY (delayid) "
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".eventwakeup("
                "guid VARCHAR(32), "
                "protocol VARCHAR(20) DEFAULT 'http://' NOT NULL, "
                "domain VARCHAR(255) DEFAULT '' NOT NULL, "
                "port INT DEFAULT 80 NOT NULL, "
                "eventid INT DEFAULT 0 NOT NULL, "
                "eventpartid INT DEFAULT 0 NOT NULL, "
                "dataxml LONGTEXT DEFAULT '' NOT NULL, "
                "userid INT DEFAULT 0 NOT NULL, "
                "userip VARCHAR(15) DEFAULT '' NOT NULL, "
                "keydataid1 INT DEFAULT 0 NOT NULL, "
                "keydataid2 INT DEFAULT 0 NOT NULL, "
                "created DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
                "INDEX guid_idx(guid(15)), "
                "INDEX keydataid1_idx(keydataid1), "
                "INDEX keydataid2_idx(keydataid2)"
                ");"));
}

void Update::SiteSchemaStep_1_0085(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "eventpart", "copiedeventpartid", "INT DEFAULT 0 NOT NULL");
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".eventpartproperty ("
                "propertyid INT NOT NULL AUTO_INCREMENT, "
                "eventpartid INT DEFAULT 0 NOT NULL, "
                "propertytype INT DEFAULT 0 NOT NULL, "
                "currentvaluetype INT DEFAULT 0 NOT NULL, "
                "copiedpropertyid INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY (propertyid), "
                "INDEX eventpartid_idx(eventpartid) "
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".eventpartpropertyvalue ("
                "propertyid INT DEFAULT 0 NOT NULL, "
                "valuetype INT DEFAULT 0 NOT NULL, "
                "text VARCHAR(255) DEFAULT '' NOT NULL, "
                "integer_value INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY (propertyid, valuetype) "
                ");"));
}

void Update::SiteSchemaStep_1_0090(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "formtemplateinstance")) {
        return;
    }
    AddColumnIfMissing(db, "formtemplateinstance", "shownocriteriatext",
                       "BOOL DEFAULT -1 NOT NULL");
}

void Update::SiteSchemaStep_1_0091(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfieldexpressionfield")) {
        AddColumnIfMissing(db, "formfieldexpressionfield", "prefixlen", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formfieldexpressionfield", "suffixlen", "INT DEFAULT 0 NOT NULL");
        Execute(Sql("UPDATE ", db,
                    ".formfieldexpressionfield SET "
                    "prefixlen = LENGTH(REPLACE(prefix, '&nbsp;', ' ')), "
                    "prefix = REPLACE(prefix, '&nbsp;', ' '), "
                    "suffixlen = LENGTH(REPLACE(suffix, '&nbsp;', ' ')), "
                    "suffix = REPLACE(suffix, '&nbsp;', ' ');"));
    }
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".featuresetting ("
                "featureid INT DEFAULT 0 NOT NULL, "
                "type INT DEFAULT 0 NOT NULL, "
                "integer_value INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(featureid, type)"
                ");"));
}

void Update::SiteSchemaStep_1_0092(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "prefixlen", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "suffixlen", "INT DEFAULT 0 NOT NULL");
        // Unlike the expression prefixes of 1.0091 these keep their text: the marker is only not
        // counted.
        Execute(Sql("UPDATE ", db,
                    ".formtemplatefield SET "
                    "prefixlen = LENGTH(REPLACE(prefix, '|~|', '')), "
                    "suffixlen = LENGTH(REPLACE(suffix, '|~|', ''));"));
    }
    if (TableExists(db, "customerorder")) {
        AddIndexIfMissing(db, "customerorder", "completed_idx", "completed");
        AddIndexIfMissing(db, "customerorder", "live_idx", "live");
        AddIndexIfMissing(db, "customerorder", "locked_idx", "locked");
    }
}

void Update::SiteSchemaStep_1_0093(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "linkrel", "VARCHAR(50) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0094(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "customerorder")) {
        Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                    ".ordertermsagreed("
                    "orderid INT DEFAULT 0 NOT NULL, "
                    "termsfeatureid INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY(orderid, termsfeatureid)"
                    ");"));
        AddColumnIfMissing(db, "customerorder", "grossamountcalculated", "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "customerorder", "chargetotalcalculated", "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "customerorder", "accountamountverified", "BOOL DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0095(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "feature", "redirectlinktype", "INT DEFAULT -1 NOT NULL");
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "pageparamtype", "INT DEFAULT 0 NOT NULL");
        Execute(Sql("UPDATE ", db, ".formfield SET pageparamtype = 1 WHERE type = 'integer';"));
    }
}

void Update::SiteSchemaStep_1_0096(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "text", "publishfuturepermission", "VARCHAR(50) DEFAULT '' NOT NULL");
}

void Update::SiteSchemaStep_1_0097(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "formtemplatefield")) {
        return;
    }
    AddColumnIfMissing(db, "formtemplatefield", "linktitlequeryfieldid", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0200(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "orderitem")) {
        return;
    }
    AddColumnIfMissing(db, "orderitem", "expirystacktype", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0210(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "featuresetting", "valuetype", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "featuresetting", "string_value", "VARCHAR(255) DEFAULT '' NOT NULL");
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".featurenamevalue ("
                "featureid INT DEFAULT 0 NOT NULL, "
                "type INT DEFAULT 0 NOT NULL, "
                "name VARCHAR(255) DEFAULT '' NOT NULL, "
                "value VARCHAR(255) DEFAULT '' NOT NULL, "
                "sequence INT DEFAULT 0 NOT NULL, "
                "INDEX featureid_idx(featureid), "
                "INDEX type_idx(type) "
                ");"));
    if (TableExists(db, "datafeedfield")) {
        AddColumnIfMissing(db, "datafeedfield", "pointer", "INT DEFAULT 0 NOT NULL");
        AddIndexIfMissing(db, "datafeedfield", "pointer_idx", "pointer");
    }
    if (TableExists(db, "formtemplateinstancefield")) {
        AddColumnIfMissing(db, "formtemplateinstancefield", "saveincookie",
                           "BOOL DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0224(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "externallookupfeedfield")) {
        AddColumnIfMissing(db, "externallookupfeedfield", "minrequestlength",
                           "INT DEFAULT -1 NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "maxrequestlength",
                           "INT DEFAULT -1 NOT NULL");
    }
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".textembed("
                "embedid INT AUTO_INCREMENT, "
                "textid INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(embedid), "
                "INDEX textid_idx(textid)"
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".textembedproperty("
                "embedid INT DEFAULT 0 NOT NULL, "
                "propertytype INT DEFAULT 0 NOT NULL, "
                "valuetype INT DEFAULT 0 NOT NULL, "
                "integer_value INT DEFAULT 0 NOT NULL, "
                "string_value VARCHAR(255) DEFAULT '' NOT NULL, "
                "PRIMARY KEY(embedid, propertytype)"
                ");"));
}

}  // namespace twupdate
