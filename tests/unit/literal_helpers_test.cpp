#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/update_test_peer.h"

namespace twupdate {
namespace {

using Peer = UpdateTestPeer;
using ::testing::ElementsAre;

TEST(SqlEscape, DoublesQuotes) {
    EXPECT_EQ(Peer::SqlEscape("O'Brien"), "O''Brien");
    EXPECT_EQ(Peer::SqlEscape("''"), "''''");
}

TEST(SqlEscape, DoublesBackslashes) {
    EXPECT_EQ(Peer::SqlEscape("\\n"), "\\\\n");
    EXPECT_EQ(Peer::SqlEscape("\\"), "\\\\");
}

TEST(SqlEscape, WritesALineBreakPairAsFourCharacters) {
    EXPECT_EQ(Peer::SqlEscape("a\r\nb"), "a\\r\\nb");
    EXPECT_EQ(Peer::SqlEscape("\r\r\n\n"), "\r\\r\\n\n");
}

TEST(SqlEscape, LeavesLoneReturnsAndLineFeeds) {
    EXPECT_EQ(Peer::SqlEscape("a\rb\nc\r"), "a\rb\nc\r");
}

TEST(SqlEscape, LeavesAnEmptyTextEmptyAndKeepsZeroBytes) {
    EXPECT_EQ(Peer::SqlEscape(""), "");
    EXPECT_EQ(Peer::SqlEscape(std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

class FixedField : public Field {
  public:
    explicit FixedField(twupdate::Value value) : value_(std::move(value)) {}
    twupdate::Value Value() const override { return value_; }

  private:
    twupdate::Value value_;
};

class BrokenField : public Field {
  public:
    twupdate::Value Value() const override { throw HostError("", 0, "", "cannot be read"); }
};

TEST(FieldText, GivesTheTextAndReadsNullAndErrorsAsEmpty) {
    EXPECT_EQ(Peer::FieldText(FixedField("abc")), "abc");
    EXPECT_EQ(Peer::FieldText(FixedField(12)), "12");
    EXPECT_EQ(Peer::FieldText(FixedField(Value())), "");
    EXPECT_EQ(Peer::FieldText(BrokenField()), "");
}

TEST(NumberOrDefault, TakesTheDefaultForBlanksNullAndWords) {
    EXPECT_EQ(Peer::NumberOrDefault("   ", 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault("", 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault("12", 5), 12);
    EXPECT_EQ(Peer::NumberOrDefault("twelve", 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault(Value(), 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault("3000000000", 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault(-2147483649.0, 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault(2.5, 5), 2);
    EXPECT_EQ(Peer::NumberOrDefault(3.5, 5), 4);
}

// Half a number beyond an end rounds to the even one, which is within the range at the lower end.
TEST(NumberOrDefault, TakesTheDefaultForWhatDoesNotFitOnceItIsRounded) {
    EXPECT_EQ(Peer::NumberOrDefault(2147483647, 5), 2147483647);
    EXPECT_EQ(Peer::NumberOrDefault(2147483647.4, 5), 2147483647);
    EXPECT_EQ(Peer::NumberOrDefault(2147483647.5, 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault(std::int64_t{2147483648}, 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault(-2147483648.5, 5), -2147483648);
    EXPECT_EQ(Peer::NumberOrDefault("-2147483648.6", 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault(std::numeric_limits<double>::quiet_NaN(), 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault(std::numeric_limits<double>::infinity(), 5), 5);
    EXPECT_EQ(Peer::NumberOrDefault("1e999", 5), 5);
}

TEST(DecodeAngleBrackets, DecodesOnlyTheTwoBrackets) {
    EXPECT_EQ(Peer::DecodeAngleBrackets("&lt;b&gt; &amp; &quot;"), "<b> &amp; &quot;");
    EXPECT_EQ(Peer::DecodeAngleBrackets("&amp;lt;"), "&amp;lt;");
    EXPECT_EQ(Peer::DecodeAngleBrackets("&amp;&lt;"), "&amp;<");
    EXPECT_EQ(Peer::DecodeAngleBrackets("&LT;"), "&LT;");
    EXPECT_EQ(Peer::DecodeAngleBrackets(""), "");
}

TEST(NumberToLetters, FillsUpWithZ) {
    EXPECT_EQ(Peer::NumberToLetters(0), "");
    EXPECT_EQ(Peer::NumberToLetters(1), "A");
    EXPECT_EQ(Peer::NumberToLetters(25), "Y");
    EXPECT_EQ(Peer::NumberToLetters(26), "Z");
    EXPECT_EQ(Peer::NumberToLetters(27), "ZA");
    EXPECT_EQ(Peer::NumberToLetters(52), "ZZ");
    EXPECT_EQ(Peer::NumberToLetters(-3), "");
}

TEST(FixedIdList, HoldsFourteenNumbersWithAZeroAtIndexThree) {
    EXPECT_THAT(Peer::FixedIdList(), ElementsAre(100, 400, 500, 0, 600, 700, 800, 900, 1000, 1300,
                                                 1600, 2900, 3700, 4100));
}

TEST(GetFileExtension, IsTheLowerCaseTailAfterTheLastDot) {
    EXPECT_EQ(Peer::GetFileExtension("C:\\files\\a.PDF"), "pdf");
    EXPECT_EQ(Peer::GetFileExtension("a.tar.gz"), "gz");
    EXPECT_EQ(Peer::GetFileExtension("a.mp3"), "mp3");
}

TEST(GetFileExtension, IsEmptyWithoutAMatch) {
    for (const char* path : {"", "a", "a.", "a.p-f", "pdf", "a.pdf ", "a.pdf\n"}) {
        EXPECT_EQ(Peer::GetFileExtension(path), "") << path;
    }
}

TEST(GetFileExtension, IsEmptyWhenLongerThanTwentyCharacters) {
    EXPECT_EQ(Peer::GetFileExtension("a." + std::string(20, 'x')), std::string(20, 'x'));
    EXPECT_EQ(Peer::GetFileExtension("a." + std::string(21, 'x')), "");
    EXPECT_EQ(Peer::GetFileExtension("a." + std::string(1'000'000, 'x')), "");
}

}  // namespace
}  // namespace twupdate
