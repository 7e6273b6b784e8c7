#include "dbutil/fields.h"
#include "dbutil/sql.h"
#include "migrations/site_schema/shared_columns.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteSchemaStep_1_0001(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstancefield")) {
        AddColumnIfMissing(db, "formtemplateinstancefield", "valuetype", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "formtemplateinstancefield", "requirevalue",
                           "BOOL DEFAULT 0 NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0003(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        AddColumnIfMissing(db, "formfield", "blankoptiontext", "VARCHAR(255) DEFAULT '' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0005(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "layoutzone", "navroot", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "layoutzone", "navoffset", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "layoutzone", "navdepth", "INT DEFAULT 1 NOT NULL");
}

void Update::SiteSchemaStep_1_0007(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!TableExists(db, "charge")) {
        return;
    }
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".chargegroup("
                "groupid INT NOT NULL AUTO_INCREMENT, "
                "featureid INT DEFAULT 0 NOT NULL, "
                "name VARCHAR(100) DEFAULT '' NOT NULL, "
                "sequence INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(groupid), "
                "INDEX featureid_idx(featureid)"
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".chargeoption("
                "optionid INT NOT NULL AUTO_INCREMENT, "
                "groupid INT NOT NULL, "
                "featureid INT DEFAULT 0 NOT NULL, "
                "name VARCHAR(100) DEFAULT '' NOT NULL, "
                "password VARCHAR(20) DEFAULT '' NOT NULL, "
                "sequence INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(optionid), "
                "INDEX groupid_idx(groupid)"
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".orderchargeoption("
                "orderid INT NOT NULL, "
                "chargeoptionid INT NOT NULL, "
                "name VARCHAR(255) DEFAULT '' NOT NULL, "
                "sequence INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(orderid, chargeoptionid), "
                "INDEX chargeoptionid_idx(chargeoptionid)"
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".chargegrouptoitemtype("
                "groupid INT NOT NULL, "
                "applytoitemtypeid INT NOT NULL, "
                "PRIMARY KEY(groupid, applytoitemtypeid)"
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".chargegrouptochargegroup("
                "groupid INT NOT NULL, "
                "applytogroupid INT NOT NULL, "
                "PRIMARY KEY(groupid, applytogroupid)"
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".orderpasswordchargeoption("
                "orderid INT DEFAULT 0 NOT NULL, "
                "optionid INT DEFAULT 0 NOT NULL, "
                "password VARCHAR(20) DEFAULT '' NOT NULL, "
                "PRIMARY KEY(orderid, optionid)"
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".ordercharge("
                "orderid INT DEFAULT 0 NOT NULL, "
                "chargeid INT DEFAULT 0 NOT NULL, "
                "chargeoptionid INT DEFAULT 0 NOT NULL, "
                "chargeamount DECIMAL(17,2) DEFAULT 0.00 NOT NULL, "
                "chargetype INT DEFAULT 0 NOT NULL, "
                "chargecat INT DEFAULT 0 NOT NULL, "
                "name VARCHAR(255) DEFAULT '' NOT NULL, "
                "PRIMARY KEY(orderid, chargeid)"
                ");"));
    AddColumnIfMissing(db, "charge", "chargeoptionid", "INT DEFAULT 0 NOT NULL");
    // Some shops had ordercharge before this step, without the column.
    AddColumnIfMissing(db, "ordercharge", "chargeoptionid", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "charge", "password", "VARCHAR(20) DEFAULT '' NOT NULL");
}

void Update::SiteSchemaStep_1_0008(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "security", "validationstate", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "security", "validated", "BOOL DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0013(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".textcache("
                "type INT DEFAULT 0 NOT NULL, "
                "ref1 INT DEFAULT 0 NOT NULL, "
                "ref2 INT DEFAULT 0 NOT NULL, "
                "checksum VARCHAR(15) DEFAULT '' NOT NULL, "
                "text LONGTEXT DEFAULT '' NOT NULL, "
                "INDEX type_idx(type), "
                "INDEX ref1_idx(ref1), "
                "INDEX ref2_idx(ref2) "
                ");"));
}

