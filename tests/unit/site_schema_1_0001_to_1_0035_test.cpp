#include <algorithm>

#include "unit/site_schema_fixture.h"

namespace twupdate::test {

static std::vector<StepCase> Cases() {
    const std::string number = "INT DEFAULT 0 NOT NULL";
    const std::string flag = "BOOL DEFAULT 0 NOT NULL";
    const std::string fraction = "FLOAT DEFAULT 0 NOT NULL";
    return {
        {"SiteSchemaStep_1_0001",
         Where("formtemplateinstancefield", Adds("formtemplateinstancefield.valuetype", number),
               Adds("formtemplateinstancefield.requirevalue", flag))},
        {"SiteSchemaStep_1_0003",
         Where("formfield", Adds("formfield.blankoptiontext", "VARCHAR(255) DEFAULT '' NOT NULL"))},
        {"SiteSchemaStep_1_0005",
         Join(Adds("layoutzone.navroot", number), Adds("layoutzone.navoffset", number),
              Adds("layoutzone.navdepth", "INT DEFAULT 1 NOT NULL"))},
        {"SiteSchemaStep_1_0007",
         Where("charge",
               Sends("CREATE TABLE IF NOT EXISTS tw_7.chargegroup("
                     "groupid INT NOT NULL AUTO_INCREMENT, "
                     "featureid INT DEFAULT 0 NOT NULL, "
                     "name VARCHAR(100) DEFAULT '' NOT NULL, "
                     "sequence INT DEFAULT 0 NOT NULL, "
                     "PRIMARY KEY(groupid), INDEX featureid_idx(featureid));"),
               Sends("CREATE TABLE IF NOT EXISTS tw_7.chargeoption("
                     "optionid INT NOT NULL AUTO_INCREMENT, "
                     "groupid INT NOT NULL, "
                     "featureid INT DEFAULT 0 NOT NULL, "
                     "name VARCHAR(100) DEFAULT '' NOT NULL, "
                     "password VARCHAR(20) DEFAULT '' NOT NULL, "
                     "sequence INT DEFAULT 0 NOT NULL, "
                     "PRIMARY KEY(optionid), INDEX groupid_idx(groupid));"),
               Sends("CREATE TABLE IF NOT EXISTS tw_7.orderchargeoption("
                     "orderid INT NOT NULL, "
                     "chargeoptionid INT NOT NULL, "
                     "name VARCHAR(255) DEFAULT '' NOT NULL, "
                     "sequence INT DEFAULT 0 NOT NULL, "
                     "PRIMARY KEY(orderid, chargeoptionid), "
                     "INDEX chargeoptionid_idx(chargeoptionid));"),
               Sends("CREATE TABLE IF NOT EXISTS tw_7.chargegrouptoitemtype("
                     "groupid INT NOT NULL, applytoitemtypeid INT NOT NULL, "
                     "PRIMARY KEY(groupid, applytoitemtypeid));"),
               Sends("CREATE TABLE IF NOT EXISTS tw_7.chargegrouptochargegroup("
                     "groupid INT NOT NULL, applytogroupid INT NOT NULL, "
                     "PRIMARY KEY(groupid, applytogroupid));"),
               Sends("CREATE TABLE IF NOT EXISTS tw_7.orderpasswordchargeoption("
                     "orderid INT DEFAULT 0 NOT NULL, "
                     "optionid INT DEFAULT 0 NOT NULL, "
                     "password VARCHAR(20) DEFAULT '' NOT NULL, "
                     "PRIMARY KEY(orderid, optionid));"),
               Sends("CREATE TABLE IF NOT EXISTS tw_7.ordercharge("
                     "orderid INT DEFAULT 0 NOT NULL, "
                     "chargeid INT DEFAULT 0 NOT NULL, "
                     "chargeoptionid INT DEFAULT 0 NOT NULL, "
                     "chargeamount DECIMAL(17,2) DEFAULT 0.00 NOT NULL, "
                     "chargetype INT DEFAULT 0 NOT NULL, "
                     "chargecat INT DEFAULT 0 NOT NULL, "
                     "name VARCHAR(255) DEFAULT '' NOT NULL, "
                     "PRIMARY KEY(orderid, chargeid));"),
               Adds("charge.chargeoptionid", number), TestsColumn("ordercharge"),
               Adds("charge.password", "VARCHAR(20) DEFAULT '' NOT NULL"))},
        {"SiteSchemaStep_1_0008",
         Join(Adds("security.validationstate", number), Adds("security.validated", flag))},
        {"SiteSchemaStep_1_0013",
         Sends("CREATE TABLE IF NOT EXISTS tw_7.textcache("
               "type INT DEFAULT 0 NOT NULL, "
               "ref1 INT DEFAULT 0 NOT NULL, "
               "ref2 INT DEFAULT 0 NOT NULL, "
               "checksum VARCHAR(15) DEFAULT '' NOT NULL, "
               "text LONGTEXT DEFAULT '' NOT NULL, "
               "INDEX type_idx(type), INDEX ref1_idx(ref1), INDEX ref2_idx(ref2) );")},
        {"SiteSchemaStep_1_0014",
         Sends("ALTER TABLE tw_7.attribute MODIFY COLUMN value VARCHAR(255) DEFAULT '' NOT NULL;")},
        {"SiteSchemaStep_1_0017", Adds("layoutelement.showtype", number)},
        {"SiteSchemaStep_1_0018",
         Join(TestsColumn("layoutzone"),
              Alters("layoutzone", "ADD COLUMN startshowdelay " + fraction),
              Alters("layoutzone", "ADD COLUMN startfadein " + fraction),
              Alters("layoutzone", "ADD COLUMN starthidedelay " + fraction),
              Alters("layoutzone", "ADD COLUMN startfadeout " + fraction),
              Adds("setting.float_value", fraction))},
        {"SiteSchemaStep_1_0019",
         Join(Sends("CREATE TABLE IF NOT EXISTS tw_7.searchlog("
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
                    "PRIMARY KEY(searchlogid), INDEX userid_idx(userid), "
                    "INDEX featureid_idx(featureid), INDEX resultcount_idx(resultcount), "
                    "INDEX created_idx(created), INDEX searchstring_idx(searchstring(10)) );"),
              Where("formtemplateinstance", Adds("formtemplateinstance.logsearchdetails", flag)),
              Where("orderitem", Indexes("orderitem", "basketid_idx", "basketid"),
                    Indexes("orderitem", "irderid_idx", "orderid")))},
        {"SiteSchemaStep_1_0020", TestsColumn("searchlog")},
        {"SiteSchemaStep_1_0021",
         Join(TestsColumn("feature"),
              SendsOnce("ALTER TABLE tw_7.feature ADD COLUMN hidden BOOL DEFAULT 0 NOT NULL, "
                        "ADD INDEX hidden_idx(hidden);"),
              TestsColumn("searchlog"))},
        {"SiteSchemaStep_1_0023",
         Join(Sends("CREATE TABLE IF NOT EXISTS tw_7.performanceblock("
                    "blockid INT AUTO_INCREMENT, "
                    "datefrom DATETIME NOT NULL, "
                    "dateto DATETIME NOT NULL, "
                    "pageroute VARCHAR(255) NOT NULL, "
                    "type INT NOT NULL, "
                    "locked BOOL NOT NULL, "
                    "PRIMARY KEY(blockid), INDEX datefrom_idx(datefrom), INDEX dateto_idx(dateto), "
                    "INDEX pageroute_idx(pageroute(20)) );"),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.featureperformanceday("
                    "hitday DATETIME NOT NULL, "
                    "pageroute VARCHAR(255) NOT NULL, "
                    "navigationid INT NOT NULL, "
                    "linktext VARCHAR(50), "
                    "linkquerystring VARCHAR(255), "
                    "hitcount INT NOT NULL, "
                    "INDEX hitday_idx(hitday), INDEX pageroute_idx(pageroute(20)), "
                    "INDEX navigationid_idx(navigationid) );"),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.userperformanceday("
                    "hitday DATETIME NOT NULL, "
                    "pageroute VARCHAR(255) NOT NULL, "
                    "navigationid INT NOT NULL, "
                    "linktext VARCHAR(50), "
                    "linkquerystring VARCHAR(255), "
                    "hitcount INT NOT NULL, "
                    "userid INT NOT NULL, "
                    "INDEX hitday_idx(hitday), INDEX pageroute_idx(pageroute(20)), "
                    "INDEX navigationid_idx(navigationid), INDEX userid_idx(userid) );"))},
        {"SiteSchemaStep_1_0025", Join(Adds("feature.redirecttype", "INT DEFAULT 302 NOT NULL"),
                                       Adds("userlock.subfeatureid", number))},
        {"SiteSchemaStep_1_0028",
         Join(Adds("navigation.xmlmappriority", "FLOAT DEFAULT 0.5 NOT NULL"),
              Adds("navigation.xmlmaplastmod", number),
              Adds("navigation.xmlmapchangefreq", "VARCHAR(10) DEFAULT 'weekly' NOT NULL"),
              Adds("navigation.xmlmaplastmodspec", "VARCHAR(100) DEFAULT '' NOT NULL"),
              Adds("navigation.xmlmapignore", flag),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.taskstatus("
                    "featureid INT NOT NULL, "
                    "type INT NOT NULL, "
                    "status INT NOT NULL, "
                    "statustime DATETIME NOT NULL, "
                    "PRIMARY KEY(featureid, type) );"),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.plaintext("
                    "featureid INT NOT NULL, "
                    "subfeatureid INT NOT NULL, "
                    "text LONGTEXT, "
                    "PRIMARY KEY(featureid, subfeatureid));"))},
        {"SiteSchemaStep_1_0031", Adds("feature.blankcontent", "BOOL DEFAULT -1 NOT NULL")},
        {"SiteSchemaStep_1_0032",
         Where("formloadingproperty",
               SendsOnce("RENAME TABLE tw_7.formloadingproperty TO tw_7.formmappingproperty;"))},
        {"SiteSchemaStep_1_0033",
         Join(Adds("usergroup.validfrom", "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL"),
              Adds("usergroup.validuntil", "DATETIME DEFAULT '3000-01-01 00:00' NOT NULL"))},
        {"SiteSchemaStep_1_0034",
         Where("orderitem", Adds("orderitem.usergroupid", number),
               Adds("orderitem.availabilitydelay", "VARCHAR(35) DEFAULT '' NOT NULL"),
               Adds("orderitem.availablefrom", "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL"))},
        {"SiteSchemaStep_1_0035",
         Join(ToDouble("setting.float_value"), ToDouble("navigation.xmlmappriority"),
              ToDouble("layoutzone.startshowdelay"), ToDouble("layoutzone.startfadein"),
              ToDouble("layoutzone.starthidedelay"), ToDouble("layoutzone.startfadeout"),
              Where("commission", ToDouble("commission.percentage")),
              Where("accesscodeaccount", ToDouble("accesscodeaccount.associatepercentage")),
              Where("formfield",
                    Queries(
                        "SELECT featureid, formfieldid FROM tw_7.formfield WHERE type = 'float';"),
                    ToDouble("form_50.field_1")))},
    };
}

[[maybe_unused]] static const StepCases kCases(Cases);

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class SiteSchema_1_0001_to_1_0035 : public SiteSchema {};

TEST_F(SiteSchema_1_0001_to_1_0035, ASiteWithoutChargesGetsNoneOfTheSevenChargeTables) {
    MakeBareSite();
    UpgradeTo("SiteSchemaStep_1_0007");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0007"), IsEmpty());
    for (const char* table :
         {"chargegroup", "chargeoption", "orderchargeoption", "chargegrouptoitemtype",
          "chargegrouptochargegroup", "orderpasswordchargeoption", "ordercharge"}) {
        EXPECT_EQ(Tables().Find("tw_7", table), nullptr) << table;
    }
}

TEST_F(SiteSchema_1_0001_to_1_0035, AnOlderTableOfOrderChargesGetsItsMissingColumn) {
    MakeFullSite();
    Tables().AddTable("tw_7", "ordercharge(orderid INT DEFAULT 0 NOT NULL, chargeamount FLOAT)");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0007"),
                Contains("execute ALTER TABLE tw_7.ordercharge ADD COLUMN chargeoptionid "
                         "INT DEFAULT 0 NOT NULL;"));
    EXPECT_EQ(Tables().Definition("tw_7", "ordercharge", "chargeamount"), "FLOAT");
}

