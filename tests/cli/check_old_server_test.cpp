// What `check` finds on a server that is too old, and what comes of it on a real one, MySQL 5.6.
// Each test sees the finding and the real upgrade fail for that reason, or neither.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <array>
#include <optional>
#include <set>

#include "cli/named_place.h"
#include "cli/old_server.h"
#include "cli/sample_fixture.h"
#include "support/trials.h"
#include "twupdate/ladder.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kStrict = "STRICT_TRANS_TABLES";

class CheckOldServer : public SampleTest {
  protected:
    void SetUp() override {
        if (!OldServer::IsThere()) {
            GTEST_SKIP() << "there is no old server; ./dev test fetches it where npm can";
        }
        StartWith({});
    }
    void TearDown() override {
        host_.reset();
        server_.reset();
    }

    void StartWith(const std::vector<std::string>& options) {
        TearDown();
        server_.emplace(options);
        SampleTest::SetUp();
    }

    /// A site of that version under a central database that is upgraded.
    void MakeSiteAt(double version, const sample::Groups& groups = sample::AllGroups()) {
        for (const char* database : {"tw_tarnwick", "tw_logs", "tw_1"}) {
            Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
        }
        sample::SitePlan plan = Plan(1, version);
        plan.groups = groups;
        MakeCentralWith({plan});
        sample::BringCentralTo(host_, {kCurrentVersion, kCurrentVersion});
    }

    std::vector<std::string> In(const std::string& sqlMode,
                                std::vector<std::string> command) const {
        command.insert(command.begin(), {"--sql-mode", sqlMode});
        return WithFolder(command);
    }

    void Finds(const std::string& sqlMode, const std::vector<std::string>& command,
               const std::string& findings) {
        const Outcome outcome = Run(In(sqlMode, command));
        EXPECT_EQ(outcome.status, 3) << outcome.err;
        EXPECT_EQ(outcome.out, findings);
    }

    void Fails(const std::string& sqlMode, const std::vector<std::string>& command,
               const std::string& reason) {
        const Outcome outcome = Run(In(sqlMode, command));
        EXPECT_EQ(outcome.status, 1) << outcome.out;
        EXPECT_THAT(outcome.err, ContainsRegex(reason));
    }

    void Goes(const std::string& sqlMode, const std::vector<std::vector<std::string>>& commands) {
        for (const auto& command : commands) {
            const Outcome outcome = Run(In(sqlMode, command));
            EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
        }
    }

    std::optional<OldServer> server_;
};

TEST_F(CheckOldServer, FindsThatTheCentralDatabaseGetsNoDefaults) {
    MakeCentralWith({});
    Execute("CREATE DATABASE tw_logs;");
    Finds(kStrict, {"check"},
          "tw_tarnwick.emailerror: the server is MySQL 5.6.24, on which a LONGTEXT column takes no "
          "default in a strict sql_mode, so ServerStep_1_0253 fails; use MariaDB 10.2.1 or later, "
          "or run with --sql-mode ''\n1 finding.\n");
    Fails(kStrict, {"upgrade"}, "step ServerStep_1_0253: CREATE TABLE .*server error 1101 ");
    Goes("", {{"check"}, {"upgrade"}, {"verify"}});
}

// Each is the first one for a site of that version.
TEST_F(CheckOldServer, FindsTheStepOfASiteThatGivesADefault) {
    struct Case {
        double version;
        std::string table;
        std::string step;
    };
    for (const auto& [version, table, step] :
         {Case{1.0, "textcache", "SiteSchemaStep_1_0013"},
          Case{1.0013, "eventwakeup", "SiteSchemaStep_1_0084"},
          Case{1.0084, "formfield", "SiteSchemaStep_1_0233"},
          Case{1.0233, "regularexpression", "SiteSchemaStep_1_0248"},
          Case{1.0248, "form_8", "SiteContentStep_1_0255"}}) {
        SCOPED_TRACE(step);
        MakeSiteAt(version);
        const Outcome outcome = Run(In(kStrict, {"check", "--site", "1"}));
        EXPECT_EQ(outcome.status, 3);
        EXPECT_THAT(
            outcome.out,
            StartsWith("tw_1." + table +
                       ": the server is MySQL 5.6.24, on which a LONGTEXT column takes no "
                       "default in a strict sql_mode, so " +
                       step + " fails; use MariaDB 10.2.1 or later, or run with --sql-mode ''\n"));
        Fails(kStrict, {"upgrade-site", "1"}, "step " + step + ": .*server error 1101 ");
    }
    MakeSiteAt(1.0255);
    Goes(kStrict, {{"check", "--site", "1"}, {"upgrade-site", "1"}, {"verify"}});
}

