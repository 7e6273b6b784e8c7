#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "twupdate/export.h"

namespace twupdate {

/// A Boolean as the platform stores and returns it: -1 is true, 0 is false.
using Boolean = std::int32_t;
inline constexpr Boolean kTrue = -1;
inline constexpr Boolean kFalse = 0;

/// One value of a row, a parameter or a setting: NULL, a 64-bit signed integer, a double or text.
/// Text is bytes in the connection's character set; DECIMAL, date and time values come as text.
class TWUPDATE_EXPORT Value {
  public:
    Value() = default;  ///< NULL
    Value(std::int32_t number) : data_(std::int64_t{number}) {}
    Value(std::int64_t number) : data_(number) {}
    Value(double number) : data_(number) {}
    Value(std::string text) : data_(std::move(text)) {}
    Value(std::string_view text) : data_(std::string(text)) {}
    Value(const char* text) : data_(std::string(text)) {}

    bool IsNull() const noexcept { return std::holds_alternative<std::monostate>(data_); }

    /// True for a number, and for text that, without surrounding blanks, is a decimal number.
    bool IsNumeric() const;

    /// The value as a 32-bit signed integer; a fraction is rounded half to even.
    /// @throws ConversionError for NULL and for text that is not a number
    /// @throws OverflowError   outside -2147483648 to 2147483647
    std::int32_t ToInt32() const;

    /// The value as a double.
    /// @throws ConversionError for NULL and for text that is not a number
    double ToDouble() const;

    /// The value as text; numbers in plain decimal notation with a point, shortest form that
    /// reads back as the same number.
    /// @throws ConversionError for NULL
    std::string ToText() const;

    /// True unless the value is the number 0.
    /// @throws ConversionError for NULL and for text that is not a number
    bool ToBool() const;

    using Data = std::variant<std::monostate, std::int64_t, double, std::string>;
    const Data& Get() const noexcept { return data_; }

    friend bool operator==(const Value&, const Value&) = default;

  private:
    Data data_;
};

}  // namespace twupdate
