#include <algorithm>
#include <cerrno>

#include "site_content_site.h"
#include "support/failing_volume.h"
#include "support/locked_folder.h"
#include "support/update_test_peer.h"
#include "twupdate/error.h"

namespace twupdate::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// --- Optional tables ----------------------------------------------------------------------------

class SiteContentWithoutOptionalTables : public SiteContentTest {};

TEST_F(SiteContentWithoutOptionalTables, TheWholeLadderSkipsWhatNeedsThemAndDoesTheRest) {
    LoadContentSite({});
    Sql(R"(INSERT INTO tw_7.event(eventid, name) VALUES(1, 'Form Record Change');
           INSERT INTO tw_7.tag(tagid, name) VALUES(1, '.LOpage');
           INSERT INTO tw_7.setting(settingid, overrideid, name, type, integer_value)
           VALUES(1, 1, 'IgnoreWordFragments', 'boolean', -1);
           INSERT INTO tw_7.layoutelement(elementid, sequence) VALUES(1, 4);)");
    const RowSnapshot before = RowsOf("tw_7");
    Upgrade(7, 1.0);
    EXPECT_THAT(SiteChanges(before, RowsOf("tw_7")),
                UnorderedElementsAre("event 1: name 'Form Record Change' -> 'Record Change'",
                                     "tag 1: cssorder 0 -> 50",
                                     "layoutelement 1: name '' -> 'Layout Element 4'"));
}

// --- Charges ------------------------------------------------------------------------------------

class SiteContentCharges : public SiteContentTest {
  protected:
    void SetUp() override { LoadContentSite({Group::kShop, Group::kCharges}); }
    void Convert() { RunStep("SiteContentStep_1_0007", 7); }
};

TEST_F(SiteContentCharges, EachBecomesAGroupWithOneOptionAndNothingElseChanges) {
    Sql(R"(INSERT INTO tw_7.charge(chargeid, featureid, name, password, sequence, chargetype)
           VALUES(31, 5, 'O''Brien''s \\ van', 'p''w', 9, 3), (32, 6, 'Post', '', 2, 0);
           INSERT INTO tw_7.chargetoitemtype(chargeid, applytoitemtypeid) VALUES(31, 4), (31, 6), (33, 1);)");
    const RowSnapshot before = RowsOf("tw_7");
    Convert();
    EXPECT_TRUE(OnlyTheseRowsChanged(
        before, RowsOf("tw_7"),
        {"+ chargegroup 1: featureid 6, name 'Post', sequence 2",
         "+ chargegroup 2: featureid 5, name 'O\\'Brien\\'s \\\\ van', sequence 9",
         "+ chargeoption 1: groupid 1, featureid 6, name 'Post', sequence 1",
         "+ chargeoption 2: groupid 2, featureid 5, name 'O\\'Brien\\'s \\\\ van', password "
         "'p\\'w', sequence 1",
         "charge 31: chargeoptionid 0 -> 2", "charge 32: chargeoptionid 0 -> 1",
         "+ chargegrouptoitemtype 2, 4", "+ chargegrouptoitemtype 2, 6"}));
}

TEST_F(SiteContentCharges, ALinkIsCarriedToAChargeOfLowerSequenceOnly) {
    Sql(R"(INSERT INTO tw_7.charge(chargeid, name, sequence) VALUES(1, 'A', 1), (2, 'B', 2);
           INSERT INTO tw_7.chargetocharge(chargeid, applytochargeid) VALUES(1, 2), (2, 1);)");
    Convert();
    EXPECT_THAT(Rows("SELECT g.name, a.name FROM tw_7.chargegrouptochargegroup l INNER JOIN "
                     "tw_7.chargegroup g ON g.groupid = l.groupid INNER JOIN tw_7.chargegroup a "
                     "ON a.groupid = l.applytogroupid"),
                ElementsAre("B | A"));
}

