// The server ladders and the site walk, interrupted at every place and run again.
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <random>
#include <thread>

#include "central_installation.h"
#include "support/trials.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CentralFaults : public CentralTest {
  protected:
    using When = FaultyUtility::When;

    void DropInstallation() {
        Sql("DROP DATABASE IF EXISTS tw_tarnwick; DROP DATABASE IF EXISTS tw_1;"
            "DROP DATABASE IF EXISTS tw_logs;");
    }

    /// Runs the whole upgrade undisturbed; afterwards expected_ and statements_ are known.
    void RunUndisturbed() {
        LoadOldInstallation();
        const auto faulty = Faulty();
        UpgradeInstallation(faulty);
        statements_ = faulty->Log();
        expected_ = State();
    }

    /// Interrupts a fresh upgrade at its n-th statement.
    void InterruptAt(std::size_t n, When when) {
        DropInstallation();
        LoadOldInstallation();
        const auto faulty = Faulty();
        faulty->FailAt(n, when);
        EXPECT_THROW(UpgradeInstallation(faulty), InjectedFault);
        const bool isLastWrite = n == statements_.size() && when == FaultyUtility::kAfter;
        EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"),
                  isLastWrite ? kCurrentStored : "1");
    }

    /// The number of the statement that begins so, from 1.
    std::size_t Number(const std::string& beginning) const {
        for (std::size_t i = 0; i < statements_.size(); ++i) {
            if (statements_[i].starts_with(beginning)) {
                return i + 1;
            }
        }
        ADD_FAILURE() << "no statement begins with " << beginning;
        return 1;
    }

    /// True for the places at which an interruption loses something, each of which has a test of
    /// its own.
    bool IsNamedException(std::size_t n, When when) const {
        const auto within = [&](std::size_t first, std::size_t last) {
            // From the effect of the first statement to just before that of the last.
            return (n > first || (n == first && when == FaultyUtility::kAfter)) &&
                   (n < last || (n == last && when == FaultyUtility::kBefore));
        };
        return within(Number(kAddDoubleTemp), Number(kRenameDoubleTemp)) ||
               within(Number(kAddServerStarted), Number(kLastStartMark)) ||
               within(Number(kInsertSiteDomain), Number(kLinkSiteDomain));
    }

    static constexpr const char* kAddDoubleTemp =
        "ALTER TABLE tw_tarnwick.account ADD COLUMN double_temp";
    static constexpr const char* kDropFloat =
        "ALTER TABLE tw_tarnwick.account DROP COLUMN associatepercentage";
    static constexpr const char* kRenameDoubleTemp =
        "ALTER TABLE tw_tarnwick.account CHANGE COLUMN double_temp";
    static constexpr const char* kAddServerStarted =
        "ALTER TABLE tw_tarnwick.site ADD COLUMN serverstarted";
    static constexpr const char* kLastStartMark =
        "UPDATE tw_tarnwick.site SET serverstarted = -1 WHERE siteid = 3;";
    static constexpr const char* kInsertSiteDomain = "INSERT INTO tw_1.domain";
    static constexpr const char* kLinkSiteDomain = "INSERT INTO tw_1.domaingroup";

    std::vector<std::string> statements_;
    std::string expected_;
};

TEST_F(CentralFaults, AnInterruptionAtAnyStatementIsHealedByTheNextRun) {
    RunUndisturbed();
    // Every place in the long run, a sample of them otherwise.
    const std::size_t stride = Soak() ? 1 : 23;
    Trials trials("central ladders: a statement fails, and the upgrade runs again");
    std::size_t exceptions = 0;
    for (std::size_t place = 0; place < 2 * statements_.size(); place += stride) {
        const std::size_t n = place / 2 + 1;
        const When when = place % 2 == 0 ? FaultyUtility::kBefore : FaultyUtility::kAfter;
        if (IsNamedException(n, when)) {
            ++exceptions;
            continue;
        }
        trials.Next();
        InterruptAt(n, when);
        UpgradeInstallation();
        ASSERT_EQ(State(), expected_)
            << "interrupted " << (when == FaultyUtility::kBefore ? "before " : "after ")
            << statements_[n - 1];
    }
    std::cout << "[ COUNT    ] " << statements_.size() << " statements, " << exceptions
              << " places with tests of their own\n";
}

TEST_F(CentralFaults, AnInterruptionAfterTheTemporaryColumnStopsTheNextRunUntilItIsDropped) {
    RunUndisturbed();
    for (const std::size_t n : {Number(kAddDoubleTemp), Number(kAddDoubleTemp) + 1}) {
        InterruptAt(n, FaultyUtility::kAfter);
        try {
            UpgradeInstallation();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const HostError& error) {
            EXPECT_EQ(error.Code(), 1060U) << error.what();  // duplicate column name
        }
        Sql("ALTER TABLE tw_tarnwick.account DROP COLUMN double_temp;");
        UpgradeInstallation();
        EXPECT_EQ(State(), expected_);
    }
}

