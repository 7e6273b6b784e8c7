#include "cli/server/queries.h"

#include <fmt/format.h>

namespace twupdate::cli {

bool IsMissing(const HostError& error) {
    constexpr std::uint32_t kUnknownDatabase = 1049;
    constexpr std::uint32_t kUnknownColumn = 1054;
    constexpr std::uint32_t kUnknownTable = 1146;
    return error.Code() == kUnknownDatabase || error.Code() == kUnknownColumn ||
           error.Code() == kUnknownTable;
}

bool IsDenied(const HostError& error) {
    constexpr std::uint32_t kDatabaseDenied = 1044;
    constexpr std::uint32_t kTableDenied = 1142;
    constexpr std::uint32_t kColumnDenied = 1143;
    return error.Code() == kDatabaseDenied || error.Code() == kTableDenied ||
           error.Code() == kColumnDenied;
}

bool IsStrictForAll(const std::string& sqlMode) {
    return sqlMode.find("STRICT_ALL_TABLES") != std::string::npos;
}

std::vector<std::string> FirstColumn(host::Connection& connection, const std::string& query) {
    std::vector<std::string> values;
    try {
        const auto rows = connection.Query(query);
        while (rows->Next()) {
            const Value value = rows->Get(0);
            values.push_back(value.IsNull() ? "" : value.ToText());
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
    }
    return values;
}

bool HasRows(host::Connection& connection, const std::string& database, std::string_view query) {
    try {
        return connection.Query(fmt::format(fmt::runtime(query), database) + " LIMIT 1;")->Next();
    } catch (const HostError& error) {
        if (!IsMissing(error) && !IsDenied(error)) {
            throw;
        }
        return false;  // a finding of its own, at which the step fails first
    }
}

std::string SqlMode(host::Connection& connection) {
    const auto mode = connection.Query("SELECT @@SESSION.sql_mode;");
    return mode->Next() ? mode->Get(0).ToText() : std::string();
}

bool IsStrict(const std::string& sqlMode) {
    return sqlMode.find("STRICT_") != std::string::npos;  // _TRANS_TABLES or _ALL_TABLES
}

}  // namespace twupdate::cli
