#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class ChosenSites : public InstallationTest {
  protected:
    void MakeFourSites() { MakeSmallSites({7, 8, 9, 10}); }

    static void SetVersion(std::int32_t siteId, const std::string& version) {
        Execute(fmt::format("UPDATE tw_tarnwick.site SET version = {} WHERE siteid = {};", version,
                            siteId));
    }

    static void SetInstallationVersion(const std::string& version) {
        Execute("UPDATE tw_tarnwick.installation SET version = " + version + ";");
    }

    /// Of the sites 7 to 10.
    static std::string Versions() {
        return Cell(
            "SELECT GROUP_CONCAT(COALESCE(version, 'NULL') ORDER BY siteid SEPARATOR ' ') FROM "
            "tw_tarnwick.site WHERE siteid BETWEEN 7 AND 10;");
    }

    static void DropAll(const std::vector<std::string>& databases) {
        for (const std::string& database : databases) {
            Execute("DROP DATABASE IF EXISTS " + database + ";");
        }
    }

    /// A version that nobody knows.
    static void ForgetVersion(std::int32_t siteId) {
        Execute("ALTER TABLE tw_tarnwick.site MODIFY version DOUBLE NULL;");
        SetVersion(siteId, "NULL");
    }

    /// Gives a site of MakeSiteThatFails what its step needs.
    static void Repair(std::int32_t siteId) {
        Execute(fmt::format("DROP VIEW tw_{}.formtemplateinstance;", siteId));
        Execute(fmt::format("CREATE TABLE tw_{}.formtemplateinstance(featureid INT);", siteId));
    }
};

// --- upgrade-site of several --------------------------------------------------------------------

TEST_F(ChosenSites, SeveralEndAsEachWouldAlone) {
    const auto make = [&] {
        DropAll({"tw_tarnwick", "tw_logs", "tw_7", "tw_8"});
        MakeCentralDatabase();
        MakeSite(7, "1.0000", sample::AllGroups());
        MakeSite(8);
    };
    make();
    ASSERT_EQ(Run({"upgrade-site", "7"}).status, 0);
    ASSERT_EQ(Run({"upgrade-site", "8"}).status, 0);
    const std::string seven = StateOf("tw_7");
    const std::string eight = StateOf("tw_8");
    const std::string central = StateOf("tw_tarnwick");
    for (const char* jobs : {"1", "2"}) {
        SCOPED_TRACE(jobs);
        make();
        const Outcome outcome = Run({"--json", "upgrade-site", "8", "7", "--jobs", jobs});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.Json()["command"], "upgrade-site");
        EXPECT_EQ(outcome.Json()["result"], "done");
        EXPECT_EQ(outcome.Json()["sites"], 2);
        EXPECT_EQ(StateOf("tw_7"), seven);
        EXPECT_EQ(StateOf("tw_8"), eight);
        EXPECT_EQ(StateOf("tw_tarnwick"), central);
    }
}

