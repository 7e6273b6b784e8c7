// What may happen to a run with four jobs, and that the same command then brings every database to
// the state of a run to which nothing has happened.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <memory>
#include <random>

#include "cli/sample_fixture.h"
#include "cli/shops_fixture.h"
#include "support/trials.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;

class JobsFaults : public ShopsTest {
  protected:
    void SetUp() override {
        if (Undisturbed().empty()) {
            MakeSites();
            ASSERT_EQ(Run({"upgrade", "--jobs", "1"}).status, 0);
            Undisturbed() = States();
        }
        MakeAgain();
    }

    static std::map<std::string, std::string>& Undisturbed() {
        static std::map<std::string, std::string> states;
        return states;
    }

    void MakeAgain() {
        DropSites();
        MakeSites();
    }

    static std::vector<std::string> Upgrade(std::vector<std::string> options = {}) {
        options.insert(options.end(), {"upgrade", "--jobs", "4", "--repair"});
        return options;
    }

    /// Each job waits in another step: for a table that an application has read.
    void HoldTables() {
        reader_ = Application();
        reader_->Execute("START TRANSACTION;");
        for (const char* table :
             {"tw_7.setting", "tw_8.navigation", "tw_9.email", "tw_10.layoutzone"}) {
            reader_->Query(fmt::format("SELECT COUNT(*) FROM {};", table));
        }
    }
    static bool AllWaitForTables() { return Waiting() == "4"; }

    /// Each job waits in the middle of a step that cannot simply run again.
    void HoldRows() {
        reader_ = Application();
        for (const int site : {7, 8, 9, 10}) {
            reader_->Query(fmt::format("SELECT GET_LOCK('test.gate.{}', 0);", site));
            Execute(
                fmt::format("CREATE TRIGGER tw_{0}.wait BEFORE UPDATE ON tw_{0}.charge FOR EACH "
                            "ROW SET @waited = GET_LOCK('test.gate.{0}', 60);",
                            site));
        }
    }
    static bool AllWaitForRows() { return Waiting("User lock") == "4"; }

    void LetGo() {
        while (SomebodyWaits("User lock")) {  // for a program that is there no more
            Execute("KILL " +
                    Cell("SELECT id FROM information_schema.processlist WHERE state = 'User "
                         "lock';") +
                    ";");
            usleep(10000);
        }
        reader_.reset();
        for (const int site : {7, 8, 9, 10}) {
            Execute(fmt::format("DROP TRIGGER IF EXISTS tw_{}.wait;", site));
        }
    }

    static void KillServer() {
        CliServer::Get().Server().Kill();
        CliServer::Get().ForgetConnection();
    }

    static void ExpectUndisturbed() {
        EXPECT_EQ(States(), Undisturbed());
        EXPECT_EQ(InstallationVersion(), kCurrentStored);
    }

    /// The same command again.
    void ExpectResumed(const std::vector<std::string>& command) {
        LetGo();
        ASSERT_TRUE(
            WaitUntil([] { return Cell("SELECT IS_USED_LOCK('twupdate.run');") == "NULL"; }));
        const Outcome outcome = Run(command);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        ExpectUndisturbed();
    }

    /// With TWUPDATE_SOAK=1: at that many moments that nobody has chosen.
    /// @param what  as the table of trials names it
    void AtRandomMoments(const std::string& what, int number,
                         const std::function<void(Program&)>& disturb) {
        std::mt19937 random(std::random_device{}());
        std::uniform_int_distribution<unsigned> moments(100, 4600);
        Trials trials("4 jobs: " + what + ", and the same command again");
        for (int i = 0; SampleTest::IsSoak() && i < number; ++i) {
            trials.Next();
            const unsigned moment = moments(random);
            SCOPED_TRACE(fmt::format("after {} ms", moment));
            MakeAgain();
            Program run(With(Upgrade()));
            usleep(moment * 1000);
            disturb(run);
            ExpectResumed(Upgrade());
        }
    }
};

TEST_F(JobsFaults, AStatementFails) {
    HoldTables();
    const auto log = folder_ / "log";
    const auto command = Upgrade({"--log", log.string()});
    Program run(With(command));
    ASSERT_TRUE(WaitUntil(AllWaitForTables));
    Execute("KILL QUERY " +
            Cell("SELECT id FROM information_schema.processlist WHERE state LIKE '%table metadata "
                 "lock%' AND info LIKE '%tw_8.%';") +
            ";");
    ASSERT_TRUE(WaitUntil([&] { return ContentOf(log).find("failed: ") != std::string::npos; }));
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_THAT(outcome.err, ContainsRegex("failed: database tw_8, .*: server error 1317 "));
    for (const int site : {7, 9, 10}) {
        EXPECT_EQ(SiteVersion(site), kCurrentStored);
    }
    EXPECT_EQ(SiteVersion(8) + SiteVersion(11) + InstallationVersion(), "111");
    ExpectResumed(command);
    AtRandomMoments("a statement is ended", 20, [](Program& program) {
        const std::string statement = Cell(
            "SELECT id FROM information_schema.processlist WHERE info REGEXP "
            "'^(ALTER|CREATE|UPDATE|INSERT|DELETE) ' LIMIT 1;");
        if (statement != "(no row)") {
            Execute("KILL QUERY " + statement + ";");
        }
        const Outcome end = program.Wait();
        EXPECT_THAT(end.status, AnyOf(0, 1)) << end.err;
    });
}

