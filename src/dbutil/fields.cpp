#include "dbutil/fields.h"

namespace twupdate {
namespace {

template <typename Read>
auto ReadField(const Recordset& row, std::string_view column, Read read) {
    const Value value = row.Fields().Item(column).Value();
    const auto named = [&](const std::exception& error) {
        return "column " + std::string(column) + ": " + error.what();
    };
    try {
        return read(value);
    } catch (const OverflowError& error) {
        throw OverflowError(named(error));
    } catch (const ConversionError& error) {
        throw ConversionError(named(error));
    }
}

}  // namespace

std::int32_t Int32Field(const Recordset& row, std::string_view column) {
    return ReadField(row, column, [](const Value& value) { return value.ToInt32(); });
}

double DoubleField(const Recordset& row, std::string_view column) {
    return ReadField(row, column, [](const Value& value) { return value.ToDouble(); });
}

std::string TextField(const Recordset& row, std::string_view column) {
    return ReadField(row, column, [](const Value& value) { return value.ToText(); });
}

bool BoolField(const Recordset& row, std::string_view column) {
    return ReadField(row, column, [](const Value& value) { return value.ToBool(); });
}

}  // namespace twupdate
