// Runs with --batch that are killed, or whose server is: the same command, with --batch or without,
// brings every database to the state of a run to which nothing has happened.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <map>
#include <memory>
#include <utility>

#include "cli/sample_fixture.h"
#include "cli/shops_fixture.h"
#include "support/given_numbers.h"
#include "support/snapshot.h"
#include "support/trials.h"
#include "support/versions.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {
namespace {

class BatchFaults : public ShopsTest {
  protected:
    /// The whole installation, without gaps in the numbers that the server gives: a transaction
    /// that is taken back leaves some.
    struct State {
        std::map<std::string, Schema> schemas;
        std::map<std::string, RowSnapshot> rows;
    };
    static State StateNow() {
        host::MariaDbUtility utility(host::Connection::Open(CliServer::Get().ConnectOptions()));
        State state;
        for (const int site : kSites) {
            const std::string database = fmt::format("tw_{}", site);
            state.schemas[database] = SchemaOf(utility, database);
            state.rows[database] = WithoutGaps(RowsOf(utility, database));
        }
        state.schemas["tw_tarnwick"] = SchemaOf(utility, "tw_tarnwick");
        state.rows["tw_tarnwick"] = RowsOf(utility, "tw_tarnwick");
        return state;
    }
    /// Of a run without --batch to which nothing has happened.
    static const State& Undisturbed() {
        static const State kState = [] {
            EXPECT_EQ(Run({"upgrade", "--jobs", "1"}).status, 0);
            return StateNow();
        }();
        return kState;
    }
    void SetUp() override {
        MakeSites();
        Undisturbed();
    }
    void MakeAgain() {
        DropSites();
        MakeSites();
    }

    static std::vector<std::string> Upgrade(bool batched, const std::string& jobs) {
        std::vector<std::string> words{"upgrade", "--repair", "--jobs", jobs};
        if (batched) {
            words.emplace_back("--batch");
        }
        return words;
    }
    static void KillServer() {
        CliServer::Get().Server().Kill();
        CliServer::Get().ForgetConnection();
    }
    /// Kills the program, or its server, which then starts again.
    static Outcome Kill(Program& program, bool isServer) {
        if (isServer) {
            KillServer();
        } else {
            program.Signal(SIGKILL);
        }
        const Outcome end = program.Wait();
        if (isServer) {
            CliServer::Get().Server().Start();
        }
        return end;
    }
    static void ExpectResumed(const std::vector<std::string>& command) {
        ASSERT_TRUE(
            WaitUntil([] { return Cell("SELECT IS_USED_LOCK('twupdate.run');") == "NULL"; }));
        const Outcome outcome = Run(command);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(InstallationVersion(), kCurrentStored);
        const State now = StateNow();
        for (const auto& [database, schema] : Undisturbed().schemas) {
            EXPECT_TRUE(SameSchema(schema, now.schemas.at(database))) << database;
            EXPECT_TRUE(SameRows(Undisturbed().rows.at(database), now.rows.at(database)))
                << database;
        }
    }

    /// Each job waits for a table that an application has read, in another step.
    void HoldTables() {
        reader_ = Application();
        reader_->Execute("START TRANSACTION;");
        for (const char* table :
             {"tw_7.setting", "tw_8.navigation", "tw_9.email", "tw_10.layoutzone"}) {
            reader_->Query(fmt::format("SELECT COUNT(*) FROM {};", table));
        }
    }
    /// Each job waits in a transaction, in a step that cannot simply run again.
    void HoldRows() {
        reader_ = Application();
        for (const int site : kSites) {
            reader_->Query(fmt::format("SELECT GET_LOCK('test.gate.{}', 0);", site));
            Execute(
                fmt::format("CREATE TRIGGER tw_{0}.wait BEFORE UPDATE ON tw_{0}.charge FOR EACH "
                            "ROW SET @waited = GET_LOCK('test.gate.{0}', 60);",
                            site));
        }
    }
    void LetGo() {
        while (SomebodyWaits("User lock")) {  // for a program that is there no more
            Execute("KILL " +
                    Cell("SELECT id FROM information_schema.processlist WHERE state = 'User "
                         "lock';") +
                    ";");
            usleep(10000);
        }
        reader_.reset();
        for (const int site : kSites) {
            Execute(fmt::format("DROP TRIGGER IF EXISTS tw_{}.wait;", site));
        }
    }
};

TEST_F(BatchFaults, WhereChangesOfTablesWaitTheProgramOrTheServerIsKilled) {
    for (const bool isServer : {false, true}) {
        SCOPED_TRACE(isServer ? "server" : "program");
        MakeAgain();
        HoldTables();
        Program run(With(Upgrade(true, "4")));
        ASSERT_TRUE(WaitUntil([] { return Waiting() == "4"; }));
        Kill(run, isServer);
        reader_.reset();
        ASSERT_TRUE(WaitUntil([] { return !SomebodyWaits(); }));
        ExpectResumed(Upgrade(isServer, "4"));
    }
}

// Not even the first group of the step is there: it was in the transaction.
TEST_F(BatchFaults, InATransactionTheProgramOrTheServerIsKilled) {
    for (const bool isServer : {false, true}) {
        SCOPED_TRACE(isServer ? "server" : "program");
        MakeAgain();
        HoldRows();
        Program run(With(Upgrade(true, "1")));
        ASSERT_TRUE(WaitUntil([] { return SomebodyWaits("User lock"); }));
        const Outcome end = Kill(run, isServer);
        EXPECT_EQ(end.status, isServer ? 7 : 128 + SIGKILL) << end.err;
        LetGo();
        EXPECT_TRUE(
            WaitUntil([] { return Cell("SELECT COUNT(*) FROM tw_7.chargegroup;") == "0"; }));
        ExpectResumed(Upgrade(!isServer, "1"));
    }
}

// With TWUPDATE_SOAK=1, at moments that are spread over the whole run: with one job and with four,
// and resumed with --batch and without.
TEST_F(BatchFaults, AtAnyMomentTheProgramOrTheServerIsKilled) {
    if (!SampleTest::IsSoak()) {
        GTEST_SKIP() << "for the soak";
    }
    using Clock = std::chrono::steady_clock;
    constexpr int kKills = 50;
    for (const bool isServer : {false, true}) {
        Trials trials(std::string("--batch: the ") + (isServer ? "server" : "program") +
                      " is killed, and the command repeated");
        for (const std::string jobs : {"1", "4"}) {
            MakeAgain();
            const auto begin = Clock::now();
            ASSERT_EQ(Run(Upgrade(true, jobs)).status, 0);
            const auto whole =
                std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
            for (int kill = 0; kill < kKills / 2; ++kill) {
                const auto moment = whole * (2 * kill + 1) / kKills;
                trials.Next();
                SCOPED_TRACE(fmt::format("{} killed after {} us, {} jobs",
                                         isServer ? "server" : "program", moment.count(), jobs));
                MakeAgain();
                Program run(With(Upgrade(true, jobs)));
                usleep(static_cast<useconds_t>(moment.count()));
                const Outcome end = Kill(run, isServer);
                EXPECT_THAT(end.status, testing::AnyOf(0, 7, 128 + SIGKILL)) << end.err;
                ExpectResumed(Upgrade(kill % 2 == 0, jobs));
            }
        }
    }
}

}  // namespace
}  // namespace twupdate::test
