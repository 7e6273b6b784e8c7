#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>

#include "cli/installation_fixture.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// How a run comes to an end that nobody wanted.
enum class End : std::uint8_t { kStopped, kKilled, kConnectionLost };

class Resume : public InstallationTest {
  protected:
    Resume() { MakeCentralDatabase(); }

    /// A site with three charges and some e-mails, of which the second is far from the first.
    void MakeShop(std::int32_t siteId) {
        MakeSite(siteId, "1.0000", sample::AllGroups());
        const std::string db = fmt::format("tw_{}.", siteId);
        Execute("INSERT INTO " + db +
                "charge(chargeid, featureid, name, sequence) VALUES(1, 3, 'Post', 1), (2, 3, "
                "'Wrap', 2), (3, 3, 'Ins', 3);");
        Execute("INSERT INTO " + db + "chargetocharge(chargeid, applytochargeid) VALUES(2, 1);");
        Execute("DELETE FROM " + db + "email;");
        Execute("INSERT INTO " + db +
                "email(emailid, fromlist, subject) VALUES(1, 'a <a@a.example>', 's'), "
                "(2, 'b <b@b.example>', 's'), (3, 'c <c@c.example>', 's');");
        Execute("INSERT INTO " + db + "layoutelement(elementid, showtoall) VALUES(901, 0);");
    }

    /// The step that updates this table waits there for the gate.
    void WaitIn(const std::string& table) {
        gate_ = host::Connection::Open(CliServer::Get().ConnectOptions());
        gate_->Query("SELECT GET_LOCK('test.gate', 0);");
        trigger_ = table.substr(0, table.find('.')) + ".wait";
        Execute(
            fmt::format("CREATE TRIGGER {} BEFORE UPDATE ON {} FOR EACH ROW SET @waited = "
                        "GET_LOCK('test.gate', 60);",
                        trigger_, table));
    }
    void WaitNoMore() {
        gate_.reset();
        Execute(fmt::format("DROP TRIGGER {};", trigger_));
    }

    static std::string Waiter() {
        return Cell("SELECT id FROM information_schema.processlist WHERE state = 'User lock';");
    }

    /// Ends the program in a step that waits.
    Outcome EndIn(const std::string& table, const std::vector<std::string>& arguments, End end) {
        WaitIn(table);
        Program run(With(arguments));
        EXPECT_TRUE(WaitUntil([] { return Waiter() != "(no row)"; })) << table;
        if (end == End::kStopped) {
            run.Signal(SIGTERM);
            usleep(200000);
            gate_.reset();
        } else {
            if (end == End::kKilled) {
                run.Signal(SIGKILL);
            }
            Execute("KILL " + Waiter() + ";");
        }
        const Outcome outcome = run.Wait();
        EXPECT_TRUE(WaitUntil([] { return Waiter() == "(no row)"; }));
        WaitNoMore();
        return outcome;
    }

    static std::string Groups() { return Cell("SELECT COUNT(*) FROM tw_7.chargegroup;"); }
    static std::string Tables(const std::string& database) {
        return Cell(
            "SELECT COUNT(*) FROM information_schema.tables WHERE table_name = "
            "'twupdate_progress' AND table_schema = '" +
            database + "';");
    }

    void MakeAgain() {
        Execute("DROP DATABASE IF EXISTS tw_7;");
        Execute("DELETE FROM tw_tarnwick.site WHERE siteid = 7;");
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0000;");
        MakeShop(7);
    }

  private:
    std::shared_ptr<host::Connection> gate_;
    std::string trigger_;
};

// --- a step that has ended -----------------------------------------------------------------------

