#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

#include "support/calls_by_step.h"
#include "support/recording_host.h"
#include "support/update_test_peer.h"
#include "support/versions.h"

namespace twupdate {
namespace {

using test::CallsByStep;
using test::kCurrentStored;
using test::RecordingHost;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

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
    return "command " + SitesAbove(lastSiteId) + " [" + kCurrentStored + "]";
}

std::string SiteWriteLine(std::int32_t siteId) {
    return "command UPDATE tw_tarnwick.site SET version = ? WHERE siteid = " +
           std::to_string(siteId) + "; [" + kCurrentStored + "]";
}

const std::string kInstallationWriteLine =
    "command UPDATE tw_tarnwick.installation SET version = ?; [" + kCurrentStored + "]";

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

TEST_F(Drivers, SiteOneIsASiteLikeEveryOther) {
    host->catalogue.AddTable("tw_1", "tw_site(siteid BIGINT)");
    EXPECT_EQ(update.UpdateImportMasterData(1, 1.0263), -1);
    EXPECT_THAT(host->log, ElementsAre("reader DESCRIBE tw_1.tw_site;",
                                       "execute ALTER TABLE tw_1.tw_site ADD COLUMN querycachettl "
                                       "INT DEFAULT 0 NOT NULL;"));
}

TEST_F(Drivers, ACurrentSiteIsLeftAlone) {
    EXPECT_EQ(update.UpdateSite(7, kCurrentVersion), -1);
    const double last = std::max(LadderSteps(Ladder::kSiteSchema).back().threshold,
                                 LadderSteps(Ladder::kSiteContent).back().threshold);
    EXPECT_EQ(update.UpdateSite(7, last), -1);
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
        EXPECT_STREQ(error.what(), "column version: NULL instead of a number");
    }
    host->openRecordsets = 0;
}

TEST_F(Drivers, ASiteIdBeyondThirtyTwoBitsIsAClearError) {
    host->Answer(SitesAbove(0), {{"siteid", "version"}, {{std::int64_t{3000000000}, 1.0}}});
    try {
        update.UpdateServer(kNoServerStepsLeft);
        FAIL() << "nothing was thrown";
    } catch (const OverflowError& error) {
        EXPECT_STREQ(error.what(),
                     "column siteid: 3000000000 is out of range for a 32-bit integer");
    }
    host->openRecordsets = 0;
}

TEST_F(Drivers, EnumerateSitesReturnsAnOpenRecordset) {
    host->Answer(SitesAbove(0), Sites(1, 2));
    const auto sites = UpdateTestPeer(update).EnumerateSites(0, 30, kCurrentVersion);
    EXPECT_FALSE(sites->IsEOF());
    EXPECT_EQ(host->openRecordsets, 1);
    EXPECT_EQ(host->commandsClosed, 1);
    sites->Close();
}

/// Records its calls, one word each.
class ListingObserver : public Observer {
  public:
    std::vector<std::string> heard;

    void LadderStarting(Ladder ladder, const std::string& database, double) override {
        heard.push_back("ladder " + std::string(LadderName(ladder)) + " " + database);
    }
    void LadderEnded(Ladder ladder, const std::string& database) override {
        heard.push_back("end " + std::string(LadderName(ladder)) + " " + database);
    }
    void StepStarting(const LadderStep& step, const std::string&) override {
        heard.push_back("step " + std::string(step.name));
    }
    void StepEnded(const LadderStep& step, const std::string&) override {
        heard.push_back("end " + std::string(step.name));
    }
    void SiteWalkStarting() override { heard.push_back("walk"); }
    void SiteStarting(std::int32_t siteId, double) override {
        heard.push_back("site " + std::to_string(siteId));
    }
    void SiteEnded(std::int32_t siteId) override {
        heard.push_back("end " + std::to_string(siteId));
    }
};

TEST_F(Drivers, TheObserverHearsOfLaddersSitesAndTheWalk) {
    const auto observer = std::make_shared<ListingObserver>();
    host->observer = observer;
    host->Answer(SitesAbove(0), Sites(5, 5));
    update.UpdateServer(kNoServerStepsLeft);
    EXPECT_THAT(observer->heard,
                ElementsAre("ladder server tw_tarnwick", "end server tw_tarnwick",
                            "ladder server data tw_tarnwick", "end server data tw_tarnwick", "walk",
                            "site 5", "ladder site schema tw_5", "end site schema tw_5",
                            "ladder site content tw_5", "end site content tw_5", "end 5"));
}

