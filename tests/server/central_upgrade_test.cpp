// The server ladders on a real server, on the central database and on a site's copies of it.
#include <algorithm>

#include "central_installation.h"
#include "sample/installation.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CentralUpgrade : public CentralTest {};

// --- layout ------------------------------------------------------------------------------------

/// A new central database as an upgraded one differs from it.
Schema UpgradedSchema() {
    Schema schema = Schema::Load(TWUPDATE_TEST_FOLDER "/data/central_schema.txt");
    // New installations have no default documents: the conversion to default pages is behind them.
    schema.tables["defaultdocument"] = {
        {"siteid INT DEFAULT 0 NOT NULL", "document VARCHAR(255) DEFAULT '' NOT NULL",
         "sequence INT DEFAULT 0 NOT NULL"},
        {"KEY siteidindex(siteid)"}};
    // A step adds selfexport, which new installations do not have.
    auto& site = schema.tables["site"].columns;
    site.insert(std::find(site.begin(), site.end(), "serverstarted BOOL DEFAULT 0 NOT NULL"),
                "selfexport BOOL DEFAULT 0 NOT NULL");
    // The step that widens the schedule gives it a default.
    auto& schedule = schema.tables["schedule"].columns;
    *std::find(schedule.begin(), schedule.end(), "schedule VARCHAR(50) NOT NULL") =
        "schedule VARCHAR(50) DEFAULT '' NOT NULL";
    // Steps add columns at the end.
    schema.tables["installation"].columns = {"version DOUBLE DEFAULT 0 NOT NULL",
                                             "webmasterusername VARCHAR(50) DEFAULT '' NOT NULL",
                                             "webmasterpassword VARCHAR(50) DEFAULT '' NOT NULL",
                                             "mailserver VARCHAR(50) DEFAULT '' NOT NULL",
                                             "mailserverport INT DEFAULT 25 NOT NULL",
                                             "infotamelock VARCHAR(20) DEFAULT '' NOT NULL",
                                             "reporterrors BOOL DEFAULT 0 NOT NULL",
                                             "webips VARCHAR(255) DEFAULT '' NOT NULL",
                                             "webports VARCHAR(100) DEFAULT '' NOT NULL",
                                             "mailserverusername VARCHAR(50) DEFAULT '' NOT NULL",
                                             "mailserverpassword VARCHAR(255) DEFAULT '' NOT NULL",
                                             "base VARCHAR(20) DEFAULT '' NOT NULL",
                                             "mailserverencryption BOOL DEFAULT 0 NOT NULL"};
    return schema;
}

TEST_F(CentralUpgrade, EndsInTheLayoutOfANewInstallationButForFourNamedDifferences) {
    LoadOldInstallation();
    UpgradeInstallation();
    EXPECT_TRUE(SameSchema(UpgradedSchema(), SchemaOf("tw_tarnwick")));
}

TEST_F(CentralUpgrade, TheCopiesOnASiteEndInTheSameLayout) {
    LoadOldInstallation();
    Sql("CREATE DATABASE tw_7;");
    LoadImportedMasterData(7);
    Update update;
    update.Configure(Host());
    EXPECT_EQ(update.UpdateImportMasterData(7, 1.0), -1);

    Schema expected;
    for (const auto& [name, table] : UpgradedSchema().tables) {
        expected.tables["tw_" + name] = table;
    }
    EXPECT_TRUE(SameSchema(expected, SchemaOf("tw_7")));
}

