// What the steps of the schema ladder do to rows, on a real server.
#include <filesystem>

#include "server/site_schema_site.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SiteSchemaData : public SiteSchemaOnServer {};

TEST_F(SiteSchemaData, EachKindOfLinkFieldGetsItsTargetForm) {
    LoadSite(7, {Group::kForms});
    LoadForm(7, 50, {{3, "formlink", 0, 60}, {4, "multiformlink", 0, 61}, {5, "text", 0, 99}});
    LoadForm(7, 51, {{6, "productfamily", 0, 62}, {7, "formlink", 0, 50}});
    Sql("INSERT INTO tw_7.form_50(replyid, field_3) VALUES(1, 8), (2, 0);"
        "INSERT INTO tw_7.form_51(replyid, field_7) VALUES(1, 1);"
        "INSERT INTO tw_7.formlink(linkid, formfieldid) VALUES(1, 4), (2, 4), (3, 6), (4, 77);");
    RunStep("SiteSchemaStep_1_0075", 7);
    const auto expectTargets = [this] {
        EXPECT_THAT(Rows("SELECT replyid, field_3, field_3_targetformid FROM tw_7.form_50"),
                    ElementsAre("1 | 8 | 60", "2 | 0 | 60"));
        EXPECT_THAT(Rows("SELECT replyid, field_7_targetformid FROM tw_7.form_51"),
                    ElementsAre("1 | 50"));
        // Link 4 belongs to a field that is gone.
        EXPECT_THAT(Rows("SELECT linkid, objformid FROM tw_7.formlink ORDER BY linkid"),
                    ElementsAre("1 | 61", "2 | 61", "3 | 62", "4 | 0"));
        EXPECT_THAT(Rows("SHOW COLUMNS FROM tw_7.form_50 LIKE 'field_4%'").size(), 1U);
    };
    expectTargets();
    RunStep("SiteSchemaStep_1_0077", 7);
    expectTargets();
}

// The server finds the type in any letter case; only the exact word is a link of one record.
TEST_F(SiteSchemaData, ALinkTypeInOtherLettersIsFoundButIsNoLinkOfOneRecord) {
    LoadSite(7, {Group::kForms});
    LoadForm(7, 50, {{3, "formlink", 0, 60}});
    Sql("UPDATE tw_7.formfield SET type = 'FormLink';"
        "INSERT INTO tw_7.formlink(linkid, formfieldid) VALUES(1, 3), (2, 4);");
    RunStep("SiteSchemaStep_1_0075", 7);
    EXPECT_THAT(Rows("SELECT linkid, objformid FROM tw_7.formlink ORDER BY linkid"),
                ElementsAre("1 | 60", "2 | 0"));
    EXPECT_THAT(Rows("SHOW COLUMNS FROM tw_7.form_50 LIKE 'field_3_targetformid'"), IsEmpty());
}

// On a real server too, the name is a pattern.
TEST_F(SiteSchemaData, AnUnderscoreInTheNameOfATableStandsForAnyCharacter) {
    Sql("CREATE DATABASE tw_7; CREATE TABLE tw_7.axb(a INT); CREATE TABLE tw_7.a1c(a INT);");
    Update update;
    update.Configure(Host());
    UpdateTestPeer peer(update);
    EXPECT_TRUE(peer.TableExists("tw_7", "a_b"));
    EXPECT_TRUE(peer.TableExists("tw_7", "a_c"));
    EXPECT_TRUE(peer.TableExists("tw_7", "axb"));
    EXPECT_FALSE(peer.TableExists("tw_7", "a_d"));
    EXPECT_FALSE(peer.TableExists("tw_7", "a_bb"));
}