TEST_F(CheckOldServer, SkipsDefaultsThatASiteHasNoTableFor) {
    MakeSiteAt(1.0228, {});  // no formfield
    Finds(kStrict, {"check", "--site", "1"},
          "tw_1.regularexpression: the server is MySQL 5.6.24, on which a LONGTEXT column takes no "
          "default in a strict sql_mode, so SiteSchemaStep_1_0248 fails; use MariaDB 10.2.1 or "
          "later, or run with --sql-mode ''\n1 finding.\n");
    Fails(kStrict, {"upgrade-site", "1"}, "step SiteSchemaStep_1_0248: .*server error 1101 ");
    MakeSiteAt(1.0248, {});
    Goes(kStrict, {{"check", "--site", "1"}, {"upgrade-site", "1"}, {"verify"}});
}

TEST_F(CheckOldServer, BringsASiteOfTheFirstVersionToTheLast) {
    MakeSiteAt(1.0);
    // Siblings in the order of their numbers, equal numbers in the order of their ids.
    for (
        const char* rows :
        {"INSERT INTO tw_1.navigation(navigationid, parentid, sequence) VALUES(9001, 9000, 7), "
         "(9002, 9000, 7), (9003, 9000, -2), (9004, 9001, 5);",
         "INSERT INTO tw_tarnwick.account(accountid, siteid, userid) VALUES(9001, 1, 9040);",
         "INSERT INTO tw_tarnwick.accountpayment(accountpaymentid, accountid, amount, paymentdate) "
         "VALUES(9001, 9001, 12.50, '2020-03-01'), (9002, 9001, 12.50, '2020-01-01'), "
         "(9003, 9001, 12.50, NULL);",
         "INSERT INTO tw_1.commission(commissionid, orderid, userid, commission, created) "
         "VALUES(9001, 501, 9040, 12.50, '2020-01-05'), (9002, 502, 9040, 12.50, '2020-01-05');"}) {
        Execute(rows);
    }
    Goes("", {{"check", "--site", "1"}, {"upgrade-site", "1"}, {"verify"}});
    EXPECT_EQ(Cell("SELECT GROUP_CONCAT(sequence ORDER BY navigationid) FROM tw_1.navigation WHERE "
                   "navigationid > 9000;"),
              "2,3,1,1");
    EXPECT_EQ(Cell("SELECT GROUP_CONCAT(cartorderid ORDER BY accountpaymentid) FROM "
                   "tw_tarnwick.accountpayment WHERE accountpaymentid > 9000;"),
              "502,501,0");
}

/// What check says, against what the upgrade does.
class CheckOldServerSweep : public CheckOldServer {
  protected:
    /// @param ladders  the two ladders that the upgrade climbs, in turn
    void Compare(const std::string& sqlMode, const std::vector<std::string>& check,
                 const std::vector<std::string>& upgrade, std::array<Ladder, 2> ladders) {
        const Outcome found = Run(In(sqlMode, check));
        const Outcome upgraded = Run(In(sqlMode, upgrade));
        const auto result = found.Json();
        ASSERT_TRUE(result.contains("findings")) << found.out << found.err << upgraded.err;
        std::set<std::string> steps;
        for (const auto& finding : result["findings"]) {
            steps.insert(finding["step"].get<std::string>());
        }
        std::string first;
        for (const Ladder ladder : ladders) {
            for (const LadderStep& step : LadderSteps(ladder)) {
                if (first.empty() && steps.contains(std::string(step.name))) {
                    first = step.name;
                }
            }
        }
        if (upgraded.status == 0) {
            EXPECT_TRUE(result["findings"].empty()) << found.out;
            ExpectClean({"verify"});
        } else {
            EXPECT_THAT(upgraded.err, HasSubstr("step " + first + ": ")) << found.out;
        }
    }
};