TEST_F(ChosenSites, TheOthersStayAsTheyAre) {
    MakeFourSites();
    SetVersion(9, kCurrentStored);
    const Outcome outcome = Run({"upgrade-site", "9", "7", "10"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("Site 9 is at " + kCurrentShown + " already.\n"),
                                   HasSubstr("Upgrading 2 sites to " + kCurrentShown + ".\n")));
    EXPECT_EQ(Versions(), fmt::format("{0} 1.0262 {0} {0}", kCurrentStored));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    const Outcome again = Run({"--json", "upgrade-site", "7", "9"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.Json()["result"], "nothing to do");
    EXPECT_EQ(again.Json()["command"], "upgrade-site");
}

TEST_F(ChosenSites, AllOldOnesOfACurrentInstallationTakeOneCommand) {
    MakeFourSites();
    SetInstallationVersion(kCurrentStored);
    Execute("UPDATE tw_tarnwick.site SET transaction = -1 WHERE siteid = 10;");
    EXPECT_THAT(Run({"upgrade"}).err,
                AllOf(HasSubstr("3 sites are older than the installation (the first is site 7)"),
                      HasSubstr("hint: run upgrade-site --all-old\n")));
    const Outcome outcome = Run({"upgrade-site", "--all-old", "--jobs", "2"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("warning: left out, in transaction: 1 site (10)"));
    EXPECT_EQ(Versions(), fmt::format("{0} {0} {0} 1.0262", kCurrentStored));
    const Outcome again = Run({"upgrade-site", "--all-old"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_THAT(again.out, HasSubstr("No site is to be upgraded; nothing was done.\n"));
}

TEST_F(ChosenSites, OneThatCannotBeUpgradedIsRefusedOrLeftOut) {
    MakeFourSites();
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 8;");
    ForgetVersion(9);
    SetVersion(10, "1.5");
    MakeSmallSite(11);
    Execute("DROP DATABASE tw_11;");
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"upgrade-site", "7", "8", "9", "10", "11", "12"},
          std::vector<std::string>{"upgrade", "--site", "7", "8", "9", "10", "--site", "11",
                                   "12"}}) {
        SCOPED_TRACE(command.front());
        const Outcome refused = Run(command);
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.err,
                  "twupdate: site 8: it is hard-deleted, so it cannot be upgraded; site 9: its "
                  "version in tw_tarnwick.site is NULL; site 10: it is at 1.5000, newer than the " +
                      kCurrentShown +
                      " that this program knows; site 12: it is not in tw_tarnwick.site; site 11: "
                      "no database that this account can see; nothing was done\n"
                      "twupdate: hint: set it to the version of its layout (0 runs every step)\n");
        EXPECT_EQ(SiteVersion(7), "1.0262");
    }
    const Outcome outcome =
        Run({"--json", "upgrade-site", "7", "8", "9", "10", "11", "12", "--keep-going"});
    EXPECT_EQ(outcome.status, 6) << outcome.err;
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("warning: left out, site 12: it is not in tw_tarnwick.site\n"),
                      HasSubstr("5 sites failed; all other sites of the run are done\n")));
    EXPECT_EQ(outcome.Json()["failed_sites"].size(), 5U);
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

TEST_F(ChosenSites, TheRestIsDoneIfSomeFail) {
    MakeFourSites();
    MakeSiteThatFails(11);
    MakeSiteThatFails(12);
    const auto backup = (folder_ / "backup").string();
    const std::vector<std::string> command{"--json",       "--backup",  backup,
                                           "upgrade-site", "--all-old", "--keep-going"};
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 6) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("twupdate: 2 sites: SiteSchemaStep_1_0264, 1347 "));
    EXPECT_EQ(outcome.Json()["failures"][0]["sites"], nlohmann::json({11, 12}));
    EXPECT_EQ(Versions(), fmt::format("{0} {0} {0} {0}", kCurrentStored));
    Repair(11);
    Repair(12);
    const Outcome again = Run(command);
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.Json()["sites"], 2);
    EXPECT_EQ(again.Json()["backup"], outcome.Json()["backup"]);
    EXPECT_EQ(SiteVersion(12), kCurrentStored);
}

TEST_F(ChosenSites, TheFirstThatFailsEndsTheRunUnlessOthersMayFail) {
    MakeFourSites();
    MakeSiteThatFails(11);
    SetVersion(7, "1.0264");  // less to do: the last
    const Outcome outcome = Run({"--json", "upgrade-site", "11", "7", "--jobs", "1"});
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(outcome.Json()["error"]["database"], "tw_11");
    EXPECT_EQ(SiteVersion(7), "1.0264");
    EXPECT_EQ(Run({"upgrade-site", "11", "7", "--max-failures", "50%"}).status, 6);
    EXPECT_EQ(SiteVersion(7), kCurrentStored);
}

