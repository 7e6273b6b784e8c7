#include "cli/server/queries.h"

#include <fmt/format.h>

#include <memory>

#include "cli/server/server_errors.h"

namespace twupdate::cli {
namespace {

/// Nothing if there is nothing to read.
std::unique_ptr<host::Rows> RowsIfThere(host::Connection& connection, const std::string& query) {
    try {
        return connection.Query(query);
    } catch (const HostError& error) {
        if (!IsMissing(error) && !IsDenied(error)) {
            throw;
        }
        return nullptr;
    }
}

}  // namespace

std::optional<std::string> FirstCell(host::Connection& connection, const std::string& query) {
    const auto rows = RowsIfThere(connection, query);
    return rows && rows->Next() ? std::optional(TextOrEmpty(rows->Get(0))) : std::nullopt;
}

std::vector<std::string> FirstColumn(host::Connection& connection, const std::string& query) {
    std::vector<std::string> values;
    const auto rows = RowsIfThere(connection, query);
    while (rows && rows->Next()) {
        values.push_back(TextOrEmpty(rows->Get(0)));
    }
    return values;
}

bool HasRows(host::Connection& connection, const std::string& query) {
    return FirstCell(connection, query + " LIMIT 1;").has_value();
}

bool HasRows(host::Connection& connection, const std::string& database, std::string_view query) {
    return HasRows(connection, fmt::format(fmt::runtime(query), database));
}

std::string TextOrEmpty(const Value& value) {
    return value.IsNull() ? std::string() : value.ToText();
}

bool IsMissing(const HostError& error) {
    return error.Code() == kUnknownDatabase || error.Code() == kUnknownColumn ||
           error.Code() == kUnknownTable;
}

bool IsDenied(const HostError& error) {
    return error.Code() == kDatabaseDenied || error.Code() == kTableDenied ||
           error.Code() == kColumnDenied;
}

std::string SqlMode(host::Connection& connection) {
    return FirstCell(connection, "SELECT @@SESSION.sql_mode;").value_or("");
}

bool IsStrict(const std::string& sqlMode) {
    return sqlMode.find("STRICT_") != std::string::npos;  // _TRANS_TABLES or _ALL_TABLES
}

bool IsStrictForAll(const std::string& sqlMode) {
    return sqlMode.find("STRICT_ALL_TABLES") != std::string::npos;
}

}  // namespace twupdate::cli
