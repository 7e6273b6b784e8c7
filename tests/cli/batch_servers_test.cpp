// upgrade --batch ends as without it: from every version, with one job and with four, and on other
// servers.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <optional>
#include <utility>

#include "cli/cluster.h"
#include "cli/old_server.h"
#include "cli/sample_fixture.h"
#include "sample/older_host.h"
#include "support/trials.h"

namespace twupdate::test {
namespace {

using testing::HasSubstr;

class BatchOnServer : public SampleTest {
  protected:
    void SetUp() override {
        SampleTest::SetUp();
        options_.rows = 20;
    }

    /// The sites with these plans, all of an installation at 1.0000.
    void Make(const std::vector<sample::SitePlan>& plans) {
        const std::string any =
            "SELECT schema_name FROM information_schema.schemata WHERE schema_name LIKE 'tw\\_%';";
        for (auto name = Cell(any); name != "(no row)"; name = Cell(any)) {
            Execute("DROP DATABASE " + name + ";");
        }
        MakeCentralWith(plans);
    }
    static std::map<std::string, std::string> States(const std::vector<sample::SitePlan>& plans) {
        std::map<std::string, std::string> states{{"tw_tarnwick", StateOf("tw_tarnwick")}};
        for (const sample::SitePlan& plan : plans) {
            const std::string database = fmt::format("tw_{}", plan.siteId);
            states[database] = StateOf(database);
        }
        return states;
    }

    /// The whole upgrade, plain and batched with these numbers of jobs.
    /// @param global  options before the command
    void ExpectTheSameEnd(const std::vector<sample::SitePlan>& plans,
                          const std::vector<std::string>& jobs = {"1"},
                          std::vector<std::string> global = {}) {
        global.insert(global.end(), {"upgrade", "--jobs"});
        const auto upgrade = [&](std::vector<std::string> options) {
            Make(plans);
            options.insert(options.begin(), global.begin(), global.end());
            const Outcome outcome = Run(WithFolder(options));
            EXPECT_EQ(outcome.status, 0) << outcome.err;
            return States(plans);
        };
        const auto states = upgrade({"1"});
        for (const std::string& number : jobs) {
            SCOPED_TRACE("jobs: " + number);
            EXPECT_EQ(upgrade({number, "--batch"}), states);
        }
    }
};

// Each start twice: with every feature, and with none.
TEST_F(BatchOnServer, SitesFromEveryVersionEndAlikeWithOneJobAndWithFour) {
    constexpr std::size_t kAtOnce = 4;
    const auto versions = Versions(Ladder::kSiteSchema, Ladder::kSiteContent, IsSoak() ? 1 : 100);
    Trials trials("--batch with 1 and 4 jobs against the usual run: 8 sites of four starts");
    for (std::size_t begin = 0; begin < versions.size(); begin += kAtOnce) {
        std::vector<sample::SitePlan> plans;
        for (std::size_t i = begin; i < std::min(begin + kAtOnce, versions.size()); ++i) {
            for (const bool isBare : {false, true}) {
                plans.push_back(Plan(static_cast<std::int32_t>(plans.size()) + 1, versions[i]));
                if (isBare) {
                    plans.back().groups = {};
                }
            }
        }
        trials.Next();
        SCOPED_TRACE(fmt::format("from {}", versions[begin]));
        ExpectTheSameEnd(plans, {"1", "4"});
    }
}

TEST_F(BatchOnServer, WithTheBinaryLogOnInEachFormat) {
    for (const char* format : {"ROW", "STATEMENT"}) {
        SCOPED_TRACE(format);
        const ServerOptions options(
            {"--log-bin=binary", "--server-id=1", fmt::format("--binlog-format={}", format)});
        ConnectSample();
        ASSERT_EQ(Cell("SELECT CONCAT(@@log_bin, ' ', @@binlog_format);"),
                  fmt::format("ON {}", format));
        ExpectTheSameEnd({Plan(1)});
    }
    ConnectSample();
}

class BatchOnOldServer : public BatchOnServer {
  protected:
    void SetUp() override {
        if (!OldServer::IsThere()) {
            GTEST_SKIP() << "there is no old server; ./dev test fetches it where npm can";
        }
        server_.emplace();
        BatchOnServer::SetUp();
    }
    void TearDown() override {
        host_.reset();
        server_.reset();
    }
    std::optional<OldServer> server_;
};

TEST_F(BatchOnOldServer, EndsAlike) {
    ExpectTheSameEnd({Plan(1)}, {"1"}, {"--sql-mode", ""});
}

// In a strict sql_mode it refuses the default of a LONGTEXT column.
TEST_F(BatchOnOldServer, FailsAlike) {
    for (const auto& [version, step] : {std::pair(1.0084, "SiteSchemaStep_1_0233"),
                                        std::pair(1.0248, "SiteContentStep_1_0255")}) {
        SCOPED_TRACE(step);
        const auto fail = [&, from = version](const std::vector<std::string>& options) {
            Make({Plan(1, from)});
            sample::BringCentralTo(host_, {kCurrentVersion, kCurrentVersion});
            auto words = WithFolder({"--sql-mode", "STRICT_TRANS_TABLES", "upgrade-site", "1"});
            words.insert(words.end(), options.begin(), options.end());
            const Outcome outcome = Run(words);
            EXPECT_EQ(outcome.status, 1);
            Execute("DROP TABLE IF EXISTS tw_1.twupdate_progress;");  // it has times
            return outcome.err + StateOf("tw_1");
        };
        const std::string plain = fail({});
        EXPECT_THAT(plain, HasSubstr(fmt::format("step {}: ", step)));
        EXPECT_EQ(fail({"--batch"}), plain);
    }
}

class BatchOnCluster : public BatchOnServer {
  protected:
    void SetUp() override {
        if (!IsSoak()) {
            GTEST_SKIP() << "for the soak";
        }
        if (!Cluster::IsThere()) {
            GTEST_SKIP() << "the package galera-4 is not there; ./dev test unpacks it";
        }
        cluster_.emplace();
        cluster_->Begin();
        BatchOnServer::SetUp();
    }
    void TearDown() override {
        host_.reset();
        cluster_.reset();
    }
    std::optional<Cluster> cluster_;
};

TEST_F(BatchOnCluster, EndsAlikeAtEveryNode) {
    ExpectTheSameEnd({Plan(1), Plan(2, 1.0210)}, {"1", "2"});
    const std::string state = StateOf("tw_1") + StateOf("tw_2") + StateOf("tw_tarnwick");
    for (const unsigned node : {1U, 2U}) {
        CliServer::Get().UseInstead(cluster_->Node(node).ConnectOptions());
        EXPECT_TRUE(WaitUntil(
            [&] { return StateOf("tw_1") + StateOf("tw_2") + StateOf("tw_tarnwick") == state; }));
    }
}

}  // namespace
}  // namespace twupdate::test
