#include "cli/report/forecast.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "cli/installation_fixture.h"
#include "cli/report/run_events.h"
#include "cli/run/statement_kind.h"

namespace twupdate::test {
namespace {

using cli::Forecast;
using cli::KindOf;
using cli::StatementKind;
using std::chrono::seconds;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(StatementKind, IsToldByTheFirstWord) {
    for (const char* sql :
         {"ALTER TABLE tw_7.a ADD b INT;", "CREATE TABLE tw_7.a(b INT);", "DROP TABLE tw_7.a;",
          "RENAME TABLE tw_7.a TO tw_7.b;", "TRUNCATE tw_7.a;"}) {
        EXPECT_EQ(KindOf(sql), StatementKind::kTableChange) << sql;
    }
    for (const char* sql : {"INSERT INTO tw_7.a VALUES(1);", "UPDATE tw_7.a SET b = 'ALTER';",
                            "DELETE FROM tw_7.a;", "REPLACE INTO tw_7.a VALUES(1);"}) {
        EXPECT_EQ(KindOf(sql), StatementKind::kWrite) << sql;
    }
    for (const char* sql : {"SELECT 'DROP TABLE';", "SHOW TABLES FROM tw_7;", "DESCRIBE tw_7.a;"}) {
        EXPECT_EQ(KindOf(sql), StatementKind::kRead) << sql;
    }
}

// --- the model -----------------------------------------------------------------------------------

std::string Line(const std::string& event, const std::string& fields) {
    return R"({"v":1,"time":"2026-11-21T22:00:00.000Z","event":")" + event + "\"," + fields + "}\n";
}

std::string LadderBegins(const std::string& database, const std::string& ladder) {
    return Line("ladder-started",
                fmt::format(R"("database":"{}","ladder":"{}","from":1.0262)", database, ladder));
}

std::string Step(const std::string& database, const std::string& ladder, const std::string& step,
                 int took, int statements, int tableChanges) {
    const std::string where =
        fmt::format(R"("database":"{}","ladder":"{}","step":"{}")", database, ladder, step);
    return Line("step-started", where) +
           Line("step-finished",
                where + fmt::format(R"(,"ms":{},"statements":{},"kinds":{{"ddl":{{"statements":{},)"
                                    R"("ms":{}}},"read":{{"statements":1,"ms":500}}}})",
                                    took * 1000, statements, statements - 1, tableChanges * 1000));
}

/// The central database takes 10 s. Site 7 takes 20 s, of which its one step takes 18 s and the
/// changes of tables in it 17 s; the job of that number has done it.
std::string Measured(int job) {
    return Line("run-started", R"("command":"upgrade","sites_to_do":1)") +
           LadderBegins("tw_tarnwick", "server") +
           Step("tw_tarnwick", "server", "ServerStep_1_0264", 4, 2, 3) +
           Line("central-finished", R"("database":"tw_tarnwick","from":1.0262,"ms":10000)") +
           Line("site-started",
                fmt::format(R"("job":{},"database":"tw_7","site":7,"from":1.0262)", job)) +
           LadderBegins("tw_7", "site schema") +
           Step("tw_7", "site schema", "SiteSchemaStep_1_0264", 18, 11, 17) +
           Line("site-finished", R"("database":"tw_7","site":7,"from":1.0262,"ms":20000)") +
           Line("run-finished", R"("ms":30000)");
}

Forecast ForecastOf(const std::vector<Forecast::Database>& databases, int job = 0) {
    const TemporaryFolder folder;
    WriteFile(folder / "events", Measured(job));
    return cli::MakeForecast(cli::ReadRuns(folder / "events"), databases);
}

TEST(Forecast, TakesADatabaseAsItWasMeasured) {
    const Forecast forecast = ForecastOf({{"tw_tarnwick", false, 1.0262}, {"tw_7", true, 1.0262}});
    EXPECT_EQ(forecast.measuredThemselves, 2U);
    EXPECT_EQ(forecast.central, seconds(10));
    EXPECT_EQ(forecast.WithJobs(1), seconds(30));
    EXPECT_EQ(forecast.WithJobs(8), seconds(30));  // the one site is not divided
}

TEST(Forecast, AddsUpTheStepsOfASiteThatWasNotMeasured) {
    const Forecast forecast = ForecastOf({{"tw_7", true, 1.0262}, {"tw_8", true, 1.0262}});
    EXPECT_EQ(forecast.measuredThemselves, 1U);
    EXPECT_EQ(forecast.WithJobs(1), seconds(38));  // 20, and the 18 of the step
    EXPECT_EQ(forecast.WithJobs(2), seconds(20));  // the longer one
    EXPECT_THAT(forecast.unmeasuredSteps, ElementsAre());
    const auto& changes = forecast.kinds.at(static_cast<int>(StatementKind::kTableChange));
    EXPECT_EQ(changes.statements, 20);
    EXPECT_EQ(changes.time, seconds(34));
}

TEST(Forecast, EndsWhereTheServersLogOfTableChangesIsFull) {
    std::vector<Forecast::Database> databases{{"tw_tarnwick", false, 1.0262}};
    for (int site = 100; site < 110; ++site) {
        databases.push_back({fmt::format("tw_{}", site), true, 1.0262});
    }
    const Forecast forecast = ForecastOf(databases);
    // Ten times 18 s behind the 10 s of the central database. Of these, ten times 17 s, and 3 s of
    // the central database, are changes of tables.
    EXPECT_EQ(forecast.WithJobs(1), seconds(190));
    EXPECT_EQ(forecast.WithJobs(2), seconds(100));
    const double floor = 10 + 173 / 3.4;
    EXPECT_NEAR(std::chrono::duration<double>(forecast.WithJobs(8)).count(), floor, 1e-6);
    EXPECT_NEAR(std::chrono::duration<double>(forecast.Floor()).count(), floor, 1e-6);
}

TEST(Forecast, NamesTheStepsThatWereNotMeasured) {
    const Forecast forecast = ForecastOf({{"tw_8", true, 1.0261}});
    // One step more is pending from there, which counts as the mean of 4 s and 18 s.
    EXPECT_EQ(forecast.unmeasuredSteps.size(), 1U);
    EXPECT_EQ(forecast.WithJobs(1), seconds(29));
}

TEST(Forecast, SaysThatJobsWaitedForOneAnother) {
    EXPECT_FALSE(ForecastOf({{"tw_7", true, 1.0262}}, 1).hadJobs);
    EXPECT_TRUE(ForecastOf({{"tw_7", true, 1.0262}}, 2).hadJobs);
}

// --- of real runs --------------------------------------------------------------------------------

using PlanWithTimes = InstallationTest;

TEST_F(PlanWithTimes, ForetellsWhatARunOfTheSameSitesTakes) {
    const auto events = (folder_ / "events").string();
    MakeNearlyCurrentInstallation();
    MakeSmallSite(7);
    ASSERT_EQ(Run({"--events", events, "upgrade"}).status, 0);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    for (const int site : {8, 9, 10}) {
        MakeSmallSite(site);
    }
    const Outcome outcome = Run({"plan", "--times", events});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    // Each site adds a column and creates a table.
    EXPECT_THAT(
        outcome.out,
        AllOf(HasSubstr("measured (1 of 4 databases as a whole):\n  --jobs 1  "),
              HasSubstr("\n  --jobs 8  "), HasSubstr("\n  No number of jobs takes less than "),
              ContainsRegex("\n +[0-9]+  that change tables +[0-9.]+ s\n")));
    const auto times = Run({"--json", "plan", "--times", events}).Json()["times"];
    EXPECT_GT(times["seconds_with_jobs"]["1"], times["seconds_with_jobs"]["2"]);
    EXPECT_GE(times["seconds_with_jobs"]["8"], times["least_seconds"]);
    EXPECT_EQ(times["unmeasured_steps"], nlohmann::json::array());
    EXPECT_GE(times["kinds"]["ddl"]["statements"], 6);
}

TEST_F(PlanWithTimes, RefusesAFileWithoutEvents) {
    MakeCentralDatabase();
    const auto file = folder_ / "none";
    const Outcome outcome = Run({"plan", "--times", file.string()});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("cannot read " + file.string()));
}

}  // namespace
}  // namespace twupdate::test
