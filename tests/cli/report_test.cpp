#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

#include "cli/installation_fixture.h"
#include "cli/report/html.h"
#include "cli/report/page.h"
#include "cli/report/run_events.h"
#include "cli/report/run_figures.h"
#include "cli/report/timeline.h"
#include "cli/terminal/failure.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using cli::RunEnd;
using cli::RunRecord;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// --- events by hand ------------------------------------------------------------------------------

/// An event at this second after 22:00, and the fields behind `event`.
std::string Line(int second, const std::string& event, const std::string& fields = "") {
    char time[40];
    std::snprintf(time, sizeof time, "2026-11-21T22:%02d:%02d.000Z", second / 60, second % 60);
    return std::string(R"({"v":1,"time":")") + time + R"(","event":")" + event + '"' +
           (fields.empty() ? "" : "," + fields) + "}\n";
}

std::string RunStarted(int second, int sites, const std::string& command = "upgrade") {
    return Line(second, "run-started",
                R"("command":")" + command + R"(","from":1.0262,"to":1.0265,"sites_to_do":)" +
                    std::to_string(sites));
}

std::string Where(const std::string& database, const std::string& ladder,
                  const std::string& step = "") {
    return R"("database":")" + database + R"(","ladder":")" + ladder + '"' +
           (step.empty() ? "" : R"(,"step":")" + step + '"');
}

std::string Step(int from, int to, const std::string& where, int statements,
                 const std::string& slowest, int slowestMs) {
    return Line(from, "step-started", where) +
           Line(to, "step-finished",
                where + R"(,"ms":)" + std::to_string((to - from) * 1000) + R"(,"statements":)" +
                    std::to_string(statements) + R"(,"slowest":{"sql":")" + slowest + R"(","ms":)" +
                    std::to_string(slowestMs) + "}");
}

/// The central database takes 10 s: one step of each ladder, 4 s and 5 s.
std::string Central() {
    return Line(0, "ladder-started", Where("tw_tarnwick", "server") + R"(,"from":1.0262)") +
           Step(0, 4, Where("tw_tarnwick", "server", "ServerStep_1_0264"), 3, "ALTER one", 2500) +
           Line(4, "ladder-finished", Where("tw_tarnwick", "server")) +
           Line(4, "ladder-started", Where("tw_tarnwick", "server data") + R"(,"from":1.0262)") +
           Step(5, 10, Where("tw_tarnwick", "server data", "ReimportReferenceData"), 4, "INSERT",
                4000) +
           Line(10, "ladder-finished", Where("tw_tarnwick", "server data")) +
           Line(10, "central-finished",
                R"("database":"tw_tarnwick","from":1.0262,"ms":10000,"steps":2,"statements":8,)"
                R"("counts":{"databases":1,"sites":0,"sites_to_do":2,"steps":2,"statements":8,)"
                R"("services":0})");
}

std::string SiteStarted(int second, int site) {
    const std::string name = "tw_" + std::to_string(site);
    return Line(second, "site-started",
                R"("database":")" + name + R"(","site":)" + std::to_string(site) +
                    R"(,"from":1.0262)") +
           Line(second, "ladder-started", Where(name, "site schema") + R"(,"from":1.0262)");
}

/// A site with one step of so many seconds, which is all that it takes.
std::string Site(int second, int site, int takes) {
    const std::string name = "tw_" + std::to_string(site);
    return SiteStarted(second, site) +
           Step(second, second + takes, Where(name, "site schema", "SiteSchemaStep_1_0264"), 2,
                "ALTER " + name, takes * 900) +
           Line(second + takes, "ladder-finished", Where(name, "site schema")) +
           Line(second + takes, "site-finished",
                R"("database":")" + name + R"(","site":)" + std::to_string(site) +
                    R"(,"from":1.0262,"ms":)" + std::to_string(takes * 1000) +
                    R"(,"steps":1,"statements":2)");
}

std::string Service(int second, const std::string& name, int component, bool failed) {
    return Line(second, "service",
                R"("database":"tw_7","site":7,"service":")" + name + R"(","component":)" +
                    std::to_string(component) + R"(,"ms":200,"failed":)" +
                    (failed ? "true" : "false"));
}

/// The site's step fails with this error after a second.
std::string SiteFails(int second, int site, int code, const std::string& error) {
    const std::string name = "tw_" + std::to_string(site);
    const std::string where = Where(name, "site schema", "SiteSchemaStep_1_0264");
    const std::string why = where + R"(,"site":)" + std::to_string(site) +
                            R"(,"statement":"ALTER TABLE x","code":)" + std::to_string(code) +
                            R"(,"sqlstate":"42S02","error":")" + error + '"';
    return SiteStarted(second, site) + Line(second, "step-started", where) +
           Line(second + 1, "site-failed", why) + Line(second + 1, "run-failed", why);
}

std::string Finished(int second, int took, int statements) {
    return Line(second, "run-finished",
                R"("command":"upgrade","ms":)" + std::to_string(took * 1000) +
                    R"(,"counts":{"databases":3,"sites":2,"sites_to_do":2,"steps":4,)"
                    R"("statements":)" +
                    std::to_string(statements) + R"(,"services":3})");
}

/// 40 s: the central database 10 s, site 7 20 s, site 8 6 s, and the rest between them.
std::string WholeRun() {
    return RunStarted(0, 2) + Central() + Site(11, 7, 20) +
           Service(31, "UpgradeSiteComponent", 100, false) +
           Service(31, "UpgradeSiteComponent", 200, false) +
           Service(31, "RefreshSiteComponent", 100, false) + Site(32, 8, 6) + Finished(40, 40, 15);
}

std::vector<RunRecord> Runs(const std::string& events) {
    const TemporaryFolder folder;
    WriteFile(folder / "events", events);
    return cli::ReadRuns(folder / "events");
}

