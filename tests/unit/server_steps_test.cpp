#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "sample/layouts.h"
#include "support/recording_host.h"
#include "support/update_test_peer.h"

namespace twupdate {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t kCentral = 0;
constexpr std::int32_t kSite = 7;

/// One step at a time, on a layout of version 1.0000, on either target.
class ServerSteps : public ::testing::TestWithParam<std::int32_t> {
  protected:
    ServerSteps() {
        const sample::Layouts layouts;
        if (IsSite()) {
            host->catalogue.AddDatabase("tw_7");
        }
        for (const std::string& sql :
             IsSite() ? layouts.ImportedMasterData(kSite) : layouts.Central()) {
            host->catalogue.Run(sql);
        }
        host->catalogue.AddDatabase("tw_logs");
        update.Configure(host);
    }
    ~ServerSteps() override {
        EXPECT_EQ(host->openRecordsets, 0);
        EXPECT_LE(host->mostStatementsOfOneDatabase, 1);
    }

    bool IsSite() const { return GetParam() == kSite; }
    /// The table as statements name it: "tw_tarnwick.site" or "tw_7.tw_site".
    std::string Table(const std::string& name) const {
        return (IsSite() ? "tw_7.tw_" : "tw_tarnwick.") + name;
    }
    std::string Describe(const std::string& table) const {
        return "reader DESCRIBE " + Table(table) + ";";
    }
    std::string ShowIndexes(const std::string& table) const {
        return "reader SHOW INDEXES FROM " + Table(table) + ";";
    }
    std::string AddColumn(const std::string& table, const std::string& column) const {
        return "execute ALTER TABLE " + Table(table) + " ADD COLUMN " + column + ";";
    }
    std::string AddIndex(const std::string& table, const std::string& index) const {
        return "execute ALTER TABLE " + Table(table) + " ADD INDEX " + index + ";";
    }
    void Run(std::string_view step) { peer.RunServerStep(step, GetParam()); }
    /// Runs the step and returns what it sent.
    std::vector<std::string> Log(std::string_view step) {
        host->log.clear();
        Run(step);
        return host->log;
    }
    /// Runs the step again and expects no change.
    void ExpectNothingLeftToDo(std::string_view step) {
        host->log.clear();
        Run(step);
        EXPECT_THAT(host->Changes(), IsEmpty()) << step;
    }