TEST_F(SiteContentCharges, OfEqualSequenceTheyComeAsTheDatabaseReturnsThem) {
    Sql("INSERT INTO tw_7.charge(chargeid, name, sequence) VALUES(4, 'A', 1), (2, 'B', 1), (9, "
        "'C', 0);");
    const auto order = Rows("SELECT c.name FROM tw_7.charge c ORDER BY sequence");
    Convert();
    EXPECT_EQ(order, Rows("SELECT name FROM tw_7.chargegroup ORDER BY groupid"));
}

TEST_F(SiteContentCharges, AnEmptyTableGetsItsIndexAndNothingElse) {
    const RowSnapshot before = RowsOf("tw_7");
    const Schema schema = SchemaOf("tw_7");
    Convert();
    EXPECT_TRUE(SameRows(before, RowsOf("tw_7")));
    EXPECT_THAT(SchemaChanges(schema, SchemaOf("tw_7")),
                ElementsAre("charge + KEY chargeoptionid_idx(chargeoptionid)"));
}

TEST_F(SiteContentCharges, ASecondRunMakesASecondGroupAndOption) {
    Sql(R"(INSERT INTO tw_7.charge(chargeid, name, sequence) VALUES(1, 'A', 1), (2, 'B', 2);
           INSERT INTO tw_7.chargetocharge(chargeid, applytochargeid) VALUES(2, 1);)");
    Convert();
    const RowSnapshot before = RowsOf("tw_7");
    Convert();
    EXPECT_TRUE(OnlyTheseRowsChanged(
        before, RowsOf("tw_7"),
        {"+ chargegroup 3: name 'A', sequence 1", "+ chargegroup 4: name 'B', sequence 2",
         "+ chargeoption 3: groupid 3, name 'A', sequence 1",
         "+ chargeoption 4: groupid 4, name 'B', sequence 1", "charge 1: chargeoptionid 1 -> 3",
         "charge 2: chargeoptionid 2 -> 4", "+ chargegrouptochargegroup 4, 3"}));
}

TEST_F(SiteContentCharges, AfterAnInterruptionEveryChargeIsConvertedAgain) {
    Sql("INSERT INTO tw_7.charge(chargeid, name, sequence) VALUES(1, 'A', 1), (2, 'B', 2);");
    const auto faulty = Faulty();
    RunStep("SiteContentStep_1_0006", 7);
    RunStep("SiteContentStep_1_0007", 7, faulty);  // counts the calls
    const auto calls = faulty->Log();
    const auto secondGroup = static_cast<std::size_t>(
        std::find_if(calls.begin(), calls.end(),
                     [](const std::string& call) {
                         return call.find("chargegroup(") != std::string::npos &&
                                call.find("'B'") != std::string::npos;
                     }) -
        calls.begin());
    ASSERT_LT(secondGroup, calls.size());
    Sql("TRUNCATE tw_7.chargegroup; TRUNCATE tw_7.chargeoption; UPDATE tw_7.charge SET "
        "chargeoptionid = 0;");
    // The index is there now: the same calls but for the statement that adds it.
    faulty->FailAt(secondGroup, FaultyUtility::kBefore);
    EXPECT_THROW(RunStep("SiteContentStep_1_0007", 7, faulty), InjectedFault);
    EXPECT_THAT(Rows("SELECT name FROM tw_7.chargegroup ORDER BY groupid"), ElementsAre("A"));
    faulty->Heal();
    RunStep("SiteContentStep_1_0007", 7, faulty);
    EXPECT_THAT(Rows("SELECT name FROM tw_7.chargegroup ORDER BY groupid"),
                ElementsAre("A", "A", "B"));
    EXPECT_THAT(Rows("SELECT name, chargeoptionid FROM tw_7.charge ORDER BY chargeid"),
                ElementsAre("A | 2", "B | 3"));
}

class SiteContentWithoutCharges : public SiteContentTest {};

