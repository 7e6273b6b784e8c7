#include "cli/run/parallel.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using cli::InParallel;
using testing::ElementsAre;
using testing::HasSubstr;

// --- work in parallel ---------------------------------------------------------------------------

/// Waits until so many have come, at most ten seconds.
bool Meet(std::atomic<unsigned>& come, unsigned number) {
    ++come;
    return WaitUntil([&] { return come >= number; });
}

TEST(InParallel, DoesEveryPlaceOnceAtTheSameTimeAndTellsInOrder) {
    std::atomic<unsigned> come{0};
    std::vector<int> times(20);
    std::vector<unsigned> jobs(20);
    std::vector<std::size_t> told;
    const auto work = [&](unsigned job, std::size_t place) {
        if (place < 3) {
            EXPECT_TRUE(Meet(come, 3));
            // The first is the last to be done.
            std::this_thread::sleep_for(std::chrono::milliseconds(30 - 10 * place));
        }
        ++times[place];
        jobs[place] = job;
    };
    const auto tell = [&](std::size_t place) {
        EXPECT_EQ(times[place], 1);
        told.push_back(place);
    };
    EXPECT_EQ(InParallel(3, 20, {work, tell, {}}), 20U);
    EXPECT_THAT(times, testing::Each(1));
    EXPECT_THAT(std::set<unsigned>(jobs.begin(), jobs.begin() + 3), ElementsAre(0U, 1U, 2U));
    ASSERT_EQ(told.size(), 20U);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
}

TEST(InParallel, OfOneJobIsALoop) {
    const auto own = std::this_thread::get_id();
    std::vector<std::size_t> places;
    const auto work = [&](unsigned job, std::size_t place) {
        EXPECT_EQ(job, 0U);
        EXPECT_EQ(std::this_thread::get_id(), own);
        places.push_back(place);
    };
    EXPECT_EQ(InParallel(1, 3, {work, {}, {}}), 3U);
    EXPECT_THAT(places, ElementsAre(0U, 1U, 2U));
    EXPECT_EQ(InParallel(4, 0, {work, {}, {}}), 0U);
    EXPECT_EQ(places.size(), 3U);
}

TEST(InParallel, ThrowsTheFirstErrorInOrderAndBeginsNothingMore) {
    std::atomic<unsigned> come{0};
    std::atomic<unsigned> begun{0};
    const auto work = [&](unsigned /*job*/, std::size_t place) {
        ++begun;
        if (place < 3) {
            EXPECT_TRUE(Meet(come, 3));
        }
        if (place > 0) {  // the third fails before the second
            std::this_thread::sleep_for(std::chrono::milliseconds(place == 1 ? 50 : 0));
            throw std::runtime_error(fmt::format("place {}", place));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    };
    try {
        InParallel(3, 20, {work, {}, {}});
        ADD_FAILURE() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "place 1");
    }
    EXPECT_EQ(begun, 3U);
}

TEST(InParallel, StopsBeforeTheNextOne) {
    for (const unsigned jobs : {1U, 3U}) {
        std::atomic<std::size_t> begun{0};
        std::vector<std::size_t> told;
        const std::size_t done = InParallel(
            jobs, 20,
            {[&](unsigned, std::size_t) { ++begun; },
             [&](std::size_t place) { told.push_back(place); }, [&] { return begun < 5; }});
        EXPECT_EQ(done, begun);
        EXPECT_EQ(told.size(), done);
        EXPECT_GE(done, 5U);
        EXPECT_LT(done, 5U + jobs);
        begun = 9;  // the first is begun without a question
        EXPECT_EQ(InParallel(1, 20, {[](unsigned, std::size_t) {}, {}, [] { return false; }}), 1U);
    }
}

// --- commands -----------------------------------------------------------------------------------

