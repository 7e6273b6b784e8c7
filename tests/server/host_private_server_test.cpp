// The private server: its folder, its life and its errors.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "support/redo_log_folder.h"
#include "support/temporary_folder.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using host::Connection;
using host::PrivateServer;
using host::PrivateServerError;
using host::PrivateServerOptions;
using testing::AllOf;
using testing::HasSubstr;

const PrivateServerOptions kFast{.fast = true};

std::string Cell(const PrivateServer& server, const std::string& sql) {
    const auto rows = Connection::Open(server.ConnectOptions())->Query(sql);
    return rows->Next() ? rows->Get(0).ToText() : "(nothing)";
}

std::string ErrorOfStarting(const fs::path& folder, const PrivateServerOptions& options = kFast) {
    try {
        const PrivateServer server(folder, options);
    } catch (const PrivateServerError& error) {
        return error.what();
    }
    return "(it started)";
}

/// Runs `work` in a process of its own and waits for it.
template <typename Work>
int InAnotherProcess(const Work& work) {
    const pid_t pid = fork();
    if (pid == 0) {
        int status = 99;
        try {
            status = work();
        } catch (const std::exception& error) {
            fprintf(stderr, "%s\n", error.what());
        }
        _exit(status);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
}

TEST(PrivateServer, KeepsItsTemporaryTablesAwayFromOtherServers) {
    const TemporaryFolder folder;
    const PrivateServer server(folder / "data", kFast);
    EXPECT_EQ(Cell(server, "SELECT @@tmpdir"), (folder / "data").string());
}

TEST(PrivateServer, MakesItsFolderAndKeepsItsDataFromStartToStart) {
    const TemporaryFolder folder;
    const fs::path data = folder / "deep/er";
    {
        PrivateServer server(data, kFast);
        EXPECT_TRUE(server.Running());
        EXPECT_GT(server.Pid(), 0);
        Connection::Open(server.ConnectOptions())->Execute("CREATE DATABASE tw_9");
        server.Restart();
        EXPECT_EQ(Cell(server, "SHOW DATABASES LIKE 'tw_9'"), "tw_9");
        server.Stop();
        EXPECT_FALSE(server.Running());
        EXPECT_EQ(server.Pid(), 0);
        server.Stop();  // again: nothing to do
        EXPECT_THROW(Connection::Open(server.ConnectOptions()), HostError);
    }
    const PrivateServer again(data, kFast);
    EXPECT_EQ(Cell(again, "SHOW DATABASES LIKE 'tw_9'"), "tw_9");
}

TEST(PrivateServer, KeepsWhatWasCommittedWhenItIsKilled) {
    const TemporaryFolder folder;
    const RedoLogFolder redoLog;
    PrivateServer server(folder / "data", {.fast = true, .serverOptions = redoLog.ServerOptions()});
    const auto connection = Connection::Open(server.ConnectOptions());
    connection->Execute("CREATE DATABASE tw_9");
    connection->Execute("CREATE TABLE tw_9.thing(id INT PRIMARY KEY)");
    connection->Execute("INSERT INTO tw_9.thing VALUES(1), (2)");
    server.Kill();
    EXPECT_FALSE(server.Running());
    server.Start();
    EXPECT_EQ(Cell(server, "SELECT COUNT(*) FROM tw_9.thing"), "2");
}

TEST(PrivateServer, NoticesThatItsServerDied) {
    const TemporaryFolder folder;
    const RedoLogFolder redoLog;
    PrivateServer server(folder / "data", {.fast = true, .serverOptions = redoLog.ServerOptions()});
    kill(server.Pid(), SIGKILL);
    for (int i = 0; i < 1000 && server.Running(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(server.Running());
    server.Start();
    EXPECT_EQ(Cell(server, "SELECT 1"), "1");
}

TEST(PrivateServer, ListensOnItsSocketAlone) {
    const TemporaryFolder folder;
    const PrivateServer server(folder / "data", kFast);
    EXPECT_EQ(Cell(server, "SELECT @@skip_networking"), "1");
    EXPECT_EQ(Cell(server, "SELECT @@socket"), server.Socket().string());
    EXPECT_EQ(server.Socket().parent_path(), folder / "data");
    const auto mode = fs::status(folder / "data").permissions();
    EXPECT_EQ(mode & fs::perms::mask, fs::perms::owner_all) << "others could sign in as root";
}

TEST(PrivateServer, IsDurableUnlessSpeedIsAskedFor) {
    const TemporaryFolder folder;
    {
        const PrivateServer durable(folder / "data");
        EXPECT_EQ(Cell(durable, "SELECT @@innodb_flush_log_at_trx_commit"), "1");
        EXPECT_EQ(Cell(durable, "SELECT @@innodb_doublewrite"), "1");
        EXPECT_EQ(Cell(durable, "SELECT @@character_set_server"), "utf8mb4");
    }
    const PrivateServer fast(folder / "data", kFast);
    // Given to the system at every commit: what was committed outlives a killed server.
    EXPECT_EQ(Cell(fast, "SELECT @@innodb_flush_log_at_trx_commit"), "2");
    // So do pages that were half written.
    EXPECT_EQ(Cell(fast, "SELECT @@innodb_doublewrite"), "1");
}

TEST(PrivateServer, TakesFurtherOptionsLast) {
    const TemporaryFolder folder;
    const PrivateServer server(
        folder / "data",
        PrivateServerOptions{.fast = true, .serverOptions = {"--max-allowed-packet=4M"}});
    EXPECT_EQ(Cell(server, "SELECT @@max_allowed_packet"), "4194304");
}

TEST(PrivateServer, ConnectionThatMustBeEncryptedFailsOnAServerWithoutACertificate) {
    const TemporaryFolder folder;
    const PrivateServer server(folder / "data", kFast);
    auto options = server.ConnectOptions();
    options.sslVerifyServerCert = true;
    EXPECT_THROW(Connection::Open(options), HostError);
}

// --- a folder that is in use -----------------------------------------------------------------

TEST(PrivateServer, SecondStartInOneFolderIsRefusedByName) {
    const TemporaryFolder folder;
    PrivateServer server(folder / "data", kFast);
    EXPECT_THAT(ErrorOfStarting(folder / "data"),
                AllOf(HasSubstr("another private server"), HasSubstr((folder / "data").string()),
                      HasSubstr("process " + std::to_string(server.Pid()))));
    EXPECT_THAT(ErrorOfStarting(folder / "data/../data/"), HasSubstr("another private server"));
    EXPECT_EQ(Cell(server, "SELECT 1"), "1") << "the first one goes on";
    server.Stop();
    EXPECT_EQ(ErrorOfStarting(folder / "data"), "(it started)");
}

TEST(PrivateServer, ServerThatSomebodyElseRunsInTheFolderIsNamed) {
    const TemporaryFolder folder;
    const PrivateServer server(folder / "data", kFast);
    fs::remove(folder / "data/twupdate.lock");  // as if it were none of ours
    EXPECT_THAT(ErrorOfStarting(folder / "data"),
                AllOf(HasSubstr("already uses the data"),
                      HasSubstr("process " + std::to_string(server.Pid()))));
    EXPECT_FALSE(fs::exists(folder / "data/twupdate.lock")) << "no lock is left in its folder";
    EXPECT_EQ(Cell(server, "SELECT 1"), "1");
}

TEST(PrivateServer, FolderIsFreeAgainAfterItsProcessWasKilled) {
    const TemporaryFolder folder;
    const int status = InAnotherProcess([&] {
        const PrivateServer server(folder / "data", kFast);
        return raise(SIGKILL);
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    std::string error;
    for (int i = 0; i < 300; ++i) {
        error = ErrorOfStarting(folder / "data");
        if (error.find("another private server") == std::string::npos) {
            break;  // the server that was left alone has ended
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(error, "(it started)");
}

// --- folders that will not do ----------------------------------------------------------------

TEST(PrivateServer, PathTooLongForASocketIsRefusedBeforeAnythingIsMade) {
    const TemporaryFolder folder;
    const std::string name(100, 'n');
    EXPECT_THAT(ErrorOfStarting(folder / name),
                AllOf(HasSubstr("too long for a Unix socket"), HasSubstr("at most 107")));
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(PrivateServer, LongestPathThatASocketMayHaveWorks) {
    const TemporaryFolder folder;
    const std::size_t used = folder.Path().native().size() + std::string("//twupdate.sock").size();
    ASSERT_LT(used, 107u);
    const fs::path data = folder / std::string(107 - used, 'n');
    const PrivateServer server(data, kFast);
    EXPECT_EQ(server.Socket().native().size(), 107u);
    EXPECT_EQ(Cell(server, "SELECT 1"), "1");
}

TEST(PrivateServer, FolderThatCannotBeMadeOrWrittenIsNamed) {
    EXPECT_THAT(ErrorOfStarting("/proc/twupdate"),
                AllOf(HasSubstr("/proc/twupdate"), HasSubstr("cannot create the folder")));
    EXPECT_THAT(ErrorOfStarting("/proc"), HasSubstr("cannot write to the folder /proc: "));
    const TemporaryFolder folder;
    const auto file = folder.Write("file", "");
    EXPECT_THAT(ErrorOfStarting(file), HasSubstr("cannot create the folder"));
}

TEST(PrivateServer, FolderWithOtherFilesIsRefusedAndLeftAlone) {
    const TemporaryFolder folder;
    folder.Write("letter.txt", "Dear reader");
    EXPECT_THAT(ErrorOfStarting(folder.Path()), HasSubstr("holds no server data"));
    EXPECT_EQ(folder.Read("letter.txt"), "Dear reader");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), {}), 1) << "no lock is left";
}

TEST(PrivateServer, FolderWithoutDataIsLeftAsItIsWhenNoneIsToBeMade) {
    const PrivateServerOptions old{.fast = true, .initialise = false};
    const TemporaryFolder folder;
    const fs::path missing = folder / "missing";
    const fs::path empty = folder / "empty";
    const fs::path interrupted = folder / "interrupted";
    fs::create_directory(empty);
    folder.Write("file", "");
    folder.Write("others/letter.txt", "Dear reader");
    folder.Write("interrupted/twupdate.initialising", "");
    folder.Write("interrupted/ibdata1", "half");
    fs::create_directory(interrupted / "mysql");
    for (const fs::path& data : {missing, empty, folder / "file", folder / "others", interrupted}) {
        EXPECT_THROW(PrivateServer(data, old), host::NoServerDataError) << data;
        EXPECT_EQ(ErrorOfStarting(data, old),
                  "there is no server data in the folder " + data.string());
    }
    EXPECT_FALSE(fs::exists(missing));
    EXPECT_TRUE(fs::is_empty(empty));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "others"), {}), 1);
    EXPECT_EQ(folder.Read("interrupted/ibdata1"), "half");
    EXPECT_EQ(ErrorOfStarting(empty), "(it started)");
    EXPECT_EQ(ErrorOfStarting(empty, old), "(it started)");
}

TEST(PrivateServer, InterruptedInitialisationIsBegunAgain) {
    const TemporaryFolder folder;
    folder.Write("twupdate.initialising", "");
    folder.Write("ibdata1", "half");
    fs::create_directory(folder / "mysql");
    const PrivateServer server(folder.Path(), kFast);
    EXPECT_EQ(Cell(server, "SELECT COUNT(*) > 0 FROM mysql.global_priv"), "1");
    EXPECT_FALSE(fs::exists(folder / "twupdate.initialising"));
}

TEST(PrivateServer, OthersFilesSurviveTheRepeatedInitialisation) {
    const TemporaryFolder folder;
    folder.Write("twupdate.initialising", "");
    folder.Write("ibdata1", "half");
    folder.Write("letter.txt", "Dear reader");
    EXPECT_THAT(ErrorOfStarting(folder.Path()), HasSubstr("holds no server data"));
    EXPECT_EQ(folder.Read("letter.txt"), "Dear reader");
}

TEST(PrivateServer, StartThatFailsShowsTheServersOwnWords) {
    const TemporaryFolder folder;
    EXPECT_THAT(
        ErrorOfStarting(folder / "data",
                        PrivateServerOptions{.fast = true, .serverOptions = {"--no-such-option"}}),
        testing::MatchesRegex("the server in .*/data does not start: it ended with status [0-9]+: "
                              ".*unknown option '--no-such-option'; its log is .*/data/[a-z.]+"));
    EXPECT_EQ(ErrorOfStarting(folder / "data"), "(it started)") << "the folder is free again";
    EXPECT_THAT(
        ErrorOfStarting(folder / "data",
                        PrivateServerOptions{.fast = true, .serverOptions = {"--no-such-thing"}}),
        AllOf(HasSubstr("no-such-thing"), testing::Not(HasSubstr("no-such-option"))))
        << "what was wrong earlier is of no interest";
}

TEST(PrivateServer, NeedsNoHostNames) {
    const TemporaryFolder folder;
    const int status = InAnotherProcess([&] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("/dev/null", "/etc/hosts", nullptr, MS_BIND, nullptr) != 0) {
            return 2;  // an ordinary user may not
        }
        return ErrorOfStarting(folder / "data") == "(it started)" ? 0 : 1;
    });
    if (WEXITSTATUS(status) == 2) {
        GTEST_SKIP() << "the test may not hide /etc/hosts";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(PrivateServer, RunsForAnOrdinaryUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "every other test already runs as an ordinary user.";
    }
    constexpr uid_t kNobody = 65534;
    const TemporaryFolder folder;
    ASSERT_EQ(chown(folder.Path().c_str(), kNobody, kNobody), 0);
    const int status = InAnotherProcess([&] {
        if (setgid(kNobody) != 0 || setuid(kNobody) != 0) {
            return 98;
        }
        setenv("TMPDIR", folder.Path().c_str(), 1);  // root's may be closed to others
        const PrivateServer server(folder / "data", kFast);
        return Cell(server, "SELECT 1") == "1" ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace twupdate::test