TEST_F(SiteContentWithoutCharges, OnlyTheServicesAreCalled) {
    LoadContentSite({Group::kShop});
    const Schema schema = SchemaOf("tw_7");
    const RowSnapshot before = RowsOf("tw_7");
    const auto counting = Faulty();
    RunStep("SiteContentStep_1_0007", 7, counting);
    EXPECT_TRUE(SameSchema(schema, SchemaOf("tw_7")));
    EXPECT_TRUE(SameRows(before, RowsOf("tw_7")));
    EXPECT_THAT(
        counting->Log(),
        ElementsAre(HasSubstr("RefreshSiteComponent"), HasSubstr("UpgradeSiteComponent"),
                    HasSubstr("RefreshSiteComponent"), "SHOW TABLES FROM tw_7 LIKE 'charge';"));
}

// --- Forum --------------------------------------------------------------------------------------

class SiteContentForum : public SiteContentTest {
  protected:
    void SetUp() override { LoadContentSite({Group::kForum}); }
    /// The statistics of every root: id, latest, postings, latest published, published postings.
    std::vector<std::string> Statistics(const std::string& postings) {
        Sql("INSERT INTO tw_7.forum(elementid, threadid, removed, published) VALUES" + postings +
            ";");
        RunStep("SiteContentStep_1_0037", 7);
        return Rows(
            "SELECT elementid, latestelementid, postings, latestpublishedelementid, "
            "publishedpostings FROM tw_7.forum WHERE elementid = threadid ORDER BY elementid");
    }
};

TEST_F(SiteContentForum, ARootCountsItself) {
    EXPECT_THAT(Statistics("(1, 1, 0, -1), (2, 1, 0, -1), (5, 1, 0, -1)"),
                ElementsAre("1 | 5 | 3 | 5 | 3"));
}

TEST_F(SiteContentForum, WithoutALiveRootNothingIsWritten) {
    EXPECT_THAT(Statistics("(1, 1, -1, -1), (2, 1, 0, -1)"),
                ElementsAre("1 | NULL | NULL | NULL | NULL"));
}

TEST_F(SiteContentForum, RemovedRootsBelowALiveOneAreWrittenAndThoseAboveTheLastAreNot) {
    EXPECT_THAT(Statistics("(1, 1, -1, -1), (2, 2, 0, -1), (3, 3, -1, -1), (4, 4, 0, -1), (5, 5, "
                           "-1, -1)"),
                ElementsAre("1 | 1 | 1 | 1 | 1", "2 | 2 | 1 | 2 | 1", "3 | 3 | 1 | 3 | 1",
                            "4 | 4 | 1 | 4 | 1", "5 | NULL | NULL | NULL | NULL"));
}

TEST_F(SiteContentForum, RemovedPostingsCount) {
    EXPECT_THAT(Statistics("(1, 1, 0, -1), (2, 1, -1, -1)"), ElementsAre("1 | 2 | 2 | 2 | 2"));
}

TEST_F(SiteContentForum, WithoutAPublishedPostingThePublishedStatisticsStay) {
    Sql("INSERT INTO tw_7.forum(elementid, threadid, removed, published, "
        "latestpublishedelementid, publishedpostings) VALUES(1, 1, 0, 0, 77, 78);");
    EXPECT_THAT(Statistics("(2, 1, 0, 0)"), ElementsAre("1 | 2 | 2 | 77 | 78"));
}

TEST_F(SiteContentForum, MoreThreadsThanAPageAreWalkedToTheEnd) {
    std::string postings;
    for (int id = 1; id <= 120; ++id) {
        postings +=
            (id > 1 ? ", (" : "(") + std::to_string(id) + ", " + std::to_string(id) + ", 0, -1)";
    }
    const auto statistics = Statistics(postings);
    ASSERT_EQ(120u, statistics.size());
    EXPECT_EQ("120 | 120 | 1 | 120 | 1", statistics.back());
}

// --- E-mails ------------------------------------------------------------------------------------

class SiteContentEmails : public SiteContentTest {
  protected:
    void SetUp() override { LoadContentSite({}); }
};

TEST_F(SiteContentEmails, MoreThanTwoPagesAreConverted) {
    for (int id = 1; id <= 45; ++id) {
        Sql("INSERT INTO tw_7.email(emailid, message) VALUES(" + std::to_string(id * 3) + ", '<" +
            std::to_string(id) + ">');");
    }
    RunStep("SiteContentStep_1_0043", 7);
    EXPECT_EQ("45", Cell("SELECT COUNT(*) FROM tw_7.email WHERE message = CONCAT('&lt;', emailid "
                         "DIV 3, '&gt;') AND tolist = ''"));
}