TEST_F(CentralFaults, AnInterruptionAfterTheFloatColumnIsGoneLeavesItsValuesInTheTemporaryColumn) {
    RunUndisturbed();
    InterruptAt(Number(kDropFloat), FaultyUtility::kAfter);
    UpgradeInstallation();
    EXPECT_NE(State(), expected_);
    Sql("ALTER TABLE tw_tarnwick.account CHANGE COLUMN double_temp associatepercentage DOUBLE "
        "DEFAULT 0 NOT NULL;");
    EXPECT_EQ(State(), expected_);
}

TEST_F(CentralFaults, AnInterruptionAmongTheStartMarksLeavesTheOthersUnset) {
    RunUndisturbed();
    InterruptAt(Number(kLastStartMark), FaultyUtility::kBefore);
    UpgradeInstallation();
    EXPECT_THAT(
        Rows("SELECT siteid FROM tw_tarnwick.site WHERE serverstarted = -1 ORDER BY siteid"),
        ElementsAre("1", "2"));
    Sql("UPDATE tw_tarnwick.site SET serverstarted = -1 WHERE siteid = 3;");
    EXPECT_EQ(State(), expected_);
}

TEST_F(CentralFaults, AnInterruptionBeforeTheLinkLeavesTheLocalDomainWithoutAGroup) {
    RunUndisturbed();
    InterruptAt(Number(kInsertSiteDomain), FaultyUtility::kAfter);
    UpgradeInstallation();
    EXPECT_THAT(Rows("SELECT * FROM tw_1.domaingroup"), IsEmpty());
    Sql("INSERT INTO tw_1.domaingroup(groupid, domainid) VALUES(2, 2);");
    EXPECT_EQ(State(), expected_);
}

TEST_F(CentralFaults, AServerKilledAtAnyMomentComesBackAndTheNextRunMakesItGood) {
    const auto begin = std::chrono::steady_clock::now();
    RunUndisturbed();
    const auto whole = std::chrono::steady_clock::now() - begin;
    std::mt19937 random(20260718);
    std::size_t interrupted = 0;
    std::size_t repaired = 0;
    const int trials = Soak() ? 60 : 4;
    Trials counted("central ladders: the server is killed, and the upgrade runs again");
    for (int trial = 0; trial < trials; ++trial) {
        counted.Next();
        DropInstallation();
        LoadOldInstallation();
        const auto delay = whole * static_cast<int>(random() % 700) / 1000;
        std::thread killer([&] {
            std::this_thread::sleep_for(delay);
            Server().Kill();
        });
        try {
            UpgradeInstallation();
        } catch (const HostError&) {
            ++interrupted;
        }
        killer.join();
        Server().Start();
        Reconnect();
        try {
            UpgradeInstallation();
        } catch (const HostError& error) {
            ASSERT_EQ(error.Code(), 1060U) << error.what();  // the named place of the float column
            Sql("ALTER TABLE tw_tarnwick.account DROP COLUMN double_temp;");
            UpgradeInstallation();
            ++repaired;
        }
        if (State() != expected_) {  // the other named places: repaired manually
            if (SchemaOf("tw_tarnwick").Text().find("double_temp") != std::string::npos) {
                Sql("ALTER TABLE tw_tarnwick.account CHANGE COLUMN double_temp "
                    "associatepercentage DOUBLE DEFAULT 0 NOT NULL;");
            }
            Sql("UPDATE tw_tarnwick.site SET serverstarted = -1 WHERE siteid IN(1, 2, 3);"
                "INSERT IGNORE INTO tw_1.domaingroup(groupid, domainid) VALUES(2, 2);");
            ++repaired;
        }
        ASSERT_EQ(State(), expected_) << "trial " << trial;
    }
    EXPECT_GT(interrupted, 0U);
    std::cout << "[ COUNT    ] " << trials << " kills, " << interrupted
              << " of them within the run, " << repaired
              << " at a place that needs a manual repair\n";
}

// --- the site walk -----------------------------------------------------------------------------

class SiteWalk : public CentralTest {
  protected:
    /// An installation at 1.0264 without sites.
    void LoadCurrentCentral() {
        Sql("CREATE DATABASE IF NOT EXISTS tw_logs;");
        LoadCentral(1.0264);
    }

    /// A site with an empty database, which is enough from 1.0262 on.
    void AddSite(std::int32_t id, const std::string& version, const std::string& marks = "0, 0") {
        Sql("INSERT INTO tw_tarnwick.site(siteid, version, harddeleted, transaction) VALUES(" +
            std::to_string(id) + ", " + version + ", " + marks +
            "); CREATE DATABASE IF NOT EXISTS tw_" + std::to_string(id) + ";");
    }