TEST_F(ChosenSites, KeepTheRulesOfARun) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000", sample::AllGroups());
    MakeSite(8);
    Execute("INSERT INTO tw_7.commission(orderid) VALUES(5);");
    EXPECT_THAT(Run({"upgrade-site", "8", "7"}).err,
                HasSubstr("upgrade the central database first; nothing was done"));
    Execute("DELETE FROM tw_7.commission;");
    {
        const auto other = Application();
        other->Query("SELECT GET_LOCK('twupdate.run', 0);");
        EXPECT_EQ(Run({"upgrade-site", "7", "8"}).status, 4);
        EXPECT_EQ(Run({"upgrade", "--site", "7"}).status, 4);
    }
    Execute(
        "CREATE TABLE tw_7.twupdate_progress(step VARCHAR(100) NOT NULL PRIMARY KEY, began "
        "DATETIME NOT NULL, ended DATETIME NULL);");
    Execute("INSERT INTO tw_7.twupdate_progress VALUES('SiteContentStep_1_0043', NOW(), NULL);");
    Execute("ALTER TABLE tw_7.email ADD ishtml INT DEFAULT 0 NOT NULL;");
    Execute("DELETE FROM tw_7.email;");
    Execute(
        "INSERT INTO tw_7.email(emailid, fromlist, subject) VALUES(1, 'a <a@a.example>', 's');");
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"upgrade-site", "7", "8"},
          std::vector<std::string>{"upgrade", "--site", "8", "7"}}) {
        const Outcome refused = Run(command);
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.err, AllOf(HasSubstr("SiteContentStep_1_0043 was interrupted: "),
                                       HasSubstr("; nothing was done\n")));
        EXPECT_EQ(SiteVersion(8), "1");
    }
    EXPECT_EQ(Run({"upgrade-site", "7", "8", "--keep-going"}).status, 6);
    EXPECT_EQ(SiteVersion(8), kCurrentStored);
}

TEST_F(ChosenSites, AreNamedOnceAndWithoutContradictions) {
    const auto expectUsageError = [](const std::vector<std::string>& words,
                                     const std::string& text) {
        const Outcome outcome = RunProgram(words);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr(text));
    };
    expectUsageError({"upgrade-site", "7", "8", "07"}, "twupdate: site 7 is named twice\n");
    expectUsageError({"upgrade", "--site", "7", "--site", "7"}, "site 7 is named twice\n");
    expectUsageError({"upgrade-site", "7", "--all-old"}, "excludes");
    expectUsageError({"upgrade", "--site", "7", "--central-only"}, "excludes");
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"upgrade-site", "7", "8", "--from", "1.0"},
          std::vector<std::string>{"upgrade-site", "7", "8", "--no-record"},
          std::vector<std::string>{"upgrade-site", "--all-old", "--no-record"},
          std::vector<std::string>{"upgrade-site", "7", "--from", "1.0", "--keep-going"}}) {
        expectUsageError(words, "--from and --no-record are for a single site");
    }
}

// --- parts of an upgrade ------------------------------------------------------------------------

TEST_F(ChosenSites, AfterTheCentralDatabaseEndLikeAWholeUpgradeOnceTheLastIsDone) {
    const auto make = [&] {
        DropAll({"tw_tarnwick", "tw_logs", "tw_7", "tw_8"});
        MakeCentralDatabase();
        MakeSite(7);
        MakeSite(8);
    };
    make();
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const std::string seven = StateOf("tw_7");
    const std::string eight = StateOf("tw_8");
    const std::string central = StateOf("tw_tarnwick");
    make();
    const auto events = (folder_ / "events").string();
    const Outcome first = Run({"--json", "--events", events, "upgrade", "--site", "7"});
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.Json()["command"], "upgrade");
    EXPECT_EQ(first.Json()["result"], "done");
    EXPECT_EQ(first.Json()["sites"], 1);
    EXPECT_EQ(first.Json()["older_sites"], 1);
    EXPECT_EQ(SiteVersion(7) + " " + SiteVersion(8), std::string(kCurrentStored) + " 1");
    EXPECT_EQ(InstallationVersion(), "1");
    EXPECT_EQ(StateOf("tw_7"), seven);
    EXPECT_THAT(ContentOf(events),
                AllOf(HasSubstr("\"event\":\"run-finished\""),
                      HasSubstr("\"command\":\"upgrade --site\""), Not(HasSubstr("tw_8"))));
    EXPECT_EQ(Run({"report", "--events", events, (folder_ / "page").string()}).status, 0);
    const Outcome second = Run({"--json", "upgrade", "--site", "8"});
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_FALSE(second.Json().contains("older_sites"));
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    EXPECT_EQ(StateOf("tw_8"), eight);
    EXPECT_EQ(StateOf("tw_tarnwick"), central);
    EXPECT_THAT(Run({"status"}).out, HasSubstr("Total: 0 of 2 sites old; 0 central steps"));
}

