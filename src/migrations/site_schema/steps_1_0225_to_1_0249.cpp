#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteSchemaStep_1_0225(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "targetformtextfieldid", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formfield", "targetformorderbyfieldid", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formfield", "targetformorderbytype",
                           "VARCHAR(10) DEFAULT '' NOT NULL");
    }
    // Copied only by the pass that creates the table, so that no address is there twice.
    if (TableExists(db, "externallookupfeedfield") && !TableExists(db, "externallookupfeedurl")) {
        Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                    ".externallookupfeedurl("
                    "featureid INT DEFAULT 0 NOT NULL, "
                    "url VARCHAR(255) DEFAULT '' NOT NULL, "
                    "username VARCHAR(50) DEFAULT '' NOT NULL, "
                    "password VARCHAR(50) DEFAULT '' NOT NULL, "
                    "sequence INT DEFAULT 0 NOT NULL, "
                    "INDEX featureid_idx(featureid)"
                    ");"));
        Execute(Sql("INSERT INTO ", db,
                    ".externallookupfeedurl(featureid, url, sequence) "
                    "SELECT featureid, value, sequence "
                    "FROM ",
                    db, ".featurenamevalue WHERE type = 2;"));
    }
}

void Update::SiteSchemaStep_1_0226(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "externallookupfeedfield")) {
        AddColumnIfMissing(db, "externallookupfeedfield", "createlinkedrecords",
                           "BOOL DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0227(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "externallookupfeedfield")) {
        AddColumnIfMissing(db, "externallookupfeedfield", "responsevalueprefix",
                           "VARCHAR(100) DEFAULT '' NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "responsevaluesuffix",
                           "VARCHAR(100) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0228(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateviewfield")) {
        AddColumnIfMissing(db, "formtemplateviewfield", "displaytype", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplateviewfield", "datamodtype", "INT DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0229(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "externallookupfeedfield")) {
        if (!ColumnExists(db, "externallookupfeedfield", "lookupfieldid")) {
            Execute(Sql("ALTER TABLE ", db,
                        ".externallookupfeedfield "
                        "ADD COLUMN lookupfieldid INT AUTO_INCREMENT FIRST, "
                        "ADD PRIMARY KEY(lookupfieldid);"));
        }
        // Dropped and added again on every run.
        if (IndexExists(db, "externallookupfeedfield", "fieldid_idx")) {
            DropIndex(db, "externallookupfeedfield", "fieldid_idx");
        }
        AddIndex(db, "externallookupfeedfield", "fieldid_idx", "fieldid");
        AddColumnIfMissing(db, "externallookupfeedfield", "linkonextended",
                           "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "parentlookupfieldid",
                           "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "featureid", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "formfieldid", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "extendedcachecontrol",
                           "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "alwaysupdate",
                           "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "externallookupfeedfield", "responsesequencexpath",
                           "VARCHAR(255) DEFAULT '' NOT NULL");
        AddIndexIfMissing(db, "externallookupfeedfield", "parentlookupfieldid_idx",
                          "parentlookupfieldid");
        AddIndexIfMissing(db, "externallookupfeedfield", "featureid_idx", "featureid");
        AddIndexIfMissing(db, "externallookupfeedfield", "formfieldid_idx", "formfieldid");
    }
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "surroundtype", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstance", "surround", "INT DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0231(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "integer_value", "INT DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0232(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    // Misspelt, and kept so.
    AddColumnIfMissing(db, "security", "referalid", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0233(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "ajaxhideonmouseout",
                           "BOOL DEFAULT 0 NOT NULL");
    }
    if (TableExists(db, "formfield")) {
        Execute(Sql("ALTER TABLE ", db,
                    ".formfield "
                    "MODIFY COLUMN defaultvalue LONGTEXT DEFAULT '' NOT NULL;"));
    }
    if (TableExists(db, "externallookupfeedfield")) {
        const auto params = db + ".externallookupfeedparam";
        Execute(Sql("CREATE TABLE IF NOT EXISTS ", params,
                    "("
                    "paramid INT AUTO_INCREMENT, "
                    "featureid INT DEFAULT 0 NOT NULL, "
                    "name VARCHAR(255) DEFAULT '' NOT NULL, "
                    "type INT DEFAULT 0 NOT NULL, "
                    "textvalue VARCHAR(255) DEFAULT '' NOT NULL, "
                    "longvalue INT DEFAULT 0 NOT NULL, "
                    "sequence INT DEFAULT 0 NOT NULL, "
                    "minlength INT DEFAULT -1 NOT NULL, "
                    "maxlength INT DEFAULT -1 NOT NULL, "
                    "PRIMARY KEY(paramid), "
                    "INDEX featureid_idx(featureid) "
                    ");"));
        // Recreated by every pass from the two places where parameters were kept: name/value rows
        // of type 0 hold fixed texts, lookup fields with a parameter name take a field's value.
        Execute(Sql("DELETE FROM ", params, ";"));
        Execute(Sql("INSERT INTO ", params,
                    "(featureid, name, textvalue, sequence, type) "
                    "SELECT featureid, name, value, sequence, 0 "
                    "FROM ",
                    db,
                    ".featurenamevalue "
                    "WHERE type = 0;"));
        Execute(Sql("INSERT INTO ", params,
                    "(featureid, name, longvalue, minlength, maxlength, sequence, type) "
                    "SELECT featureid, requestparamname, formfieldid, "
                    "minrequestlength, maxrequestlength, 999, 1 "
                    "FROM ",
                    db, ".externallookupfeedfield WHERE requestparamname <> '';"));
    }
}

void Update::SiteSchemaStep_1_0234(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplate")) {
        AddColumnIfMissing(db, "formtemplate", "customviewconfigured", "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplate", "qbxviewconfigured", "BOOL DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0235(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    CopySiteTemplate(siteId, "gs");
    if (TableExists(db, "formtemplate")) {
        Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                    ".rssfilelookup("
                    "queryid INT NOT NULL, "
                    "viewid INT NOT NULL, "
                    "instanceid INT NOT NULL, "
                    "pageurl VARCHAR(1024), "
                    "params VARCHAR(1024), "
                    "pass VARCHAR(15), "
                    "hash VARCHAR(32), "
                    "INDEX queryid_idx(queryid), "
                    "INDEX viewid_idx(viewid), "
                    "INDEX instanceid_idx(instanceid), "
                    "INDEX hash_idx(hash(15)) "
                    ");"));
        AddColumnIfMissing(db, "rssfilelookup", "dir", "VARCHAR(15)");
        Execute(Sql("UPDATE ", db, ".rssfilelookup SET dir = 'rss';"));
    }
    if (TableExists(db, "customerorder")) {
        AddColumnIfMissing(db, "customerorder", "shippingnotes", "LONGTEXT");
    }
}

void Update::SiteSchemaStep_1_0236(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "groupby", "VARCHAR(20) DEFAULT '' NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstancefield", "applyto",
                           "VARCHAR(20) DEFAULT '' NOT NULL");
    }
    AddColumnIfMissing(db, "image", "title", "VARCHAR(255) NOT NULL DEFAULT ''");
}