TEST_F(SiteContentEmails, AnInterruptedConversionIsNeverCompleted) {
    Sql("INSERT INTO tw_7.email(emailid, message) VALUES(1, '<a>'), (2, '<b>'), (3, '<c>');");
    const auto faulty = Faulty();
    // DESCRIBE, ALTER TABLE, SELECT, UPDATE of the first, UPDATE of the second.
    faulty->FailAt(5, FaultyUtility::kBefore);
    EXPECT_THROW(RunStep("SiteContentStep_1_0043", 7, faulty), InjectedFault);
    faulty->Heal();
    RunStep("SiteContentStep_1_0043", 7, faulty);
    EXPECT_THAT(Rows("SELECT message FROM tw_7.email ORDER BY emailid"),
                ElementsAre("&lt;a&gt;", "<b>", "<c>"));
}

TEST_F(SiteContentEmails, ASubjectThatOutgrowsItsColumnIsNotTruncated) {
    Sql("INSERT INTO tw_7.email(emailid, subject) VALUES(1, CONCAT('<', REPEAT('x', 254)));");
    EXPECT_THROW(RunStep("SiteContentStep_1_0043", 7), HostError);
    EXPECT_EQ("255", Cell("SELECT LENGTH(subject) FROM tw_7.email"));
}

// --- Files --------------------------------------------------------------------------------------

class SiteContentFiles : public SiteContentTest {
  protected:
    void SetUp() override {
        LoadContentSite();
        WriteFile("templates/site/root.txt", "new root");
        WriteFile("templates/site/gs/deep.txt", "new gs");
        WriteFile("templates/site/EmailTest/mail.txt", "new mail");
        WriteFile("templates/site/ServerManager/server.txt", "new server");
        WriteFile("wwwroot/sites/7/root.txt", "old root");
        WriteFile("wwwroot/sites/7/own.txt", "the site's own");
    }
    /// Every file of the site's web folder below the given one, with its content.
    std::vector<std::string> SiteFiles() {
        std::vector<std::string> files;
        const auto folder = Root() / "wwwroot/sites/7";
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file()) {
                const auto path = std::filesystem::relative(entry.path(), folder).string();
                files.push_back(path + " = " + ReadFile("wwwroot/sites/7/" + path));
            }
        }
        return files;
    }
};

TEST_F(SiteContentFiles, TheStepsCopyTheFoldersThatTheyName) {
    const std::string own = "own.txt = the site's own";
    RunStep("SiteContentStep_1_0063", 7);
    EXPECT_THAT(SiteFiles(),
                UnorderedElementsAre(own, "root.txt = old root", "EmailTest/mail.txt = new mail"));
    RunStep("SiteContentStep_1_0074", 7);
    EXPECT_THAT(SiteFiles(), Contains("ServerManager/server.txt = new server"));
    RunStep("SiteContentStep_1_0098", 7);
    EXPECT_THAT(SiteFiles(), Contains("gs/deep.txt = new gs"));
    EXPECT_THAT(SiteFiles(), Contains("root.txt = old root"));
    RunStep("SiteContentStep_1_0011", 7);
    EXPECT_THAT(SiteFiles(), UnorderedElementsAre(
                                 own, "root.txt = new root", "EmailTest/mail.txt = new mail",
                                 "ServerManager/server.txt = new server", "gs/deep.txt = new gs"));
}

TEST_F(SiteContentFiles, LayoutsRenewTheSitesFilesToo) {
    RunStep("SiteContentStep_1_0026", 7);
    EXPECT_THAT(SiteFiles(), UnorderedElementsAre("own.txt = the site's own", "root.txt = new root",
                                                  "gs/deep.txt = new gs"));
}

