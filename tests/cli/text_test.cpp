#include "cli/terminal/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>
#include <vector>

namespace twupdate::cli {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(ShortStatement, LeavesAShortStatementAsItIs) {
    EXPECT_EQ(ShortStatement("SELECT 1;"), "SELECT 1;");
}

TEST(ShortStatement, PutsLinesBehindOneAnother) {
    EXPECT_EQ(ShortStatement("SELECT 1\r\n  FROM t;"), "SELECT 1 FROM t;");
}

TEST(ShortStatement, ShortensTheMiddleAndGivesTheWholeLength) {
    const std::string sql = "INSERT " + std::string(1000, 'x') + " END;";
    EXPECT_EQ(ShortStatement(sql, 40),
              "INSERT " + std::string(23, 'x') + " ... [1012 bytes in all] ... " + "xxxxx END;");
}

TEST(ShortStatement, TearsNoCharacterApart) {
    std::string sql;
    for (int i = 0; i < 50; ++i) {
        sql += "\xE2\x82\xAC";  // three bytes each
    }
    const std::string shortened = ShortStatement(sql, 40);
    EXPECT_EQ(shortened, Printable(shortened));
}

TEST(WithoutPasswords, HidesTheValueOfAPasswordColumnInAnInsert) {
    EXPECT_EQ(WithoutPasswords("INSERT INTO tw_7.chargeoption(groupid, name, password, sequence) "
                               "VALUES(4, 'it''s', 'se\\'cret', 1);"),
              "INSERT INTO tw_7.chargeoption(groupid, name, password, sequence) "
              "VALUES(4, 'it''s', '***', 1);");
}

TEST(WithoutPasswords, HidesItInEveryRowOfAnInsert) {
    EXPECT_EQ(WithoutPasswords("INSERT INTO t(password,a) VALUES('one','1'),('two','2');"),
              "INSERT INTO t(password,a) VALUES('***','1'),('***','2');");
}

TEST(WithoutPasswords, HidesWhatIsAssignedOrCompared) {
    EXPECT_EQ(WithoutPasswords("UPDATE t SET mailserverpassword = 'x', base = 'b' WHERE a = 'c';"),
              "UPDATE t SET mailserverpassword = '***', base = 'b' WHERE a = 'c';");
    EXPECT_EQ(WithoutPasswords("SELECT 1 FROM t WHERE password <> 'x' AND name = 'n';"),
              "SELECT 1 FROM t WHERE password <> '***' AND name = 'n';");
}

TEST(WithoutPasswords, LeavesTheDefaultOfAPasswordColumn) {
    const std::string sql =
        "ALTER TABLE tw_7.charge ADD COLUMN password VARCHAR(20) DEFAULT '' NOT NULL;";
    EXPECT_EQ(WithoutPasswords(sql), sql);
}

TEST(WithoutPasswords, LeavesOtherStatementsAsTheyAre) {
    const std::string sql = "INSERT INTO tw_7.event(name) VALUES('Reset Password');";
    EXPECT_EQ(WithoutPasswords(sql), sql);
}

TEST(WithoutPasswords, TakesAnUnfinishedLiteral) {
    EXPECT_EQ(WithoutPasswords("UPDATE t SET password = 'x"), "UPDATE t SET password = '***'");
    EXPECT_EQ(WithoutPasswords("UPDATE t SET password = 'x\\"), "UPDATE t SET password = '***'");
}

TEST(VersionText, HasFourDecimals) {
    EXPECT_EQ(VersionText(1.002), "1.0020");
    EXPECT_EQ(VersionText(0), "0.0000");
    EXPECT_EQ(VersionText(std::numeric_limits<double>::quiet_NaN()), "not a number");
}

TEST(DurationText, GetsCoarserAsItGrows) {
    EXPECT_EQ(DurationText(milliseconds(40)), "0.0 s");
    EXPECT_EQ(DurationText(milliseconds(9900)), "9.9 s");
    EXPECT_EQ(DurationText(milliseconds(9990)), "10 s");
    EXPECT_EQ(DurationText(seconds(59)), "59 s");
    EXPECT_EQ(DurationText(seconds(185)), "3 min 05 s");
    EXPECT_EQ(DurationText(seconds(7640)), "2 h 07 min");
}

TEST(Count, TakesThePluralForAllButOne) {
    EXPECT_EQ(Count(0, "site"), "0 sites");
    EXPECT_EQ(Count(1, "site"), "1 site");
    EXPECT_EQ(Count(999, "site"), "999 sites");
    EXPECT_EQ(Count(1234567, "site"), "1,234,567 sites");
    EXPECT_EQ(Count(2, "site is", "sites are"), "2 sites are");
}

TEST(Printable, KeepsUtf8AndReplacesWhatIsNone) {
    EXPECT_EQ(Printable("caf\xC3\xA9"), "caf\xC3\xA9");
    EXPECT_EQ(Printable("caf\xE9!"), "caf\xEF\xBF\xBD!");
    EXPECT_EQ(Printable("a\x1b[31m\nb"), "a [31m b");
}

TEST(SplitAtBlanks, GivesTheWords) {
    EXPECT_EQ(SplitAtBlanks("one two  "), (std::vector<std::string>{"one", "two", ""}));
    EXPECT_TRUE(SplitAtBlanks("").empty());
}

TEST(DisplayWidth, CountsCharacters) {
    EXPECT_EQ(DisplayWidth("caf\xC3\xA9"), 4U);
}

TEST(FittingParts, LeavesOutThoseForWhichThereIsNoRoom) {
    const std::vector<std::string> parts{"12 of 60 sites", "8 s, about 2 min left", "", "tw_4711"};
    EXPECT_EQ(FittingParts(parts, 46), "12 of 60 sites  8 s, about 2 min left  tw_4711");
    EXPECT_EQ(FittingParts(parts, 45), "12 of 60 sites  8 s, about 2 min left");
    EXPECT_EQ(FittingParts(parts, 36), "12 of 60 sites  tw_4711");
    EXPECT_EQ(FittingParts(parts, 10), "12 of 60 s");
    EXPECT_EQ(FittingParts({"caf\xC3\xA9", "x"}, 7), "caf\xC3\xA9  x");
    EXPECT_EQ(FittingParts({"caf\xC3\xA9s"}, 4), "caf\xC3\xA9");
    EXPECT_EQ(FittingParts({}, 10), "");
}

TEST(DescribeError, NamesACallOnce) {
    EXPECT_EQ(DescribeError(HostError("Reset 7 1", 0, "", "Reset 7 1: ended with status 1")),
              "Reset 7 1: ended with status 1");
    EXPECT_EQ(DescribeError(HostError("Reset 7 1", 0, "", "ended with status 1")),
              "Reset 7 1: ended with status 1");
}

TEST(Text, DatabasesAreListedByNumber) {
    std::vector<std::string> names{"tw_tarnwick", "tw_10", "tw_logs", "tw_2", "tw_1"};
    std::sort(names.begin(), names.end(), cli::ComesBefore);
    EXPECT_EQ(names, (std::vector<std::string>{"tw_1", "tw_2", "tw_10", "tw_logs", "tw_tarnwick"}));
}

}  // namespace
}  // namespace twupdate::cli