TEST_F(SiteSchemaData, AMissingFormTableEndsTheLinkTargetsAtItsRowAndKeepsTheEarlierOnes) {
    LoadSite(7, {Group::kForms});
    LoadForm(7, 50, {{3, "formlink", 0, 60}});
    LoadForm(7, 51, {{4, "formlink", 0, 61}});
    Sql("INSERT INTO tw_7.form_50(replyid) VALUES(1); DROP TABLE tw_7.form_51;");
    try {
        RunStep("SiteSchemaStep_1_0075", 7);
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1146U);
    }
    EXPECT_EQ(Cell("SELECT field_3_targetformid FROM tw_7.form_50"), "60");
}

TEST_F(SiteSchemaData, TheFieldsWithBitThreeCompletePageParameters) {
    LoadSite(7, {Group::kForms});
    for (int options = 0; options < 32; ++options) {
        Sql("INSERT INTO tw_7.formfield(formfieldid, type, options) VALUES(" +
            std::to_string(options + 1) + ", 'text', " + std::to_string(options) + ");");
    }
    RunStep("SiteSchemaStep_1_0077", 7);
    for (int pass = 1; pass <= 2; ++pass) {
        EXPECT_THAT(Rows("SELECT options FROM tw_7.formfield WHERE pageparamcompletion = 1 "
                         "ORDER BY options"),
                    ElementsAre("8", "9", "10", "11", "12", "13", "14", "15", "24", "25", "26",
                                "27", "28", "29", "30", "31"));
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.formfield WHERE pageparamcompletion = 0"), "16");
        RunStep("SiteSchemaStep_1_0077", 7);
    }
}

TEST_F(SiteSchemaData, ExpressionPrefixesLoseTheirEntitiesAndGetTheirLengthsInBytes) {
    LoadSite(7, {Group::kForms});
    Sql("INSERT INTO tw_7.formfieldexpressionfield(expressionfieldid, prefix, suffix) VALUES"
        "(1, 'a&nbsp;b', ''), (2, 'Größe&nbsp;', ' €'), (3, '&nbsp;&nbsp;', '日本&nbsp;語'), "
        "(4, '', 'a&NBSP;b&amp;nbsp;');");
    RunStep("SiteSchemaStep_1_0091", 7);
    for (int pass = 1; pass <= 2; ++pass) {
        // ö and ß take two bytes each, € and the ideograms three; the entity is matched to the
        // letter.
        EXPECT_THAT(
            Rows("SELECT CONCAT('<', prefix, '>'), prefixlen, CONCAT('<', suffix, '>'), suffixlen "
                 "FROM tw_7.formfieldexpressionfield ORDER BY expressionfieldid"),
            ElementsAre("<a b> | 3 | <> | 0", "<Größe > | 8 | < €> | 4",
                        "<  > | 2 | <日本 語> | 10", "<> | 0 | <a&NBSP;b&amp;nbsp;> | 18"));
        RunStep("SiteSchemaStep_1_0091", 7);
    }
}

TEST_F(SiteSchemaData, TemplatePrefixesKeepTheirMarkersWhichAreNotCounted) {
    LoadSite(7, {Group::kForms, Group::kTemplates});
    RunRungsUpTo(7, 1.0052);
    Sql("INSERT INTO tw_7.formtemplatefield(formtemplatefieldid, prefix, suffix) VALUES"
        "(1, 'ab|~|c', ''), (2, 'ß|~||~|', '|~|'), (3, '|~', '日本|~|'), (4, 'a&nbsp;b', 'x');");
    for (int pass = 1; pass <= 2; ++pass) {
        RunStep("SiteSchemaStep_1_0092", 7);
        EXPECT_THAT(Rows("SELECT prefix, prefixlen, suffix, suffixlen FROM tw_7.formtemplatefield "
                         "ORDER BY formtemplatefieldid"),
                    ElementsAre("ab|~|c | 3 |  | 0", "ß|~||~| | 2 | |~| | 0",
                                "|~ | 2 | 日本|~| | 6", "a&nbsp;b | 8 | x | 1"));
    }
}

