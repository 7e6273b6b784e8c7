#include "server/site_schema_site.h"

namespace twupdate::test {

void SiteSchemaOnServer::MakeBareSite(std::int32_t siteId) {
    LoadSite(siteId, {});
    AddCoreRows("tw_" + std::to_string(siteId));
}

void SiteSchemaOnServer::MakeFullSite(std::int32_t siteId) {
    const std::string db = "tw_" + std::to_string(siteId);
    LoadSite(siteId);
    Sql("CREATE TABLE " + db +
        ".ordercharge("
        "orderid INT DEFAULT 0 NOT NULL, chargeid INT DEFAULT 0 NOT NULL, "
        "chargeamount FLOAT DEFAULT 0 NOT NULL, chargetype INT DEFAULT 0 NOT NULL, "
        "chargecat INT DEFAULT 0 NOT NULL, name VARCHAR(255) DEFAULT '' NOT NULL, "
        "PRIMARY KEY(orderid, chargeid));");
    LoadForm(siteId, 50,
             {{1, "text", 1},
              {2, "memo", 2},
              {3, "dhtml", 3},
              {4, "integer", 4},
              {5, "float", 5},
              {6, "currency", 6},
              {7, "boolean", 7},
              {8, "date", 8},
              {9, "file", 15},
              {10, "image", 16},
              {11, "formlink", 0, 60},
              {12, "multiformlink", 0, 61},
              {13, "productfamily", 0, 62}});
    AddCoreRows(db);
    AddOptionalRows(db);
    AddRecords(db);
    WriteFile("wwwroot/sites/" + std::to_string(siteId) + "/files/a.pdf", "twelve bytes");
}

void SiteSchemaOnServer::MakeFullSiteAt_1_0224(std::int32_t siteId) {
    const std::string db = "tw_" + std::to_string(siteId);
    MakeFullSite(siteId);
    RunRungsUpTo(siteId, 1.0224);
    Sql("INSERT INTO " + db +
        ".featurenamevalue(featureid, type, name, value, sequence) "
        "VALUES(16, 0, 'country', 'GB', 1), (16, 0, 'key', 'it''s', 2), "
        "(16, 2, '', 'http://a.example/?a=1&b=2', 1), (17, 2, '', 'http://b.example/', 2), "
        "(16, 7, 'colour', 'blue', 1);"
        "UPDATE " +
        db + ".externallookupfeedfield SET minrequestlength = 3 WHERE fieldid = 31;");
    SetSiteVersion(siteId, 1.0224);
}

void SiteSchemaOnServer::DropSite(std::int32_t siteId) {
    const std::string id = std::to_string(siteId);
    Sql("DROP DATABASE tw_" + id + "; DELETE FROM tw_tarnwick.site WHERE siteid = " + id + ";");
}

void SiteSchemaOnServer::AddCoreRows(const std::string& db) {
    Sql("INSERT INTO " + db + ".feature(featureid, componentid) VALUES(1, 400), (2, 800);" +  //
        "INSERT INTO " + db +
        ".navigation(navigationid, featureid, linktext) VALUES(1, 1, 'A');"  //
        "INSERT INTO " +
        db +
        ".layoutzone(zoneid, elementid) VALUES(1, 1), (2, 1);"  //
        "INSERT INTO " +
        db +
        ".override(overrideid, featureid) VALUES(1, 1);"  //
        "INSERT INTO " +
        db +
        ".setting(settingid, overrideid, name) VALUES(1, 1, 'canonical');"  //
        "INSERT INTO " +
        db +
        ".attribute(attributeid, tagid, name, value) VALUES(1, 1, 'a', 'b');"
        "INSERT INTO " +
        db +
        ".security(userid, username) VALUES(1, 'ann'), (2, 'bob');"
        "INSERT INTO " +
        db +
        ".usergroup(userid, groupid) VALUES(1, 1);"
        "INSERT INTO " +
        db + ".image(imageid, filename) VALUES(1, 'a.png');");
}

void SiteSchemaOnServer::AddOptionalRows(const std::string& db) {
    Sql("INSERT INTO " + db +
        ".formlink(linkid, formfieldid, productlinkprice) "
        "VALUES(1, 12, 1.5), (2, 13, 19.99);"
        "INSERT INTO " +
        db +
        ".formfieldexpressionfield(expressionfieldid, prefix, suffix) "
        "VALUES(1, 'a&nbsp;b', '');"
        "INSERT INTO " +
        db +
        ".formloadingproperty(featureid, propertytype, type, value) "
        "VALUES(50, 1, 2, 3);"
        "INSERT INTO " +
        db +
        ".formtemplatefield(formtemplatefieldid, featureid) VALUES(1, 1);"
        "INSERT INTO " +
        db +
        ".externallookupfeedfield(fieldid, requestparamname) "
        "VALUES(31, 'postcode'), (32, '');"
        "INSERT INTO " +
        db +
        ".customerorder(orderid, grossamount, chargetotal) "
        "VALUES(1, 19.99, 0.1);"
        "INSERT INTO " +
        db +
        ".orderitem(itemid, orderid, price) VALUES(1, 1, 9.99);"
        "INSERT INTO " +
        db +
        ".orderpayment(paymentid, orderid, amount) VALUES(1, 1, 20.09);"
        "INSERT INTO " +
        db +
        ".ordercharge(orderid, chargeid, chargeamount) VALUES(1, 1, 0.35);"
        "INSERT INTO " +
        db +
        ".chargeregion(regionid, price) VALUES(1, 3.5);"
        "INSERT INTO " +
        db +
        ".chargeregionvalueband(bandid, bandstart, price) VALUES(1, 100, 2);"
        "INSERT INTO " +
        db +
        ".commission(commissionid, percentage, commission) "
        "VALUES(1, 7.5, 1.25);"
        "INSERT INTO " +
        db +
        ".accesscodeaccount(accesscodeid, associatepercentage) "
        "VALUES(1, 0.1);"
        "INSERT INTO " +
        db + ".forum(elementid, threadid) VALUES(1, 1);");
}

void SiteSchemaOnServer::AddRecords(const std::string& db) {
    Sql("INSERT INTO " + db +
        ".form_50(replyid, field_1, field_2, field_3, field_4, field_5, field_6, field_9, "
        "field_11) VALUES(1, 'One', 'Two', '<p>Three</p>', 4, 0.1, 19.99, '../files/a.pdf', 8), "
        "(2, '', '', '', 0, 0, 0, '../files/missing.pdf', 0);");
}

RowSnapshot SiteSchemaOnServer::RowsWithoutParameterIds(std::int32_t siteId) {
    RowSnapshot rows = RowsOf("tw_" + std::to_string(siteId));
    std::int32_t number = 0;
    for (RowSnapshot::Row& row : rows.tables["externallookupfeedparam"].rows) {
        row.key = std::to_string(++number);
        std::erase_if(row.values, [](const auto& cell) { return cell.first == "paramid"; });
    }
    return rows;
}

void SiteSchemaOnServer::RunLadder(std::int32_t siteId, double version,
                                   std::shared_ptr<Utility> utility) {
    Update update;
    update.Configure(utility ? std::move(utility) : Host());
    UpdateTestPeer(update).RunSiteSchemaLadder(siteId, version);
}

void SiteSchemaOnServer::RunRungsUpTo(std::int32_t siteId, double version) {
    Update update;
    update.Configure(Host());
    UpdateTestPeer peer(update);
    for (const LadderStep& rung : LadderSteps(Ladder::kSiteSchema)) {
        if (!IsBelow(version, rung.threshold)) {
            peer.RunSiteStep(Ladder::kSiteSchema, static_cast<std::size_t>(rung.number), siteId);
        }
    }
}

Schema SiteSchemaOnServer::Expected(const std::string& file) {
    return Schema::Load(ExpectedFile(file));
}

std::string SiteSchemaOnServer::ExpectedFile(const std::string& name) {
    return TWUPDATE_TEST_FOLDER "/expected/" + name;
}

}  // namespace twupdate::test
