#include "unit/site_schema_fixture.h"

namespace twupdate::test {

static std::vector<StepCase> Cases() {
    const std::string number = "INT DEFAULT 0 NOT NULL";
    const std::string flag = "BOOL DEFAULT 0 NOT NULL";
    const std::string flagOn = "BOOL DEFAULT -1 NOT NULL";
    const std::string text100 = "VARCHAR(100) DEFAULT '' NOT NULL";
    return {
        {"SiteSchemaStep_1_0037",
         Where("forum", Adds("forum.latestelementid", "INT"),
               Adds("forum.latestpublishedelementid", "INT"), Adds("forum.postings", "INT"),
               Adds("forum.publishedpostings", "INT"))},
        {"SiteSchemaStep_1_0038",
         Join(Where("formfield", Adds("formfield.indexed", flag)),
              Adds("taskstatus.token", "VARCHAR(50)"), Adds("taskstatus.returncode", "INT"),
              TestsIndex("taskstatus"), Alters("taskstatus", "DROP PRIMARY KEY"),
              Indexes("taskstatus", "featureid_idx", "featureid"),
              Indexes("taskstatus", "type_idx", "type"))},
        {"SiteSchemaStep_1_0039", Where("forum", Adds("forum.threadroot", flag),
                                        Indexes("forum", "threadroot_idx", "threadroot"))},
        {"SiteSchemaStep_1_0040",
         Where("formfield", Sends("CREATE TABLE IF NOT EXISTS tw_7.formmappingproperty("
                                  "featureid INT DEFAULT 0 NOT NULL, "
                                  "propertytype INT DEFAULT 0 NOT NULL, "
                                  "type INT DEFAULT 0 NOT NULL, "
                                  "value INT DEFAULT 0 NOT NULL, "
                                  "PRIMARY KEY (featureid, propertytype, type));"))},
        {"SiteSchemaStep_1_0042",
         Where("formtemplatefield", Adds("formtemplatefield.linktype", number),
               Adds("formtemplatefield.hovertype", number),
               Adds("formtemplatefield.hovertarget", text100),
               Adds("formtemplatefield.hoverqueryfieldid", number),
               Adds("formtemplatefield.hovernewwin", flag),
               Adds("formtemplatefield.hoverallparams", flagOn),
               Adds("formtemplateinstance.enableajax", flag),
               Adds("formtemplateinstance.ajaxchannels", text100))},
        {"SiteSchemaStep_1_0045",
         Where("formtemplateinstance", Adds("formtemplateinstance.ajaxinitialrecords", flagOn))},
        {"SiteSchemaStep_1_0047",
         Join(Where("formlink", ToDecimal("formlink.productlinkprice")),
              Where("customerorder", ToDecimal("customerorder.grossamount"),
                    ToDecimal("customerorder.chargetotal")),
              Where("orderitem", ToDecimal("orderitem.price")),
              Where("orderpayment", ToDecimal("orderpayment.amount")),
              Where("ordercharge", ToDecimal("ordercharge.chargeamount")),
              Where("chargeregion", ToDecimal("chargeregion.price")),
              Where("chargeregionvalueband", ToDecimal("chargeregionvalueband.bandstart"),
                    ToDecimal("chargeregionvalueband.price")),
              Where("commission", ToDecimal("commission.commission")),
              Where("formfield",
                    Queries("SELECT featureid, formfieldid FROM tw_7.formfield "
                            "WHERE type = 'currency';"),
                    ToDecimal("form_50.field_2")))},
        {"SiteSchemaStep_1_0050", Adds("tag.media", number)},
        {"SiteSchemaStep_1_0052",
         Where("formtemplatefield", Adds("formtemplatefield.prefix", text100),
               Adds("formtemplatefield.suffix", text100))},
        {"SiteSchemaStep_1_0054",
         Join(Where("customerorder", Adds("customerorder.billingaddress1", text100),
                    Adds("customerorder.billingaddress2", text100),
                    Adds("customerorder.billingtown", text100),
                    Adds("customerorder.billingcounty", text100),
                    Adds("customerorder.customerpurchasenumber", text100),
                    Adds("customerorder.shippingaddress1", text100),
                    Adds("customerorder.shippingaddress2", text100),
                    Adds("customerorder.shippingtown", text100),
                    Adds("customerorder.shippingcounty", text100),
                    Adds("customerorder.shippingtelephone", text100)),
              Adds("security.address1", text100), Adds("security.address2", text100),
              Adds("security.town", text100), Adds("security.county", text100))},
        {"SiteSchemaStep_1_0055",
         Where("customerorder", Adds("customerorder.customervatnumber", text100))},
        {"SiteSchemaStep_1_0059",
         Where("formtemplatefield",
               Adds("formtemplatefield.charreplacement", "VARCHAR(10) DEFAULT '' NOT NULL"))},
        {"SiteSchemaStep_1_0060",
         Where("formtemplateinstance", Adds("formtemplateinstance.ajaxhoverblockms", number))},
        {"SiteSchemaStep_1_0061",
         Join(Adds("feature.inlinechildnav", flag), Adds("layoutzone.inlinechildnav", flag),
              Adds("tag.subownerid", number))},
        {"SiteSchemaStep_1_0062",
         Where("formtemplateinstance",
               Adds("formtemplateinstance.maxrecords", "INT DEFAULT -1 NOT NULL"))},
        {"SiteSchemaStep_1_0064", Adds("email.personalized", flag)},
        {"SiteSchemaStep_1_0066",
         Join(Adds("feature.permissioncacheid", number),
              Indexes("feature", "permissioncacheid_idx", "permissioncacheid"),
              Indexes("cachegrantpermission", "cacheid_idx", "cacheid"))},
        {"SiteSchemaStep_1_0067", Adds("email.adddefaultparentparams", flagOn)},
        {"SiteSchemaStep_1_0068",
         Join(Where("formtemplateviewfield",
                    Adds("formtemplateviewfield.hideitemifnooptions", flag)),
              Adds("security.receiveemails", flag))},
        {"SiteSchemaStep_1_0069",
         Join(Sends("CREATE TABLE IF NOT EXISTS tw_7.accountproportion("
                    "featureid INT DEFAULT 0 NOT NULL, "
                    "groupid INT DEFAULT 0 NOT NULL, "
                    "proportion DOUBLE NOT NULL DEFAULT '0.00', "
                    "threshold DECIMAL(17,2) NOT NULL DEFAULT '0.00', "
                    "currencyid INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY(featureid, currencyid, groupid, threshold), "
                    "INDEX groupid_idx(groupid), INDEX currencyid_idx(currencyid) );"),
              Indexes("cachesetting", "cacheid_idx", "cacheid"),
              Indexes("cachesetting", "settingid_idx", "settingid"),
              Indexes("featurecache", "featureid_idx", "featureid"),
              Indexes("featurecache", "cacheid_idx", "cacheid"),
              Where("customerorder",
                    Adds("customerorder.accountamount", "DECIMAL(17,2) NOT NULL DEFAULT '0.00'"),
                    Adds("customerorder.live", flagOn),
                    Adds("customerorder.accountamountsetmax", flag)))},
    };
}

[[maybe_unused]] static const StepCases kCases(Cases);

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SiteSchema_1_0037_to_1_0069 : public SiteSchema {};

TEST_F(SiteSchema_1_0037_to_1_0069, ATaskStatusWithoutPrimaryKeyOnlyGetsItsTwoIndexes) {
    MakeBareSite();
    Tables().AddTable("tw_7",
                      "taskstatus(featureid INT NOT NULL, type INT NOT NULL, token VARCHAR(50), "
                      "returncode INT)");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0038"),
                ElementsAre("execute ALTER TABLE tw_7.taskstatus ADD INDEX featureid_idx"
                            "(featureid);",
                            "execute ALTER TABLE tw_7.taskstatus ADD INDEX type_idx(type);"));
}