/// What the reader says of events that it refuses.
std::string Refused(const std::string& events) {
    const TemporaryFolder folder;
    WriteFile(folder / "events", events);
    try {
        cli::ReadRuns(folder / "events");
    } catch (const cli::CommandError& error) {
        const std::string line = error.what();
        return line.substr(line.find("events") + 6);
    }
    return "(nothing)";
}

// --- reading -------------------------------------------------------------------------------------

TEST(RunEvents, AreReadWhole) {
    const auto runs = Runs(WholeRun());
    ASSERT_EQ(runs.size(), 1U);
    const RunRecord& run = runs[0];
    EXPECT_EQ(run.command, "upgrade");
    EXPECT_EQ(run.end, RunEnd::kFinished);
    EXPECT_EQ(cli::TimeHtml(run.start), "2026-11-21 22:00:00");
    EXPECT_EQ(run.duration, seconds(40));
    EXPECT_EQ(run.sitesToDo, 2U);
    EXPECT_EQ(run.DatabasesEnded(), 3U);
    EXPECT_EQ(run.SitesEnded(), 2U);
    EXPECT_EQ(run.StepsEnded(), 4U);
    EXPECT_EQ(run.statements, 15U);
    EXPECT_EQ(run.services.size(), 3U);
    EXPECT_FALSE(run.failure);
    EXPECT_EQ(run.InHand(), nullptr);
    ASSERT_EQ(run.databases.size(), 3U);
    const auto& central = run.databases[0];
    EXPECT_EQ(central.name, "tw_tarnwick");
    EXPECT_FALSE(central.siteId);
    EXPECT_EQ(central.duration, seconds(10));
    ASSERT_EQ(central.ladders.size(), 2U);
    EXPECT_EQ(central.ladders[1].name, "server data");
    EXPECT_EQ(central.ladders[1].end - central.ladders[1].start, seconds(6));
    EXPECT_EQ(central.steps[1].duration, seconds(5));
    EXPECT_EQ(central.steps[1].slowest, "INSERT");
    EXPECT_EQ(run.databases[1].siteId, 7);
    EXPECT_DOUBLE_EQ(run.databases[1].from, 1.0262);
}

TEST(RunEvents, OfAKilledRunTellWhereItWas) {
    const std::string killed =
        RunStarted(0, 2) + Central() + SiteStarted(11, 7) +
        Line(12, "step-started", Where("tw_7", "site schema", "SiteSchemaStep_1_0264")) +
        Service(17, "UpgradeSiteComponent", 100, false);
    for (const char* rest : {"", R"({"v":1,"time":"2026-11-21T22:00:1)"}) {
        const RunRecord run = Runs(killed + rest).at(0);
        EXPECT_EQ(run.end, RunEnd::kNone);
        EXPECT_EQ(run.truncatedLine, *rest != '\0');
        EXPECT_EQ(run.duration, seconds(17));
        EXPECT_EQ(run.statements, 8U);
        ASSERT_NE(run.InHand(), nullptr);
        EXPECT_EQ(run.InHand()->name, "tw_7");
        EXPECT_EQ(run.InHand()->duration, seconds(6));
        EXPECT_FALSE(run.InHand()->steps.at(0).ended);
        EXPECT_EQ(run.InHand()->steps.at(0).duration, seconds(5));
    }
}

TEST(RunEvents, OfSeveralJobsAreMixed) {
    const auto step = [](int second, const char* event, const char* database,
                         const char* rest = "") {
        return Line(second, event, Where(database, "site schema", "SiteSchemaStep_1_0264") + rest);
    };
    const RunRecord run =
        Runs(RunStarted(0, 3) + Central() + SiteStarted(11, 7) + SiteStarted(12, 8) +
             step(15, "step-started", "tw_7") + step(16, "step-started", "tw_8") +
             step(18, "step-finished", "tw_7", R"(,"ms":3000,"statements":4)") +
             Line(19, "site-finished", R"("database":"tw_7","site":7,"ms":8000,"statements":5)"))
            .at(0);
    ASSERT_EQ(run.databases.size(), 3U);
    EXPECT_TRUE(run.databases[1].ended);
    EXPECT_EQ(run.databases[1].duration, seconds(8));
    EXPECT_EQ(run.databases[1].steps.at(0).duration, seconds(3));
    EXPECT_FALSE(run.databases[2].ended);
    EXPECT_EQ(run.databases[2].duration, seconds(7));  // to the last event
    EXPECT_EQ(run.databases[2].steps.at(0).duration, seconds(3));
    EXPECT_EQ(run.InHand()->name, "tw_8");
}

TEST(RunEvents, CountTheStatementsOfAStepThatRunsWhileAnotherSiteEndsOnce) {
    const auto where = [](const char* site) {
        return Where(site, "site schema", "SiteSchemaStep_1_0264");
    };
    const std::string begun =
        RunStarted(0, 2) + SiteStarted(11, 7) + SiteStarted(12, 8) +
        Line(15, "step-started", where("tw_7")) + Line(16, "step-started", where("tw_8")) +
        Line(18, "step-finished", where("tw_7") + R"(,"ms":3,"statements":4)");
    // Of its six statements the other site has sent two.
    const std::string ended =
        begun + Line(19, "site-finished",
                     R"("database":"tw_7","site":7,"ms":8000,"statements":4,"counts":)"
                     R"({"databases":1,"sites":1,"sites_to_do":2,"steps":1,"statements":6})");
    EXPECT_EQ(Runs(begun).at(0).statements, 4U);
    EXPECT_EQ(Runs(ended).at(0).statements, 6U);
    const std::string all = ended +
                            Line(20, "step-finished", where("tw_8") + R"(,"ms":4,"statements":6)") +
                            Line(21, "run-failed",
                                 where("tw_8") + R"(,"counts":{"databases":1,"sites":1,)"
                                                 R"("sites_to_do":2,"steps":2,"statements":10})");
    EXPECT_EQ(Runs(all).at(0).statements, 10U);
}

