#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "twupdate_host/catalogue.h"

namespace twupdate::cli {

/// How many characters a text column holds (bytes where the type counts these); nothing for
/// another type.
std::optional<std::uint64_t> TextLength(const host::Catalogue::Column& column);

/// The smallest and the largest number of a column of whole numbers; nothing for another type.
std::optional<std::pair<double, double>> RangeOf(const host::Catalogue::Column& column);

/// The digits before the point of a DECIMAL; nothing for another type.
std::optional<int> WholeDigits(const host::Catalogue::Column& column);

/// The bytes of the longest character; 1 for what is no text.
std::uint64_t BytesOfCharacter(const std::string& charset);

/// "varchar" of "varchar(20)".
std::string BaseType(const host::Catalogue::Column& column);

/// Whether InnoDB keeps the rows by a key of the table: a unique one without NULL.
bool HasKey(const host::Catalogue::Table& table);

}  // namespace twupdate::cli