TEST_F(SiteSchema_1_0001_to_1_0035, ALayoutZoneWithTheFirstTimingIsLeftWithoutTheOthers) {
    MakeBareSite();
    Tables().Run("ALTER TABLE tw_7.layoutzone ADD COLUMN startshowdelay FLOAT DEFAULT 0 NOT NULL;");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0018"),
                ElementsAre("execute ALTER TABLE tw_7.setting ADD COLUMN float_value "
                            "FLOAT DEFAULT 0 NOT NULL;"));
    EXPECT_EQ(Tables().Definition("tw_7", "layoutzone", "startfadein"), std::nullopt);
}

TEST_F(SiteSchema_1_0001_to_1_0035, ALaterTimingAloneStopsTheFirstRunAtItsOwnColumn) {
    MakeBareSite();
    Tables().Run("ALTER TABLE tw_7.layoutzone ADD COLUMN startfadein FLOAT DEFAULT 0 NOT NULL;");
    EXPECT_THROW(Run("SiteSchemaStep_1_0018"), HostError);
    EXPECT_EQ(Tables().Definition("tw_7", "layoutzone", "startshowdelay"),
              "FLOAT DEFAULT 0 NOT NULL");
}

TEST_F(SiteSchema_1_0001_to_1_0035, TheIndexOfOrderItemsKeepsItsMisspeltName) {
    MakeFullSite();
    UpgradeTo("SiteSchemaStep_1_0019");
    Run("SiteSchemaStep_1_0019");
    EXPECT_TRUE(Tables().HasIndex("tw_7", "orderitem", "irderid_idx"));
    EXPECT_FALSE(Tables().HasIndex("tw_7", "orderitem", "orderid_idx"));
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0019"),
                Not(Contains(::testing::HasSubstr("ADD INDEX"))));
}