TEST(RunEvents, OfALastLineWithoutItsBreakCount) {
    std::string events = WholeRun();
    events.pop_back();
    const RunRecord run = Runs(events).at(0);
    EXPECT_EQ(run.end, RunEnd::kFinished);
    EXPECT_FALSE(run.truncatedLine);
}

TEST(RunEvents, OfSeveralRunsBehindOneAnotherAreKeptApart) {
    const auto runs =
        Runs(RunStarted(0, 2) + Central() + SiteFails(11, 7, 1146, "gone") + RunStarted(60, 2) +
             RunStarted(120, 0) + Line(121, "run-finished", R"("ms":1000)"));
    ASSERT_EQ(runs.size(), 3U);
    EXPECT_EQ(runs[0].end, RunEnd::kFailed);
    EXPECT_EQ(runs[0].duration, seconds(12));
    ASSERT_TRUE(runs[0].failure);
    EXPECT_EQ(runs[0].failure->code, 1146U);
    EXPECT_EQ(runs[0].failure->sqlState, "42S02");
    EXPECT_EQ(runs[0].failure->step, "SiteSchemaStep_1_0264");
    EXPECT_EQ(runs[0].databases.at(1).steps.at(0).duration, seconds(1));
    EXPECT_EQ(runs[1].end, RunEnd::kNone);
    EXPECT_TRUE(runs[1].databases.empty());
    EXPECT_EQ(runs[2].end, RunEnd::kFinished);
}

TEST(RunEvents, AfterATruncatedLineBelongToTheNextRun) {
    const auto runs = Runs(RunStarted(0, 2) + Central() + "{\"v\":1,\"ti\n" + WholeRun());
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_TRUE(runs[0].truncatedLine);
    EXPECT_EQ(runs[0].end, RunEnd::kNone);
    EXPECT_FALSE(runs[1].truncatedLine);
    EXPECT_EQ(runs[1].end, RunEnd::kFinished);
    EXPECT_EQ(Refused(RunStarted(0, 2) + "{\"v\":1,\"ti\n" + Central()),
              ", line 2: not a JSON object");
    EXPECT_EQ(Refused(RunStarted(0, 2) + "{\"v\":1,\"ti\n"), ", line 2: not a JSON object");
}

TEST(RunEvents, OfAFailureBesideTheLaddersNameTheDatabaseInHand) {
    const RunRecord run =
        Runs(RunStarted(0, 1) + SiteStarted(1, 7) +
             Line(2, "run-failed", R"("database":"tw_tarnwick","site":7,"error":"no")"))
            .at(0);
    EXPECT_EQ(run.failure->database, "tw_7");
    EXPECT_EQ(run.failure->code, 0U);
}

TEST(RunEvents, ThatLaterReleasesAddAreSkipped) {
    EXPECT_EQ(Runs(RunStarted(0, 0) + Line(1, "moon-rose", R"("ms":"x")") +
                   Line(2, "run-finished", R"("ms":2000,"phase":[1])"))
                  .at(0)
                  .end,
              RunEnd::kFinished);
}

TEST(RunEvents, ThatAreNoneAreRefusedWithTheLine) {
    EXPECT_EQ(Refused(""), " holds no events of a run");
    EXPECT_EQ(Refused("{\"v\":1,\"ti"), ", line 1: not a JSON object");
    EXPECT_EQ(Refused(RunStarted(0, 0) + "hello\n" + RunStarted(1, 0)),
              ", line 2: not a JSON object");
    EXPECT_EQ(Refused(RunStarted(0, 0) + "[1]\n"), ", line 2: not a JSON object");
    EXPECT_EQ(Refused("{\"seq\":1}\n"), ", line 1: not an event of a run");
    EXPECT_EQ(Refused("{\"v\":2,\"event\":\"run-started\"}\n"),
              ", line 1: the events have version 2, but this program reads version 1");
    EXPECT_EQ(Refused("{\"v\":1,\"event\":\"run-started\",\"time\":\"now\"}\n"),
              ", line 1: 'time' is not a time such as 2026-11-21T09:05:03.120Z");
    EXPECT_EQ(Refused(Line(0, "site-started", R"("database":"tw_7")")),
              ", line 1: 'site-started' is outside of a run; a run begins with run-started");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "run-finished") + Line(2, "service")),
              ", line 3: 'service' is outside of a run; a run begins with run-started");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "step-started", R"("step":"X")")),
              ", line 2: a step outside of a ladder");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "site-finished")),
              ", line 2: the end of a database that was not begun");
    EXPECT_EQ(Refused(RunStarted(0, 0) + SiteStarted(1, 7) + SiteStarted(2, 7)),
              ", line 4: a database begins again before it has ended");
    EXPECT_EQ(
        Refused(RunStarted(0, 0) + SiteStarted(1, 7) + Line(2, "step-finished", R"("step":"X")")),
        ", line 4: the end of a step that was not begun");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "service", R"("service":7)")),
              ", line 2: 'service' has a value of the wrong type");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "service", R"("component":"x")")),
              ", line 2: 'component' has a value of the wrong type");
    const auto refusedStart = [](const std::string& fields) {
        return Refused(Line(0, "run-started", R"("command":"upgrade",)" + fields));
    };
    for (const char* sites : {"7", "[7]", R"([{"from":1}])", R"([{"site":"7"}])"}) {
        EXPECT_THAT(refusedStart(R"("sites":)" + std::string(sites)),
                    testing::ContainsRegex("^, line 1: 'sites?' has a value of the wrong type$"));
    }
    for (const char* leftOut : {"7", "[7]", R"({"deleted":7})", R"({"deleted":["7"]})"}) {
        EXPECT_EQ(refusedStart(R"("left_out":)" + std::string(leftOut)),
                  ", line 1: 'left_out' has a value of the wrong type");
    }
    EXPECT_EQ(Refused(RunStarted(0, -1)), ", line 1: 'sites_to_do' has a value of the wrong type");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "run-finished", R"("ms":"1")")),
              ", line 2: 'ms' has a value of the wrong type");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "service", R"("failed":0)")),
              ", line 2: 'failed' has a value of the wrong type");
    EXPECT_EQ(Refused(RunStarted(0, 0) + Line(1, "run-finished", R"("counts":3)")),
              ", line 2: 'counts' has a value of the wrong type");
}

