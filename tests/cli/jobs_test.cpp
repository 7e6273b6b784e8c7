#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <memory>

#include "cli/installation_fixture.h"
#include "cli/run/failures.h"
#include "cli/run/job_number.h"
#include "cli/sample_fixture.h"
#include "cli/shops_fixture.h"
#include "support/trials.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

// --- how many jobs pay --------------------------------------------------------------------------

TEST(JobNumber, GrowsByHalfAsLongAsThatBringsATenth) {
    cli::JobNumber number(8);
    EXPECT_EQ(number.Now(), 2U);
    EXPECT_EQ(number.Next(100), 3U);
    EXPECT_EQ(number.Next(110), 4U);  // a tenth
    EXPECT_EQ(number.Next(121), 6U);
    EXPECT_EQ(number.Next(133), 6U);  // less than a tenth: kept, but no more
    EXPECT_EQ(number.Next(200), 6U);
}

TEST(JobNumber, TakesJobsBackThatLowerTheRate) {
    cli::JobNumber number(8);
    number.Next(100);
    EXPECT_EQ(number.Next(99), 2U);
    EXPECT_EQ(number.Next(150), 2U);
    cli::JobNumber more(8);
    more.Next(100);
    more.Next(200);
    EXPECT_EQ(more.Next(300), 6U);
    EXPECT_EQ(more.Next(299), 4U);
}

TEST(JobNumber, TriesAgainAfterARest) {
    cli::JobNumber number(8);
    number.Next(100);
    number.Next(100);
    for (unsigned round = 1; round < cli::JobNumber::kRest; ++round) {
        EXPECT_EQ(number.Next(100), 3U);
    }
    EXPECT_EQ(number.Next(100), 4U);
    EXPECT_EQ(number.Next(90), 3U);
}

TEST(JobNumber, StaysWithinItsLimit) {
    cli::JobNumber two(2);
    EXPECT_EQ(two.Next(100), 2U);
    EXPECT_EQ(two.Next(1000), 2U);
    cli::JobNumber eight(8);
    for (double rate = 100; rate < 1e6; rate *= 2) {
        eight.Next(rate);
    }
    EXPECT_EQ(eight.Now(), 8U);
}

TEST(JobNumber, LearnsNothingFromARoundOfFewStatements) {
    cli::JobNumber number(8);
    EXPECT_EQ(number.Next(0), 2U);
    EXPECT_EQ(number.Next(100), 3U);
    EXPECT_EQ(number.Next(1), 3U);
    EXPECT_EQ(number.Next(200), 4U);
}

// --- runs ---------------------------------------------------------------------------------------

class Jobs : public ShopsTest {
  protected:
    /// What the trace tells of each site, in order: the statements of its ladders, its services,
    /// and the record of its version.
    static std::map<std::string, std::vector<std::string>> CallsBySite(
        const std::filesystem::path& trace) {
        constexpr std::string_view kRecord =
            "UPDATE tw_tarnwick.site SET version = ? WHERE siteid = ";
        std::map<std::string, std::vector<std::string>> calls;
        for (auto line : JsonLinesOf(trace)) {
            std::string database = line["database"].get<std::string>();
            const std::string sql = line.value("sql", "");
            if (sql.starts_with(kRecord)) {
                database = "tw_" + sql.substr(kRecord.size(), sql.size() - kRecord.size() - 1);
            }
            for (const char* differs : {"seq", "ms", "job"}) {
                line.erase(differs);
            }
            calls[database].push_back(line.dump());
        }
        calls.erase("tw_tarnwick");
        return calls;
    }
};