TEST_F(Resume, ChargesThatAreConvertedAreNotConvertedAgainHoweverTheRunEnds) {
    MakeShop(9);
    ASSERT_EQ(Run({"upgrade-site", "9"}).status, 0);
    const std::string undisturbed = StateOf("tw_9");
    for (const std::string command : {"upgrade-site", "upgrade"}) {
        for (const End end : {End::kStopped, End::kKilled}) {
            MakeAgain();
            const std::vector<std::string> words = command == "upgrade"
                                                       ? std::vector<std::string>{command}
                                                       : std::vector<std::string>{command, "7"};
            const Outcome ended = EndIn("tw_7.layoutelement", words, end);
            EXPECT_NE(ended.status, 0);
            EXPECT_EQ(Groups(), "3");
            EXPECT_EQ(Tables("tw_7"), "1");
            const Outcome resumed = Run(words);
            EXPECT_EQ(resumed.status, 0) << resumed.err;
            EXPECT_EQ(Groups(), "3");
            EXPECT_EQ(SiteVersion(7), "1.0265");
            if (command == "upgrade-site") {  // the other gives the root site a domain
                EXPECT_EQ(StateOf("tw_7"), undisturbed);
            }
            EXPECT_THAT(resumed.out, HasSubstr("tw_7: goes on at 1.0007"));
        }
    }
}

TEST_F(Resume, TheServerMayBeKilledToo) {
    MakeShop(7);
    WaitIn("tw_7.layoutelement");
    Program run(With({"upgrade"}));
    ASSERT_TRUE(WaitUntil([] { return Waiter() != "(no row)"; }));
    CliServer::Get().Server().Kill();
    EXPECT_EQ(run.Wait().status, 7);
    CliServer::Get().ForgetConnection();
    CliServer::Get().Server().Start();
    WaitNoMore();
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(Groups(), "3");
    EXPECT_EQ(Tables("tw_7") + Tables("tw_tarnwick"), "00");
}

TEST_F(Resume, AVersionThatIsNamedDoesNotBringAStepBackThatHasEnded) {
    MakeShop(7);
    EndIn("tw_7.layoutelement", {"upgrade-site", "7"}, End::kKilled);
    EXPECT_EQ(Run({"upgrade-site", "7", "--from", "1.0000"}).status, 0);
    EXPECT_EQ(Groups(), "3");
}

TEST_F(Resume, WithoutARecordTheMarksStayUntilThereIsOne) {
    MakeShop(7);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Run({"upgrade-site", "7", "--no-record"}).status, 0);
        EXPECT_EQ(Groups(), "3");
        EXPECT_EQ(Tables("tw_7"), "1");
    }
    EXPECT_EQ(Run({"repair"}).status, 0);
    Execute("UPDATE tw_tarnwick.site SET version = 1.0265;");
    EXPECT_EQ(Run({"verify", "--site", "7"}).status, 0);
    EXPECT_THAT(Run({"repair"}).out, HasSubstr("  DROP TABLE tw_7.twupdate_progress;\n"));
    EXPECT_EQ(Run({"repair", "--apply"}).status, 0);
    EXPECT_EQ(Tables("tw_7"), "0");
}

TEST_F(Resume, PlanAndStatusCountTheStepsThatAreLeft) {
    MakeShop(7);
    EndIn("tw_7.layoutelement", {"upgrade-site", "7"}, End::kKilled);
    // Of 84 content steps the seven up to 1.0007 have ended.
    EXPECT_EQ(Run({"plan", "--json"}).Json()["groups"][0]["content_steps"], 77);
    EXPECT_EQ(Run({"status", "--json"}).Json()["sites"][0]["pending_content_steps"], 77);
    EXPECT_THAT(Run({"status"}).out, Not(HasSubstr("has begun")));
}

// --- a step that has begun -----------------------------------------------------------------------

