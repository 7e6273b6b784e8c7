// upgrade --batch: the same outcome as without it.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>

#include "cli/shops_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Batch : public ShopsTest {
  protected:
    void MakeShops() {
        DropSites();
        MakeSites();
    }

    /// The component's calls in a site, and what went to the server in a batched run.
    struct Traced {
        std::vector<std::string> calls;
        std::vector<std::string> sent;
    };
    static Traced TraceOf(const std::filesystem::path& trace, const std::string& database) {
        Traced traced;
        for (auto line : JsonLinesOf(trace)) {
            if (line["database"] != database) {
                continue;
            }
            for (const auto& statement : line.value("sent", nlohmann::json::array())) {
                EXPECT_GE(statement.at("ms").get<double>(), 0);
                traced.sent.push_back(statement.at("sql").get<std::string>());
            }
            for (const char* differs : {"seq", "ms", "sent"}) {
                line.erase(differs);
            }
            if (line["op"] != "batch") {
                traced.calls.push_back(line.dump());
            }
        }
        return traced;
    }
};

TEST_F(Batch, SitesEndAsWithoutItInTheWalkAndInJobs) {
    const auto trace = folder_ / "trace";
    MakeShops();
    const Outcome plain = Run({"--json", "--trace", trace.string(), "upgrade", "--jobs", "1"});
    ASSERT_EQ(plain.status, 0) << plain.err;
    const auto states = States();
    const Traced expected = TraceOf(trace, "tw_7");
    for (const char* jobs : {"1", "4"}) {
        SCOPED_TRACE(jobs);
        MakeShops();
        const Outcome outcome =
            Run({"--json", "--trace", trace.string(), "upgrade", "--batch", "--jobs", jobs});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(States(), states);
        EXPECT_EQ(InstallationVersion(), kCurrentStored);
        EXPECT_EQ(SiteVersion(9), kCurrentStored);
        // What goes to the server counts.
        EXPECT_LT(outcome.Json()["statements"].get<int>() * 5,
                  plain.Json()["statements"].get<int>() * 4);
        EXPECT_EQ(outcome.Json()["services"], plain.Json()["services"]);
        if (std::string(jobs) == "1") {
            EXPECT_EQ(TraceOf(trace, "tw_7").calls, expected.calls);
        }
    }
}

TEST_F(Batch, TheTraceTellsWhatWentToTheServerAndWhen) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0257", sample::AllGroups());
    Execute("ALTER TABLE tw_7.formtemplatefield DROP COLUMN outputtype, DROP COLUMN urlencode;");
    const auto trace = folder_ / "trace";
    ASSERT_EQ(Run({"--trace", trace.string(), "upgrade-site", "7", "--batch"}).status, 0);
    std::map<std::string, nlohmann::json> sent;
    for (const auto& line : JsonLinesOf(trace)) {
        if (line["database"] == "tw_7") {
            sent[line.value("sql", line["op"].get<std::string>())] = line["sent"];
        }
    }
    const auto none = nlohmann::json::array();
    EXPECT_EQ(sent.at("DESCRIBE tw_7.formtemplatefield;"), none);
    const std::string alter = "ALTER TABLE tw_7.formtemplatefield ADD COLUMN ";
    EXPECT_EQ(sent.at(alter + "outputtype INT DEFAULT -1 NOT NULL;"), none);
    EXPECT_EQ(sent.at(alter + "urlencode BOOL DEFAULT 0 NOT NULL;"), none);
    bool isSent = false;
    for (const auto& [call, statements] : sent) {
        for (const auto& statement : statements) {
            isSent |= statement["sql"] ==
                      alter +
                          "outputtype INT DEFAULT -1 NOT NULL, ADD COLUMN urlencode BOOL "
                          "DEFAULT 0 NOT NULL;";
        }
    }
    EXPECT_TRUE(isSent);
}

