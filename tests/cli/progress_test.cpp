#include <gmock/gmock.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <map>
#include <regex>
#include <set>
#include <thread>

#include "cli/installation_fixture.h"
#include "cli/old_server.h"
#include "cli/run/run_lock.h"
#include "cli/server/blockers.h"
#include "cli/server/options.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"
#include "cli/terminal/counted_progress.h"
#include "cli/terminal/text.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

class ProgressOfARun : public InstallationTest {
  protected:
    /// The folder of a backup of site 7 and the central database, made by an upgrade.
    std::string BackupOfSite7() {
        MakeCentralDatabase();
        MakeSite(7);
        const auto backup = folder_ / "backup";
        EXPECT_EQ(Run({"--backup", backup.string(), "upgrade-site", "7"}).status, 0);
        return std::filesystem::directory_iterator(backup)->path().string();
    }

    /// Each line that was drawn, over another or below one.
    static std::vector<std::string> DrawnLines(const std::string& output) {
        static const std::regex form("[\r\n]([^\r\n\x1b]+)\x1b\\[K");
        std::vector<std::string> lines;
        for (std::sregex_iterator one(output.begin(), output.end(), form), end; one != end; ++one) {
            lines.push_back((*one)[1]);
        }
        return lines;
    }
};

TEST_F(ProgressOfARun, IsALineThatMakesRoomForWhatFollows) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0200");
    const Outcome outcome =
        RunOnTerminal(With({"--backup", (folder_ / "backup").string(), "upgrade"}));
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_THAT(
        DrawnLines(outcome.out),
        AllOf(Contains(ContainsRegex("^0 of 1 site  [0-9.]+ s  dumping tw_tarnwick$")),
              Contains(ContainsRegex("^0 of 1 site  [0-9.]+ s, about [0-9.]+ s left  dumping "
                                     "tw_7$"))));
    // The line is gone when the summary stands there.
    EXPECT_THAT(outcome.out, ContainsRegex("\r\x1b\\[JDone: 2 databases"));
}

TEST_F(ProgressOfARun, FitsTheTerminal) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0200");
    const Outcome outcome = RunOnTerminal(With({"upgrade"}), 20);
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    std::size_t drawings = 0;
    for (const std::string& line : DrawnLines(outcome.out)) {
        if (line.starts_with("0 of 1")) {
            ++drawings;
            EXPECT_LE(line.size(), 19U) << line;
        }
    }
    EXPECT_GE(drawings, 1U);
}

TEST_F(ProgressOfARun, MovesWhileAStatementWaitsAndNamesWhoKeepsItWaiting) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = ReaderOfSite();
    auto run = std::async(std::launch::async, [] {
        return RunOnTerminal(With({"upgrade-site", "7"}), 80);
    });
    EXPECT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(9500));
    reader->Execute("COMMIT;");
    const Outcome outcome = run.get();
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    std::vector<std::string> waiting;
    const auto lines = DrawnLines(outcome.out);
    EXPECT_THAT(lines, Contains(ContainsRegex("^0 of 1 site  [0-9.]+ s, about [0-9.]+ s left  tw_7 "
                                              " site schema 1\\.00[0-9][0-9]$")));
    for (const std::string& line : lines) {
        EXPECT_LE(cli::DisplayWidth(line), 79U) << line;
        if (line.starts_with("waits ")) {
            waiting.push_back(line);
        }
    }
    // Once a second, from the fifth or sixth second on.
    EXPECT_GE(waiting.size(), 3U) << outcome.out;
    const std::string blocker =
        "connection " + std::to_string(reader->ThreadId()) + " of root@localhost, idle for ";
    EXPECT_THAT(waiting,
                Each(ContainsRegex("^waits [0-9.]+ s for " + blocker + "[0-9]+ s  0 of 1 site")));
    EXPECT_NE(waiting.front(), waiting.back());
}