class JobsOfCommands : public InstallationTest {
  protected:
    /// Sites of which some are like each other, and most have something to find.
    void MakeSitesWithFaults() {
        MakeCentralDatabase();
        MakeSite(7, "1.0000", sample::AllGroups());
        for (const std::int32_t siteId : {8, 9, 10, 12}) {
            MakeSite(siteId);
            Execute(fmt::format("ALTER TABLE tw_{}.attribute MODIFY value VARCHAR(100);", siteId));
        }
        for (const std::int32_t siteId : {10, 9}) {
            Execute(
                fmt::format("INSERT INTO tw_{0}.attribute(attributeid, name, value) "
                            "VALUES({0}, 'color', NULL), (5{0}, 'size', NULL);",
                            siteId));
        }
        Execute("DROP TABLE tw_7.layoutzone;");
        MakeSite(13);
        Execute("DROP TABLE tw_13.layoutzone;");
        MakeSiteRow(11, "1.0000");
    }

    /// Both outcomes are the same.
    static void ExpectTheSame(const Outcome& outcome, const Outcome& expected) {
        EXPECT_EQ(outcome.status, expected.status);
        EXPECT_EQ(outcome.out, expected.out);
        EXPECT_EQ(outcome.err, expected.err);
    }

    static std::string Waiting() {
        return Cell(
            "SELECT COUNT(*) FROM information_schema.processlist WHERE state LIKE '%table "
            "metadata lock%';");
    }
};

TEST_F(JobsOfCommands, CheckFindsTheSame) {
    MakeSitesWithFaults();
    for (const char* form : {"--json", "--no-lock"}) {
        const Outcome expected = Run({form, "check"});
        EXPECT_EQ(expected.status, 3) << expected.err;
        const std::string& out = expected.out;
        EXPECT_LT(out.find("tw_7"), out.find("tw_9"));
        EXPECT_LT(out.find("tw_9"), out.find("tw_10"));
        EXPECT_THAT(out, testing::AllOf(HasSubstr("in 2 rows (first: attributeid 9)"),
                                        HasSubstr("in 2 rows (first: attributeid 10)"),
                                        HasSubstr("tw_13")));
        for (const char* jobs : {"1", "2", "5", "auto"}) {
            SCOPED_TRACE(jobs);
            ExpectTheSame(Run({form, "check", "--jobs", jobs}), expected);
        }
    }
}

TEST_F(JobsOfCommands, CheckAsksSeveralSitesAtATime) {
    MakeCentralDatabase();
    for (const std::int32_t siteId : {7, 8, 9}) {
        MakeSite(siteId);
        Execute(fmt::format("ALTER TABLE tw_{}.attribute MODIFY value VARCHAR(100);", siteId));
    }
    std::vector<std::shared_ptr<host::Connection>> owners;
    for (const std::int32_t siteId : {7, 8, 9}) {
        owners.push_back(Application());
        owners.back()->Execute(fmt::format("LOCK TABLES tw_{}.attribute WRITE;", siteId));
    }
    Program run(With({"check", "--jobs", "2"}));
    EXPECT_TRUE(WaitUntil([] { return Waiting() == "2"; })) << Waiting();
    owners.clear();
    EXPECT_EQ(run.Wait().status, 0);
}

TEST_F(JobsOfCommands, VerifyFindsTheSame) {
    MakeCentralDatabase();
    for (const std::int32_t siteId : {7, 8, 9, 10}) {
        MakeSite(siteId);
    }
    const auto backup = (folder_ / "backup").string();
    ASSERT_EQ(Run({"--backup", backup, "upgrade"}).status, 0);
    Execute("ALTER TABLE tw_8.setting DROP COLUMN name;");
    Execute("ALTER TABLE tw_10.setting ADD own INT, DROP COLUMN name;");
    Execute("DROP TABLE tw_9.setting;");
    Execute("DROP DATABASE tw_7;");
    Execute("UPDATE tw_tarnwick.site SET version = 1.0100 WHERE siteid = 9;");
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--json"}, std::vector<std::string>{"--no-lock"},
          std::vector<std::string>{"--json", "--backup", backup}}) {
        auto words = options;
        words.emplace_back("verify");
        const Outcome expected = Run(words);
        EXPECT_EQ(expected.status, 3) << expected.err;
        EXPECT_THAT(expected.out, HasSubstr("tw_10"));
        words.insert(words.end(), {"--jobs", "3"});
        ExpectTheSame(Run(words), expected);
    }
}