TEST_F(Drivers, TheObserverHearsOfASiteThatIsUpgradedOnItsOwn) {
    const auto observer = std::make_shared<ListingObserver>();
    host->observer = observer;
    EXPECT_EQ(update.UpdateSite(5, kCurrentVersion), kTrue);
    EXPECT_THAT(observer->heard,
                ElementsAre("site 5", "ladder site schema tw_5", "end site schema tw_5",
                            "ladder site content tw_5", "end site content tw_5", "end 5"));
}

TEST_F(Drivers, TheSchemaLadderIsTrueThoughNoStepRuns) {
    EXPECT_EQ(UpdateTestPeer(update).RunSiteSchemaLadder(5, kCurrentVersion), kTrue);
}

TEST_F(Drivers, TheObserverHearsNoEndOfWhatFails) {
    const auto observer = std::make_shared<ListingObserver>();
    host->observer = observer;
    host->FailAt(1);
    EXPECT_THROW(update.UpdateSite(5, 1.0263), HostError);
    EXPECT_THAT(observer->heard,
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
        for (const std::string& line : observer->heard) {
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
    EXPECT_EQ(StepsRun().size(),
              LadderSteps(Ladder::kSiteSchema).size() + LadderSteps(Ladder::kSiteContent).size());
}

TEST_F(WholeInstallation, AVersionThatIsNotANumberRunsEverything) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    AnswerSites(nan);
    EXPECT_EQ(update.UpdateServer(nan), -1);
    EXPECT_EQ(StepsRun(), NamesOf({Ladder::kServer, Ladder::kServerData, Ladder::kSiteSchema,
                                   Ladder::kSiteContent},
                                  0));
    EXPECT_FALSE(host->Lines("service").empty());
    ASSERT_GE(host->log.size(), 2U);
    EXPECT_EQ(*(host->log.end() - 2), "refresh");
    EXPECT_EQ(host->log.back(), kInstallationWriteLine);
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

// The step that ends the last ladder of a site makes one call: no version may stand before it.
const std::string kLastCallOfASite = "service ResetSiteComponent 7 5600";

TEST_F(WholeInstallation, EachVersionIsWrittenOnceWhenItsLaddersHaveEnded) {
    AnswerSites(1.0);
    update.UpdateServer(1.0);
    ASSERT_GE(host->log.size(), 4U);
    const std::vector<std::string> tail(host->log.end() - 4, host->log.end());
    EXPECT_THAT(tail, ElementsAre(kLastCallOfASite, SiteWriteLine(kSite), "refresh",
                                  kInstallationWriteLine));
    EXPECT_THAT(host->Lines("command"), SizeIs(3));  // the enumeration and the two writes
}

TEST_F(WholeInstallation, AFailureOfTheLastStepLeavesTheVersionOfItsSite) {
    UpdateTestPeer(update).RunSiteSchemaLadder(kSite, 0);
    AnswerSites(1.0260);
    host->log.clear();
    update.UpdateServer(kNoServerStepsLeft);
    const auto last = std::find(host->log.begin(), host->log.end(), kLastCallOfASite);
    ASSERT_NE(last, host->log.end());
    const auto calls = static_cast<std::size_t>(last - host->log.begin()) + 1;

    host->log.clear();
    host->FailAt(calls);
    EXPECT_THROW(update.UpdateServer(kNoServerStepsLeft), HostError);
    EXPECT_EQ(host->log.back(), kLastCallOfASite);
    EXPECT_THAT(host->Lines("command"), SizeIs(1));  // the enumeration
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

/// What tells a step from its neighbours: a part of a call that it makes on site 7 (or on the
/// central database), or nothing for a step that makes none where there are no files.
struct Mark {
    double threshold;
    std::string part;
};

const std::vector<Mark> kServerMarks = {
    {1.0002, "ADD COLUMN mailserverusername "},
    {1.0013, "ADD COLUMN base "},
    {1.0024, "ADD COLUMN redirecttodefault "},
    {1.0026, "ADD COLUMN defaultfeatureid "},
    {1.0030, "CREATE TABLE IF NOT EXISTS tw_tarnwick.schedule("},
    {1.0035, "CAST(associatepercentage AS BINARY)"},
    {1.0039, "ADD INDEX domainname_idx("},
    {1.0040, "ADD INDEX tasktype_idx("},
    {1.0041, "ADD COLUMN transaction "},
    {1.0047, "MODIFY COLUMN creditlimit "},
    {1.0056, "MODIFY COLUMN schedule "},
    {1.0063, "ADD COLUMN selfexport "},
    {1.0074, "ADD COLUMN serverstarted "},
    {1.0076, "ADD COLUMN associatecookielife "},
    {1.0220, "ADD COLUMN sitestarted "},
    {1.0223, "ADD INDEX cartorderid_idx("},
    {1.0253, "CREATE TABLE IF NOT EXISTS tw_tarnwick.emailerror("},
    {1.0264, "ADD COLUMN querycachettl "},
};

const std::string kImport = "execute DELETE FROM tw_tarnwick.componenttype;";
const std::string kRootSite = "query SELECT siteid FROM tw_tarnwick.site WHERE parentsiteid = 0;";

const std::vector<Mark> kServerDataMarks = {
    {1.0019, kImport},
    {1.0025, kImport},
    {1.0026, "tw_tarnwick.defaultdocument"},
    {1.0030, "tw_logs"},
    {1.0034, kImport},
    {1.0036, kRootSite},
    {1.0063, "SET selfexport = -1"},
    {1.0065, kImport},
    {1.0079, kImport},
    {1.0081, kImport},
    {1.0088, kImport},
    {1.0091, kImport},
    {1.0092, kImport},
    {1.0210, kImport},
    {1.0221, kImport},
    {1.0223, kImport},
    {1.0230, kImport},
    {1.0231, kImport},
    {1.0233, kImport},
    {1.0244, kImport},
    {1.0252, kRootSite},
    {1.0257, kImport},
    {1.0263, kImport},
};

const std::vector<Mark> kSiteContentMarks = {
    {1.0001, "WHERE operator = 'PAGE'"},
    {1.0002, "UpgradeSiteComponent 7 1000"},
    {1.0003, "SET blankoptiontext = defaultvalue"},
    {1.0004, "UpgradeSiteComponent 7 3700"},
    {1.0005, "SET navdepth = 1"},
    {1.0006, "ADD INDEX updatetime_idx("},
    {1.0007, "RefreshSiteComponent 7 2400"},
    {1.0008, "InitialiseSiteComponent 7 100"},
    {1.0009, "'span.TreeLink%'"},
    {1.0010, "ADD INDEX eventid_idx("},
    {1.0011, ""},
    {1.0012, "tw_7.tagdependancy"},
    {1.0015, "RefreshSiteComponent 7 1500"},
    {1.0016, ""},
    {1.0017, "tw_7.layoutelement"},
    {1.0019, "texttype = 22"},
    {1.0020, "'TargetInstanceIds'"},
    {1.0021, "'LONavHidden'"},
    {1.0022, "RefreshSiteComponent 7 3000"},
    {1.0023, "ADD INDEX navigationid_idx("},
    {1.0025, "ADD INDEX threadid_idx("},
    {1.0026, "'ExplicitLayoutElements'"},
    {1.0027, "UpgradeSiteComponent 7 2300"},
    {1.0029, "RefreshSiteComponent 7 2600"},
    {1.0030, ""},
    {1.0031, "componentid IN(400, 500)"},
    {1.0032, "ResetSiteComponent 7 4100"},
    {1.0037, "SELECT elementid FROM tw_7.forum"},
    {1.0039, "SET threadroot = -1"},
    {1.0042, "SET linktype = 1"},
    {1.0043, "ADD COLUMN ishtml "},
    {1.0044, "componentid IN(900, 3700)"},
    {1.0048, "UpgradeSiteComponent 7 1000"},
    {1.0049, "SELECT emailid, fromlist"},
    {1.0050, "REPLACE(fromlist, '#Embed.', '#E-Embed.')"},
    {1.0051, "RefreshSiteComponent 7 1450"},
    {1.0053, "REPLACE(fromlist, '#Embed.', '#E-Embed.')"},
    {1.0054, "tw_7.security"},
    {1.0055, "'Order Payment'"},
    {1.0057, "UpgradeSiteComponent 7 3600"},
    {1.0058, "UpgradeSiteComponent 7 1200"},
    {1.0061, "name LIKE '.LO%'"},
    {1.0062, "ResetSiteComponent 7 3900"},
    {1.0063, ""},
    {1.0066, "tw_7.cache WHERE type = 2"},
    {1.0068, "SET hideitemifnooptions = -1"},
    {1.0069, "'Order Completion'"},
    {1.0071, "UpgradeSiteComponent 7 1000"},
    {1.0072, "'%basefont%'"},
    {1.0074, "ADD INDEX tagid_idx("},
    {1.0078, "UpgradeSiteComponent 7 1000"},
    {1.0080, "UpgradeSiteComponent 7 1000"},
    {1.0081, "'DefaultBillingCountryId'"},
    {1.0082, "tw_7.cache WHERE type = 0"},
    {1.0086, "ResetSiteComponent 7 4300"},
    {1.0087, "ResetSiteComponent 7 1000"},
    {1.0089, "'Form Record Change'"},
    {1.0090, "ResetSiteComponent 7 3100"},
    {1.0091, "SELECT formfeatureid FROM tw_7.form"},
    {1.0094, "RefreshSiteComponent 7 1000"},
    {1.0096, "ResetSiteComponent 7 500"},
    {1.0098, ""},
    {1.0099, "emptybasketlink"},
    {1.0100, "ResetSiteComponent 7 1200"},
    {1.0222, "tw_7.feature WHERE componentid = 100 "},
    {1.0223, "tw_7.commission"},
    {1.0225, "options + 32"},
    {1.0229, "externallookupfeedfield"},
    {1.0234, "qbxviewconfigured"},
    {1.0235, "RefreshSiteComponent 7 1000"},
    {1.0236, "SET valuetype = 7"},
    {1.0237, "'canonical'"},
    {1.0238, "UpgradeSiteComponent 7 3700"},
    {1.0239, "UpgradeSiteComponent 7 100"},
    {1.0240, ""},
    {1.0242, "tw_7.formtemplate"},
    {1.0245, "RefreshSiteComponent 7 3700"},
    {1.0254, "'gainsboro'"},
    {1.0255, "'dhtml'"},
    {1.0256, "layoutzonenavlevel"},
    {1.0257, "'WordMatchType'"},
    {1.0258, "UpgradeSiteComponent 7 2600"},
    {1.0259, "SELECT formfeatureid FROM tw_7.form"},
    {1.0261, "ResetSiteComponent 7 5600"},
};

bool Bears(const std::vector<std::string>& calls, const std::string& part) {
    if (part.empty()) {
        return calls.empty();
    }
    return std::any_of(calls.begin(), calls.end(), [&](const std::string& call) {
        return call.find(part) != std::string::npos;
    });
}

/// Every rung has made the calls of its own step, and the marks tell it from its neighbours.
void ExpectMarks(Ladder ladder, const std::vector<Mark>& marks,
                 const std::vector<CallsByStep::Run>& runs) {
    std::vector<std::vector<std::string>> calls;
    for (const auto& run : runs) {
        if (run.step.ladder == ladder) {
            ASSERT_LT(calls.size(), marks.size());
            EXPECT_EQ(run.step.threshold, marks[calls.size()].threshold);
            calls.push_back(run.calls);
        }
    }
    ASSERT_EQ(calls.size(), marks.size());
    for (std::size_t i = 0; i < marks.size(); ++i) {
        EXPECT_TRUE(Bears(calls[i], marks[i].part))
            << LadderName(ladder) << " " << marks[i].threshold;
        for (const std::size_t neighbour : {i - 1, i + 1}) {
            if (neighbour < marks.size() && marks[neighbour].part != marks[i].part) {
                EXPECT_FALSE(Bears(calls[neighbour], marks[i].part))
                    << LadderName(ladder) << " " << marks[i].threshold << ": its mark is borne by "
                    << marks[neighbour].threshold << " too";
            }
        }
    }
}

TEST_F(WholeInstallation, EachRungMakesTheCallsOfItsOwnStep) {
    const auto calls = std::make_shared<CallsByStep>(*host);
    host->observer = calls;
    host->installFolder = TWUPDATE_SOURCE_FOLDER;  // for the reference data
    AnswerSites(0);
    update.UpdateServer(0);
    ExpectMarks(Ladder::kServer, kServerMarks, calls->runs);
    ExpectMarks(Ladder::kServerData, kServerDataMarks, calls->runs);
    ExpectMarks(Ladder::kSiteContent, kSiteContentMarks, calls->runs);
}

TEST_F(WholeInstallation, ASiteAt1_0027RunsTheSiteMapStepTwiceAndAt1_0028Once) {
    UpdateTestPeer(update).RunSiteSchemaLadder(kSite, 0);  // the tables of the later steps
    for (const auto& [version, times] :
         {std::pair{1.0027, 2}, {1.0028, 1}, {1.0029, 1}, {1.0030, 0}}) {
        observer->heard.clear();
        UpdateTestPeer(update).RunSiteSchemaLadder(kSite, version);
        const auto steps = StepsRun();
        EXPECT_EQ(std::count(steps.begin(), steps.end(), "SiteSchemaStep_1_0028"), times)
            << version;
    }
}

TEST_F(WholeInstallation, ASiteAt1_0051RunsTheEmbedRenameOnceAndNotTheRefresh) {
    UpdateTestPeer(update).RunSiteSchemaLadder(kSite, 0);
    observer->heard.clear();
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
