// A run that waits while its server, or one that replicates it, has too much to do.
#include "cli/run/server_care.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <thread>
#include <vector>

#include "cli/installation_fixture.h"
#include "support/free_port.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using namespace std::chrono_literals;

TEST(FlowControl, IsTheShareOfTheTimeBetweenTwoQuestions) {
    cli::FlowControl flow;
    const cli::FlowControl::Time start{100s};
    EXPECT_EQ(flow.Next(5'000'000'000, start), std::nullopt);
    EXPECT_DOUBLE_EQ(flow.Next(5'500'000'000, start + 2s).value(), 0.25);
    EXPECT_DOUBLE_EQ(flow.Next(5'500'000'000, start + 3s).value(), 0);
    EXPECT_EQ(flow.Next(1'000'000, start + 4s), std::nullopt);  // the node was restarted
    EXPECT_DOUBLE_EQ(flow.Next(501'000'000, start + 5s).value(), 0.5);
}

TEST(Replica, HasAHostAndPerhapsAPort) {
    for (const char* good : {"db2", "db2:3307", "10.0.0.1:3306", "::1", "[::1]", "[::1]:3306"}) {
        EXPECT_EQ(cli::FaultOfReplica(good), "") << good;
    }
    for (const char* bad : {"", ":3306", "db2:", "db2:0", "db2:65536", "db2:x", "a b", "a,b"}) {
        EXPECT_NE(cli::FaultOfReplica(bad), "") << bad;
    }
}

/// An application's connection that runs a statement for as long as this lives.
class Load {
  public:
    explicit Load(std::shared_ptr<host::Connection> connection)
        : id_(connection->ThreadId()), thread_([connection = std::move(connection)] {
              try {
                  connection->Query("SELECT SLEEP(600);");
              } catch (const HostError&) {  // it was ended
              }
          }) {}
    ~Load() {
        CliServer::Get().Root().Execute(fmt::format("KILL {};", id_));
        thread_.join();
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

  private:
    std::uint64_t id_;
    std::thread thread_;
};

class ServerCare : public InstallationTest {
  protected:
    bool WaitForText(const std::string& text) const {
        return WaitUntil([&] {
            return std::filesystem::exists(log_) && ContentOf(log_).find(text) != std::string::npos;
        });
    }
    std::vector<std::string> Upgrade(const std::vector<std::string>& more) const {
        std::vector<std::string> words{"--events", events_, "--log", log_, "upgrade"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    std::vector<nlohmann::json> Events(const std::string& name) const {
        auto lines = JsonLinesOf(events_);
        std::erase_if(lines, [&](const auto& line) { return line["event"] != name; });
        return lines;
    }

    const std::string events_ = (folder_ / "events").string();
    const std::string log_ = (folder_ / "log").string();
};

TEST_F(ServerCare, ARunWaitsForTheThreadsOfOthers) {
    MakeSmallSites({7, 8});
    for (const char* jobs : {"1", "2"}) {
        std::filesystem::remove(log_);
        std::filesystem::remove(events_);
        std::vector<std::unique_ptr<Load>> loads;
        for (int i = 0; i < 4; ++i) {
            loads.push_back(std::make_unique<Load>(Application()));
        }
        Program run(With(Upgrade({"--jobs", jobs, "--max-load", "Threads_running=2"})));
        ASSERT_TRUE(WaitForText("waits: "));
        usleep(1500000);
        EXPECT_TRUE(run.Running());
        EXPECT_EQ(SiteVersion(7), "1.0262");
        EXPECT_EQ(Events("step-started").size(), 0U);
        loads.clear();
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("warning: waits: "));
        EXPECT_THAT(outcome.err, HasSubstr("more than --max-load allows (2)\n"));
        EXPECT_EQ(SiteVersion(7) + SiteVersion(8), std::string(kCurrentStored) + kCurrentStored);
        ASSERT_GE(Events("waiting").size(), 1U);
        EXPECT_THAT(Events("waiting")[0]["reason"].get<std::string>(), HasSubstr("--max-load"));
        EXPECT_EQ(Events("waiting")[0]["since"].get<std::string>().size(), 24U);
        EXPECT_GE(Events("waited").at(0)["ms"].get<double>(), 1000);
        EXPECT_EQ(Run({"report", "--events", events_, (folder_ / "page").string()}).status, 0);
        Execute("UPDATE tw_tarnwick.site SET version = 1.0262;");
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
        for (const char* site : {"tw_7", "tw_8"}) {
            Execute(fmt::format("ALTER TABLE {}.formtemplateinstance DROP COLUMN cachettl;", site));
        }
    }
}

TEST_F(ServerCare, TheRunsOwnThreadsDoNotCount) {
    MakeSmallSites({7, 8, 9, 10, 11, 12});
    const auto reader = ReaderOfSmallSites({7, 8, 9, 10});
    const auto other = ReaderOfSmallSites({11});
    Program run(With(Upgrade({"--jobs", "5", "--max-load", "Threads_running=2"})));
    ASSERT_TRUE(WaitUntil([] {
        return Cell(
                   "SELECT COUNT(*) FROM information_schema.processlist WHERE state LIKE '%table "
                   "metadata lock%';") == "5";
    }));
    usleep(1500000);  // it looks again
    other->Execute("COMMIT;");
    EXPECT_TRUE(WaitUntil([] { return SiteVersion(12) == kCurrentStored; }));
    reader->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, Not(HasSubstr("waits: ")));
}

TEST_F(ServerCare, ARunThatHasLostItsLockInTheWaitGoesNoFurther) {
    MakeSmallSites({7});
    auto load = std::make_unique<Load>(Application());
    Program run(With(Upgrade({"--jobs", "2", "--max-load", "Threads_running=0"})));
    ASSERT_TRUE(WaitForText("waits: "));
    Execute("KILL " + Cell("SELECT IS_USED_LOCK('twupdate.run');") + ";");
    load.reset();
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("the run has lost its lock"));
    EXPECT_EQ(Events("step-started").size(), 0U);
}

TEST_F(ServerCare, AStopEndsTheWait) {
    MakeCentralDatabase();
    MakeSite(7);
    const Load first(Application());
    const Load second(Application());
    for (const char* jobs : {"1", "2"}) {
        std::filesystem::remove(log_);
        Program run(With(Upgrade({"--jobs", jobs, "--max-load", "Threads_running=0"})));
        ASSERT_TRUE(WaitForText("waits: "));
        run.Signal(SIGTERM);
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 5) << outcome.err;
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("stopped as requested"),
                                       Not(HasSubstr("cannot simply be repeated"))));
        EXPECT_EQ(InstallationVersion() + SiteVersion(7), "11");
    }
}

TEST_F(ServerCare, ALimitIsALoadOrALagOfNamedReplicas) {
    MakeNearlyCurrentInstallation();
    for (const char* load : {"25", "Threads_running=", "Threads_running=x", "Threads_running=-1",
                             "Threads_connected=5", ""}) {
        EXPECT_EQ(Run({"upgrade", "--max-load", load}).status, 2) << load;
    }
    const Outcome none = Run({"upgrade", "--max-replica-lag", "5"});
    EXPECT_EQ(none.status, 2);
    EXPECT_EQ(none.err,
              "twupdate: no replica is named, so no lag can be seen; nothing was done\n"
              "twupdate: hint: name each with --replica HOST[:PORT]\n");
    EXPECT_EQ(Run({"upgrade", "--replica", "db2"}).status, 2);
    EXPECT_EQ(InstallationVersion(), "1.0262");
}

/// A second server that replicates the first.
class ReplicaCare : public ServerCare {
  protected:
    ReplicaCare() {
        CliServer::Get().RestartWith(NetworkOptions(1, port_));
        host::PrivateServerOptions options;
        options.fast = true;
        options.serverOptions = redoLog_.ServerOptions();
        const auto network = NetworkOptions(2, replicaPort_);
        options.serverOptions.insert(options.serverOptions.end(), network.begin(), network.end());
        server_ = std::make_unique<host::PrivateServer>(folder_ / "replica", options);
        replica_ = host::Connection::Open(server_->ConnectOptions());
        for (host::Connection* connection : {&CliServer::Get().Root(), replica_.get()}) {
            connection->Execute("SET SESSION sql_log_bin = 0;");
            for (const char* user : {"remote", "blind"}) {
                connection->Execute(fmt::format("CREATE OR REPLACE USER '{}'@'127.0.0.1';", user));
            }
            connection->Execute("GRANT ALL ON *.* TO 'remote'@'127.0.0.1';");
            connection->Execute("SET SESSION sql_log_bin = 1;");
        }
        Execute("GRANT ALL ON *.* TO 'blind'@'127.0.0.1';");
        replica_->Execute(
            fmt::format("CHANGE MASTER TO master_host = '127.0.0.1', master_port = {}, master_user "
                        "= 'remote', master_use_gtid = no, master_connect_retry = 1;",
                        port_));
        // What the first server did before is not for the second.
        const auto rows = CliServer::Get().Root().Query("SHOW MASTER STATUS;");
        rows->Next();
        replica_->Execute(
            fmt::format("CHANGE MASTER TO master_log_file = '{}', master_log_pos = "
                        "{};",
                        rows->Get(0).ToText(), rows->Get(1).ToText()));
        replica_->Execute("START SLAVE;");
    }
    ~ReplicaCare() override {
        replica_.reset();
        server_.reset();
        CliServer::Get().RestartWith({});
    }

    static std::vector<std::string> NetworkOptions(int id, int port) {
        return {"--skip-networking=0", "--bind-address=127.0.0.1", fmt::format("--port={}", port),
                fmt::format("--server-id={}", id), "--log-bin=binlog"};
    }

    /// An upgrade that signs in over the network, there and on the replica.
    std::vector<std::string> Remote(const std::string& user,
                                    const std::vector<std::string>& more) const {
        std::vector<std::string> words{
            "--host", "127.0.0.1", "--port",          std::to_string(port_),
            "--user", user,        "--no-site-files", "--no-services"};
        const auto command = Upgrade(more);
        words.insert(words.end(), command.begin(), command.end());
        return words;
    }
    std::vector<std::string> Limited(const std::string& seconds, const std::string& jobs) const {
        return Remote("remote", {"--jobs", jobs, "--max-replica-lag", seconds, "--replica",
                                 fmt::format("127.0.0.1:{}", replicaPort_)});
    }
    std::string LagOfReplica() const {
        const auto rows = replica_->Query("SHOW SLAVE STATUS;");
        rows->Next();
        const Value lag = rows->Get(*rows->Find("Seconds_Behind_Master"));
        return lag.IsNull() ? "NULL" : lag.ToText();
    }

    const int port_ = FreePort();
    const int replicaPort_ = FreePort();
    const RedoLogFolder redoLog_;
    std::unique_ptr<host::PrivateServer> server_;
    std::shared_ptr<host::Connection> replica_;
};

TEST_F(ReplicaCare, ARunWaitsForAReplicaThatDoesNotReplicate) {
    MakeSmallSites({7});
    for (const char* thread : {"SQL_THREAD", "IO_THREAD"}) {
        std::filesystem::remove(log_);
        ASSERT_TRUE(WaitUntil([&] { return LagOfReplica() == "0"; }));
        replica_->Execute(fmt::format("STOP SLAVE {};", thread));
        Program run(Limited("60", "2"));
        ASSERT_TRUE(
            WaitForText(fmt::format("waits: replica 127.0.0.1:{} does not replicate, so "
                                    "its lag is not known",
                                    replicaPort_)))
            << thread;
        EXPECT_EQ(SiteVersion(7), "1.0262");
        replica_->Execute("START SLAVE;");
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(SiteVersion(7), kCurrentStored);
        Execute("UPDATE tw_tarnwick.site SET version = 1.0262;");
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
        Execute("ALTER TABLE tw_7.formtemplateinstance DROP COLUMN cachettl;");
    }
    // And for one that has gone away while the run is at work.
    std::filesystem::remove(log_);
    ASSERT_TRUE(WaitUntil([&] { return LagOfReplica() == "0"; }));
    replica_->Execute("STOP SLAVE;");
    Program run(Limited("60", "1"));
    ASSERT_TRUE(WaitForText("waits: replica"));
    replica_.reset();
    server_->Kill();
    usleep(1500000);
    EXPECT_TRUE(run.Running());
    server_->Start();
    replica_ = host::Connection::Open(server_->ConnectOptions());
    replica_->Execute("START SLAVE;");
    EXPECT_EQ(run.Wait().status, 0);
}

TEST_F(ReplicaCare, AReplicaThatHangsIsOneOfWhichNothingIsKnown) {
    MakeSmallSites({7});
    ASSERT_TRUE(WaitUntil([&] { return LagOfReplica() == "0"; }));
    kill(server_->Pid(), SIGSTOP);
    Program begins(Limited("60", "2"));
    EXPECT_TRUE(WaitUntil([&] { return !begins.Running(); }));
    const Outcome refused = begins.Wait();
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr(fmt::format("cannot see the lag of replica 127.0.0.1:{}: ",
                                                   replicaPort_)));
    kill(server_->Pid(), SIGCONT);
    // And one that hangs while the run is at work.
    replica_->Execute("STOP SLAVE;");
    std::filesystem::remove(log_);
    Program run(Limited("60", "2"));
    ASSERT_TRUE(WaitForText("waits: replica"));
    kill(server_->Pid(), SIGSTOP);
    usleep(1500000);  // it asks again
    run.Signal(SIGTERM);
    EXPECT_TRUE(WaitUntil([&] { return !run.Running(); }));
    EXPECT_EQ(run.Wait().status, 5);
    kill(server_->Pid(), SIGCONT);
    EXPECT_EQ(SiteVersion(7), "1.0262");
}

TEST_F(ReplicaCare, ARunWaitsForAReplicaThatIsBehind) {
    MakeSmallSites({7});
    ASSERT_TRUE(WaitUntil([&] { return LagOfReplica() == "0"; }));
    replica_->Execute("FLUSH TABLES WITH READ LOCK;");
    Execute("CREATE DATABASE tw_99;");  // which the replica cannot carry out
    ASSERT_TRUE(
        WaitUntil([&] { return LagOfReplica() != "NULL" && std::stoi(LagOfReplica()) > 2; }));
    Program run(Limited("2", "1"));
    ASSERT_TRUE(WaitForText("more than --max-replica-lag allows (2)"));
    usleep(1500000);
    EXPECT_EQ(SiteVersion(7), "1.0262");
    replica_->Execute("UNLOCK TABLES;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

TEST_F(ReplicaCare, ARunThatCannotSeeTheLagDoesNotBegin) {
    MakeSmallSites({7});
    const auto refusal = [&](const std::string& user, int port) {
        const Outcome outcome = RunProgram(Remote(
            user, {"--max-replica-lag", "5", "--replica", fmt::format("127.0.0.1:{}", port)}));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, AllOf(HasSubstr(fmt::format("cannot see the lag of replica "
                                                             "127.0.0.1:{}: ",
                                                             port)),
                                       HasSubstr("; nothing was done\n")));
        EXPECT_EQ(InstallationVersion() + SiteVersion(7), "1.02621.0262");
        return outcome.err;
    };
    EXPECT_THAT(refusal("remote", FreePort()), HasSubstr("(2002)"));
    EXPECT_THAT(refusal("remote", port_), HasSubstr("is not a replica"));
    ASSERT_TRUE(WaitUntil([&] { return LagOfReplica() == "0"; }));
    EXPECT_THAT(refusal("blind", replicaPort_),
                HasSubstr("hint: grant the account REPLICA MONITOR"));
}

}  // namespace
}  // namespace twupdate::test
