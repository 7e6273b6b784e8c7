#include "support/temporary_folder.h"
#include "unit/site_schema_fixture.h"

namespace twupdate::test {
namespace {

const std::string kNumber = "INT DEFAULT 0 NOT NULL";

/// The tests of the link targets, and the statements that are sent on every run.
/// @param first  the statements that add the columns and indexes
StepScript LinkTargets(unsigned first) {
    const auto adds = [&](const std::string& table, const std::string& column) {
        return Join(TestsColumn(table),
                    Only(first, Alters(table, "ADD COLUMN " + column + " " + kNumber)));
    };
    const auto indexes = [&](const std::string& table, const std::string& column) {
        return Join(TestsIndex(table),
                    Only(first, Alters(table, "ADD INDEX " + column + "_idx(" + column + ")")));
    };
    return Where(
        "formfield", adds("formfield", "targetqueryfeatureid"),
        adds("formfield", "targetqueryvaluefieldid"), adds("formfield", "targetquerytextfieldid"),
        adds("formlink", "objformid"), indexes("formlink", "objformid"),
        Queries("SELECT formfieldid, featureid, type, targetformfeatureid "
                "FROM tw_7.formfield "
                "WHERE type IN('formlink', 'multiformlink', 'productfamily');"),
        adds("form_50", "field_3_targetformid"), indexes("form_50", "field_3_targetformid"),
        Sends("UPDATE tw_7.form_50 SET field_3_targetformid = 60;"),
        Sends("UPDATE tw_7.formlink SET objformid = 61 WHERE formfieldid = 4;"),
        Sends("UPDATE tw_7.formlink SET objformid = 62 WHERE formfieldid = 6;"));
}

}  // namespace

static std::vector<StepCase> Cases() {
    const std::string flag = "BOOL DEFAULT 0 NOT NULL";
    const std::string flagOn = "BOOL DEFAULT -1 NOT NULL";
    const std::string noLimit = "INT DEFAULT -1 NOT NULL";
    const std::string text50 = "VARCHAR(50) DEFAULT '' NOT NULL";
    return {
        {"SiteSchemaStep_1_0072", Adds("tag.cssorder", kNumber)},
        {"SiteSchemaStep_1_0073",
         Where("formtemplateinstance", Adds("formtemplateinstance.minrecords", noLimit))},
        {"SiteSchemaStep_1_0075", LinkTargets(kFirst)},
        {"SiteSchemaStep_1_0077",
         Join(LinkTargets(0),
              Where("orderitem", Adds("orderitem.descriptionstylesheetids", text50)),
              Where("formfield", Adds("formfield.pageparamcompletion", kNumber),
                    Sends("UPDATE tw_7.formfield SET pageparamcompletion = 1 "
                          "WHERE MOD(options, 16) >=8;")))},
        {"SiteSchemaStep_1_0078", Where("basket", Adds("basket.lastreferer", "VARCHAR(255)"))},
        {"SiteSchemaStep_1_0079",
         Where("formtemplateviewfield", Adds("formtemplateviewfield.text", "VARCHAR(100)"))},
        {"SiteSchemaStep_1_0080", Where("customerorder", Adds("customerorder.billingfax", text50),
                                        Adds("customerorder.shippingfax", text50))},
        {"SiteSchemaStep_1_0081", Sends("CREATE TABLE IF NOT EXISTS tw_7.settingcountry("
                                        "settingid INT DEFAULT 0 NOT NULL, "
                                        "countryid INT DEFAULT 0 NOT NULL, "
                                        "PRIMARY KEY(settingid, countryid), "
                                        "INDEX countryid_idx(countryid) "
                                        ");")},
        {"SiteSchemaStep_1_0082", Adds("feature.stylecacheid", kNumber)},
        {"SiteSchemaStep_1_0083",
         Where("formtemplateinstance",
               Adds("formtemplateinstance.applyinitialparameterstring", flag),
               Adds("formtemplateinstancefield.criteriatype", kNumber))},
        {"SiteSchemaStep_1_0084",
         Join(Sends("CREATE TABLE IF NOT EXISTS tw_7.eventdelay ("
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
                    "PRIMARY KEY (delayid) );"),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.eventwakeup("
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
                    "INDEX guid_idx(guid(15)), INDEX keydataid1_idx(keydataid1), "
                    "INDEX keydataid2_idx(keydataid2));"))},
        {"SiteSchemaStep_1_0085",
         Join(Adds("eventpart.copiedeventpartid", kNumber),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.eventpartproperty ("
                    "propertyid INT NOT NULL AUTO_INCREMENT, "
                    "eventpartid INT DEFAULT 0 NOT NULL, "
                    "propertytype INT DEFAULT 0 NOT NULL, "
                    "currentvaluetype INT DEFAULT 0 NOT NULL, "
                    "copiedpropertyid INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY (propertyid), INDEX eventpartid_idx(eventpartid) );"),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.eventpartpropertyvalue ("
                    "propertyid INT DEFAULT 0 NOT NULL, "
                    "valuetype INT DEFAULT 0 NOT NULL, "
                    "text VARCHAR(255) DEFAULT '' NOT NULL, "
                    "integer_value INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY (propertyid, valuetype) );"))},
        {"SiteSchemaStep_1_0090",
         Where("formtemplateinstance", Adds("formtemplateinstance.shownocriteriatext", flagOn))},
        {"SiteSchemaStep_1_0091",
         Join(Where("formfieldexpressionfield", Adds("formfieldexpressionfield.prefixlen", kNumber),
                    Adds("formfieldexpressionfield.suffixlen", kNumber),
                    Sends("UPDATE tw_7.formfieldexpressionfield SET "
                          "prefixlen = LENGTH(REPLACE(prefix, '&nbsp;', ' ')), "
                          "prefix = REPLACE(prefix, '&nbsp;', ' '), "
                          "suffixlen = LENGTH(REPLACE(suffix, '&nbsp;', ' ')), "
                          "suffix = REPLACE(suffix, '&nbsp;', ' ');")),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.featuresetting ("
                    "featureid INT DEFAULT 0 NOT NULL, "
                    "type INT DEFAULT 0 NOT NULL, "
                    "integer_value INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY(featureid, type));"))},
        {"SiteSchemaStep_1_0092",
         Join(Where("formtemplatefield", Adds("formtemplatefield.prefixlen", kNumber),
                    Adds("formtemplatefield.suffixlen", kNumber),
                    Sends("UPDATE tw_7.formtemplatefield SET "
                          "prefixlen = LENGTH(REPLACE(prefix, '|~|', '')), "
                          "suffixlen = LENGTH(REPLACE(suffix, '|~|', ''));")),
              Where("customerorder", Indexes("customerorder", "completed_idx", "completed"),
                    Indexes("customerorder", "live_idx", "live"),
                    Indexes("customerorder", "locked_idx", "locked")))},
        {"SiteSchemaStep_1_0093",
         Where("formtemplatefield", Adds("formtemplatefield.linkrel", text50))},
        {"SiteSchemaStep_1_0094", Where("customerorder",
                                        Sends("CREATE TABLE IF NOT EXISTS tw_7.ordertermsagreed("
                                              "orderid INT DEFAULT 0 NOT NULL, "
                                              "termsfeatureid INT DEFAULT 0 NOT NULL, "
                                              "PRIMARY KEY(orderid, termsfeatureid)"
                                              ");"),
                                        Adds("customerorder.grossamountcalculated", flag),
                                        Adds("customerorder.chargetotalcalculated", flag),
                                        Adds("customerorder.accountamountverified", flag))},
        {"SiteSchemaStep_1_0095",
         Join(Adds("feature.redirectlinktype", noLimit),
              Where("formfield", Adds("formfield.pageparamtype", kNumber),
                    Sends("UPDATE tw_7.formfield SET pageparamtype = 1 WHERE type = 'integer';")))},
        {"SiteSchemaStep_1_0096", Adds("text.publishfuturepermission", text50)},
        {"SiteSchemaStep_1_0097",
         Where("formtemplatefield", Adds("formtemplatefield.linktitlequeryfieldid", kNumber))},
        {"SiteSchemaStep_1_0200", Where("orderitem", Adds("orderitem.expirystacktype", kNumber))},
        {"SiteSchemaStep_1_0210",
         Join(Adds("featuresetting.valuetype", kNumber),
              Adds("featuresetting.string_value", "VARCHAR(255) DEFAULT '' NOT NULL"),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.featurenamevalue ("
                    "featureid INT DEFAULT 0 NOT NULL, "
                    "type INT DEFAULT 0 NOT NULL, "
                    "name VARCHAR(255) DEFAULT '' NOT NULL, "
                    "value VARCHAR(255) DEFAULT '' NOT NULL, "
                    "sequence INT DEFAULT 0 NOT NULL, "
                    "INDEX featureid_idx(featureid), INDEX type_idx(type) );"),
              Where("datafeedfield", Adds("datafeedfield.pointer", kNumber),
                    Indexes("datafeedfield", "pointer_idx", "pointer")),
              Where("formtemplateinstancefield",
                    Adds("formtemplateinstancefield.saveincookie", flag)))},
        {"SiteSchemaStep_1_0224",
         Join(Where("externallookupfeedfield",
                    Adds("externallookupfeedfield.minrequestlength", noLimit),
                    Adds("externallookupfeedfield.maxrequestlength", noLimit)),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.textembed("
                    "embedid INT AUTO_INCREMENT, "
                    "textid INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY(embedid), "
                    "INDEX textid_idx(textid)"
                    ");"),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.textembedproperty("
                    "embedid INT DEFAULT 0 NOT NULL, "
                    "propertytype INT DEFAULT 0 NOT NULL, "
                    "valuetype INT DEFAULT 0 NOT NULL, "
                    "integer_value INT DEFAULT 0 NOT NULL, "
                    "string_value VARCHAR(255) DEFAULT '' NOT NULL, "
                    "PRIMARY KEY(embedid, propertytype));"))},
    };
}

[[maybe_unused]] static const StepCases kCases(Cases);

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const std::string kLinkFields =
    "SELECT formfieldid, featureid, type, targetformfeatureid FROM tw_7.formfield "
    "WHERE type IN('formlink', 'multiformlink', 'productfamily');";
const std::vector<std::string> kLinkColumns{"formfieldid", "featureid", "type",
                                            "targetformfeatureid"};

class SiteSchema_1_0072_to_1_0224 : public SiteSchema {
  protected:
    /// Forms and links only, with these link fields.
    void MakeForms(const std::vector<std::vector<Value>>& linkFields) {
        Tables().AddTable("tw_7",
                          "formfield(formfieldid INT, targetqueryfeatureid INT, "
                          "targetqueryvaluefieldid INT, targetquerytextfieldid INT)");
        Tables().AddTable("tw_7",
                          "formlink(formfieldid INT, objformid INT, "
                          "INDEX objformid_idx(objformid))");
        Tables().AddTable("tw_7", "form_50(replyid INT, field_3 INT)");
        host->Answer(kLinkFields, {kLinkColumns, linkFields});
    }
};

TEST_F(SiteSchema_1_0072_to_1_0224, AMissingFormTableEndsTheLinkTargetsAtItsRow) {
    MakeForms({{3, 50, "formlink", 60}, {8, 51, "formlink", 60}, {4, 50, "multiformlink", 61}});
    try {
        Run("SiteSchemaStep_1_0075");
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1146U);
        EXPECT_EQ(error.Statement(), "DESCRIBE tw_7.form_51;");
    }
    EXPECT_EQ(host->Changes().back(), "execute UPDATE tw_7.form_50 SET field_3_targetformid = 60;");
}