TEST_F(SiteSchema_1_0001_to_1_0035, ASearchLogWithoutKeyGetsOneFromTheFirstOfTwoSteps) {
    MakeBareSite();
    Tables().AddTable("tw_7", "searchlog(userid INT DEFAULT 0 NOT NULL)");
    const std::string addKey =
        "execute ALTER TABLE tw_7.searchlog ADD COLUMN searchlogid INT AUTO_INCREMENT FIRST, "
        "ADD PRIMARY KEY (searchlogid);";
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0020"), ElementsAre(addKey));
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0021"), Not(Contains(addKey)));
    EXPECT_EQ(Tables().Find("tw_7", "searchlog")->columns.front().name, "searchlogid");
}

TEST_F(SiteSchema_1_0001_to_1_0035, ASearchLogWithoutKeyGetsOneFromTheSecondStepAlone) {
    MakeBareSite();
    Tables().AddTable("tw_7", "searchlog(userid INT DEFAULT 0 NOT NULL)");
    EXPECT_THAT(
        ChangesOf("SiteSchemaStep_1_0021"),
        ElementsAre("execute ALTER TABLE tw_7.feature ADD COLUMN hidden BOOL DEFAULT 0 NOT NULL, "
                    "ADD INDEX hidden_idx(hidden);",
                    "execute ALTER TABLE tw_7.searchlog ADD COLUMN searchlogid INT "
                    "AUTO_INCREMENT FIRST, ADD PRIMARY KEY (searchlogid);"));
}

