#include "twupdate/value.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

#include "twupdate/error.h"

namespace twupdate {
namespace {

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n\v\f";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The number that the whole text spells in decimal notation, with an optional sign and exponent.
std::optional<double> ParseNumber(std::string_view text) {
    text = Trimmed(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    // from_chars would also accept "inf" and "nan", which are not numbers in a column.
    if (text.empty() || text.find_first_not_of("0123456789.eE+-") != std::string_view::npos) {
        return std::nullopt;
    }
    double number = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (status != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

std::string Shown(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    return "'" + std::string(text.substr(0, kLongest)) + (text.size() > kLongest ? "…'" : "'");
}

double RoundHalfToEven(double number) {
    const double below = std::floor(number);
    const double fraction = number - below;
    if (fraction < 0.5 || (fraction == 0.5 && std::fmod(below, 2) == 0)) {
        return below;
    }
    return below + 1;
}

template <typename Number>
std::string NumberText(Number number) {
    char text[400];  // the longest double in plain notation has 327 characters
    if constexpr (std::is_floating_point_v<Number>) {
        const auto end =
            std::to_chars(std::begin(text), std::end(text), number, std::chars_format::fixed).ptr;
        return {text, end};
    } else {
        return {text, std::to_chars(std::begin(text), std::end(text), number).ptr};
    }
}

}  // namespace

bool Value::IsNumeric() const {
    if (const auto* text = std::get_if<std::string>(&data_)) {
        return ParseNumber(*text).has_value();
    }
    return !IsNull();
}

double Value::ToDouble() const {
    if (const auto* integer = std::get_if<std::int64_t>(&data_)) {
        return static_cast<double>(*integer);
    }
    if (const auto* number = std::get_if<double>(&data_)) {
        return *number;
    }
    if (const auto* text = std::get_if<std::string>(&data_)) {
        if (const auto number = ParseNumber(*text)) {
            return *number;
        }
        throw ConversionError(Shown(*text) + " is not a number");
    }
    throw ConversionError("NULL instead of a number");
}

std::int32_t Value::ToInt32() const {
    constexpr auto kMin = std::numeric_limits<std::int32_t>::min();
    constexpr auto kMax = std::numeric_limits<std::int32_t>::max();
    const double number = RoundHalfToEven(ToDouble());
    if (!(number >= kMin && number <= kMax)) {
        throw OverflowError(ToText() + " is out of range for a 32-bit integer");
    }
    return static_cast<std::int32_t>(number);
}

std::string Value::ToText() const {
    if (const auto* text = std::get_if<std::string>(&data_)) {
        return *text;
    }
    if (const auto* integer = std::get_if<std::int64_t>(&data_)) {
        return NumberText(*integer);
    }
    if (const auto* number = std::get_if<double>(&data_)) {
        return NumberText(*number);
    }
    throw ConversionError("NULL instead of a text");
}

bool Value::ToBool() const {
    return ToDouble() != 0;
}

}  // namespace twupdate
