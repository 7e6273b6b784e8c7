#include <gmock/gmock.h>

#include <filesystem>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::HasSubstr;

/// Each test makes a situation, sees the finding, and sees the real upgrade fail for that reason.
class Check : public InstallationTest {
  protected:
    static Outcome Expect(const std::vector<std::string>& options, const std::string& finding) {
        auto arguments = options;
        arguments.emplace_back("check");
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 3) << outcome.out << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(finding));
        EXPECT_THAT(outcome.out, HasSubstr("1 finding."));
        return outcome;
    }

    static void UpgradeFails(const std::vector<std::string>& options, const std::string& reason,
                             int status = 1) {
        auto arguments = options;
        arguments.emplace_back("upgrade");
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.out;
        EXPECT_THAT(outcome.err, ContainsRegex(reason));
    }

    /// A copy of the data files that a test may spoil.
    fs::path CopyOfTheDataFiles() const {
        const fs::path install = folder_ / "component";
        fs::create_directories(install);
        fs::copy(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources", install / "resources",
                 fs::copy_options::recursive);
        return install;
    }
};

TEST_F(Check, FindsNothingInASoundInstallationAndWritesNothing) {
    MakeCentralDatabase();
    MakeSite(1, "1.0000", sample::AllGroups());
    MakeSite(2, "1.0000");
    const Outcome outcome = Run({"check"});
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_EQ(outcome.out, "Nothing found that would make an upgrade fail.\n");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(Run({"check"}).status, 0);
}

TEST_F(Check, FindsAMissingSiteDatabase) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSiteRow(8, "1.0000");
    Expect({}, "tw_8: the site's database is missing, so SiteSchemaStep_1_0001 fails; ");
    const std::string refusal =
        R"(1 site has no database that the user sees \(tw_8\); bring it back from a backup, or )"
        R"(mark the site hard-deleted in tw_tarnwick\.site; nothing was done)";
    UpgradeFails({}, refusal);
    // The database of the root site is needed earlier.
    Execute("DELETE FROM tw_tarnwick.site WHERE siteid = 1;");
    Execute("DELETE FROM tw_tarnwick.domain;");
    Expect({}, "tw_8: the site's database is missing, so ServerDataStep_1_0252 fails; ");
    UpgradeFails({}, refusal);
}

TEST_F(Check, FindsAMissingTable) {
    MakeCentralDatabase();
    MakeSite(8);
    Execute("DROP TABLE tw_8.layoutzone;");
    Expect({},
           "tw_8.layoutzone: the table is missing, so "
           "SiteSchemaStep_1_0005 fails; bring it back from a backup");
    UpgradeFails({}, "database tw_8, site schema ladder, step SiteSchemaStep_1_0005");
}

