#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sample/layouts.h"
#include "support/recording_host.h"
#include "support/temporary_folder.h"
#include "support/update_test_peer.h"

namespace twupdate::test {
namespace {

using sample::AllGroups;
using sample::Groups;
using sample::Layouts;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Lines = std::vector<std::string>;

/// A step, and all that it changes or asks of the component services, in order.
struct Expected {
    std::string step;
    Lines lines;
};

/// Site 7 with the given optional features, and no rows.
std::shared_ptr<RecordingHost> SiteSeven(const Groups& groups) {
    auto host = std::make_shared<RecordingHost>();
    for (const auto& statement : Layouts().Site(7, groups)) {
        host->catalogue.Run(statement);
    }
    for (const auto& statement : Layouts().Central()) {
        host->catalogue.Run(statement);
    }
    host->catalogue.AddTable("tw_7", "plaintext(featureid INT, subfeatureid INT)");
    host->catalogue.AddTable("tw_7", "textembed(embedid INT)");
    host->catalogue.AddTable("tw_7", "textembedproperty(embedid INT)");
    host->catalogue.Run("ALTER TABLE tw_7.tag ADD COLUMN media INT DEFAULT 0 NOT NULL;");
    if (groups.contains(sample::Group::kCharges)) {
        host->catalogue.Run(
            "ALTER TABLE tw_7.charge ADD COLUMN chargeoptionid INT DEFAULT 0 NOT NULL;");
    }
    host->installFolder = std::filesystem::temp_directory_path() / "no such installation";
    return host;
}

/// The lines of the log that change something or call a service.
Lines Effects(const RecordingHost& host) {
    Lines effects;
    for (const std::string& line : host.log) {
        if (line.starts_with("execute ") || line.starts_with("service ")) {
            effects.push_back(line);
        }
    }
    return effects;
}

Lines RunStep(const std::shared_ptr<RecordingHost>& host, const std::string& step) {
    Update update;
    update.Configure(host);
    UpdateTestPeer(update).RunSiteStep(step, 7);
    EXPECT_EQ(0, host->openRecordsets) << step;
    EXPECT_LE(host->mostStatementsOfOneDatabase, 1) << step;
    return Effects(*host);
}

TEST(SiteContentStatements, ServicesAreCalledInTheirOrder) {
    const std::vector<Expected> all{
        {"SiteContentStep_1_0002",
         {"service UpgradeSiteComponent 7 1000", "service UpgradeSiteComponent 7 100",
          "service RefreshSiteComponent 7 100"}},
        {"SiteContentStep_1_0004",
         {"service UpgradeSiteComponent 7 900", "service UpgradeSiteComponent 7 3700"}},
        {"SiteContentStep_1_0008",
         {"service UpgradeSiteComponent 7 100", "service InitialiseSiteComponent 7 100",
          "service ResetSiteComponent 7 100"}},
        {"SiteContentStep_1_0015",
         {"service RefreshSiteComponent 7 1500", "service RefreshSiteComponent 7 2600"}},
        {"SiteContentStep_1_0022", {"service RefreshSiteComponent 7 3000"}},
        {"SiteContentStep_1_0027",
         {"service UpgradeSiteComponent 7 2300", "service RefreshSiteComponent 7 300"}},
        {"SiteContentStep_1_0029", {"service RefreshSiteComponent 7 2600"}},
        {"SiteContentStep_1_0032",
         {"service InitialiseSiteComponent 7 4100", "service RefreshSiteComponent 7 4100",
          "service UpgradeSiteComponent 7 4100", "service ResetSiteComponent 7 4100"}},
        {"SiteContentStep_1_0048", {"service UpgradeSiteComponent 7 1000"}},
        {"SiteContentStep_1_0051",
         {"service RefreshSiteComponent 7 1450", "service RefreshSiteComponent 7 900",
          "service RefreshSiteComponent 7 800", "service RefreshSiteComponent 7 3700",
          "service RefreshSiteComponent 7 400", "service RefreshSiteComponent 7 500",
          "service RefreshSiteComponent 7 1000", "service RefreshSiteComponent 7 1600"}},
        {"SiteContentStep_1_0057",
         {"service UpgradeSiteComponent 7 900", "service UpgradeSiteComponent 7 3600"}},
        {"SiteContentStep_1_0058", {"service UpgradeSiteComponent 7 1200"}},
        {"SiteContentStep_1_0062", {"service ResetSiteComponent 7 3900"}},
        {"SiteContentStep_1_0071", {"service UpgradeSiteComponent 7 1000"}},
        {"SiteContentStep_1_0078", {"service UpgradeSiteComponent 7 1000"}},
        {"SiteContentStep_1_0080", {"service UpgradeSiteComponent 7 1000"}},
        {"SiteContentStep_1_0086",
         {"service RefreshSiteComponent 7 1000", "service UpgradeSiteComponent 7 1000",
          "service RefreshSiteComponent 7 4300", "service ResetSiteComponent 7 4300"}},
        {"SiteContentStep_1_0087",
         {"service UpgradeSiteComponent 7 1000", "service ResetSiteComponent 7 1000"}},
        {"SiteContentStep_1_0090", {"service ResetSiteComponent 7 3100"}},
        {"SiteContentStep_1_0094",
         {"service RefreshSiteComponent 7 1000", "service UpgradeSiteComponent 7 1000"}},
        {"SiteContentStep_1_0096",
         {"service ResetSiteComponent 7 500", "service ResetSiteComponent 7 400",
          "service InitialiseSiteComponent 7 500", "service InitialiseSiteComponent 7 400"}},
        {"SiteContentStep_1_0100", {"service ResetSiteComponent 7 1200"}},
        {"SiteContentStep_1_0235", {"service RefreshSiteComponent 7 1000"}},
        {"SiteContentStep_1_0238",
         {"service UpgradeSiteComponent 7 900", "service UpgradeSiteComponent 7 3700"}},
        {"SiteContentStep_1_0239", {"service UpgradeSiteComponent 7 100"}},
        {"SiteContentStep_1_0245",
         {"service RefreshSiteComponent 7 900", "service RefreshSiteComponent 7 3700"}},
        {"SiteContentStep_1_0258", {"service UpgradeSiteComponent 7 2600"}},
        {"SiteContentStep_1_0261", {"service ResetSiteComponent 7 5600"}},
    };
    for (const Expected& expected : all) {
        EXPECT_THAT(RunStep(SiteSeven(AllGroups()), expected.step),
                    ElementsAreArray(expected.lines))
            << expected.step;
    }
}

TEST(SiteContentStatements, TheStatementsAreSentToTheLetter) {
    const std::vector<Expected> all{
        {"SiteContentStep_1_0001",
         {"execute UPDATE tw_7.formtemplateinstancefield SET operator = '=', valuetype = 1 WHERE "
          "operator = 'PAGE';"}},
        {"SiteContentStep_1_0003",
         {"execute UPDATE tw_7.formfield SET blankoptiontext = defaultvalue;",
          "execute UPDATE tw_7.formfield SET blankoptiontext = '' WHERE blankoptiontext = '0';"}},
        {"SiteContentStep_1_0005",
         {"execute UPDATE tw_7.layoutzone SET navdepth = navuntil - navfrom + 1, navoffset = "
          "navfrom;",
          "execute UPDATE tw_7.layoutzone SET navdepth = 1 WHERE navdepth < 1;"}},
        {"SiteContentStep_1_0006",
         {"execute ALTER TABLE tw_7.contentupdate ADD INDEX updatetime_idx(updatetime);"}},
        {"SiteContentStep_1_0010",
         {"execute ALTER TABLE tw_7.pagehit ADD INDEX eventid_idx(eventid);"}},
        {"SiteContentStep_1_0012",
         {"execute UPDATE tw_7.tagdependancy SET inheritsequence = 2 WHERE tagname REGEXP "
          R"('^\.LOnavlink[0-9]+( A)?(:Hover)?$' AND inheritsequence = 1;)"}},
        {"SiteContentStep_1_0017",
         {"execute UPDATE tw_7.layoutelement SET showtype = 1 WHERE showtoall = 0;"}},
        {"SiteContentStep_1_0021",
         {"execute UPDATE tw_7.feature SET hidden = -1 WHERE navigationstyle = 'LONavHidden';",
          "execute ALTER TABLE tw_7.feature ADD INDEX deadlink_idx(deadlink);"}},
        {"SiteContentStep_1_0023",
         {"execute ALTER TABLE tw_7.removedfeature ADD INDEX navigationid_idx(navigationid);"}},
        {"SiteContentStep_1_0025",
         {"execute ALTER TABLE tw_7.forum ADD INDEX threadid_idx(threadid);",
          "execute ALTER TABLE tw_7.forum ADD INDEX featureid_idx(featureid);"}},
        {"SiteContentStep_1_0039",
         {"execute UPDATE tw_7.forum SET threadroot = -1 WHERE elementid = threadid;"}},
        {"SiteContentStep_1_0042",
         {"execute UPDATE tw_7.formtemplatefield SET linktype = 1 WHERE linkformtemplatefieldid "
          "> 0;"}},
        {"SiteContentStep_1_0043",
         {"execute ALTER TABLE tw_7.email ADD COLUMN ishtml BOOL DEFAULT 0 NOT NULL;"}},
        {"SiteContentStep_1_0050",
         {"execute UPDATE tw_7.email SET fromlist = REPLACE(fromlist, '#Embed.', '#E-Embed.'), "
          "tolist = REPLACE(tolist, '#Embed.', '#E-Embed.'), "
          "cclist = REPLACE(cclist, '#Embed.', '#E-Embed.'), "
          "bcclist = REPLACE(bcclist, '#Embed.', '#E-Embed.'), "
          "subject = REPLACE(subject, '#Embed.', '#E-Embed.'), "
          "message = REPLACE(message, '#Embed.', '#E-Embed.');"}},
        {"SiteContentStep_1_0066",
         {"execute UPDATE tw_7.feature SET permissioncacheid = 0 WHERE permissioncacheid > 0;"}},
        {"SiteContentStep_1_0068",
         {"execute UPDATE tw_7.formtemplateviewfield SET hideitemifnooptions = -1 WHERE "
          "formtemplateviewfieldtype IN(6, 7);"}},
        {"SiteContentStep_1_0069",
         {"execute UPDATE tw_7.event SET name = 'Order Completion' WHERE name = 'Order Payment';",
          "execute UPDATE tw_7.customerorder o INNER JOIN tw_7.orderpayment p ON p.orderid = "
          "o.orderid SET o.live = 0 WHERE p.live = 0;"}},
        {"SiteContentStep_1_0072",
         {"execute UPDATE tw_7.tag SET cssorder = 500 WHERE name LIKE '%basefont%';"}},
        {"SiteContentStep_1_0074",
         {"execute ALTER TABLE tw_7.tag ADD INDEX cssid_idx(cssid);",
          "execute ALTER TABLE tw_7.tag ADD INDEX templateid_idx(templateid);",
          "execute ALTER TABLE tw_7.tag ADD INDEX overrideid_idx(overrideid);",
          "execute ALTER TABLE tw_7.attribute ADD INDEX tagid_idx(tagid);"}},
        {"SiteContentStep_1_0082",
         {"execute UPDATE tw_7.feature SET stylecacheid = 0 WHERE stylecacheid > 0;",
          "execute UPDATE tw_7.tag SET cssorder = 50 WHERE name = '.LOpage';"}},
        {"SiteContentStep_1_0089",
         {"execute UPDATE tw_7.event SET name='Record Change' WHERE name='Form Record Change';"}},
        {"SiteContentStep_1_0099",
         {"execute UPDATE tw_7.tag SET cssorder = 550 WHERE name REGEXP "
          R"('^\.(emptybasketlink|continueshoppinglink|continuetocheckoutlink|returntobasketlink)';)"}},
        {"SiteContentStep_1_0225",
         {"execute UPDATE tw_7.formfield SET options = options + 32 WHERE type = 'productfamily' "
          "AND MOD(options, 64) < 32;"}},
        {"SiteContentStep_1_0229",
         {"execute UPDATE tw_7.externallookupfeedfield e INNER JOIN tw_7.datafeedfield d ON "
          "d.fieldid = e.fieldid SET e.featureid = d.featureid, e.formfieldid = d.pointer;"}},
        {"SiteContentStep_1_0236",
         {"execute UPDATE tw_7.formtemplateinstancefield SET valuetype = 7 WHERE valuetype = 0 "
          R"(AND value REGEXP '^Now( (Plus|Minus) \d+ )"
          "(Years|Months|Days|Hours|Minutes|Seconds))?';"}},
        {"SiteContentStep_1_0240", {}},
        {"SiteContentStep_1_0256",
         {"execute CREATE TABLE IF NOT EXISTS tw_7.layoutzonenavlevel(zoneid INT DEFAULT 0 NOT "
          "NULL, level INT DEFAULT 0 NOT NULL, direction INT DEFAULT 0 NOT NULL, PRIMARY "
          "KEY(zoneid, level));",
          "execute UPDATE tw_7.layoutzone SET flyoutjs = '';"}},
    };
    for (const Expected& expected : all) {
        EXPECT_THAT(RunStep(SiteSeven(AllGroups()), expected.step),
                    ElementsAreArray(expected.lines))
            << expected.step;
    }
}

// A site that lacks an optional table skips what needs it and goes on.
TEST(SiteContentStatements, ASiteWithoutOptionalTablesSkipsWhatNeedsThem) {
    for (const char* step :
         {"SiteContentStep_1_0001", "SiteContentStep_1_0003", "SiteContentStep_1_0025",
          "SiteContentStep_1_0037", "SiteContentStep_1_0039", "SiteContentStep_1_0042",
          "SiteContentStep_1_0068", "SiteContentStep_1_0091", "SiteContentStep_1_0223",
          "SiteContentStep_1_0225", "SiteContentStep_1_0229", "SiteContentStep_1_0234",
          "SiteContentStep_1_0236", "SiteContentStep_1_0242", "SiteContentStep_1_0255",
          "SiteContentStep_1_0259"}) {
        EXPECT_THAT(RunStep(SiteSeven({}), step), IsEmpty()) << step;
    }
    EXPECT_THAT(RunStep(SiteSeven({}), "SiteContentStep_1_0069"),
                ElementsAre("execute UPDATE tw_7.event SET name = 'Order Completion' WHERE name = "
                            "'Order Payment';"));
    EXPECT_THAT(
        RunStep(SiteSeven({}), "SiteContentStep_1_0007"),
        ElementsAre("service RefreshSiteComponent 7 2400", "service UpgradeSiteComponent 7 1000",
                    "service RefreshSiteComponent 7 1000"));
    EXPECT_THAT(RunStep(SiteSeven({}), "SiteContentStep_1_0054"), IsEmpty());
}

// Tables of one feature are there together, so that the name of another would pass with any rows.
TEST(SiteContentStatements, EachStepAsksForItsOwnTable) {
    struct Guard {
        const char* step;
        const char* table;
    };
    for (const auto& [step, table] : {
             Guard{"SiteContentStep_1_0001", "formtemplateinstancefield"},
             Guard{"SiteContentStep_1_0003", "formfield"},
             Guard{"SiteContentStep_1_0007", "charge"},
             Guard{"SiteContentStep_1_0025", "forum"},
             Guard{"SiteContentStep_1_0037", "forum"},
             Guard{"SiteContentStep_1_0039", "forum"},
             Guard{"SiteContentStep_1_0042", "formtemplatefield"},
             Guard{"SiteContentStep_1_0068", "formtemplateviewfield"},
             Guard{"SiteContentStep_1_0069", "customerorder"},
             Guard{"SiteContentStep_1_0091", "form"},
             Guard{"SiteContentStep_1_0223", "commission"},
             Guard{"SiteContentStep_1_0225", "formfield"},
             Guard{"SiteContentStep_1_0229", "externallookupfeedfield"},
             Guard{"SiteContentStep_1_0234", "formtemplate"},
             Guard{"SiteContentStep_1_0236", "formtemplateinstancefield"},
             Guard{"SiteContentStep_1_0242", "formtemplate"},
             Guard{"SiteContentStep_1_0255", "formfield"},
             Guard{"SiteContentStep_1_0257", "formtemplateviewfield"},
             Guard{"SiteContentStep_1_0259", "form"},
         }) {
        const auto host = SiteSeven({});
        RunStep(host, step);
        Lines asked;
        for (const std::string& line : host->log) {
            if (line.find("SHOW TABLES") != std::string::npos) {
                asked.push_back(line.substr(line.find("SHOW")));
            }
        }
        EXPECT_THAT(asked, ElementsAre(std::string("SHOW TABLES FROM tw_7 LIKE '") + table + "';"))
            << step;
    }
}

TEST(SiteContentStatements, AFailingServiceEndsTheStep) {
    const auto host = SiteSeven({});
    host->FailAt(2);
    Update update;
    update.Configure(host);
    EXPECT_THROW(UpdateTestPeer(update).RunSiteStep("SiteContentStep_1_0032", 7), HostError);
    EXPECT_THAT(Effects(*host), ElementsAre("service InitialiseSiteComponent 7 4100",
                                            "service RefreshSiteComponent 7 4100"));
}

TEST(SiteContentStatements, AnUnknownComponentEndsTheStep) {
    const auto host = SiteSeven({});
    host->knownComponentsOnly = true;
    Update update;
    update.Configure(host);
    EXPECT_THROW(UpdateTestPeer(update).RunSiteStep("SiteContentStep_1_0058", 7), HostError);
    EXPECT_THAT(Effects(*host), IsEmpty());
}

// --- Charges ------------------------------------------------------------------------------------

const std::string kCharges =
    "SELECT c.chargeid, c.featureid, c.name, c.password, c.sequence FROM tw_7.charge c ORDER BY "
    "sequence;";

ResultSet ChargeRows(std::vector<std::vector<Value>> rows) {
    return {{"chargeid", "featureid", "name", "password", "sequence"}, std::move(rows)};
}

TEST(SiteContentCharges, AChargeBecomesAGroupWithOneOption) {
    const auto host = SiteSeven(AllGroups());
    host->catalogue.AddTable("tw_7", "chargegroup(groupid INT)");
    host->catalogue.AddTable("tw_7", "chargeoption(optionid INT)");
    host->catalogue.AddTable("tw_7", "chargegrouptochargegroup(groupid INT)");
    host->catalogue.AddTable("tw_7", "chargegrouptoitemtype(groupid INT)");
    host->Answer(kCharges, ChargeRows({{31, 5, "O'Brien's \\ van", "p'w", 4}}));
    host->insertIds = {41, 51};
    const Lines lines = RunStep(host, "SiteContentStep_1_0007");
    EXPECT_THAT(
        lines,
        ElementsAre(
            "service RefreshSiteComponent 7 2400", "service UpgradeSiteComponent 7 1000",
            "service RefreshSiteComponent 7 1000",
            "execute ALTER TABLE tw_7.charge ADD INDEX chargeoptionid_idx(chargeoptionid);",
            R"(execute INSERT INTO tw_7.chargegroup(featureid, name, sequence) VALUES(5, 'O''Brien''s \\ van' ,4);)",
            "execute INSERT INTO tw_7.chargeoption(groupid, featureid, name, password, sequence) "
            R"(VALUES(41, 5, 'O''Brien''s \\ van', 'p''w', 1);)",
            "execute UPDATE tw_7.charge SET chargeoptionid = 51 WHERE chargeid = 31;",
            "execute INSERT INTO tw_7.chargegrouptochargegroup(groupid, applytogroupid) SELECT "
            "41, co.groupid FROM tw_7.chargetocharge ctc INNER JOIN tw_7.charge c ON "
            "ctc.applytochargeid = c.chargeid INNER JOIN tw_7.chargeoption co ON "
            "c.chargeoptionid = co.optionid WHERE ctc.chargeid = 31;",
            "execute INSERT INTO tw_7.chargegrouptoitemtype(groupid, applytoitemtypeid) SELECT "
            "41, applytoitemtypeid FROM tw_7.chargetoitemtype WHERE chargeid = 31;"));
}

TEST(SiteContentCharges, OfEqualSequenceTheyKeepTheOrderOfTheAnswer) {
    const auto host = SiteSeven(AllGroups());
    host->catalogue.AddTable("tw_7", "chargegroup(groupid INT)");
    host->catalogue.AddTable("tw_7", "chargeoption(optionid INT)");
    host->catalogue.AddTable("tw_7", "chargegrouptochargegroup(groupid INT)");
    host->catalogue.AddTable("tw_7", "chargegrouptoitemtype(groupid INT)");
    host->Answer(kCharges, ChargeRows({{32, 5, "later id", "", 4}, {31, 5, "earlier id", "", 4}}));
    host->insertIds = {41, 51, 42, 52};
    Lines names;
    for (const std::string& line : RunStep(host, "SiteContentStep_1_0007")) {
        if (line.find("INTO tw_7.chargegroup(") != std::string::npos) {
            names.push_back(line.find("later") == std::string::npos ? "earlier id" : "later id");
        }
    }
    EXPECT_THAT(names, ElementsAre("later id", "earlier id"));
}

TEST(SiteContentCharges, AnEmptyChargeTableGetsItsIndexAndNothingElse) {
    const Lines lines = RunStep(SiteSeven(AllGroups()), "SiteContentStep_1_0007");
    EXPECT_THAT(lines, ElementsAre("service RefreshSiteComponent 7 2400",
                                   "service UpgradeSiteComponent 7 1000",
                                   "service RefreshSiteComponent 7 1000",
                                   "execute ALTER TABLE tw_7.charge ADD INDEX "
                                   "chargeoptionid_idx(chargeoptionid);"));
}

TEST(SiteContentCharges, TheIndexIsNotAddedTwice) {
    const auto host = SiteSeven(AllGroups());
    host->catalogue.Run("ALTER TABLE tw_7.charge ADD INDEX chargeoptionid_idx(chargeoptionid);");
    EXPECT_THAT(
        RunStep(host, "SiteContentStep_1_0007"),
        ElementsAre("service RefreshSiteComponent 7 2400", "service UpgradeSiteComponent 7 1000",
                    "service RefreshSiteComponent 7 1000"));
}

// --- Forum --------------------------------------------------------------------------------------

std::string LiveRootsAbove(int id) {
    return "SELECT elementid FROM tw_7.forum WHERE elementid = threadid AND removed = 0 AND "
           "elementid > " +
           std::to_string(id) + " ORDER BY elementid LIMIT 50;";
}

std::string Statistics(int from, int to, const std::string& filter = "") {
    return "SELECT f.elementid, MAX(f1.elementid) AS latestelementid, COUNT(f1.elementid) AS "
           "postings FROM tw_7.forum f INNER JOIN tw_7.forum f1 ON f.elementid = f1.threadid "
           "WHERE f.threadid = f.elementid And f.elementid > " +
           std::to_string(from) + " AND f.elementid <= " + std::to_string(to) + " " + filter +
           "GROUP BY f.threadid;";
}

TEST(SiteContentForum, TheWalkGoesFromLiveRootToLiveRootAndReadsOneRowOfEachPage) {
    const auto host = SiteSeven(AllGroups());
    const std::string published = "AND f1.published = -1 ";
    host->Answer(LiveRootsAbove(0), {{"elementid"}, {{4}, {9}}});
    host->Answer(LiveRootsAbove(4), {{"elementid"}, {{9}}});
    // The removed root 2 lies in the first range.
    host->Answer(Statistics(0, 4),
                 {{"elementid", "latestelementid", "postings"}, {{2, 3, 2}, {4, 11, 3}}});
    host->Answer(Statistics(4, 9, published),
                 {{"elementid", "latestelementid", "postings"}, {{9, 10, 2}}});
    RunStep(host, "SiteContentStep_1_0037");
    EXPECT_THAT(
        host->log,
        ElementsAre("query SHOW TABLES FROM tw_7 LIKE 'forum';", "query " + LiveRootsAbove(0),
                    "query " + Statistics(0, 4),
                    "execute UPDATE tw_7.forum SET latestelementid = 3, postings = 2 WHERE "
                    "elementid = 2;",
                    "execute UPDATE tw_7.forum SET latestelementid = 11, postings = 3 WHERE "
                    "elementid = 4;",
                    "query " + Statistics(0, 4, published), "query " + LiveRootsAbove(4),
                    "query " + Statistics(4, 9), "query " + Statistics(4, 9, published),
                    "execute UPDATE tw_7.forum SET latestpublishedelementid = 10, "
                    "publishedpostings = 2 WHERE elementid = 9;",
                    "query " + LiveRootsAbove(9)));
}

TEST(SiteContentForum, WithoutALiveRootTheStepEndsAtTheFirstPage) {
    const auto host = SiteSeven(AllGroups());
    RunStep(host, "SiteContentStep_1_0037");
    EXPECT_THAT(host->log, ElementsAre("query SHOW TABLES FROM tw_7 LIKE 'forum';",
                                       "query " + LiveRootsAbove(0)));
}

// --- E-mails ------------------------------------------------------------------------------------

TEST(SiteContentEmails, AngleBracketsAreEscapedInAllSixTextsOnce) {
    const auto host = SiteSeven({});
    const std::vector<std::string> columns{"emailid", "featureid", "type",    "fromlist", "tolist",
                                           "cclist",  "bcclist",   "subject", "message"};
    host->Answer(
        "SELECT * FROM tw_7.email WHERE emailid > 0 LIMIT 20;",
        {columns,
         {{3, 1, "order", "A <a@b.example>", "x", Value(), Value(), "a > b", "it's\r\n<b>"},
          {8, 1, "order", "", "", "", "", "", ""}}});
    EXPECT_THAT(
        RunStep(host, "SiteContentStep_1_0043"),
        ElementsAre("execute ALTER TABLE tw_7.email ADD COLUMN ishtml BOOL DEFAULT 0 NOT NULL;",
                    "execute UPDATE tw_7.email SET fromlist = 'A &lt;a@b.example&gt;', tolist = "
                    "'x', cclist = '', bcclist = '', subject = 'a &gt; b', message = "
                    R"('it''s\r\n&lt;b&gt;' WHERE emailid = 3;)",
                    "execute UPDATE tw_7.email SET fromlist = '', tolist = '', cclist = '', "
                    "bcclist = '', subject = '', message = '' WHERE emailid = 8;"));
    EXPECT_EQ("query SELECT * FROM tw_7.email WHERE emailid > 8 LIMIT 20;", host->log.back());
}

TEST(SiteContentEmails, WithTheColumnThereNothingIsConverted) {
    const auto host = SiteSeven({});
    host->catalogue.Run("ALTER TABLE tw_7.email ADD COLUMN ishtml BOOL DEFAULT 0 NOT NULL;");
    EXPECT_THAT(RunStep(host, "SiteContentStep_1_0043"), IsEmpty());
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_7.email;"));
}

TEST(SiteContentEmails, OnlyTextsWithOrderDetailsAreRewritten) {
    const auto host = SiteSeven({});
    const std::vector<std::string> columns{"emailid", "fromlist", "tolist", "cclist",
                                           "bcclist", "subject",  "message"};
    host->Answer(
        "SELECT emailid, fromlist, tolist, cclist, bcclist, subject, message FROM tw_7.email "
        "WHERE emailid > 0 ORDER BY emailid LIMIT 20;",
        {columns,
         {{3, "a", Value(), "", "", "For <#OrderDetails:Name=Who,Id=billingname#>",
           "&lt;#OrderDetails:Name=Sum,Id=total#&gt; it's"},
          {4, "a", Value(), "", "", "plain", "text"}}});
    EXPECT_THAT(RunStep(host, "SiteContentStep_1_0049"),
                ElementsAre("execute UPDATE tw_7.email SET subject = 'For <#Embed.17.6:Who#>', "
                            "message = '<#Embed.17.3:Sum#> it''s' WHERE emailid = 3;"));
}

// --- Caches and styles --------------------------------------------------------------------------

TEST(SiteContentCaches, PermissionCachesGoWithTheirLinks) {
    const auto host = SiteSeven({});
    host->Answer("SELECT cacheid FROM tw_7.cache WHERE type = 2 AND templateid > 0;",
                 {{"cacheid"}, {{4}, {9}, {12}}});
    EXPECT_THAT(RunStep(host, "SiteContentStep_1_0066"),
                ElementsAre("execute DELETE FROM tw_7.cache WHERE cacheid IN(4,9,12);",
                            "execute DELETE FROM tw_7.featurecache WHERE cacheid IN(4,9,12);",
                            "execute UPDATE tw_7.feature SET permissioncacheid = 0 WHERE "
                            "permissioncacheid > 0;"));
}

TEST(SiteContentCaches, StyleCachesGoWithTheirLinks) {
    const auto host = SiteSeven({});
    host->Answer("SELECT cacheid FROM tw_7.cache WHERE type = 0 AND templateid > 0;",
                 {{"cacheid"}, {{5}}});
    EXPECT_THAT(RunStep(host, "SiteContentStep_1_0082"),
                ElementsAre("execute DELETE FROM tw_7.cache WHERE cacheid IN(5);",
                            "execute DELETE FROM tw_7.featurecache WHERE cacheid IN(5);",
                            "execute UPDATE tw_7.feature SET stylecacheid = 0 WHERE stylecacheid "
                            "> 0;",
                            "execute UPDATE tw_7.tag SET cssorder = 50 WHERE name = '.LOpage';"));
}

TEST(SiteContentColours, NineteenNamesAreReplacedInTheirOrder) {
    const std::vector<std::pair<std::string, std::string>> colours{
        {"gainsboro", "#dcdcdc"},    {"silver", "#c0c0c0"},     {"dimgray", "#696969"},
        {"white", "#fff"},           {"darkblue", "#00008b"},   {"lightyellow", "#ffffe0"},
        {"lemonchiffon", "#fffacd"}, {"blue", "#00f"},          {"whitesmoke", "#f5f5f5"},
        {"lightgrey", "#d3d3d3"},    {"darkgray", "#a9a9a9"},   {"lightsteelblue", "#b0c4de"},
        {"black", "#000"},           {"dodgerblue", "#1e90ff"}, {"darkkhaki", "#bdb76b"},
        {"darkred", "#8b0000"},      {"red", "#f00"},           {"yellow", "#ff0"},
        {"orange", "#ffa500"}};
    const auto host = SiteSeven({});
    host->Answer("SELECT cssid FROM tw_7.css ORDER BY cssid LIMIT 0,50;", {{"cssid"}, {{3}, {8}}});
    const Lines lines = RunStep(host, "SiteContentStep_1_0254");
    ASSERT_EQ(colours.size() + 4, lines.size());
    for (std::size_t i = 0; i < colours.size(); ++i) {
        EXPECT_EQ("execute UPDATE tw_7.attribute SET value = REPLACE(LCASE(value), '" +
                      colours[i].first + "', '" + colours[i].second +
                      "') WHERE (name LIKE '%color' OR name LIKE 'border-%') AND value REGEXP "
                      "'(^| )" +
                      colours[i].first + "( |$)';",
                  lines[i]);
    }
    EXPECT_THAT(Lines(lines.begin() + 19, lines.end()),
                ElementsAre("execute UPDATE tw_7.css SET cachebuilt = 0 WHERE cssid = 3;",
                            "execute UPDATE tw_7.tag SET cachebuilt = 0 WHERE cssid = 3;",
                            "execute UPDATE tw_7.css SET cachebuilt = 0 WHERE cssid = 8;",
                            "execute UPDATE tw_7.tag SET cachebuilt = 0 WHERE cssid = 8;"));
    EXPECT_EQ("query SELECT cssid FROM tw_7.css ORDER BY cssid LIMIT 2,50;", host->log.back());
}

TEST(SiteContentStyles, TreeLinkStylesAreCopiedToTheNewSelector) {
    const auto host = SiteSeven({});
    host->Answer(
        "SELECT t.tagid, t.name, t.templateid, t.overrideid FROM tw_7.tag t WHERE t.name LIKE "
        "'span.TreeLink%';",
        {{"tagid", "name", "templateid", "overrideid"},
         {{3, "span.TreeLink span.TreeLink", 11, 0}, {4, "SPAN.TREELINK", 11, 0}}});
    host->insertIds = {90};
    EXPECT_THAT(
        RunStep(host, "SiteContentStep_1_0009"),
        ElementsAre("execute INSERT INTO tw_7.tag(templateid, overrideid, name) VALUES(11, 0, "
                    "'div.twTreeNode span.SiteTreeLink[suffix] div.twTreeNode "
                    "span.SiteTreeLink[suffix]');",
                    "execute INSERT INTO tw_7.attribute(tagid, name, value) SELECT 90, a.name, "
                    "a.value FROM tw_7.attribute a LEFT JOIN tw_7.attribute own ON own.tagid = 90 "
                    "AND own.name = a.name WHERE a.tagid = 3 AND own.attributeid IS "
                    "NULL AND a.name <> 'height' AND a.name NOT LIKE 'padding%';"));
}

TEST(SiteContentLayouts, ATemplateSiteLosesTheSettingThatHidesNavigation) {
    const auto host = SiteSeven({});
    const std::string isTemplate =
        "SELECT siteid FROM tw_tarnwick.site WHERE siteid = 7 AND template <> 0;";
    host->Answer(isTemplate, {{"siteid"}, {{7}}});
    const std::string deletion =
        "execute DELETE FROM tw_7.setting WHERE name = 'HideNavIfOverrides';";
    EXPECT_THAT(RunStep(host, "SiteContentStep_1_0026"), ::testing::Contains(deletion));
    EXPECT_THAT(RunStep(SiteSeven({}), "SiteContentStep_1_0026"),
                ::testing::Not(::testing::Contains(deletion)));
}

/// Site 7 with a layout, page 50, whose override 5 lists its elements; element 11 is the first.
std::shared_ptr<RecordingHost> SiteWithListedElements() {
    auto host = SiteSeven({});
    host->Answer(
        "SELECT s.settingid, s.overrideid, o.featureid FROM tw_7.setting s INNER JOIN "
        "tw_7.override o ON o.overrideid = s.overrideid WHERE s.name = 'ExplicitLayoutElements' "
        "AND s.type = 'text' AND s.settingid > 0 ORDER BY s.settingid LIMIT 50;",
        {{"settingid", "overrideid", "featureid"}, {{3, 5, 50}}});
    host->Answer(
        "SELECT elementid, sequence FROM tw_7.layoutelement WHERE featureid = 50 ORDER BY "
        "elementid;",
        {{"elementid", "sequence"}, {{11, 1}}});
    return host;
}

// Somebody deletes the setting while the step runs.
TEST(SiteContentLayouts, AListThatIsGoneIsAnEmptyOne) {
    EXPECT_THAT(RunStep(SiteWithListedElements(), "SiteContentStep_1_0026"),
                ::testing::Contains(
                    "execute INSERT INTO tw_7.setting(overrideid, name, type, text) VALUES(5, "
                    "'LayoutElementIds', 'text', '');"));
}

// An interrupted run has added them and not yet deleted the list.
TEST(SiteContentLayouts, SettingsThatAreThereAreNotAddedAgain) {
    const Lines type{
        "execute INSERT INTO tw_7.setting(overrideid, name, type, integer_value) VALUES(5, "
        "'LayoutElementType', 'integer', 1);"};
    const Lines ids{
        "execute INSERT INTO tw_7.setting(overrideid, name, type, text) VALUES(5, "
        "'LayoutElementIds', 'text', '');"};
    const std::vector<std::pair<std::string, Lines>> addedBeside{{"LayoutElementType", ids},
                                                                 {"LayoutElementIds", type}};
    for (const auto& [there, expected] : addedBeside) {
        const auto host = SiteWithListedElements();
        host->Answer(
            "SELECT settingid FROM tw_7.setting WHERE overrideid = 5 AND name = '" + there + "';",
            {{"settingid"}, {{4}}});
        Lines settings;
        for (const std::string& line : RunStep(host, "SiteContentStep_1_0026")) {
            if (line.find(" tw_7.setting") != std::string::npos) {
                settings.push_back(line);
            }
        }
        Lines all = expected;
        all.emplace_back("execute DELETE FROM tw_7.setting WHERE settingid = 3;");
        EXPECT_EQ(settings, all) << there;
    }
}

TEST(SiteContentForms, TheFormTablesAreRepairedInTheOrderOfTheirPages) {
    const auto host = SiteSeven(AllGroups());
    host->catalogue.AddTable("tw_7", "form_12(replyid INT)");
    host->catalogue.AddTable("tw_7", "form_30(replyid INT)");
    host->Answer(
        "SELECT formfeatureid FROM tw_7.form WHERE formfeatureid > 0 ORDER BY formfeatureid LIMIT "
        "50;",
        {{"formfeatureid"}, {{12}, {20}, {30}}});
    EXPECT_THAT(RunStep(host, "SiteContentStep_1_0259"),
                ElementsAre("execute REPAIR TABLE tw_7.form_12 QUICK;",
                            "execute REPAIR TABLE tw_7.form_30 QUICK;"));
}

TEST(SiteContentCommissions, AnOldCentralDatabaseIsNamedInTheError) {
    const auto host = SiteSeven(AllGroups());
    host->Answer(
        "SELECT commissionid FROM tw_7.commission WHERE orderid > 0 AND commissionid > 0 ORDER BY "
        "commissionid LIMIT 50;",
        {{"commissionid"}, {{1}}});
    Update update;
    update.Configure(host);
    try {
        UpdateTestPeer(update).RunSiteStep("SiteContentStep_1_0223", 7);
        FAIL() << "no error";
    } catch (const OutdatedCentralDatabaseError& error) {
        EXPECT_STREQ(
            "SiteContentStep_1_0223 of tw_7: tw_tarnwick.accountpayment has no column "
            "cartorderid; upgrade the central database first",
            error.what());
    }
    EXPECT_THAT(Effects(*host), IsEmpty());
}

// --- Pages and their texts ----------------------------------------------------------------------

TEST(SiteContentTexts, EveryPageWithAMainTextLosesItsBlankFlag) {
    const auto host = SiteSeven({});
    host->Answer(
        "SELECT DISTINCT f.featureid FROM tw_7.feature f INNER JOIN tw_7.text t ON t.featureid = "
        "f.featureid WHERE f.componentid IN(400, 500) AND t.subfeatureid = 0 AND t.text <> "
        "'&nbsp;' AND f.featureid > 0 ORDER BY f.featureid LIMIT 50;",
        {{"featureid"}, {{12}, {15}}});
    EXPECT_THAT(
        RunStep(host, "SiteContentStep_1_0031"),
        ElementsAre("execute UPDATE tw_7.feature SET blankcontent = 0 WHERE featureid = 12;",
                    "execute UPDATE tw_7.feature SET blankcontent = 0 WHERE featureid = 15;"));
}

TEST(SiteContentTexts, EveryThirdTextGetsItsType) {
    const auto host = SiteSeven({});
    host->Answer(
        "SELECT t.textid FROM tw_7.text t INNER JOIN tw_7.feature f ON f.featureid = t.featureid "
        "WHERE f.componentid IN(900, 3700) AND t.subfeatureid = 2 AND t.texttype = 0 AND t.textid "
        "> 0 ORDER BY t.textid LIMIT 50;",
        {{"textid"}, {{31}, {34}}});
    EXPECT_THAT(RunStep(host, "SiteContentStep_1_0044"),
                ElementsAre("execute UPDATE tw_7.text SET texttype = 20 WHERE textid = 31;",
                            "execute UPDATE tw_7.text SET texttype = 20 WHERE textid = 34;"));
}

// --- The order of effects -----------------------------------------------------------------------

TEST(SiteContentOrder, AnEventIsAddedAfterTheServicesAndNamedWhenItIsWhole) {
    const auto host = SiteSeven({});
    host->Answer(
        "SELECT f.featureid FROM tw_7.feature f LEFT JOIN tw_7.event e ON e.featureid = "
        "f.featureid AND e.name = 'Reset Password' WHERE f.componentid = 100 AND e.eventid IS NULL "
        "AND f.featureid > 0 ORDER BY f.featureid LIMIT 50;",
        {{"featureid"}, {{5}}});
    host->insertIds = {61, 71, 81};
    EXPECT_THAT(
        RunStep(host, "SiteContentStep_1_0008"),
        ElementsAre("service UpgradeSiteComponent 7 100", "service InitialiseSiteComponent 7 100",
                    "service ResetSiteComponent 7 100",
                    "execute INSERT INTO tw_7.event(featureid, name) VALUES(5, 'Reset Password "
                    "(being added)');",
                    StartsWith("execute INSERT INTO tw_7.email(featureid, type, subject, message) "
                               "VALUES(5, 'resetpassword', "),
                    "execute INSERT INTO tw_7.eventpart(eventid, name, sequence) VALUES(61, 'Reset "
                    "password email', 1);",
                    "execute INSERT INTO tw_7.emailevent(eventpartid, emailid) VALUES(81, 71);",
                    "execute UPDATE tw_7.event SET name = 'Reset Password' WHERE eventid = 61;"));
}

TEST(SiteContentOrder, SettingsThenIndexesThenTheNumbersOfTheNavigation) {
    EXPECT_THAT(RunStep(SiteSeven({}), "SiteContentStep_1_0020"),
                ElementsAre(StartsWith("execute INSERT INTO tw_7.setting(overrideid, name, type, "
                                       "text) SELECT s.overrideid, 'TargetInstanceIds', 'text', "),
                            "execute ALTER TABLE tw_7.navigation ADD INDEX parentid_idx(parentid);",
                            "execute ALTER TABLE tw_7.navigation ADD INDEX level_idx(level);",
                            "execute ALTER TABLE tw_7.navigation ADD INDEX sequence_idx(sequence);",
                            StartsWith("execute UPDATE tw_7.navigation ")));
}

TEST(SiteContentOrder, LayoutElementsAreNamedBeforeTheirOverridesAreConverted) {
    const auto host = SiteSeven({});
    host->Answer("SELECT siteid FROM tw_tarnwick.site WHERE siteid = 7 AND template <> 0;",
                 {{"siteid"}, {{7}}});
    host->Answer(
        "SELECT s.settingid, s.overrideid, o.featureid FROM tw_7.setting s INNER JOIN "
        "tw_7.override o ON o.overrideid = s.overrideid WHERE s.name = 'ExplicitLayoutElements' "
        "AND s.type = 'text' AND s.settingid > 0 ORDER BY s.settingid LIMIT 50;",
        {{"settingid", "overrideid", "featureid"}, {{9, 4, 6}}});
    host->Answer(
        "SELECT elementid, sequence FROM tw_7.layoutelement WHERE featureid = 6 ORDER BY "
        "elementid;",
        {{"elementid", "sequence"}, {{21, 1}, {22, 2}}});
    host->Answer("SELECT text FROM tw_7.setting WHERE settingid = 9;", {{"text"}, {{"2,1"}}});
    EXPECT_THAT(
        RunStep(host, "SiteContentStep_1_0026"),
        ElementsAre("execute UPDATE tw_7.layoutelement SET name = CONCAT('Layout Element ', "
                    "sequence) WHERE name = '';",
                    "execute UPDATE tw_7.layoutzone SET flyoutjs = '';",
                    "execute DELETE FROM tw_7.setting WHERE name = 'HideNavIfOverrides';",
                    "execute INSERT INTO tw_7.setting(overrideid, name, type, integer_value) "
                    "VALUES(4, 'LayoutElementType', 'integer', 1);",
                    "execute INSERT INTO tw_7.setting(overrideid, name, type, text) VALUES(4, "
                    "'LayoutElementIds', 'text', '22,21');",
                    "execute DELETE FROM tw_7.setting WHERE settingid = 9;"));
}

TEST(SiteContentOrder, ViewFieldsBeforeTheWordsOfSearchesAndNeitherWithoutViews) {
    EXPECT_THAT(
        RunStep(SiteSeven(AllGroups()), "SiteContentStep_1_0257"),
        ElementsAre("execute UPDATE tw_7.formtemplateviewfield SET float_value = 1 WHERE "
                    "formtemplateviewfieldtype = 22;",
                    "execute INSERT INTO tw_7.setting(overrideid, name, type, integer_value) "
                    "SELECT s.overrideid, 'WordMatchType', 'integer', IF(s.integer_value = -1, 1, "
                    "0) FROM tw_7.setting s LEFT JOIN tw_7.setting w ON w.overrideid = "
                    "s.overrideid AND w.name = 'WordMatchType' WHERE s.name = "
                    "'IgnoreWordFragments' AND w.settingid IS NULL ORDER BY s.settingid;",
                    "execute DELETE FROM tw_7.setting WHERE name = 'IgnoreWordFragments';"));
    EXPECT_THAT(RunStep(SiteSeven({}), "SiteContentStep_1_0257"), IsEmpty());
}

/// Runs the step on a site with files to copy. @returns whether the step came to its end
/// @param files  how many files it has copied
bool RunsToItsEnd(const std::string& step, std::size_t failingCall, std::ptrdiff_t& files) {
    const TemporaryFolder folder;
    folder.Write("templates/site/a.txt", "x");
    folder.Write("templates/site/ServerManager/a.txt", "x");
    folder.Write("components/component900/template/a.txt", "x");
    folder.MakeFolder("wwwroot/sites/7/12");
    const auto host = SiteSeven({});
    host->installFolder = folder / "bin";
    host->Answer("SELECT featureid FROM tw_7.feature WHERE componentid = 900;",
                 {{"featureid"}, {{12}}});
    host->FailAt(failingCall);
    Update update;
    update.Configure(host);
    bool ended = true;
    try {
        UpdateTestPeer(update).RunSiteStep(step, 7);
    } catch (const HostError&) {
        ended = false;
    }
    const std::filesystem::recursive_directory_iterator entries(folder / "wwwroot");
    files = std::count_if(begin(entries), end(entries),
                          [](const auto& entry) { return entry.is_regular_file(); });
    return ended;
}

TEST(SiteContentOrder, FilesAreCopiedAfterAllElse) {
    for (const std::string step :
         {"SiteContentStep_1_0022", "SiteContentStep_1_0026", "SiteContentStep_1_0074"}) {
        std::size_t call = 1;
        std::ptrdiff_t files = 0;
        for (; !RunsToItsEnd(step, call, files); ++call) {
            EXPECT_EQ(files, 0) << step << ", call " << call;
        }
        EXPECT_GT(call, 1U) << step;
        EXPECT_EQ(files, 1) << step;
    }
}

// --- The ladder ---------------------------------------------------------------------------------

TEST(SiteContentLadder, ASiteBetweenTwoThresholdsBeginsWithTheUpperStep) {
    const auto host = SiteSeven(AllGroups());
    Update update;
    update.Configure(host);
    UpdateTestPeer(update).RunSiteContentLadder(7, 1.0260);
    EXPECT_THAT(Effects(*host), ElementsAre("service ResetSiteComponent 7 5600"));
}

TEST(SiteContentLadder, ASiteAtTheLastThresholdOrAboveRunsNothing) {
    for (const double version :
         {LadderSteps(Ladder::kSiteContent).back().threshold, kCurrentVersion, 2.0}) {
        const auto host = SiteSeven(AllGroups());
        Update update;
        update.Configure(host);
        UpdateTestPeer(update).RunSiteContentLadder(7, version);
        EXPECT_THAT(host->log, IsEmpty()) << version;
    }
}

std::ptrdiff_t EmbedRenames(double version) {
    const auto host = SiteSeven(AllGroups());
    Update update;
    update.Configure(host);
    UpdateTestPeer(update).RunSiteContentLadder(7, version);
    return std::count_if(host->log.begin(), host->log.end(), [](const std::string& line) {
        return line.starts_with("execute UPDATE tw_7.email SET fromlist = REPLACE(");
    });
}

TEST(SiteContentLadder, ASiteAtTheRungBetweenRenamesEmbedCodesOnce) {
    EXPECT_EQ(1, EmbedRenames(1.0052));
    EXPECT_EQ(1, EmbedRenames(1.0051));
    EXPECT_EQ(1, EmbedRenames(1.0050));
    EXPECT_EQ(0, EmbedRenames(1.0053));
}

TEST(SiteContentLadder, ASiteBelowTheFirstRungRenamesEmbedCodesTwice) {
    EXPECT_EQ(2, EmbedRenames(1.0049));
    EXPECT_EQ(2, EmbedRenames(0.0));
}

}  // namespace
}  // namespace twupdate::test
