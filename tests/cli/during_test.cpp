#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <memory>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

class During : public InstallationTest {
  protected:
    /// The exit status of the program when its output goes to one that has ended.
    std::string StatusWhenNobodyReads(const std::vector<std::string>& arguments) const {
        const std::string status = (folder_ / "status").string();
        // The tests ignore the signal, and hand that on.
        std::string line =
            "{ sleep 0.2; env -i --default-signal=PIPE PATH=\"$PATH\" '" TWUPDATE_PROGRAM "'";
        for (const std::string& word : arguments) {
            line += " '" + word + "'";
        }
        line += "; echo $? >'" + status + "'; } | true";
        EXPECT_EQ(std::system(line.c_str()), 0);
        return ContentOf(status);
    }

    static std::string LockHolder() { return Cell("SELECT IS_USED_LOCK('twupdate.run');"); }
};

// --- one run at a time -------------------------------------------------------------------------

TEST_F(During, ASecondRunSaysWhoIsThereAndChangesNothing) {
    MakeNearlyCurrentInstallation();
    const auto other = Application();
    other->Query("SELECT GET_LOCK('twupdate.run', 0);");
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"upgrade"}, {"create-core"}, {"upgrade-site", "7"}, {"import-master-data", "7"}}) {
        const Outcome outcome = Run(command);
        EXPECT_EQ(outcome.status, 4) << outcome.err;
        EXPECT_THAT(outcome.err,
                    ContainsRegex("another run is in progress on this server: root@localhost since "
                                  "20[0-9-]+ [0-9:]+ \\(connection [0-9]+\\)"));
    }
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_EQ(Run({"status"}).status, 0);  // reading takes no lock
}

TEST_F(During, ARunWaitsForTheOtherOnRequest) {
    MakeNearlyCurrentInstallation();
    const auto other = Application();
    other->Query("SELECT GET_LOCK('twupdate.run', 0);");
    Program waiting(With({"--lock-wait", "60", "upgrade"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits("User lock"); }));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    other->Query("SELECT RELEASE_LOCK('twupdate.run');");
    const Outcome outcome = waiting.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
}

