#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/value.h"

namespace twupdate::test {

/// A statement that the catalogue's server would refuse.
struct StatementRefused {
    std::uint32_t code;
    std::string sqlState;
    std::string text;
};

/// The rows that a statement returns.
struct ResultSet {
    std::vector<std::string> columns;
    std::vector<std::vector<Value>> rows;
};

/// A small server in memory that knows databases, tables, columns and indexes, but no rows. It
/// follows the statements that change a schema (CREATE DATABASE, CREATE TABLE, ALTER TABLE,
/// RENAME TABLE, DROP) and answers those that inspect one (SHOW DATABASES, SHOW TABLES, SHOW
/// INDEXES, DESCRIBE), refusing what a server refuses: a missing table, a column or index that is
/// there already. Statements on rows are accepted when their table exists.
class Catalogue {
  public:
    struct Column {
        std::string name;
        std::string definition;    ///< as written, e.g. "INT DEFAULT 0 NOT NULL"
        std::string Type() const;  ///< as DESCRIBE reports it for the types that matter: "float"
    };
    struct Index {
        std::string name;     ///< "PRIMARY" for the primary key
        std::string columns;  ///< as written, e.g. "pageroute(20)"
        bool unique = false;
    };
    struct Table {
        std::vector<Column> columns;
        std::vector<Index> indexes;
    };

    /// Follows or answers one statement.
    /// @throws StatementRefused as the server would
    ResultSet Run(std::string_view sql);

    /// Runs every statement of a script of CREATE statements; `{siteid}` and the like must have
    /// been replaced.
    void RunScript(std::string_view script);

    bool HasDatabase(const std::string& database) const { return databases_.contains(database); }
    void AddDatabase(const std::string& database) { databases_[database]; }
    /// Adds a table from "name(column definition, …)" without its database.
    void AddTable(const std::string& database, const std::string& createText);
    void DropTable(const std::string& database, const std::string& table);
    /// The table, or null.
    const Table* Find(const std::string& database, const std::string& table) const;
    /// The definition of a column, or nothing.
    std::optional<std::string> Definition(const std::string& database, const std::string& table,
                                          const std::string& column) const;
    bool HasIndex(const std::string& database, const std::string& table,
                  const std::string& index) const;
    /// The whole schema as text, for comparisons.
    std::string Text() const;

  private:
    std::map<std::string, std::map<std::string, Table>> databases_;

    friend class CatalogueStatement;
};

}  // namespace twupdate::test