/// A terminal that knows what the program sends: how it shows the output, and every block of
/// progress that it has shown on the way.
class Screen {
  public:
    explicit Screen(const std::string& output) {
        static const std::regex piece("\x1b\\[([0-9]*)([AJK])|\r|\n|[^\x1b\r\n]+");
        for (std::sregex_iterator one(output.begin(), output.end(), piece), end; one != end;
             ++one) {
            Take((*one).str(), (*one)[1], (*one)[2]);
        }
    }
    const std::vector<std::string>& Lines() const { return lines_; }
    /// What was below that line when another drawing began.
    const std::vector<std::vector<std::string>>& Blocks() const { return blocks_; }

  private:
    void Take(const std::string& text, const std::string& number, const std::string& command) {
        if (command == "A") {
            blocks_.emplace_back(lines_.end() - std::stol(number) - 1, lines_.end());
            line_ -= std::stoul(number);
        } else if (command == "K") {
            lines_[line_].resize(column_);
        } else if (command == "J") {
            lines_.resize(line_ + 1);
            lines_[line_].resize(column_);
        } else if (text == "\r") {
            column_ = 0;
        } else if (text == "\n") {
            lines_.resize(std::max(lines_.size(), ++line_ + 1));
        } else {
            lines_[line_].resize(std::max(lines_[line_].size(), column_ + text.size()));
            lines_[line_].replace(column_, text.size(), text);
            column_ += text.size();
        }
    }

    std::vector<std::string> lines_{""};
    std::vector<std::vector<std::string>> blocks_;
    std::size_t line_ = 0;
    std::size_t column_ = 0;
};

TEST_F(ProgressOfARun, HasALineForEachJob) {
    MakeSitesInUse({7, 8, 9, 10});
    MakeSmallSite(11);
    auto run = std::async(std::launch::async, [] {
        return RunOnTerminal(With({"upgrade", "--jobs", "4"}), 140);
    });
    EXPECT_TRUE(WaitUntil([] { return Waiting() == "4"; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(6500));
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.get();
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    const Screen screen(outcome.out);
    const std::string wait = "waits [0-9.]+ s for connection " +
                             std::to_string(reader_->ThreadId()) + " of root@localhost, idle for ";
    const auto job = [&](const char* number) {
        return ContainsRegex("^job " + std::string(number) + "  " + wait +
                             "[0-9]+ s  tw_[0-9]+  site schema 1\\.0264  [0-9.]+ s$");
    };
    EXPECT_THAT(screen.Blocks(),
                Contains(testing::ElementsAre(ContainsRegex("^0 of 5 sites  [0-9.]+ s"), job("1"),
                                              job("2"), job("3"), job("4"))));
    // Once a second, each of them.
    std::map<std::string, std::set<std::string>> clocks;
    for (const auto& block : screen.Blocks()) {
        for (const std::string& line : block) {
            if (line.starts_with("job ")) {
                clocks[line.substr(0, 5)].insert(line.substr(line.rfind("  ")));
            }
        }
    }
    EXPECT_EQ(clocks.size(), 4U);
    for (const auto& [number, times] : clocks) {
        EXPECT_GE(times.size(), 5U) << number;
    }
    // Nothing of it is left.
    EXPECT_THAT(screen.Lines(), Each(Not(HasSubstr("job "))));
    EXPECT_THAT(screen.Lines(), Contains(HasSubstr("Done: 6 databases")));
}

TEST_F(ProgressOfARun, GoesInPlainLinesToATerminalThatIsDumb) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    const Outcome outcome = RunOnTerminal(With({"upgrade"}), 80, "dumb");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("tw_7: ladders from 1.0262 done: "),
                                   HasSubstr("(1 of 1 site)"), Not(HasSubstr("\x1b"))));
}

TEST_F(ProgressOfARun, WarnsOnceWhereNoLineCanBeDrawn) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = ReaderOfSite();
    Program run(With({"--quiet", "upgrade-site", "7"}));
    EXPECT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(11500));  // asked twice
    reader->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err,
                ContainsRegex("^twupdate: warning: tw_7: a statement waits for a lock that may be "
                              "held by connection " +
                              std::to_string(reader->ThreadId()) +
                              " of root@localhost, idle for [0-9]+ s, in a transaction since "
                              "[0-9: -]+\n$"));
}

