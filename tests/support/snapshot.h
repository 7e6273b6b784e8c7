#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "twupdate/host.h"

namespace twupdate::test {

/// The schema of one database, as text that a person can hold against a description: for each
/// table its columns in order and then its keys by name, the primary key first.
///
///     table domain
///         siteid INT DEFAULT 0 NOT NULL
///         domainname VARCHAR(100) DEFAULT '' NOT NULL
///         note LONGTEXT NULL
///         KEY domainname_idx(domainname(15))
///
/// Types stand without display widths, and a one-byte integer of width 1 is BOOL. A column without
/// a default has none written; a nullable one whose default is NULL likewise.
struct Schema {
    struct Table {
        std::vector<std::string> columns;
        std::vector<std::string> keys;
        friend bool operator==(const Table&, const Table&) = default;
    };
    std::map<std::string, Table> tables;

    std::string Text() const;
    /// Reads the form that Text() writes; blank lines and lines that begin with '#' are passed
    /// over.
    static Schema Parse(const std::string& text);
    /// Parse() of a file. @throws std::runtime_error naming the file when it cannot be read
    static Schema Load(const std::string& path);

    friend bool operator==(const Schema&, const Schema&) = default;
};

/// The rows of one database.
struct RowSnapshot {
    struct Row {
        std::string key;  ///< values of the primary key, e.g. "7" or "7, 'en'"; else a number
        std::vector<std::pair<std::string, std::string>> values;  ///< column, value as a literal
        friend bool operator==(const Row&, const Row&) = default;
    };
    struct Table {
        bool hasPrimaryKey = false;
        std::vector<std::string> keyColumns;
        std::map<std::string, std::string> defaults;  ///< column, default as a literal
        std::vector<Row> rows;  ///< by primary key; without one, by all columns
    };
    std::map<std::string, Table> tables;

    /// The value of one cell as a literal ("7", "'text'", "NULL"); nothing when there is no such
    /// table, row or column.
    std::optional<std::string> Cell(const std::string& table, const std::string& key,
                                    const std::string& column) const;
    /// One line a row: "table key: column value, …", without columns that hold their default.
    std::string Text() const;
};

/// Reads the schema of a database; a database that does not exist has no tables.
Schema SchemaOf(Utility& utility, const std::string& database);

/// Reads every row of a database.
RowSnapshot RowsOf(Utility& utility, const std::string& database);

/// What lies between two snapshots, a line for each row:
///
///     text 5: previoustext NULL -> '<p>old</p>', texttype 0 -> 20
///     + setting 12: overrideid 3, name 'LayoutElementType', type 'integer', integer_value 1
///     - setting 9: overrideid 3, name 'ExplicitLayoutElements', type 'text', text '1,2'
///
/// A new row is written without the columns that hold their default, and a column that was added
/// in between counts as changed only where it does not hold its default. Rows of tables without a
/// primary key have no identity: they come and go as wholes.
std::vector<std::string> Changes(const RowSnapshot& before, const RowSnapshot& after);

/// True when both schemas are the same; otherwise says, table by table, what is missing ("-") and
/// what is there in its place ("+").
testing::AssertionResult SameSchema(const Schema& expected, const Schema& actual);

/// True when both snapshots hold the same rows in the same tables.
testing::AssertionResult SameRows(const RowSnapshot& expected, const RowSnapshot& actual);

/// True when Changes() gives exactly these lines, in whatever order.
testing::AssertionResult OnlyTheseRowsChanged(const RowSnapshot& before, const RowSnapshot& after,
                                              const std::vector<std::string>& changes);

}  // namespace twupdate::test