    std::shared_ptr<test::RecordingHost> host = std::make_shared<test::RecordingHost>();
    Update update;
    UpdateTestPeer peer{update};
};

INSTANTIATE_TEST_SUITE_P(Target, ServerSteps, ::testing::Values(kCentral, kSite),
                         [](const auto& target) {
                             return target.param == kSite ? "Site" : "Central";
                         });

TEST_P(ServerSteps, Step0002AddsTheMailServersCredentials) {
    EXPECT_THAT(
        Log("ServerStep_1_0002"),
        ElementsAre(
            Describe("installation"),
            AddColumn("installation", "mailserverusername VARCHAR(50) DEFAULT '' NOT NULL"),
            Describe("installation"),
            AddColumn("installation", "mailserverpassword VARCHAR(255) DEFAULT '' NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0002");
}

TEST_P(ServerSteps, Step0013AddsTheBase) {
    EXPECT_THAT(Log("ServerStep_1_0013"),
                ElementsAre(Describe("installation"),
                            AddColumn("installation", "base VARCHAR(20) DEFAULT '' NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0013");
}

TEST_P(ServerSteps, Step0024AddsTheMarksOfDomains) {
    EXPECT_THAT(Log("ServerStep_1_0024"),
                ElementsAre(Describe("domain"),
                            AddColumn("domain", "defaultdomain BOOL DEFAULT 0 NOT NULL"),
                            Describe("domain"),
                            AddColumn("domain", "redirecttodefault BOOL DEFAULT 0 NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0024");
}

TEST_P(ServerSteps, Step0026AddsTheDefaultPage) {
    EXPECT_THAT(Log("ServerStep_1_0026"),
                ElementsAre(Describe("site"),
                            AddColumn("site", "defaultfeatureid INT DEFAULT 0 NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0026");
}

TEST_P(ServerSteps, Step0030CreatesTheScheduleInItsFirstLayout) {
    EXPECT_THAT(Log("ServerStep_1_0030"),
                ElementsAre("execute CREATE TABLE IF NOT EXISTS " + Table("schedule") +
                            "(siteid INT NOT NULL, featureid INT NOT NULL, "
                            "subfeatureid INT DEFAULT 0 NOT NULL, tasktype INT NOT NULL, "
                            "schedule VARCHAR(20) NOT NULL, "
                            "lastruntime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, "
                            "nextruntime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, "
                            "PRIMARY KEY(siteid, featureid, subfeatureid, tasktype) );"));
}

TEST_P(ServerSteps, Step0035ConvertsTheAssociatePercentage) {
    const std::string account = Table("account");
    EXPECT_THAT(
        Log("ServerStep_1_0035"),
        ElementsAre(
            "reader DESCRIBE " + account + ";",
            "execute ALTER TABLE " + account + " ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;",
            "execute UPDATE " + account + " SET double_temp = CAST(associatepercentage AS BINARY);",
            "execute ALTER TABLE " + account + " DROP COLUMN associatepercentage;",
            "execute ALTER TABLE " + account +
                " CHANGE COLUMN double_temp associatepercentage DOUBLE DEFAULT 0 "
                "NOT NULL;"));
    ExpectNothingLeftToDo("ServerStep_1_0035");
}

TEST_P(ServerSteps, Step0039AddsThePlaceholderAndTheIndexOnNames) {
    EXPECT_THAT(
        Log("ServerStep_1_0039"),
        ElementsAre(Describe("domain"), AddColumn("domain", "placeholder BOOL DEFAULT 0 NOT NULL"),
                    ShowIndexes("domain"), AddIndex("domain", "domainname_idx(domainname(15))")));
    ExpectNothingLeftToDo("ServerStep_1_0039");
}

TEST_P(ServerSteps, Step0040IndexesTheScheduleAndDropsItsPrimaryKey) {
    Run("ServerStep_1_0030");
    EXPECT_THAT(
        Log("ServerStep_1_0040"),
        ElementsAre(ShowIndexes("schedule"), AddIndex("schedule", "siteid_idx(siteid)"),
                    ShowIndexes("schedule"), AddIndex("schedule", "featureid_idx(featureid)"),
                    ShowIndexes("schedule"), AddIndex("schedule", "tasktype_idx(tasktype)"),
                    ShowIndexes("schedule"), AddIndex("schedule", "lastruntime_idx(lastruntime)"),
                    ShowIndexes("schedule"),
                    "execute ALTER TABLE " + Table("schedule") + " DROP PRIMARY KEY;",
                    Describe("schedule"), AddColumn("schedule", "text VARCHAR(255)")));
    ExpectNothingLeftToDo("ServerStep_1_0040");
}

TEST_P(ServerSteps, Step0041AddsTheTransaction) {
    EXPECT_THAT(
        Log("ServerStep_1_0041"),
        ElementsAre(Describe("site"), AddColumn("site", "transaction BOOL DEFAULT 0 NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0041");
}

TEST_P(ServerSteps, Step0047ConvertsTheMoneyColumns) {
    std::vector<std::string> expected;
    for (const auto& [table, column] :
         std::vector<std::pair<std::string, std::string>>{{"account", "creditlimit"},
                                                          {"account", "suggestedpayment"},
                                                          {"account", "currentbalance"},
                                                          {"account", "futurebalance"},
                                                          {"account", "pendingbalance"},
                                                          {"accountinvoice", "amount"},
                                                          {"accountinvoice", "tax"},
                                                          {"accountpayment", "amount"},
                                                          {"chargingplan", "startupcharge"},
                                                          {"chargingplan", "creditlimit"},
                                                          {"chargingplan", "monthlyfixedcharge"},
                                                          {"chargingplanusageband", "unitprice"}}) {
        expected.push_back("reader DESCRIBE " + Table(table) + " " + column + ";");
        expected.push_back("execute ALTER TABLE " + Table(table) + " MODIFY COLUMN " + column +
                           " DECIMAL(17,2) NOT NULL DEFAULT '0.00';");
    }
    EXPECT_EQ(Log("ServerStep_1_0047"), expected);
}

TEST_P(ServerSteps, Step0056WidensTheScheduleWhereItExists) {
    const std::string exists = IsSite() ? "query SHOW TABLES FROM tw_7 LIKE 'tw_schedule';"
                                        : "query SHOW TABLES FROM tw_tarnwick LIKE 'schedule';";
    EXPECT_THAT(Log("ServerStep_1_0056"), ElementsAre(exists));
    Run("ServerStep_1_0030");
    EXPECT_THAT(Log("ServerStep_1_0056"),
                ElementsAre(exists, "execute ALTER TABLE " + Table("schedule") +
                                        " MODIFY COLUMN schedule VARCHAR(50) DEFAULT '' "
                                        "NOT NULL;"));
}

TEST_P(ServerSteps, Step0063AddsDemoAndSelfExport) {
    EXPECT_THAT(
        Log("ServerStep_1_0063"),
        ElementsAre(Describe("site"), AddColumn("site", "demo BOOL DEFAULT 0 NOT NULL"),
                    Describe("site"), AddColumn("site", "selfexport BOOL DEFAULT 0 NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0063");
}

TEST_P(ServerSteps, Step0074MarksSitesWithADomainAsStarted) {
    const std::string query = "SELECT DISTINCT s.siteid FROM " + Table("site") + " s INNER JOIN " +
                              Table("domain") +
                              " d ON s.siteid = d.siteid WHERE s.harddeleted = 0;";
    host->Answer(query, {{"siteid"}, {{3}, {12}}});
    EXPECT_THAT(
        Log("ServerStep_1_0074"),
        ElementsAre(
            Describe("site"), AddColumn("site", "serverstarted BOOL DEFAULT 0 NOT NULL"),
            "query " + query,
            "execute UPDATE " + Table("site") + " SET serverstarted = -1 WHERE siteid = 3;",
            "execute UPDATE " + Table("site") + " SET serverstarted = -1 WHERE siteid = 12;"));
}

TEST_P(ServerSteps, Step0074LeavesTheMarksAloneWhenTheColumnExists) {
    Run("ServerStep_1_0074");
    EXPECT_THAT(Log("ServerStep_1_0074"), ElementsAre(Describe("site")));
}

TEST_P(ServerSteps, Step0076AddsTheAssociatesColumns) {
    EXPECT_THAT(
        Log("ServerStep_1_0076"),
        ElementsAre(Describe("account"),
                    AddColumn("account", "associatechargepassword VARCHAR(20) DEFAULT '' NOT NULL"),
                    Describe("account"),
                    AddColumn("account",
                              "associatecookielife VARCHAR(35) DEFAULT '0-0-30 0:0:0' NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0076");
}

TEST_P(ServerSteps, Step0220AddsTheSitesStartMarkSet) {
    EXPECT_THAT(
        Log("ServerStep_1_0220"),
        ElementsAre(Describe("site"), AddColumn("site", "sitestarted BOOL DEFAULT -1 NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0220");
}

TEST_P(ServerSteps, Step0223AddsTheCartOrderToPayments) {
    EXPECT_THAT(Log("ServerStep_1_0223"),
                ElementsAre(Describe("accountpayment"),
                            AddColumn("accountpayment", "cartorderid INT DEFAULT 0 NOT NULL"),
                            ShowIndexes("accountpayment"),
                            AddIndex("accountpayment", "cartorderid_idx(cartorderid)")));
    ExpectNothingLeftToDo("ServerStep_1_0223");
}

TEST_P(ServerSteps, Step0253CreatesTheEmailErrors) {
    EXPECT_THAT(
        Log("ServerStep_1_0253"),
        ElementsAre("execute CREATE TABLE IF NOT EXISTS " + Table("emailerror") +
                        "(errorid INT AUTO_INCREMENT NOT NULL, "
                        "errortime DATETIME DEFAULT '1000-01-01' NOT NULL, "
                        "error VARCHAR(255) DEFAULT '' NOT NULL, "
                        "subject VARCHAR(255) DEFAULT '' NOT NULL, "
                        "tolist LONGTEXT DEFAULT '' NOT NULL, "
                        "cclist LONGTEXT DEFAULT '' NOT NULL, "
                        "bcclist LONGTEXT DEFAULT '' NOT NULL, "
                        "fromlist VARCHAR(255) DEFAULT '' NOT NULL, "
                        "PRIMARY KEY(errorid), INDEX errortime_idx(errortime));",
                    Describe("installation"),
                    AddColumn("installation", "mailserverencryption BOOL DEFAULT 0 NOT NULL")));
}

TEST_P(ServerSteps, Step0264AddsTheQueryCacheLifetime) {
    EXPECT_THAT(
        Log("ServerStep_1_0264"),
        ElementsAre(Describe("site"), AddColumn("site", "querycachettl INT DEFAULT 0 NOT NULL")));
    ExpectNothingLeftToDo("ServerStep_1_0264");
}

TEST_P(ServerSteps, DataStep0030IndexesTheLogsOfEverySite) {
    host->catalogue.AddTable("tw_logs", "tw_1(LogTime DATETIME, target VARCHAR(255))");
    host->catalogue.AddTable("tw_logs", "tw_2(LogTime DATETIME, target VARCHAR(255))");
    host->catalogue.AddTable("tw_logs", "other(a INT)");
    EXPECT_THAT(Log("ServerDataStep_1_0030"),
                ElementsAre(ShowIndexes("site"), AddIndex("site", "deleted_idx(deleted)"),
                            "query SHOW TABLES FROM tw_logs LIKE 'tw_%';",
                            "reader SHOW INDEXES FROM tw_logs.tw_1;",
                            "execute ALTER TABLE tw_logs.tw_1 ADD INDEX LogTime_idx(LogTime);",
                            "reader SHOW INDEXES FROM tw_logs.tw_1;",
                            "execute ALTER TABLE tw_logs.tw_1 ADD INDEX target_idx(target(7));",
                            "reader SHOW INDEXES FROM tw_logs.tw_2;",
                            "execute ALTER TABLE tw_logs.tw_2 ADD INDEX LogTime_idx(LogTime);",
                            "reader SHOW INDEXES FROM tw_logs.tw_2;",
                            "execute ALTER TABLE tw_logs.tw_2 ADD INDEX target_idx(target(7));"));
    ExpectNothingLeftToDo("ServerDataStep_1_0030");
}

TEST_P(ServerSteps, DataStep0030FailsWithoutALogsDatabase) {
    host->catalogue.Run("DROP DATABASE tw_logs;");
    try {
        Run("ServerDataStep_1_0030");
        FAIL() << "nothing was thrown";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 1049U);
        EXPECT_STREQ(error.what(), "Unknown database 'tw_logs'");
    }
}

TEST_P(ServerSteps, OnlyOnTheCentralDatabaseDoDataStepsTouchRows) {
    Run("ServerStep_1_0063");  // the column that one of them sets
    for (const char* step : {"ServerDataStep_1_0026", "ServerDataStep_1_0036",
                             "ServerDataStep_1_0063", "ServerDataStep_1_0252"}) {
        if (IsSite()) {
            EXPECT_THAT(Log(step), IsEmpty()) << step;
        } else {
            EXPECT_THAT(Log(step), ::testing::Not(IsEmpty())) << step;
        }
    }
}

// --- on the central database -------------------------------------------------------------------

class CentralDataSteps : public ServerSteps {};

INSTANTIATE_TEST_SUITE_P(Target, CentralDataSteps, ::testing::Values(kCentral),
                         [](const auto&) { return "Central"; });

const std::string kDefaultDocuments =
    "SELECT dd.siteid, SUBSTRING(dd.document, 1, INSTR(dd.document, '/') - 1) AS defaultfeatureid "
    "FROM tw_tarnwick.defaultdocument dd WHERE dd.document REGEXP '^[0-9]+/.*';";
const std::string kRootSites = "SELECT siteid FROM tw_tarnwick.site WHERE parentsiteid = 0;";

TEST_P(CentralDataSteps, Step0026TakesTheDefaultPageFromTheDocument) {
    host->Answer(kDefaultDocuments, {{"siteid", "defaultfeatureid"}, {{3, "120"}, {4, "007"}}});
    EXPECT_THAT(Log("ServerDataStep_1_0026"),
                ElementsAre("query " + kDefaultDocuments,
                            "execute UPDATE tw_tarnwick.site SET defaultfeatureid = 120 "
                            "WHERE siteid = 3;",
                            "execute UPDATE tw_tarnwick.site SET defaultfeatureid = 007 "
                            "WHERE siteid = 4;"));
}

TEST_P(CentralDataSteps, Step0026SkipsWhatHasNoValueAndNumbersThatNoPageHas) {
    host->Answer(
        kDefaultDocuments,
        {{"siteid", "defaultfeatureid"},
         {{1, Value()}, {2, ""}, {3, "2147483648"}, {4, "20091231235959"}, {5, "2147483647"}}});
    Run("ServerDataStep_1_0026");
    EXPECT_THAT(host->Changes(), ElementsAre("execute UPDATE tw_tarnwick.site SET "
                                             "defaultfeatureid = 2147483647 WHERE siteid = 5;"));
}

TEST_P(CentralDataSteps, Step0036HangsDeletedSitesUnderTheRoot) {
    host->Answer(kRootSites, {{"siteid"}, {{5}, {9}}});
    EXPECT_THAT(Log("ServerDataStep_1_0036"),
                ElementsAre("query " + kRootSites,
                            "execute UPDATE tw_tarnwick.site SET parentsiteid = 5, "
                            "parentsiteuserid = 0, template = 0 WHERE deleted = -1 AND "
                            "harddeleted = 0;"));
}

TEST_P(CentralDataSteps, Step0036ChangesNothingWithoutARoot) {
    EXPECT_THAT(Log("ServerDataStep_1_0036"), ElementsAre("query " + kRootSites));
}

TEST_P(CentralDataSteps, ARootSiteBelowOneCountsAsNone) {
    host->Answer(kRootSites, {{"siteid"}, {{0}}});
    EXPECT_THAT(Log("ServerDataStep_1_0036"), ElementsAre("query " + kRootSites));
    EXPECT_THAT(Log("ServerDataStep_1_0252"), ElementsAre("query " + kRootSites));
}

TEST_P(CentralDataSteps, Step0063LetsRootSitesExportThemselves) {
    EXPECT_THAT(
        Log("ServerDataStep_1_0063"),
        ElementsAre("execute UPDATE tw_tarnwick.site SET selfexport = -1 WHERE parentsiteid = 0;"));
}

class LocalDomain : public ServerSteps {
  protected:
    LocalDomain() {
        host->Answer(kRootSites, {{"siteid"}, {{5}}});
        host->catalogue.AddTable("tw_5", "domain(domainid INT, domainname VARCHAR(100))");
        host->catalogue.AddTable("tw_5", "group_table(groupid INT, displayname VARCHAR(100))");
        host->catalogue.AddTable("tw_5", "domaingroup(groupid INT, domainid INT)");
        host->insertIds = {31};
    }
};

INSTANTIATE_TEST_SUITE_P(Target, LocalDomain, ::testing::Values(kCentral),
                         [](const auto&) { return "Central"; });

const std::string kCentralDomain =
    "SELECT * FROM tw_tarnwick.domain WHERE domainname = 'localhost' AND "
    "ipaddress = '127.0.0.1' AND tcpport = 80;";
const std::string kSiteDomain = "SELECT domainid FROM tw_5.domain WHERE domainname = 'localhost';";
const std::string kVisitors =
    "SELECT groupid FROM tw_5.group_table WHERE displayname = 'local Visitor';";

TEST_P(LocalDomain, IsRegisteredInBothPlacesAndLinkedToTheVisitors) {
    host->Answer(kVisitors, {{"groupid"}, {{2}}});
    EXPECT_THAT(
        Log("ServerDataStep_1_0252"),
        ElementsAre("query " + kRootSites, "query " + kCentralDomain,
                    "execute INSERT INTO tw_tarnwick.domain(siteid, domainname, ipaddress, "
                    "tcpport) VALUES(5,'localhost', '127.0.0.1', 80);",
                    "query " + kSiteDomain,
                    "execute INSERT INTO tw_5.domain(domainname) VALUES('localhost');",
                    "query " + kVisitors,
                    "execute INSERT INTO tw_5.domaingroup(groupid, domainid, domaingrouptype) "
                    "VALUES(2,31, 0);"));
}

TEST_P(LocalDomain, IsAddedOnlyOnce) {
    host->Answer(kCentralDomain, {{"siteid"}, {{5}}});
    host->Answer(kSiteDomain, {{"domainid"}, {{31}}});
    EXPECT_THAT(
        Log("ServerDataStep_1_0252"),
        ElementsAre("query " + kRootSites, "query " + kCentralDomain, "query " + kSiteDomain));
}

TEST_P(LocalDomain, IsAddedWhereItIsMissing) {
    host->Answer(kCentralDomain, {{"siteid"}, {{5}}});
    host->Answer(kVisitors, {{"groupid"}, {{2}}});
    Run("ServerDataStep_1_0252");
    EXPECT_THAT(host->Changes(),
                ElementsAre("execute INSERT INTO tw_5.domain(domainname) VALUES('localhost');",
                            "execute INSERT INTO tw_5.domaingroup(groupid, domainid, "
                            "domaingrouptype) VALUES(2,31, 0);"));
}

TEST_P(LocalDomain, StaysUnlinkedWithoutAVisitorGroup) {
    Run("ServerDataStep_1_0252");
    EXPECT_THAT(host->Changes(),
                ElementsAre("execute INSERT INTO tw_tarnwick.domain(siteid, domainname, ipaddress, "
                            "tcpport) VALUES(5,'localhost', '127.0.0.1', 80);",
                            "execute INSERT INTO tw_5.domain(domainname) VALUES('localhost');"));
}

TEST_P(LocalDomain, TakesTheHostsNameEscaped) {
    host->localHostName = "o'brien\\dev";
    Run("ServerDataStep_1_0252");
    EXPECT_EQ(host->log[1],
              "query SELECT * FROM tw_tarnwick.domain WHERE domainname = 'o''brien\\\\dev' AND "
              "ipaddress = '127.0.0.1' AND tcpport = 80;");
    EXPECT_EQ(host->log[2],
              "execute INSERT INTO tw_tarnwick.domain(siteid, domainname, ipaddress, tcpport) "
              "VALUES(5,'o''brien\\\\dev', '127.0.0.1', 80);");
    EXPECT_EQ(host->log[4],
              "execute INSERT INTO tw_5.domain(domainname) VALUES('o''brien\\\\dev');");
}

TEST_P(LocalDomain, IsNotLookedForWithoutARootSite) {
    host = std::make_shared<test::RecordingHost>();
    host->catalogue.AddTable("tw_tarnwick", "site(siteid INT)");
    update.Configure(host);
    EXPECT_THAT(Log("ServerDataStep_1_0252"), ElementsAre("query " + kRootSites));
}

// --- the two runs as a whole -------------------------------------------------------------------

/// The names of the steps that a run starts.
class StepList : public Observer {
  public:
    std::vector<std::string> steps;
    void StepStarting(const LadderStep& step, const std::string&) override {
        steps.emplace_back(step.name);
    }
};

class ServerLadder : public ServerSteps {
  protected:
    ServerLadder() { host->observer = list; }

    Boolean RunFrom(double version) {
        list->steps.clear();
        host->log.clear();
        return IsSite() ? update.UpdateImportMasterData(kSite, version)
                        : update.UpdateServer(version);
    }
    std::size_t Imports() const {
        const auto sent = host->Lines("execute");
        return static_cast<std::size_t>(
            std::count(sent.begin(), sent.end(), "DELETE FROM tw_tarnwick.component;"));
    }

    std::shared_ptr<StepList> list = std::make_shared<StepList>();
};

INSTANTIATE_TEST_SUITE_P(Target, ServerLadder, ::testing::Values(kCentral, kSite),
                         [](const auto& target) {
                             return target.param == kSite ? "Site" : "Central";
                         });

TEST_P(ServerLadder, AtTheLastThresholdNoStepRuns) {
    EXPECT_EQ(RunFrom(std::max(LadderSteps(Ladder::kServer).back().threshold,
                               LadderSteps(Ladder::kServerData).back().threshold)),
              -1);
    EXPECT_THAT(list->steps, IsEmpty());
}

TEST_P(ServerLadder, At0263TheStepBelow0264IsTheFirst) {
    RunFrom(1.0263);
    ASSERT_FALSE(list->steps.empty());
    EXPECT_EQ(list->steps.front(), "ServerStep_1_0264");
}

TEST_P(ServerLadder, AtTheStartEveryStepRunsTheSchemaFirst) {
    EXPECT_EQ(RunFrom(1.0), -1);
    const auto schema = LadderSteps(Ladder::kServer).size();
    ASSERT_THAT(list->steps, SizeIs(schema + LadderSteps(Ladder::kServerData).size()));
    EXPECT_EQ(list->steps[0], "ServerStep_1_0002");
    EXPECT_EQ(list->steps[schema - 1], LadderSteps(Ladder::kServer).back().name);
    EXPECT_EQ(list->steps[schema], "ReimportReferenceData");
    EXPECT_EQ(list->steps[schema + 2], "ServerDataStep_1_0026");
}

TEST_P(ServerLadder, ASecondRunChangesNoSchema) {
    RunFrom(1.0);
    const std::string once = host->catalogue.Text();
    RunFrom(1.0);
    EXPECT_EQ(host->catalogue.Text(), once);
}

TEST_P(ServerLadder, ImportsOnceForEachRowBelowTheVersionAndOnlyCentrally) {
    host->installFolder = TWUPDATE_SOURCE_FOLDER;
    for (const auto& [version, imports] :
         std::vector<std::pair<double, std::size_t>>{{1.0, 18},
                                                     {1.0018, 18},
                                                     {1.0019, 17},
                                                     {1.0033, 16},
                                                     {1.0034, 15},
                                                     {1.0243, 3},
                                                     {1.0244, 2},
                                                     {1.0262, 1},
                                                     {1.0263, 0}}) {
        RunFrom(version);
        EXPECT_EQ(Imports(), IsSite() ? 0 : imports) << version;
    }
}

TEST_P(ServerLadder, OnlyTheCentralTargetRefreshesAndRecords) {
    const auto isRecord = [](const std::string& line) {
        return line.starts_with("command UPDATE tw_tarnwick.installation") || line == "refresh";
    };
    RunFrom(1.0040);
    EXPECT_EQ(std::count_if(host->log.begin(), host->log.end(), isRecord), IsSite() ? 0 : 2);
    RunFrom(1.0041);
    EXPECT_EQ(std::count_if(host->log.begin(), host->log.end(), isRecord), IsSite() ? 0 : 1);
}

TEST_P(ServerLadder, TouchesTheCopiesOnlyOnASite) {
    RunFrom(1.0);
    for (const std::string& line : host->log) {
        if (IsSite()) {
            EXPECT_EQ(line.find("tw_tarnwick"), std::string::npos) << line;
        } else {
            EXPECT_EQ(line.find("tw_7"), std::string::npos) << line;
        }
    }
}

}  // namespace
}  // namespace twupdate
