#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "support/failing_volume.h"
#include "support/locked_folder.h"
#include "support/temporary_folder.h"
#include "unit/site_schema_fixture.h"

namespace twupdate::test {

static std::vector<StepCase> Cases() {
    const std::string number = "INT DEFAULT 0 NOT NULL";
    const auto output =
        Where("formtemplatefield", Adds("formtemplatefield.outputtype", "INT DEFAULT -1 NOT NULL"),
              Adds("formtemplatefield.urlencode", "BOOL DEFAULT 0 NOT NULL"),
              Indexes("formtemplatefield", "featureid_idx", "featureid"));
    return {
        {"SiteSchemaStep_1_0251",
         Join(Where("oauthconsumer", Adds("oauthconsumer.callbackusernameparam",
                                          "VARCHAR(255) DEFAULT '' NOT NULL")),
              Where("queryfieldsrc", Adds("queryfieldsrc.subtype", number)),
              Where("queryjoin", Adds("queryjoin.srcfieldsubtype", number),
                    Adds("queryjoin.objfieldsubtype", number)),
              Where("formfield",
                    Queries("SELECT featureid, formfieldid FROM tw_7.formfield "
                            "WHERE type IN('file', 'image');"),
                    TestsTable("form_50"), TestsColumn("form_50"),
                    Queries("SELECT securefiles FROM tw_7.form WHERE formfeatureid = 50;"),
                    Adds("form_50.field_5_filesize", "DOUBLE DEFAULT -1 NOT NULL"),
                    Adds("form_50.field_5_filetype", "VARCHAR(20) DEFAULT '' NOT NULL"),
                    Queries("SELECT replyid, field_5 FROM tw_7.form_50 WHERE field_5 <> '' "
                            "ORDER BY replyid LIMIT 0,50;")))},
        {"SiteSchemaStep_1_0252",
         Join(Adds("textcache.ref3", number), Indexes("textcache", "ref3_idx", "ref3"))},
        {"SiteSchemaStep_1_0257",
         Where("formtemplateviewfield",
               Adds("formtemplateviewfield.float_value", "FLOAT DEFAULT 0 NOT NULL"),
               Sends("CREATE TABLE IF NOT EXISTS tw_7.queryindex("
                     "queryid INT DEFAULT 0 NOT NULL, "
                     "tabletype INT DEFAULT 0 NOT NULL, "
                     "srctableid INT DEFAULT 0 NOT NULL, "
                     "srcfieldid INT DEFAULT 0 NOT NULL, "
                     "indextype INT DEFAULT 0 NOT NULL, "
                     "INDEX queryid_idx(queryid), INDEX srctableid_idx(srctableid), "
                     "INDEX srcfieldid_idx(srcfieldid) );"))},
        {"SiteSchemaStep_1_0259", output},
        {"SiteSchemaStep_1_0260",
         // Columns and index are there since 1.0259.
         Join(Where("formtemplatefield", TestsColumn("formtemplatefield"),
                    TestsColumn("formtemplatefield"), TestsIndex("formtemplatefield")),
              Where("basket", Indexes("basket", "orderid_idx", "orderid")))},
        {"SiteSchemaStep_1_0262", Adds("textembedproperty.longstring_value", "LONGTEXT")},
        {"SiteSchemaStep_1_0264",
         Join(Where("formtemplateinstance",
                    Adds("formtemplateinstance.cachettl", "INT DEFAULT -1 NOT NULL")),
              Sends("CREATE TABLE IF NOT EXISTS tw_7.htmlcache("
                    "featureid INT DEFAULT 0 NOT NULL, "
                    "queryinstanceid INT DEFAULT 0 NOT NULL, "
                    "startpoint INT DEFAULT 0 NOT NULL, "
                    "parentparamhash VARCHAR(32) DEFAULT '' NOT NULL, "
                    "querycookiehash VARCHAR(32) DEFAULT '' NOT NULL, "
                    "userid INT DEFAULT 0 NOT NULL, "
                    "usergrouphash VARCHAR(32) DEFAULT '' NOT NULL, "
                    "quirkstype INT DEFAULT 0 NOT NULL, "
                    "ietype INT DEFAULT 0 NOT NULL, "
                    "ielt9type INT DEFAULT 0 NOT NULL, "
                    "filename VARCHAR(100), "
                    "expirydate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
                    "loggedintype INT DEFAULT 0 NOT NULL, "
                    "associateid INT DEFAULT 0 NOT NULL, "
                    "PRIMARY KEY(featureid, queryinstanceid, filename), "
                    "INDEX expirydate_idx(expirydate) );"))},
    };
}

[[maybe_unused]] static const StepCases kCases(Cases);

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// Site 7 with form 50, whose field 5 holds uploaded files, in a folder of its own.
class UploadedFiles : public SiteSchema {
  protected:
    UploadedFiles() {
        host->installFolder = folder / "root/bin";
        folder.MakeFolder("root/wwwroot/sites/7/files");
        Tables().AddTable("tw_7", "formfield(formfieldid INT, featureid INT, type VARCHAR(20))");
        Tables().AddTable("tw_7", "form(formfeatureid INT, securefiles BOOL)");
        Tables().AddTable("tw_7", "form_50(replyid INT, field_5 VARCHAR(255))");
        host->Answer(
            "SELECT featureid, formfieldid FROM tw_7.formfield WHERE type IN('file', 'image');",
            {{"featureid", "formfieldid"}, {{50, 5}}});
    }

