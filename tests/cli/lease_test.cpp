// The lock of a run as a lease, which another run may take from one that shows no sign any more.
#include "cli/run/lease.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;

// --- when it may be taken -----------------------------------------------------------------------

cli::LeaseRow RowAt(std::uint64_t counter, const std::string& holder = "one") {
    cli::LeaseRow row;
    row.holder = holder;
    row.counter = counter;
    row.seconds = 60;
    return row;
}

/// Looks once a second, each of which takes 100 ms.
/// @returns whether the last one has found that the lease may be taken
bool Look(cli::Standstill& standstill, const cli::LeaseRow& row, std::chrono::seconds from,
          std::chrono::seconds to) {
    bool may = false;
    for (auto time = from; time <= to; time += 1s) {
        const cli::Standstill::Time began{time};
        may = standstill.Seen(row, began, began + 100ms);
    }
    return may;
}

TEST(Standstill, IsAMinuteInWhichTheCounterHasNotMoved) {
    cli::Standstill standstill;
    EXPECT_FALSE(Look(standstill, RowAt(5), 1000s, 1060s));
    EXPECT_TRUE(Look(standstill, RowAt(5), 1061s, 1061s));
}

TEST(Standstill, BeginsAgainWhenTheCounterMovesOrAnotherRunHasIt) {
    cli::Standstill standstill;
    EXPECT_FALSE(Look(standstill, RowAt(5), 1000s, 1059s));
    EXPECT_FALSE(Look(standstill, RowAt(6), 1060s, 1120s));
    EXPECT_TRUE(Look(standstill, RowAt(6), 1121s, 1121s));
    EXPECT_FALSE(Look(standstill, RowAt(6, "two"), 1122s, 1150s));
}

TEST(Standstill, CountsNoTimeInWhichTheServerTookNoWrites) {
    cli::Standstill standstill;
    EXPECT_FALSE(Look(standstill, RowAt(5), 1000s, 1050s));
    // A look that takes half a minute: the holder could not write either.
    EXPECT_FALSE(
        standstill.Seen(RowAt(5), cli::Standstill::Time{1051s}, cli::Standstill::Time{1081s}));
    EXPECT_FALSE(Look(standstill, RowAt(5), 1082s, 1140s));
    EXPECT_TRUE(Look(standstill, RowAt(5), 1141s, 1141s));
}

TEST(Standstill, CountsNoTimeInWhichNobodyLooked) {
    cli::Standstill standstill;
    EXPECT_FALSE(Look(standstill, RowAt(5), 1000s, 1001s));
    EXPECT_FALSE(Look(standstill, RowAt(5), 1200s, 1200s));
    standstill.Forget();
    EXPECT_FALSE(Look(standstill, RowAt(5), 1201s, 1261s));
    EXPECT_TRUE(Look(standstill, RowAt(5), 1262s, 1262s));
}

TEST(Standstill, StaysOnceItIsReached) {
    cli::Standstill standstill;
    EXPECT_TRUE(Look(standstill, RowAt(5), 1000s, 1061s));
    EXPECT_TRUE(Look(standstill, RowAt(5), 1100s, 1100s));
    EXPECT_FALSE(Look(standstill, RowAt(6), 1101s, 1101s));
}

TEST(LeaseTerms, GiveUpLongBeforeAnotherRunMayTakeIt) {
    const cli::LeaseTerms terms;
    EXPECT_EQ(terms.takenAfter, 60s);
    EXPECT_EQ(terms.Renewed(), 10s);
    EXPECT_EQ(terms.GivenUpAfter(), 40s);
}

// --- runs ---------------------------------------------------------------------------------------

class Lease : public InstallationTest {
  protected:
    Lease() { Execute("DROP DATABASE IF EXISTS twupdate;"); }

    static std::string Holder() { return Cell("SELECT holder FROM twupdate.lease WHERE id = 1;"); }
    static std::string Note() { return Cell("SELECT note FROM twupdate.lease WHERE id = 1;"); }
    static bool IsHeldBy(const Program& program) {
        return Note().find(fmt::format("process {} on ", program.Pid())) != std::string::npos;
    }
    /// The connections that the row names, as a list for SQL.
    static std::string Named() {
        return Cell(
            "SELECT COALESCE(GROUP_CONCAT(SUBSTRING_INDEX(line, '\t', 1)), '0') FROM (SELECT "
            "SUBSTRING_INDEX(SUBSTRING_INDEX(connections, '\n', seq), '\n', -1) AS line FROM "
            "twupdate.lease, twupdate.seq_1_to_100 WHERE id = 1 AND seq <= LENGTH(connections) - "
            "LENGTH(REPLACE(connections, '\n', ''))) AS named;");
    }
    static std::vector<std::string> Upgrade(const std::vector<std::string>& more = {}) {
        std::vector<std::string> words{"--lease", "6", "--lock-wait", "100"};
        words.insert(words.end(), more.begin(), more.end());
        words.emplace_back("upgrade");
        return With(words);
    }
    static bool WaitFor(const std::function<bool()>& condition) {
        return WaitUntil(condition) || WaitUntil(condition);  // a lease is taken after six seconds
    }
};

