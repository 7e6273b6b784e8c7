#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "twupdate/host.h"

/// Reading a recordset's current row by column name. A value that cannot be read as the type is a
/// ConversionError or OverflowError that names the column.
namespace twupdate {

std::int32_t Int32Field(const Recordset& row, std::string_view column);
double DoubleField(const Recordset& row, std::string_view column);
std::string TextField(const Recordset& row, std::string_view column);
bool BoolField(const Recordset& row, std::string_view column);

}  // namespace twupdate
