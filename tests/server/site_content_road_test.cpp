#include <fstream>
#include <iterator>
#include <sstream>

#include "site_content_site.h"

namespace twupdate::test {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

std::string Read(const std::string& path) {
    std::ifstream file(std::string(TWUPDATE_TEST_FOLDER "/") + path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The lines of a file of expectations, without comments and blank lines.
std::vector<std::string> ExpectedLines(const std::string& path) {
    std::vector<std::string> lines;
    std::istringstream text(Read(path));
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line[0] != '#') {
            lines.push_back(line);
        }
    }
    return lines;
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

TEST_F(SiteContentRoad, TheWholeRoadEndsAsWorkedOutByHand) {
    const RowSnapshot before = RowsOf("tw_7");
    UpgradeInstallation();
    const RowSnapshot after = RowsOf("tw_7");
    EXPECT_THAT(SiteChanges(before, after),
                UnorderedElementsAreArray(ExpectedLines("expected/whole_road.txt")));
    EXPECT_THAT(Rows("SELECT amount, cartorderid FROM tw_tarnwick.accountpayment"),
                ElementsAre("12.50 | 1"));
    EXPECT_THAT(Rows("SELECT siteid, version FROM tw_tarnwick.site"), ElementsAre("7 | 1.0265"));
    EXPECT_THAT(Rows("SELECT version FROM tw_tarnwick.installation"), ElementsAre("1.0265"));

    UpgradeInstallation();
    EXPECT_TRUE(SameRows(after, RowsOf("tw_7")));
}

// The charges are converted again; the parameters of lookup feeds are made anew from fields that
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

}  // namespace
}  // namespace twupdate::test