TEST(RunEvents, WithBytesThatAreNoUtf8AreReadWithSignsForThem) {
    const auto runs = Runs(RunStarted(0, 0, "up\xFFgrade") + Line(1, "run-finished"));
    EXPECT_EQ(runs.at(0).command, "up\xEF\xBF\xBDgrade");
}

TEST(RunEvents, WithImpossibleTimesDoNoHarm) {
    const RunRecord run =
        Runs(RunStarted(50, 1) + SiteStarted(10, 7) + Line(5, "run-finished", R"("ms":-3)")).at(0);
    EXPECT_EQ(run.duration, seconds(0));
    EXPECT_THAT(cli::ReportPage(std::vector{run}), HasSubstr("tw_7"));
    EXPECT_EQ(Runs(RunStarted(0, 0) + Line(1, "run-finished", R"("ms":1e300)")).at(0).duration,
              std::chrono::duration_cast<cli::EventDuration>(milliseconds(100000000000)));
}

// --- figures -------------------------------------------------------------------------------------

TEST(RunFigures, AddUpTheStepsOfAllDatabases) {
    const auto runs = Runs(WholeRun());
    const auto totals = cli::StepTotals(runs);
    ASSERT_EQ(totals.size(), 3U);
    EXPECT_EQ(totals[0].name, "SiteSchemaStep_1_0264");
    EXPECT_EQ(totals[0].times, 2U);
    EXPECT_EQ(totals[0].statements, 4U);
    EXPECT_EQ(totals[0].sum, seconds(26));
    EXPECT_EQ(totals[0].longest, seconds(20));
    EXPECT_EQ(totals[0].longestIn, "tw_7");
    EXPECT_EQ(totals[1].name, "ReimportReferenceData");
    EXPECT_EQ(totals[2].sum, seconds(4));
}

TEST(RunFigures, NameTheLongestStepsAndStatements) {
    const auto runs = Runs(WholeRun());
    const auto steps = cli::LongestSteps(runs[0], 3);
    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[0].database->name, "tw_7");
    EXPECT_EQ(steps[1].database->name, "tw_8");
    EXPECT_EQ(steps[2].step->name, "ReimportReferenceData");
    // 18 s, 5.4 s, 4 s, 2.5 s
    const auto statements = cli::SlowestStatements(runs, 10);
    ASSERT_EQ(statements.size(), 4U);
    EXPECT_EQ(statements[0].step->slowest, "ALTER tw_7");
    EXPECT_EQ(statements[0].step->slowestTime, seconds(18));
    EXPECT_EQ(statements[2].step->slowest, "INSERT");
    EXPECT_EQ(cli::SlowestStatements(runs, 1).size(), 1U);
}

TEST(RunFigures, PutFailuresTogetherByStepAndErrorAndSayWhatIsOpen) {
    const auto runs =
        Runs(RunStarted(0, 3) + SiteFails(1, 7, 1146, "tw_7.a is gone") +  //
             RunStarted(10, 3) + SiteFails(11, 7, 1060, "twice") +         //
             RunStarted(20, 3) + Site(21, 7, 1) + SiteFails(23, 8, 1146, "8") + RunStarted(30, 2) +
             Line(31, "run-stopped", R"("database":"tw_tarnwick","error":"stop")"));
    const auto groups = cli::FailureGroups(runs);
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].Latest().code, 1146U);
    ASSERT_EQ(groups[0].occurrences.size(), 2U);
    EXPECT_TRUE(groups[0].occurrences[0].resolved);  // tw_7, by the third run
    EXPECT_FALSE(groups[0].occurrences[1].resolved);
    EXPECT_EQ(groups[0].Latest().error, "8");
    EXPECT_EQ(groups[1].Latest().code, 1060U);
    EXPECT_TRUE(groups[1].occurrences[0].resolved);
}

TEST(RunFigures, KeepFailuresWithoutAServerErrorApartByTheirText) {
    const auto failed = [](int second, const std::string& error) {
        return RunStarted(second, 0, "create-core") +
               Line(second + 1, "run-failed",
                    R"("database":"tw_tarnwick","error":")" + error + '"');
    };
    const auto runs = Runs(failed(0, "no file a") + failed(10, "no file b") +
                           RunStarted(20, 0, "create-core") + Line(21, "run-finished"));
    const auto groups = cli::FailureGroups(runs);
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_TRUE(groups[0].occurrences[0].resolved);  // the whole command was run again
}

TEST(RunFigures, CountTheCallsOfServices) {
    const auto runs = Runs(RunStarted(0, 0) + Service(1, "Upgrade", 100, false) +
                           Service(1, "Upgrade", 100, true) + Service(1, "Upgrade", 200, true) +
                           Service(2, "Refresh", 100, false) + Line(3, "run-finished"));
    const auto totals = cli::ServiceTotals(runs);
    ASSERT_EQ(totals.size(), 2U);
    EXPECT_EQ(totals[0].name, "Upgrade");
    EXPECT_EQ(totals[0].calls, 3U);
    EXPECT_EQ(totals[0].failed, 2U);
    EXPECT_EQ(totals[0].components, 2U);
    EXPECT_EQ(totals[0].sum, milliseconds(600));
    EXPECT_EQ(totals[0].longest, milliseconds(200));
    EXPECT_EQ(totals[1].failed, 0U);
}