TEST_F(CheckOldServerSweep, FindsWhatFailsInSitesOfAnyVersion) {
    Trials trials("MySQL 5.6, strict and not: check and upgrade of a site of each start");
    for (const double version :
         Versions(Ladder::kSiteSchema, Ladder::kSiteContent, IsSoak() ? 1 : 20)) {
        for (const char* mode : {kStrict, ""}) {
            trials.Next();
            SCOPED_TRACE(fmt::format("{} '{}'", version, mode));
            MakeSiteAt(version);
            Compare(mode, {"--json", "check", "--site", "1"}, {"upgrade-site", "1"},
                    {Ladder::kSiteSchema, Ladder::kSiteContent});
        }
    }
}

TEST_F(CheckOldServerSweep, FindsWhatFailsInACentralDatabaseOfAnyVersion) {
    Trials trials(
        "MySQL 5.6, strict and not: check and upgrade of a central database of each start");
    for (const double version : Versions(Ladder::kServer, Ladder::kServerData, IsSoak() ? 1 : 12)) {
        for (const char* mode : {kStrict, ""}) {
            trials.Next();
            SCOPED_TRACE(fmt::format("{} '{}'", version, mode));
            for (const char* database : {"tw_tarnwick", "tw_logs", "tw_1"}) {
                Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
            }
            MakeCentralWith({Plan(1, 1.0255)});
            sample::BringCentralTo(host_, {version, version});
            Compare(mode, {"--json", "check"}, {"upgrade"}, {Ladder::kServer, Ladder::kServerData});
        }
    }
}

// In every sql_mode, of an installation that is old and of one that is upgraded.
TEST_F(CheckOldServer, IsLookedAtByEveryCommandThatWritesNothing) {
    const std::vector<std::string> modes{"", kStrict, "ONLY_FULL_GROUP_BY", "TRADITIONAL", "ANSI"};
    MakeSiteAt(1.0230);
    for (const std::string& mode : modes) {
        Goes(mode, {{"status"}, {"plan"}, {"plan", "--site", "1"}, {"verify"}, {"repair"}});
    }
    Goes("", {{"upgrade-site", "1"}});
    for (const std::string& mode : modes) {
        Goes(mode, {{"check"}, {"status"}, {"plan"}, {"verify"}, {"repair"}});
    }
}

TEST_F(CheckOldServer, FindsThatTheUserMayNotWrite) {
    MakeSiteAt(1.0255, {});
    const GlobalSetting setting("read_only", "ON");
    Execute("CREATE USER 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    const auto runAsHalf = [this](const std::vector<std::string>& command) {
        auto arguments = In("", command);
        const auto socket = CliServer::Get().ConnectOptions().socket->string();
        arguments.insert(arguments.begin(), {"--socket", socket, "--user", "half"});
        return RunProgram(arguments);
    };
    const Outcome found = runAsHalf({"check", "--site", "1"});
    EXPECT_THAT(found.out, HasSubstr(": read_only is ON, as on a replica: the user may write "
                                     "nothing, so SiteSchemaStep_1_0262 fails; connect to the "
                                     "server that is written to\n1 finding.\n"));
    const Outcome failed = runAsHalf({"--no-services", "upgrade-site", "1"});
    EXPECT_THAT(failed.err, HasSubstr("server error 1290 "));
    ExpectFailedAtTheNamedPlace(found, failed);
    Execute("GRANT SUPER ON *.* TO 'half'@'localhost';");  // which is enough there
    EXPECT_EQ(runAsHalf({"check", "--site", "1"}).status, 0);
    EXPECT_EQ(runAsHalf({"--no-services", "upgrade-site", "1"}).status, 0);
}

}  // namespace
}  // namespace twupdate::test