TEST_F(CentralUpgrade, OnASiteNeitherVersionsNorReferenceDataNorTheCentralDatabaseChange) {
    LoadOldInstallation();
    Sql("CREATE DATABASE tw_7;");
    LoadImportedMasterData(7);
    Sql("INSERT INTO tw_7.tw_site(siteid, parentsiteid, deleted) VALUES(7, 0, 0), (8, 7, -1);"
        "INSERT INTO tw_7.tw_domain(siteid, domainname) VALUES(7, 'seven.example');"
        "INSERT INTO tw_7.tw_component(componentid) VALUES(1);"
        "INSERT INTO tw_7.tw_account(creditlimit, associatepercentage) VALUES(19.99, 0.1);");
    const auto central = RowsOf("tw_tarnwick");
    const auto centralSchema = SchemaOf("tw_tarnwick");
    Update update;
    update.Configure(Host());
    update.UpdateImportMasterData(7, 1.0);
    EXPECT_TRUE(SameRows(central, RowsOf("tw_tarnwick")));
    EXPECT_TRUE(SameSchema(centralSchema, SchemaOf("tw_tarnwick")));
    EXPECT_EQ(Cell("SELECT version FROM tw_7.tw_installation"), "1");
    EXPECT_THAT(Rows("SELECT componentid FROM tw_7.tw_component"), ElementsAre("1"));
    EXPECT_THAT(Rows("SELECT siteid, parentsiteid, selfexport, serverstarted FROM tw_7.tw_site"),
                ElementsAre("7 | 0 | 0 | -1", "8 | 7 | 0 | 0"));
    EXPECT_THAT(Rows("SELECT domainname FROM tw_7.tw_domain"), ElementsAre("seven.example"));
    EXPECT_THAT(Rows("SELECT creditlimit, associatepercentage FROM tw_7.tw_account"),
                ElementsAre("19.99 | 0.1"));
}

// --- versions ----------------------------------------------------------------------------------

TEST_F(CentralUpgrade, FromEveryThresholdEndsAlikeAndImportsOnceForEachRowBelow) {
    LoadOldInstallation();
    UpgradeInstallation();
    const std::string expected = State();
    const auto thresholds = Thresholds();
    for (const double version : thresholds) {
        const auto data = LadderSteps(Ladder::kServerData);
        const auto imports = std::count_if(data.begin(), data.end(), [&](const LadderStep& step) {
            return step.name == "ReimportReferenceData" && version < step.threshold;
        });
        Sql("DROP DATABASE tw_tarnwick; DROP DATABASE tw_1; DROP DATABASE tw_logs;");
        LoadOldInstallation(version);
        const auto faulty = Faulty();
        UpgradeInstallation(faulty);
        EXPECT_EQ(State(), expected) << version;
        EXPECT_EQ(Imports(faulty->Log()), static_cast<std::size_t>(imports)) << version;
    }
}

TEST_F(CentralUpgrade, ASecondRunFromTheStartChangesNothing) {
    LoadOldInstallation();
    UpgradeInstallation();
    const std::string expected = State();
    SetInstallationVersion(1.0);
    UpgradeInstallation();
    EXPECT_EQ(State(), expected);
}

TEST_F(CentralUpgrade, AVersionThatIsNotANumberRunsEverything) {
    LoadOldInstallation();
    UpgradeInstallation();
    const std::string expected = State();
    Sql("DROP DATABASE tw_tarnwick; DROP DATABASE tw_1; DROP DATABASE tw_logs;");
    LoadOldInstallation();
    Update update;
    update.Configure(Host());
    update.UpdateServer(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(State(), expected);
}

TEST_F(CentralUpgrade, AtTheLastThresholdNoStepRuns) {
    const auto thresholds = Thresholds();
    LoadOldInstallation(*std::ranges::max_element(thresholds));
    const auto faulty = Faulty();
    UpgradeInstallation(faulty);
    // The search for old sites, and the version.
    EXPECT_THAT(faulty->Log(), testing::SizeIs(2));
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), kCurrentStored);
}

TEST_F(CentralUpgrade, At0263OnlyTheQueryCacheLifetimeIsAdded) {
    LoadOldInstallation(1.0263);
    const auto before = SchemaOf("tw_tarnwick");
    UpgradeInstallation();
    auto expected = before;
    expected.tables["site"].columns.push_back("querycachettl INT DEFAULT 0 NOT NULL");
    EXPECT_TRUE(SameSchema(expected, SchemaOf("tw_tarnwick")));
}

TEST_F(CentralUpgrade, TheScheduleBeginsWithAPrimaryKeyThatALaterStepDrops) {
    LoadOldInstallation(1.0030);
    EXPECT_THAT(SchemaOf("tw_tarnwick").tables["schedule"].keys,
                ElementsAre("PRIMARY KEY(siteid, featureid, subfeatureid, tasktype)"));
    Sql("INSERT INTO tw_tarnwick.schedule(siteid, featureid, tasktype, schedule) "
        "VALUES(2, 120, 1, 'daily 03:00');");
    UpgradeInstallation();
    EXPECT_THAT(SchemaOf("tw_tarnwick").tables["schedule"].keys,
                ElementsAre("KEY featureid_idx(featureid)", "KEY lastruntime_idx(lastruntime)",
                            "KEY siteid_idx(siteid)", "KEY tasktype_idx(tasktype)"));
    EXPECT_THAT(Rows("SELECT * FROM tw_tarnwick.schedule"),
                ElementsAre("2 | 120 | 0 | 1 | daily 03:00 | 1000-01-01 00:00:00 | 1000-01-01 "
                            "00:00:00 | NULL"));
}

