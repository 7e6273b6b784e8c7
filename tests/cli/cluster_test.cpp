// Runs on a Galera cluster of three nodes.
#include "cli/cluster.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <set>
#include <thread>
#include <vector>

#include "cli/installation_fixture.h"
#include "cli/run/lease_row.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using namespace std::chrono_literals;

class ClusterRun : public InstallationTest {
  protected:
    void SetUp() override {
        if (!Cluster::IsThere()) {
            GTEST_SKIP() << "the package galera-4 is not there; ./dev test unpacks it";
        }
    }

    void BeginWithSites(std::int32_t number) {
        cluster_.emplace();
        MakeNearlyCurrentInstallation();
        for (std::int32_t site = 1; site <= number; ++site) {
            MakeSmallSite(site);
        }
        cluster_->Begin();
    }

    /// The arguments of an upgrade that talks to the first of these nodes that answers.
    std::vector<std::string> Upgrade(const std::vector<unsigned>& nodes,
                                     const std::vector<std::string>& global = {},
                                     const std::vector<std::string>& more = {}) const {
        auto words = cluster_->Hosts(nodes);
        words.insert(words.end(), {"--user", "upgrade", "--no-site-files", "--no-services",
                                   "--events", events_});
        words.insert(words.end(), global.begin(), global.end());
        words.emplace_back("upgrade");
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    std::vector<nlohmann::json> Events(const std::string& name) const {
        if (!std::filesystem::exists(events_)) {
            return {};
        }
        // The last line may still be written.
        std::vector<nlohmann::json> events;
        std::istringstream lines(ContentOf(events_));
        for (std::string line; std::getline(lines, line);) {
            auto event = nlohmann::json::parse(line, nullptr, false);
            if (event.is_object() && event["event"] == name) {
                events.push_back(std::move(event));
            }
        }
        return events;
    }
    bool WaitForSites(std::size_t number) const {
        return WaitUntil([&] { return Events("site-finished").size() >= number; });
    }

    /// The definition and the checksum of every table of the installation, as a node has them.
    std::string StateOf(unsigned node) const {
        const auto connection = cluster_->Connect(node);
        const auto tables = connection->Query(
            "SELECT CONCAT(table_schema, '.', table_name) FROM information_schema.tables WHERE "
            "table_schema LIKE 'tw\\_%' ORDER BY 1;");
        std::string state;
        while (tables->Next()) {
            const std::string table = tables->Get(0).ToText();
            const auto definition = connection->Query("SHOW CREATE TABLE " + table + ";");
            const auto checksum = connection->Query("CHECKSUM TABLE " + table + ";");
            definition->Next();
            checksum->Next();
            state += fmt::format("{} {} {}\n", table, definition->Get(1).ToText(),
                                 checksum->Get(1).ToText());
        }
        return state;
    }
    std::string CellOf(unsigned node, const std::string& sql) const {
        const auto rows = cluster_->Connect(node)->Query(sql);
        return rows->Next() ? rows->Get(0).ToText() : "(no row)";
    }
    std::string OldSites(unsigned node) const {
        return CellOf(node,
                      fmt::format("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version <> {};",
                                  kCurrentStored));
    }
    std::string Holder(unsigned node) const {
        return CellOf(node, "SELECT holder FROM twupdate.lease WHERE id = 1;");
    }
    /// How often those who wait have looked.
    int Looks() const {
        return std::stoi(CellOf(2, "SELECT counter FROM twupdate.lease WHERE id = 2;"));
    }
    bool IsHeldBy(unsigned node, const Program& program) const {
        try {
            return CellOf(node, "SELECT note FROM twupdate.lease WHERE id = 1;")
                       .find(fmt::format("process {} on ", program.Pid())) != std::string::npos;
        } catch (const HostError&) {
            return false;  // the table is not there yet
        }
    }

    std::optional<Cluster> cluster_;
    const std::string events_ = (folder_ / "events").string();
};

TEST_F(ClusterRun, EndsAtAnotherNodeWhenItsOwnIsKilled) {
    BeginWithSites(40);
    Program run(Upgrade({0, 1, 2}, {}, {"--jobs", "2"}));
    ASSERT_TRUE(WaitForSites(3));
    cluster_->Node(0).Kill();
    ASSERT_TRUE(run.Running());
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("attempt 1 of 3 follows in 1 s"));
    // The other nodes may be a moment behind.
    EXPECT_TRUE(WaitUntil([&] { return Holder(1).empty() && Holder(2).empty(); }));
    EXPECT_EQ(OldSites(1), "0");
    EXPECT_EQ(CellOf(1, "SELECT version FROM tw_tarnwick.installation;"), kCurrentStored);
    EXPECT_EQ(StateOf(1), StateOf(2));
}

TEST_F(ClusterRun, KeepsOutASecondRunAtAnotherNode) {
    BeginWithSites(20);
    Program first(Upgrade({0}));
    ASSERT_TRUE(WaitForSites(1));
    first.Signal(SIGSTOP);
    const Outcome second = RunProgram(Upgrade({1}));
    EXPECT_EQ(second.status, 4) << second.err;
    EXPECT_THAT(
        second.err,
        HasSubstr(fmt::format("another run is in progress: upgrade, process {} on ", first.Pid())));
    first.Signal(SIGCONT);
    EXPECT_EQ(first.Wait().status, 0);
    EXPECT_TRUE(WaitUntil([&] { return OldSites(1) == "0"; }));
}