TEST_F(SiteContentFiles, ComponentTemplatesReplaceThoseOfTheirPages) {
    const auto folderOf = [&](int componentId) {
        return Cell("SELECT foldername FROM tw_tarnwick.component WHERE componentid = " +
                    std::to_string(componentId));
    };
    WriteFile("components/" + folderOf(300) + "/template/page.txt", "new 300");
    WriteFile("components/" + folderOf(900) + "/template/page.txt", "new 900");
    Sql("INSERT INTO tw_7.feature(featureid, componentid) VALUES(1, 300), (2, 900), (3, 400), (4, "
        "300);");
    for (const char* page : {"1", "2", "3"}) {
        WriteFile(std::string("wwwroot/sites/7/") + page + "/page.txt", "old");
    }
    RunStep("SiteContentStep_1_0016", 7);
    EXPECT_EQ("new 300", ReadFile("wwwroot/sites/7/1/page.txt"));
    EXPECT_EQ("old", ReadFile("wwwroot/sites/7/2/page.txt"));
    RunStep("SiteContentStep_1_0022", 7);
    EXPECT_EQ("new 900", ReadFile("wwwroot/sites/7/2/page.txt"));
    EXPECT_EQ("old", ReadFile("wwwroot/sites/7/3/page.txt"));
    EXPECT_FALSE(std::filesystem::exists(Root() / "wwwroot/sites/7/4"));
    Sql("INSERT INTO tw_7.form(formfeatureid) VALUES(1), (4);");
    WriteFile("wwwroot/sites/7/1/page.txt", "changed");
    RunStep("SiteContentStep_1_0091", 7);
    EXPECT_EQ("new 300", ReadFile("wwwroot/sites/7/1/page.txt"));
}

// --- robots.txt ---------------------------------------------------------------------------------

class SiteContentRobots : public SiteContentTest {
  protected:
    void SetUp() override { LoadContentSite({}); }
    void SetPages(int defaultFeature, int siteFeature) {
        Sql("UPDATE tw_tarnwick.site SET defaultfeatureid = " + std::to_string(defaultFeature) +
            ", sitefeatureid = " + std::to_string(siteFeature) + " WHERE siteid = 7;");
    }
    std::vector<std::string> PlainTexts() {
        return Rows(
            "SELECT featureid, subfeatureid, HEX(text) FROM tw_7.plaintext ORDER BY "
            "featureid, subfeatureid");
    }
    static constexpr const char* kFile = "wwwroot/sites/7/robots.txt";
};

TEST_F(SiteContentRobots, TheFileBecomesTextOfTheHomePageByteForByte) {
    SetPages(5, 6);
    WriteFile(kFile, "a\r\nb'\\\n");
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), ElementsAre("5 | 0 | 610D0A62275C0A"));
    EXPECT_EQ("a\r\nb'\\\n", ReadFile(kFile));
    WriteFile(kFile, "later");
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), ElementsAre("5 | 0 | 610D0A62275C0A"));
}

TEST_F(SiteContentRobots, WithoutADefaultPageTheSitesPageIsTheHomePage) {
    SetPages(0, 6);
    WriteFile(kFile, "x");
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), ElementsAre("6 | 0 | 78"));
}

TEST_F(SiteContentRobots, WithoutAPageOrAFileNothingHappens) {
    SetPages(0, 0);
    WriteFile(kFile, "x");
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), IsEmpty());
    SetPages(5, 6);
    std::filesystem::remove(Root() / kFile);
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), IsEmpty());
}

TEST_F(SiteContentRobots, AnEmptyFileIsAnEmptyText) {
    SetPages(5, 6);
    WriteFile(kFile, "");
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), ElementsAre("5 | 0 | "));
}

TEST_F(SiteContentRobots, ALinkOutOfTheSitesFolderIsNoFileOfTheSite) {
    SetPages(5, 6);
    WriteFile("secret.txt", "not for the public");
    WriteFile("wwwroot/sites/7/other.txt", "x");
    std::filesystem::create_symlink(Root() / "secret.txt", Root() / kFile);
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), IsEmpty());
    std::filesystem::remove(Root() / kFile);
    std::filesystem::create_symlink("other.txt", Root() / kFile);
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), ElementsAre("5 | 0 | 78"));
}

