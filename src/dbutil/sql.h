#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

/// Helpers with which the steps put statements together and read rows.
namespace twupdate {

inline void AppendTo(std::string& text, std::string_view part) {
    text.append(part);
}

inline void AppendTo(std::string& text, std::int32_t number) {
    char digits[16];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    text.append(digits, end);
}

/// Joins texts as they stand and numbers in plain decimal.
template <typename... Parts>
std::string Concat(const Parts&... parts) {
    std::string text;
    (AppendTo(text, parts), ...);
    return text;
}

/// The same for a statement, or for a part of one.
template <typename... Parts>
std::string Sql(const Parts&... parts) {
    return Concat(parts...);
}

/// The text, escaped for single quotes.
std::string EscapeSql(std::string_view text);

/// The number of rows that a step reads with one query if there may be many.
inline constexpr std::int32_t kRowsPerPage = 50;
/// The same for e-mails, which are long.
inline constexpr std::int32_t kEmailsPerPage = 20;

inline constexpr std::string_view kCentralDatabase = "tw_tarnwick";

/// The name of a site's database: site 7 gives "tw_7".
inline std::string SiteDatabase(std::int32_t siteId) {
    return Concat("tw_", siteId);
}

}  // namespace twupdate
