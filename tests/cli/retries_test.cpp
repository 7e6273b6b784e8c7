// What passes by itself is tried again.
#include "cli/run/retries.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

#include "cli/installation_fixture.h"
#include "support/free_port.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

// --- what is tried again ------------------------------------------------------------------------

cli::RunFailure FailureWith(std::uint32_t code, bool repeatable = true) {
    cli::RunFailure failure;
    failure.code = code;
    const auto steps = LadderSteps(Ladder::kSiteSchema);
    failure.where.step = *std::find_if(steps.begin(), steps.end(), [&](const LadderStep& step) {
        return step.repeatable == repeatable;
    });
    return failure;
}

TEST(WhatIsTriedAgain, PassesByItself) {
    cli::RunWatch watch;
    cli::Retries retries({}, watch, nullptr);
    std::int64_t site = 0;
    for (const std::uint32_t code : {1205U, 1213U, 2006U, 2013U, 2055U, 1053U, 1927U}) {
        EXPECT_TRUE(retries.Next(++site, FailureWith(code))) << code;
    }
    for (const std::uint32_t code : {0U, 1060U, 1045U, 1317U, 1406U, 2020U}) {
        EXPECT_FALSE(retries.Next(++site, FailureWith(code))) << code;
    }
}

TEST(WhatIsTriedAgain, IsNotInAStepThatCannotSimplyBeRepeated) {
    cli::RunWatch watch;
    cli::Retries retries({}, watch, nullptr);
    EXPECT_FALSE(retries.Next(7, FailureWith(2013, false)));
    EXPECT_TRUE(retries.Next(7, FailureWith(2013)));
}

TEST(WhatIsTriedAgain, HasThreeAttemptsForEachSiteWithGrowingPauses) {
    cli::RunWatch watch;
    cli::Retries retries({}, watch, nullptr);
    EXPECT_EQ(retries.Next(7, FailureWith(1213))->pause, std::chrono::seconds(1));
    EXPECT_EQ(retries.Next(7, FailureWith(1213))->pause, std::chrono::seconds(2));
    const auto last = retries.Next(7, FailureWith(1213));
    EXPECT_EQ(last->attempt, 3U);
    EXPECT_EQ(last->pause, std::chrono::seconds(4));
    EXPECT_FALSE(retries.Next(7, FailureWith(1213)));
    EXPECT_TRUE(retries.Next(8, FailureWith(1213)));
}

TEST(WhatIsTriedAgain, IsNoLockWaitForWhichATimeWasGiven) {
    cli::RunWatch watch;
    cli::RetryOptions options;
    options.lockWaits = false;
    cli::Retries retries(options, watch, nullptr);
    EXPECT_FALSE(retries.Next(7, FailureWith(1205)));
    EXPECT_TRUE(retries.Next(7, FailureWith(1213)));
}

// --- runs ---------------------------------------------------------------------------------------

class Retries : public InstallationTest {
  protected:
    static std::string Waiter(const std::string& state = "%table metadata lock%") {
        return Cell(
            "SELECT MAX(id) FROM information_schema.processlist WHERE command <> 'Sleep' AND state "
            "LIKE '" +
            state + "';");
    }
    static std::string LockHolder() { return Cell("SELECT IS_USED_LOCK('twupdate.run');"); }
    static std::vector<nlohmann::json> RetriesIn(const std::string& events) {
        auto lines = JsonLinesOf(events);
        std::erase_if(lines, [](const auto& line) { return line["event"] != "retry"; });
        return lines;
    }
    bool WaitForText(const std::string& text) const {
        return WaitUntil([&] {
            return std::filesystem::exists(log_) && ContentOf(log_).find(text) != std::string::npos;
        });
    }
    std::vector<std::string> Upgrade(const std::vector<std::string>& more) const {
        std::vector<std::string> words{"--events", events_, "--log", log_, "upgrade"};
        words.insert(words.end(), more.begin(), more.end());
        return With(words);
    }
    static void KillServer() {
        CliServer::Get().Server().Kill();
        CliServer::Get().ForgetConnection();
    }

    static constexpr const char* kTried = "attempt 1 of 3 follows";
    const std::string events_ = (folder_ / "events").string();
    const std::string log_ = (folder_ / "log").string();
};