TEST_F(SiteSchema_1_0037_to_1_0069, HoverLinksFailWithoutInstancesAfterTheSixFieldColumns) {
    MakeFullSite();
    Tables().DropTable("tw_7", "formtemplateinstance");
    try {
        Run("SiteSchemaStep_1_0042");
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Statement(), "DESCRIBE tw_7.formtemplateinstance;");
    }
    EXPECT_EQ(host->Changes().size(), 6U);
    EXPECT_NE(Tables().Definition("tw_7", "formtemplatefield", "hoverallparams"), std::nullopt);
}

TEST_F(SiteSchema_1_0037_to_1_0069, OnlyMoneyBecomesDecimal) {
    MakeFullSite();
    UpgradeTo("SiteSchemaStep_1_0047");
    Run("SiteSchemaStep_1_0047");
    const std::string money = "DECIMAL(17,2) DEFAULT 0.00 NOT NULL";
    EXPECT_EQ(Tables().Definition("tw_7", "commission", "commission"), money);
    EXPECT_EQ(Tables().Definition("tw_7", "form_50", "field_2"), money);
    EXPECT_EQ(Tables().Definition("tw_7", "commission", "percentage"), "DOUBLE DEFAULT 0 NOT NULL");
    EXPECT_EQ(Tables().Definition("tw_7", "form_50", "field_1"), "DOUBLE DEFAULT 0 NOT NULL");
}