TEST_F(Jobs, SendForEachSiteWhatTheWalkSends) {
    const auto trace = (folder_ / "trace").string();
    MakeSites();
    ASSERT_EQ(Run({"--trace", trace, "upgrade", "--jobs", "1"}).status, 0);
    const auto expected = CallsBySite(trace);
    const auto states = States();
    DropSites();
    MakeSites();
    const Outcome outcome = Run({"--json", "--trace", trace, "upgrade", "--jobs", "4"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.Json()["sites"], 5);
    const auto calls = CallsBySite(trace);
    ASSERT_EQ(calls.size(), 5U);
    for (const auto& [database, lines] : expected) {
        EXPECT_EQ(calls.at(database), lines) << database;
        EXPECT_THAT(lines.back(), HasSubstr("UPDATE tw_tarnwick.site SET version = ?"));
    }
    EXPECT_EQ(States(), states);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    // The walk that follows found nothing: behind its one query come the application's refresh and
    // the installation's version.
    const auto lines = JsonLinesOf(trace);
    EXPECT_THAT(lines.at(lines.size() - 3).at("sql").get<std::string>(),
                HasSubstr("siteid > 0 AND version < ? AND harddeleted = 0"));
}

TEST_F(Jobs, WorkAtTheSameTimeAndTheLongestSiteFirst) {
    MakeSitesInUse({7, 8, 9});
    MakeSmallSite(10);
    Execute("UPDATE tw_tarnwick.site SET version = 1.0264 WHERE siteid IN (7, 10);");
    const auto events = (folder_ / "events").string();
    Program run(With({"--events", events, "upgrade", "--jobs", "2"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "2"; }));
    reader_->Execute("COMMIT;");
    EXPECT_EQ(run.Wait().status, 0);
    std::vector<std::pair<int, int>> begun;
    for (const auto& event : JsonLinesOf(events)) {
        if (event["event"] == "site-started") {
            begun.emplace_back(event["site"].get<int>(), event["job"].get<int>());
        }
    }
    ASSERT_EQ(begun.size(), 4U);
    // The jobs begin at the same time: either may take either site.
    EXPECT_THAT(std::vector({begun[0].first, begun[1].first}), UnorderedElementsAre(8, 9));
    EXPECT_THAT(std::vector({begun[0].second, begun[1].second}), UnorderedElementsAre(1, 2));
    EXPECT_EQ(Run({"report", "--events", events, (folder_ / "page").string()}).status, 0);
}

TEST_F(Jobs, FinishTheSitesUnderWayWhenOneFails) {
    MakeSitesInUse({7});
    MakeSiteThatFails(8);
    MakeSmallSite(9);
    Execute("UPDATE tw_tarnwick.site SET version = 1.0264 WHERE siteid = 9;");  // the last
    const auto log = folder_ / "log";
    Program run(With({"--json", "--log", log.string(), "upgrade", "--jobs", "2"}));
    // Site 7 waits; site 8 has failed, so nobody begins site 9.
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
    ASSERT_TRUE(WaitUntil([&] { return ContentOf(log).find("failed: ") != std::string::npos; }));
    usleep(500000);
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                HasSubstr("failed: database tw_8, site schema ladder, step SiteSchemaStep_1_0264"));
    EXPECT_EQ(outcome.err.find("failed:"), outcome.err.rfind("failed:"));
    EXPECT_THAT(outcome.err, HasSubstr("Completed: 1 database (tw_7). The ladders of tw_tarnwick"));
    EXPECT_EQ(outcome.Json()["error"]["database"], "tw_8");
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
    EXPECT_EQ(SiteVersion(8), "1.0262");
    EXPECT_EQ(SiteVersion(9), "1.0264");
    EXPECT_EQ(InstallationVersion(), "1.0262");
    Execute("DROP VIEW tw_8.formtemplateinstance;");
    Execute("CREATE TABLE tw_8.formtemplateinstance(featureid INT);");
    EXPECT_EQ(Run({"upgrade", "--jobs", "2"}).status, 0);
    EXPECT_EQ(SiteVersion(8) + SiteVersion(9) + InstallationVersion(),
              std::string(kCurrentStored) + kCurrentStored + kCurrentStored);
}

TEST_F(Jobs, StopAtTheirNextStatements) {
    MakeSitesInUse({7, 8, 9, 10});
    MakeSmallSite(11);
    Program run(With({"upgrade", "--jobs", "4"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "4"; }));
    run.Signal(SIGTERM);
    usleep(300000);
    EXPECT_TRUE(run.Running());  // the current statements are completed
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 5) << outcome.err;
    for (const char* site : {"tw_7", "tw_8", "tw_9", "tw_10"}) {
        EXPECT_THAT(outcome.err, HasSubstr(fmt::format("stopped as requested, before the next "
                                                       "statement: database {}, ",
                                                       site)));
    }
    EXPECT_EQ(SiteVersion(7) + SiteVersion(11), "1.02621.0262");
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_EQ(Run({"upgrade", "--jobs", "4"}).status, 0);
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
    EXPECT_EQ(SiteVersion(11), kCurrentStored);
}

TEST_F(Jobs, StopBeforeTheirNextSitesWhenTheLockIsLost) {
    MakeSitesInUse({7, 8});
    MakeSmallSite(9);
    Program run(With({"upgrade", "--jobs", "2"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "2"; }));
    Execute("KILL " + Cell("SELECT IS_USED_LOCK('twupdate.run');") + ";");
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("failed: database tw_9: the run has lost its lock"));
    EXPECT_EQ(SiteVersion(7) + SiteVersion(8), std::string(kCurrentStored) + kCurrentStored);
    EXPECT_EQ(SiteVersion(9), "1.0262");
}

