#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/value.h"

namespace twupdate::host {

class Connection;

/// What a server refuses a statement with. The catalogue throws it.
struct Refusal {
    std::uint32_t code;  ///< the server's; 0 for a statement that the catalogue cannot follow
    std::string sqlState;
    std::string text;
};

/// The rows that a statement returns.
struct ResultSet {
    std::vector<std::string> columns;
    std::vector<std::vector<Value>> rows;
};

struct TableName {
    std::string database;
    std::string table;

    bool operator==(const TableName&) const = default;
};

enum class StatementKind {
    kRead,     ///< SELECT; nothing else is ever read
    kInspect,  ///< SHOW and DESCRIBE
    kInsert,
    kUpdate,
    kDelete,
    kCreateDatabase,
    kCreateTable,
    kAlterTable,  ///< or a statement on a table that is none of these
    kRenameTable,
    kDropTable,  ///< or a database: then the target has no table
    kService,    ///< no statement, but a call of a component service
};

/// The names that a statement uses.
struct StatementNames {
    struct ColumnUse {
        std::optional<TableName> table;  ///< nothing: a column of any of the statement's tables
        std::string column;
    };

    StatementKind kind = StatementKind::kRead;
    TableName target;                  ///< what it writes or alters; empty for reads
    std::vector<TableName> tables;     ///< all, the target included
    std::vector<std::string> columns;  ///< that an INSERT names, in order
    std::vector<ColumnUse> uses;       ///< columns in its clauses
};

/// Finds the names in a statement as the component writes them: each table with its database.
StatementNames NamesIn(std::string_view sql);

/// A small server in memory that knows databases, tables, columns and indexes as a server keeps
/// them, but no rows. It follows the statements that change a layout (CREATE DATABASE, CREATE
/// TABLE, ALTER TABLE, RENAME TABLE, DROP) and answers those that inspect one (SHOW DATABASES,
/// SHOW TABLES, SHOW INDEXES, DESCRIBE), refusing what a server refuses: a missing table, a column
/// or index that is there already. Statements on rows are accepted when their tables and columns
/// exist. Copies are cheap: they share the tables that neither changes.
class Catalogue {
  public:
    struct Column {
        std::string name;
        std::string type;  ///< as the server prints it: "int(11)", "varchar(20)", "double"
        bool nullable = true;
        std::optional<std::string> defaultText = {};  ///< without quotes; nothing: NULL or none
        bool autoIncrement = false;
        bool generated = false;      ///< computed from other columns
        std::string charset = {};    ///< of texts
        std::string collation = {};  ///< of texts
        std::string extra = {};      ///< what else the server says of it: "INVISIBLE"

        /// In the letters of the steps, without a display width: "INT", "BOOL", "VARCHAR(20)".
        std::string TypeName() const;
        /// E.g. "FLOAT DEFAULT 0 NOT NULL".
        std::string Definition() const;
        /// True when an INSERT must name it where the sql_mode is strict.
        bool NeedsValue() const;
    };
    struct KeyPart {
        std::string column;
        std::optional<std::uint32_t> length = {};  ///< characters of a prefix
        bool descending = false;
        bool operator==(const KeyPart&) const = default;
    };
    struct Index {
        std::string name;  ///< "PRIMARY" for the primary key
        bool unique = false;
        std::vector<KeyPart> parts;
        bool ignored = false;  ///< kept, but not used by queries

        /// E.g. "a, pageroute(20), b DESC".
        std::string PartsText() const;
    };
    struct Table {
        std::vector<Column> columns = {};
        std::vector<Index> indexes = {};
        std::string engine;
        std::string rowFormat;
        std::string charset;    ///< of text columns that are added
        std::string collation;  ///< likewise
        bool isView = false;
        bool isPartitioned = false;
        /// Names of its CHECK constraints, its foreign keys and those that refer to it, as the
        /// server had them when it was read.
        std::vector<std::string> constraints = {};

        const Column* Find(std::string_view column) const;
        const Index* FindIndex(std::string_view index) const;
    };
    using TablePointer = std::shared_ptr<const Table>;
    struct Database {
        std::string charset;  ///< of tables that are added
        std::string collation;
        std::map<std::string, TablePointer> tables;
    };

    /// What the server gives to a database or table that does not say it.
    struct Defaults {
        std::string engine = "InnoDB";
        std::string rowFormat = "Dynamic";
        std::string charset = "utf8mb4";
        std::string collation = "utf8mb4_general_ci";
        bool displayWidths = true;  ///< types of whole numbers are shown as "int(11)", not "int"
        bool shortensKeys = true;   ///< an index on a TEXT that gives no length has one of its own
    };
    Defaults defaults;

    /// Follows or answers one statement.
    /// @param refused  receives what the server would refuse it with; the catalogue then goes on
    ///                 as if the cause had been removed. Null: it is thrown and nothing changes.
    /// @throws Refusal
    ResultSet Run(std::string_view sql, std::optional<Refusal>* refused = nullptr);

    /// Whether a statement on rows finds its tables and columns; nothing: it does.
    std::optional<Refusal> Missing(const StatementNames& names) const;

    /// Runs every statement of a script of CREATE statements; `{siteid}` and the like must have
    /// been replaced.
    void RunScript(std::string_view script);

    bool HasDatabase(const std::string& database) const { return databases_.contains(database); }
    void AddDatabase(const std::string& database);
    void AddDatabase(const std::string& database, Database content);
    /// Adds a table from "name(column definition, …)" without its database.
    void AddTable(const std::string& database, const std::string& createText);
    void DropTable(const std::string& database, const std::string& table);
    const std::map<std::string, Database>& Databases() const { return databases_; }
    /// The table, or null.
    const Table* Find(const std::string& database, const std::string& table) const;
    TablePointer Share(const TableName& name) const;
    /// The definition of a column, or nothing.
    std::optional<std::string> Definition(const std::string& database, const std::string& table,
                                          const std::string& column) const;
    bool HasIndex(const std::string& database, const std::string& table,
                  const std::string& index) const;
    /// The whole layout as text, for comparisons.
    std::string Text() const;

  private:
    std::map<std::string, Database> databases_;

    friend class CatalogueStatement;
};

/// Reads the layout of databases from the server; one that does not exist is left out.
/// @throws HostError
Catalogue ReadCatalogue(Connection& connection, const std::vector<std::string>& databases);

}  // namespace twupdate::host