TEST_F(SiteSchema_1_0072_to_1_0224, LinksToSeveralRecordsChangeOnlyTheirOwnRowsAndAddNoColumn) {
    MakeForms({{4, 50, "multiformlink", 61}, {6, 50, "productfamily", 62}});
    EXPECT_THAT(
        ChangesOf("SiteSchemaStep_1_0075"),
        ElementsAre("execute UPDATE tw_7.formlink SET objformid = 61 WHERE formfieldid = 4;",
                    "execute UPDATE tw_7.formlink SET objformid = 62 WHERE formfieldid = 6;"));
}

// The server finds the type in any letter case; only the exact word is a link of one record.
TEST_F(SiteSchema_1_0072_to_1_0224, ALinkTypeInOtherLettersIsNoLinkOfOneRecord) {
    MakeForms({{3, 50, "FormLink", 60}, {4, 50, "formlinks", 61}});
    EXPECT_THAT(
        ChangesOf("SiteSchemaStep_1_0075"),
        ElementsAre("execute UPDATE tw_7.formlink SET objformid = 60 WHERE formfieldid = 3;",
                    "execute UPDATE tw_7.formlink SET objformid = 61 WHERE formfieldid = 4;"));
}

TEST_F(SiteSchema_1_0072_to_1_0224, ViewsGetTheirTextAndThenTheSiteItsFiles) {
    MakeFullSite();
    const TemporaryFolder folder;
    host->installFolder = folder / "bin";
    folder.Write("templates/site/gs/a.js", "js");
    // Without a web folder the files cannot be copied: what came before them stays.
    EXPECT_THROW(Run("SiteSchemaStep_1_0079"), FileError);
    EXPECT_EQ(Tables().Definition("tw_7", "formtemplateviewfield", "text"), "VARCHAR(100)");

    folder.MakeFolder("wwwroot/sites/7");
    Run("SiteSchemaStep_1_0079");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/gs/a.js"), "js");
}

