// The whole upgrade of whole installations: what it changes, what it leaves alone, how it resumes.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <regex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "known_harms.h"
#include "sample/random.h"
#include "sample_installation.h"
#include "support/expected_file.h"
#include "support/given_numbers.h"
#include "support/trials.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::size_t CountStarting(const std::vector<std::string>& log, const std::string& beginning) {
    return static_cast<std::size_t>(
        std::count_if(log.begin(), log.end(),
                      [&](const std::string& line) { return line.starts_with(beginning); }));
}

class EndToEnd : public SampleTest {
  protected:
    /// An installation of the given sites, made like those of the sample maker.
    void Make(const std::vector<sample::SitePlan>& sites, std::int32_t rows) {
        const auto options = Options(0, rows);
        sample::WriteFiles(options, sites);
        sample::MakeCentral(Host(), options, sites);
        for (const auto& site : sites) {
            sample::MakeSite(Host(), options, site);
        }
    }
    static sample::SitePlan Site(std::int32_t siteId, Groups groups) {
        sample::SitePlan plan;
        plan.siteId = siteId;
        plan.groups = std::move(groups);
        return plan;
    }
    /// The changes that a file of the folder `expected` lists.
    ExpectedLines Expected(const std::string& file) {
        return ExpectedLines(
            std::string(TWUPDATE_TEST_FOLDER) + "/expected/" + file,
            {{"{name}", Cell("SELECT sitename FROM tw_tarnwick.site WHERE siteid = 1")},
             {"{current}", kCurrentStored}});
    }
    /// What changed; new rows of the given tables have no number in it.
    static std::vector<std::string> Unnumbered(const RowSnapshot& before, const RowSnapshot& after,
                                               const std::string& tables) {
        const std::regex number("^\\+ (" + tables + ") \\d+:");
        std::vector<std::string> changes;
        for (const std::string& line : Changes(before, after)) {
            changes.push_back(std::regex_replace(line, number, "+ $1 *:"));
        }
        return changes;
    }

    /// What the whole upgrade of an installation with site 1 changes, worked out by hand.
    void ExpectTheWholeRoad(const State& before, const State& after) {
        EXPECT_TRUE(Expected("whole_road_site.txt")
                        .Are(Unnumbered(before.rows.at("tw_1"), after.rows.at("tw_1"),
                                        "attribute|setting")));

        RowSnapshot centralBefore = before.rows.at("tw_tarnwick");
        RowSnapshot centralAfter = after.rows.at("tw_tarnwick");
        for (auto* snapshot : {&centralBefore, &centralAfter}) {
            snapshot->tables.erase("component");
            snapshot->tables.erase("componenttype");
        }
        EXPECT_TRUE(Expected("whole_road_central.txt").Are(Changes(centralBefore, centralAfter)));
        EXPECT_TRUE(SameRows(before.rows.at("tw_logs"), after.rows.at("tw_logs")));
    }
};

TEST_F(EndToEnd, TheWholeUpgradeChangesTheseRowsAndNoOthers) {
    Make({Site(1, sample::AllGroups())}, 0);
    const State before = StateOfAll();
    UpgradeInstallation();
    ExpectTheWholeRoad(before, StateOfAll());
}

TEST_F(EndToEnd, TheProgramMakesTheSameChanges) {
    Make({Site(1, sample::AllGroups())}, 0);
    const State before = StateOfAll();
    const std::string command = std::string(TWUPDATE_PROGRAM) + " --socket '" +
                                Server().Socket().string() + "' --user root --install-folder '" +
                                InstallFolder().string() + "' --quiet --services-log '" +
                                (Root() / "services").string() + "' upgrade";
    ASSERT_EQ(0, std::system(command.c_str())) << command;
    ExpectTheWholeRoad(before, StateOfAll());
    EXPECT_EQ(kCurrentStored, Cell("SELECT version FROM tw_tarnwick.installation"));
    EXPECT_EQ(kCurrentStored, Cell("SELECT version FROM tw_tarnwick.site"));
    EXPECT_EQ(0, std::system((command + " >/dev/null").c_str()));  // nothing is left to do
    ExpectTheWholeRoad(before, StateOfAll());
}

