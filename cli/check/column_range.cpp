#include "cli/check/column_range.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace twupdate::cli {
namespace {

/// The numbers in the brackets of a type, 0 where there are none.
std::pair<unsigned long, unsigned long> Numbers(const std::string& type) {
    unsigned long first = 0;
    unsigned long second = 0;
    std::sscanf(type.c_str(), "%*[a-z](%lu,%lu)", &first, &second);
    return {first, second};
}

}  // namespace

std::uint64_t BytesOfCharacter(const std::string& charset) {
    static const std::map<std::string, std::uint64_t> bytes{
        {"utf8mb4", 4}, {"utf8mb3", 3}, {"utf8", 3}, {"ucs2", 2}, {"utf16", 4}, {"utf32", 4}};
    const auto found = bytes.find(charset);
    return found == bytes.end() ? 1 : found->second;
}

std::string BaseType(const host::Catalogue::Column& column) {
    return column.type.substr(0, column.type.find_first_of("( "));
}

std::optional<std::uint64_t> TextLength(const host::Catalogue::Column& column) {
    static const std::map<std::string, std::uint64_t> lengths{{"tinytext", 255},
                                                              {"text", 65'535},
                                                              {"mediumtext", 16'777'215},
                                                              {"longtext", 4'294'967'295}};
    const std::string type = BaseType(column);
    if (const auto length = lengths.find(type); length != lengths.end()) {
        return length->second;
    }
    return type == "char" || type == "varchar" ? std::optional(Numbers(column.type).first)
                                               : std::nullopt;
}

std::optional<std::pair<double, double>> RangeOf(const host::Catalogue::Column& column) {
    static const std::map<std::string, int> bits{
        {"tinyint", 8}, {"smallint", 16}, {"mediumint", 24}, {"int", 32}, {"bigint", 64}};
    const auto found = bits.find(BaseType(column));
    if (found == bits.end()) {
        return std::nullopt;
    }
    const bool isUnsigned = column.type.find("unsigned") != std::string::npos;
    const double values = std::ldexp(1.0, found->second);
    return isUnsigned ? std::pair(0.0, values - 1) : std::pair(-values / 2, values / 2 - 1);
}

std::optional<int> WholeDigits(const host::Catalogue::Column& column) {
    const auto [digits, decimals] = Numbers(column.type);
    return BaseType(column) == "decimal" ? std::optional(static_cast<int>(digits - decimals))
                                         : std::nullopt;
}

bool HasKey(const host::Catalogue::Table& table) {
    return std::any_of(table.indexes.begin(), table.indexes.end(), [&](const auto& index) {
        return index.unique && std::all_of(index.parts.begin(), index.parts.end(), [&](auto& part) {
                   const auto* column = table.Find(part.column);
                   return column != nullptr && !column->nullable;
               });
    });
}

}  // namespace twupdate::cli