TEST_F(Retries, ADeadlockIsTriedAgainByOneJobAndBySeveral) {
    MakeSitesInUse({7});
    reader_.reset();
    Execute("CREATE TABLE tw_tarnwick.deadlocks(number INT) ENGINE = MyISAM;");
    Execute("INSERT INTO tw_tarnwick.deadlocks VALUES(0);");
    Execute(
        "CREATE TRIGGER tw_tarnwick.deadlock BEFORE UPDATE ON tw_tarnwick.site FOR EACH ROW BEGIN "
        "UPDATE tw_tarnwick.deadlocks SET number = number + 1; IF (SELECT number FROM "
        "tw_tarnwick.deadlocks) < 3 THEN SIGNAL SQLSTATE '40001' SET MYSQL_ERRNO = 1213, "
        "MESSAGE_TEXT = 'Deadlock found'; END IF; END;");
    for (const char* jobs : {"1", "2"}) {
        std::filesystem::remove(events_);
        const Outcome outcome = RunProgram(Upgrade({"--jobs", jobs}));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.err,
                    AllOf(HasSubstr("warning: database tw_tarnwick: UPDATE tw_tarnwick.site SET "
                                    "version = ? WHERE siteid = 7;: server error 1213 (40001): "
                                    "Deadlock found; attempt 1 of 3 follows in 1 s\n"),
                          HasSubstr("attempt 2 of 3 follows in 2 s\n")));
        EXPECT_EQ(SiteVersion(7), kCurrentStored);
        EXPECT_EQ(InstallationVersion(), kCurrentStored);
        const auto retries = RetriesIn(events_);
        ASSERT_EQ(retries.size(), 2U);
        EXPECT_EQ(retries[1]["site"], 7);
        EXPECT_EQ(retries[1]["code"], 1213);
        EXPECT_EQ(retries[1]["error"], "Deadlock found");
        EXPECT_EQ(retries[1]["attempt"], 2);
        EXPECT_EQ(retries[1]["pause"], 2);
        EXPECT_EQ(Run({"report", "--events", events_, (folder_ / "page").string()}).status, 0);
        Execute("UPDATE tw_tarnwick.deadlocks SET number = 3;");
        Execute("UPDATE tw_tarnwick.site SET version = 1.0262;");
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
        Execute("ALTER TABLE tw_7.formtemplateinstance DROP COLUMN cachettl;");
        Execute("UPDATE tw_tarnwick.deadlocks SET number = 0;");
    }
}

TEST_F(Retries, ALockWaitIsTriedAgainUnlessItsTimeWasGiven) {
    MakeSitesInUse({7});
    const GlobalSetting soon("lock_wait_timeout", "1");
    for (const char* jobs : {"1", "2"}) {
        std::filesystem::remove(log_);
        std::filesystem::remove(events_);
        Program run(Upgrade({"--jobs", jobs}));
        ASSERT_TRUE(WaitForText(kTried));
        reader_->Execute("COMMIT;");
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(SiteVersion(7), kCurrentStored);
        EXPECT_EQ(RetriesIn(events_).at(0)["step"], "SiteSchemaStep_1_0264");
        Execute("UPDATE tw_tarnwick.site SET version = 1.0262;");
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
        Execute("ALTER TABLE tw_7.formtemplateinstance DROP COLUMN cachettl;");
        reader_ = ReaderOfSmallSites({7});
    }
    const Outcome outcome = Run({"--ddl-timeout", "1", "upgrade"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("server error 1205"), Not(HasSubstr("attempt"))));
}

TEST_F(Retries, AreThreeForASite) {
    MakeSitesInUse({7});
    const GlobalSetting soon("lock_wait_timeout", "1");
    const Outcome outcome = RunProgram(Upgrade({"--jobs", "2"}));
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.err, HasSubstr("failed: database tw_7, site schema ladder"));
    EXPECT_EQ(RetriesIn(events_).size(), 3U);
    EXPECT_EQ(SiteVersion(7), "1.0262");
}

TEST_F(Retries, AStopEndsThePause) {
    MakeSitesInUse({7});
    for (const char* jobs : {"1", "2"}) {
        std::filesystem::remove(log_);
        Program run(Upgrade({"--jobs", jobs, "--reconnect", "600"}));
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
        KillServer();
        ASSERT_TRUE(WaitForText("waits: cannot connect to the server"));
        run.Signal(SIGTERM);
        EXPECT_TRUE(WaitUntil([&] { return !run.Running(); }));
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 5) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("stopped as requested"));
        CliServer::Get().Server().Start();
        reader_ = ReaderOfSmallSites({7});
    }
}