TEST(RunFigures, CountADatabaseOnceHoweverOftenItWasBegun) {
    const auto runs = Runs(RunStarted(0, 2) + Central() + Site(10, 7, 4) + Site(14, 8, 6) +
                           SiteFails(20, 9, 1146, "x") + RunStarted(30, 1) + Site(31, 9, 8) +
                           SiteFails(41, 10, 1146, "x"));
    const auto totals = cli::VersionTotals(runs);
    ASSERT_EQ(totals.size(), 1U);
    EXPECT_EQ(totals[0].begun, 5U);
    EXPECT_EQ(totals[0].ended, 4U);
    // 4, 6, 8 and 10 s
    EXPECT_EQ(totals[0].median, seconds(6));
    EXPECT_EQ(totals[0].longest, seconds(10));
    EXPECT_EQ(totals[0].longestIn, "tw_tarnwick");
}

// --- the page ------------------------------------------------------------------------------------

TEST(ReportPage, WritesTextSoThatItIsTextAlone) {
    EXPECT_EQ(cli::Html("<script>a && \"b\" 'c'</script>"),
              "&lt;script&gt;a &amp;&amp; &quot;b&quot; &#39;c&#39;&lt;/script&gt;");
    EXPECT_EQ(cli::Html(std::string("a\0b\x1B[1m\xC3\xA9\xFF", 10)), "a b [1m\xC3\xA9\xEF\xBF\xBD");
}

TEST(ReportPage, WritesDurationsForPeople) {
    EXPECT_EQ(cli::DurationHtml(std::chrono::microseconds(430)), "0.4 ms");
    EXPECT_EQ(cli::DurationHtml(std::chrono::microseconds(9960)), "10 ms");
    EXPECT_EQ(cli::DurationHtml(milliseconds(999)), "999 ms");
    EXPECT_EQ(cli::DurationHtml(std::chrono::microseconds(999700)), "1.0 s");
    EXPECT_EQ(cli::DurationHtml(seconds(7620)), "2 h 07 min");
    EXPECT_EQ(cli::ShareHtml(seconds(1), seconds(200)), "&lt; 1 %");
    EXPECT_EQ(cli::ShareHtml(seconds(1), seconds(4)), "25 %");
    EXPECT_EQ(cli::ShareHtml(seconds(1), seconds(0)), "");
}

TEST(ReportPage, HasAnAxisThatFitsTheRun) {
    const cli::EventTime start = std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) +
                                 std::chrono::hours(22) + std::chrono::minutes(7);
    const auto labels = [&](cli::EventDuration length) {
        std::string all;
        for (const auto& mark : cli::AxisMarks(start, length)) {
            EXPECT_GE(mark.share, 0);
            EXPECT_LE(mark.share, 1);
            all += (all.empty() ? "" : " | ") + mark.label;
        }
        return all;
    };
    EXPECT_EQ(labels(milliseconds(1)), "0 s | 0.001 s");
    EXPECT_EQ(labels(seconds(1)), "0 s | 0.5 s | 1 s");
    EXPECT_EQ(labels(seconds(40)), "0 s | 10 s | 20 s | 30 s | 40 s");
    EXPECT_EQ(labels(seconds(3600)), "22:15 | 22:30 | 22:45 | 23:00");
    EXPECT_EQ(labels(std::chrono::hours(72)), "2026-11-22 | 2026-11-23 | 2026-11-24");
}

TEST(ReportPage, SaysHowTheRunEnded) {
    const auto page = [](const std::string& events) { return cli::ReportPage(Runs(events)); };
    EXPECT_THAT(page(WholeRun()), HasSubstr("<strong>✓ Finished.</strong>"));
    EXPECT_THAT(page(RunStarted(0, 1) + SiteFails(1, 7, 1146, "no table")),
                HasSubstr("<strong>✗ Failed</strong> in tw_7, site schema ladder, step "
                          "SiteSchemaStep_1_0264 (" +
                          cli::StepWordsHtml("SiteSchemaStep_1_0264") +
                          "): server error 1146 (42S02): no table</p>"));
    EXPECT_THAT(page(RunStarted(0, 1) + SiteStarted(1, 7) +
                     Line(2, "run-stopped", R"("database":"tw_7","error":"stop")")),
                AllOf(HasSubstr("<strong>◼ Stopped</strong> as was asked for, in tw_7."),
                      HasSubstr("tw_7: stopped after 1.0 s"), HasSubstr("<p>None.</p>")));
    EXPECT_THAT(page(RunStarted(0, 1) + SiteStarted(1, 7) + "{\"v"),
                HasSubstr("<strong>… Did not end:</strong> the last event is of 2026-11-21 "
                          "22:00:01 UTC, in tw_7; the event after it is truncated. The program was "
                          "killed, or is still running."));
    EXPECT_THAT(page(RunStarted(0, 0, "create-core") + Line(1, "run-finished", R"("ms":1000)")),
                HasSubstr("no ladder was begun"));
}

TEST(ReportPage, HasARowForEachSiteWhileThereIsRoom) {
    std::string events = RunStarted(0, 60) + Central();
    for (int site = 1; site <= 60; ++site) {
        events += Site(10 + site, site, 1);
    }
    const std::string page = cli::ReportPage(Runs(events + Finished(71, 71, 128)));
    EXPECT_THAT(page, AllOf(HasSubstr("tw_60: 1.0 s</text>"), Not(HasSubstr("tw_1 to "))));
}

TEST(ReportPage, HasALaneForEachJob) {
    const auto begins = [](int second, int id, int job) {
        return Line(
            second, "site-started",
            fmt::format(R"("job":{0},"database":"tw_{1}","site":{1},"from":1.0262)", job, id));
    };
    const auto ends = [](int second, int id, int took) {
        return Line(second, "site-finished",
                    fmt::format(R"("database":"tw_{0}","site":{0},"ms":{1})", id, took * 1000));
    };
    const std::string page = cli::ReportPage(
        Runs(RunStarted(0, 4) + Central() + begins(10, 7, 1) + begins(11, 8, 2) + ends(14, 7, 4) +
             begins(15, 9, 1) + ends(18, 9, 3) + ends(19, 8, 8) + begins(20, 10, 2) +
             Line(22, "run-stopped", R"("database":"tw_10","error":"stop")")));
    EXPECT_THAT(
        page,
        AllOf(HasSubstr(">tw_tarnwick: 10 s</text>"), HasSubstr(">job 1: 2 sites, 7.0 s</text>"),
              HasSubstr(">job 2: 2 sites, 10 s</text>"),  // 8 s, and 2 s until the stop
              Not(HasSubstr("tw_7: "))));
    // The site that has not ended, at the end of the 22 s.
    EXPECT_THAT(page, HasSubstr("<line class=\"interrupted\" x1=\"100.00%\""));
}