TEST_F(SiteSchemaData, IntegerFieldsBecomePageParametersOfTypeOne) {
    LoadSite(7, {Group::kForms});
    Sql("INSERT INTO tw_7.formfield(formfieldid, type) VALUES(1, 'integer'), (2, 'float'), "
        "(3, 'text');");
    RunStep("SiteSchemaStep_1_0095", 7);
    EXPECT_THAT(Rows("SELECT formfieldid, pageparamtype FROM tw_7.formfield ORDER BY formfieldid"),
                ElementsAre("1 | 1", "2 | 0", "3 | 0"));
}

TEST_F(SiteSchemaData, FeedAddressesAreCopiedOnce) {
    MakeFullSiteAt_1_0224(7);
    const std::string urls =
        "SELECT featureid, url, username, password, sequence FROM tw_7.externallookupfeedurl "
        "ORDER BY featureid";
    for (int pass = 1; pass <= 2; ++pass) {
        RunStep("SiteSchemaStep_1_0225", 7);
        EXPECT_THAT(Rows(urls), ElementsAre("16 | http://a.example/?a=1&b=2 |  |  | 1",
                                            "17 | http://b.example/ |  |  | 2"));
    }
}

TEST_F(SiteSchemaData, NoFeedAddressIsCopiedIntoATableThatExists) {
    MakeFullSiteAt_1_0224(7);
    Sql("CREATE TABLE tw_7.externallookupfeedurl(featureid INT, url VARCHAR(255), sequence INT);");
    RunStep("SiteSchemaStep_1_0225", 7);
    EXPECT_THAT(Rows("SELECT * FROM tw_7.externallookupfeedurl"), IsEmpty());
}

TEST_F(SiteSchemaData, LookupFieldsAreNumberedAndKeepTheirNumbers) {
    MakeFullSiteAt_1_0224(7);
    Sql("INSERT INTO tw_7.externallookupfeedfield(fieldid, requestparamname) VALUES(30, 'x');");
    RunRungsUpTo(7, 1.0228);
    RunStep("SiteSchemaStep_1_0229", 7);
    const auto numbered = Rows(
        "SELECT lookupfieldid, fieldid, requestparamname FROM tw_7.externallookupfeedfield "
        "ORDER BY lookupfieldid");
    EXPECT_EQ(numbered.size(), 3U);
    EXPECT_THAT(numbered, testing::UnorderedElementsAre(testing::EndsWith(" | 31 | postcode"),
                                                        testing::EndsWith(" | 32 | "),
                                                        testing::EndsWith(" | 30 | x")));
    // The index is a plain one now: two fields may share an id.
    Sql("INSERT INTO tw_7.externallookupfeedfield(fieldid) VALUES(31);");
    RunStep("SiteSchemaStep_1_0229", 7);
    auto withTheFourth = numbered;
    withTheFourth.push_back("4 | 31 | ");
    EXPECT_EQ(Rows("SELECT lookupfieldid, fieldid, requestparamname "
                   "FROM tw_7.externallookupfeedfield ORDER BY lookupfieldid"),
              withTheFourth);
}

TEST_F(SiteSchemaData, FeedParametersAreTheSameAfterTwoRuns) {
    MakeFullSiteAt_1_0224(7);
    RunRungsUpTo(7, 1.0232);
    Sql("UPDATE tw_7.externallookupfeedfield SET featureid = 16, formfieldid = 4, "
        "minrequestlength = 3, maxrequestlength = 40 WHERE fieldid = 31;");
    for (int pass = 1; pass <= 2; ++pass) {
        RunStep("SiteSchemaStep_1_0233", 7);
        // Field 32 has no parameter name and gives no row.
        EXPECT_THAT(Rows("SELECT featureid, name, type, textvalue, longvalue, sequence, minlength, "
                         "maxlength FROM tw_7.externallookupfeedparam ORDER BY sequence"),
                    ElementsAre("16 | country | 0 | GB | 0 | 1 | -1 | -1",
                                "16 | key | 0 | it's | 0 | 2 | -1 | -1",
                                "16 | postcode | 1 |  | 4 | 999 | 3 | 40"));
    }
}