TEST_F(ProgressOfARun, OfARestoreCountsTheDatabases) {
    const Outcome outcome = RunOnTerminal(With({"restore", BackupOfSite7(), "--apply"}), 80);
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_THAT(DrawnLines(outcome.out),
                AllOf(Contains(ContainsRegex("^1 of 2 databases  [0-9.]+ s  restoring tw_7")),
                      Contains(HasSubstr("reading the dump of tw_7"))));
}

TEST_F(ProgressOfARun, OfACheckAndOfARehearsalCountToo) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    EXPECT_THAT(DrawnLines(RunOnTerminal(With({"check"}), 80).out),
                AllOf(Contains(ContainsRegex("^1 of 1 layout  [0-9.]+ s  tw_")),
                      Contains(ContainsRegex("^1 of 2 databases  [0-9.]+ s  tw_tarnwick$"))));
    const std::string folder = (folder_ / "copy").string();
    EXPECT_THAT(DrawnLines(RunOnTerminal(With({"rehearse", "--workdir", folder}), 80).out),
                AllOf(Contains(ContainsRegex("^1 of 2 databases  [0-9.]+ s  copying tw_tarnwick$")),
                      Contains(ContainsRegex("^0 of 1 site  [0-9.]+ s  tw_tarnwick")),
                      Contains(ContainsRegex("^1 of 2 databases  [0-9.]+ s  comparing tw_"))));
}

TEST_F(ProgressOfARun, OfARestoreNamesWhoKeepsItWaiting) {
    const std::string folder = BackupOfSite7();
    for (const bool terminal : {true, false}) {
        const auto reader = ReaderOfSite();
        auto run = std::async(std::launch::async, [&] {
            const auto arguments = With({"restore", folder, "--site", "7", "--apply"});
            return terminal ? RunOnTerminal(arguments, 80) : RunProgram(arguments);
        });
        EXPECT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(8500));
        reader->Execute("COMMIT;");
        const Outcome outcome = run.get();
        EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
        const std::string blocker =
            "connection " + std::to_string(reader->ThreadId()) + " of root@localhost, idle for ";
        if (terminal) {
            EXPECT_THAT(
                DrawnLines(outcome.out),
                Contains(ContainsRegex("^waits for " + blocker + "[0-9]+ s  1 of 1 database")));
        } else {
            EXPECT_THAT(outcome.err,
                        ContainsRegex("^twupdate: warning: tw_7: a statement waits for a lock that "
                                      "may be held by " +
                                      blocker + "[0-9]+ s, in a transaction since [0-9: -]+\n$"));
        }
    }
}

// The statement that sets a site's version is the program's own, not the client's.
TEST_F(ProgressOfARun, OfARestoreNamesWhoHoldsTheRowOfASite) {
    const std::string folder = BackupOfSite7();
    Execute("ALTER TABLE tw_tarnwick.site ENGINE = InnoDB;");
    const auto holder = Application();
    holder->Execute("START TRANSACTION;");
    holder->Execute("UPDATE tw_tarnwick.site SET version = 1 WHERE siteid = 7;");
    auto run = std::async(std::launch::async, [&] {
        return RunProgram(With({"restore", folder, "--site", "7", "--apply"}));
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(9000));
    holder->Execute("ROLLBACK;");
    const Outcome outcome = run.get();
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.err, ContainsRegex("^twupdate: warning: tw_tarnwick: a statement waits for "
                                           "a lock that may be held by connection " +
                                           std::to_string(holder->ThreadId()) + " of root"));
}

TEST_F(ProgressOfARun, ARestoreGivesUpWhenItHasWaitedAsLongAsItWasTold) {
    const std::string folder = BackupOfSite7();
    const auto reader = ReaderOfSite();
    const Outcome outcome =
        Run({"--ddl-timeout", "2", "restore", folder, "--site", "7", "--apply"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("ERROR 1205 (HY000)"), HasSubstr("cannot restore tw_7: mariadb "),
                      HasSubstr("a lock may be held by connection " +
                                std::to_string(reader->ThreadId()) + " of root@localhost")));
    reader->Execute("COMMIT;");
    EXPECT_EQ(Run({"restore", folder, "--site", "7", "--apply"}).status, 0);
}