TEST(ReportPage, ReloadsItselfUntilTheRunHasEnded) {
    const std::string running = RunStarted(0, 2) + Central() + SiteStarted(11, 7);
    const auto page = [](const std::string& events) {
        return cli::ReportPage(Runs(events), seconds(5));
    };
    EXPECT_THAT(page(running),
                AllOf(HasSubstr("<meta http-equiv=\"refresh\" content=\"5\">"),
                      HasSubstr("<strong>▶ Running:</strong> the last event is of 2026-11-21 "
                                "22:00:11 UTC, in tw_7."),
                      Not(HasSubstr("was killed, or"))));
    EXPECT_THAT(page(WholeRun()), AllOf(Not(HasSubstr("refresh")), HasSubstr("✓ Finished.")));
}

TEST(ReportPage, ListsEveryDatabaseWithItsOutcome) {
    const std::string planned =
        R"(,"sites":[{"site":7,"from":1.0262},{"site":8,"from":1.0262},{"site":10,"from":1.01}])";
    const std::string page = cli::ReportPage(
        Runs(Line(0, "run-started",
                  R"("command":"upgrade","from":1.0262,"to":1.0265,"sites_to_do":3)" + planned) +
             Central() + Site(11, 7, 20) + SiteFails(31, 8, 1146, "gone") + RunStarted(60, 2) +
             SiteFails(61, 8, 1146, "gone")));
    const auto begin = page.find("<table id=\"all-databases\">");
    ASSERT_NE(begin, std::string::npos);
    const std::string table = page.substr(begin, page.find("</table>", begin) - begin);
    const auto row = [](const std::string& name, const std::string& from, const std::string& to,
                        const std::string& took, const std::string& statements,
                        const std::string& outcome) {
        return "<tr><th scope=\"row\">" + name + "</th><td>" + from + "</td><td>" + to +
               "</td><td class=\"number\">" + took + "</td><td class=\"number\">" + statements +
               "</td><td>" + outcome + "</td></tr>\n";
    };
    // Site 8 failed twice, after a second each time.
    EXPECT_THAT(table, HasSubstr(row("tw_tarnwick", "1.0262", "1.0265", "10 s", "8",
                                     "<span class=\"good-word\">✓ upgraded</span>") +
                                 row("tw_7", "1.0262", "1.0265", "20 s", "2",
                                     "<span class=\"good-word\">✓ upgraded</span>") +
                                 row("tw_8", "1.0262", "–", "2.0 s", "0",
                                     "<span class=\"bad-word\">✗ failed</span>") +
                                 row("tw_10", "1.0100", "–", "–", "–", "not begun")));
}

TEST(ReportPage, NamesTheSitesLeftOutAndTheServer) {
    const auto started = [](const std::string& command, const std::string& leftOut) {
        return Line(0, "run-started",
                    R"("command":")" + command + R"(","from":1,"to":1.0265,"sites_to_do":0,)" +
                        R"("left_out":)" + leftOut +
                        R"(,"server":"10.11.6-MariaDB on db1, port 3306","account":"root@%")") +
               Line(1, "run-finished", R"("ms":1000)");
    };
    const std::string page = cli::ReportPage(
        Runs(started("upgrade", R"({"deleted":[1]})") +
             started("upgrade", R"({"in transaction":[4,9],"hard-<b>deleted":[8]})") +
             started("upgrade-site", "{}")));
    EXPECT_THAT(page, HasSubstr("<h3>Sites left out</h3>\n<ul id=\"left-out\">\n"
                                "<li>hard-&lt;b&gt;deleted: 1 site (8)</li>\n"
                                "<li>in transaction: 2 sites (4, 9)</li>\n</ul>"));
    EXPECT_THAT(page, HasSubstr("<p class=\"quiet\" id=\"server\">Server: 10.11.6-MariaDB on db1, "
                                "port 3306, account root@%.</p>"));
    const std::string ids = [] {
        std::string list = "1";
        for (int id = 2; id <= 250; ++id) {
            list += "," + std::to_string(id);
        }
        return list;
    }();
    EXPECT_THAT(cli::ReportPage(Runs(started("upgrade", R"({"deleted":[)" + ids + "]}"))),
                HasSubstr("199, 200 and 50 more)</li>"));
}

TEST(ReportPage, TellsStepsInWords) {
    EXPECT_EQ(cli::StepWordsHtml("SiteContentStep_1_0043"),
              "Escapes the angle brackets of all e-mails, which become HTML");
    EXPECT_EQ(cli::StepWordsHtml("SiteContentStep_9_9999"), "");
    const std::string page = cli::ReportPage(Runs(WholeRun()));
    const std::string cell =
        "<td class=\"words\">" + cli::StepWordsHtml("SiteSchemaStep_1_0264") + "</td>";
    EXPECT_THAT(page.substr(page.find("id=\"longest-1\"")), HasSubstr(cell));
    EXPECT_THAT(page.substr(page.find("id=\"steps-table\"")), HasSubstr(cell));
}