TEST_F(SiteSchema_1_0001_to_1_0035, TheSiteMapStepRunsOnceFrom_1_0029AndTwiceFrom_1_0027) {
    const auto runsFrom = [this](double version) {
        host->log.clear();
        peer.RunSiteSchemaLadder(7, version);
        return std::ranges::count_if(host->log, [](const std::string& line) {
            return line.starts_with("execute CREATE TABLE IF NOT EXISTS tw_7.taskstatus(");
        });
    };
    MakeBareSite();
    UpgradeTo("SiteSchemaStep_1_0028");
    EXPECT_EQ(runsFrom(1.0027), 2);
    const auto afterTwo = Tables();

    Tables().Run("DROP DATABASE tw_7;");
    MakeBareSite();
    UpgradeTo("SiteSchemaStep_1_0028");
    EXPECT_EQ(runsFrom(1.0029), 1);
    ExpectSameTables(afterTwo);
}

TEST_F(SiteSchema_1_0001_to_1_0035, NothingIsRenamedWhereThereAreNoLoadingProperties) {
    MakeBareSite();
    EXPECT_THAT(LogOf("SiteSchemaStep_1_0032"),
                ElementsAre("query SHOW TABLES FROM tw_7 LIKE 'formloadingproperty';"));
}

TEST_F(SiteSchema_1_0001_to_1_0035, TheRenameFailsWhereBothTablesExist) {
    MakeFullSite();
    Tables().AddTable("tw_7", "formmappingproperty(featureid INT)");
    try {
        Run("SiteSchemaStep_1_0032");
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1050U);
    }
    EXPECT_NE(Tables().Find("tw_7", "formloadingproperty"), nullptr);
}