TEST_F(Check, FindsALeftOverColumnOfACutConversion) {
    MakeCentralDatabase();
    MakeSite(8, "1.0000", {sample::Group::kShop, sample::Group::kAffiliates});
    Execute("ALTER TABLE tw_8.commission ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;");
    Expect({},
           "tw_8.commission: a column double_temp is left over from a run that was cut, so "
           "SiteSchemaStep_1_0035 fails; ALTER TABLE tw_8.commission DROP COLUMN double_temp");
    UpgradeFails({},
                 "step SiteSchemaStep_1_0035: ALTER TABLE tw_8.commission ADD COLUMN "
                 "double_temp.*server error 1060");
    Execute("ALTER TABLE tw_8.commission DROP COLUMN double_temp;");
    EXPECT_EQ(Run({"check"}).status, 0);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST_F(Check, FindsALeftOverColumnInTheTableOfAForm) {
    MakeCentralDatabase();
    MakeSite(8, "1.0000", {sample::Group::kForms});
    Execute("INSERT INTO tw_8.formfield(formfieldid, featureid, type) VALUES(7, 50, 'float');");
    // In another site the field of the form is gone.
    MakeSite(9, "1.0000", {sample::Group::kForms});
    for (const char* form : {"tw_8.form_50", "tw_9.form_51"}) {
        Execute(std::string("CREATE TABLE ") + form +
                "(replyid INT PRIMARY KEY, field_7 FLOAT DEFAULT 0 NOT NULL, double_temp DOUBLE);");
    }
    Expect({},
           "tw_8.form_50: a column double_temp is left over from a run that was cut, so "
           "SiteSchemaStep_1_0035 fails; ALTER TABLE tw_8.form_50 DROP COLUMN double_temp");
    UpgradeFails({},
                 "step SiteSchemaStep_1_0035: ALTER TABLE tw_8.form_50 ADD COLUMN "
                 "double_temp.*server error 1060");
    Execute("ALTER TABLE tw_8.form_50 DROP COLUMN double_temp;");
    EXPECT_EQ(Run({"check"}).status, 0);
    EXPECT_EQ(Run({"upgrade", "--repair"}).status, 0);
}

TEST_F(Check, FindsALeftOverColumnInTheCentralDatabase) {
    MakeCentralDatabase();
    Execute("ALTER TABLE tw_tarnwick.account ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;");
    Expect({},
           "tw_tarnwick.account: a column double_temp is left over from a run that was cut, "
           "so ServerStep_1_0035 fails; ");
    UpgradeFails({}, "step ServerStep_1_0035: .*server error 1060");
}

TEST_F(Check, FindsBothNamesOfTheMappingTable) {
    MakeCentralDatabase();
    MakeSite(8, "1.0000", {sample::Group::kForms});
    Execute("CREATE TABLE tw_8.formmappingproperty LIKE tw_8.formloadingproperty;");
    Expect({},
           "tw_8.formloadingproperty: formmappingproperty, its later name, is there as well, "
           "so SiteSchemaStep_1_0032 fails; ");
    UpgradeFails({}, "step SiteSchemaStep_1_0032: .*server error 1050");
}

TEST_F(Check, FindsFieldsWithoutTheirFormTable) {
    MakeCentralDatabase();
    MakeSite(8, "1.0000", {sample::Group::kForms});
    Execute("INSERT INTO tw_8.formfield(featureid, type) VALUES(50, 'float');");
    Expect({},
           "tw_8.form_50: the table is missing, but formfield has float fields of it, so "
           "SiteSchemaStep_1_0035 fails; ");
    UpgradeFails({}, "step SiteSchemaStep_1_0035: .*form_50.*server error 1146");
    Execute("UPDATE tw_8.formfield SET type = 'currency';");
    Expect({},
           "tw_8.form_50: the table is missing, but formfield has currency fields of it, so "
           "SiteSchemaStep_1_0047 fails; ");
    UpgradeFails({}, "step SiteSchemaStep_1_0047: .*form_50.*server error 1146");
}

TEST_F(Check, FindsAMissingLogsDatabase) {
    MakeCentralDatabase();
    Execute("DROP DATABASE tw_logs;");
    Expect({},
           "tw_logs: the database is missing, so ServerDataStep_1_0030 fails; CREATE DATABASE "
           "tw_logs");
    UpgradeFails({}, "step ServerDataStep_1_0030: .*server error 1049");
}

TEST_F(Check, FindsMissingRights) {
    MakeCentralDatabase();
    MakeSite(8);
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_tarnwick`.* TO 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_logs`.* TO 'half'@'localhost';");
    Execute(
        "GRANT SELECT, INSERT, UPDATE, DELETE, CREATE, DROP, INDEX ON `tw\\_8`.* TO "
        "'half'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    const Outcome found = RunProgram({"--socket", socket, "--user", "half", "check"});
    EXPECT_EQ(found.status, 3) << found.err;
    EXPECT_THAT(found.out, HasSubstr("tw_8.layoutzone: the user lacks the right ALTER, so "
                                     "SiteSchemaStep_1_0005 fails; GRANT ALTER ON "
                                     "`tw_8`.* TO 'half'@'localhost'\n1 finding."));
    const Outcome failed = RunProgram(
        {"--socket", socket, "--user", "half", "--no-site-files", "--no-services", "upgrade"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, ContainsRegex("database tw_8.*ALTER TABLE.*server error 1142"));
}

TEST_F(Check, FindsAMalformedDataFile) {
    MakeCentralDatabase();
    const fs::path install = CopyOfTheDataFiles();
    const std::vector<std::string> options{"--install-folder", install.string()};
    WriteFile(install / "resources" / "componenttypeData.txt", "1\t100\n2\n");
    Expect(options,
           "componenttypeData.txt line 2 has 1 field, not 2, so ReimportReferenceData "
           "fails; ");
    UpgradeFails(options,
                 "componenttypeData.txt line 2: 1 fields where 2 must be; nothing was done");
    WriteFile(install / "resources" / "componenttypeData.txt", "1\t100\n2\tmany\n");
    Expect(options, "componenttypeData.txt line 2 has no number in field 2");
    UpgradeFails(options, "step ReimportReferenceData: .*many.*server error 1054");
}

TEST_F(Check, FindsDataThatTheTablesWillNotTake) {
    MakeCentralDatabase();
    const fs::path install = CopyOfTheDataFiles();
    const std::vector<std::string> options{"--install-folder", install.string()};
    struct Data {
        const char* file;
        std::string content;
        const char* finding;
        const char* failure;
    };
    const std::string rest = "\tfile\t0\t0\t0\t0\t0\t0\t0\t0\t0\n";
    for (const Data& data : {
             Data{"componenttype", "1\t100\n2\t100\n\n +01 \t99.5\n",
                  "line 4 has the same componenttype, componentid as line 1", "server error 1062"},
             Data{"componenttype", "8388607\t1\n8388608\t1\n",
                  "line 2 has in field 1 a number that componenttype, mediumint(9), does not hold",
                  "server error 1264"},
             Data{"componenttype", "1\t-2147483649\n", "line 1 has in field 2 a number",
                  "server error 1264"},
             Data{"component", "1\tname\tfolder\tfile\t127.5\t0\t0\t0\t0\t0\t0\t0\t0\n",
                  "line 1 has in field 5 a number", "server error 1264"},
             Data{"component", "1\tname\t" + std::string(51, 'x') + rest,
                  "line 1 has in field 3 a text longer than the 50 characters of foldername",
                  "server error 1406"},
             Data{"component", "1\tname\tfolder\\" + rest,
                  "line 1 has in field 3 a text that ends in a backslash", "server error 1064"},
         }) {
        SCOPED_TRACE(data.finding);
        WriteFile(install / "resources" / (std::string(data.file) + "Data.txt"), data.content);
        Expect(options, std::string(data.file) + "Data.txt " + data.finding);
        UpgradeFails(options, std::string("step ReimportReferenceData: .*") + data.failure);
        fs::copy(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources", install / "resources",
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    }
    // What the tables just take: blanks around numbers and behind texts, a backslash and its
    // character as one, numbers that are rounded.
    WriteFile(install / "resources" / "componentData.txt",
              "1\tname\t" + std::string(49, 'x') + "\\\\  \\n" + rest + " 2\tname\tfolder" + rest);
    WriteFile(install / "resources" / "componenttypeData.txt",
              "8388607\t-2147483648\n-8388608 \t2147483647.4\n1e2\t.5\n");
    const Outcome clean = Run({options[0], options[1], "check"});
    EXPECT_EQ(clean.status, 0) << clean.out;
    const Outcome done = Run({options[0], options[1], "upgrade"});
    EXPECT_EQ(done.status, 0) << done.err;
}

TEST_F(Check, FindsDataThatIsNotInTheCharacterSet) {
    MakeCentralDatabase();
    const fs::path install = CopyOfTheDataFiles();
    const std::vector<std::string> options{"--install-folder", install.string()};
    const auto write = [&](const std::string& first, const std::string& second = "folder") {
        const std::string rest = "\tfile\t0\t0\t0\t0\t0\t0\t0\t0\t0\n";
        WriteFile(install / "resources" / "componentData.txt",
                  "1\tname\t" + first + rest + "2\tname\t" + second + rest);
    };
    const auto change = [](const std::string& definition) {
        Execute("ALTER TABLE tw_tarnwick.component MODIFY foldername VARCHAR(50) CHARACTER SET " +
                definition + ";");
    };
    struct Data {
        const char* charset;
        const char* lacks;
        const char* has;
    };
    for (const Data& data :
         {Data{"utf8mb4", "caf\xE9", "caf\xC3\xA9\xF0\x9F\x98\x80"},
          Data{"utf8mb3", "a\xF0\x9F\x98\x80", "\xE2\x86\x92"},
          Data{"latin1", "\xE2\x86\x92", "caf\xC3\xA9"}, Data{"latin1", "\x80", "\xE2\x82\xAC"}}) {
        SCOPED_TRACE(data.charset);
        change(data.charset);
        write("folder", data.lacks);
        Expect(options,
               std::string("componentData.txt line 2 has in field 3 a text that is not in ") +
                   data.charset +
                   ", the character set of foldername, so "
                   "ReimportReferenceData fails; ");
        UpgradeFails(options, "step ReimportReferenceData: .*server error 1366");
        const Outcome lax = Run({options[0], options[1], "--sql-mode", "", "check"});
        EXPECT_EQ(lax.status, 0) << lax.out;
        write(data.has);
        EXPECT_EQ(Run({options[0], options[1], "check"}).status, 0);
    }
    // In a table without transactions a strict mode ends the statement at its first row alone.
    Execute("ALTER TABLE tw_tarnwick.component ENGINE = MyISAM;");
    write("\x80");
    Expect(options, "line 1 has in field 3 a text that is not in latin1");
    UpgradeFails(options, "step ReimportReferenceData: .*server error 1366");
    write("folder", "\x80");
    const Outcome clean = Run({options[0], options[1], "check"});
    EXPECT_EQ(clean.status, 0) << clean.out;
    const std::vector<std::string> all{options[0], options[1], "--sql-mode", "STRICT_ALL_TABLES"};
    Expect(all, "line 2 has in field 3 a text that is not in latin1");
    UpgradeFails(all, "step ReimportReferenceData: .*server error 1366");
    const Outcome done = Run({options[0], options[1], "upgrade"});
    EXPECT_EQ(done.status, 0) << done.err;
}

TEST_F(Check, FindsAColumnThatNoDataFileFills) {
    MakeCentralDatabase();
    const fs::path install = CopyOfTheDataFiles();
    const std::vector<std::string> options{"--install-folder", install.string()};
    Execute("ALTER TABLE tw_tarnwick.component ADD COLUMN added INT NOT NULL;");
    Expect(options,
           "tw_tarnwick.component: added has no default, and the step adds rows without it, so "
           "ReimportReferenceData fails; give it a default");
    UpgradeFails(options, "step ReimportReferenceData: .*server error 1364");
    Execute("ALTER TABLE tw_tarnwick.componenttype ADD COLUMN added INT NOT NULL;");
    Execute("ALTER TABLE tw_tarnwick.component ALTER COLUMN added SET DEFAULT 0;");
    Expect(options,
           "tw_tarnwick.componenttype: added has no default, and the step adds rows without it, so "
           "ReimportReferenceData fails; give it a default");
    UpgradeFails(options,
                 "step ReimportReferenceData: INSERT INTO tw_tarnwick.componenttype.*server error "
                 "1364");
    Execute("ALTER TABLE tw_tarnwick.componenttype DROP COLUMN added;");
    Execute("ALTER TABLE tw_tarnwick.component ALTER COLUMN added DROP DEFAULT;");
    // A file without rows adds none.
    WriteFile(install / "resources" / "componentData.txt", "\n");
    EXPECT_EQ(Run({options[0], options[1], "check"}).status, 0);
    EXPECT_EQ(Run({options[0], options[1], "upgrade"}).status, 0);
}

TEST_F(Check, FindsADataFileThatTheServerWillNotTake) {
    MakeCentralDatabase();
    const fs::path install = CopyOfTheDataFiles();
    const std::vector<std::string> options{"--install-folder", install.string()};
    std::string rows;
    for (int i = 0; i < 200; ++i) {
        rows += "1\t" + std::to_string(100000 + i) + "\n";
    }
    WriteFile(install / "resources" / "componenttypeData.txt", rows);
    fs::remove(install / "resources" / "componentData.txt");
    const std::string before = Cell("SELECT @@global.max_allowed_packet;");
    Execute("SET GLOBAL max_allowed_packet = 2048;");
    Expect(options, "componenttypeData.txt makes one statement of about ");
    UpgradeFails(options,
                 "max_allowed_packet|server error 1153|server error 2006|server error 2020");
    Execute("SET GLOBAL max_allowed_packet = " + before + ";");
}

TEST_F(Check, FindsAnotherRunInProgress) {
    MakeCentralDatabase();
    const auto other = host::Connection::Open(CliServer::Get().Server().ConnectOptions());
    other->Query("SELECT GET_LOCK('twupdate.run', 0);");
    Expect({}, "another run is in progress (connection ");
    UpgradeFails({}, "another run is in progress", 4);
}

TEST_F(Check, FindsVersionsAboveTheCurrentOne) {
    MakeCentralDatabase();
    Execute("UPDATE tw_tarnwick.installation SET version = 1.9000;");
    Expect({}, "tw_tarnwick: it is at 1.9000, newer than the " + kCurrentShown +
                   " that this program knows");
    UpgradeFails({}, "newer than the " + kCurrentShown);
}

TEST_F(Check, FindsASiteAboveTheCurrentVersionWhichTheRunLeavesOut) {
    MakeCentralDatabase();
    MakeSite(3);
    MakeSiteRow(4, "1.9000");
    const std::string finding = "tw_4: it is at 1.9000, newer than the " + kCurrentShown +
                                " that this program knows; use the program";
    Expect({}, finding);
    const Outcome alone = Run({"check", "--site", "4"});
    EXPECT_EQ(alone.status, 3);
    EXPECT_THAT(alone.out, HasSubstr(finding));
    const Outcome site = Run({"upgrade-site", "4"});
    EXPECT_EQ(site.status, 1);
    EXPECT_THAT(site.err, HasSubstr("site 4 is at 1.9000, newer than the " + kCurrentShown));
    const Outcome all = Run({"upgrade"});
    EXPECT_EQ(all.status, 0) << all.err;
    EXPECT_THAT(all.err, HasSubstr("left out, newer: 1 site (4)"));
}

TEST_F(Check, FindsASiteWithoutAVersion) {
    MakeCentralDatabase();
    MakeSite(4);
    Execute("ALTER TABLE tw_tarnwick.site MODIFY COLUMN version DOUBLE;");
    Execute("UPDATE tw_tarnwick.site SET version = NULL;");
    Expect({},
           "tw_tarnwick.site: the version of site 4 is NULL; set it to the version of its layout");
    UpgradeFails({}, "the version of site 4 in tw_tarnwick.site is NULL");
}

TEST_F(Check, FindsASiteIdThatIsNone) {
    MakeCentralDatabase();
    Execute("INSERT INTO tw_tarnwick.site(siteid, version) VALUES(3000000000, 1);");
    Expect({}, "tw_tarnwick.site: there is a site 3000000000, but a siteid lies between 1 and");
    UpgradeFails({}, "a site 3000000000, but a siteid lies between 1 and 2147483647");
}

TEST_F(Check, FindsASiteThatIsNotToBeUpgradedOnlyWhereItIsNamed) {
    MakeCentralDatabase();
    MakeSiteRow(4, "1.0000");
    MakeSiteRow(5, "1.0000");
    Execute("ALTER TABLE tw_tarnwick.site ADD COLUMN transaction BOOL DEFAULT 0 NOT NULL;");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 4;");
    Execute("UPDATE tw_tarnwick.site SET transaction = -1 WHERE siteid = 5;");
    EXPECT_EQ(Run({"check"}).status, 0);
    for (const auto& [id, state] : {std::pair("4", "hard-deleted"), {"5", "in transaction"}}) {
        const Outcome outcome = Run({"check", "--site", id});
        EXPECT_EQ(outcome.status, 3) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(std::string("tw_tarnwick.site: site ") + id + " is " +
                                           state + "; leave it as it is"));
        EXPECT_THAT(Run({"upgrade-site", id}).err,
                    HasSubstr(std::string("site ") + id + " is " + state));
    }
}

TEST_F(Check, FindsARestoreThatHasNotComeToItsEnd) {
    MakeCentralDatabase();
    MakeSite(4);
    Execute("CREATE TABLE tw_4.unfinished_restore(since DATETIME NOT NULL);");
    Expect({}, "tw_4: a restore of it is unfinished; give the same restore again");
    UpgradeFails({}, "an unfinished restore has tw_4 in hand");
}

TEST_F(Check, LooksAtOneSiteAloneAndPrintsJson) {
    MakeCentralDatabase();
    MakeSite(3);
    MakeSiteRow(8, "1.0000");
    EXPECT_EQ(Run({"check", "--site", "3"}).status, 0);
    const Outcome outcome = Run({"--json", "check", "--site", "8"});
    EXPECT_EQ(outcome.status, 3);
    const auto result = outcome.Json();
    ASSERT_TRUE(result.is_object()) << outcome.out;
    EXPECT_EQ(result["result"], "findings");
    ASSERT_EQ(result["findings"].size(), 1U);
    EXPECT_EQ(result["findings"][0]["database"], "tw_8");
    EXPECT_EQ(result["findings"][0]["step"], "SiteSchemaStep_1_0001");
    EXPECT_EQ(Run({"check", "--site", "9"}).status, 1);
}

}  // namespace
}  // namespace twupdate::test