TEST(ReportPage, NamesFailuresOfEarlierRunsThatAreStillOpen) {
    const std::string open =
        cli::ReportPage(Runs(RunStarted(0, 1) + SiteFails(1, 7, 1146, "x") + RunStarted(10, 1) +
                             Site(11, 8, 1) + Line(12, "run-finished")));
    EXPECT_THAT(open, HasSubstr("<strong>✗ 1 failure</strong> of earlier runs was not resolved"));
    const std::string resolved =
        cli::ReportPage(Runs(RunStarted(0, 1) + SiteFails(1, 7, 1146, "x") + RunStarted(10, 1) +
                             Site(11, 7, 1) + Line(12, "run-finished")));
    EXPECT_THAT(resolved, AllOf(Not(HasSubstr("of earlier runs")),
                                HasSubstr("tw_7, 2026-11-21 22:00:02 UTC: <span "
                                          "class=\"good-word\">✓ resolved by a later run")));
}

TEST(ReportPage, LetsNoTextOfTheEventsBecomeMarkup) {
    const std::string hostile = R"(</title></style></code><script>alert('x')</script>\" \u0007&)";
    const std::string where = R"("database":")" + hostile + R"(","ladder":")" + hostile +
                              R"(","step":")" + hostile + R"(","threshold":1)";
    const std::string page = cli::ReportPage(
        Runs(RunStarted(0, 1, hostile) +
             Line(1, "site-started", R"("site":7,"from":1,"database":")" + hostile + '"') +
             Line(1, "ladder-started", where) + Line(1, "step-started", where) +
             Line(2, "step-finished",
                  where + R"(,"ms":900,"statements":1,"slowest":{"ms":800,"sql":")" + hostile +
                      std::string(20000, 'x') + "\"}") +
             Line(2, "service", R"("database":"d","failed":true,"service":")" + hostile + '"') +
             Line(3, "run-failed",
                  where + R"(,"code":1146,"statement":")" + hostile + R"(","sqlstate":")" +
                      hostile + R"(","error":")" + hostile + '"')));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("</title></style>")));
    EXPECT_THAT(page, Not(HasSubstr("\x07")));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt;&quot; &amp;"));
    EXPECT_THAT(page, HasSubstr("bytes in all]"));
    EXPECT_LT(page.size(), 40000U);
}

TEST(ReportPage, StaysSmallForManySites) {
    std::string events = RunStarted(0, 1000) + Central();
    for (int site = 1; site <= 1000; ++site) {
        events += Site(10 + site, site, 1);
    }
    events += Finished(1010, 1010, 2008);
    const std::string page = cli::ReportPage(Runs(events));
    EXPECT_LT(page.size(), 300000U);
    // The central database has a row of its own; 11 sites a row make 91 rows of 1,000.
    EXPECT_THAT(page, HasSubstr("tw_1 to tw_11: 11 sites, 11 s</text>"));
    EXPECT_THAT(page, HasSubstr("<dd id=\"sites\">1,000 of 1,000</dd>"));
}

TEST(ReportPage, SaysWhatIsLeftOutOfLongLists) {
    // 120 runs: a database that is lost in 80 of them, and 40 failures of one kind each.
    std::string events;
    for (int i = 0; i < 120; ++i) {
        events += RunStarted(3 * i, 1) + Service(3 * i, "Upgrade", 100, i < 25) +
                  SiteFails(3 * i, 7, i < 80 ? 1146 : 3000 + i, "x");
    }
    const std::string page = cli::ReportPage(Runs(events));
    const auto times = [&](const std::string& part) {
        std::size_t count = 0;
        for (auto at = page.find(part); at != std::string::npos; at = page.find(part, at + 1)) {
            ++count;
        }
        return count;
    };
    EXPECT_THAT(page, HasSubstr("20 more earlier runs are not shown."));         // of the table
    EXPECT_THAT(page, HasSubstr("108 more earlier runs are not shown."));        // of the figures
    EXPECT_THAT(page, HasSubstr("60 more earlier failures are not shown."));     // of 80
    EXPECT_THAT(page, HasSubstr("11 more failure groups are not shown."));       // of 41
    EXPECT_THAT(page, HasSubstr("5 more earlier failed calls are not shown."));  // of 25
    EXPECT_EQ(times("<svg class=\"timeline\""), 12U);
    EXPECT_EQ(times("<h3>SiteSchemaStep_1_0264: server error "), 30U);
    // None but the last, which the outcome tells, is skipped.
    EXPECT_THAT(page,
                HasSubstr("<strong>✗ 119 failures</strong> of earlier runs were not resolved"));
}

// --- the command ---------------------------------------------------------------------------------

class Report : public testing::Test {
  protected:
    Report() { WriteFile(events_, WholeRun()); }

    Outcome MakePage(std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"report", page_.string()});
        return RunProgram(more);
    }

    TemporaryFolder folder_;
    fs::path events_ = folder_ / "run.events";
    fs::path page_ = folder_ / "page.html";
};

TEST_F(Report, NeedsNoServer) {
    const Outcome outcome = MakePage({"--events", events_.string()});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, page_.string() + ": 1 run, the last one finished.\n");
    EXPECT_THAT(ContentOf(page_),
                AllOf(testing::StartsWith("<!DOCTYPE html>"), testing::EndsWith("</html>\n")));
    EXPECT_FALSE(fs::exists(page_.string() + ".part"));
}