    static std::string BatchQuery(int offset) {
        return "SELECT replyid, field_5 FROM tw_7.form_50 WHERE field_5 <> '' ORDER BY replyid "
               "LIMIT " +
               std::to_string(offset) + ",50;";
    }

    /// Records 1, 2, … with these values, in batches.
    void Records(const std::vector<std::string>& values) {
        for (std::size_t offset = 0; offset < values.size(); offset += 50) {
            ResultSet batch{{"replyid", "field_5"}, {}};
            for (std::size_t i = offset; i < std::min(offset + 50, values.size()); ++i) {
                batch.rows.push_back({static_cast<std::int32_t>(i + 1), values[i]});
            }
            host->Answer(BatchQuery(static_cast<int>(offset)), batch);
        }
    }

    void SecureFiles(const Value& flag) {
        host->Answer("SELECT securefiles FROM tw_7.form WHERE formfeatureid = 50;",
                     {{"securefiles"}, {{flag}}});
    }

    /// The parameters of every UPDATE that the step sent, such as "[12, pdf, 1]".
    std::vector<std::string> Measured() {
        Run("SiteSchemaStep_1_0251");
        EXPECT_EQ(host->openRecordsets, 0);
        std::vector<std::string> parameters;
        for (const std::string& line : host->Lines("command")) {
            const std::string statement =
                "UPDATE tw_7.form_50 SET field_5_filesize = ?, field_5_filetype = ? "
                "WHERE replyid = ?; ";
            EXPECT_TRUE(line.starts_with(statement)) << line;
            parameters.push_back(line.substr(statement.size()));
        }
        return parameters;
    }

    TemporaryFolder folder;
};

TEST_F(UploadedFiles, AFieldWithoutItsColumnIsSkippedWithoutCompanionColumns) {
    Tables().DropTable("tw_7", "form_50");
    Tables().AddTable("tw_7", "form_50(replyid INT, field_4 VARCHAR(255))");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0251"), IsEmpty());
}

TEST_F(UploadedFiles, AFieldWithoutItsFormTableIsSkipped) {
    Tables().DropTable("tw_7", "form_50");
    EXPECT_THAT(ChangesOf("SiteSchemaStep_1_0251"), IsEmpty());
}

TEST_F(UploadedFiles, TheFieldsBehindASkippedOneAreCompleted) {
    Tables().AddTable("tw_7", "form_40(replyid INT, field_5 VARCHAR(255))");
    const auto secondHost = std::make_shared<RecordingHost>();
    secondHost->catalogue = Tables();
    secondHost->installFolder = host->installFolder;
    secondHost->Answer(
        "SELECT featureid, formfieldid FROM tw_7.formfield WHERE type IN('file', 'image');",
        {{"featureid", "formfieldid"}, {{39, 4}, {40, 4}, {40, 5}}});  // no table, no column, both
    update.Configure(secondHost);
    Run("SiteSchemaStep_1_0251");
    EXPECT_THAT(secondHost->Lines("execute"),
                ElementsAre(HasSubstr("form_40 ADD COLUMN field_5_filesize"),
                            HasSubstr("form_40 ADD COLUMN field_5_filetype")));
}

TEST_F(UploadedFiles, FilesOfAnOpenFormLieInTheWebFolderOfTheSite) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "twelve bytes");
    folder.Write("root/sites_secure/7/files/a.pdf", "another length");
    Records({"../files/a.pdf"});
    EXPECT_THAT(Measured(), ElementsAre("[12, pdf, 1]"));
}

TEST_F(UploadedFiles, FilesOfASecureFormLieInTheSecureFolderOfTheSite) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "twelve bytes");
    folder.Write("root/sites_secure/7/files/a.pdf", "another length");
    Records({"../files/a.pdf"});
    SecureFiles(kTrue);
    EXPECT_THAT(Measured(), ElementsAre("[14, pdf, 1]"));
}