TEST_F(SiteContentRobots, ACircleOfLinksIsNoFile) {
    SetPages(5, 6);
    WriteFile("wwwroot/sites/7/other.txt", "x");
    std::filesystem::create_symlink("robots.txt", Root() / kFile);
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(PlainTexts(), IsEmpty());
}

TEST_F(SiteContentRobots, AVolumeThatFailsEndsTheStep) {
    SetPages(5, 6);
    WriteFile(kFile, "x");
    for (const char* place : {"wwwroot/sites/7", kFile}) {
        const FailingVolume volume(Root() / place, EIO);
        try {
            RunStep("SiteContentStep_1_0030", 7);
            FAIL() << "the file would be left out forever";
        } catch (const FileError& error) {
            EXPECT_EQ(error.what(),
                      "cannot access " + (Root() / place).string() + ": Input/output error");
        }
    }
}

TEST_F(SiteContentRobots, AFileThatMayNotBeLookedAtIsNotTakenForMissing) {
    SetPages(5, 6);
    WriteFile(kFile, "x");
    const LockedFolder locked(Root(), Root() / "wwwroot/sites/7");
    try {
        RunStep("SiteContentStep_1_0030", 7);
        FAIL() << "the file would be left out forever";
    } catch (const FileError& error) {
        EXPECT_EQ(error.what(),
                  "cannot access " + (Root() / kFile).string() + ": Permission denied");
    }
}

// --- An old central database --------------------------------------------------------------------

class SiteContentUnderAnOldCentralDatabase : public SiteContentTest {
  protected:
    void SetUp() override {
        LoadLogs(7);
        LoadCentral();  // 1.0000
        LoadSite(7, sample::AllGroups(), Age{.schema = kCurrentVersion, .content = 1.0});
    }
};

TEST_F(SiteContentUnderAnOldCentralDatabase, TheSitesPageIsTheHomePage) {
    Sql("UPDATE tw_tarnwick.site SET sitefeatureid = 6 WHERE siteid = 7;");
    WriteFile("wwwroot/sites/7/robots.txt", "x");
    RunStep("SiteContentStep_1_0030", 7);
    EXPECT_THAT(Rows("SELECT featureid, text FROM tw_7.plaintext"), ElementsAre("6 | x"));
}

TEST_F(SiteContentUnderAnOldCentralDatabase, CommissionsAskForItsUpgrade) {
    RunStep("SiteContentStep_1_0223", 7);  // no commission, no need
    Sql("INSERT INTO tw_7.commission(commissionid, orderid) VALUES(1, 3);");
    const RowSnapshot before = RowsOf("tw_tarnwick");
    try {
        RunStep("SiteContentStep_1_0223", 7);
        FAIL() << "no error";
    } catch (const OutdatedCentralDatabaseError& error) {
        EXPECT_THAT(error.what(),
                    HasSubstr("tw_tarnwick.accountpayment has no column cartorderid"));
        EXPECT_THAT(error.what(), HasSubstr("upgrade the central database first"));
    }
    EXPECT_TRUE(SameRows(before, RowsOf("tw_tarnwick")));
}

// --- Pages of rows ------------------------------------------------------------------------------

class SiteContentPages : public SiteContentTest {};

