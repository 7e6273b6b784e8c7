#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "twupdate_host/connection.h"

// What several parts ask of a server, with one rule for what is missing.
namespace twupdate::cli {

/// True when the query, in which "{0}" stands for the database, has a row; false where a table or
/// column is missing or may not be read, which are findings of their own.
bool HasRows(host::Connection& connection, const std::string& database, std::string_view query);

/// The first column of a query of which a step asks only when its tables are there, NULL as an
/// empty text; none where a table or column is missing.
std::vector<std::string> FirstColumn(host::Connection& connection, const std::string& query);

/// True for the server's errors that a database, table or column is not there.
bool IsMissing(const HostError& error);

/// Whether a query failed because the user may not use the database, the table or the column.
bool IsDenied(const HostError& error);

/// The session's sql_mode.
std::string SqlMode(host::Connection& connection);

/// True for an sql_mode that refuses values which a column cannot hold.
bool IsStrict(const std::string& sqlMode);

/// True for a strict mode that ends a statement at any row, in tables without transactions too.
bool IsStrictForAll(const std::string& sqlMode);

}  // namespace twupdate::cli