TEST_F(SiteSchemaData, FeedParametersAreEmptyAfterAnInterruptionAndFullAfterTheNextRun) {
    MakeFullSiteAt_1_0224(7);
    RunRungsUpTo(7, 1.0233);
    const auto rows = RowsWithoutParameterIds(7);
    const auto faulty = Faulty();
    // Two tests of tables and a column, ALTER, the test of the feeds, CREATE, DELETE.
    faulty->FailAt(7, FaultyUtility::kAfter);
    EXPECT_THROW(RunStep("SiteSchemaStep_1_0233", 7, faulty), InjectedFault);
    EXPECT_EQ(faulty->Log().back(), "DELETE FROM tw_7.externallookupfeedparam;");
    EXPECT_THAT(Rows("SELECT * FROM tw_7.externallookupfeedparam"), IsEmpty());
    RunStep("SiteSchemaStep_1_0233", 7);
    EXPECT_TRUE(SameRows(rows, RowsWithoutParameterIds(7)));
}

TEST_F(SiteSchemaData, LongDefaultValuesKeepTheirText) {
    LoadSite(7, {Group::kForms});
    Sql("INSERT INTO tw_7.formfield(formfieldid, defaultvalue) VALUES(1, 'Visitor''s naïveté');");
    RunStep("SiteSchemaStep_1_0233", 7);
    Sql("UPDATE tw_7.formfield SET defaultvalue = CONCAT(defaultvalue, REPEAT('x', 70000));");
    RunStep("SiteSchemaStep_1_0233", 7);
    EXPECT_EQ(Cell("SELECT CHAR_LENGTH(defaultvalue) FROM tw_7.formfield"), "70017");
}

TEST_F(SiteSchemaData, EveryFeedFileLiesInTheFolderOfFeeds) {
    MakeFullSiteAt_1_0224(7);
    RunRungsUpTo(7, 1.0234);
    for (int pass = 1; pass <= 2; ++pass) {
        RunStep("SiteSchemaStep_1_0235", 7);
        EXPECT_THAT(
            Rows("SELECT queryid FROM tw_7.rssfilelookup WHERE dir IS NULL OR dir <> 'rss'"),
            IsEmpty());
        Sql("INSERT INTO tw_7.rssfilelookup(queryid, viewid, instanceid, dir) "
            "VALUES(1, 1, 1, NULL), (2, 2, 2, 'other');");
    }
    RunStep("SiteSchemaStep_1_0235", 7);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.rssfilelookup WHERE dir = 'rss'"), "4");
}

TEST_F(SiteSchemaData, ExistingRowsGetTheDefaultsOfNewColumns) {
    MakeBareSite(7);
    RunLadder(7);
    EXPECT_THAT(Rows("SELECT hidden, redirecttype, blankcontent, inlinechildnav, redirectlinktype "
                     "FROM tw_7.feature"),
                ElementsAre("0 | 302 | -1 | 0 | -1", "0 | 302 | -1 | 0 | -1"));
    EXPECT_THAT(Rows("SELECT validfrom, validuntil FROM tw_7.usergroup"),
                ElementsAre("1000-01-01 00:00:00 | 3000-01-01 00:00:00"));
}

TEST_F(SiteSchemaData, NumbersOfSinglePrecisionGoThroughSixSignificantDigits) {
    LoadSite(7, {Group::kForms});
    LoadForm(7, 50, {{1, "float"}});
    RunRungsUpTo(7, 1.0034);
    Sql("INSERT INTO tw_7.form_50(replyid, field_1) VALUES(1, 0.1), (2, 16777217), (3, -0.5), "
        "(4, 123456.789), (5, 1e20), (6, 0), (7, 99.99), (8, 1234567);");
    RunStep("SiteSchemaStep_1_0035", 7);
    EXPECT_THAT(Rows("SELECT field_1 FROM tw_7.form_50 ORDER BY replyid"),
                ElementsAre("0.1", "16777200", "-0.5", "123457", "100000000000000000000", "0",
                            "99.99", "1234570"));
}