TEST_F(Lease, ARunThatWasStoppedSendsNothingMoreAfterAnotherHasTakenOver) {
    MakeSitesInUse({7, 8});
    auto words = Upgrade();
    words.insert(words.end(), {"--jobs", "2"});
    Program first(words);
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "2"; }));
    const std::string connections = Named();
    first.Signal(SIGSTOP);
    Program second(Upgrade());
    ASSERT_TRUE(WaitFor([&] { return IsHeldBy(second); })) << Note();
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.processlist WHERE id IN (" +
                   connections + ");"),
              "0");
    reader_.reset();
    const Outcome outcome = second.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, ContainsRegex("the other run has shown no sign for 6.*; ending its "
                                           "connections: upgrade, process [0-9]+ on "));
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
    EXPECT_EQ(SiteVersion(8), kCurrentStored);

    ASSERT_TRUE(WaitUntil([] {  // the server hears of the second one's end a moment later
        return Cell("SELECT COUNT(*) FROM information_schema.processlist WHERE user = 'root';") ==
               "1";
    }));
    const GlobalSetting toTable("log_output", "'TABLE'");
    const GlobalSetting log("general_log", "ON");
    Execute("TRUNCATE TABLE mysql.general_log;");
    first.Signal(SIGCONT);
    const Outcome stopped = first.Wait();
    EXPECT_EQ(stopped.status, 1) << stopped.err;
    EXPECT_THAT(stopped.err, HasSubstr("the run has lost its lock: it could not be renewed for "));
    EXPECT_EQ(Cell("SELECT COALESCE(GROUP_CONCAT(command_type, ' ', argument), 'nothing') FROM "
                   "mysql.general_log WHERE thread_id <> CONNECTION_ID();"),
              "nothing");
}

TEST_F(Lease, AStandbyTakesOverFromAKilledRunAndResumes) {
    MakeSmallSites({7, 8});
    reader_ = ReaderOfSmallSites({8});
    Program first(Upgrade());
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits() && SiteVersion(7) == kCurrentStored; }));
    Program standby(Upgrade());
    std::this_thread::sleep_for(8s);  // longer than a lease, which the first one renews
    EXPECT_TRUE(IsHeldBy(first)) << Note();
    first.Signal(SIGKILL);
    first.Wait();
    ASSERT_TRUE(WaitFor([&] { return IsHeldBy(standby); })) << Note();
    reader_.reset();
    const Outcome outcome = standby.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("Waiting for the end of another run: upgrade, "),
                                   HasSubstr("1 site to upgrade")));
    EXPECT_EQ(SiteVersion(8), kCurrentStored);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
}