TEST_F(Resume, AStepThatHasNotEndedIsRepairedBeforeItRunsAgain) {
    MakeShop(9);
    ASSERT_EQ(Run({"upgrade-site", "9"}).status, 0);
    const std::string undisturbed = StateOf("tw_9");
    const std::string seen = "tw_7.chargegroup: 1 group of an unfinished conversion";
    for (const bool atOnce : {false, true}) {
        MakeAgain();
        EndIn("tw_7.charge", {"upgrade-site", "7"}, End::kKilled);
        for (const auto& words :
             {std::vector<std::string>{"upgrade"}, std::vector<std::string>{"upgrade-site", "7"},
              std::vector<std::string>{"upgrade", "--repair=false"}}) {
            const Outcome refused = Run(words);
            EXPECT_EQ(refused.status, 1);
            EXPECT_THAT(
                refused.err,
                AllOf(HasSubstr("SiteContentStep_1_0007 was interrupted: " + seen),
                      HasSubstr("; nothing was done\ntwupdate: hint: run twupdate repair --site 7 "
                                "--apply first, or repeat this command with --repair\n")));
        }
        EXPECT_EQ(InstallationVersion(), "1");
        EXPECT_EQ(Groups(), "1");
        EXPECT_THAT(Run({"status"}).out,
                    HasSubstr("tw_7: SiteContentStep_1_0007 has begun and not ended; unless a run "
                              "is in progress, see twupdate repair"));
        if (atOnce) {
            const Outcome repaired = Run({"upgrade-site", "7", "--repair"});
            EXPECT_EQ(repaired.status, 0) << repaired.err;
            EXPECT_THAT(repaired.out, HasSubstr("repaired: " + seen));
        } else {
            EXPECT_EQ(Run({"repair", "--site", "7", "--apply"}).status, 0);
            EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
        }
        EXPECT_EQ(StateOf("tw_7"), undisturbed);
    }
}

TEST_F(Resume, AStopWaitsForTheEndOfAStepThatCannotSimplyRunAgain) {
    MakeShop(7);
    const Outcome stopped = EndIn("tw_7.charge", {"upgrade-site", "7"}, End::kStopped);
    EXPECT_EQ(stopped.status, 5);
    EXPECT_THAT(stopped.err,
                AllOf(HasSubstr("stopped as requested"), Not(HasSubstr("SiteContentStep_1_0007")),
                      HasSubstr("Repeat the command; it resumes.")));
    EXPECT_EQ(Groups(), "3");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(Groups(), "3");
}