TEST_F(JobsFaults, ASignalToStop) {
    HoldTables();
    Program run(With(Upgrade()));
    ASSERT_TRUE(WaitUntil(AllWaitForTables));
    run.Signal(SIGTERM);
    usleep(300000);
    EXPECT_TRUE(run.Running());  // the current statements are completed
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 5) << outcome.err;
    EXPECT_EQ(SiteVersion(7) + SiteVersion(8) + SiteVersion(9) + SiteVersion(10), "1111");
    ExpectResumed(Upgrade());
    AtRandomMoments("SIGTERM", 20, [](Program& program) {
        program.Signal(SIGTERM);
        const Outcome end = program.Wait();
        EXPECT_THAT(end.status, AnyOf(0, 5, 128 + SIGTERM)) << end.err;
    });
}

TEST_F(JobsFaults, ASecondCtrlC) {
    HoldTables();
    Program run(With(Upgrade()));
    ASSERT_TRUE(WaitUntil(AllWaitForTables));
    run.Signal(SIGINT);
    usleep(100000);
    EXPECT_TRUE(run.Running());
    run.Signal(SIGINT);
    ASSERT_TRUE(WaitUntil([&] { return !run.Running(); }));
    EXPECT_EQ(run.Wait().status, 128 + SIGINT);
    ASSERT_TRUE(WaitUntil([] { return !SomebodyWaits(); }));
    ExpectResumed(Upgrade());
    AtRandomMoments("SIGINT twice", 10, [](Program& program) {
        program.Signal(SIGINT);
        usleep(1000);
        program.Signal(SIGINT);
        program.Wait();
    });
}

TEST_F(JobsFaults, TheProgramIsKilledInStepsThatCannotSimplyRunAgain) {
    HoldRows();
    Program run(With(Upgrade()));
    ASSERT_TRUE(WaitUntil(AllWaitForRows));
    run.Signal(SIGKILL);
    run.Wait();
    LetGo();
    const Outcome refused = Run({"upgrade", "--jobs", "4"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err,
                ContainsRegex("SiteContentStep_1_0007 was interrupted: "
                              "tw_7.chargegroup: 1 group of an unfinished "
                              "conversion.*\\(and 3 more\\); nothing was done\n"
                              "twupdate: hint: run twupdate repair --apply first, or "));
    ExpectResumed(Upgrade());
}

TEST_F(JobsFaults, TheServerIsKilled) {
    const auto kill = [](Program& program) {
        KillServer();
        const Outcome end = program.Wait();
        CliServer::Get().Server().Start();
        return end;
    };
    for (const bool inRows : {false, true}) {
        MakeAgain();
        if (inRows) {
            HoldRows();
        } else {
            HoldTables();
        }
        Program run(With(Upgrade()));
        ASSERT_TRUE(WaitUntil(inRows ? AllWaitForRows : AllWaitForTables));
        const Outcome end = kill(run);
        EXPECT_EQ(end.status, 7) << end.err;
        ExpectResumed(Upgrade());
    }
    AtRandomMoments("the server is killed", 20, [&](Program& program) {
        const Outcome end = kill(program);
        EXPECT_THAT(end.status, AnyOf(0, 7)) << end.err;
    });
}

TEST_F(JobsFaults, SomebodyHoldsTheirTables) {
    HoldTables();
    const auto limited = Upgrade({"--ddl-timeout", "1"});
    Program limitedRun(With(limited));
    ASSERT_TRUE(WaitUntil([&] { return !limitedRun.Running(); }));
    const Outcome outcome = limitedRun.Wait();
    EXPECT_EQ(outcome.status, 7) << outcome.err;
    for (const int site : {7, 8, 9, 10}) {
        EXPECT_THAT(outcome.err, ContainsRegex(fmt::format(
                                     "failed: database tw_{}, .*: server error 1205 ", site)));
    }
    EXPECT_THAT(outcome.err, HasSubstr(fmt::format("a lock may be held by connection {} of "
                                                   "root@localhost",
                                                   reader_->ThreadId())));
    ExpectResumed(limited);

    // Without a limit the run waits as long as it takes.
    MakeAgain();
    HoldTables();
    Program run(With(Upgrade()));
    ASSERT_TRUE(WaitUntil(AllWaitForTables));
    usleep(2000000);
    EXPECT_TRUE(AllWaitForTables());
    reader_->Execute("COMMIT;");
    const Outcome waited = run.Wait();
    EXPECT_EQ(waited.status, 0) << waited.err;
    ExpectUndisturbed();
}

}  // namespace
}  // namespace twupdate::test