TEST_F(Report, TakesTheEventsBeforeTheCommandToo) {
    const Outcome outcome =
        RunProgram({"--events", events_.string(), "report", page_.string(), "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.Json()["runs"], 1);
    EXPECT_EQ(outcome.Json()["last_run"], "finished");
    EXPECT_EQ(ContentOf(events_), WholeRun());  // read, not written
}

TEST_F(Report, PutsTheRunsOfSeveralFilesInTheOrderOfTime) {
    WriteFile(folder_ / "first", RunStarted(0, 1) + SiteFails(1, 7, 1146, "x"));
    WriteFile(folder_ / "second", RunStarted(70, 1) + SiteStarted(71, 8));
    const Outcome outcome = MakePage(
        {"--events", (folder_ / "second").string(), "--events", (folder_ / "first").string()});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("2 runs, the last one did not end."));
}

TEST_F(Report, RefusesWhatItCannotRead) {
    const auto refused = [&](const fs::path& file) {
        const Outcome outcome = MakePage({"--events", file.string()});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_FALSE(fs::exists(page_));
        return outcome.err;
    };
    EXPECT_THAT(refused(folder_ / "none"), HasSubstr("cannot read " + (folder_ / "none").string() +
                                                     ": No such file or directory"));
    EXPECT_THAT(refused(folder_.Path()), HasSubstr("Is a directory"));
    const Outcome without = MakePage();
    EXPECT_EQ(without.status, 2);
    EXPECT_THAT(without.err, HasSubstr("--events is required"));
    const Outcome two = MakePage({"--events", events_.string(), events_.string()});
    EXPECT_EQ(two.status, 2);  // each file has its option: the page must not be taken for one
    WriteFile(folder_ / "trace", "{\"seq\":1}\n");
    const Outcome trace = MakePage({"--events", (folder_ / "trace").string()});
    EXPECT_EQ(trace.status, 1);
    EXPECT_THAT(trace.err, HasSubstr("trace, line 1: not an event of a run"));
}

TEST_F(Report, DoesNotReplaceItsEventsOrADevice) {
    const Outcome self = RunProgram({"report", events_.string(), "--events", events_.string()});
    EXPECT_EQ(self.status, 2);
    EXPECT_THAT(self.err,
                HasSubstr("holds the events\ntwupdate: hint: name another file for the page"));
    EXPECT_EQ(ContentOf(events_), WholeRun());
    const Outcome folder =
        RunProgram({"report", folder_.Path().string(), "--events", events_.string()});
    EXPECT_EQ(folder.status, 2);
    EXPECT_THAT(folder.err, HasSubstr("is not a regular file"));
}

TEST_F(Report, ThatCannotBeWrittenLeavesTheOldPage) {
    WriteFile(page_, "the old page");
    // A limit to the size of files is what a full disk is: the write ends in the middle.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit small = before;
    small.rlim_cur = 4096;
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const Outcome outcome = MakePage({"--events", events_.string()});
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write " + page_.string() + ": File too large"));
    EXPECT_EQ(ContentOf(page_), "the old page");
    EXPECT_FALSE(fs::exists(page_.string() + ".part"));
}

TEST_F(Report, IntoAFolderThatIsNotThereIsAnError) {
    const Outcome outcome = RunProgram(
        {"report", (folder_ / "none" / "page.html").string(), "--events", events_.string()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("page.html: No such file or directory"));
}

// --- real runs -----------------------------------------------------------------------------------

class ReportOfARun : public InstallationTest {};

TEST_F(ReportOfARun, HasTheFiguresThatTheRunPrints) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    MakeSiteThatFails(8);
    const auto first = folder_ / "first";
    const auto second = folder_ / "second";
    const Outcome failed = Run({"--json", "--events", first.string(), "upgrade"});
    EXPECT_EQ(failed.status, 1);
    Execute("DELETE FROM tw_tarnwick.site WHERE siteid = 8;");
    Execute("UPDATE tw_tarnwick.site SET version = 1.0262 WHERE siteid = 7;");
    const Outcome done = Run({"--json", "--events", second.string(), "upgrade"});
    EXPECT_EQ(done.status, 0) << done.err;

    for (const auto& [file, outcome] : {std::pair(first, failed), std::pair(second, done)}) {
        const auto result = outcome.Json();
        const auto runs = cli::ReadRuns(file);
        ASSERT_EQ(runs.size(), 1U);
        EXPECT_EQ(runs[0].DatabasesEnded(), result["databases"]);
        EXPECT_EQ(runs[0].SitesEnded(), result["sites"]);
        EXPECT_EQ(runs[0].StepsEnded(), result["steps"]);
        EXPECT_EQ(runs[0].statements, result["statements"]);
        EXPECT_NEAR(std::chrono::duration<double>(runs[0].duration).count(), result["seconds"],
                    0.05);
    }
    const auto error = failed.Json()["error"];
    const auto page = folder_ / "page.html";
    EXPECT_EQ(RunProgram({"report", page.string(), "--events", first.string(), "--events",
                          second.string()})
                  .status,
              0);
    EXPECT_THAT(ContentOf(page), AllOf(HasSubstr("<dd id=\"runs-figure\">2</dd>"),
                                       HasSubstr("<h3>SiteSchemaStep_1_0264: server error " +
                                                 std::to_string(error["code"].get<int>())),
                                       HasSubstr("<li>tw_8, "), HasSubstr("✗ still open")));
}

TEST_F(ReportOfARun, CanBeWatchedWhileItGoesOn) {
    MakeSitesInUse({7});
    const auto page = folder_ / "new" / "page.html";
    Program run(With({"--report", page.string(), "upgrade", "--jobs", "2"}));
    EXPECT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    EXPECT_TRUE(WaitUntil([&] {
        return ContentOf(page).find("in tw_7, step SiteSchemaStep_1_0264") != std::string::npos;
    }));
    EXPECT_THAT(ContentOf(page), HasSubstr("▶ Running:"));
    reader_->Execute("COMMIT;");
    EXPECT_EQ(run.Wait().status, 0);
    EXPECT_THAT(ContentOf(page), AllOf(HasSubstr("✓ Finished."), HasSubstr(">job 1: 1 site"),
                                       Not(HasSubstr("refresh"))));
    EXPECT_FALSE(fs::exists(page.string() + ".part"));
}

TEST_F(ReportOfARun, ThatCannotBeWrittenAnyMoreDoesNotEndTheRun) {
    MakeSitesInUse({7});
    const auto page = folder_ / "pages" / "page.html";
    Program run(With({"--report", page.string(), "upgrade"}));
    EXPECT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    fs::remove_all(page.parent_path());
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "twupdate: warning: cannot continue to write " + page.string() +
                               ": No such file or directory; the run continues without it\n");
}

}  // namespace
}  // namespace twupdate::test