// What a restore brings back is as unfinished as it was when it was dumped.
TEST_F(Resume, ABackupAndARestoreTakeTheMarksAlong) {
    MakeShop(7);
    EndIn("tw_7.charge", {"upgrade-site", "7"}, End::kKilled);
    const auto backup = folder_ / "backup";
    ASSERT_EQ(Run({"--backup", backup.string(), "upgrade-site", "7", "--repair"}).status, 0);
    const auto run = std::filesystem::directory_iterator(backup)->path().string();
    ASSERT_EQ(Run({"restore", run, "--site", "7", "--apply"}).status, 0);
    const Outcome refused = Run({"upgrade-site", "7"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("SiteContentStep_1_0007 was interrupted: "));
    EXPECT_EQ(Run({"upgrade-site", "7", "--repair"}).status, 0);
    EXPECT_EQ(Groups(), "3");
}

TEST_F(Resume, AStepThatCouldNotBeginIsSimplyRepeated) {
    MakeShop(7);
    const auto reader = host::Connection::Open(CliServer::Get().ConnectOptions());
    reader->Execute("START TRANSACTION;");
    reader->Query("SELECT COUNT(*) FROM tw_7.commission;");  // of which 1.0035 converts a column
    const Outcome locked = Run({"--ddl-timeout", "1", "upgrade-site", "7"});
    EXPECT_EQ(locked.status, 7);
    EXPECT_THAT(locked.err, HasSubstr("step SiteSchemaStep_1_0035"));
    reader->Execute("COMMIT;");
    EXPECT_EQ(Run({"repair"}).status, 0);
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
}

TEST_F(Resume, EmailsThatOneOfThemHasHeldUpAreConverted) {
    MakeShop(7);
    Execute("UPDATE tw_7.email SET fromlist = CONCAT(REPEAT('x', 254), '<') WHERE emailid = 2;");
    const Outcome failed = Run({"upgrade-site", "7"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(
        failed.err,
        AllOf(HasSubstr("server error 1406"),
              HasSubstr("SiteContentStep_1_0043 cannot simply be repeated: a repeat converts no "
                        "e-mail. Fix the cause, run twupdate repair --site 7 --apply, "),
              Not(HasSubstr("it resumes"))));
    Execute("UPDATE tw_7.email SET fromlist = 'b <b@b.example>' WHERE emailid = 2;");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 1);
    EXPECT_THAT(Run({"repair"}).out,
                HasSubstr("tw_7.email: 2 e-mails are not converted, although the table already has "
                          "the column ishtml; a repeat converts none "
                          "(SiteContentStep_1_0043)\n  ALTER TABLE tw_7.email DROP COLUMN "
                          "ishtml;\n"));
    const Outcome repaired = Run({"upgrade-site", "7", "--repair"});
    EXPECT_EQ(repaired.status, 0) << repaired.err;
    EXPECT_EQ(Cell("SELECT GROUP_CONCAT(fromlist ORDER BY emailid) FROM tw_7.email WHERE emailid < "
                   "4;"),
              "a &lt;a@a.example&gt;,b &lt;b@b.example&gt;,c &lt;c@c.example&gt;");
    EXPECT_EQ(Groups(), "3");
}

TEST_F(Resume, WhatOnlyAPersonCanTellKeepsTheRunFromBeginning) {
    MakeShop(7);
    EndIn("tw_7.charge", {"upgrade-site", "7"}, End::kKilled);
    Execute("UPDATE tw_7.chargegroup SET name = 'By hand';");
    for (const auto& words : {std::vector<std::string>{"upgrade-site", "7"},
                              std::vector<std::string>{"upgrade-site", "7", "--repair"}}) {
        const Outcome refused = Run(words);
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.err, HasSubstr("hint: compare by hand"));
    }
    const Outcome repair = Run({"repair", "--apply"});
    EXPECT_EQ(repair.status, 3);
    EXPECT_THAT(repair.out, HasSubstr("1 place to compare by hand"));
    EXPECT_EQ(Cell("SELECT name FROM tw_7.chargegroup;"), "By hand");
    // As the manual has it, once the rest is converted by hand too.
    Execute(
        "UPDATE tw_7.twupdate_progress SET ended = NOW() WHERE step = 'SiteContentStep_1_0007';");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(Cell("SELECT name FROM tw_7.chargegroup;"), "By hand");
    EXPECT_EQ(Groups(), "1");
}

TEST_F(Resume, ChargesThatWereCorrectedMeanwhileAreConvertedAsTheyAreNow) {
    MakeShop(7);
    EndIn("tw_7.charge", {"upgrade-site", "7"}, End::kKilled);
    Execute("UPDATE tw_7.charge SET name = 'Letter' WHERE chargeid = 1;");
    const Outcome repaired = Run({"upgrade-site", "7", "--repair"});
    EXPECT_EQ(repaired.status, 0) << repaired.err;
    EXPECT_THAT(repaired.out, HasSubstr("repaired: tw_7.chargegroup: 1 group of an unfinished "
                                        "conversion; charges were changed since, so the groups "
                                        "stay in chargegroup_kept and so on; "));
    EXPECT_EQ(Cell("SELECT GROUP_CONCAT(name ORDER BY groupid) FROM tw_7.chargegroup;"),
              "Letter,Wrap,Ins");
    EXPECT_EQ(Cell("SELECT name FROM tw_7.chargegroup_kept;"), "Post");
    EXPECT_EQ(Run({"repair"}).status, 0);
}

TEST_F(Resume, TheStartMarksOfTheCentralDatabaseAreSet) {
    for (const std::int32_t site : {7, 8, 9}) {
        MakeSite(site);
        Execute(fmt::format("INSERT INTO tw_tarnwick.domain(siteid, domainname) VALUES({}, 'd');",
                            site));
    }
    EndIn("tw_tarnwick.site", {"upgrade"}, End::kConnectionLost);
    const Outcome refused = Run({"upgrade"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, AllOf(HasSubstr("ServerStep_1_0074 was interrupted: tw_tarnwick.site: "
                                             "3 sites with a domain without the start mark"),
                                   HasSubstr("run twupdate repair --apply first")));
    EXPECT_EQ(Run({"upgrade", "--repair"}).status, 0);
    EXPECT_EQ(Cell("SELECT SUM(serverstarted) FROM tw_tarnwick.site;"), "-3");
    EXPECT_EQ(Tables("tw_tarnwick"), "0");
}

TEST_F(Resume, TheCopiesInAnImportedSiteHaveMarksOfTheirOwn) {
    MakeShop(7);
    for (const char* table :
         {"installation", "account", "accountinvoice", "accountpayment", "chargingplan",
          "chargingplanusageband", "component", "domain", "site"}) {
        Execute(fmt::format("CREATE TABLE tw_7.tw_{0} LIKE tw_tarnwick.{0};", table));
    }
    Execute("INSERT INTO tw_7.tw_installation(version) VALUES(1.0000);");
    Execute("INSERT INTO tw_7.tw_site(siteid) VALUES(1), (2);");
    Execute("INSERT INTO tw_7.tw_domain(siteid, domainname) VALUES(1, 'd'), (2, 'e');");
    EndIn("tw_7.layoutelement", {"upgrade-site", "7"}, End::kKilled);
    EXPECT_EQ(EndIn("tw_7.tw_site", {"import-master-data", "7"}, End::kConnectionLost).status, 7);
    const Outcome refused = Run({"import-master-data", "7"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("tw_7.tw_site: 2 sites with a domain without"));
    EXPECT_EQ(Run({"import-master-data", "7", "--repair"}).status, 0);
    EXPECT_EQ(Cell("SELECT SUM(serverstarted) FROM tw_7.tw_site;"), "-2");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(Groups(), "3");
    EXPECT_EQ(Tables("tw_7"), "0");
}

// --- the table of marks --------------------------------------------------------------------------

TEST_F(Resume, AnAccountThatMayNotCreateTheTableLearnsThatBeforeTheRun) {
    MakeShop(7);
    Execute("CREATE OR REPLACE USER 'limited'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON tw_tarnwick.* TO 'limited'@'localhost';");
    Execute(
        "GRANT SELECT, INSERT, UPDATE, DELETE, ALTER, INDEX, DROP ON tw_7.* TO "
        "'limited'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    const std::string before = StateOf("tw_7") + StateOf("tw_tarnwick");
    for (const auto& words :
         {std::vector<std::string>{"upgrade"}, std::vector<std::string>{"upgrade-site", "7"}}) {
        std::vector<std::string> arguments{"--socket",        socket,         "--user", "limited",
                                           "--no-site-files", "--no-services"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const Outcome outcome = RunProgram(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err,
                    ContainsRegex("cannot create the table tw_7.twupdate_progress, .*: "
                                  "CREATE command denied .*; nothing was done\n"
                                  "twupdate: hint: grant CREATE on tw_7\n"));
    }
    EXPECT_EQ(StateOf("tw_7") + StateOf("tw_tarnwick"), before);
}

TEST_F(Resume, TheMarksCostAtMostTwentyStatementsASite) {
    const auto questions = [] {
        return std::stol(
            Cell("SELECT variable_value FROM information_schema.global_status WHERE "
                 "variable_name = 'QUESTIONS';"));
    };
    // Statements of the program beside those of the component.
    const auto own = [&](const std::vector<std::int32_t>& sites) {
        for (const std::int32_t site : sites) {
            MakeSite(site);
        }
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0264;");
        const long before = questions();
        const Outcome outcome = Run({"--json", "upgrade", "--jobs", "1"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return questions() - before - outcome.Json()["statements"].get<long>();
    };
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const long of1 = own({1});
    const long of3 = own({2, 3, 4});
    EXPECT_LE(of3 - of1, 2 * 20);
    EXPECT_GE(of3 - of1, 2 * 12);  // five steps with two marks each, the table and its end
}

TEST_F(Resume, ASiteThatHasSuchStepsBehindItGetsNoTable) {
    MakeUpgradedSite(7, "1.0262");
    Execute(
        "CREATE TRIGGER tw_tarnwick.wait BEFORE UPDATE ON tw_tarnwick.site FOR EACH ROW SET "
        "@tables = (SELECT COUNT(*) FROM information_schema.tables WHERE table_name = "
        "'twupdate_progress'), NEW.sitename = @tables;");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(Cell("SELECT sitename FROM tw_tarnwick.site WHERE siteid = 7;"), "0");
}

}  // namespace
}  // namespace twupdate::test
