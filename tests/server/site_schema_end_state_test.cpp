// The whole schema ladder on a real server: from every version to one and the same schema.
#include <set>

#include "server/site_schema_site.h"
#include "support/expected_file.h"
#include "support/trials.h"

namespace twupdate::test {
namespace {

class SiteSchemaEndState : public SiteSchemaOnServer {};

TEST_F(SiteSchemaEndState, OfAFullSiteIsTheExpectedOne) {
    MakeFullSite(7);
    RunLadder(7);
    EXPECT_TRUE(IsSchemaOfFile(ExpectedFile("site_schema_full.txt"), SchemaOf("tw_7")));
}

TEST_F(SiteSchemaEndState, OfABareSiteIsTheExpectedOne) {
    MakeBareSite(7);
    RunLadder(7);
    EXPECT_TRUE(IsSchemaOfFile(ExpectedFile("site_schema_bare.txt"), SchemaOf("tw_7")));
}

TEST_F(SiteSchemaEndState, IsTheSameFromEveryVersionOfTheLadder) {
    const Schema full = Expected("site_schema_full.txt");
    // Around the steps that run twice or rewrite what they find; the long run takes every one.
    std::set<double> versions = {1.0018, 1.0028, 1.0030, 1.0035, 1.0047, 1.0075, 1.0077,
                                 1.0091, 1.0225, 1.0229, 1.0233, 1.0249, 1.0250, 1.0251};
    if (Soak()) {
        for (const LadderStep& rung : LadderSteps(Ladder::kSiteSchema)) {
            versions.insert(rung.threshold);
        }
        ASSERT_EQ(versions.size(), LadderSteps(Ladder::kSiteSchema).size());
    }
    Trials trials("site schema ladder: the end from each start");
    for (const double version : versions) {
        trials.Next();
        MakeFullSite(7);
        RunRungsUpTo(7, version);
        RunLadder(7, version);
        EXPECT_TRUE(SameSchema(full, SchemaOf("tw_7"))) << "from " << version;
        DropSite(7);
    }
}

TEST_F(SiteSchemaEndState, IsNotChangedBySecondRuns) {
    MakeFullSite(7);
    MakeBareSite(8);
    for (const std::int32_t site : {7, 8}) {
        const std::string db = "tw_" + std::to_string(site);
        RunLadder(site);
        const Schema schema = SchemaOf(db);
        const auto rows = RowsWithoutParameterIds(site);
        for (const double version : {1.0, 1.0027, 1.0249, 1.0264}) {
            RunLadder(site, version);
            EXPECT_TRUE(SameSchema(schema, SchemaOf(db))) << version;
            EXPECT_TRUE(SameRows(rows, RowsWithoutParameterIds(site))) << version;
        }
    }
}

TEST_F(SiteSchemaEndState, ComesFromSessionsOfOlderModesToo) {
    for (const char* mode : {"NO_ENGINE_SUBSTITUTION", "TRADITIONAL", "ANSI_QUOTES"}) {
        Reconnect(mode);
        MakeFullSite(7);
        RunLadder(7);
        EXPECT_TRUE(SameSchema(Expected("site_schema_full.txt"), SchemaOf("tw_7"))) << mode;
        DropSite(7);
    }
}

TEST_F(SiteSchemaEndState, IsReachedOnASiteOfAnotherCharacterSet) {
    Sql("CREATE DATABASE tw_7 CHARACTER SET latin1;");
    MakeFullSite(7);
    RunLadder(7);
    EXPECT_TRUE(SameSchema(Expected("site_schema_full.txt"), SchemaOf("tw_7")));
}

TEST_F(SiteSchemaEndState, LeavesOtherDatabasesAlone) {
    MakeFullSite(7);
    MakeFullSite(70);
    const Schema schema = SchemaOf("tw_70");
    const auto rows = RowsOf("tw_70");
    const Schema central = SchemaOf("tw_tarnwick");
    const auto centralRows = RowsOf("tw_tarnwick");
    RunLadder(7);
    EXPECT_TRUE(SameSchema(schema, SchemaOf("tw_70")));
    EXPECT_TRUE(SameRows(rows, RowsOf("tw_70")));
    EXPECT_TRUE(SameSchema(central, SchemaOf("tw_tarnwick")));
    EXPECT_TRUE(SameRows(centralRows, RowsOf("tw_tarnwick")));
}

TEST_F(SiteSchemaEndState, ChangesOnlyTheseRows) {
    MakeFullSite(7);
    const auto before = RowsOf("tw_7");
    RunLadder(7);
    EXPECT_TRUE(OnlyTheseRowsChanged(
        before, RowsOf("tw_7"),
        {"- formloadingproperty 50, 1, 2: value 3", "+ formmappingproperty 50, 1, 2: value 3",
         // Rows without a primary key have no identity: they come back under the new key.
         "- externallookupfeedfield: fieldid 31, requestparamname 'postcode'",
         "- externallookupfeedfield: fieldid 32",
         "+ externallookupfeedfield 1: fieldid 31, requestparamname 'postcode'",
         "+ externallookupfeedfield 2: fieldid 32",
         "+ externallookupfeedparam 1: name 'postcode', type 1, sequence 999",
         // Money, with its two decimals.
         "chargeregion 1: price 3.5 -> 3.50",
         "chargeregionvalueband 1: bandstart 100 -> 100.00, price 2 -> 2.00",
         "customerorder 1: chargetotal 0.1 -> 0.10",
         "form_50 1: field_11_targetformid (new) -> 60, field_9_filesize (new) -> 12, "
         "field_9_filetype (new) -> 'pdf'",
         "form_50 2: field_6 0 -> 0.00, field_11_targetformid (new) -> 60",
         "formfield 4: pageparamtype (new) -> 1", "formfield 8: pageparamcompletion (new) -> 1",
         "formfield 9: pageparamcompletion (new) -> 1",
         "formfieldexpressionfield 1: prefix 'a&nbsp;b' -> 'a b', prefixlen (new) -> 3",
         "formlink 1: productlinkprice 1.5 -> 1.50, objformid (new) -> 61",
         "formlink 2: objformid (new) -> 62",
         // Added with the default 0.5; the conversion leaves the value and makes the default 0.
         "navigation 1: xmlmappriority (new) -> 0.5"}));
}

}  // namespace
}  // namespace twupdate::test