// --- one thing after another --------------------------------------------------------------------

/// What a function writes to a console on a terminal of that kind.
std::string OnTerminal(const char* term, const std::function<void(cli::Console&)>& write) {
    std::fflush(nullptr);  // the child must not write it once more
    int terminal = -1;
    const int pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
        setenv("TERM", term, 1);
        cli::Console console(false, false);
        write(console);
        _exit(0);
    }
    std::string output;
    char buffer[1024];
    for (ssize_t got = 0; (got = read(terminal, buffer, sizeof buffer)) > 0;) {
        output.append(buffer, static_cast<std::size_t>(got));
    }
    waitpid(pid, nullptr, 0);
    close(terminal);
    return output;
}

TEST(CountedProgress, MovesEverySecondAndLeavesNothingBehind) {
    const std::string output = OnTerminal("xterm", [](cli::Console& console) {
        cli::CountedProgress progress(console, "database", 1234);
        progress.Next("tw_1");
        std::this_thread::sleep_for(std::chrono::milliseconds(2300));
    });
    const std::string line = "\r1 of 1,234 databases  ";
    const std::string rest = " s  tw_1\x1b\\[K";
    EXPECT_THAT(output, ContainsRegex("^" + line + "0\\.[0-9]" + rest + line + "1\\.[0-9]" + rest +
                                      line + "2\\.[0-9]" + rest + "\r\x1b\\[J$"));
}

TEST(CountedProgress, TellsFromTheSecondOnHowLongTheRestTakes) {
    const std::string output = OnTerminal("xterm", [](cli::Console& console) {
        cli::CountedProgress progress(console, "database", 3);
        progress.Next("tw_1");
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        progress.Next("tw_2");
    });
    // One took 0.6 s, so two more take 1.2 s.
    EXPECT_THAT(output,
                ContainsRegex("2 of 3 databases  0\\.[67] s, about 1\\.[2-5] s left  tw_2"));
}

TEST(CountedProgress, IsAPlainLineEveryFiveSecondsOnADumbTerminal) {
    const std::string output = OnTerminal("dumb", [](cli::Console& console) {
        cli::CountedProgress progress(console, "database", 3);
        progress.Next("tw_1");
        progress.Next("tw_2");
        std::this_thread::sleep_for(std::chrono::milliseconds(5200));
        progress.Next("tw_3");
    });
    EXPECT_THAT(output, ContainsRegex("^3 of 3 databases, 5\\.[0-9] s, about [0-9.]+ s left, "
                                      "tw_3\r\n$"));
}

// --- who keeps a statement waiting --------------------------------------------------------------

class LockWait : public ProgressOfARun {
  protected:
    LockWait() {
        options_.socket = CliServer::Get().Server().Socket().string();
        options_.user = "root";
    }

    /// What the finder says while the session runs a statement that waits for another connection.
    std::optional<cli::LockWait> WhileItWaits(const std::string& statement,
                                              host::Connection& holder) {
        cli::Session session(options_);
        cli::LockWaitFinder finder(session);
        EXPECT_FALSE(finder.Find("tw_tarnwick"));
        auto waiting =
            std::async(std::launch::async, [&] { session.GetConnection()->Execute(statement); });
        // The server keeps what it has reported of transactions until nobody has asked for 0.1 s.
        const auto find = [&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            return finder.Find("tw_tarnwick");
        };
        std::optional<cli::LockWait> found;
        WaitUntil([&] { return (found = find()).has_value(); });
        holder.Execute("COMMIT;");
        waiting.get();
        EXPECT_FALSE(find());
        return found;
    }

    cli::GlobalOptions options_;
};

