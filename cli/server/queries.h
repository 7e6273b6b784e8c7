#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate_host/connection.h"

// Common queries, with one rule: a database, table or column that is missing, or that the account
// may not read, has no rows. The caller reports it if necessary.
namespace twupdate::cli {

/// The first cell of the first row, NULL as an empty text; nothing without rows.
std::optional<std::string> FirstCell(host::Connection& connection, const std::string& query);

/// The first cell of each row, NULL as an empty text.
std::vector<std::string> FirstColumn(host::Connection& connection, const std::string& query);

/// Whether the query has a row; to be passed without LIMIT and semicolon.
bool HasRows(host::Connection& connection, const std::string& query);

/// The same for a query in which "{0}" stands for the database.
bool HasRows(host::Connection& connection, const std::string& database, std::string_view query);

/// A value as text, NULL as an empty one.
std::string TextOrEmpty(const Value& value);

/// True for the server's errors about a missing database, table or column.
bool IsMissing(const HostError& error);

/// Whether a query failed because the account may not use the database, table or column.
bool IsDenied(const HostError& error);

/// The session's sql_mode.
std::string SqlMode(host::Connection& connection);

/// True for an sql_mode that refuses values which a column cannot hold.
bool IsStrict(const std::string& sqlMode);

/// True for a strict mode that ends a statement at any row, even in tables without transactions.
bool IsStrictForAll(const std::string& sqlMode);

}  // namespace twupdate::cli
