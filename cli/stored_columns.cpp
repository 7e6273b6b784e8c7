#include "cli/stored_columns.h"

#include <fmt/format.h>

namespace twupdate::cli {
namespace {

std::string TextOrEmpty(const Value& value) {
    return value.IsNull() ? std::string() : value.ToText();
}

/// "utf8mb4" of "utf8mb4_general_ci".
std::string CharsetOf(const std::string& collation) {
    return collation.substr(0, collation.find('_'));
}

}  // namespace

const StoredColumn* StoredTables::Find(const std::string& table, const std::string& column) const {
    const auto inTable = tables.find(table);
    if (inTable == tables.end()) {
        return nullptr;
    }
    const auto found = inTable->second.columns.find(column);
    return found == inTable->second.columns.end() ? nullptr : &found->second;
}

StoredTables ReadStoredTables(host::Connection& connection, const std::string& database) {
    StoredTables stored;
    const auto schema = connection.Query(
        fmt::format("SELECT default_character_set_name FROM information_schema.schemata WHERE "
                    "schema_name = '{}';",
                    database));
    stored.charset = schema->Next() ? TextOrEmpty(schema->Get(0)) : "";
    const auto tables = connection.Query(
        fmt::format("SELECT table_name, table_collation FROM information_schema.tables WHERE "
                    "table_schema = '{}' AND table_type = 'BASE TABLE';",
                    database));
    while (tables->Next()) {
        stored.tables[tables->Get(0).ToText()].charset = CharsetOf(TextOrEmpty(tables->Get(1)));
    }
    const auto columns = connection.Query(
        fmt::format("SELECT table_name, column_name, data_type, column_type, is_nullable, "
                    "character_maximum_length, character_set_name, column_key FROM "
                    "information_schema.columns WHERE table_schema = '{}' ORDER BY table_name, "
                    "ordinal_position;",
                    database));
    while (columns->Next()) {
        const auto table = stored.tables.find(columns->Get(0).ToText());
        if (table == stored.tables.end()) {
            continue;  // of a view
        }
        StoredColumn column;
        column.type = columns->Get(2).ToText();
        column.fullType = columns->Get(3).ToText();
        column.nullable = columns->Get(4).ToText() == "YES";
        if (!columns->Get(5).IsNull()) {
            column.length = std::stoull(columns->Get(5).ToText());
        }
        column.charset = TextOrEmpty(columns->Get(6));
        const std::string name = columns->Get(1).ToText();
        if (columns->Get(7).ToText() == "PRI") {
            table->second.key.push_back(name);
        }
        table->second.columns[name] = std::move(column);
    }
    return stored;
}

}  // namespace twupdate::cli