TEST_F(SiteSchemaData, TheQueryOfTheRecoveryNotesListsTheValuesThatTheConversionChanges) {
    LoadSite(7, {Group::kForms});
    LoadForm(7, 50, {{1, "float"}});
    Sql("INSERT INTO tw_7.form_50(replyid, field_1) VALUES(1, 0.1), (2, 16777217), (3, -0.5), "
        "(4, 123456.789), (5, 1e20), (6, 0), (7, 99.99), (8, 1234567);");
    EXPECT_THAT(Rows("SELECT replyid, field_1 + 0e0, CAST(field_1 AS BINARY) FROM tw_7.form_50 "
                     "WHERE field_1 <> CAST(CAST(field_1 AS BINARY) AS FLOAT);"),
                ElementsAre("2 | 16777216 | 16777200", "4 | 123456.7890625 | 123457",
                            "8 | 1234567 | 1234570"));
}

TEST_F(SiteSchemaData, MoneyIsRoundedToTwoDecimals) {
    LoadSite(7, {Group::kForms});
    LoadForm(7, 50, {{1, "currency"}});
    Sql("INSERT INTO tw_7.form_50(replyid, field_1) VALUES(1, 19.99), (2, 0.1), (3, -2.5), "
        "(4, 10000000), (5, 0.125), (6, 0.377);");
    for (int pass = 1; pass <= 2; ++pass) {
        RunStep("SiteSchemaStep_1_0047", 7);
        EXPECT_THAT(Rows("SELECT field_1 FROM tw_7.form_50 ORDER BY replyid"),
                    ElementsAre("19.99", "0.10", "-2.50", "10000000.00", "0.13", "0.38"));
    }
}

TEST_F(SiteSchemaData, MoneyBeyondFifteenDigitsEndsTheUpgradeUnchanged) {
    LoadSite(7, {Group::kForms});
    LoadForm(7, 50, {{1, "currency"}});
    Sql("INSERT INTO tw_7.form_50(replyid, field_1) VALUES(1, 1e20);");
    try {
        RunStep("SiteSchemaStep_1_0047", 7);
        FAIL() << "no error";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1264U);
    }
    EXPECT_EQ(Cell("SELECT field_1 FROM tw_7.form_50"), "100000000000000000000");
}

/// Form 50 of site 7 with the file field 1, at 1.0250.
class UploadedFilesOnServer : public SiteSchemaOnServer {
  protected:
    void MakeForm(bool secureFiles, const std::vector<std::string>& values) {
        LoadSite(7, {Group::kForms});
        LoadForm(7, 50, {{1, "file"}}, secureFiles);
        for (std::size_t i = 0; i < values.size(); ++i) {
            Sql("INSERT INTO tw_7.form_50(replyid, field_1) VALUES(" + std::to_string(i + 1) +
                ", '" + values[i] + "');");
        }
    }
    std::vector<std::string> Measured() {
        return Rows(
            "SELECT replyid, field_1_filesize, field_1_filetype FROM tw_7.form_50 "
            "ORDER BY replyid");
    }
};

TEST_F(UploadedFilesOnServer, WithoutRecordsOnlyTheColumnsAreAdded) {
    MakeForm(false, {});
    RunStep("SiteSchemaStep_1_0251", 7);
    EXPECT_THAT(Measured(), IsEmpty());
}

TEST_F(UploadedFilesOnServer, OneRecordIsMeasured) {
    WriteFile("wwwroot/sites/7/files/a.PDF", "twelve bytes");
    MakeForm(false, {"../files/a.PDF"});
    RunStep("SiteSchemaStep_1_0251", 7);
    EXPECT_THAT(Measured(), ElementsAre("1 | 12 | pdf"));
}