// --- money and percentages ---------------------------------------------------------------------

TEST_F(CentralUpgrade, KeepsEveryAmountToTheCent) {
    LoadOldInstallation();
    UpgradeInstallation();
    // Half a cent is rounded away from zero.
    EXPECT_THAT(Rows("SELECT creditlimit, suggestedpayment, currentbalance, futurebalance, "
                     "pendingbalance FROM tw_tarnwick.account ORDER BY accountid"),
                ElementsAre("0.10 | 19.99 | 1234567.89 | -0.01 | 0.01",
                            "0.00 | 99999999999.99 | -1234567.89 | 0.29 | 1.12",
                            "100.00 | 0.01 | 0.07 | 0.02 | -19.99"));
    EXPECT_THAT(Rows("SELECT amount, tax, rawusage FROM tw_tarnwick.accountinvoice ORDER BY "
                     "accountinvoiceid"),
                ElementsAre("0.10 | 19.99 | 1.5", "1234567.89 | -0.01 | 0"));
    EXPECT_THAT(Rows("SELECT amount FROM tw_tarnwick.accountpayment ORDER BY accountpaymentid"),
                ElementsAre("19.99", "0.10", "4.35"));
    EXPECT_THAT(Rows("SELECT startupcharge, creditlimit, monthlyfixedcharge FROM "
                     "tw_tarnwick.chargingplan ORDER BY id"),
                ElementsAre("0.10 | 19.99 | 4.35", "12345.67 | 99999.90 | 0.00"));
    EXPECT_THAT(Rows("SELECT unitprice FROM tw_tarnwick.chargingplanusageband "
                     "ORDER BY chargingplanid, bandstart"),
                ElementsAre("0.10", "0.07", "19.99"));
}

TEST_F(CentralUpgrade, KeepsPercentagesToTheDigit) {
    LoadOldInstallation();
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT associatepercentage FROM tw_tarnwick.account ORDER BY accountid"),
                ElementsAre("0.1", "33.3", "12.5"));
}

TEST_F(CentralUpgrade, LeavesNullWhereTheColumnAllowsIt) {
    LoadOldInstallation();
    Sql("UPDATE tw_tarnwick.account SET firstwarningsent = NULL WHERE accountid = 3;");
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT siteid, userid, firstwarningsent FROM tw_tarnwick.account "
                     "WHERE accountid = 3"),
                ElementsAre("NULL | NULL | NULL"));
    EXPECT_EQ(Cell("SELECT accountid FROM tw_tarnwick.accountpayment WHERE amount = 4.35"), "NULL");
}

TEST_F(CentralUpgrade, ANullAmountInAnInstallationThatAllowedItStopsTheConversion) {
    LoadOldInstallation();
    Sql("ALTER TABLE tw_tarnwick.accountpayment MODIFY COLUMN amount DOUBLE;"
        "UPDATE tw_tarnwick.accountpayment SET amount = NULL WHERE accountpaymentid = 2;");
    try {
        UpgradeInstallation();
        FAIL() << "nothing was thrown";
    } catch (const HostError& error) {
        EXPECT_TRUE(error.Code() == 1265 || error.Code() == 1048) << error.what();
        EXPECT_THAT(error.Statement(), HasSubstr("accountpayment MODIFY COLUMN amount"));
    }
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), "1");
    Sql("UPDATE tw_tarnwick.accountpayment SET amount = 0 WHERE amount IS NULL;");
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT amount FROM tw_tarnwick.accountpayment ORDER BY accountpaymentid"),
                ElementsAre("19.99", "0.00", "4.35"));
}