void Update::SiteSchemaStep_1_0014(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("ALTER TABLE ", db,
                ".attribute MODIFY COLUMN value VARCHAR(255) DEFAULT '' NOT NULL;"));
}

void Update::SiteSchemaStep_1_0017(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "layoutelement", "showtype", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0018(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    // The first column stands for all four: a site that has it is left as it is.
    if (!ColumnExists(db, "layoutzone", std::string(kZoneTimings.front()))) {
        for (const std::string_view timing : kZoneTimings) {
            AddColumn(db, "layoutzone", std::string(timing), "FLOAT DEFAULT 0 NOT NULL");
        }
    }
    AddColumnIfMissing(db, "setting", "float_value", "FLOAT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0019(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".searchlog("
                "searchlogid INT AUTO_INCREMENT, "
                "userid INT DEFAULT 0 NOT NULL, "
                "featureid INT DEFAULT 0 NOT NULL, "
                "subfeatureid INT DEFAULT 0 NOT NULL, "
                "resultcount INT DEFAULT 0 NOT NULL, "
                "searchlink VARCHAR(255) DEFAULT '' NOT NULL, "
                "searchstring VARCHAR(255) DEFAULT '' NOT NULL, "
                "created DATETIME DEFAULT '1000-01-01' NOT NULL, "
                "clientip VARCHAR(255) DEFAULT '' NOT NULL, "
                "serverip VARCHAR(255) DEFAULT '' NOT NULL, "
                "sitereferer VARCHAR(255) DEFAULT '' NOT NULL, "
                "pagereferer VARCHAR(255) DEFAULT '' NOT NULL, "
                "PRIMARY KEY(searchlogid), "
                "INDEX userid_idx(userid), "
                "INDEX featureid_idx(featureid), "
                "INDEX resultcount_idx(resultcount), "
                "INDEX created_idx(created), "
                "INDEX searchstring_idx(searchstring(10)) "
                ");"));
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "logsearchdetails",
                           "BOOL DEFAULT 0 NOT NULL");
    }
    if (TableExists(db, "orderitem")) {
        AddIndexIfMissing(db, "orderitem", "basketid_idx", "basketid");
        // Kept misspelt: sites already carry this index name.
        AddIndexIfMissing(db, "orderitem", "irderid_idx", "orderid");
    }
}

void Update::SiteSchemaStep_1_0020(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!ColumnExists(db, "searchlog", "searchlogid")) {
        Execute(Sql("ALTER TABLE ", db,
                    ".searchlog "
                    "ADD COLUMN searchlogid INT AUTO_INCREMENT FIRST, "
                    "ADD PRIMARY KEY (searchlogid);"));
    }
}

void Update::SiteSchemaStep_1_0021(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (!ColumnExists(db, "feature", "hidden")) {
        Execute(Sql("ALTER TABLE ", db,
                    ".feature ADD COLUMN hidden BOOL DEFAULT 0 NOT NULL, "
                    "ADD INDEX hidden_idx(hidden);"));
    }
    if (!ColumnExists(db, "searchlog", "searchlogid")) {
        Execute(Sql("ALTER TABLE ", db,
                    ".searchlog "
                    "ADD COLUMN searchlogid INT AUTO_INCREMENT FIRST, "
                    "ADD PRIMARY KEY (searchlogid);"));
    }
}

