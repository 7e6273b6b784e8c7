#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// What a column can hold.
struct StoredColumn {
    std::string type;      ///< "varchar", "int", …
    std::string fullType;  ///< "varchar(100)", "int(10) unsigned", …
    bool nullable = false;
    std::optional<std::uint64_t> length;  ///< characters of CHAR and VARCHAR, bytes of TEXT types
    std::string charset;                  ///< empty: not a text
};

struct StoredTable {
    std::map<std::string, StoredColumn> columns;
    std::vector<std::string> key;  ///< the columns of the primary key
    std::string charset;           ///< of a text column that is added or altered
};

/// The tables of a database with what their columns can hold.
struct StoredTables {
    std::map<std::string, StoredTable> tables;
    std::string charset;  ///< of a table that is added

    /// Nothing when there is no such column.
    const StoredColumn* Find(const std::string& table, const std::string& column) const;
};

StoredTables ReadStoredTables(host::Connection& connection, const std::string& database);

}  // namespace twupdate::cli