TEST_F(EndToEnd, AnInstallationInLatin1IsUpgradedAlikeButForLengthsInBytes) {
    Sql("SET SESSION character_set_server = latin1, collation_server = latin1_swedish_ci;");
    Make({Site(1, sample::AllGroups())}, 0);
    ASSERT_EQ("latin1", Cell("SELECT DEFAULT_CHARACTER_SET_NAME FROM information_schema.SCHEMATA "
                             "WHERE SCHEMA_NAME = 'tw_1'"));
    const auto before = RowsOf("tw_1");
    UpgradeInstallation();
    auto expected = Expected("whole_road_site.txt").Lines();
    for (std::string& line : expected) {
        if (line.starts_with("formfieldexpressionfield 3:")) {
            line = std::regex_replace(line, std::regex("-> 8, suffixlen \\(new\\) -> 4"),
                                      "-> 6, suffixlen (new) -> 2");
        }
    }
    EXPECT_THAT(Unnumbered(before, RowsOf("tw_1"), "attribute|setting"),
                testing::UnorderedElementsAreArray(expected));
}

TEST_F(EndToEnd, TheWholeUpgradeCopiesTheseFiles) {
    Make({Site(1, sample::AllGroups())}, 0);
    UpgradeInstallation();
    // the template, its scripts, the mail test and the server manager
    EXPECT_EQ(ReadFile("templates/site/default.htm"), ReadFile("wwwroot/sites/1/default.htm"));
    EXPECT_EQ(ReadFile("templates/site/gs/rss.asp"), ReadFile("wwwroot/sites/1/gs/rss.asp"));
    EXPECT_EQ(ReadFile("templates/site/EmailTest/test.htm"),
              ReadFile("wwwroot/sites/1/EmailTest/test.htm"));
    EXPECT_EQ(ReadFile("templates/site/ServerManager/default.asp"),
              ReadFile("wwwroot/sites/1/ServerManager/default.asp"));
    // templates of components 300 (page 10), 900 (pages 18 and 21) and of the forms (7 and 8)
    EXPECT_EQ("<% ' search %>\r\n", ReadFile("wwwroot/sites/1/10/default.asp"));
    EXPECT_EQ("<% ' recordlist %>\r\n", ReadFile("wwwroot/sites/1/18/default.asp"));
    EXPECT_EQ("<% ' recordlist %>\r\n", ReadFile("wwwroot/sites/1/21/default.asp"));
    EXPECT_EQ("<% ' form %>\r\n", ReadFile("wwwroot/sites/1/7/default.asp"));
    EXPECT_EQ("<% ' form %>\r\n", ReadFile("wwwroot/sites/1/8/default.asp"));
    // page 9 has no folder, and the other pages' components are not copied
    for (const char* path : {"9", "6/default.asp", "19/default.asp"}) {
        EXPECT_FALSE(std::filesystem::exists(Root() / "wwwroot/sites/1" / path)) << path;
    }
    EXPECT_EQ("User-agent: *\r\nDisallow: /search\r\nDisallow: /login\r\n",
              ReadFile("wwwroot/sites/1/robots.txt"));
}

TEST_F(EndToEnd, SitesOfEveryAgeEndInTheSameSchema) {
    sample::MakeInstallation(Host(), Options(10, 30));
    const State before = StateOfAll();
    UpgradeInstallation();
    const State after = StateOfAll();

    EXPECT_THAT(
        Rows("SELECT siteid, version FROM tw_tarnwick.site ORDER BY siteid"),
        ElementsAre("1 | " + kCurrentStored, "2 | " + kCurrentStored, "3 | " + kCurrentStored,
                    "4 | 1.006", "5 | 1.009", "6 | " + kCurrentStored, "7 | " + kCurrentStored,
                    "8 | " + kCurrentStored, "9 | " + kCurrentStored, "10 | " + kCurrentStored));
    EXPECT_EQ(kCurrentStored, Cell("SELECT version FROM tw_tarnwick.installation"));

    // all features: from 1.0000, 1.0210 and 1.0250
    EXPECT_TRUE(SameSchema(after.schemas.at("tw_1"), after.schemas.at("tw_3")));
    EXPECT_TRUE(SameSchema(after.schemas.at("tw_1"), after.schemas.at("tw_8")));
    // every table of a site with fewer features is like that of the full site; only the order of
    // columns may differ where the site came up in stages
    const auto sorted = [](Schema::Table table) {
        std::sort(table.columns.begin(), table.columns.end());
        return table;
    };
    for (const char* site : {"tw_2", "tw_6", "tw_7", "tw_9", "tw_10"}) {
        for (const auto& [name, table] : after.schemas.at(site).tables) {
            ASSERT_TRUE(after.schemas.at("tw_1").tables.contains(name)) << site << " " << name;
            EXPECT_TRUE(SameSchema({{{name, sorted(after.schemas.at("tw_1").tables.at(name))}}},
                                   {{{name, sorted(table)}}}))
                << site;
        }
    }
    // hard-deleted, in transaction, current: not touched at all
    for (const char* site : {"tw_4", "tw_5", "tw_9"}) {
        EXPECT_TRUE(SameSchema(before.schemas.at(site), after.schemas.at(site))) << site;
        EXPECT_TRUE(SameRows(before.rows.at(site), after.rows.at(site))) << site;
    }
}