TEST_F(Retries, GoOnFromTheMarksOfTheSite) {
    MakeCentralDatabase();
    for (const char* jobs : {"1", "2"}) {
        Execute("DROP DATABASE IF EXISTS tw_7;");
        Execute("DELETE FROM tw_tarnwick.site;");
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0000;");
        std::filesystem::remove(log_);
        MakeSite(7, "1.0000", sample::AllGroups());
        Execute(
            "INSERT INTO tw_7.charge(chargeid, featureid, name, sequence) VALUES(1, 3, 'Post', 1), "
            "(2, 3, 'Wrap', 2), (3, 3, 'Ins', 3);");
        Execute("INSERT INTO tw_7.layoutelement(elementid, showtoall) VALUES(901, 0);");
        // A step behind the one that groups charges waits in this trigger.
        auto gate = Application();
        gate->Query("SELECT GET_LOCK('test.gate', 0);");
        Execute(
            "CREATE TRIGGER tw_7.wait BEFORE UPDATE ON tw_7.layoutelement FOR EACH ROW SET @waited "
            "= GET_LOCK('test.gate', 60);");
        Program run(Upgrade({"--jobs", jobs}));
        ASSERT_TRUE(WaitUntil([] { return Waiter("User lock") != "NULL"; }));
        Execute("KILL " + Waiter("User lock") + ";");
        gate.reset();
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(ContentOf(log_), HasSubstr(kTried));
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.chargegroup;"), "3");
        EXPECT_EQ(SiteVersion(7), kCurrentStored);
    }
}

TEST_F(Retries, AreNoneInAStepThatCannotSimplyBeRepeated) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000", sample::AllGroups());
    for (const char* jobs : {"1", "2"}) {
        auto reader = Application();
        reader->Execute("START TRANSACTION;");
        reader->Query(
            "SELECT COUNT(*) FROM tw_7.commission;");  // of which 1.0035 converts a column
        Program run(Upgrade({"--jobs", jobs, "--repair"}));
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
        Execute("KILL " + Waiter() + ";");
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 7) << outcome.err;
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("SiteSchemaStep_1_0035 cannot simply be repeated"),
                                       Not(HasSubstr("follows in"))));
    }
}

TEST_F(Retries, TheCentralPartIsCarriedOutAgain) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = Application();
    reader->Execute("START TRANSACTION;");
    reader->Query("SELECT COUNT(*) FROM tw_tarnwick.installation;");
    Program run(Upgrade({"--jobs", "2"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
    Execute("KILL " + Waiter() + ";");
    reader->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(RetriesIn(events_).at(0)["database"], "tw_tarnwick");
    EXPECT_EQ(InstallationVersion() + SiteVersion(7), std::string(kCurrentStored) + kCurrentStored);
    EXPECT_EQ(Run({"report", "--events", events_, (folder_ / "page").string()}).status, 0);
}

TEST_F(Retries, HoldTheLockOfTheRunAgainUnlessAnotherRunHasIt) {
    MakeSitesInUse({7});
    for (const char* jobs : {"1", "2"}) {
        Program run(Upgrade({"--jobs", jobs}));
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
        const std::string before = LockHolder();
        Execute("KILL " + before + ";");
        Execute("KILL " + Waiter() + ";");
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "0"; }));
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
        EXPECT_NE(LockHolder(), "NULL");
        EXPECT_NE(LockHolder(), before);
        Execute("KILL " + LockHolder() + ";");
        const auto other = Application();
        EXPECT_TRUE(WaitUntil([&] {
            const auto rows = other->Query("SELECT GET_LOCK('twupdate.run', 1);");
            return rows->Next() && rows->Get(0).ToBool();
        }));
        Execute("KILL " + Waiter() + ";");
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 1) << outcome.err;
        EXPECT_THAT(outcome.err,
                    AllOf(HasSubstr("the run has lost its lock, and another run is in progress: "),
                          HasSubstr(fmt::format("(connection {})", other->ThreadId()))));
        EXPECT_EQ(SiteVersion(7), "1.0262");
    }
}

TEST_F(Retries, WaitForAServerThatRestarts) {
    for (const char* jobs : {"1", "4"}) {
        for (const char* database : {"tw_7", "tw_8", "tw_9", "tw_10", "tw_tarnwick", "tw_logs"}) {
            Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
        }
        std::filesystem::remove(log_);
        std::filesystem::remove(events_);
        MakeSitesInUse({7, 8, 9, 10});
        Program run(Upgrade({"--jobs", jobs, "--reconnect", "60", "--backup",
                             (folder_ / "backup" / jobs).string()}));
        ASSERT_TRUE(WaitUntil([&] { return Waiting() == jobs; }));
        KillServer();
        ASSERT_TRUE(WaitForText("waits: cannot connect to the server"));
        if (std::string(jobs) == "4") {
            sleep(6);  // longer than the usual attempts take
        }
        EXPECT_TRUE(run.Running());
        CliServer::Get().Server().Start();
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        for (const int site : {7, 8, 9, 10}) {
            EXPECT_EQ(SiteVersion(site), kCurrentStored);
        }
        EXPECT_EQ(InstallationVersion(), kCurrentStored);
        EXPECT_THAT(ContentOf(log_), HasSubstr("goes on after "));
        for (const auto& retry : RetriesIn(events_)) {
            EXPECT_TRUE(retry.contains("site")) << retry;  // the central part is done already
        }
        EXPECT_EQ(LockHolder(), "NULL");
    }
}