TEST_F(CentralUpgrade, TheSamplesInstallationKeepsItsMoneyAndEndsInTheSameLayout) {
    sample::InstallationOptions options;
    options.sites = 12;
    options.rows = 20;
    const auto plans = sample::PlanSites(options.sites);
    sample::MakeCentral(Host(), options, plans);
    sample::MakeSite(Host(), options, plans.front());  // the root site, and the logs
    Sql("UPDATE tw_tarnwick.site SET version = " + kCurrentStored + ";");
    const auto amounts = [&] {
        std::vector<std::string> rows;
        for (const char* query :
             {"SELECT accountid, CAST(creditlimit AS DECIMAL(17,2)), CAST(suggestedpayment AS "
              "DECIMAL(17,2)), CAST(currentbalance AS DECIMAL(17,2)), CAST(futurebalance AS "
              "DECIMAL(17,2)), CAST(pendingbalance AS DECIMAL(17,2)), CAST(associatepercentage AS "
              "CHAR) FROM tw_tarnwick.account ORDER BY accountid",
              "SELECT accountinvoiceid, CAST(amount AS DECIMAL(17,2)), CAST(tax AS DECIMAL(17,2)) "
              "FROM tw_tarnwick.accountinvoice ORDER BY accountinvoiceid",
              "SELECT accountpaymentid, CAST(amount AS DECIMAL(17,2)) FROM "
              "tw_tarnwick.accountpayment ORDER BY accountpaymentid",
              "SELECT id, CAST(startupcharge AS DECIMAL(17,2)), CAST(creditlimit AS "
              "DECIMAL(17,2)), CAST(monthlyfixedcharge AS DECIMAL(17,2)) FROM "
              "tw_tarnwick.chargingplan ORDER BY id",
              "SELECT chargingplanid, bandstart, CAST(unitprice AS DECIMAL(17,2)) FROM "
              "tw_tarnwick.chargingplanusageband ORDER BY chargingplanid, bandstart"}) {
            const auto more = Rows(query);
            EXPECT_THAT(more, testing::Not(IsEmpty())) << query;
            rows.insert(rows.end(), more.begin(), more.end());
        }
        return rows;
    };
    const auto before = amounts();
    UpgradeInstallation();
    EXPECT_EQ(amounts(), before);
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), kCurrentStored);
    // The sample has an upgrade behind it that was interrupted after adding `transaction`.
    auto expected = UpgradedSchema();
    auto actual = SchemaOf("tw_tarnwick");
    for (Schema* schema : {&expected, &actual}) {
        auto& site = schema->tables["site"].columns;
        std::sort(site.begin(), site.end());
    }
    EXPECT_TRUE(SameSchema(expected, actual));
}

// --- the data steps ----------------------------------------------------------------------------

TEST_F(CentralUpgrade, TakesDefaultPagesFromDefaultDocuments) {
    LoadOldInstallation();
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT siteid, defaultfeatureid FROM tw_tarnwick.site ORDER BY siteid"),
                ElementsAre("1 | 0", "2 | 121", "3 | 0", "4 | 0", "5 | 7"));
}

TEST_F(CentralUpgrade, StartsSitesWithADomainUnlessHardDeleted) {
    LoadOldInstallation();
    UpgradeInstallation();
    EXPECT_THAT(
        Rows("SELECT siteid, serverstarted, sitestarted FROM tw_tarnwick.site ORDER BY siteid"),
        ElementsAre("1 | -1 | -1", "2 | -1 | -1", "3 | -1 | -1", "4 | 0 | -1", "5 | 0 | -1"));
}

TEST_F(CentralUpgrade, LeavesStartMarksAloneWhenTheColumnIsThere) {
    LoadOldInstallation();
    Sql("ALTER TABLE tw_tarnwick.site ADD COLUMN serverstarted BOOL DEFAULT 0 NOT NULL;"
        "UPDATE tw_tarnwick.site SET serverstarted = -1 WHERE siteid = 5;");
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT siteid FROM tw_tarnwick.site WHERE serverstarted <> 0"),
                ElementsAre("5"));
}

TEST_F(CentralUpgrade, HangsDeletedSitesUnderTheRoot) {
    LoadOldInstallation();
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT siteid, parentsiteid, parentsiteuserid, template, selfexport FROM "
                     "tw_tarnwick.site ORDER BY siteid"),
                ElementsAre("1 | 0 | 0 | 0 | -1", "2 | 1 | 7 | 0 | 0", "3 | 1 | 0 | 0 | 0",
                            "4 | 2 | 4 | -1 | 0", "5 | 1 | 7 | -1 | 0"));
}