TEST_F(EndToEnd, ASiteInterruptedBetweenItsLaddersGetsItsAddressesMerged) {
    sample::MakeInstallation(Host(), Options(2, 0));
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT orderid, billingaddress, shippingaddress FROM tw_2.customerorder "
                     "ORDER BY orderid"),
                ElementsAre("1 | Hafenstraße 12, Hamburg | Hafenstraße 12, Hamburg",
                            "2 | Test | 1 Test Lane", "3 | 2 Pier Road, O'Brien's | Back door"));
    EXPECT_THAT(Rows("SELECT userid, address FROM tw_2.security ORDER BY userid"),
                ElementsAre("1 | 1 Quay Street, Whitby", "2 | 2 Pier Road, Flat 3",
                            "3 | Hafenstraße 12, Hamburg"));
    EXPECT_THAT(Rows("SELECT formtemplatefieldid, prefix, prefixlen, suffix, suffixlen FROM "
                     "tw_2.formtemplatefield WHERE prefix <> '' ORDER BY formtemplatefieldid"),
                ElementsAre("1 | ab|~|c | 3 | |~| | 0", "2 | Größe:  | 9 |  | 0"));
}

TEST_F(EndToEnd, LookupFeedsMoveToTheirOwnTables) {
    sample::MakeInstallation(Host(), Options(3, 0));
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT featureid, url, sequence FROM tw_3.externallookupfeedurl "
                     "ORDER BY sequence"),
                ElementsAre("16 | http://lookup.example/find?a=1&b=2 | 1",
                            "16 | http://lookup2.example/find | 2"));
    EXPECT_THAT(Rows("SELECT name, type, textvalue, longvalue, sequence FROM "
                     "tw_3.externallookupfeedparam ORDER BY type, sequence, name"),
                ElementsAre("country | 0 | GB | 0 | 1", "key | 0 | it's \"secret\" | 0 | 2",
                            "name | 1 |  | 0 | 999", "street | 1 |  | 0 | 999"));
    EXPECT_THAT(Rows("SELECT fieldid, featureid, formfieldid FROM tw_3.externallookupfeedfield "
                     "ORDER BY fieldid"),
                ElementsAre("1 | 16 | 1", "4 | 16 | 0", "5 | 16 | 14"));
}

TEST_F(EndToEnd, ASecondUpgradeChangesNothing) {
    sample::MakeInstallation(Host(), Options(5, 30));
    UpgradeInstallation();
    const State first = StateOfAll();
    const auto faulty = Faulty();
    UpgradeInstallation(faulty);
    EXPECT_THAT(faulty->Log(), IsEmpty());
    EXPECT_TRUE(SameState(first, StateOfAll()));
}

TEST_F(EndToEnd, ASecondRunOfEveryStepChangesNothingOnASiteWithoutChargesAndFeeds) {
    Groups groups = sample::AllGroups();
    groups.erase(Group::kCharges);  // converted again by every run, as they are meant to be
    groups.erase(Group::kFeeds);    // their parameters are recreated by every run
    Make({Site(1, groups)}, 60);
    UpgradeInstallation();
    const State first = StateOfAll();
    SetInstallationVersion(1.0);
    SetSiteVersion(1, 1.0);
    UpgradeInstallation();
    EXPECT_TRUE(SameState(first, StateOfAll()));
}

// --- the walk over the sites -------------------------------------------------------------------

class Walk : public EndToEnd, public testing::WithParamInterface<int> {};

