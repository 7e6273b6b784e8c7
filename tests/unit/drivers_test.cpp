#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

#include "support/recording_host.h"
#include "support/update_test_peer.h"

namespace twupdate {
namespace {

using test::RecordingHost;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A version at which no step of the central ladders is left, but which is still below the current
// one.
constexpr double kNoServerStepsLeft = 1.0264;

std::string SitesAbove(std::int32_t lastSiteId) {
    return "SELECT siteid, version FROM tw_tarnwick.site WHERE siteid > " +
           std::to_string(lastSiteId) +
           " AND version < ? AND harddeleted = 0 AND transaction = 0 ORDER BY siteid LIMIT 30;";
}

/// Sites `first` to `last` as the enumeration returns them; at the current version, which a server
/// would not return, none of them runs a step.
test::ResultSet Sites(std::int32_t first, std::int32_t last, double version = kCurrentVersion) {
    test::ResultSet sites{{"siteid", "version"}, {}};
    for (std::int32_t id = first; id <= last; ++id) {
        sites.rows.push_back({id, version});
    }
    return sites;
}

std::string EnumerationLine(std::int32_t lastSiteId) {
    return "command " + SitesAbove(lastSiteId) + " [1.0265]";
}

std::string SiteWriteLine(std::int32_t siteId) {
    return "command UPDATE tw_tarnwick.site SET version = ? WHERE siteid = " +
           std::to_string(siteId) + "; [1.0265]";
}

const std::string kInstallationWriteLine =
    "command UPDATE tw_tarnwick.installation SET version = ?; [1.0265]";

class Drivers : public ::testing::Test {
  protected:
    Drivers() {
        host->catalogue.AddTable("tw_tarnwick", "site(siteid BIGINT, version DOUBLE)");
        host->catalogue.AddTable("tw_tarnwick", "installation(version DOUBLE)");
        update.Configure(host);
    }
    ~Drivers() override {
        EXPECT_EQ(host->openRecordsets, 0);
        EXPECT_LE(host->mostStatementsOfOneDatabase, 1);
    }

    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
    Update update;
};

TEST(Lifecycle, ShutDownTwiceIsHarmlessAndReleasesTheUtility) {
    auto host = std::make_shared<RecordingHost>();
    Update update;
    update.Configure(host);
    EXPECT_EQ(host.use_count(), 2);
    update.ShutDown();
    EXPECT_EQ(host.use_count(), 1);
    update.ShutDown();
    EXPECT_EQ(host.use_count(), 1);
}

TEST(Lifecycle, DestructionReleasesTheUtility) {
    auto host = std::make_shared<RecordingHost>();
    {
        Update update;
        update.Configure(host);
        EXPECT_EQ(host.use_count(), 2);
    }
    EXPECT_EQ(host.use_count(), 1);
}

TEST(Lifecycle, ConfigureAgainReleasesTheEarlierUtility) {
    auto first = std::make_shared<RecordingHost>();
    auto second = std::make_shared<RecordingHost>();
    Update update;
    update.Configure(first);
    update.Configure(second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 2);
}

TEST(Lifecycle, CannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<Update>);
    EXPECT_FALSE(std::is_copy_assignable_v<Update>);
}

TEST(Unconfigured, UpdateServerReturnsTrueAndDoesNothing) {
    Update update;
    EXPECT_EQ(update.UpdateServer(1.0), kTrue);
    EXPECT_EQ(update.UpdateServer(std::numeric_limits<double>::quiet_NaN()), kTrue);
    EXPECT_EQ(update.UpdateImportMasterData(7, 1.0), kTrue);
    EXPECT_EQ(update.UpdateImportMasterData(0, 1.0), kFalse);
}

TEST(Unconfigured, TheFirstDatabaseAccessOfAnythingElseFails) {
    Update update;
    EXPECT_THROW(update.UpdateSite(7, 1.0), NotConfiguredError);
    EXPECT_EQ(update.UpdateSite(7, kCurrentVersion), kTrue);
}

TEST_F(Drivers, ImportMasterDataNeedsAPositiveSite) {
    EXPECT_EQ(update.UpdateImportMasterData(0, 1.0), 0);
    EXPECT_EQ(update.UpdateImportMasterData(-1, 1.0), 0);
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(Drivers, ImportMasterDataWalksNoSitesAndWritesNoVersion) {
    EXPECT_EQ(update.UpdateImportMasterData(7, kNoServerStepsLeft), -1);
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(Drivers, ACurrentSiteIsLeftAlone) {
    EXPECT_EQ(update.UpdateSite(7, kCurrentVersion), -1);
    EXPECT_EQ(update.UpdateSite(7, 2), -1);
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(Drivers, ACurrentInstallationExaminesNoSite) {
    host->Answer(SitesAbove(0), Sites(1, 3));
    EXPECT_EQ(update.UpdateServer(kCurrentVersion), -1);
    EXPECT_EQ(update.UpdateServer(2), -1);
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(Drivers, WithoutOldSitesOneQueryAndTheInstallationWrite) {
    EXPECT_EQ(update.UpdateServer(kNoServerStepsLeft), -1);
    EXPECT_THAT(host->log, ElementsAre(EnumerationLine(0), kInstallationWriteLine));
}

TEST_F(Drivers, ThirtySitesMakeTwoQueriesTheSecondEmpty) {
    host->Answer(SitesAbove(0), Sites(1, 30));
    update.UpdateServer(kNoServerStepsLeft);
    std::vector<std::string> expected{EnumerationLine(0)};
    for (std::int32_t id = 1; id <= 30; ++id) {
        expected.push_back(SiteWriteLine(id));
    }
    expected.push_back(EnumerationLine(30));
    expected.push_back(kInstallationWriteLine);
    EXPECT_EQ(host->log, expected);
}

TEST_F(Drivers, ThirtyOneSitesMakeBatchesOfThirtyAndOne) {
    host->Answer(SitesAbove(0), Sites(101, 130));
    host->Answer(SitesAbove(130), Sites(500, 500));
    update.UpdateServer(kNoServerStepsLeft);
    ASSERT_EQ(host->log.size(), 34U);
    EXPECT_EQ(host->log[0], EnumerationLine(0));
    EXPECT_EQ(host->log[30], SiteWriteLine(130));
    EXPECT_EQ(host->log[31], EnumerationLine(130));
    EXPECT_EQ(host->log[32], SiteWriteLine(500));
    EXPECT_EQ(host->log[33], kInstallationWriteLine);
}

TEST_F(Drivers, BindsTheVersionOnceForAllSites) {
    host->Answer(SitesAbove(0), Sites(1, 3));
    update.UpdateServer(kNoServerStepsLeft);
    EXPECT_EQ(host->commandsMade, 3);  // the site writes, the enumeration, the installation write
    EXPECT_EQ(host->commandsClosed, 3);
    EXPECT_EQ(host->parametersBound, 3);
}

TEST_F(Drivers, AFailureWritesNoVersion) {
    host->Answer(SitesAbove(0), Sites(1, 3));
    host->FailAt(3);  // the write of site 2
    EXPECT_THROW(update.UpdateServer(kNoServerStepsLeft), HostError);
    EXPECT_THAT(host->log, ElementsAre(EnumerationLine(0), SiteWriteLine(1), SiteWriteLine(2)));
    host->openRecordsets = 0;  // given up, not closed
}

TEST_F(Drivers, AFailingHostCallReachesTheCallerUnchanged) {
    host->FailAt(1, 2013);
    try {
        update.UpdateServer(kNoServerStepsLeft);
        FAIL() << "nothing was thrown";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 2013U);
        EXPECT_EQ(error.SqlState(), "HY000");
        EXPECT_EQ(error.Statement(), SitesAbove(0));
    }
}

TEST_F(Drivers, ASiteVersionThatIsNullIsAClearError) {
    host->Answer(SitesAbove(0), {{"siteid", "version"}, {{4, Value()}}});
    try {
        update.UpdateServer(kNoServerStepsLeft);
        FAIL() << "nothing was thrown";
    } catch (const ConversionError& error) {
        EXPECT_STREQ(error.what(), "column version: NULL where a number must be");
    }
    host->openRecordsets = 0;
}

TEST_F(Drivers, ASiteIdBeyondThirtyTwoBitsIsAClearError) {
    host->Answer(SitesAbove(0), {{"siteid", "version"}, {{std::int64_t{3000000000}, 1.0}}});
    try {
        update.UpdateServer(kNoServerStepsLeft);
        FAIL() << "nothing was thrown";
    } catch (const OverflowError& error) {
        EXPECT_STREQ(error.what(), "column siteid: 3000000000 does not fit a 32-bit integer");
    }
    host->openRecordsets = 0;
}

TEST_F(Drivers, EnumerateSitesReturnsAnOpenRecordset) {
    host->Answer(SitesAbove(0), Sites(1, 2));
    const auto sites = UpdateTestPeer(update).EnumerateSites(0, 30, 1.0265);
    EXPECT_FALSE(sites->IsEOF());
    EXPECT_EQ(host->openRecordsets, 1);
    EXPECT_EQ(host->commandsClosed, 1);
    sites->Close();
}

/// Writes down what it is told, one word a call.
class ListingObserver : public Observer {
  public:
    std::vector<std::string> told;

    void LadderStarting(Ladder ladder, const std::string& database, double) override {
        told.push_back("ladder " + std::string(LadderName(ladder)) + " " + database);
    }
    void LadderEnded(Ladder ladder, const std::string& database) override {
        told.push_back("end " + std::string(LadderName(ladder)) + " " + database);
    }
    void StepStarting(const LadderStep& step, const std::string&) override {
        told.push_back("step " + std::string(step.name));
    }
    void StepEnded(const LadderStep& step, const std::string&) override {
        told.push_back("end " + std::string(step.name));
    }
    void SiteWalkStarting() override { told.push_back("walk"); }
    void SiteStarting(std::int32_t siteId, double) override {
        told.push_back("site " + std::to_string(siteId));
    }
    void SiteEnded(std::int32_t siteId) override {
        told.push_back("end " + std::to_string(siteId));
    }
};

TEST_F(Drivers, TheObserverIsToldOfLaddersSitesAndTheWalk) {
    const auto observer = std::make_shared<ListingObserver>();
    host->observer = observer;
    host->Answer(SitesAbove(0), Sites(5, 5));
    update.UpdateServer(kNoServerStepsLeft);
    EXPECT_THAT(observer->told,
                ElementsAre("ladder server tw_tarnwick", "end server tw_tarnwick",
                            "ladder server data tw_tarnwick", "end server data tw_tarnwick", "walk",
                            "site 5", "ladder site schema tw_5", "end site schema tw_5",
                            "ladder site content tw_5", "end site content tw_5", "end 5"));
}

TEST_F(Drivers, TheObserverIsNotToldOfTheEndOfWhatFails) {
    const auto observer = std::make_shared<ListingObserver>();
    host->observer = observer;
    host->FailAt(1);
    EXPECT_THROW(update.UpdateSite(5, 1.0263), HostError);
    EXPECT_THAT(observer->told,
                ElementsAre("site 5", "ladder site schema tw_5", "step SiteSchemaStep_1_0264"));
}

/// A host whose catalogue holds an installation at 1.0000 with one site that has every feature.
class WholeInstallation : public ::testing::Test {
  protected:
    static constexpr std::int32_t kSite = 7;

    WholeInstallation() {
        Load("central.sql");
        Load("logs.sql");
        Load("site_core.sql");
        Load("site_optional.sql");
        host->observer = observer;
        host->installFolder = "/nonexistent/bin";
        update.Configure(host);
    }

    void Load(const std::string& file) {
        std::ifstream in(std::string(TWUPDATE_SOURCE_FOLDER "/examples/sample/layouts/") + file);
        ASSERT_TRUE(in) << file;
        std::string script(std::istreambuf_iterator<char>(in), {});
        for (auto at = script.find("{siteid}"); at != std::string::npos;
             at = script.find("{siteid}")) {
            script.replace(at, 8, std::to_string(kSite));
        }
        host->catalogue.RunScript(script);
    }

    /// The names of the steps that ran, in order.
    std::vector<std::string> StepsRun() const {
        std::vector<std::string> steps;
        for (const std::string& line : observer->told) {
            if (line.starts_with("step ")) {
                steps.push_back(line.substr(5));
            }
        }
        return steps;
    }

    std::vector<std::string> NamesOf(std::initializer_list<Ladder> ladders, double version) const {
        std::vector<std::string> names;
        for (const Ladder ladder : ladders) {
            for (const LadderStep& step : LadderSteps(ladder)) {
                if (!(version >= step.threshold)) {
                    names.emplace_back(step.name);
                }
            }
        }
        return names;
    }

    void AnswerSites(double version) { host->Answer(SitesAbove(0), Sites(kSite, kSite, version)); }

    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
    std::shared_ptr<ListingObserver> observer = std::make_shared<ListingObserver>();
    Update update;
};

TEST_F(WholeInstallation, AVersionOfZeroRunsEveryRowOfBothSiteLadders) {
    EXPECT_EQ(update.UpdateSite(kSite, 0), -1);
    EXPECT_EQ(StepsRun(), NamesOf({Ladder::kSiteSchema, Ladder::kSiteContent}, 0));
    EXPECT_EQ(StepsRun().size(), 92U + 84U);
}

TEST_F(WholeInstallation, AVersionThatIsNotANumberRunsEverything) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    AnswerSites(nan);
    EXPECT_EQ(update.UpdateServer(nan), -1);
    EXPECT_EQ(StepsRun(), NamesOf({Ladder::kServer, Ladder::kServerData, Ladder::kSiteSchema,
                                   Ladder::kSiteContent},
                                  0));
    EXPECT_EQ(host->log.back(), kInstallationWriteLine);
    EXPECT_FALSE(host->Lines("service").empty());
}

TEST_F(WholeInstallation, TheServerRunsComeInFullBeforeTheSites) {
    AnswerSites(1.0263);
    update.UpdateServer(1.0);
    std::vector<std::string> expected = NamesOf({Ladder::kServer, Ladder::kServerData}, 1.0);
    for (const std::string& step : NamesOf({Ladder::kSiteSchema, Ladder::kSiteContent}, 1.0263)) {
        expected.push_back(step);
    }
    EXPECT_EQ(StepsRun(), expected);
}

TEST_F(WholeInstallation, RefreshesTheApplicationOnceAfterTheSitesBelow1_0041) {
    AnswerSites(kCurrentVersion);
    update.UpdateServer(1.0040);
    ASSERT_GE(host->log.size(), 3U);
    const std::vector<std::string> tail(host->log.end() - 4, host->log.end());
    EXPECT_THAT(tail, ElementsAre(EnumerationLine(0), SiteWriteLine(kSite), "refresh",
                                  kInstallationWriteLine));
    EXPECT_EQ(std::count(host->log.begin(), host->log.end(), "refresh"), 1);
}

TEST_F(WholeInstallation, DoesNotRefreshTheApplicationFrom1_0041On) {
    update.UpdateServer(1.0041);
    EXPECT_EQ(std::count(host->log.begin(), host->log.end(), "refresh"), 0);
}

TEST_F(WholeInstallation, ASiteAt1_0027RunsTheSiteMapStepTwiceAndAt1_0028Once) {
    UpdateTestPeer(update).RunSiteSchemaLadder(kSite, 0);  // the tables of the later steps
    for (const auto& [version, times] :
         {std::pair{1.0027, 2}, {1.0028, 1}, {1.0029, 1}, {1.0030, 0}}) {
        observer->told.clear();
        UpdateTestPeer(update).RunSiteSchemaLadder(kSite, version);
        const auto steps = StepsRun();
        EXPECT_EQ(std::count(steps.begin(), steps.end(), "SiteSchemaStep_1_0028"), times)
            << version;
    }
}

TEST_F(WholeInstallation, ASiteAt1_0051RunsTheEmbedRenameOnceAndNotTheRefresh) {
    UpdateTestPeer(update).RunSiteSchemaLadder(kSite, 0);
    observer->told.clear();
    UpdateTestPeer(update).RunSiteContentLadder(kSite, 1.0051);
    const auto steps = StepsRun();
    EXPECT_EQ(std::count(steps.begin(), steps.end(), "SiteContentStep_1_0050"), 1);
    EXPECT_EQ(std::count(steps.begin(), steps.end(), "SiteContentStep_1_0051"), 0);
}

TEST_F(WholeInstallation, ImportMasterDataRunsBothServerRunsAgainstTheSitesCopies) {
    std::ifstream in(TWUPDATE_SOURCE_FOLDER "/examples/sample/layouts/central.sql");
    std::string script(std::istreambuf_iterator<char>(in), {});
    const std::string create = "CREATE DATABASE tw_tarnwick;";
    script.erase(script.find(create), create.size());
    const std::string central = "tw_tarnwick.";
    for (auto at = script.find(central); at != std::string::npos; at = script.find(central)) {
        script.replace(at, central.size(), "tw_7.tw_");
    }
    host->catalogue.RunScript(script);
    EXPECT_EQ(update.UpdateImportMasterData(kSite, 1.0), -1);
    EXPECT_EQ(StepsRun(), NamesOf({Ladder::kServer, Ladder::kServerData}, 1.0));
    EXPECT_THAT(host->Lines("command"), IsEmpty());
    for (const std::string& line : host->log) {
        EXPECT_EQ(line.find("tw_tarnwick"), std::string::npos) << line;
    }
}

}  // namespace
}  // namespace twupdate
