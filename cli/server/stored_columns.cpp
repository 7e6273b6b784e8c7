#include "cli/server/stored_columns.h"

#include <fmt/format.h>

#include <cmath>

#include "cli/server/queries.h"

namespace twupdate::cli {
namespace {

/// "utf8mb4" of "utf8mb4_general_ci".
std::string CharsetOf(const std::string& collation) {
    return collation.substr(0, collation.find('_'));
}

std::string Hex(const std::string& bytes) {
    std::string hex;
    hex.reserve(2 * bytes.size());
    for (const char byte : bytes) {
        hex += fmt::format("{:02X}", static_cast<unsigned char>(byte));
    }
    return hex;
}

}  // namespace

std::optional<std::pair<double, double>> RangeOf(const StoredColumn& column) {
    static const std::map<std::string, int> bits{
        {"tinyint", 8}, {"smallint", 16}, {"mediumint", 24}, {"int", 32}};
    const auto found = bits.find(column.type);
    if (found == bits.end()) {
        return std::nullopt;
    }
    const bool isUnsigned = column.fullType.find("unsigned") != std::string::npos;
    const double largest = std::exp2(isUnsigned ? found->second : found->second - 1) - 1;
    return std::pair(isUnsigned ? 0 : -largest - 1, largest);
}

bool HoldsNumber(const StoredColumn& column, double number) {
    const auto range = RangeOf(column);
    return !range || (number >= range->first && number <= range->second);
}

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
    stored.charset =
        FirstCell(connection,
                  fmt::format("SELECT default_character_set_name FROM information_schema.schemata "
                              "WHERE schema_name = '{}';",
                              database))
            .value_or("");
    const auto tables = connection.Query(
        fmt::format("SELECT t.table_name, t.table_collation, e.transactions, t.auto_increment FROM "
                    "information_schema.tables t LEFT JOIN information_schema.engines e ON "
                    "e.engine = t.engine WHERE t.table_schema = '{}' AND t.table_type = 'BASE "
                    "TABLE';",
                    database));
    while (tables->Next()) {
        StoredTable& table = stored.tables[tables->Get(0).ToText()];
        table.charset = CharsetOf(TextOrEmpty(tables->Get(1)));
        table.transactional = TextOrEmpty(tables->Get(2)) != "NO";
        table.nextId = tables->Get(3).IsNull() ? 0 : std::stod(tables->Get(3).ToText());
    }
    const auto columns = connection.Query(fmt::format(
        "SELECT table_name, column_name, data_type, column_type, is_nullable, "
        "character_maximum_length, character_set_name, column_key, "
        "column_default IS NULL AND is_nullable = 'NO' AND data_type <> 'enum' AND "
        "extra NOT LIKE '%auto_increment%' AND extra NOT LIKE '%generated%', extra FROM "
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
        column.needsValue = columns->Get(8).ToText() == "1";
        const std::string name = columns->Get(1).ToText();
        if (columns->Get(7).ToText() == "PRI") {
            table->second.key.push_back(name);
        }
        if (columns->Get(9).ToText() == "auto_increment") {
            table->second.idColumn = name;
        }
        table->second.columns[name] = std::move(column);
    }
    return stored;
}

bool IsTextIn(host::Connection& connection, const std::string& charset, const std::string& bytes) {
    return FirstCell(connection,
                     fmt::format("SELECT BINARY CONVERT(CONVERT(CONVERT(given USING {0}) USING "
                                 "{1}) USING {0}) = given FROM (SELECT X'{2}' AS given) bytes;",
                                 SessionCharset(connection), charset, Hex(bytes))) == "1";
}

std::string TextLiteral(const std::string& text) {
    return fmt::format("CONVERT(X'{}' USING utf8mb4)", Hex(text));
}

std::string SessionCharset(host::Connection& connection) {
    return FirstCell(connection, "SELECT @@SESSION.character_set_client;").value_or("");
}

}  // namespace twupdate::cli