TEST_F(Jobs, LeaveASiteThatWasSetAsideMeanwhile) {
    MakeSitesInUse({7, 8});
    MakeSmallSite(9);
    Program run(With({"upgrade", "--jobs", "2"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "2"; }));
    Execute("UPDATE tw_tarnwick.site SET transaction = -1 WHERE siteid = 9;");
    reader_->Execute("COMMIT;");
    EXPECT_EQ(run.Wait().status, 0);
    EXPECT_EQ(SiteVersion(9), "1.0262");
}

TEST_F(Jobs, AreAsManyAsTheServerTakes) {
    MakeSitesInUse({7, 8, 9});
    // One connection for the run, one for its lock, one for a job.
    Execute("CREATE OR REPLACE USER 'few'@'localhost' WITH MAX_USER_CONNECTIONS 3;");
    Execute("GRANT ALL PRIVILEGES ON *.* TO 'few'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    Program run({"--socket", socket, "--user", "few", "--no-site-files", "--no-services", "upgrade",
                 "--jobs", "3"});
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
    usleep(500000);  // the next job is refused
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("warning: no more than 1 site at a time: cannot connect"));
    EXPECT_EQ(SiteVersion(9), kCurrentStored);
}

TEST_F(Jobs, DumpEachSiteBeforeTheyChangeIt) {
    MakeNearlyCurrentInstallation();
    for (const std::int32_t siteId : {7, 8, 9}) {
        MakeSmallSite(siteId);
    }
    const auto backup = folder_ / "backup";
    const Outcome outcome = Run({"--json", "--backup", backup.string(), "upgrade", "--jobs", "3"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::filesystem::path folder = outcome.Json()["backup"].get<std::string>();
    for (const char* database : {"tw_tarnwick", "tw_7", "tw_8", "tw_9"}) {
        EXPECT_TRUE(std::filesystem::exists(folder / (std::string(database) + ".sql.gz")));
    }
    Run({"restore", folder.string(), "--apply"});
    EXPECT_EQ(SiteVersion(8), "1.0262");
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.columns WHERE table_schema = 'tw_8';"),
              "1");
}

TEST_F(Jobs, AreFoundOutByTheProgramUnlessTheirNumberIsGiven) {
    MakeSitesInUse({7, 8});
    MakeSmallSite(9);
    const auto events = (folder_ / "events").string();
    Program run(With({"--events", events, "upgrade"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "2"; }));
    reader_->Execute("COMMIT;");
    EXPECT_EQ(run.Wait().status, 0);
    EXPECT_EQ(SiteVersion(9), kCurrentStored);
    EXPECT_THAT(ContentOf(events), AllOf(HasSubstr("\"job\":2"), Not(HasSubstr("\"job\":3"))));
}

TEST_F(Jobs, AreNoneForASingleSiteUnlessTheirNumberIsGiven) {
    for (const std::vector<std::string>& more :
         std::vector<std::vector<std::string>>{{}, {"--jobs", "auto"}, {"--jobs", "2"}}) {
        Execute("DROP DATABASE IF EXISTS tw_7;");
        Execute("DROP DATABASE IF EXISTS tw_tarnwick;");
        Execute("DROP DATABASE IF EXISTS tw_logs;");
        MakeSmallSites({7});
        const auto events = folder_ / "events";
        std::filesystem::remove(events);
        std::vector<std::string> words{"--events", events.string(), "upgrade"};
        words.insert(words.end(), more.begin(), more.end());
        EXPECT_EQ(Run(words).status, 0);
        const bool hasJobs = ContentOf(events).find("\"job\":") != std::string::npos;
        EXPECT_EQ(hasJobs, !more.empty() && more.back() == "2") << testing::PrintToString(more);
        EXPECT_EQ(SiteVersion(7), kCurrentStored);
    }
}

TEST_F(Jobs, ThatAreKilledAreResumedByTheSameCommand) {
    MakeSites();
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const auto states = States();
    const auto resume = [&] {
        ASSERT_TRUE(
            WaitUntil([] { return Cell("SELECT IS_USED_LOCK('twupdate.run');") == "NULL"; }));
        const Outcome outcome = Run({"upgrade", "--jobs", "4", "--repair"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(States(), states);
        EXPECT_EQ(InstallationVersion(), kCurrentStored);
    };
    {
        DropSites();
        MakeSites();
        const auto reader = Application();  // whom each job waits for, in another step
        reader->Execute("START TRANSACTION;");
        for (const char* table :
             {"tw_7.setting", "tw_8.navigation", "tw_9.email", "tw_10.layoutzone"}) {
            reader->Query(fmt::format("SELECT COUNT(*) FROM {};", table));
        }
        Program run(With({"upgrade", "--jobs", "4"}));
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "4"; }));
        run.Signal(SIGKILL);
        run.Wait();
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "0"; }));
    }
    resume();
    Trials trials("4 jobs: SIGKILL of the program, and the same command again");
    for (unsigned moment = 100; SampleTest::IsSoak() && moment < 4600; moment += 90) {
        trials.Next();
        SCOPED_TRACE(fmt::format("killed after {} ms", moment));
        DropSites();
        MakeSites();
        Program run(With({"upgrade", "--jobs", "4"}));
        usleep(moment * 1000);
        run.Signal(SIGKILL);
        run.Wait();
        resume();
    }
}