TEST_F(During, TheLockNamesTheCommandTheProcessAndTheMachine) {
    MakeCentralDatabase();
    MakeSite(7);
    Execute("CREATE OR REPLACE USER 'blind'@'localhost';");
    const auto reader = ReaderOfSite();
    Program run(With({"upgrade-site", "7"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    char machine[256] = {};
    gethostname(machine, sizeof machine - 1);
    const std::string name =
        "upgrade-site 7, process " + std::to_string(run.Pid()) + " on " + machine + ", ";
    const Outcome second = Run({"--lock-wait", "1", "upgrade"});
    EXPECT_EQ(second.status, 4);
    EXPECT_THAT(second.err, HasSubstr("another run is in progress on this server: " + name +
                                      "root@localhost since 20"));
    EXPECT_THAT(second.out,
                HasSubstr("Waiting for the end of another run: " + name + "root@localhost"));
    const auto socket = CliServer::Get().Server().Socket().string();
    EXPECT_THAT(RunProgram({"--socket", socket, "--user", "blind", "upgrade"}).err,
                HasSubstr(name + "connection " + LockHolder() + " (its account"));
    reader->Execute("COMMIT;");
    EXPECT_EQ(run.Wait().status, 0);
}

TEST_F(During, WithoutTheLockARunContinuesOnlyOnRequest) {
    MakeNearlyCurrentInstallation();
    const auto other = Application();
    other->Query("SELECT GET_LOCK('twupdate.run', 0);");
    // A server that refuses the lock: the statement that asks for it is ended there.
    Program refused(With({"--lock-wait", "60", "upgrade"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits("User lock"); }));
    Execute("KILL QUERY " +
            Cell("SELECT id FROM information_schema.processlist WHERE state LIKE 'User lock';") +
            ";");
    const Outcome outcome = refused.Wait();
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("the server refuses the run lock"), HasSubstr("--no-lock")));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_EQ(Run({"--no-lock", "upgrade"}).status, 0);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
}

TEST_F(During, AKilledRunLeavesNoLock) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = ReaderOfSite();
    Program run(With({"upgrade-site", "7"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    EXPECT_NE(LockHolder(), "NULL");
    run.Signal(SIGKILL);
    run.Wait();
    EXPECT_TRUE(WaitUntil([] { return LockHolder() == "NULL"; }));
}

TEST_F(During, ARunThatHasLostItsLockStopsBeforeTheNextSite) {
    MakeCentralDatabase();
    MakeSite(7);
    MakeSite(8);
    const auto reader = ReaderOfSite();
    Program run(With({"upgrade", "--jobs", "1"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    const std::string holder = LockHolder();
    Execute("KILL " + holder + ";");
    reader->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err,
                HasSubstr("failed: database tw_8: the run has lost its lock, because the server "
                          "ended connection " +
                          holder + "; another run may have begun\n"));
    EXPECT_EQ(SiteVersion(7), "1.0265");
    EXPECT_EQ(SiteVersion(8), "1");
    EXPECT_EQ(InstallationVersion(), "1");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST_F(During, ARepairDoesNotLookAtWhatARunHasInHand) {
    MakeNearlyCurrentInstallation();
    const auto other = Application();
    other->Query("SELECT GET_LOCK('twupdate.run', 0);");
    const Outcome outcome = Run({"repair"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(outcome.err, HasSubstr("another run is in progress on this server"));
}

// --- locks of others ---------------------------------------------------------------------------

TEST_F(During, ALockThatDoesNotComeInTimeIsAnErrorThatNamesItsHolder) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = ReaderOfSite();
    const Outcome outcome = Run({"--ddl-timeout", "1", "upgrade-site", "7"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.err, ContainsRegex("tw_7.setting.*: server error 1205"));
    EXPECT_THAT(outcome.err,
                HasSubstr("a lock may be held by connection " + std::to_string(reader->ThreadId()) +
                          " of root@localhost, idle for "));
    EXPECT_THAT(outcome.err, HasSubstr("in a transaction since "));
    reader->Execute("COMMIT;");
    EXPECT_EQ(Run({"--ddl-timeout", "1", "upgrade-site", "7"}).status, 0);
}

TEST_F(During, AnAccountThatMayNotSeeTheOthersLearnsWhichPrivilegeIsMissing) {
    MakeCentralDatabase();
    MakeSite(7);
    Execute("CREATE OR REPLACE USER 'blind'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'blind'@'localhost';");
    const auto reader = ReaderOfSite();
    const auto socket = CliServer::Get().Server().Socket().string();
    const Outcome outcome =
        RunProgram({"--socket", socket, "--user", "blind", "--no-site-files", "--no-services",
                    "--ddl-timeout", "1", "upgrade-site", "7"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.err,
                HasSubstr("twupdate: a lock may be held by a connection that only users with the "
                          "privilege PROCESS are shown\n"));
}

TEST_F(During, TheServersPluginTellsExactlyWhoHoldsTheLock) {
    const std::string plugins = PluginFolder();
    if (plugins.empty()) {
        GTEST_SKIP() << "no plugin metadata_lock_info; ./dev test unpacks it";
    }
    const ServerOptions options({"--plugin-dir=" + plugins, "--plugin-maturity=unknown",
                                 "--plugin-load-add=metadata_lock_info"});
    MakeCentralDatabase();
    MakeSite(7);
    MakeSite(9);
    const auto reader = ReaderOfSite();
    const auto bystander = Application();  // in a transaction too, but elsewhere
    bystander->Execute("START TRANSACTION;");
    bystander->Query("SELECT COUNT(*) FROM tw_9.setting;");
    const Outcome outcome = Run({"--ddl-timeout", "1", "upgrade-site", "7"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.err, ContainsRegex("a lock may be held by connection " +
                                           std::to_string(reader->ThreadId()) +
                                           " of root@localhost, idle for [0-9]+ s, holds "
                                           "MDL_SHARED_READ on tw_7.setting\n"));
    EXPECT_THAT(outcome.err,
                Not(HasSubstr("connection " + std::to_string(bystander->ThreadId()) + " of")));
}

// --- a clean stop ------------------------------------------------------------------------------

TEST_F(During, CtrlCStopsAfterTheStatementInHandAndTheSameCommandResumes) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = ReaderOfSite();
    for (const int signal : {SIGINT, SIGTERM}) {
        Program run(With({"upgrade-site", "7"}));
        ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
        run.Signal(signal);
        usleep(200000);
        EXPECT_TRUE(run.Running());  // the current statement is not given up
        reader->Execute("COMMIT;");
        const Outcome outcome = run.Wait();
        EXPECT_EQ(outcome.status, 5) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr("stopped as requested, before the next statement: "
                                           "database tw_7, site schema ladder, step "
                                           "SiteSchemaStep_1_00"));
        EXPECT_EQ(outcome.err.find("stopped as requested"),
                  outcome.err.rfind("stopped as requested"));
        EXPECT_THAT(outcome.err, HasSubstr("Repeat the command; it resumes"));
        EXPECT_EQ(SiteVersion(7), "1");
        reader->Execute("START TRANSACTION;");
        reader->Query("SELECT COUNT(*) FROM tw_7.setting;");
    }
    reader->Execute("COMMIT;");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

TEST_F(During, ASecondCtrlCStopsAtOnce) {
    MakeCentralDatabase();
    MakeSite(7);
    const auto reader = ReaderOfSite();
    Program run(With({"upgrade-site", "7"}));
    ASSERT_TRUE(WaitUntil([] { return SomebodyWaits(); }));
    run.Signal(SIGINT);
    usleep(100000);
    run.Signal(SIGINT);
    EXPECT_TRUE(WaitUntil([&] { return !run.Running(); }));
    EXPECT_EQ(run.Wait().status, 128 + SIGINT);
}

TEST_F(During, ARunWhoseOutputNobodyReadsAnyMoreGoesOn) {
    MakeCentralDatabase();
    MakeSite(7);
    EXPECT_EQ(StatusWhenNobodyReads({"--help"}), "0\n");
    EXPECT_EQ(StatusWhenNobodyReads(With({"upgrade"})), "0\n");
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

// --- events and log ----------------------------------------------------------------------------

TEST_F(During, EventsTellHowTheRunGoesOn) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    MakeSiteRow(9, "1.0262");
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 9;");
    const auto file = folder_ / "events";
    EXPECT_EQ(Run({"--events", file.string(), "upgrade"}).status, 0);
    const auto events = JsonLinesOf(file);
    std::vector<std::string> names;
    for (const auto& event : events) {
        EXPECT_EQ(event["v"], 1);
        EXPECT_THAT(event["time"].get<std::string>(),
                    ContainsRegex("^20[0-9][0-9]-[0-9-]+T[0-9:]+\\.[0-9]+Z$"));
        names.push_back(event["event"].get<std::string>());
    }
    std::vector<std::string> expected{"run-started"};
    const auto expectLadder = [&expected](Ladder ladder) {
        expected.emplace_back("ladder-started");
        for (auto step = PendingCount({ladder}, 1.0262); step > 0; --step) {
            expected.emplace_back("step-started");
            expected.emplace_back("step-finished");
        }
        expected.emplace_back("ladder-finished");
    };
    expectLadder(Ladder::kServer);
    expectLadder(Ladder::kServerData);
    expected.emplace_back("central-finished");
    expected.emplace_back("site-started");
    expectLadder(Ladder::kSiteSchema);
    expectLadder(Ladder::kSiteContent);
    expected.emplace_back("site-finished");
    expected.emplace_back("run-finished");
    EXPECT_EQ(names, expected);
    const auto event = [&events](const std::string& name, const std::string& step = "") {
        const auto found = std::ranges::find_if(events, [&](const auto& each) {
            return each["event"] == name && (step.empty() || each["step"] == step);
        });
        return found == events.end() ? nlohmann::json::object() : *found;
    };
    EXPECT_EQ(events[0]["command"], "upgrade");
    EXPECT_EQ(events[0]["sites_to_do"], 1);
    EXPECT_EQ(events[0]["sites"].dump(), R"([{"from":1.0262,"site":7}])");
    EXPECT_EQ(events[0]["left_out"].dump(), R"({"hard-deleted":[9]})");
    EXPECT_EQ(events[0]["account"], "root@localhost");
    EXPECT_THAT(events[0]["server"].get<std::string>(),
                ContainsRegex("^[0-9.]+-MariaDB.* on [^,]+$"));
    EXPECT_EQ(event("step-finished", "ServerStep_1_0264")["database"], "tw_tarnwick");
    const auto import = event("step-finished", "ReimportReferenceData");
    // DELETE and INSERT of the two component tables.
    EXPECT_EQ(import["statements"], 4);
    EXPECT_THAT(import["slowest"]["sql"].get<std::string>(), HasSubstr("tw_tarnwick.component"));
    EXPECT_EQ(event("site-started")["site"], 7);
    EXPECT_EQ(event("site-started")["from"], 1.0262);
    EXPECT_EQ(event("site-finished")["counts"]["sites"], 1);
    EXPECT_EQ(events.back()["counts"]["databases"], 2);
    EXPECT_EQ(events.back()["counts"]["steps"],
              PendingCount(
                  {Ladder::kServer, Ladder::kServerData, Ladder::kSiteSchema, Ladder::kSiteContent},
                  1.0262));
}

TEST_F(During, EventsTellWhatFailed) {
    MakeNearlyCurrentInstallation();
    MakeSiteThatFails(8);
    const auto file = folder_ / "events";
    EXPECT_EQ(Run({"--events", file.string(), "upgrade"}).status, 1);
    const auto events = JsonLinesOf(file);
    ASSERT_GE(events.size(), 2U);
    const auto& site = events[events.size() - 2];
    EXPECT_EQ(site["event"], "site-failed");
    EXPECT_EQ(site["site"], 8);
    EXPECT_EQ(site["step"], "SiteSchemaStep_1_0264");
    EXPECT_GT(site["code"].get<int>(), 0);
    EXPECT_EQ(events.back()["event"], "run-failed");
    EXPECT_EQ(events.back()["counts"]["databases"], 1);
}

TEST_F(During, ARunThatFindsNothingToDoWritesItsTwoEvents) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, kCurrentStored);
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    Execute("CREATE TABLE tw_7.tw_installation AS SELECT * FROM tw_tarnwick.installation;");
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"upgrade"}, {"upgrade-site", "7"}, {"import-master-data", "7"}, {"create-core"}}) {
        const auto file = folder_ / command[0];
        auto words = command;
        words.insert(words.begin(), {"--events", file.string()});
        ASSERT_EQ(Run(words).status, 0) << command[0];
        const auto events = JsonLinesOf(file);
        ASSERT_EQ(events.size(), 2U) << command[0];
        EXPECT_EQ(events[0]["event"], "run-started");
        EXPECT_EQ(events[0]["command"], command[0]);
        EXPECT_EQ(events[1]["event"], "run-finished");
        EXPECT_EQ(events[1]["counts"]["databases"], 0);
    }
}

TEST_F(During, EventsFollowThoseOfTheRunsBefore) {
    MakeNearlyCurrentInstallation();
    MakeSiteThatFails(8);
    const auto file = folder_ / "events";
    EXPECT_EQ(Run({"--events", file.string(), "upgrade"}).status, 1);
    const std::string before = ContentOf(file);
    // A run that was killed may have left half a line.
    WriteFile(file, before + "{\"v\":1,\"ti");
    EXPECT_EQ(Run({"--events", file.string(), "upgrade"}).status, 1);
    const std::string after = ContentOf(file);
    EXPECT_TRUE(after.starts_with(before + "{\"v\":1,\"ti\n{\"v\":1,\"time\":\"20"));
    const auto page = folder_ / "page.html";
    const Outcome report = Run({"report", page.string(), "--events", file.string()});
    EXPECT_EQ(report.status, 0) << report.err;
    EXPECT_THAT(report.out, HasSubstr(": 2 runs, the last one failed."));
}

TEST_F(During, TheLogCanBeReadByPeople) {
    MakeNearlyCurrentInstallation();
    const auto file = folder_ / "run.log";
    EXPECT_EQ(Run({"--log", file.string(), "upgrade"}).status, 0);
    const std::string log = ContentOf(file);
    EXPECT_THAT(log, ContainsRegex("^20[0-9-]+ [0-9:.]+ I upgrade from 1.0262 to " + kCurrentShown +
                                   ", 0 sites"));
    EXPECT_THAT(log, HasSubstr("I tw_tarnwick: ServerStep_1_0264: "));
    EXPECT_THAT(
        log,
        HasSubstr("I done: 1 database, " +
                  std::to_string(PendingCount({Ladder::kServer, Ladder::kServerData}, 1.0262)) +
                  " steps, "));
}

TEST_F(During, ALogThatCannotBeWrittenStopsBeforeAnyStatement) {
    MakeNearlyCurrentInstallation();
    WriteFile(folder_ / "file", "");
    for (const char* option : {"--log", "--events"}) {
        const Outcome outcome = Run({option, (folder_ / "file" / "x").string(), "upgrade"});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr((folder_ / "file" / "x").string()));
    }
    EXPECT_EQ(InstallationVersion(), "1.0262");
}

}  // namespace
}  // namespace twupdate::test