TEST_F(SiteSchema_1_0072_to_1_0224, ANegativeTargetFormIsWrittenInPlainDecimal) {
    MakeForms({{4, 50, "multiformlink", -2147483647 - 1}});
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0075"),
                ElementsAre("execute UPDATE tw_7.formlink SET objformid = -2147483648 "
                            "WHERE formfieldid = 4;"));
}

TEST_F(SiteSchema_1_0072_to_1_0224, ALinkFieldWhoseTargetIsNullIsAnErrorThatNamesTheColumn) {
    MakeForms({{4, 50, "multiformlink", Value()}});
    try {
        Run("SiteSchemaStep_1_0075");
        FAIL() << "no error";
    } catch (const ConversionError& error) {
        EXPECT_THAT(error.what(), HasSubstr("targetformfeatureid"));
    }
}

TEST_F(SiteSchema_1_0072_to_1_0224, LinkTargetsRunTwiceFromBelow_1_0075WithTheSameEndState) {
    MakeFullSite();
    UpgradeTo("SiteSchemaStep_1_0075");
    Run("SiteSchemaStep_1_0075");
    const auto tables = Tables();
    const auto changes = ChangesOf("SiteSchemaStep_1_0077");
    EXPECT_THAT(changes, Contains("execute UPDATE tw_7.form_50 SET field_3_targetformid = 60;"));
    EXPECT_THAT(changes, Not(Contains(HasSubstr("ADD INDEX"))));
    Tables().Run("ALTER TABLE tw_7.orderitem DROP COLUMN descriptionstylesheetids;");
    Tables().Run("ALTER TABLE tw_7.formfield DROP COLUMN pageparamcompletion;");
    ExpectSameTables(tables);
}

TEST_F(SiteSchema_1_0072_to_1_0224, CriteriaFailWhereInstancesExistWithoutThem) {
    MakeFullSite();
    Tables().DropTable("tw_7", "formtemplateinstancefield");
    EXPECT_THROW(Run("SiteSchemaStep_1_0083"), HostError);
}

TEST_F(SiteSchema_1_0072_to_1_0224, PageSettingsMustExistBeforeTheyAreWidened) {
    MakeBareSite();
    EXPECT_THROW(Run("SiteSchemaStep_1_0210"), HostError);
    Run("SiteSchemaStep_1_0091");
    Run("SiteSchemaStep_1_0210");
    EXPECT_EQ(Tables().Definition("tw_7", "featuresetting", "string_value"),
              "VARCHAR(255) DEFAULT '' NOT NULL");
}

}  // namespace
}  // namespace twupdate::test
