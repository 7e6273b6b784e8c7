#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "twupdate/twupdate.h"

namespace capi_test {

/// A value on the host's side of the C interface.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string>;

inline Cell ToCell(const twu_value& value) {
    switch (value.type) {
        case TWU_INTEGER:
            return value.as.integer;
        case TWU_REAL:
            return value.as.real;
        case TWU_TEXT:
            return std::string(value.as.text.data, value.as.text.size);
        default:
            return {};
    }
}

/// Hands the cell out. A text stays the cell's own.
inline void ToValue(const Cell& cell, twu_value& value) {
    if (const auto* integer = std::get_if<std::int64_t>(&cell)) {
        value.type = TWU_INTEGER;
        value.as.integer = *integer;
    } else if (const auto* real = std::get_if<double>(&cell)) {
        value.type = TWU_REAL;
        value.as.real = *real;
    } else if (const auto* text = std::get_if<std::string>(&cell)) {
        value.type = TWU_TEXT;
        value.as.text = {text->data(), text->size()};
    }
}

}  // namespace capi_test
