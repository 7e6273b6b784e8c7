#include "twupdate/value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "twupdate/error.h"

namespace twupdate {
namespace {

TEST(Value, RoundsAFractionHalfToEven) {
    EXPECT_EQ(Value(0.5).ToInt32(), 0);
    EXPECT_EQ(Value(1.5).ToInt32(), 2);
    EXPECT_EQ(Value(2.5).ToInt32(), 2);
    EXPECT_EQ(Value(-0.5).ToInt32(), 0);
    EXPECT_EQ(Value(-1.5).ToInt32(), -2);
    EXPECT_EQ(Value(-2.5).ToInt32(), -2);
    EXPECT_EQ(Value(2.4999).ToInt32(), 2);
    EXPECT_EQ(Value(2.5001).ToInt32(), 3);
    EXPECT_EQ(Value("12.5").ToInt32(), 12);
}

TEST(Value, OverflowsOutsideThirtyTwoBits) {
    EXPECT_EQ(Value(std::int64_t{2147483647}).ToInt32(), 2147483647);
    EXPECT_EQ(Value(std::int64_t{-2147483648}).ToInt32(), std::numeric_limits<std::int32_t>::min());
    EXPECT_THROW(static_cast<void>(Value(std::int64_t{2147483648}).ToInt32()), OverflowError);
    EXPECT_THROW(static_cast<void>(Value(std::int64_t{-2147483649}).ToInt32()), OverflowError);
    EXPECT_THROW(static_cast<void>(Value("9000000000000000001").ToInt32()), OverflowError);
    // 2147483647.5 is halfway to 2147483648, the even neighbour.
    EXPECT_THROW(static_cast<void>(Value(2147483647.5).ToInt32()), OverflowError);
    EXPECT_EQ(Value(-2147483648.5).ToInt32(), std::numeric_limits<std::int32_t>::min());
    EXPECT_THROW(static_cast<void>(Value(std::numeric_limits<double>::quiet_NaN()).ToInt32()),
                 OverflowError);
    EXPECT_THROW(static_cast<void>(Value(std::numeric_limits<double>::infinity()).ToInt32()),
                 OverflowError);
}

TEST(Value, NullIsAnErrorWhereANumberOrTextMustBe) {
    EXPECT_THROW(static_cast<void>(Value().ToInt32()), ConversionError);
    EXPECT_THROW(static_cast<void>(Value().ToDouble()), ConversionError);
    EXPECT_THROW(static_cast<void>(Value().ToBool()), ConversionError);
    EXPECT_THROW(static_cast<void>(Value().ToText()), ConversionError);
}

std::string ErrorOf(const Value& value) {
    try {
        static_cast<void>(value.ToInt32());
    } catch (const ConversionError& error) {
        return error.what();
    }
    return "";
}

TEST(Value, AnErrorShowsTheValueAndOfALongTextItsBeginning) {
    const std::string forty(40, 'x');
    EXPECT_EQ(ErrorOf(Value("ten")), "'ten' is not a number");
    EXPECT_EQ(ErrorOf(Value(forty)), "'" + forty + "' is not a number");
    EXPECT_EQ(ErrorOf(Value(forty + "x")), "'" + forty + "…' is not a number");
    EXPECT_EQ(ErrorOf(Value()), "NULL instead of a number");
    EXPECT_EQ(ErrorOf(Value("2147483648")), "2147483648 is out of range for a 32-bit integer");
    try {
        static_cast<void>(Value().ToText());
        FAIL() << "nothing was thrown";
    } catch (const ConversionError& error) {
        EXPECT_STREQ(error.what(), "NULL instead of a text");
    }
}

TEST(Value, ReadsNumbersFromText) {
    EXPECT_EQ(Value(" 12 ").ToInt32(), 12);
    EXPECT_EQ(Value("\t\r\n\v\f12\f\v\n\r\t").ToInt32(), 12);
    EXPECT_EQ(Value("+7").ToInt32(), 7);
    EXPECT_EQ(Value("-7").ToInt32(), -7);
    EXPECT_DOUBLE_EQ(Value("1.0265").ToDouble(), 1.0265);
    EXPECT_DOUBLE_EQ(Value("1e3").ToDouble(), 1000);
    for (const char* text :
         {"", "  ", "abc", "12a", "1 2", "+-1", "inf", "nan", "0x10", "--1", "+ 1", "++1", "1,5"}) {
        EXPECT_THROW(static_cast<void>(Value(text).ToDouble()), ConversionError) << text;
        EXPECT_FALSE(Value(text).IsNumeric()) << text;
    }
}

TEST(Value, WritesNumbersInPlainDecimal) {
    EXPECT_EQ(Value(1.0265).ToText(), "1.0265");
    EXPECT_EQ(Value(1e20).ToText(), "100000000000000000000");
    EXPECT_EQ(Value(-7).ToText(), "-7");
    EXPECT_EQ(Value(0.1).ToText(), "0.1");
    EXPECT_EQ(Value(std::numeric_limits<double>::denorm_min()).ToText().size(), 326U);
}

TEST(Value, IsTrueUnlessZero) {
    EXPECT_TRUE(Value(-1).ToBool());
    EXPECT_TRUE(Value(1).ToBool());
    EXPECT_TRUE(Value("-1").ToBool());
    EXPECT_FALSE(Value(0).ToBool());
    EXPECT_FALSE(Value("0").ToBool());
}

}  // namespace
}  // namespace twupdate