TEST_F(SiteSchema_1_0001_to_1_0035, WithoutFloatFieldsOnlyTheFixedColumnsBecomeDouble) {
    MakeBareSite();
    Tables().AddTable("tw_7", "formfield(formfieldid INT, featureid INT, type VARCHAR(20))");
    Tables().AddTable("tw_7", "form_50(replyid INT, field_1 FLOAT DEFAULT 0 NOT NULL)");
    UpgradeTo("SiteSchemaStep_1_0035");
    EXPECT_EQ(ChangesOf("SiteSchemaStep_1_0035").size(), 6U * 4U);
    EXPECT_EQ(Tables().Definition("tw_7", "form_50", "field_1"), "FLOAT DEFAULT 0 NOT NULL");
    EXPECT_EQ(Tables().Definition("tw_7", "layoutzone", "startfadeout"),
              "DOUBLE DEFAULT 0 NOT NULL");
}

TEST_F(SiteSchema_1_0001_to_1_0035, EveryFloatFieldOfEveryFormBecomesDouble) {
    MakeBareSite();
    Tables().AddTable("tw_7", "formfield(formfieldid INT, featureid INT, type VARCHAR(20))");
    Tables().AddTable("tw_7", "form_50(replyid INT, field_1 FLOAT, field_2 FLOAT, field_3 FLOAT)");
    Tables().AddTable("tw_7", "form_60(replyid INT, field_4 FLOAT)");
    host->Answer("SELECT featureid, formfieldid FROM tw_7.formfield WHERE type = 'float';",
                 {{"featureid", "formfieldid"}, {{50, 1}, {60, 4}, {50, 3}}});
    UpgradeTo("SiteSchemaStep_1_0035");
    Run("SiteSchemaStep_1_0035");
    EXPECT_EQ(host->openRecordsets, 0);
    const std::string converted = "DOUBLE DEFAULT 0 NOT NULL";
    EXPECT_EQ(Tables().Definition("tw_7", "form_50", "field_1"), converted);
    EXPECT_EQ(Tables().Definition("tw_7", "form_50", "field_2"), "FLOAT");  // of another type
    EXPECT_EQ(Tables().Definition("tw_7", "form_50", "field_3"), converted);
    EXPECT_EQ(Tables().Definition("tw_7", "form_60", "field_4"), converted);
}

TEST_F(SiteSchema_1_0001_to_1_0035, AMissingTableThatIsNotTestedEndsTheStep) {
    MakeBareSite();
    Tables().DropTable("tw_7", "security");
    try {
        Run("SiteSchemaStep_1_0008");
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1146U);
    }
}

TEST_F(SiteSchema_1_0001_to_1_0035, StatementsBeforeAFailureStayAndARepeatCompletesTheStep) {
    MakeBareSite();
    host->FailAt(4);  // the second column: test, ALTER, test, ALTER
    EXPECT_THROW(Run("SiteSchemaStep_1_0008"), HostError);
    EXPECT_NE(Tables().Definition("tw_7", "security", "validationstate"), std::nullopt);
    EXPECT_EQ(Tables().Definition("tw_7", "security", "validated"), std::nullopt);
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0008"),
                ElementsAre("execute ALTER TABLE tw_7.security ADD COLUMN validated "
                            "BOOL DEFAULT 0 NOT NULL;"));
}

}  // namespace
}  // namespace twupdate::test