TEST_F(UploadedFilesOnServer, FiftyRecordsAreMeasured) {
    WriteFile("sites_secure/7/files/a.pdf", "x");
    MakeForm(true, std::vector<std::string>(50, "../files/a.pdf"));
    RunStep("SiteSchemaStep_1_0251", 7);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.form_50 WHERE field_1_filesize = 1 AND "
                   "field_1_filetype = 'pdf'"),
              "50");
}

TEST_F(UploadedFilesOnServer, HundredAndTwentyRecordsAreEachMeasuredByTheirOwnFile) {
    std::vector<std::string> values;
    std::vector<std::string> expected;
    for (std::size_t i = 1; i <= 120; ++i) {
        const std::string name = "files/" + std::to_string(i) + ".txt";
        const std::string id = std::to_string(i);
        if (i % 7 == 0) {  // no such file
            values.push_back("../" + name);
            expected.push_back(id + " | -1 | ");
        } else if (i % 11 == 0) {  // empty values are not read
            values.emplace_back();
            expected.push_back(id + " | -1 | ");
        } else {
            WriteFile("wwwroot/sites/7/" + name, std::string(i, 'x'));
            values.push_back("../" + name);
            expected.push_back(id + " | " + id + " | txt");
        }
    }
    MakeForm(false, values);
    for (int pass = 1; pass <= 2; ++pass) {
        RunStep("SiteSchemaStep_1_0251", 7);
        EXPECT_EQ(Measured(), expected);
    }
}

TEST_F(UploadedFilesOnServer, OnlyAValueThatBeginsWithAParentStepIsMeasured) {
    WriteFile("wwwroot/sites/7/files/a.pdf", "abc");
    MakeForm(false, {"xx/files/a.pdf", "/./files/a.pdf", "..x/files/a.pdf", "/files/a.pdf",
                     " ../files/a.pdf", "../files/a.pdf"});
    RunStep("SiteSchemaStep_1_0251", 7);
    EXPECT_THAT(Measured(), ElementsAre("1 | -1 | ", "2 | -1 | ", "3 | -1 | ", "4 | -1 | ",
                                        "5 | -1 | ", "6 | 3 | pdf"));
}

TEST_F(UploadedFilesOnServer, StrangeValuesAreLeftUnmeasured) {
    WriteFile("secret.txt", "outside");
    WriteFile("wwwroot/sites/8/files/a.pdf", "another site");
    WriteFile("wwwroot/sites/7/files/a.pdf", "own");
    std::filesystem::create_symlink(Root() / "secret.txt",
                                    Root() / "wwwroot/sites/7/files/link.txt");
    MakeForm(false, {"../../8/files/a.pdf", "../files/link.txt", "..\\\\files\\\\a.pdf",
                     "../files/a.pdf\\0", "../..\\\\..\\\\..\\\\secret.txt", "files/a.pdf", "../",
                     "../files/a.pdf"});
    Sql("ALTER TABLE tw_7.form_50 MODIFY COLUMN field_1 LONGTEXT NOT NULL;"
        "INSERT INTO tw_7.form_50(replyid, field_1) VALUES(20, CONCAT('../', REPEAT('x', 10000))), "
        "(21, CONCAT('../', REPEAT('../', 10000), 'etc/passwd'));");
    RunStep("SiteSchemaStep_1_0251", 7);
    EXPECT_THAT(Measured(),
                ElementsAre("1 | -1 | ", "2 | -1 | ", "3 | -1 | ", "4 | -1 | ", "5 | -1 | ",
                            "6 | -1 | ", "7 | -1 | ", "8 | 3 | pdf", "20 | -1 | ", "21 | -1 | "));
}

}  // namespace
}  // namespace twupdate::test
