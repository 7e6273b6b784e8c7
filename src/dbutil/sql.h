#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

/// Helpers with which the steps put statements together and read rows.
namespace twupdate {

inline void AppendSql(std::string& sql, std::string_view part) {
    sql.append(part);
}

inline void AppendSql(std::string& sql, std::int32_t number) {
    char digits[16];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    sql.append(digits, end);
}

/// Joins the parts of a statement: text as it stands, numbers in plain decimal.
template <typename... Parts>
std::string Sql(const Parts&... parts) {
    std::string sql;
    (AppendSql(sql, parts), ...);
    return sql;
}

/// The text as it may stand between single quotes.
std::string EscapeSql(std::string_view text);

inline constexpr std::string_view kCentralDatabase = "tw_tarnwick";

/// The name of a site's database: site 7 gives "tw_7".
inline std::string SiteDatabase(std::int32_t siteId) {
    return Sql("tw_", siteId);
}

}  // namespace twupdate