TEST_F(Lease, OfTwoWhoWaitOneTakesOver) {
    MakeSitesInUse({7});
    Program first(Upgrade());
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    Program one(Upgrade());
    Program two(Upgrade());
    first.Signal(SIGKILL);
    first.Wait();
    ASSERT_TRUE(WaitFor([&] { return IsHeldBy(one) || IsHeldBy(two); })) << Note();
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(Waiting(), "1") << "only one run has come to the site";
    reader_.reset();
    const Outcome oneEnded = one.Wait();
    const Outcome twoEnded = two.Wait();
    EXPECT_EQ(oneEnded.status, 0) << oneEnded.err;
    EXPECT_EQ(twoEnded.status, 0) << twoEnded.err;
    EXPECT_THAT(oneEnded.out + twoEnded.out, HasSubstr("already; nothing was done."));
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

TEST_F(Lease, OnlyTheOneWhoHasSeenItsLastStateTakesIt) {
    const auto one = Application();
    cli::RequireLeaseTable(*one);
    const cli::LeaseRow free = cli::ReadLease(*one);
    cli::LeaseRow first;
    first.holder = "first";
    EXPECT_TRUE(cli::TakeLease(*one, free, first));
    cli::LeaseRow second;
    second.holder = "second";
    EXPECT_FALSE(cli::TakeLease(*Application(), free, second)) << "another one was faster";
    const cli::LeaseRow held = cli::ReadLease(*one);
    EXPECT_TRUE(cli::RenewLease(*one, "first"));
    EXPECT_FALSE(cli::TakeLease(*one, held, second)) << "the holder lives";
    EXPECT_FALSE(cli::RenewLease(*one, "second"));
    EXPECT_TRUE(cli::TakeLease(*one, cli::ReadLease(*one), second));
    cli::FreeLease(*one, "first");
    EXPECT_EQ(Holder(), "second");
}

TEST_F(Lease, TheEndOfARunFreesItAtOnce) {
    MakeNearlyCurrentInstallation();
    EXPECT_EQ(RunProgram(With({"--lease", "3600", "upgrade"})).status, 0);
    EXPECT_EQ(Holder(), "");
    EXPECT_EQ(RunProgram(With({"--lease", "3600", "upgrade"})).status, 0);
    EXPECT_EQ(Holder(), "");
}

TEST_F(Lease, ASecondRunSaysWhoHasIt) {
    MakeSitesInUse({7});
    Program first(Upgrade());
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    const Outcome second = RunProgram(With({"--lease", "60", "upgrade"}));
    EXPECT_EQ(second.status, 4);
    EXPECT_THAT(second.err,
                AllOf(HasSubstr(fmt::format("another run is in progress: upgrade, process {} on ",
                                            first.Pid())),
                      HasSubstr("with more than 6 seconds, this run continues when")));
    // A run without a lease is kept out by the server's own lock, and so it is the other way round.
    EXPECT_EQ(RunProgram(With({"upgrade"})).status, 4);
    reader_.reset();
    EXPECT_EQ(first.Wait().status, 0);
    const auto other = Application();
    other->Query("SELECT GET_LOCK('twupdate.run', 0);");
    EXPECT_EQ(RunProgram(With({"--lease", "60", "upgrade"})).status, 4);
    EXPECT_EQ(Holder(), "");
}

TEST_F(Lease, TheRowNamesEveryConnectionOfTheRun) {
    MakeSitesInUse({7, 8, 9, 10});
    Execute("CREATE OR REPLACE USER 'worker'@'localhost';");
    Execute("GRANT ALL ON *.* TO 'worker'@'localhost';");
    auto words = Upgrade({"--backup", (folder_ / "backup").string()});
    words.insert(words.end(), {"--max-load", "Threads_running=100", "--jobs", "4"});
    std::replace(words.begin(), words.end(), std::string("root"), std::string("worker"));
    Program run(words);
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "4"; }));
    std::this_thread::sleep_for(6s);  // by then it looks who holds the lock
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.processlist WHERE user = 'worker' AND "
                   "id NOT IN (" +
                   Named() + ");"),
              "0");
    EXPECT_GE(std::stoi(Cell("SELECT COUNT(*) FROM information_schema.processlist WHERE user = "
                             "'worker';")),
              4 + 1 + 3);  // the jobs, the run; the lease, the lock, the care for the server
    reader_.reset();
    EXPECT_EQ(run.Wait().status, 0);
}

TEST_F(Lease, ARunWhoseLeaseWasTakenStopsBeforeItsNextStatement) {
    MakeSitesInUse({7});
    Program run(Upgrade());
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    Execute("UPDATE twupdate.lease SET holder = 'other', counter = counter + 1 WHERE id = 1;");
    std::this_thread::sleep_for(3s);  // it renews every second
    reader_.reset();
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("the run has lost its lock: another run has taken it over"));
    EXPECT_EQ(SiteVersion(7), "1.0262");
    EXPECT_EQ(Holder(), "other");
}

TEST_F(Lease, ARunThatCannotRenewStopsBeforeItsNextStatement) {
    MakeSitesInUse({7});
    Program run(Upgrade());
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    Execute("RENAME TABLE twupdate.lease TO twupdate.moved;");
    std::this_thread::sleep_for(6s);
    reader_.reset();
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("the run has lost its lock: it could not be renewed for "));
    EXPECT_EQ(SiteVersion(7), "1.0262");
}