TEST_F(UploadedFiles, TheFlagOfOneFieldIsNotCarriedToTheNext) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "twelve bytes");
    folder.Write("root/sites_secure/7/files/a.pdf", "another length");
    Tables().AddTable("tw_7", "form_40(replyid INT, field_5 VARCHAR(255))");
    const auto secondHost = std::make_shared<RecordingHost>();
    secondHost->catalogue = Tables();
    secondHost->installFolder = host->installFolder;
    secondHost->Answer(
        "SELECT featureid, formfieldid FROM tw_7.formfield WHERE type IN('file', 'image');",
        {{"featureid", "formfieldid"}, {{40, 5}, {50, 5}}});
    secondHost->Answer("SELECT securefiles FROM tw_7.form WHERE formfeatureid = 40;",
                       {{"securefiles"}, {{kTrue}}});
    secondHost->Answer(BatchQuery(0), {{"replyid", "field_5"}, {{1, "../files/a.pdf"}}});
    update.Configure(secondHost);
    Run("SiteSchemaStep_1_0251");  // form 50 has no row in `form`
    EXPECT_THAT(secondHost->Lines("command"), ElementsAre(HasSubstr("[12, pdf, 1]")));
}

TEST_F(UploadedFiles, HundredAndTwentyValuesAreReadInThreeBatchesAndAnEmptyOne) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "x");
    Records(std::vector<std::string>(120, "../files/a.pdf"));
    EXPECT_EQ(Measured().size(), 120U);
    std::vector<std::string> batches;
    for (const std::string& query : host->Lines("query")) {
        if (query.starts_with("SELECT replyid")) {
            batches.push_back(query);
        }
    }
    EXPECT_THAT(batches,
                ElementsAre(BatchQuery(0), BatchQuery(50), BatchQuery(100), BatchQuery(150)));
    EXPECT_EQ(host->Lines("command").back(),
              "UPDATE tw_7.form_50 SET field_5_filesize = ?, field_5_filetype = ? "
              "WHERE replyid = ?; [1, pdf, 120]");
}

TEST_F(UploadedFiles, FiftyValuesAreFollowedByAnEmptyBatch) {
    Records(std::vector<std::string>(50, "../files/missing.pdf"));
    EXPECT_THAT(Measured(), IsEmpty());
    EXPECT_EQ(host->Lines("query").back(), BatchQuery(50));
}

TEST_F(UploadedFiles, AValueThatDoesNotBeginWithAParentStepIsLeftAlone) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "x");
    Records({"files/a.pdf", "/files/a.pdf", "..\\files\\a.pdf", "..", "./../files/a.pdf", "x",
             "xx/files/a.pdf", "/./files/a.pdf"});
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, AMissingFileIsLeftUnmeasured) {
    Records({"../files/missing.pdf", "../missing/a.pdf"});
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, ASiteWithoutFoldersIsLeftUnmeasured) {
    SecureFiles(kTrue);
    Records({"../files/a.pdf"});
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, ASiteFolderThatMayNotBeLookedAtEndsTheStep) {
    Records({"../files/a.pdf"});
    const LockedFolder locked(folder.Path(), folder / "root/wwwroot/sites");
    try {
        Run("SiteSchemaStep_1_0251");
        FAIL() << "no file would be measured, ever";
    } catch (const FileError& error) {
        EXPECT_EQ(error.what(), "cannot access " + (folder / "root/wwwroot/sites/7").string() +
                                    ": Permission denied");
    }
}

// Stored as unmeasured they would stay so: no later step looks again.
TEST_F(UploadedFiles, AVolumeThatFailsEndsTheStep) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "x");
    Records({"../files/a.pdf"});
    for (const char* place : {"root/wwwroot/sites/7", "root/wwwroot/sites/7/files"}) {
        for (const int error : {EIO, ESTALE}) {
            const FailingVolume volume(folder / place, error);
            try {
                Run("SiteSchemaStep_1_0251");
                FAIL() << place;
            } catch (const FileError& failure) {
                EXPECT_THAT(failure.what(),
                            AllOf(HasSubstr("cannot access " + (folder / place).string()),
                                  HasSubstr(std::generic_category().message(error))));
            }
            host->openRecordsets = 0;  // given up, not closed
        }
    }
    EXPECT_THAT(Measured(), ElementsAre("[1, pdf, 1]"));
}