TEST_F(ChosenSites, MayBeNoneButTheCentralDatabase) {
    MakeFourSites();
    const std::string site = StateOf("tw_7");
    const auto trace = (folder_ / "trace").string();
    const Outcome outcome = Run({"--trace", trace, "upgrade", "--central-only"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(
        outcome.out,
        AllOf(HasSubstr("Upgrading the central database from 1.0262 to " + kCurrentShown + ".\n"),
              HasSubstr("The installation stays at 1.0262, because 4 sites are older (7, 8, 9, "
                        "10); run upgrade for them.\n")));
    const std::string calls = ContentOf(trace);
    EXPECT_THAT(calls, HasSubstr("INSERT INTO tw_tarnwick.component("));
    EXPECT_THAT(calls, AllOf(Not(HasSubstr("SiteSchemaStep")), Not(HasSubstr("version = ?"))));
    EXPECT_EQ(Versions(), "1.0262 1.0262 1.0262 1.0262");
    EXPECT_EQ(InstallationVersion(), "1.0262");
    EXPECT_EQ(StateOf("tw_7"), site);
    EXPECT_EQ(Run({"upgrade-site", "--all-old"}).status, 0);
    EXPECT_EQ(InstallationVersion(), "1.0262");
    // Without an older site nothing is left to wait for.
    EXPECT_EQ(Run({"upgrade", "--central-only"}).status, 0);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    EXPECT_THAT(Run({"upgrade", "--central-only"}).out, HasSubstr("already; nothing was done."));
}

TEST_F(ChosenSites, LeaveTheVersionOfTheInstallationToTheLastSite) {
    MakeFourSites();
    MakeSiteThatFails(11);
    Execute("UPDATE tw_tarnwick.site SET transaction = -1 WHERE siteid = 8;");
    ForgetVersion(9);
    const Outcome outcome =
        Run({"--json", "upgrade", "--jobs", "2", "--keep-going", "--site", "7", "11"});
    EXPECT_EQ(outcome.status, 6) << outcome.err;
    EXPECT_EQ(Versions(), fmt::format("{} 1.0262 NULL 1.0262", kCurrentStored));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    Repair(11);
    EXPECT_EQ(Run({"--json", "upgrade", "--site", "10", "11"}).Json()["older_sites"], 1);
    EXPECT_EQ(InstallationVersion(), "1.0262");  // the version of site 9 is not known
    SetVersion(9, "1.0262");
    // The one in transaction waits for nobody, as in a whole upgrade.
    EXPECT_EQ(Run({"upgrade", "--site", "9"}).status, 0);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    EXPECT_EQ(SiteVersion(8), "1.0262");
}

TEST_F(ChosenSites, NeedNoUpgradeOfACurrentCentralDatabase) {
    MakeFourSites();
    SetInstallationVersion(kCurrentStored);
    const Outcome outcome = Run({"--json", "upgrade", "--site", "8"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.Json()["databases"], 1);
    EXPECT_EQ(Versions(), fmt::format("1.0262 {} 1.0262 1.0262", kCurrentStored));
    EXPECT_EQ(Run({"--json", "upgrade", "--site", "8"}).Json()["result"], "nothing to do");
}

}  // namespace
}  // namespace twupdate::test