TEST_F(Lease, AnAccountThatMayNotUseTheTableIsToldWhatItNeeds) {
    MakeNearlyCurrentInstallation();
    Execute("CREATE OR REPLACE USER 'narrow'@'localhost';");
    Execute("GRANT ALL ON `tw\\_%`.* TO 'narrow'@'localhost';");
    auto words = With({"--lease", "60", "upgrade"});
    std::replace(words.begin(), words.end(), std::string("root"), std::string("narrow"));
    const Outcome refused = RunProgram(words);
    EXPECT_EQ(refused.status, 4);
    EXPECT_THAT(refused.err,
                AllOf(HasSubstr("the account may not use the database twupdate"),
                      HasSubstr("GRANT SELECT, INSERT, UPDATE, CREATE ON `twupdate`.* TO")));
    Execute("GRANT SELECT, INSERT, UPDATE, CREATE ON twupdate.* TO 'narrow'@'localhost';");
    const Outcome granted = RunProgram(words);
    EXPECT_EQ(granted.status, 0) << granted.err;
}

TEST_F(Lease, ConnectionsOfAnotherAccountAreNotTakenForGone) {
    MakeSitesInUse({7});
    Execute("CREATE OR REPLACE USER 'narrow'@'localhost';");
    Execute("GRANT ALL ON `tw\\_%`.* TO 'narrow'@'localhost';");
    Execute("GRANT ALL ON twupdate.* TO 'narrow'@'localhost';");
    Program first(Upgrade());
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    first.Signal(SIGSTOP);
    auto words = With({"--lease", "6", "--lock-wait", "9", "upgrade"});
    std::replace(words.begin(), words.end(), std::string("root"), std::string("narrow"));
    const Outcome second = RunProgram(words);
    EXPECT_EQ(second.status, 4);
    EXPECT_THAT(second.err, HasSubstr("the lock cannot be taken over yet: its connections are of "
                                      "the account root, this one's are of narrow"));
    EXPECT_TRUE(IsHeldBy(first));
}

TEST_F(Lease, CheckSaysWhatItNeedsAndWhoHasIt) {
    MakeNearlyCurrentInstallation();
    Execute("CREATE OR REPLACE USER 'narrow'@'localhost';");
    Execute("GRANT ALL ON `tw\\_%`.* TO 'narrow'@'localhost';");
    auto words = With({"--lease", "60", "check"});
    std::replace(words.begin(), words.end(), std::string("root"), std::string("narrow"));
    EXPECT_THAT(RunProgram(words).out,
                HasSubstr("GRANT SELECT, INSERT, UPDATE, CREATE ON `twupdate`.* TO "
                          "'narrow'@'localhost'"));
    words.erase(words.begin() +
                    std::distance(words.begin(), std::find(words.begin(), words.end(), "--lease")),
                std::find(words.begin(), words.end(), "check"));
    EXPECT_THAT(RunProgram(words).out, Not(HasSubstr("`twupdate`")));
    EXPECT_EQ(RunProgram(With({"--lease", "60", "upgrade"})).status, 0);
    Execute(
        "UPDATE twupdate.lease SET holder = 'other', note = 'upgrade, process 5 on web1' "
        "WHERE id = 1;");
    EXPECT_THAT(Run({"check"}).out,
                HasSubstr("another run is in progress: upgrade, process 5 on web1"));
}

TEST_F(Lease, TheClientsOfARestoreEnterThemselvesFirst) {
    MakeSmallSites({7});
    const std::string backup = (folder_ / "backup").string();
    ASSERT_EQ(Run({"--backup", backup, "upgrade"}).status, 0);
    const auto dumps = std::filesystem::directory_iterator(backup)->path().string();
    const GlobalSetting toTable("log_output", "'TABLE'");
    const GlobalSetting log("general_log", "ON");
    Execute("TRUNCATE TABLE mysql.general_log;");
    const Outcome restored = Run({"--lease", "60", "restore", dumps, "--apply"});
    ASSERT_EQ(restored.status, 0) << restored.err;
    const std::string loads =
        "SELECT COUNT(DISTINCT thread_id) FROM mysql.general_log l WHERE command_type = 'Init DB' "
        "AND argument LIKE 'tw\\_%'";
    EXPECT_EQ(Cell(loads + ";"), "2");  // the central database and the site
    EXPECT_EQ(Cell(loads + " AND NOT EXISTS(SELECT 1 FROM mysql.general_log n WHERE n.thread_id = "
                           "l.thread_id AND n.event_time <= l.event_time AND n.argument LIKE "
                           "'UPDATE twupdate.lease SET%connections = CONCAT%');"),
              "0");
}

}  // namespace
}  // namespace twupdate::test