TEST_F(ClusterRun, StandsByAtAnotherNode) {
    BeginWithSites(100);
    Program first(Upgrade({0}, {"--lease", "6"}));
    ASSERT_TRUE(WaitForSites(1));
    first.Signal(SIGSTOP);
    // It ends the connections of the first one at their node.
    Program second(Upgrade({1}, {"--lease", "6", "--lock-wait", "100"}));
    ASSERT_TRUE(WaitUntil([&] { return IsHeldBy(1, second); }));
    second.Signal(SIGSTOP);  // before it has done all sites
    EXPECT_EQ(
        CellOf(0, "SELECT COUNT(*) FROM information_schema.processlist WHERE user = 'upgrade';"),
        "0");
    first.Signal(SIGCONT);
    const Outcome stopped = first.Wait();
    EXPECT_EQ(stopped.status, 1);
    EXPECT_THAT(stopped.err, HasSubstr("the run has lost its lock: it could not be renewed for "));
    // The whole machine of the second one dies, and a node with it, to which the third one talks.
    const int looks = Looks();
    Program standby(Upgrade({1, 2}, {"--lease", "6", "--lock-wait", "100"}));
    ASSERT_TRUE(WaitUntil([&] { return Looks() > looks; }));
    second.Signal(SIGKILL);
    second.Wait();
    EXPECT_NE(OldSites(2), "0");
    cluster_->Node(1).Kill();
    const Outcome third = standby.Wait();
    EXPECT_EQ(third.status, 0) << third.err;
    EXPECT_THAT(third.err, HasSubstr("the other run has shown no sign for 6"));
    EXPECT_TRUE(WaitUntil([&] { return Holder(0).empty(); }));
    EXPECT_EQ(OldSites(0), "0");
    EXPECT_EQ(StateOf(0), StateOf(2));
}

TEST_F(ClusterRun, WaitsWhileANodeCannotKeepUpAndHasTwoJobsAtMost) {
    BeginWithSites(150);
    // A node waits for this lock before it goes on with the statements of the others.
    const auto slow = cluster_->Connect(2);
    slow->Execute("LOCK TABLES tw_100.formtemplateinstance READ;");
    Program run(Upgrade({0}, {"--lease", "6"}, {"--jobs", "auto"}));
    ASSERT_TRUE(WaitUntil([&] {
        return CellOf(0,
                      "SELECT variable_value FROM information_schema.global_status WHERE "
                      "variable_name = 'wsrep_flow_control_active';") == "true";
    }));
    // Longer than a lease, which nobody can renew meanwhile.
    Program standby(Upgrade({1}, {"--lease", "6", "--lock-wait", "100"}));
    std::this_thread::sleep_for(9s);
    EXPECT_TRUE(run.Running());
    slow->Execute("UNLOCK TABLES;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Outcome second = standby.Wait();
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_THAT(second.out, HasSubstr("already; nothing was done."));
    EXPECT_EQ(second.err, "");
    const auto waits = Events("waiting");
    ASSERT_FALSE(waits.empty());
    EXPECT_THAT(waits.front()["reason"].get<std::string>(),
                AllOf(HasSubstr("flow control pauses the cluster for "),
                      HasSubstr(" % of the time, because a node cannot keep up")));
    EXPECT_EQ(Events("waited").size(), waits.size());
    std::set<int> jobs;
    for (const auto& event : Events("site-finished")) {
        jobs.insert(event["job"].get<int>());
    }
    EXPECT_EQ(jobs, (std::set<int>{1, 2}));
    EXPECT_TRUE(WaitUntil([&] { return OldSites(2) == "0"; }));
    EXPECT_EQ(StateOf(0), StateOf(2));
}

TEST_F(ClusterRun, OfTwoNodesThatTakeTheLeaseAtTheSameTimeOneGetsIt) {
    BeginWithSites(0);
    const std::vector<std::shared_ptr<host::Connection>> connections{cluster_->Connect(0),
                                                                     cluster_->Connect(1)};
    cli::RequireLeaseTable(*connections[0]);
    for (int round = 0; round < 30; ++round) {
        ASSERT_TRUE(WaitUntil([&] {
            return cli::FindLease(*connections[1]) && cli::ReadLease(*connections[1]).counter ==
                                                          cli::ReadLease(*connections[0]).counter;
        }));
        const cli::LeaseRow free = cli::ReadLease(*connections[0]);
        std::atomic<int> taken = 0;
        const auto take = [&](std::size_t node) {
            cli::LeaseRow wanted;
            wanted.holder = fmt::format("node {}", node);
            try {
                taken += cli::TakeLease(*connections[node], free, wanted) ? 1 : 0;
            } catch (const HostError& error) {
                EXPECT_EQ(error.Code(), 1213U) << error.what();
            }
        };
        std::thread other(take, 1);
        take(0);
        other.join();
        EXPECT_EQ(taken, 1) << round;
    }
}

}  // namespace
}  // namespace twupdate::test
