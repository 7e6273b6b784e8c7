#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "cli/installation_fixture.h"
#include "cli/program.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::HasSubstr;

/// What a scheduler learns from the status: whether to run the same command again.
class ExitStatus : public InstallationTest {
  protected:
    /// The run that waits for a table, and what holds that.
    void MakeWaitingRun(const std::vector<std::string>& options) {
        MakeCentralDatabase();
        MakeSite(7);
        reader_ = ReaderOfSite();
        auto arguments = options;
        arguments.insert(arguments.end(), {"--ddl-timeout", "30", "upgrade-site", "7"});
        run_ = std::make_unique<Program>(With(arguments));
        ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    }

    std::unique_ptr<Program> run_;
};

TEST_F(ExitStatus, AServerThatIsNotThereIsWorthARetryAndARefusalIsNot) {
    EXPECT_EQ(RunProgram({"--socket", "/nowhere/mysqld.sock", "status"}).status, 7);
    const auto socket = CliServer::Get().Server().Socket().string();
    const Outcome denied = RunProgram({"--socket", socket, "--user", "no_such_account", "status"});
    EXPECT_THAT(denied.err, HasSubstr("cannot connect to the server"));
    EXPECT_EQ(denied.status, 1);
}

TEST_F(ExitStatus, ALockThatDoesNotComeInTimeIsWorthARetry) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = ReaderOfSite();
    for (const std::vector<std::string>& more :
         std::vector<std::vector<std::string>>{{"upgrade-site", "7"}, {"upgrade", "--jobs", "2"}}) {
        std::vector<std::string> arguments{"--ddl-timeout", "1"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 7) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("server error 1205"));
    }
    reader->Execute("COMMIT;");
    EXPECT_EQ(Run({"--ddl-timeout", "1", "upgrade"}).status, 0);
}

TEST_F(ExitStatus, AConnectionThatIsLostIsWorthARetry) {
    MakeWaitingRun({});
    Execute("KILL " +
            Cell("SELECT id FROM information_schema.processlist WHERE state LIKE '%metadata%';") +
            ";");
    const Outcome outcome = run_->Wait();
    EXPECT_EQ(outcome.status, 7) << outcome.err;
    reader_->Execute("COMMIT;");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
}

TEST_F(ExitStatus, AStatementThatTheServerRefusesIsNotWorthARetry) {
    MakeNearlyCurrentInstallation();
    MakeSiteThatFails(7);
    EXPECT_EQ(Run({"upgrade"}).status, 1);
    EXPECT_EQ(Run({"upgrade", "--keep-going"}).status, 6);
}

TEST_F(ExitStatus, TheGraceEndsAStatementThatTakesTooLong) {
    MakeWaitingRun({"--grace", "1"});
    const auto began = std::chrono::steady_clock::now();
    run_->Signal(SIGTERM);
    const Outcome outcome = run_->Wait();
    const auto took = std::chrono::steady_clock::now() - began;
    EXPECT_EQ(outcome.status, 128 + SIGTERM);
    EXPECT_THAT(outcome.err, HasSubstr("the time of --grace is over; stopping at once"));
    EXPECT_GE(took, std::chrono::milliseconds(700));
    EXPECT_LT(took, std::chrono::seconds(8));
    reader_->Execute("COMMIT;");
    EXPECT_TRUE(WaitUntil([] { return Cell("SELECT IS_USED_LOCK('twupdate.run');") == "NULL"; }));
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

TEST_F(ExitStatus, WithinTheGraceARunStopsAfterItsStatement) {
    MakeWaitingRun({"--grace", "60"});
    run_->Signal(SIGTERM);
    usleep(200000);
    EXPECT_TRUE(run_->Running());
    reader_->Execute("COMMIT;");
    const Outcome outcome = run_->Wait();
    EXPECT_EQ(outcome.status, 5) << outcome.err;
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
}

TEST_F(ExitStatus, ARunThatIsStartedTwiceIsHarmless) {
    MakeWaitingRun({});
    const Outcome second = Run({"upgrade-site", "7"});
    EXPECT_EQ(second.status, 4) << second.err;
    reader_->Execute("COMMIT;");
    EXPECT_EQ(run_->Wait().status, 0);
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

}  // namespace
}  // namespace twupdate::test