// A row has room for two of the four columns that become one statement.
TEST_F(Batch, AnErrorNamesTheStatementAndStepOfThePlainRunAndTheSameColumnsStand) {
    const auto make = [this] {
        MakeShops();
        Execute(
            "CREATE OR REPLACE TABLE tw_7.security(userid INT PRIMARY KEY, filling "
            "VARCHAR(64500) CHARACTER SET latin1 NOT NULL);");
    };
    make();
    const Outcome plain = Run({"upgrade-site", "7"});
    ASSERT_EQ(plain.status, 1) << plain.err;
    ASSERT_THAT(plain.err, HasSubstr("step SiteSchemaStep_1_0054"));
    ASSERT_THAT(plain.err, HasSubstr("ALTER TABLE tw_7.security ADD COLUMN town"));
    ASSERT_THAT(plain.err, HasSubstr("1118"));
    Execute("DROP TABLE tw_7.twupdate_progress;");  // it has times
    const std::string state = StateOf("tw_7");
    make();
    const Outcome batched = Run({"upgrade-site", "7", "--batch"});
    EXPECT_EQ(batched.status, 1);
    EXPECT_EQ(batched.err, plain.err);
    Execute("DROP TABLE tw_7.twupdate_progress;");
    EXPECT_EQ(StateOf("tw_7"), state);
}

TEST_F(Batch, AStopSendsWhatWaitsAndARepeatResumes) {
    MakeShops();
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const auto states = States();
    MakeShops();
    const auto reader = Application();
    reader->Execute("START TRANSACTION;");
    reader->Query("SELECT COUNT(*) FROM tw_7.customerorder;");
    Program run(With({"upgrade", "--batch"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    run.Signal(SIGTERM);
    usleep(200000);
    reader->Execute("COMMIT;");
    const Outcome stopped = run.Wait();
    EXPECT_EQ(stopped.status, 5) << stopped.err;
    EXPECT_THAT(stopped.err, HasSubstr("stopped as requested"));
    const Outcome resumed = Run({"upgrade"});
    EXPECT_EQ(resumed.status, 0) << resumed.err;
    EXPECT_EQ(States(), states);
}

TEST_F(Batch, AFailureThatPassesIsTriedAgainFromTheLastStepThatMustNotRunTwice) {
    const auto make = [this] {
        MakeShops();
        Execute("INSERT INTO tw_7.layoutelement(elementid, showtoall) VALUES(901, 0), (902, 0);");
    };
    make();
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const auto states = States();
    make();
    Execute("CREATE TABLE tw_tarnwick.once(done INT) ENGINE = MyISAM;");
    Execute("INSERT INTO tw_tarnwick.once VALUES(0);");
    Execute(
        "CREATE TRIGGER tw_7.deadlock BEFORE UPDATE ON tw_7.layoutelement FOR EACH ROW IF (SELECT "
        "done FROM tw_tarnwick.once) = 0 THEN UPDATE tw_tarnwick.once SET done = 1; SIGNAL "
        "SQLSTATE '40001' SET MYSQL_ERRNO = 1213, MESSAGE_TEXT = 'Deadlock found'; END IF;");
    const Outcome outcome = Run({"upgrade", "--batch"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out + outcome.err, HasSubstr("attempt 1 of 3"));
    EXPECT_EQ(Cell("SELECT done FROM tw_tarnwick.once;"), "1");
    Execute("DROP TRIGGER tw_7.deadlock;");
    Execute("DROP TABLE tw_tarnwick.once;");
    EXPECT_EQ(States(), states);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.chargegroup;"), "3");
}

TEST_F(Batch, NeedsTheRunsLock) {
    MakeNearlyCurrentInstallation();
    for (const char* command : {"upgrade", "upgrade-site"}) {
        std::vector<std::string> arguments{"--no-lock", command, "--batch"};
        if (std::string(command) == "upgrade-site") {
            arguments.emplace_back("--all-old");
        }
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr("--batch keeps the layouts of sites in memory"));
    }
    EXPECT_EQ(InstallationVersion(), "1.0262");
}

}  // namespace
}  // namespace twupdate::test