// --- sites that fail ----------------------------------------------------------------------------

TEST(SiteFailures, AreAlikeWithoutNamesAndLiterals) {
    EXPECT_EQ(cli::MaskedStatement("UPDATE tw_12.email SET subject = 'it''s \\' 5', n = 1.5 WHERE "
                                   "id IN (1, 2, 3);"),
              "UPDATE tw_?.email SET subject = ?, n = ? WHERE id IN (?);");
    EXPECT_EQ(cli::MaskedStatement("SELECT \"a\" FROM tw_1.formdata_77"),
              "SELECT ? FROM tw_?.formdata_?");
    EXPECT_EQ(cli::MaskedStatement("SELECT 'open"), "SELECT ?");
}

TEST(SiteFailures, AreGroupedTheLargestGroupFirst) {
    const auto failure = [](int site, std::uint32_t code, const std::string& statement) {
        cli::RunFailure one;
        one.where.siteId = site;
        one.where.step = LadderSteps(Ladder::kSiteSchema).front();
        one.code = code;
        one.statement = statement;
        one.text = "no";
        return one;
    };
    cli::RunFailure stopped = failure(99, 0, "");
    stopped.stopped = true;
    const auto groups = cli::GroupFailures(
        {failure(9, 1060, "ALTER TABLE tw_9.a"), failure(40, 1406, "UPDATE tw_40.a SET x = 'p'"),
         failure(12, 1406, "UPDATE tw_12.a SET x = 'qq'"),
         failure(13, 1406, "UPDATE tw_13.b SET x = 'qq'"), stopped});
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_EQ(cli::GroupText(groups[0]), "2 sites: SiteSchemaStep_1_0001, 1406 no: 12, 40");
    EXPECT_EQ(groups[0].statement, "UPDATE tw_?.a SET x = ?");
}

TEST_F(Jobs, KeepGoingPastSitesThatFail) {
    const int sites = SampleTest::IsSoak() ? 1000 : 40;
    MakeNearlyCurrentInstallation();
    for (int siteId = 1; siteId <= sites; ++siteId) {
        if (siteId == 5 || siteId == 23) {
            MakeSiteThatFails(siteId);
        } else {
            MakeSmallSite(siteId);
        }
    }
    Execute("DROP DATABASE tw_31;");
    const auto events = (folder_ / "events").string();
    const auto backup = (folder_ / "backup").string();
    const std::vector<std::string> command{"--json",  "--events", events, "--backup",    backup,
                                           "upgrade", "--jobs",   "4",    "--keep-going"};
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 6) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("warning: left out, site 31: no database that this account "
                                       "can see\n"));
    EXPECT_THAT(outcome.err, HasSubstr("3 sites failed; all other sites of the run are done\n"
                                       "twupdate: 2 sites: SiteSchemaStep_1_0264, 1347 'tw_"));
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr(": 5, 23\n"),
                      HasSubstr("1 site: no database that this account can see: 31\n")));
    const auto json = outcome.Json();
    EXPECT_EQ(json["result"], "incomplete");
    EXPECT_EQ(json["sites"], sites - 3);
    ASSERT_EQ(json["failures"].size(), 2U);
    EXPECT_EQ(json["failures"][0]["sites"], nlohmann::json({5, 23}));
    EXPECT_EQ(json["failures"][0]["code"], 1347);
    EXPECT_EQ(json["failures"][0]["step"], "SiteSchemaStep_1_0264");
    EXPECT_EQ(json["failures"][0]["statement"],
              "ALTER TABLE tw_?.formtemplateinstance ADD COLUMN cachettl INT DEFAULT -? NOT NULL;");
    EXPECT_EQ(json["failures"][1]["sites"], nlohmann::json({31}));
    EXPECT_EQ(json["failed_sites"].size(), 3U);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version = 1.0265;"),
              std::to_string(sites - 3));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_THAT(ContentOf(events), AllOf(HasSubstr("\"event\":\"sites-failed\""),
                                         HasSubstr("\"event\":\"run-incomplete\"")));
    const auto page = (folder_ / "page").string();
    EXPECT_EQ(Run({"report", "--events", events, page}).status, 0);
    EXPECT_THAT(ContentOf(page), AllOf(HasSubstr("tw_5, "), HasSubstr("tw_23, "),
                                       HasSubstr("And 2 more failures; see")));
    for (const int siteId : {5, 23}) {
        Execute(fmt::format("DROP VIEW tw_{}.formtemplateinstance;", siteId));
        Execute(fmt::format("CREATE TABLE tw_{}.formtemplateinstance(featureid INT);", siteId));
    }
    Execute("CREATE DATABASE tw_31;");
    const Outcome again = Run(command);
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.Json()["sites"], 3);
    EXPECT_EQ(again.Json()["backup"], json["backup"]);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
}