TEST_F(Retries, ADumpThatTheServersEndInterruptsIsMadeAgain) {
    const auto backup = (folder_ / "backup").string();
    for (const char* jobs : {"1", "2"}) {
        for (const char* database : {"tw_7", "tw_tarnwick", "tw_logs"}) {
            Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
        }
        std::filesystem::remove(log_);
        std::filesystem::remove_all(backup);
        MakeSitesInUse({7});
        reader_->Execute("LOCK TABLES tw_7.formtemplateinstance WRITE;");
        Program run(Upgrade({"--jobs", jobs, "--reconnect", "60", "--backup", backup, "--json"}));
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
        KillServer();
        ASSERT_TRUE(WaitForText("waits: cannot connect to the server"));
        CliServer::Get().Server().Start();
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(SiteVersion(7), kCurrentStored);
        const auto folder = outcome.Json()["backup"].get<std::string>();
        EXPECT_EQ(Run({"restore", folder, "--apply"}).status, 0);
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.columns WHERE table_schema = "
                       "'tw_7';"),
                  "1");
    }
}

TEST_F(Retries, EndTheRunWithOneLineWhenTheServerDoesNotComeBack) {
    MakeSitesInUse({7, 8, 9, 10});
    Program run(Upgrade({"--jobs", "4", "--keep-going"}));
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "4"; }));
    KillServer();
    const Outcome outcome = run.Wait();
    CliServer::Get().Server().Start();
    EXPECT_EQ(outcome.status, 7) << outcome.err;
    for (const std::string once : {"failed: database tw_", "cannot connect"}) {
        EXPECT_NE(outcome.err.find(once), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.err.find(once), outcome.err.rfind(once)) << outcome.err;
    }
    EXPECT_THAT(outcome.err, ContainsRegex("failed: database tw_.*: server error 20(06|13)"));
    const Outcome again = Run({"upgrade", "--jobs", "4"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(SiteVersion(7) + SiteVersion(10), std::string(kCurrentStored) + kCurrentStored);
}

TEST_F(Retries, AreMadeForSitesByTheirIdsToo) {
    MakeSitesInUse({7, 8});
    for (const std::vector<std::string>& sites : {std::vector<std::string>{"7"}, {"7", "8"}}) {
        std::vector<std::string> words{"upgrade-site", "--jobs", "1"};
        words.insert(words.end(), sites.begin(), sites.end());
        Program run(With(words));
        ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
        Execute("KILL " + Waiter() + ";");
        ASSERT_TRUE(WaitUntil([] { return !SomebodyWaits(); }));
        ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
        reader_->Execute("COMMIT;");
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("tw_7, site schema ladder, step SiteSchemaStep_1_0264"));
        EXPECT_THAT(outcome.err, HasSubstr("attempt 1 of 3 follows in 1 s"));
        EXPECT_EQ(SiteVersion(7), kCurrentStored);
        Execute("UPDATE tw_tarnwick.site SET version = 1.0262;");
        Execute("ALTER TABLE tw_7.formtemplateinstance DROP COLUMN cachettl;");
        reader_ = ReaderOfSmallSites({7, 8});
    }
}

TEST_F(Retries, GoOnAtAnotherServerOfTheList) {
    const int port = FreePort();
    const ServerOptions network(
        {"--skip-networking=0", "--bind-address=127.0.0.1", fmt::format("--port={}", port)});
    Execute("CREATE OR REPLACE USER 'remote'@'127.0.0.1';");
    Execute("GRANT ALL ON *.* TO 'remote'@'127.0.0.1';");
    MakeSitesInUse({7});
    const std::string list = fmt::format("127.0.0.1:{},127.0.0.1:{}", FreePort(), port);
    Program run({"--host", list, "--user", "remote", "--no-site-files", "--no-services", "upgrade",
                 "--jobs", "2"});
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
    Execute("KILL " + Waiter() + ";");
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("follows in"));
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

}  // namespace
}  // namespace twupdate::test
