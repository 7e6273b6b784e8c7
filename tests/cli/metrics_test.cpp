#include <gmock/gmock.h>

#include <ctime>
#include <map>
#include <sstream>

#include "cli/installation_fixture.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Key;
using testing::Not;
using testing::Pair;

class Metrics : public InstallationTest {
  protected:
    /// The values of the file by name and labels. Each metric must have its help and its type
    /// before its first value, as the format demands.
    std::map<std::string, double> Values() const {
        std::map<std::string, double> values;
        std::istringstream lines(ContentOf(file_));
        std::string help;
        std::string type;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string first;
            std::string second;
            std::string third;
            words >> first >> second >> third;
            if (second == "HELP") {
                help = third;
            } else if (second == "TYPE") {
                type = third;
            } else {
                const auto end = line.rfind(' ');
                values[line.substr(0, end)] = std::stod(line.substr(end));
                const std::string name = line.substr(0, line.find_first_of("{ "));
                EXPECT_EQ(name, help) << line;
                EXPECT_EQ(name, type) << line;
            }
        }
        return values;
    }

    const fs::path file_ = folder_ / "new" / "twupdate.prom";
};

TEST_F(Metrics, TellHowARunStands) {
    MakeSitesInUse({7});
    MakeSmallSite(8);
    MakeSmallSite(9);
    Program run(With({"--metrics", file_.string(), "upgrade", "--jobs", "2"}));
    EXPECT_TRUE(WaitUntil([&] {
        const auto values = Values();
        const auto done = values.find("twupdate_sites{state=\"done\"}");
        const auto waiting = values.find("twupdate_waiting{reason=\"lock\"}");
        return done != values.end() && done->second == 2 && waiting->second == 1;
    }));
    const auto now = Values();
    EXPECT_THAT(
        now,
        AllOf(Contains(Pair("twupdate_run_state{command=\"upgrade\",state=\"running\"}", 1)),
              Contains(Pair("twupdate_run_state{command=\"upgrade\",state=\"done\"}", 0)),
              Contains(Pair("twupdate_sites{state=\"in_progress\"}", 1)),
              Contains(Pair("twupdate_sites{state=\"failed\"}", 0)),
              Contains(Pair("twupdate_sites{state=\"to_do\"}", 0)),
              Contains(Pair("twupdate_jobs", 1)), Contains(Key("twupdate_time_left_seconds"))));
    EXPECT_NEAR(now.at("twupdate_run_start_time_seconds"), static_cast<double>(std::time(nullptr)),
                120);
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto end = Values();
    EXPECT_THAT(
        end, AllOf(Contains(Pair("twupdate_run_state{command=\"upgrade\",state=\"running\"}", 0)),
                   Contains(Pair("twupdate_run_state{command=\"upgrade\",state=\"done\"}", 1)),
                   Contains(Pair("twupdate_sites{state=\"done\"}", 3)),
                   Contains(Pair("twupdate_sites{state=\"in_progress\"}", 0)),
                   Contains(Pair("twupdate_jobs", 0)),
                   Contains(Pair("twupdate_waiting{reason=\"lock\"}", 0)),
                   Not(Contains(Key("twupdate_time_left_seconds")))));
    EXPECT_GT(end.at("twupdate_statements_total"), now.at("twupdate_statements_total"));
}

TEST_F(Metrics, CountTheStatementsThatTheRunCounts) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    MakeSiteThatFails(8);
    const Outcome outcome = Run({"--json", "--metrics", file_.string(), "upgrade", "--keep-going"});
    EXPECT_EQ(outcome.status, 6) << outcome.err;
    EXPECT_THAT(
        Values(),
        AllOf(Contains(Pair("twupdate_run_state{command=\"upgrade\",state=\"incomplete\"}", 1)),
              Contains(Pair("twupdate_sites{state=\"done\"}", 1)),
              Contains(Pair("twupdate_sites{state=\"failed\"}", 1)),
              Contains(Pair("twupdate_sites{state=\"in_progress\"}", 0)),
              Contains(
                  Pair("twupdate_statements_total", outcome.Json()["statements"].get<double>()))));
}

TEST_F(Metrics, OfARunWithNothingToDoSayThatItIsDone) {
    MakeNearlyCurrentInstallation();
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0265;");
    const Outcome outcome = Run({"--metrics", file_.string(), "upgrade"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(Values(),
                AllOf(Contains(Pair("twupdate_run_state{command=\"upgrade\",state=\"done\"}", 1)),
                      Contains(Pair("twupdate_sites{state=\"to_do\"}", 0))));
}

TEST_F(Metrics, ThatCannotBeWrittenAreAUsageError) {
    const Outcome outcome = Run({"--metrics", folder_.Path().string(), "upgrade"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr(", the file of --metrics: Is a directory"));
}

}  // namespace
}  // namespace twupdate::test