TEST_P(Walk, VisitsEverySiteOnceInBatchesOfThirty) {
    const int sites = GetParam();
    LoadLogs(1);  // a step of the central database looks into it
    LoadCentral(1.0263);
    // at 1.0262 a site lacks one table, whose step asks for no other
    for (int i = 1; i <= sites; ++i) {
        const std::string id = std::to_string(i * 3);
        Sql("CREATE DATABASE tw_" + id + "; INSERT INTO tw_tarnwick.site(siteid, version) VALUES(" +
            id + ", 1.0262);");
    }
    const auto faulty = Faulty();
    UpgradeInstallation(faulty);
    EXPECT_EQ(static_cast<std::size_t>(sites / 30 + 1),
              CountStarting(faulty->Log(), "SELECT siteid, version FROM tw_tarnwick.site"));
    EXPECT_EQ(static_cast<std::size_t>(sites),
              CountStarting(faulty->Log(), "UPDATE tw_tarnwick.site SET version = ?"));
    std::vector<std::string> visited;
    for (const std::string& line : faulty->Log()) {
        if (const auto at = line.find(".htmlcache"); at != std::string::npos) {
            visited.push_back(line.substr(0, at));
        }
    }
    std::vector<std::string> expected;
    for (int i = 1; i <= sites; ++i) {
        expected.push_back("CREATE TABLE IF NOT EXISTS tw_" + std::to_string(i * 3));
    }
    EXPECT_EQ(expected, visited);
    EXPECT_EQ(std::to_string(sites),
              Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version = " + kCurrentStored));
}

INSTANTIATE_TEST_SUITE_P(Sites, Walk, testing::Values(0, 1, 30, 31, 61),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_F(EndToEnd, ASiteIdBeyondAnIntEndsTheWalkWithAnErrorThatNamesTheColumn) {
    LoadLogs(1);
    LoadCentral(1.0263);
    Sql("CREATE DATABASE tw_5;"
        "INSERT INTO tw_tarnwick.site(siteid, version) VALUES(5, 1.0262), (2147483648, 1.0262);");
    try {
        UpgradeInstallation();
        FAIL() << "no error";
    } catch (const OverflowError& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("siteid"));
    }
    EXPECT_THAT(Rows("SELECT siteid, version FROM tw_tarnwick.site ORDER BY siteid"),
                ElementsAre("5 | " + kCurrentStored, "2147483648 | 1.0262"));
    EXPECT_EQ("1.0263", Cell("SELECT version FROM tw_tarnwick.installation"));
}

TEST_F(EndToEnd, ASiteWhoseVersionIsNullIsNotSelected) {
    LoadLogs(1);
    LoadCentral(1.0263);
    Sql("ALTER TABLE tw_tarnwick.site MODIFY COLUMN version DOUBLE;"
        "INSERT INTO tw_tarnwick.site(siteid, version) VALUES(5, NULL);");
    UpgradeInstallation();
    EXPECT_EQ("NULL", Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = 5"));
}

// --- interruptions
// ------------------------------------------------------------------------------------------

/// Whole installations interrupted at one call and upgraded again.
class Interruptions : public EndToEnd {
  protected:
    /// The sites hold no charges and no lookup feeds: a repeat converts charges again and makes
    /// the parameters of feeds again, so that the end is never that of an undisturbed run.
    void MakeOld() {
        Groups groups = sample::AllGroups();
        groups.erase(Group::kCharges);
        groups.erase(Group::kFeeds);
        Make({Site(1, groups), Site(2, {})}, 10);
    }
    void Recreate() {
        DropDatabases();
        MakeOld();
    }
    /// What has to be the same after a server died in the middle of a statement.
    State StateWithoutGaps() {
        State state = StateOfAll();
        for (const char* site : {"tw_1", "tw_2"}) {
            state.rows.at(site) = WithoutGaps(std::move(state.rows.at(site)));
        }
        return state;
    }
    /// Numbers of calls to interrupt at: all of them, or a few that are spread evenly.
    static std::vector<std::size_t> Chosen(std::size_t calls, std::size_t few) {
        std::vector<std::size_t> chosen;
        const std::size_t count = Soak() ? calls : std::min(few, calls);
        for (std::size_t i = 0; i < count; ++i) {
            chosen.push_back(1 + i * (calls - 1) / std::max<std::size_t>(count - 1, 1));
        }
        return chosen;
    }
};

TEST_F(Interruptions, AnUpgradeThatFailsAtAnyCallIsCompletedByTheNextOne) {
    MakeOld();
    const auto undisturbed = Faulty();
    UpgradeInstallation(undisturbed);
    const State expected = StateOfAll();
    const auto log = undisturbed->Log();

    Trials trials("whole installation: a call fails, and the upgrade runs again");
    std::size_t harmed = 0;
    for (const std::size_t call : Chosen(log.size(), 6)) {
        const std::string& statement = log[call - 1];
        if (IsKnownHarm(statement)) {
            ++harmed;
            continue;
        }
        trials.Next();
        SCOPED_TRACE("interrupted before call " + std::to_string(call) + ": " +
                     statement.substr(0, 200));
        Recreate();
        const auto faulty = Faulty();
        faulty->FailAt(call, FaultyUtility::kBefore);
        EXPECT_THROW(UpgradeInstallation(faulty), InjectedFault);
        EXPECT_NE(kCurrentStored, Cell("SELECT version FROM tw_tarnwick.installation"));
        UpgradeInstallation();
        EXPECT_TRUE(SameState(expected, StateOfAll()));
    }
    std::cout << log.size() << " calls, " << harmed << " skipped as known harm\n";
}

TEST_F(Interruptions, InterruptionsThatAreKnownToHarmDo) {
    MakeOld();
    const auto undisturbed = Faulty();
    UpgradeInstallation(undisturbed);
    const State expected = StateOfAll();
    const auto log = undisturbed->Log();
    for (const Harm& harm : KnownHarms()) {
        SCOPED_TRACE(harm.what);
        const auto found = std::find_if(log.begin(), log.end(), [&](const std::string& statement) {
            return std::regex_search(statement.substr(0, 200), harm.statement);
        });
        ASSERT_NE(log.end(), found);
        Recreate();
        const auto faulty = Faulty();
        faulty->FailAt(static_cast<std::size_t>(found - log.begin()) + 1, FaultyUtility::kBefore);
        EXPECT_THROW(UpgradeInstallation(faulty), InjectedFault);
        bool completes = true;
        try {
            UpgradeInstallation();
        } catch (const HostError&) {
            completes = false;
        }
        EXPECT_FALSE(completes && SameState(expected, StateOfAll()));
    }
}

TEST_F(Interruptions, AServerKilledAtAnyMomentComesBackAndTheNextUpgradeCompletesIt) {
    MakeOld();
    const auto undisturbed = Faulty();
    UpgradeInstallation(undisturbed);
    const State expected = StateOfAll();
    const auto log = undisturbed->Log();

    sample::Random random(7);
    const int kills = Soak() ? 20 : 3;
    Trials trials("whole installation: the server is killed before a call");
    for (int i = 0; i < kills;) {
        const auto call =
            static_cast<std::size_t>(random.Below(static_cast<std::int32_t>(log.size()) - 1)) + 1;
        const auto when = random.Percent(50) ? FaultyUtility::kBefore : FaultyUtility::kAfter;
        // after a call is before the next one
        const std::string& statement = log[when == FaultyUtility::kBefore ? call - 1 : call];
        if (IsKnownHarm(statement)) {
            continue;
        }
        trials.Next();
        SCOPED_TRACE("killed before: " + statement.substr(0, 200));
        Recreate();
        const auto faulty = Faulty();
        faulty->At(call, when, [] { Server().Kill(); });
        EXPECT_THROW(UpgradeInstallation(faulty), HostError);
        Server().Start();
        Reconnect();
        UpgradeInstallation();
        ASSERT_TRUE(SameState(expected, StateOfAll()));
        ++i;
    }
}

TEST_F(Interruptions, AServerKilledInTheMiddleOfAStatementComesBackAndTheNextUpgradeCompletesIt) {
    using std::chrono::milliseconds;
    MakeOld();
    const auto undisturbed = Faulty();
    const auto begin = std::chrono::steady_clock::now();
    UpgradeInstallation(undisturbed);
    const auto duration =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
    const State expected = StateWithoutGaps();
    const auto log = undisturbed->Log();

    sample::Random random(11);
    const int kills = Soak() ? 20 : 2;
    Trials trials("whole installation: the server is killed within a call");
    int done = 0;
    for (int attempt = 0; done < kills && attempt < 10 * kills; ++attempt) {
        Recreate();
        const auto faulty = Faulty();
        const milliseconds wait(random.Below(static_cast<std::int32_t>(duration.count()) + 1));
        std::thread killer([wait] {
            std::this_thread::sleep_for(wait);
            Server().Kill();
        });
        bool failed = false;
        try {
            UpgradeInstallation(faulty);
        } catch (const HostError&) {
            failed = true;
        }
        killer.join();
        Server().Start();
        Reconnect();
        // the last call was interrupted before, after or in the middle of its work
        const std::size_t last = faulty->Calls();
        if (!failed || last >= log.size() || IsKnownHarm(log[last - 1]) || IsKnownHarm(log[last])) {
            continue;
        }
        trials.Next();
        SCOPED_TRACE("killed in or about: " + log[last - 1].substr(0, 200));
        UpgradeInstallation();
        EXPECT_TRUE(SameState(expected, StateWithoutGaps()));
        ++done;
    }
    EXPECT_EQ(kills, done);
}

}  // namespace
}  // namespace twupdate::test
