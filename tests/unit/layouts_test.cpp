#include "sample/layouts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "twupdate_host/catalogue.h"

namespace twupdate::test {
namespace {

using host::Catalogue;
using sample::AllGroups;
using sample::Group;
using sample::Groups;
using sample::Layouts;
using sample::SplitStatements;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(Layouts, AScriptIsSplitAtSemicolonsOutsideQuotes) {
    EXPECT_THAT(SplitStatements("-- a; comment\nSELECT 'a;b';\n\n SELECT \"it's; --\", `x;y` ;"),
                ElementsAre("SELECT 'a;b';", "SELECT \"it's; --\", `x;y`;"));
    EXPECT_THAT(SplitStatements("SELECT 'it''s;', 'back\\'s;' -- end; here\n;SELECT 2"),
                ElementsAre("SELECT 'it''s;', 'back\\'s;';", "SELECT 2;"));
    EXPECT_THAT(SplitStatements(" -- nothing\n ;; \n"), IsEmpty());
}

TEST(Layouts, TheCentralDatabaseStandsAtItsFirstVersion) {
    const auto statements = Layouts().Central();
    EXPECT_EQ("CREATE DATABASE tw_tarnwick;", statements.front());
    EXPECT_THAT(statements,
                testing::Contains("INSERT INTO tw_tarnwick.installation(version) VALUES(1.0000);"));
}

TEST(Layouts, ASiteHasItsCoreTablesAndThoseOfItsGroups) {
    Catalogue bare;
    for (const auto& statement : Layouts().Site(7, {})) {
        bare.Run(statement);
    }
    EXPECT_NE(nullptr, bare.Find("tw_7", "feature"));
    EXPECT_EQ(nullptr, bare.Find("tw_7", "formfield"));

    Catalogue forum;
    for (const auto& statement : Layouts().Site(8, {Group::kForum})) {
        forum.Run(statement);
    }
    EXPECT_NE(nullptr, forum.Find("tw_8", "forum"));
    EXPECT_EQ(nullptr, forum.Find("tw_8", "basket"));

    Catalogue full;
    for (const auto& statement : Layouts().Site(9, AllGroups())) {
        full.Run(statement);
    }
    for (const char* table : {"formlink", "querytable", "externallookupfeedfield", "customerorder",
                              "chargeregion", "commission", "forum", "oauthconsumer"}) {
        EXPECT_NE(nullptr, full.Find("tw_9", table)) << table;
    }
}

TEST(Layouts, AFormHasOneColumnForEachField) {
    const Layouts layouts;
    Catalogue catalogue;
    catalogue.AddDatabase("tw_7");
    for (const auto& statement : layouts.FormTable(7, 20)) {
        catalogue.Run(statement);
    }
    catalogue.Run(layouts.FormField(7, 20, 3, "memo"));
    catalogue.Run(layouts.FormField(7, 20, 4, "currency"));
    EXPECT_EQ("TEXT DEFAULT '' NOT NULL", catalogue.Definition("tw_7", "form_20", "field_3"));
    EXPECT_EQ("FLOAT DEFAULT 0 NOT NULL", catalogue.Definition("tw_7", "form_20", "field_4"));
    EXPECT_THROW(layouts.FormField(7, 20, 5, "colour"), std::runtime_error);
    EXPECT_THAT(layouts.FieldTypes(),
                UnorderedElementsAre("text", "memo", "dhtml", "integer", "float", "currency",
                                     "boolean", "date", "file", "image", "formlink",
                                     "multiformlink", "productfamily"));
}

TEST(Layouts, AnImportedSiteCarriesTheCentralTablesUnderAPrefix) {
    Catalogue catalogue;
    catalogue.AddDatabase("tw_7");
    for (const auto& statement : Layouts().ImportedMasterData(7)) {
        catalogue.Run(statement);
    }
    EXPECT_NE(nullptr, catalogue.Find("tw_7", "tw_site"));
    EXPECT_NE(nullptr, catalogue.Find("tw_7", "tw_installation"));
    EXPECT_FALSE(catalogue.HasDatabase("tw_tarnwick"));
}

TEST(Layouts, AMissingFileIsNamed) {
    try {
        Layouts layouts("/nonexistent");
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("cannot read the layout /nonexistent/central.sql", error.what());
    }
}

}  // namespace
}  // namespace twupdate::test