TEST_F(Jobs, BeginNoFurtherSiteBeyondMaxFailures) {
    MakeNearlyCurrentInstallation();
    for (const std::int32_t siteId : {7, 8, 9}) {
        MakeSiteThatFails(siteId);
    }
    for (std::int32_t siteId = 10; siteId <= 16; ++siteId) {
        MakeSmallSite(siteId);
    }
    Execute("UPDATE tw_tarnwick.site SET version = 1.0264 WHERE siteid >= 10;");  // the last
    // Of ten sites two may fail.
    for (const char* limit : {"2", "20%", "29%"}) {
        const Outcome outcome = Run({"upgrade", "--jobs", "1", "--max-failures", limit});
        EXPECT_EQ(outcome.status, 1) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("3 sites failed, more than --max-failures allows; no "
                                           "further site was begun\ntwupdate: 3 sites: "));
        EXPECT_EQ(SiteVersion(10), "1.0264");
    }
    const Outcome outcome = Run({"upgrade", "--max-failures", "30%"});
    EXPECT_EQ(outcome.status, 6) << outcome.err;
    EXPECT_EQ(SiteVersion(10) + SiteVersion(16), std::string(kCurrentStored) + kCurrentStored);
    for (const char* limit : {"x", "101%", "-1", "5 %", ""}) {
        EXPECT_EQ(Run({"upgrade", "--max-failures", limit}).status, 2) << limit;
    }
}

TEST_F(Jobs, LeaveOutASiteWhoseInterruptedStepMustBeRepairedFirst) {
    MakeCentralDatabase();
    MakeShop(7);
    MakeShop(8);
    Execute(
        "CREATE TABLE tw_7.twupdate_progress(step VARCHAR(100) NOT NULL PRIMARY KEY, began "
        "DATETIME NOT NULL, ended DATETIME NULL);");
    Execute("INSERT INTO tw_7.twupdate_progress VALUES('SiteContentStep_1_0043', NOW(), NULL);");
    Execute("ALTER TABLE tw_7.email ADD ishtml INT DEFAULT 0 NOT NULL;");
    ASSERT_EQ(Run({"upgrade"}).status, 1);
    EXPECT_EQ(SiteVersion(8), "1");
    const Outcome outcome = Run({"upgrade", "--keep-going"});
    EXPECT_EQ(outcome.status, 6) << outcome.err;
    EXPECT_THAT(outcome.err,
                HasSubstr("warning: left out, site 7: SiteContentStep_1_0043 was interrupted"));
    EXPECT_EQ(SiteVersion(7) + SiteVersion(8), "1" + std::string(kCurrentStored));
}

TEST_F(Jobs, EndTheRunWhenTheLockIsLostAlsoWhenTheyKeepGoing) {
    MakeSitesInUse({7});
    MakeSmallSite(8);
    MakeSmallSite(9);
    Program run(With({"upgrade", "--jobs", "1", "--keep-going"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
    Execute("KILL " + Cell("SELECT IS_USED_LOCK('twupdate.run');") + ";");
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("the run has lost its lock"));
    EXPECT_EQ(SiteVersion(8) + SiteVersion(9), "1.02621.0262");
}

TEST_F(Jobs, AreANumberOrAuto) {
    for (const char* number : {"0", "65", "two", "2x", "-1", ""}) {
        const Outcome outcome = Run({"upgrade", "--jobs", number});
        EXPECT_EQ(outcome.status, 2) << number;
        EXPECT_THAT(outcome.err, HasSubstr("is not a number of jobs; that is 1 to 64, or auto"));
    }
}

}  // namespace
}  // namespace twupdate::test