    std::string VersionOf(std::int32_t id) {
        return Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = " + std::to_string(id));
    }
};

TEST_F(SiteWalk, AnInterruptionAtAnyStatementResumesWithTheFirstSiteThatIsNotDone) {
    constexpr std::int32_t kSites[] = {11, 12, 20};
    std::size_t statements = 100;
    for (std::size_t place = 0; place < 2 * statements; ++place) {
        for (const char* database : {"tw_tarnwick", "tw_11", "tw_12", "tw_20"}) {
            Sql(std::string("DROP DATABASE IF EXISTS ") + database + ";");
        }
        LoadCurrentCentral();
        AddSite(20, "1.0263");
        AddSite(11, "1.0262");
        AddSite(12, "1.0263");
        const auto faulty = Faulty();
        if (place == 0) {
            UpgradeInstallation(faulty);
            statements = faulty->Calls();
            continue;
        }
        const std::size_t n = (place + 1) / 2;
        faulty->FailAt(n, place % 2 == 1 ? FaultyUtility::kBefore : FaultyUtility::kAfter);
        EXPECT_THROW(UpgradeInstallation(faulty), InjectedFault);
        std::vector<std::int32_t> done;
        for (const std::int32_t id : kSites) {
            if (VersionOf(id) == kCurrentStored) {
                done.push_back(id);
            }
        }
        if (Cell("SELECT version FROM tw_tarnwick.installation") == kCurrentStored) {
            EXPECT_EQ(n, statements);
            EXPECT_THAT(done, ElementsAre(11, 12, 20));
        }
        faulty->Heal();
        faulty->ClearLog();
        UpgradeInstallation(faulty);
        for (const std::int32_t id : done) {
            EXPECT_EQ(
                Count(faulty->Log(), "UPDATE tw_tarnwick.site SET version = ? WHERE siteid = " +
                                         std::to_string(id) + ";"),
                0U);
            EXPECT_EQ(Count(faulty->Log(),
                            "CREATE TABLE IF NOT EXISTS tw_" + std::to_string(id) + ".htmlcache"),
                      0U);
        }
        for (const std::int32_t id : kSites) {
            EXPECT_EQ(VersionOf(id), kCurrentStored);
            EXPECT_EQ(SchemaOf("tw_" + std::to_string(id)).tables.size(), 1U);
        }
        EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), kCurrentStored);
    }
}

TEST_F(SiteWalk, AServerKilledInTheWalkComesBackAndTheNextRunDoesTheRest) {
    constexpr std::int32_t kSites = 120;
    std::mt19937 random(20260719);
    const int trials = Soak() ? 30 : 2;
    int interrupted = 0;
    std::int64_t rest = 0;
    auto whole = std::chrono::steady_clock::duration::zero();
    Trials counted("120 sites: the server is killed, and the upgrade runs again");
    for (int trial = 0; trial <= trials; ++trial) {
        if (trial > 0) {
            counted.Next();
        }
        for (std::int32_t id = 1; id <= kSites; ++id) {
            Sql("DROP DATABASE IF EXISTS tw_" + std::to_string(id) + ";");
        }
        Sql("DROP DATABASE IF EXISTS tw_tarnwick;");
        LoadCurrentCentral();
        for (std::int32_t id = 1; id <= kSites; ++id) {
            AddSite(id, "1.0263");
        }
        if (trial == 0) {  // undisturbed, for the time it takes
            const auto begin = std::chrono::steady_clock::now();
            UpgradeInstallation();
            whole = std::chrono::steady_clock::now() - begin;
            continue;
        }
        std::thread killer([&, delay = whole * static_cast<int>(random() % 900) / 1000] {
            std::this_thread::sleep_for(delay);
            Server().Kill();
        });
        try {
            UpgradeInstallation();
        } catch (const HostError&) {
            ++interrupted;
        }
        killer.join();
        Server().Start();
        Reconnect();
        const auto left = std::stoll(
            Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version < " + kCurrentStored));
        const auto faulty = Faulty();
        UpgradeInstallation(faulty);
        EXPECT_EQ(Count(faulty->Log(), "CREATE TABLE IF NOT EXISTS "),
                  static_cast<std::size_t>(left));
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version = " + kCurrentStored),
                  std::to_string(kSites));
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.TABLES WHERE TABLE_NAME = "
                       "'htmlcache'"),
                  std::to_string(kSites));
        EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), kCurrentStored);
        rest += left;
    }
    std::cout << "[ COUNT    ] " << trials << " kills, " << interrupted
              << " of them within the walk, " << rest << " sites left to the next run\n";
}