TEST_F(CentralUpgrade, OfSeveralRootSitesTheOldestIsTheRoot) {
    LoadOldInstallation();
    Sql("UPDATE tw_tarnwick.site SET parentsiteid = 0 WHERE siteid = 5;");
    UpgradeInstallation();
    EXPECT_EQ(Cell("SELECT parentsiteid FROM tw_tarnwick.site WHERE siteid = 3"), "1");
    EXPECT_THAT(Rows("SELECT siteid FROM tw_tarnwick.site WHERE selfexport = -1 ORDER BY siteid"),
                ElementsAre("1", "5"));
    EXPECT_EQ(Cell("SELECT siteid FROM tw_tarnwick.domain WHERE domainname = 'localhost'"), "1");
}

TEST_F(CentralUpgrade, WithoutARootSiteNothingIsReparentedOrRegistered) {
    LoadOldInstallation();
    Sql("UPDATE tw_tarnwick.site SET parentsiteid = 9 WHERE siteid = 1;");
    UpgradeInstallation();
    EXPECT_EQ(Cell("SELECT parentsiteid FROM tw_tarnwick.site WHERE siteid = 3"), "2");
    EXPECT_THAT(Rows("SELECT * FROM tw_tarnwick.domain WHERE domainname = 'localhost'"), IsEmpty());
    EXPECT_THAT(Rows("SELECT domainname FROM tw_1.domain"), ElementsAre("www.tarnwick.example"));
}

TEST_F(CentralUpgrade, RegistersTheLocalHostOnce) {
    LoadOldInstallation();
    UpgradeInstallation();
    for (int run = 0; run < 2; ++run) {
        EXPECT_THAT(Rows("SELECT siteid, domainname, ipaddress, tcpport, defaultdomain FROM "
                         "tw_tarnwick.domain WHERE domainname = 'localhost'"),
                    ElementsAre("1 | localhost | 127.0.0.1 | 80 | 0"));
        EXPECT_THAT(Rows("SELECT domainid, domainname FROM tw_1.domain ORDER BY domainid"),
                    ElementsAre("1 | www.tarnwick.example", "2 | localhost"));
        EXPECT_THAT(Rows("SELECT groupid, domainid, domaingrouptype FROM tw_1.domaingroup"),
                    ElementsAre("2 | 2 | 0"));
        RunStep("ServerDataStep_1_0252", 0);
    }
}

TEST_F(CentralUpgrade, WithoutAVisitorGroupTheDomainStaysUnlinked) {
    LoadOldInstallation();
    Sql("DELETE FROM tw_1.group_table WHERE displayname = 'local Visitor';");
    UpgradeInstallation();
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_1.domain WHERE domainname = 'localhost'"), "1");
    EXPECT_THAT(Rows("SELECT * FROM tw_1.domaingroup"), IsEmpty());
}

TEST_F(CentralUpgrade, IndexesEveryLogTable) {
    LoadOldInstallation();
    UpgradeInstallation();
    const auto logs = SchemaOf("tw_logs").tables;
    EXPECT_EQ(logs.size(), 2U);
    for (const auto& [name, table] : logs) {
        EXPECT_THAT(table.keys,
                    ElementsAre("KEY LogTime_idx(LogTime)", "KEY target_idx(target(7))"))
            << name;
    }
}

TEST_F(CentralUpgrade, WithoutALogsDatabaseItStopsThereAndResumes) {
    LoadOldInstallation();
    Sql("DROP DATABASE tw_logs;");
    try {
        UpgradeInstallation();
        FAIL() << "nothing was thrown";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1049U);
        EXPECT_THAT(error.what(), HasSubstr("tw_logs"));
    }
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), "1");
    Sql("CREATE DATABASE tw_logs;");
    UpgradeInstallation();
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), kCurrentStored);
}

TEST_F(CentralUpgrade, ReplacesComponentsAndKeepsOtherReferenceData) {
    LoadOldInstallation();
    UpgradeInstallation();
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.component WHERE componentid = 1"), "0");
    EXPECT_EQ(Cell("SELECT componentname FROM tw_tarnwick.component WHERE componentid = 1000"),
              "Shop");
    EXPECT_THAT(Rows("SELECT country FROM tw_tarnwick.country"), ElementsAre("Kept as it is"));
}

TEST_F(CentralUpgrade, WithoutDataFilesTheComponentsStayAsTheyAre) {
    LoadOldInstallation();
    std::filesystem::remove(InstallFolder() / "resources");
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT componentname FROM tw_tarnwick.component"),
                ElementsAre("No longer there"));
}

}  // namespace
}  // namespace twupdate::test