TEST_F(JobsOfCommands, VerifyFindsTheSameInBackups) {
    MakeCentralDatabase();
    const std::vector<std::int32_t> sites{7, 8, 9};
    for (const std::int32_t siteId : sites) {
        MakeSite(siteId, "1.0000", {sample::Group::kForum, sample::Group::kShop});
    }
    const auto backup = (folder_ / "backup").string();
    ASSERT_EQ(Run({"--backup", backup, "upgrade"}).status, 0);
    Execute("DROP TABLE tw_7.forum, tw_9.forum;");
    const Outcome expected = Run({"--json", "--backup", backup, "verify"});
    EXPECT_EQ(expected.status, 3);
    EXPECT_LT(expected.out.find("tw_7.forum: "), expected.out.find("tw_9.forum: "));
    ExpectTheSame(Run({"--json", "--backup", backup, "verify", "--jobs", "3"}), expected);
}

TEST_F(JobsOfCommands, RestoreRestoresTheSame) {
    MakeCentralDatabase();
    const std::vector<std::int32_t> sites{7, 8, 9, 10};
    std::vector<std::string> states;
    for (const std::int32_t siteId : sites) {
        MakeSite(siteId);
        states.push_back(StateOf(fmt::format("tw_{}", siteId)));
    }
    const std::string central = StateOf("tw_tarnwick");
    const auto backup = (folder_ / "backup").string();
    const Outcome upgraded = Run({"--json", "--backup", backup, "upgrade", "--jobs", "2"});
    ASSERT_EQ(upgraded.status, 0) << upgraded.err;
    const std::string folder = upgraded.Json()["backup"].get<std::string>();
    const auto show = [&](const std::vector<std::string>& more) {
        std::vector<std::string> words{"restore", folder};
        words.insert(words.end(), more.begin(), more.end());
        Outcome outcome = Run(words);
        outcome.out = std::regex_replace(outcome.out, std::regex("[0-9.]+ s ago"), "ago");
        return outcome;
    };
    ExpectTheSame(show({"--jobs", "3"}), show({}));
    const Outcome expected = Run({"restore", folder, "--apply"});
    ASSERT_EQ(expected.status, 0) << expected.err;
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const Outcome restored = Run({"restore", folder, "--apply", "--jobs", "3"});
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_THAT(restored.out, HasSubstr("tw_7: restored (1 of 6)\ntw_8: restored (2 of 6)\n"
                                        "tw_9: restored (3 of 6)\ntw_10: restored (4 of 6)\n"));
    EXPECT_EQ(restored.out.substr(restored.out.find("tw_7: restored (")),
              expected.out.substr(expected.out.find("tw_7: restored (")));
    for (std::size_t i = 0; i < sites.size(); ++i) {
        EXPECT_EQ(StateOf(fmt::format("tw_{}", sites[i])), states[i]);
        EXPECT_EQ(SiteVersion(sites[i]), "1");
    }
    EXPECT_EQ(StateOf("tw_tarnwick"), central);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST_F(JobsOfCommands, RestoreFinishesTheSitesUnderWayWhenItIsStopped) {
    MakeCentralDatabase();
    for (const std::int32_t siteId : {7, 8, 9}) {
        MakeSite(siteId);
    }
    const auto backup = (folder_ / "backup").string();
    const Outcome upgraded = Run({"--json", "--backup", backup, "upgrade"});
    const std::string folder = upgraded.Json()["backup"].get<std::string>();
    const auto seven = ReaderOfSite(7);
    const auto eight = ReaderOfSite(8);
    Program run(With({"--json", "restore", folder, "--apply", "--jobs", "2"}));
    EXPECT_TRUE(WaitUntil([] { return Waiting() == "2"; })) << Waiting();
    run.Signal(SIGTERM);
    seven->Execute("COMMIT;");
    eight->Execute("COMMIT;");
    const Outcome stopped = run.Wait();
    EXPECT_EQ(stopped.status, 5) << stopped.err;
    EXPECT_THAT(stopped.err, HasSubstr("stopped as requested; restored: tw_7, tw_8; not yet "
                                       "restored: tw_9, tw_logs, tw_tarnwick\n"));
    EXPECT_EQ(stopped.Json()["put_back"], nlohmann::json({"tw_7", "tw_8"}));
    EXPECT_THAT(Run({"upgrade"}).err, HasSubstr("a restore of tw_"));
    EXPECT_EQ(Run({"restore", folder, "--apply", "--jobs", "2"}).status, 0);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST_F(JobsOfCommands, RehearseFindsTheSame) {
    MakeCentralDatabase();
    for (const std::int32_t siteId : {1, 2, 3, 4}) {
        MakeSite(siteId);
    }
    Execute("DROP TABLE tw_2.layoutzone;");
    Execute("DROP TABLE tw_4.layoutzone;");
    Execute("ALTER TABLE tw_3.setting ADD own INT;");
    const auto rehearse = [&](const std::string& folder, const std::string& jobs) {
        const Outcome outcome =
            Run({"--json", "--events", (folder_ / (folder + ".events")).string(), "rehearse",
                 "--workdir", (folder_ / folder).string(), "--jobs", jobs});
        EXPECT_EQ(outcome.status, 3) << outcome.err;
        auto result = outcome.Json();
        for (auto& database : result["upgraded"]) {
            database.erase("seconds");
        }
        result["totals"].erase("seconds");
        EXPECT_EQ(result["whole_upgrade"]["jobs"], std::stoi(jobs));
        result["whole_upgrade"] = result["whole_upgrade"]["sites"];
        return result;
    };
    const auto expected = rehearse("one", "1");
    EXPECT_EQ(expected["upgraded"].size(), 3U);
    EXPECT_EQ(expected["failures"].size(), 2U);
    EXPECT_EQ(rehearse("three", "3"), expected);
    EXPECT_THAT(ContentOf(folder_ / "three.events"),
                testing::AllOf(HasSubstr("\"job\":3"), HasSubstr("\"run-failed\"")));
}

TEST_F(JobsOfCommands, OfARehearsalShareTheTimeOfTheSites) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    const auto result =
        Run({"--json", "rehearse", "--workdir", (folder_ / "r").string(), "--jobs", "2"}).Json();
    ASSERT_EQ(result["upgraded"].size(), 3U);
    const auto seconds = [&](std::size_t place) {
        return result["upgraded"][place]["seconds"].get<double>();
    };
    EXPECT_EQ(result["upgraded"][2]["database"], "tw_2");
    EXPECT_NEAR(result["whole_upgrade"]["seconds"].get<double>(),
                seconds(0) + (seconds(1) + seconds(2)) / 2, 1e-6);
}

TEST_F(JobsOfCommands, AreAsManyAsTheServerTakes) {
    MakeCentralDatabase();
    for (const std::int32_t siteId : {7, 8, 9}) {
        MakeSite(siteId);
    }
    const Outcome expected = Run({"--json", "check"});
    Execute("CREATE OR REPLACE USER 'few'@'localhost' WITH MAX_USER_CONNECTIONS 2;");
    Execute("GRANT ALL PRIVILEGES ON *.* TO 'few'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    const Outcome few =
        RunProgram({"--socket", socket, "--user", "few", "--json", "check", "--jobs", "3"});
    EXPECT_EQ(few.status, 0) << few.out;
    EXPECT_THAT(few.err, HasSubstr("warning: no more than 2 sites at a time: cannot connect"));
    EXPECT_EQ(few.out, expected.out);
}

TEST_F(JobsOfCommands, AreANumberOrAuto) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"check"}, std::vector<std::string>{"verify"},
          std::vector<std::string>{"restore", "/tmp"},
          std::vector<std::string>{"rehearse", "--workdir", "/nowhere"}}) {
        for (const char* number : {"0", "65", "many", ""}) {
            auto words = command;
            words.insert(words.end(), {"--jobs", number});
            const Outcome outcome = RunProgram(words);
            EXPECT_EQ(outcome.status, 2) << command.front() << number;
            EXPECT_THAT(outcome.err,
                        HasSubstr("is not a number of jobs; that is 1 to 64, or auto"));
        }
    }
}

}  // namespace
}  // namespace twupdate::test
