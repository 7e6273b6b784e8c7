#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>

#include "site_content_site.h"
#include "support/expected_file.h"
#include "support/trials.h"
#include "support/update_test_peer.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

std::string Read(const std::string& path) {
    std::ifstream file(std::string(TWUPDATE_TEST_FOLDER "/") + path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class SiteContentRoad : public SiteContentTest {
  protected:
    void SetUp() override {
        LoadLogs(7);
        LoadCentral();
        LoadSite(7);
        // Not the root site, which gets a local domain; its first document names the home page.
        Sql("UPDATE tw_tarnwick.site SET parentsiteid = 1 WHERE siteid = 7;"
            "INSERT INTO tw_tarnwick.defaultdocument(siteid, document) VALUES(7, '5/index.htm');");
        LoadForm(7, 7,
                 {{.id = 1, .type = "multiformlink", .targetForm = 9}, {.id = 2, .type = "memo"}});
        Sql(Read("data/whole_road_rows.sql"));
        WriteFile("wwwroot/sites/7/robots.txt", "User-agent: *\r\n");
    }
};

TEST_F(SiteContentRoad, TheWholeRoadEndsAsExpected) {
    const RowSnapshot before = RowsOf("tw_7");
    UpgradeInstallation();
    const RowSnapshot after = RowsOf("tw_7");
    EXPECT_TRUE(ExpectedLines(TWUPDATE_TEST_FOLDER "/expected/whole_road.txt")
                    .Are(SiteChanges(before, after)));
    EXPECT_THAT(Rows("SELECT amount, cartorderid FROM tw_tarnwick.accountpayment"),
                ElementsAre("12.50 | 1"));
    EXPECT_THAT(Rows("SELECT siteid, version FROM tw_tarnwick.site"),
                ElementsAre("7 | " + kCurrentStored));
    EXPECT_THAT(Rows("SELECT version FROM tw_tarnwick.installation"), ElementsAre(kCurrentStored));

    UpgradeInstallation();
    EXPECT_TRUE(SameRows(after, RowsOf("tw_7")));
}

// The charges are converted again; the parameters of lookup feeds are recreated from fields that
// now know their page. Nothing else changes.
TEST_F(SiteContentRoad, ASecondRunOfAllStepsChangesOnlyWhatTheStepsThemselvesMakeAgain) {
    UpgradeInstallation();
    const RowSnapshot before = RowsOf("tw_7");
    const RowSnapshot centralBefore = RowsOf("tw_tarnwick");
    Upgrade(7, 1.0);
    EXPECT_THAT(
        SiteChanges(before, RowsOf("tw_7")),
        UnorderedElementsAre("charge 1: chargeoptionid 1 -> 2",
                             "+ chargegroup 2: featureid 2, name 'Post', sequence 1",
                             "+ chargeoption 2: groupid 2, featureid 2, name 'Post', sequence 1",
                             "- externallookupfeedparam 1: name 'q', type 1, sequence 999",
                             "+ externallookupfeedparam 2: featureid 4, name 'q', type 1, "
                             "sequence 999"));
    EXPECT_TRUE(SameRows(centralBefore, RowsOf("tw_tarnwick")));
}

class SiteContentLadderInterrupted : public SiteContentTest {
  protected:
    /// The rows of the whole road on a site whose schema is current, without charges, which a
    /// second run converts again.
    void LoadRows() {
        Sql("DROP TABLE IF EXISTS tw_7.form_7, tw_7.layoutzonenavlevel;"
            "ALTER TABLE tw_7.email DROP COLUMN IF EXISTS ishtml;");
        Clear();
        LoadForm(7, 7,
                 {{.id = 1, .type = "multiformlink", .targetForm = 9}, {.id = 2, .type = "memo"}});
        Sql(Read("data/whole_road_rows.sql"));
        Sql("TRUNCATE tw_7.charge;");
    }
    void RunLadder(const std::shared_ptr<Utility>& utility) {
        Update update;
        update.Configure(utility);
        UpdateTestPeer(update).RunSiteContentLadder(7, 1.0);
    }
};

// What an operator does after a failure: the same upgrade again, from the version that is still
// recorded. All steps run, also those that ended before the interruption. In an ordinary run every
// 53rd call fails, with TWUPDATE_SOAK=1 each. Left out are the calls of 1.0043, which is never
// completed after an interruption.
TEST_F(SiteContentLadderInterrupted, TheWholeLadderAgainReachesTheSameEnd) {
    LoadContentSite();
    RunLadder(Host());  // adds the indexes, so that every later run makes the same calls
    LoadRows();
    const auto counting = Faulty();
    RunLadder(counting);
    const InstallationRows expected = AllRows();
    const auto& calls = counting->Log();
    const auto conversion = std::find(calls.begin(), calls.end(),
                                      "ALTER TABLE tw_7.email ADD COLUMN ishtml BOOL DEFAULT 0 "
                                      "NOT NULL;") -
                            calls.begin();
    Trials trials("site content ladder: a call fails, and the ladder runs again");
    const std::size_t stride = Soak() ? 1 : 53;
    for (std::size_t call = 1; call <= calls.size(); call += stride) {
        const auto at = static_cast<std::ptrdiff_t>(call) - 1;
        // The statement that adds the column, two pages and the two e-mails between them.
        if (at >= conversion && at <= conversion + 4) {
            continue;
        }
        for (const auto when : {FaultyUtility::kBefore, FaultyUtility::kAfter}) {
            SCOPED_TRACE((when == FaultyUtility::kBefore ? "before " : "after ") +
                         calls[call - 1].substr(0, 200));
            trials.Next();
            LoadRows();
            const auto faulty = Faulty();
            faulty->FailAt(call, when);
            EXPECT_THROW(RunLadder(faulty), InjectedFault);
            faulty->Heal();
            RunLadder(faulty);
            const InstallationRows actual = AllRows();
            EXPECT_TRUE(SameRows(expected.site, actual.site));
            EXPECT_TRUE(SameRows(expected.central, actual.central));
        }
    }
    EXPECT_GT(trials.Number(), 8u);
}

}  // namespace
}  // namespace twupdate::test
