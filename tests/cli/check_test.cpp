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
    Expect({}, "tw_8: the database is missing; ");
    const std::string refusal =
        R"(1 site has no database that this account can see \(tw_8\); nothing was done)";
    UpgradeFails({}, refusal);
    // The database of the root site is needed earlier.
    Execute("DELETE FROM tw_tarnwick.site WHERE siteid = 1;");
    Execute("DELETE FROM tw_tarnwick.domain;");
    Expect({}, "tw_8: the database is missing; ");
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

TEST_F(Check, FindsMissingPrivileges) {
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
    EXPECT_THAT(found.out, HasSubstr("tw_8.layoutzone: the account lacks the privilege ALTER, so "
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
           "componenttypeData.txt line 2 has only 1 of 2 fields; put the file back from the "
           "package");
    UpgradeFails(options, "componenttypeData.txt line 2 has only 1 of 2 fields; nothing was done");
    WriteFile(install / "resources" / "componenttypeData.txt", "1\t100\n2\tmany\n");
    Expect(options, "tw_tarnwick.componenttype: the column many is missing, so Reimport");
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
             Data{"componenttype", "8388607\t1\n8388608\t1\n",
                  "the step writes \"8388608\" into componenttype, which is mediumint(9)",
                  "server error 1264"},
             Data{"componenttype", "1\t-2147483649\n",
                  "the step writes \"-2147483649\" into componentid", "server error 1264"},
             Data{"component", "1\tname\tfolder\tfile\t127.5\t0\t0\t0\t0\t0\t0\t0\t0\n",
                  "the step writes \"127.5\" into available", "server error 1264"},
             Data{"component", "1\tname\t" + std::string(51, 'x') + rest,
                  "(51 characters) into foldername, which is varchar(50)", "server error 1406"},
         }) {
        SCOPED_TRACE(data.finding);
        WriteFile(install / "resources" / (std::string(data.file) + "Data.txt"), data.content);
        Expect(options, data.finding);
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
    Expect(options,
           "tw_tarnwick.componenttype: a statement has 2271 bytes, and the server takes 2048, so ");
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
    EXPECT_THAT(Run({"check"}).out,
                HasSubstr("tw_tarnwick.site: there is a site 3000000000, but a siteid lies between "
                          "1 and"));
    UpgradeFails({}, "siteid 3000000000, which is not between 1 and 2147483647");
}

TEST_F(Check, FindsASiteThatIsNotToBeUpgradedOnlyWhereItIsNamed) {
    MakeCentralDatabase();
    MakeSiteRow(4, "1.0000");
    MakeSiteRow(5, "1.0000");
    Execute("ALTER TABLE tw_tarnwick.site ADD COLUMN transaction BOOL DEFAULT 0 NOT NULL;");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 4;");
    Execute("UPDATE tw_tarnwick.site SET transaction = -1 WHERE siteid = 5;");
    Execute("UPDATE tw_tarnwick.site SET parentsiteid = 9;");  // neither is the root site
    EXPECT_EQ(Run({"check"}).out, "Nothing found that would make an upgrade fail.\n");
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
    UpgradeFails({}, "a restore of tw_4 is unfinished");
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
    EXPECT_EQ(result["findings"][0]["problem"], "the database is missing");
    EXPECT_EQ(Run({"check", "--site", "9"}).status, 1);
}

}  // namespace
}  // namespace twupdate::test