TEST_F(SiteWalk, TakesThirtySitesABatch) {
    for (const auto& [sites, searches] : std::vector<std::pair<std::int32_t, std::size_t>>{
             {0, 1}, {1, 1}, {30, 2}, {31, 2}, {61, 3}}) {
        Sql("DROP DATABASE IF EXISTS tw_tarnwick;");
        LoadCurrentCentral();
        for (std::int32_t id = 1; id <= sites; ++id) {
            AddSite(id, "1.0264");
        }
        const auto faulty = Faulty();
        UpgradeInstallation(faulty);
        EXPECT_EQ(
            Count(faulty->Log(), "SELECT siteid, version FROM tw_tarnwick.site WHERE siteid > "),
            searches)
            << sites;
        EXPECT_EQ(Count(faulty->Log(), "UPDATE tw_tarnwick.site SET version = ?"),
                  static_cast<std::size_t>(sites));
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version <> " + kCurrentStored),
                  "0");
    }
}

TEST_F(SiteWalk, SitesHardDeletedInTransactionOrCurrentAreLeftAlone) {
    LoadCurrentCentral();
    AddSite(1, "1.0", "-1, 0");
    AddSite(2, "1.0", "0, -1");
    AddSite(3, kCurrentStored);
    AddSite(4, "2");
    const auto faulty = Faulty();
    UpgradeInstallation(faulty);
    EXPECT_EQ(faulty->Calls(), 2U);  // the search and the installation's version
    EXPECT_THAT(Rows("SELECT siteid, version FROM tw_tarnwick.site ORDER BY siteid"),
                ElementsAre("1 | 1", "2 | 1", "3 | " + kCurrentStored, "4 | 2"));
}

TEST_F(SiteWalk, ASiteIdBeyondThirtyTwoBitsStopsTheWalkThere) {
    LoadCurrentCentral();
    AddSite(5, "1.0264");
    Sql("INSERT INTO tw_tarnwick.site(siteid, version) VALUES(3000000000, 1.0264);");
    EXPECT_THROW(UpgradeInstallation(), OverflowError);
    EXPECT_EQ(VersionOf(5), kCurrentStored);
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), "1.0264");
}

/// Resident memory of this process in megabytes.
double MemoryMegabytes() {
    std::size_t size = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

/// Writes down the sites of a walk and how the memory grows after the first hundred.
class WalkObserver : public Observer {
  public:
    std::vector<std::int32_t> sites;
    double firstMegabytes = 0;
    double lastMegabytes = 0;
    void SiteEnded(std::int32_t siteId) override {
        sites.push_back(siteId);
        lastMegabytes = MemoryMegabytes();
        if (sites.size() == 100) {
            firstMegabytes = lastMegabytes;
        }
    }
};

/// A faulty host, used for its log, that has an observer.
class ObservedUtility : public FaultyUtility {
  public:
    using FaultyUtility::FaultyUtility;
    std::shared_ptr<WalkObserver> observer = std::make_shared<WalkObserver>();
    std::shared_ptr<Observer> GetObserver() override { return observer; }
};

TEST_F(SiteWalk, AThousandSitesAtMixedVersionsAreVisitedOnceEachInAscendingOrder) {
    LoadCurrentCentral();
    const std::vector<std::string> versions = {"1.0264", "1.0263", "1.0264", "1.0262"};
    std::vector<std::int32_t> expected;
    for (std::int32_t i = 0; i < 1000; ++i) {
        const std::int32_t id = 100000 - 7 * i;  // made in descending order, with gaps
        const std::string& version = versions[static_cast<std::size_t>(i) % versions.size()];
        const bool isLeftOut = i % 50 == 49;
        AddSite(id, isLeftOut ? "1.0" : version,
                !isLeftOut      ? "0, 0"
                : i % 100 == 49 ? "-1, 0"
                                : "0, -1");
        if (!isLeftOut) {
            expected.insert(expected.begin(), id);
        }
    }
    const auto host = std::make_shared<ObservedUtility>(Host());
    UpgradeInstallation(host);
    EXPECT_EQ(host->observer->sites, expected);
    EXPECT_EQ(expected.size(), 980U);
    // 32 batches of 30 and one of 20.
    EXPECT_EQ(Count(host->Log(), "SELECT siteid, version FROM tw_tarnwick.site WHERE siteid > "),
              33U);
    EXPECT_EQ(Count(host->Log(), "UPDATE tw_tarnwick.site SET version = ?"), 980U);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version = " + kCurrentStored),
              "980");
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version = 1"), "20");
    // The log of the test itself is a megabyte or two.
#ifndef __SANITIZE_ADDRESS__  // which keeps freed memory for a while
    EXPECT_LT(host->observer->lastMegabytes - host->observer->firstMegabytes, 8.0);
#endif
}

}  // namespace
}  // namespace twupdate::test
