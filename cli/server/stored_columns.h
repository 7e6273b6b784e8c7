#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// What the server cuts off the end of a text that is too long, without an error.
inline constexpr const char* kWhiteSpace = " \t\n\v\f\r";

/// What a column can hold.
struct StoredColumn {
    std::string type;      ///< "varchar", "int", …
    std::string fullType;  ///< "varchar(100)", "int(10) unsigned", …
    bool nullable = false;
    bool needsValue = false;  ///< a strict sql_mode refuses an INSERT that does not name it
    std::optional<std::uint64_t> length;  ///< characters of CHAR and VARCHAR, bytes of TEXT types
    std::string charset;                  ///< empty: not a text
};

/// The smallest and the largest number of a column of whole numbers; nothing for other types, and
/// for BIGINT, which holds what a step writes.
std::optional<std::pair<double, double>> RangeOf(const StoredColumn& column);

/// False for a number that a column of whole numbers refuses.
bool HoldsNumber(const StoredColumn& column, double number);

struct StoredTable {
    std::map<std::string, StoredColumn> columns;
    std::vector<std::string> key;  ///< the columns of the primary key
    std::string charset;           ///< of a text column that is added or altered
    std::string idColumn;          ///< counted by the server; empty: none is
    double nextId = 0;             ///< its next value
    bool transactional = true;     ///< false: as MyISAM, where a strict mode may cut without error
};

/// The tables of a database with what their columns can hold.
struct StoredTables {
    std::map<std::string, StoredTable> tables;
    std::string charset;  ///< of a table that is added

    /// Nothing when there is no such column.
    const StoredColumn* Find(const std::string& table, const std::string& column) const;
};

StoredTables ReadStoredTables(host::Connection& connection, const std::string& database);

/// True when a column of that character set takes the bytes whole, which a statement of this
/// session holds between quotes.
bool IsTextIn(host::Connection& connection, const std::string& charset, const std::string& bytes);

/// An expression for the text, whatever it holds.
std::string TextLiteral(const std::string& text);

/// The session's character set.
std::string SessionCharset(host::Connection& connection);

}  // namespace twupdate::cli