TEST_F(SiteSchema_1_0037_to_1_0069, EveryMoneyFieldOfEveryFormBecomesDecimal) {
    MakeBareSite();
    Tables().AddTable("tw_7", "formfield(formfieldid INT, featureid INT, type VARCHAR(20))");
    Tables().AddTable("tw_7", "form_50(replyid INT, field_1 FLOAT, field_2 FLOAT, field_3 FLOAT)");
    Tables().AddTable("tw_7", "form_60(replyid INT, field_4 FLOAT)");
    host->Answer("SELECT featureid, formfieldid FROM tw_7.formfield WHERE type = 'currency';",
                 {{"featureid", "formfieldid"}, {{50, 1}, {60, 4}, {50, 3}}});
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0047"),
                ElementsAre("execute ALTER TABLE tw_7.form_50 MODIFY COLUMN field_1 "
                            "DECIMAL(17,2) NOT NULL DEFAULT '0.00';",
                            "execute ALTER TABLE tw_7.form_60 MODIFY COLUMN field_4 "
                            "DECIMAL(17,2) NOT NULL DEFAULT '0.00';",
                            "execute ALTER TABLE tw_7.form_50 MODIFY COLUMN field_3 "
                            "DECIMAL(17,2) NOT NULL DEFAULT '0.00';"));
}

TEST_F(SiteSchema_1_0037_to_1_0069, WithoutAnyOfTheTablesNoMoneyIsConverted) {
    MakeBareSite();
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0047"), IsEmpty());
}

TEST_F(SiteSchema_1_0037_to_1_0069, AccountPaymentsAndCacheIndexesComeWithoutAShopToo) {
    MakeBareSite();
    EXPECT_EQ(ChangesOf("SiteSchemaStep_1_0069").size(), 5U);
    EXPECT_NE(Tables().Find("tw_7", "accountproportion"), nullptr);
    EXPECT_TRUE(Tables().HasIndex("tw_7", "cachesetting", "settingid_idx"));
    EXPECT_TRUE(Tables().HasIndex("tw_7", "featurecache", "featureid_idx"));
}

TEST_F(SiteSchema_1_0037_to_1_0069, MappingPropertiesAreMadeWhereNoneWereRenamed) {
    MakeFullSite();
    Tables().DropTable("tw_7", "formloadingproperty");
    Run("SiteSchemaStep_1_0032");
    EXPECT_EQ(Tables().Find("tw_7", "formmappingproperty"), nullptr);
    Run("SiteSchemaStep_1_0040");
    EXPECT_TRUE(Tables().HasIndex("tw_7", "formmappingproperty", "PRIMARY"));
}

}  // namespace
}  // namespace twupdate::test