void Update::SiteSchemaStep_1_0237(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "directurlreplacementchar",
                           "CHAR(1) DEFAULT '-' NOT NULL");
        AddColumnIfMissing(db, "formfield", "directurlreplacedotandq", "BOOL DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formfield", "maxlength", "INT DEFAULT 0 NOT NULL");
    }
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "replacedotandq", "BOOL DEFAULT 0 NOT NULL");
    }
    if (TableExists(db, "chargegroup")) {
        AddColumnIfMissing(db, "chargegroup", "validfrom",
                           "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL");
        AddColumnIfMissing(db, "chargegroup", "validuntil",
                           "DATETIME DEFAULT '3000-01-01 00:00' NOT NULL");
    }
    // There since 1.0236; kept, since a step never changes once sites have run it.
    AddColumnIfMissing(db, "image", "title", "VARCHAR(255) NOT NULL DEFAULT ''");
}

void Update::SiteSchemaStep_1_0238(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "linkoutreftype", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formfield", "linkinreftype", "INT DEFAULT 0 NOT NULL");
        AddIndexIfMissing(db, "formfield", "featureid_idx", "featureid");
        Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                    ".formrecorddelete("
                    "guid VARCHAR(32) NOT NULL, "
                    "formid INT NOT NULL, "
                    "recordid INT NOT NULL, "
                    "INDEX guid_idx(guid(15)), "
                    "INDEX formid_idx(formid), "
                    "INDEX recordid_idx(recordid) "
                    ");"));
    }
}

void Update::SiteSchemaStep_1_0241(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "textembed", "major", "INT DEFAULT -1 NOT NULL");
    AddColumnIfMissing(db, "textembed", "minor", "INT DEFAULT -1 NOT NULL");
    AddIndexIfMissing(db, "textembed", "major_idx", "major");
}

void Update::SiteSchemaStep_1_0243(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "recurse", "INT DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0244(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "setting", "textlen", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0246(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "initialrecordstype",
                           "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstance", "initialajaxcalltype",
                           "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstance", "initialajaxcallelementid",
                           "VARCHAR(50) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0247(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "textembedproperty", "double_value", "DOUBLE DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0248(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".regularexpression("
                "regexid INT AUTO_INCREMENT,  "
                "title VARCHAR(255) DEFAULT '' NOT NULL, "
                "description LONGTEXT DEFAULT '' NOT NULL, "
                "pattern LONGTEXT DEFAULT '' NOT NULL, "
                "ignorecase BOOL DEFAULT 0 NOT NULL, "
                "global BOOL DEFAULT 0 NOT NULL, "
                "multiline BOOL DEFAULT 0 NOT NULL, "
                "returntype INT DEFAULT 0 NOT NULL, "
                "matchcount INT DEFAULT 1 NOT NULL, "
                "replacestr VARCHAR(255) DEFAULT '' NOT NULL, "
                "testinput LONGTEXT DEFAULT '' NOT NULL, "
                "PRIMARY KEY(regexid)"
                ");"));
}

void Update::SiteSchemaStep_1_0249(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "regexid", "INT DEFAULT 0 NOT NULL");
    }
    AddColumnIfMissing(db, "regularexpression", "patternlen", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "regularexpression", "replacestrlen", "INT DEFAULT 0 NOT NULL");
}

}  // namespace twupdate
