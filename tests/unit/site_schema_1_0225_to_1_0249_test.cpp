#include "support/temporary_folder.h"
#include "unit/site_schema_fixture.h"

namespace twupdate::test {

static std::vector<StepCase> Cases() {
    const std::string number = "INT DEFAULT 0 NOT NULL";
    const std::string flag = "BOOL DEFAULT 0 NOT NULL";
    const std::string text100 = "VARCHAR(100) DEFAULT '' NOT NULL";
    const std::string text20 = "VARCHAR(20) DEFAULT '' NOT NULL";
    const std::string title = "VARCHAR(255) NOT NULL DEFAULT ''";
    return {
        {"SiteSchemaStep_1_0225",
         Join(Where("formfield", Adds("formfield.targetformtextfieldid", number),
                    Adds("formfield.targetformorderbyfieldid", number),
                    Adds("formfield.targetformorderbytype", "VARCHAR(10) DEFAULT '' NOT NULL")),
              Where("externallookupfeedfield", TestsTable("externallookupfeedurl"),
                    SendsOnce("CREATE TABLE IF NOT EXISTS tw_7.externallookupfeedurl("
                              "featureid INT DEFAULT 0 NOT NULL, "
                              "url VARCHAR(255) DEFAULT '' NOT NULL, "
                              "username VARCHAR(50) DEFAULT '' NOT NULL, "
                              "password VARCHAR(50) DEFAULT '' NOT NULL, "
                              "sequence INT DEFAULT 0 NOT NULL, "
                              "INDEX featureid_idx(featureid));"),
                    SendsOnce("INSERT INTO tw_7.externallookupfeedurl(featureid, url, sequence) "
                              "SELECT featureid, value, sequence "
                              "FROM tw_7.featurenamevalue WHERE type = 2;")))},
        {"SiteSchemaStep_1_0226", Where("externallookupfeedfield",
                                        Adds("externallookupfeedfield.createlinkedrecords", flag))},
        {"SiteSchemaStep_1_0227",
         Where("externallookupfeedfield",
               Adds("externallookupfeedfield.responsevalueprefix", text100),
               Adds("externallookupfeedfield.responsevaluesuffix", text100))},
        {"SiteSchemaStep_1_0228",
         Where("formtemplateviewfield", Adds("formtemplateviewfield.displaytype", number),
               Adds("formtemplateviewfield.datamodtype", number))},
        {"SiteSchemaStep_1_0229",
         Join(Where("externallookupfeedfield", TestsColumn("externallookupfeedfield"),
                    SendsOnce("ALTER TABLE tw_7.externallookupfeedfield "
                              "ADD COLUMN lookupfieldid INT AUTO_INCREMENT FIRST, "
                              "ADD PRIMARY KEY(lookupfieldid);"),
                    TestsIndex("externallookupfeedfield"), TestsIndex("externallookupfeedfield"),
                    Sends("ALTER TABLE tw_7.externallookupfeedfield DROP INDEX fieldid_idx;"),
                    Sends("ALTER TABLE tw_7.externallookupfeedfield "
                          "ADD INDEX fieldid_idx(fieldid);"),
                    Adds("externallookupfeedfield.linkonextended", flag),
                    Adds("externallookupfeedfield.parentlookupfieldid", number),
                    Adds("externallookupfeedfield.featureid", number),
                    Adds("externallookupfeedfield.formfieldid", number),
                    Adds("externallookupfeedfield.extendedcachecontrol", flag),
                    Adds("externallookupfeedfield.alwaysupdate", flag),
                    Adds("externallookupfeedfield.responsesequencexpath",
                         "VARCHAR(255) DEFAULT '' NOT NULL"),
                    Indexes("externallookupfeedfield", "parentlookupfieldid_idx",
                            "parentlookupfieldid"),
                    Indexes("externallookupfeedfield", "featureid_idx", "featureid"),
                    Indexes("externallookupfeedfield", "formfieldid_idx", "formfieldid")),
              Where("formtemplateinstance", Adds("formtemplateinstance.surroundtype", number),
                    Adds("formtemplateinstance.surround", number)))},
        {"SiteSchemaStep_1_0231", Where("formfield", Adds("formfield.integer_value", number))},
        {"SiteSchemaStep_1_0232", Adds("security.referalid", number)},
        {"SiteSchemaStep_1_0233",
         Join(Where("formtemplateinstance", Adds("formtemplateinstance.ajaxhideonmouseout", flag)),
              Where("formfield", Sends("ALTER TABLE tw_7.formfield "
                                       "MODIFY COLUMN defaultvalue LONGTEXT DEFAULT '' NOT NULL;")),
              Where("externallookupfeedfield",
                    Sends("CREATE TABLE IF NOT EXISTS tw_7.externallookupfeedparam("
                          "paramid INT AUTO_INCREMENT, "
                          "featureid INT DEFAULT 0 NOT NULL, "
                          "name VARCHAR(255) DEFAULT '' NOT NULL, "
                          "type INT DEFAULT 0 NOT NULL, "
                          "textvalue VARCHAR(255) DEFAULT '' NOT NULL, "
                          "longvalue INT DEFAULT 0 NOT NULL, "
                          "sequence INT DEFAULT 0 NOT NULL, "
                          "minlength INT DEFAULT -1 NOT NULL, "
                          "maxlength INT DEFAULT -1 NOT NULL, "
                          "PRIMARY KEY(paramid), INDEX featureid_idx(featureid) );"),
                    Sends("DELETE FROM tw_7.externallookupfeedparam;"),
                    Sends("INSERT INTO tw_7.externallookupfeedparam"
                          "(featureid, name, textvalue, sequence, type) "
                          "SELECT featureid, name, value, sequence, 0 "
                          "FROM tw_7.featurenamevalue WHERE type = 0;"),
                    Sends("INSERT INTO tw_7.externallookupfeedparam"
                          "(featureid, name, longvalue, minlength, maxlength, sequence, type) "
                          "SELECT featureid, requestparamname, formfieldid, "
                          "minrequestlength, maxrequestlength, 999, 1 "
                          "FROM tw_7.externallookupfeedfield WHERE requestparamname <> '';")))},
        {"SiteSchemaStep_1_0234",
         Where("formtemplate", Adds("formtemplate.customviewconfigured", flag),
               Adds("formtemplate.qbxviewconfigured", flag))},
        {"SiteSchemaStep_1_0235",
         Join(Where("formtemplate",
                    Sends("CREATE TABLE IF NOT EXISTS tw_7.rssfilelookup("
                          "queryid INT NOT NULL, "
                          "viewid INT NOT NULL, "
                          "instanceid INT NOT NULL, "
                          "pageurl VARCHAR(1024), "
                          "params VARCHAR(1024), "
                          "pass VARCHAR(15), "
                          "hash VARCHAR(32), "
                          "INDEX queryid_idx(queryid), INDEX viewid_idx(viewid), "
                          "INDEX instanceid_idx(instanceid), INDEX hash_idx(hash(15)) );"),
                    Adds("rssfilelookup.dir", "VARCHAR(15)"),
                    Sends("UPDATE tw_7.rssfilelookup SET dir = 'rss';")),
              Where("customerorder", Adds("customerorder.shippingnotes", "LONGTEXT")))},
        {"SiteSchemaStep_1_0236",
         Join(Where("formtemplatefield", Adds("formtemplatefield.groupby", text20),
                    Adds("formtemplateinstancefield.applyto", text20)),
              Adds("image.title", title))},
        {"SiteSchemaStep_1_0237",
         Join(Where("formfield",
                    Adds("formfield.directurlreplacementchar", "CHAR(1) DEFAULT '-' NOT NULL"),
                    Adds("formfield.directurlreplacedotandq", flag),
                    Adds("formfield.maxlength", number)),
              Where("formtemplatefield", Adds("formtemplatefield.replacedotandq", flag)),
              Where("chargegroup",
                    Adds("chargegroup.validfrom", "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL"),
                    Adds("chargegroup.validuntil", "DATETIME DEFAULT '3000-01-01 00:00' NOT NULL")),
              TestsColumn("image"))},
        {"SiteSchemaStep_1_0238", Where("formfield", Adds("formfield.linkoutreftype", number),
                                        Adds("formfield.linkinreftype", number),
                                        Indexes("formfield", "featureid_idx", "featureid"),
                                        Sends("CREATE TABLE IF NOT EXISTS tw_7.formrecorddelete("
                                              "guid VARCHAR(32) NOT NULL, "
                                              "formid INT NOT NULL, "
                                              "recordid INT NOT NULL, "
                                              "INDEX guid_idx(guid(15)), "
                                              "INDEX formid_idx(formid), "
                                              "INDEX recordid_idx(recordid) "
                                              ");"))},
        {"SiteSchemaStep_1_0241", Join(Adds("textembed.major", "INT DEFAULT -1 NOT NULL"),
                                       Adds("textembed.minor", "INT DEFAULT -1 NOT NULL"),
                                       Indexes("textembed", "major_idx", "major"))},
        {"SiteSchemaStep_1_0243",
         Where("formtemplateinstance", Adds("formtemplateinstance.recurse", number))},
        {"SiteSchemaStep_1_0244", Adds("setting.textlen", number)},
        {"SiteSchemaStep_1_0246",
         Where("formtemplateinstance", Adds("formtemplateinstance.initialrecordstype", number),
               Adds("formtemplateinstance.initialajaxcalltype", number),
               Adds("formtemplateinstance.initialajaxcallelementid",
                    "VARCHAR(50) DEFAULT '' NOT NULL"))},
        {"SiteSchemaStep_1_0247",
         Adds("textembedproperty.double_value", "DOUBLE DEFAULT 0 NOT NULL")},
        {"SiteSchemaStep_1_0248", Sends("CREATE TABLE IF NOT EXISTS tw_7.regularexpression("
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
                                        "PRIMARY KEY(regexid));")},
        {"SiteSchemaStep_1_0249",
         Join(Where("formtemplatefield", Adds("formtemplatefield.regexid", number)),
              Adds("regularexpression.patternlen", number),
              Adds("regularexpression.replacestrlen", number))},
    };
}

[[maybe_unused]] static const StepCases kCases(Cases);

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class SiteSchema_1_0225_to_1_0249 : public SiteSchema {};

TEST_F(SiteSchema_1_0225_to_1_0249, FeedAddressesAreNotCopiedIntoATableThatExists) {
    MakeFullSite();
    UpgradeTo("SiteSchemaStep_1_0225");
    Tables().AddTable("tw_7", "externallookupfeedurl(featureid INT)");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0225"), Not(Contains(HasSubstr("INSERT"))));
}

TEST_F(SiteSchema_1_0225_to_1_0249, ALookupFieldWithAKeyKeepsItButItsIndexIsRecreated) {
    MakeFullSite();
    UpgradeTo("SiteSchemaStep_1_0229");
    Run("SiteSchemaStep_1_0229");
    EXPECT_THAT(
        ChangesOf("SiteSchemaStep_1_0229"),
        ::testing::ElementsAre(
            "execute ALTER TABLE tw_7.externallookupfeedfield DROP INDEX fieldid_idx;",
            "execute ALTER TABLE tw_7.externallookupfeedfield ADD INDEX fieldid_idx(fieldid);"));
}

TEST_F(SiteSchema_1_0225_to_1_0249, ALookupFieldWithoutItsIndexGetsOneWithoutADrop) {
    MakeFullSite();
    UpgradeTo("SiteSchemaStep_1_0229");
    Tables().Run("ALTER TABLE tw_7.externallookupfeedfield DROP INDEX fieldid_idx;");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0229"), Not(Contains(HasSubstr("DROP INDEX"))));
    EXPECT_TRUE(Tables().HasIndex("tw_7", "externallookupfeedfield", "fieldid_idx"));
}

TEST_F(SiteSchema_1_0225_to_1_0249, FeedParametersFailWithoutNamesAndValues) {
    MakeFullSite();
    UpgradeTo("SiteSchemaStep_1_0233");
    Tables().DropTable("tw_7", "featurenamevalue");
    EXPECT_THROW(Run("SiteSchemaStep_1_0233"), HostError);
    EXPECT_NE(Tables().Find("tw_7", "externallookupfeedparam"), nullptr);
}

TEST_F(SiteSchema_1_0225_to_1_0249, TheLibraryMustExistBeforeItsLengthsAreAdded) {
    MakeBareSite();
    EXPECT_THROW(Run("SiteSchemaStep_1_0249"), HostError);
    Run("SiteSchemaStep_1_0248");
    EXPECT_EQ(ChangesOf("SiteSchemaStep_1_0249").size(), 2U);
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0249"), IsEmpty());
}

TEST_F(SiteSchema_1_0225_to_1_0249, TheSiteFilesComeFirstAndTheirFailureEndsTheStep) {
    MakeFullSite();
    const TemporaryFolder folder;
    host->installFolder = folder / "bin";
    folder.Write("templates/site/gs/rss.xsl", "<xsl/>");
    // The site has no web folder in which the sub-folder could be made.
    EXPECT_THROW(Run("SiteSchemaStep_1_0235"), FileError);
    EXPECT_THAT(host->log, IsEmpty());

    folder.MakeFolder("wwwroot/sites/7");
    UpgradeTo("SiteSchemaStep_1_0235");
    Run("SiteSchemaStep_1_0235");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/gs/rss.xsl"), "<xsl/>");
}

TEST_F(SiteSchema_1_0225_to_1_0249, BothFileStepsCopyTheSameFolderOnASiteWithoutForms) {
    for (const char* step : {"SiteSchemaStep_1_0079", "SiteSchemaStep_1_0235"}) {
        const TemporaryFolder folder;
        host->installFolder = folder / "bin";
        folder.Write("templates/site/gs/a.js", step);
        folder.Write("templates/site/index.htm", "not in the folder gs");
        folder.MakeFolder("wwwroot/sites/7");
        Tables().AddDatabase("tw_7");
        Run(step);
        EXPECT_EQ(folder.Read("wwwroot/sites/7/gs/a.js"), step);
        EXPECT_FALSE(std::filesystem::exists(folder / "wwwroot/sites/7/index.htm"));
    }
}

}  // namespace
}  // namespace twupdate::test