// 120 rows of each kind, so that every walk needs three pages and an empty one.
TEST_F(SiteContentPages, EveryWalkGoesOnBeyondItsFirstPage) {
    LoadContentSite();
    constexpr const char* kNumbers = " FROM (SELECT seq AS n FROM tw_7.seq_1_to_120) numbers;";
    Sql(std::string("INSERT INTO tw_7.feature(featureid, componentid) SELECT n, 100") + kNumbers +
        "INSERT INTO tw_7.feature(featureid, componentid) SELECT n + 1000, 1000" + kNumbers +
        "INSERT INTO tw_7.feature(featureid, componentid) SELECT n + 2000, 400" + kNumbers +
        "INSERT INTO tw_7.feature(featureid, componentid) SELECT n + 3000, 900" + kNumbers +
        "INSERT INTO tw_7.override(overrideid, featureid) SELECT n, n" + kNumbers +
        "INSERT INTO tw_7.override(overrideid, featureid) SELECT n + 200, n + 4000" + kNumbers +
        "INSERT INTO tw_7.setting(overrideid, name, type, text) SELECT n, 'RegistrationText', "
        "'text', n" +
        kNumbers +
        "INSERT INTO tw_7.setting(overrideid, name, type, string_value) SELECT n, 'canonical', "
        "'string', n" +
        kNumbers +
        "INSERT INTO tw_7.setting(overrideid, name, type, text) SELECT n + 200, "
        "'ExplicitLayoutElements', 'text', '1'" +
        kNumbers +
        "INSERT INTO tw_7.layoutelement(elementid, featureid, name, sequence) SELECT n, n + 4000, "
        "'e', 1" +
        kNumbers + "INSERT INTO tw_7.text(featureid, text) SELECT n + 2000, 'content'" + kNumbers +
        "INSERT INTO tw_7.text(featureid, texttype, text) SELECT n + 2000, 22, 'found'" + kNumbers +
        "INSERT INTO tw_7.text(featureid, subfeatureid, text) SELECT n + 3000, 2, 'third'" +
        kNumbers + "INSERT INTO tw_7.security(address1) SELECT n" + kNumbers +
        "INSERT INTO tw_7.customerorder(shippingaddress2) SELECT n" + kNumbers +
        "INSERT INTO tw_7.form(formfeatureid) SELECT n + 5000" + kNumbers +
        "INSERT INTO tw_7.layoutzone(zoneid, elementid) VALUES(1, 9);"
        "INSERT INTO tw_7.tag(name, templateid) SELECT '.LOzone1', n DIV 2" +
        kNumbers + "INSERT INTO tw_7.tag(name, overrideid) SELECT '.heading', n" + kNumbers);
    for (const char* step :
         {"SiteContentStep_1_0008", "SiteContentStep_1_0017", "SiteContentStep_1_0019",
          "SiteContentStep_1_0026", "SiteContentStep_1_0031", "SiteContentStep_1_0044",
          "SiteContentStep_1_0054", "SiteContentStep_1_0055", "SiteContentStep_1_0061",
          "SiteContentStep_1_0091", "SiteContentStep_1_0222", "SiteContentStep_1_0237"}) {
        RunStep(step, 7);
    }
    const auto count = [&](const std::string& what) {
        return Cell("SELECT COUNT(*) FROM tw_7." + what);
    };
    EXPECT_EQ("120", count("event WHERE name = 'Reset Password'"));
    EXPECT_EQ("120", count("event WHERE name = 'Order Payment'"));
    EXPECT_EQ("120", count("tag WHERE name = 'h1'"));
    EXPECT_EQ("120", count("text WHERE text = '<p>found</p>'"));
    EXPECT_EQ("120", count("setting WHERE name = 'LayoutElementIds'"));
    EXPECT_EQ("0", count("setting WHERE name = 'ExplicitLayoutElements'"));
    EXPECT_EQ("120", count("feature WHERE componentid = 400 AND blankcontent = 0"));
    EXPECT_EQ("120", count("text WHERE texttype = 20"));
    EXPECT_EQ("120", count("setting WHERE name = 'BillingDisplaySequence'"));
    EXPECT_EQ("120", count("security WHERE address = address1"));
    EXPECT_EQ("120", count("customerorder WHERE shippingaddress = shippingaddress2"));
    EXPECT_EQ("61", count("tag WHERE name = '.LOzone1' AND subownerid = 9"));  // 0 to 60
    EXPECT_EQ("61", count("tag WHERE name = '.LOzone1'"));
    EXPECT_EQ("120", count("setting WHERE name = 'FormFeatureId'"));
    EXPECT_EQ("120", count("text WHERE subfeatureid = 3"));
    EXPECT_EQ("120", count("directurl WHERE canonical = -1"));
}

}  // namespace
}  // namespace twupdate::test
