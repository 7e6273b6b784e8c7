#include <cctype>

#include "sql_tokens.h"
#include "twupdate_host/catalogue.h"
#include "twupdate_host/connection.h"

namespace twupdate::host {
namespace {

std::string TextOf(const Rows& rows, std::size_t column) {
    const Value value = rows.Get(column);
    return value.IsNull() ? std::string() : value.ToText();
}

/// A default as one server shows it quoted and another one does not.
std::optional<std::string> DefaultOf(const Value& value) {
    if (value.IsNull() || value.ToText() == "NULL") {
        return std::nullopt;
    }
    const std::string shown = value.ToText();
    const auto tokens = Tokenize(shown);
    return tokens.size() == 2 && tokens.front().kind == SqlToken::Kind::kText
               ? tokens.front().Unescaped()
               : shown;
}

/// "INVISIBLE" of "auto_increment, INVISIBLE".
std::string WithoutAutoIncrement(std::string extra) {
    constexpr std::string_view kWord = "auto_increment";
    if (const auto at = LowerCase(extra).find(kWord); at != std::string::npos) {
        extra.erase(at, kWord.size());
    }
    const auto begin = extra.find_first_not_of(", ");
    return begin == std::string::npos
               ? std::string()
               : extra.substr(begin, extra.find_last_not_of(", ") + 1 - begin);
}

using Tables = std::map<std::string, Catalogue::Table>;

// Not a prepared statement: a server may allow none (max_prepared_stmt_count).
std::string Quoted(const std::string& database) {
    std::string quoted = "'";
    for (const char c : database) {
        quoted += c == '\'' || c == '\\' ? std::string{c, c} : std::string(1, c);
    }
    return quoted + "'";
}

std::unique_ptr<Rows> Query(Connection& connection, std::string_view columns, std::string_view view,
                            const std::string& database, std::string_view order) {
    return connection.Query(
        std::string("SELECT ")
            .append(columns)
            .append(" FROM information_schema.")
            .append(view)
            .append(view == "schemata" ? " WHERE schema_name = " : " WHERE table_schema = ")
            .append(Quoted(database))
            .append(order)
            .append(";"));
}

void ReadTables(Connection& connection, const std::string& database, Tables& tables) {
    const auto rows = Query(
        connection, "table_name, table_type, engine, row_format, table_collation, create_options",
        "tables", database, "");
    while (rows->Next()) {
        Catalogue::Table& table = tables[TextOf(*rows, 0)];
        table.isView = TextOf(*rows, 1).ends_with("VIEW");
        table.engine = TextOf(*rows, 2);
        table.rowFormat = TextOf(*rows, 3);
        table.collation = TextOf(*rows, 4);
        table.charset = table.collation.substr(0, table.collation.find('_'));
        table.isPartitioned = TextOf(*rows, 5).find("partitioned") != std::string::npos;
    }
}

void ReadColumns(Connection& connection, const std::string& database, Tables& tables) {
    const auto rows = Query(connection,
                            "table_name, column_name, column_type, is_nullable, column_default, "
                            "extra, character_set_name, collation_name",
                            "columns", database, " ORDER BY table_name, ordinal_position");
    while (rows->Next()) {
        const std::string extra = LowerCase(TextOf(*rows, 5));
        tables[TextOf(*rows, 0)].columns.push_back(
            {.name = TextOf(*rows, 1),
             .type = TextOf(*rows, 2),
             .nullable = TextOf(*rows, 3) == "YES",
             .defaultText = DefaultOf(rows->Get(4)),
             .autoIncrement = extra.find("auto_increment") != std::string::npos,
             .generated = extra.find(" generated") != std::string::npos,
             .charset = TextOf(*rows, 6),
             .collation = TextOf(*rows, 7),
             .extra = WithoutAutoIncrement(TextOf(*rows, 5))});
    }
}

void ReadIndexes(Connection& connection, const std::string& database, Tables& tables) {
    const auto rows =
        Query(connection,
              "table_name, index_name, non_unique, column_name, sub_part, collation, "
              "statistics.*",
              "statistics", database, " ORDER BY table_name, index_name, seq_in_index");
    const auto ignored = rows->Find("ignored");     // MariaDB from 10.6 on
    const auto visible = rows->Find("is_visible");  // MySQL from 8.0 on
    while (rows->Next()) {
        auto& indexes = tables[TextOf(*rows, 0)].indexes;
        const std::string name = TextOf(*rows, 1);
        if (indexes.empty() || indexes.back().name != name) {
            indexes.push_back({.name = name,
                               .unique = TextOf(*rows, 2) == "0",
                               .parts = {},
                               .ignored = (ignored && TextOf(*rows, *ignored) == "YES") ||
                                          (visible && TextOf(*rows, *visible) == "NO")});
        }
        const Value length = rows->Get(4);
        indexes.back().parts.push_back(
            {TextOf(*rows, 3),
             length.IsNull() ? std::nullopt
                             : std::optional(static_cast<std::uint32_t>(length.ToInt32())),
             TextOf(*rows, 5) == "D"});
    }
}

void ReadConstraints(Connection& connection, const std::string& database, Tables& tables) {
    const std::string name = Quoted(database);
    const auto rows = connection.Query(
        "SELECT constraint_name, table_name FROM information_schema.table_constraints WHERE "
        "table_schema = " +
        name + " AND constraint_schema = " + name +
        " AND constraint_type IN('FOREIGN KEY', 'CHECK') UNION SELECT constraint_name, "
        "referenced_table_name FROM information_schema.referential_constraints WHERE "
        "constraint_schema = " +
        name + " ORDER BY 2, 1;");
    while (rows->Next()) {
        if (const auto table = tables.find(TextOf(*rows, 1)); table != tables.end()) {
            table->second.constraints.push_back(TextOf(*rows, 0));
        }
    }
}

Catalogue::Defaults ReadDefaults(Connection& connection) {
    const auto rows = connection.Query(  // a server may lack some of them
        "SHOW SESSION VARIABLES WHERE variable_name IN('default_storage_engine', "
        "'innodb_default_row_format', 'character_set_server', 'collation_server', 'version');");
    std::map<std::string, std::string> variables;
    while (rows->Next()) {
        variables[TextOf(*rows, 0)] = TextOf(*rows, 1);
    }
    std::string rowFormat = variables["innodb_default_row_format"];
    rowFormat = rowFormat.empty() ? "Compact" : rowFormat;
    rowFormat.front() =
        static_cast<char>(std::toupper(static_cast<unsigned char>(rowFormat.front())));
    const bool isMariaDb = variables["version"].find("MariaDB") != std::string::npos;
    return {.engine = variables["default_storage_engine"],
            .rowFormat = rowFormat,
            .charset = variables["character_set_server"],
            .collation = variables["collation_server"],
            .displayWidths = isMariaDb || variables["version"].starts_with("5."),
            .shortensKeys = isMariaDb};
}

}  // namespace

Catalogue ReadCatalogue(Connection& connection, const std::vector<std::string>& databases) {
    Catalogue catalogue;
    catalogue.defaults = ReadDefaults(connection);
    for (const std::string& name : databases) {
        const auto schema = Query(connection, "default_character_set_name, default_collation_name",
                                  "schemata", name, "");
        if (!schema->Next()) {
            continue;
        }
        Tables tables;
        ReadTables(connection, name, tables);
        ReadColumns(connection, name, tables);
        ReadIndexes(connection, name, tables);
        ReadConstraints(connection, name, tables);
        Catalogue::Database database{TextOf(*schema, 0), TextOf(*schema, 1), {}};
        for (auto& [table, content] : tables) {
            database.tables[table] = std::make_shared<const Catalogue::Table>(std::move(content));
        }
        catalogue.AddDatabase(name, std::move(database));
    }
    return catalogue;
}

}  // namespace twupdate::host
