#include "dbutil/inspection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/recording_host.h"

namespace twupdate {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class InspectionOfASite : public testing::Test {
  protected:
    InspectionOfASite() {
        for (const char* table : {"columns(table_name TEXT)", "tables(table_name TEXT)"}) {
            host.catalogue.AddTable("information_schema", table);
        }
        host.catalogue.AddTable("tw_7", "email(emailid INT)");
        host.catalogue.AddTable("tw_7", "a(a INT)");
    }
    ~InspectionOfASite() override { EXPECT_EQ(host.openRecordsets, 0); }

    test::RecordingHost host;
    const Inspection inspection{host, "tw_7"};
};

const char* const kColumnsOfEmail =
    "SELECT column_name AS name, column_type AS type, column_default IS NOT NULL AS hasdefault "
    "FROM information_schema.columns WHERE table_schema = 'tw_7' AND table_name = 'email' "
    "ORDER BY ordinal_position;";

TEST_F(InspectionOfASite, ReadsTheColumnsOfATable) {
    host.Answer(kColumnsOfEmail, {{"name", "type", "hasdefault"},
                                  {{"emailid", "int(11)", 0}, {"rate", "float", 1}}});
    const auto columns = inspection.Columns("email");
    ASSERT_EQ(columns.size(), 2U);
    EXPECT_EQ(columns[0].name, "emailid");
    EXPECT_EQ(columns[0].type, "int(11)");
    EXPECT_FALSE(columns[0].hasDefault);
    EXPECT_EQ(columns[1].name, "rate");
    EXPECT_EQ(columns[1].type, "float");
    EXPECT_TRUE(columns[1].hasDefault);
    EXPECT_TRUE(inspection.HasTable("email"));
    EXPECT_TRUE(inspection.HasColumn("email", "rate"));
    EXPECT_FALSE(inspection.HasColumn("email", "rates"));
}

TEST_F(InspectionOfASite, ATableThatIsMissingHasNoColumns) {
    host.Answer(kColumnsOfEmail, {{"name", "type", "hasdefault"}, {}});
    EXPECT_FALSE(inspection.HasTable("email"));
    EXPECT_FALSE(inspection.HasColumn("email", "rate"));
}

TEST_F(InspectionOfASite, NamesItsTablesAndThoseWithAColumn) {
    host.Answer(
        "SELECT table_name AS name FROM information_schema.tables WHERE table_schema = 'tw_7' "
        "ORDER BY table_name;",
        {{"name"}, {{"css"}, {"email"}}});
    host.Answer(
        "SELECT c.table_name AS name FROM information_schema.columns c INNER JOIN "
        "information_schema.tables t ON t.table_schema = c.table_schema AND "
        "t.table_name = c.table_name WHERE c.table_schema = 'tw_7' AND c.column_name = 'rate' "
        "AND t.table_type = 'BASE TABLE' ORDER BY c.table_name;",
        {{"name"}, {{"email"}}});
    EXPECT_THAT(inspection.Tables(), ElementsAre("css", "email"));
    EXPECT_THAT(inspection.TablesWith("rate"), ElementsAre("email"));
}

TEST_F(InspectionOfASite, CountsRows) {
    host.Answer("SELECT COUNT(*) AS n FROM tw_7.email WHERE ishtml = 0;", {{"n"}, {{"12"}}});
    EXPECT_EQ(inspection.Count("tw_7.email WHERE ishtml = 0"), 12);
}

TEST_F(InspectionOfASite, ANumberThatIsNotThereIsZero) {
    host.Answer("SELECT MAX(a) AS n FROM tw_7.a;", {{"n"}, {{Value()}}});
    host.Answer("SELECT a AS n FROM tw_7.a;", {{"n"}, {}});
    host.Answer("SELECT b AS n FROM tw_7.a;", {{"n"}, {{5000000000}}});
    EXPECT_EQ(inspection.Number("SELECT MAX(a) AS n FROM tw_7.a;"), 0);
    EXPECT_EQ(inspection.Number("SELECT a AS n FROM tw_7.a;"), 0);
    EXPECT_EQ(inspection.Number("SELECT b AS n FROM tw_7.a;"), 5000000000);
}

TEST_F(InspectionOfASite, ReadsOneColumnOfEveryRow) {
    host.Answer("SELECT a, b FROM tw_7.a;", {{"a", "b"}, {{1, "x"}, {2, Value()}}});
    EXPECT_THAT(inspection.Texts("SELECT a, b FROM tw_7.a;", "b"), ElementsAre("x", ""));
    host.Answer("SELECT c FROM tw_7.a;", {{"c"}, {}});
    EXPECT_THAT(inspection.Texts("SELECT c FROM tw_7.a;", "c"), IsEmpty());
}

}  // namespace
}  // namespace twupdate