void Update::SiteSchemaStep_1_0023(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".performanceblock("
                "blockid INT AUTO_INCREMENT, "
                "datefrom DATETIME NOT NULL, "
                "dateto DATETIME NOT NULL, "
                "pageroute VARCHAR(255) NOT NULL, "
                "type INT NOT NULL, "
                "locked BOOL NOT NULL, "
                "PRIMARY KEY(blockid), "
                "INDEX datefrom_idx(datefrom), "
                "INDEX dateto_idx(dateto), "
                "INDEX pageroute_idx(pageroute(20)) "
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".featureperformanceday("
                "hitday DATETIME NOT NULL, "
                "pageroute VARCHAR(255) NOT NULL, "
                "navigationid INT NOT NULL, "
                "linktext VARCHAR(50), "
                "linkquerystring VARCHAR(255), "
                "hitcount INT NOT NULL, "
                "INDEX hitday_idx(hitday), "
                "INDEX pageroute_idx(pageroute(20)), "
                "INDEX navigationid_idx(navigationid) "
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".userperformanceday("
                "hitday DATETIME NOT NULL, "
                "pageroute VARCHAR(255) NOT NULL, "
                "navigationid INT NOT NULL, "
                "linktext VARCHAR(50), "
                "linkquerystring VARCHAR(255), "
                "hitcount INT NOT NULL, "
                "userid INT NOT NULL, "
                "INDEX hitday_idx(hitday), "
                "INDEX pageroute_idx(pageroute(20)), "
                "INDEX navigationid_idx(navigationid), "
                "INDEX userid_idx(userid) "
                ");"));
}

void Update::SiteSchemaStep_1_0025(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "feature", "redirecttype", "INT DEFAULT 302 NOT NULL");
    AddColumnIfMissing(db, "userlock", "subfeatureid", "INT DEFAULT 0 NOT NULL");
}

void Update::SiteSchemaStep_1_0028(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "navigation", "xmlmappriority", "FLOAT DEFAULT 0.5 NOT NULL");
    AddColumnIfMissing(db, "navigation", "xmlmaplastmod", "INT DEFAULT 0 NOT NULL");
    AddColumnIfMissing(db, "navigation", "xmlmapchangefreq",
                       "VARCHAR(10) DEFAULT 'weekly' NOT NULL");
    AddColumnIfMissing(db, "navigation", "xmlmaplastmodspec", "VARCHAR(100) DEFAULT '' NOT NULL");
    AddColumnIfMissing(db, "navigation", "xmlmapignore", "BOOL DEFAULT 0 NOT NULL");
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".taskstatus("
                "featureid INT NOT NULL, "
                "type INT NOT NULL, "
                "status INT NOT NULL, "
                "statustime DATETIME NOT NULL, "
                "PRIMARY KEY(featureid, type) "
                ");"));
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".plaintext("
                "featureid INT NOT NULL, "
                "subfeatureid INT NOT NULL, "
                "text LONGTEXT, "
                "PRIMARY KEY(featureid, subfeatureid)"
                ");"));
}

void Update::SiteSchemaStep_1_0031(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "feature", "blankcontent", "BOOL DEFAULT -1 NOT NULL");
}

void Update::SiteSchemaStep_1_0032(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formloadingproperty")) {
        Execute(Sql("RENAME TABLE ", db, ".formloadingproperty TO ", db, ".formmappingproperty;"));
    }
}

void Update::SiteSchemaStep_1_0033(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "usergroup", "validfrom",
                       "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL");
    AddColumnIfMissing(db, "usergroup", "validuntil",
                       "DATETIME DEFAULT '3000-01-01 00:00' NOT NULL");
}

void Update::SiteSchemaStep_1_0034(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "orderitem")) {
        AddColumnIfMissing(db, "orderitem", "usergroupid", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "orderitem", "availabilitydelay", "VARCHAR(35) DEFAULT '' NOT NULL");
        AddColumnIfMissing(db, "orderitem", "availablefrom",
                           "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL");
    }
}

void Update::SiteSchemaStep_1_0035(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    for (const auto& [table, column, tableIsOptional] : kConvertedColumns) {
        if (!tableIsOptional || TableExists(db, std::string(table))) {
            ConvertFloatToDouble(db, std::string(table), std::string(column));
        }
    }
    if (TableExists(db, "formfield")) {
        const auto fields = OpenRecordset(
            Sql("SELECT featureid, formfieldid FROM ", db, ".formfield WHERE type = 'float';"));
        for (; !fields->IsEOF(); fields->MoveNext()) {
            ConvertFloatToDouble(db, Concat("form_", Int32Field(*fields, "featureid")),
                                 Concat("field_", Int32Field(*fields, "formfieldid")));
        }
        fields->Close();
    }
}

}  // namespace twupdate