TEST_F(UploadedFiles, ASiteFolderThatIsACircleOfLinksEndsTheStep) {
    std::filesystem::remove_all(folder / "root/wwwroot/sites/7");
    std::filesystem::create_directory_symlink("7", folder / "root/wwwroot/sites/7");
    Records({"../files/a.pdf"});
    EXPECT_THROW(Run("SiteSchemaStep_1_0251"), FileError);
    host->openRecordsets = 0;  // given up, not closed
}

// A link that is in the site's folder counts as a visitor's, also one to another volume.
TEST_F(UploadedFiles, AFolderOfUploadsThatIsALinkOutOfTheSitesFolderIsNotFollowed) {
    folder.Write("volume2/files/a.pdf", "abc");
    std::filesystem::remove_all(folder / "root/wwwroot/sites/7/files");
    std::filesystem::create_directory_symlink(folder / "volume2/files",
                                              folder / "root/wwwroot/sites/7/files");
    Records({"../files/a.pdf"});
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, AFolderOfAVisitorsChoiceThatMayNotBeLookedAtDoesNotEndTheUpgrade) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "x");
    Records({"../files/a.pdf"});
    const LockedFolder locked(folder.Path(), folder / "root/wwwroot/sites/7/files");
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, AnEmptyFileHasSizeZeroAndAFileWithoutExtensionNoType) {
    folder.Write("root/wwwroot/sites/7/files/README", "");
    folder.Write("root/wwwroot/sites/7/files/Photo.JPeG", "abc");
    folder.Write("root/wwwroot/sites/7/files/a.tar.gz", "abcd");
    folder.Write("root/wwwroot/sites/7/files/a.part-2", "abcde");
    Records({"../files/README", "../files/Photo.JPeG", "../files/a.tar.gz", "../files/a.part-2"});
    EXPECT_THAT(Measured(), ElementsAre("[0, , 1]", "[3, jpeg, 2]", "[4, gz, 3]", "[5, , 4]"));
}

TEST_F(UploadedFiles, AnExtensionLongerThanTheColumnIsNoType) {
    const std::string twenty(20, 'x');
    folder.Write("root/wwwroot/sites/7/files/a." + twenty, "ab");
    folder.Write("root/wwwroot/sites/7/files/a." + twenty + "y", "abc");
    Records({"../files/a." + twenty, "../files/a." + twenty + "y"});
    EXPECT_THAT(Measured(), ElementsAre("[2, " + twenty + ", 1]", "[3, , 2]"));
}

TEST_F(UploadedFiles, ABackslashSeparatesNamesToo) {
    folder.Write("root/wwwroot/sites/7/files/sub/a.pdf", "abc");
    Records({"../files\\sub\\a.pdf"});
    EXPECT_THAT(Measured(), ElementsAre("[3, pdf, 1]"));
}

TEST_F(UploadedFiles, AFurtherParentStepWithinTheSiteIsFollowed) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "abc");
    Records({"../files/../files/a.pdf", "../nowhere/../files/a.pdf"});
    EXPECT_THAT(Measured(), ElementsAre("[3, pdf, 1]", "[3, pdf, 2]"));
}

TEST_F(UploadedFiles, NoValueLeadsOutOfTheFolderOfTheSite) {
    folder.Write("root/wwwroot/sites/8/files/a.pdf", "another site");
    folder.Write("root/wwwroot/sites/70/files/a.pdf", "a site whose id begins alike");
    folder.Write("root/sites_secure/7/files/a.pdf", "secure");
    folder.Write("secret.txt", "outside");
    const std::string outside = (folder / "secret.txt").string();
    Records({"../../8/files/a.pdf", "../files/../../8/files/a.pdf", "../..\\8\\files\\a.pdf",
             "../../../../sites_secure/7/files/a.pdf", "../../../../../secret.txt",
             "../../70/files/a.pdf", "../" + outside, "..//" + outside,
             "../../7/../8/files/a.pdf"});
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, ALinkOutOfTheFolderOfTheSiteIsNotFollowed) {
    folder.Write("secret.txt", "outside");
    folder.Write("root/wwwroot/sites/8/a.pdf", "another site");
    const auto files = folder / "root/wwwroot/sites/7/files";
    std::filesystem::create_symlink(folder / "secret.txt", files / "link.txt");
    std::filesystem::create_symlink("../../8", files / "neighbour");
    std::filesystem::create_symlink("nowhere", files / "dangling.txt");
    std::filesystem::create_symlink("circle.txt", files / "circle.txt");
    Records({"../files/link.txt", "../files/neighbour/a.pdf", "../files/dangling.txt",
             "../files/circle.txt"});
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, ALinkWithinTheFolderOfTheSiteIsFollowed) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "abc");
    std::filesystem::create_symlink("a.pdf", folder / "root/wwwroot/sites/7/files/link.txt");
    Records({"../files/link.txt"});
    EXPECT_THAT(Measured(), ElementsAre("[3, txt, 1]"));
}