TEST_F(LockWait, ForARowIsFound) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto bystander = Application();
    bystander->Execute("START TRANSACTION;");
    bystander->Query("SELECT COUNT(*) FROM tw_7.setting;");
    const auto holder = Application();
    Execute("ALTER TABLE tw_tarnwick.site ENGINE = InnoDB;");
    holder->Execute("START TRANSACTION;");
    holder->Execute("UPDATE tw_tarnwick.site SET version = 1 WHERE siteid = 7;");
    holder->Execute("UPDATE tw_tarnwick.site SET version = 0 WHERE siteid = 7;");
    const auto found =
        WhileItWaits("UPDATE tw_tarnwick.site SET version = 1 WHERE siteid = 7;", *holder);
    ASSERT_TRUE(found);
    EXPECT_THAT(found->brief, HasSubstr("connection " + std::to_string(holder->ThreadId()) +
                                        " of root@localhost, idle for "));
    EXPECT_THAT(found->holder, HasSubstr(" s, in a transaction since 20"));
}

TEST_F(LockWait, WithSeveralTransactionsTheLongestIsNamed) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto bystander = Application();  // came first, and has been idle for longer
    const auto holder = Application();
    const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(1100)); };
    holder->Execute("START TRANSACTION;");
    holder->Query("SELECT COUNT(*) FROM tw_tarnwick.site;");
    pause();
    bystander->Execute("START TRANSACTION;");
    bystander->Query("SELECT COUNT(*) FROM tw_7.setting;");
    pause();
    holder->Query("SELECT COUNT(*) FROM tw_tarnwick.site;");
    const auto found = WhileItWaits("ALTER TABLE tw_tarnwick.site ADD COLUMN x INT;", *holder);
    ASSERT_TRUE(found);
    EXPECT_THAT(found->brief,
                HasSubstr("connection " + std::to_string(holder->ThreadId()) + " of"));
}

TEST_F(LockWait, IsReportedToAnAccountThatMayNotSeeWhoHoldsIt) {
    MakeCentralDatabase();
    Execute("CREATE OR REPLACE USER 'blind'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'blind'@'localhost';");
    options_.user = "blind";
    const auto holder = Application();
    holder->Execute("START TRANSACTION;");
    holder->Query("SELECT COUNT(*) FROM tw_tarnwick.site;");
    const auto found = WhileItWaits("ALTER TABLE tw_tarnwick.site ADD COLUMN x INT;", *holder);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->brief, "a connection that only users with the privilege PROCESS are shown");
}

// --- a server with one lock a session -----------------------------------------------------------

TEST_F(ProgressOfARun, OnAnOldServerTheLockIsKeptAndWhoHasItIsNamed) {
    if (!OldServer::IsThere()) {
        GTEST_SKIP() << "there is no old server; ./dev test fetches it where npm can";
    }
    const OldServer server;
    // A lock that a session gets lets go of the one before.
    const auto options = CliServer::Get().ConnectOptions();
    cli::GlobalOptions global;
    global.socket = options.socket->string();
    global.user = *options.user;
    cli::Console console(false, true);
    cli::Session session(global);
    const cli::RunLock lock(session, global, "upgrade", console);
    lock.RequireHeld(*session.GetConnection());
    EXPECT_EQ(RunProgram({"--socket", global.socket, "--user", global.user, "upgrade"}).status, 4);

    Execute("CREATE DATABASE tw_7;");
    Execute("CREATE TABLE tw_7.setting(a INT) ENGINE = InnoDB;");
    const auto holder = host::Connection::Open(options);
    holder->Execute("START TRANSACTION;");
    holder->Query("SELECT * FROM tw_7.setting;");
    cli::LockWaitFinder finder(session);
    auto waiting = std::async(std::launch::async, [&] {
        session.GetConnection()->Execute("ALTER TABLE tw_7.setting ADD COLUMN b INT;");
    });
    EXPECT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    const auto found = finder.Find("tw_7");
    holder->Execute("COMMIT;");
    waiting.get();
    ASSERT_TRUE(found);
    EXPECT_THAT(found->brief,
                HasSubstr("connection " + std::to_string(holder->ThreadId()) + " of root@"));
}

}  // namespace
}  // namespace twupdate::test