TEST_F(UploadedFiles, ASiteFolderThatIsItselfALinkIsFollowed) {
    folder.Write("volume2/site7/files/a.pdf", "abc");
    std::filesystem::remove_all(folder / "root/wwwroot/sites/7");
    std::filesystem::create_directory_symlink(folder / "volume2/site7",
                                              folder / "root/wwwroot/sites/7");
    Records({"../files/a.pdf"});
    EXPECT_THAT(Measured(), ElementsAre("[3, pdf, 1]"));
}

TEST_F(UploadedFiles, StrangeValuesDoNotEndTheUpgrade) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "abc");
    std::string levels = "..";
    for (int i = 0; i < 5000; ++i) {
        levels += "/a";
    }
    Records({"../", "../files", "../files/", "../.", "../..", "../" + std::string(10000, 'x'),
             levels, std::string("../files/a.pdf\0.jpg", 19), std::string("../\0", 4),
             "../files/a.pdf/b", "../files/\xff\xfe", "../files/a.pdf"});
    EXPECT_THAT(Measured(), ElementsAre("[3, pdf, 12]"));
}

TEST_F(UploadedFiles, AFolderOrAPipeIsNoFile) {
    folder.MakeFolder("root/wwwroot/sites/7/files/folder.pdf");
    ASSERT_EQ(mkfifo((folder / "root/wwwroot/sites/7/files/pipe.pdf").c_str(), 0600), 0);
    Records({"../files/folder.pdf", "../files/pipe.pdf"});
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFiles, ASizeAboveTwoGigabytesIsKept) {
    folder.Write("root/wwwroot/sites/7/files/a.iso", "");
    std::filesystem::resize_file(folder / "root/wwwroot/sites/7/files/a.iso", 5000000000);
    Records({"../files/a.iso"});
    EXPECT_THAT(Measured(), ElementsAre("[5000000000, iso, 1]"));
}

TEST_F(UploadedFiles, AFailedUpdateEndsTheStepAndKeepsWhatIsMeasured) {
    folder.Write("root/wwwroot/sites/7/files/a.pdf", "abc");
    Records({"../files/a.pdf", "../files/a.pdf"});
    Run("SiteSchemaStep_1_0251");
    const auto firstUpdate = std::ranges::find_if(
        host->log, [](const std::string& line) { return line.starts_with("command "); });
    const auto calls = static_cast<std::size_t>(host->log.end() - host->log.begin());
    const auto before = static_cast<std::size_t>(firstUpdate - host->log.begin());
    // The columns are there now: two statements fewer stand before the second UPDATE.
    host->FailAt(calls + before - 2 + 2);
    EXPECT_THROW(Run("SiteSchemaStep_1_0251"), HostError);
    EXPECT_THAT(host->log.back(), HasSubstr("[3, pdf, 2]"));
    ++host->commandsClosed;  // the command that failed is given up unclosed
}

class SiteSchema_1_0251_to_1_0264 : public SiteSchema {};

TEST_F(SiteSchema_1_0251_to_1_0264, FormTemplatesAreCompletedOnASiteWithoutBaskets) {
    MakeFullSite();
    Tables().DropTable("tw_7", "basket");
    Run("SiteSchemaStep_1_0260");
    EXPECT_EQ(Tables().Definition("tw_7", "formtemplatefield", "outputtype"),
              "INT DEFAULT -1 NOT NULL");
    EXPECT_EQ(Tables().Definition("tw_7", "formtemplatefield", "urlencode"),
              "BOOL DEFAULT 0 NOT NULL");
    EXPECT_TRUE(Tables().HasIndex("tw_7", "formtemplatefield", "featureid_idx"));
}

TEST_F(SiteSchema_1_0251_to_1_0264, TheLastStepLeavesNothingToASecondRunOfTheLadder) {
    MakeFullSite();
    peer.RunSiteSchemaLadder(7, 1.0);
    const auto tables = Tables();
    host->log.clear();
    peer.RunSiteSchemaLadder(7, kCurrentVersion);
    EXPECT_THAT(host->log, IsEmpty());
    peer.RunSiteSchemaLadder(7, 1.0);
    ExpectSameTables(tables);
    EXPECT_THAT(host->Changes(), Not(Contains(HasSubstr("ADD COLUMN"))));
}

}  // namespace
}  // namespace twupdate::test
