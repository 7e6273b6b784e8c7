#include "support/snapshot.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

namespace twupdate::test {
namespace {

using Record = std::vector<Value>;

/// The columns of every row of a query.
std::vector<Record> Query(Utility& utility, const std::string& sql,
                          const std::vector<std::string>& columns) {
    std::vector<Record> records;
    const auto recordset = utility.GetDatabase()->OpenRecordset(sql, 0, 0);
    for (; !recordset->IsEOF(); recordset->MoveNext()) {
        Record record;
        for (const std::string& column : columns) {
            record.push_back(recordset->Fields().Item(column).Value());
        }
        records.push_back(std::move(record));
    }
    recordset->Close();
    return records;
}

std::string Join(const std::vector<std::string>& parts, const std::string& between) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : between) + part;
    }
    return text;
}

std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        switch (c) {
            case '\n':
                quoted += "\\n";
                break;
            case '\r':
                quoted += "\\r";
                break;
            case '\0':
                quoted += "\\0";
                break;
            case '\\':
            case '\'':
                quoted += '\\';
                [[fallthrough]];
            default:
                quoted += c;
        }
    }
    return quoted + "'";
}

bool IsText(const std::string& dataType) {
    static const std::set<std::string> kNumbers{"tinyint", "smallint", "mediumint", "int",
                                                "bigint",  "decimal",  "float",     "double"};
    return !kNumbers.contains(dataType);
}

std::string Literal(const Value& value, bool isText) {
    if (value.IsNull()) {
        return "NULL";
    }
    return isText ? Quoted(value.ToText()) : value.ToText();
}

/// "int(11)" as "INT", "tinyint(1)" as "BOOL"; lengths that mean something stay.
std::string TypeName(std::string type) {
    if (type == "tinyint(1)") {
        return "BOOL";
    }
    if (const auto width = type.find("int("); width != std::string::npos) {
        type.erase(width + 3, type.find(')') - width - 2);
    }
    std::transform(type.begin(), type.end(), type.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return type;
}

std::string DatabaseCondition(const std::string& database) {
    return " WHERE TABLE_SCHEMA = '" + database + "' ";
}

/// Appends to `lines` what only one of two lists holds, and says so when they differ in order.
void AddListDifference(std::vector<std::string>& lines, const std::string& where,
                       const std::vector<std::string>& expected,
                       const std::vector<std::string>& actual) {
    if (expected == actual) {
        return;
    }
    const auto addMissing = [&](const auto& from, const auto& in, const char* sign) {
        std::multiset<std::string> rest(in.begin(), in.end());
        for (const std::string& line : from) {
            if (const auto found = rest.find(line); found != rest.end()) {
                rest.erase(found);
            } else {
                lines.push_back(sign + where + line);
            }
        }
    };
    const std::size_t before = lines.size();
    addMissing(expected, actual, "- ");
    addMissing(actual, expected, "+ ");
    if (lines.size() == before) {
        lines.push_back("  " + where + "is in another order: " + Join(expected, " | ") +
                        "\n     is " + Join(actual, " | "));
    }
}

testing::AssertionResult Result(const std::vector<std::string>& differences) {
    if (differences.empty()) {
        return testing::AssertionSuccess();
    }
    constexpr std::size_t kMost = 60;
    auto failure = testing::AssertionFailure();
    failure << "they differ (- expected, + actual):\n";
    for (std::size_t i = 0; i < std::min(differences.size(), kMost); ++i) {
        failure << differences[i].substr(0, 400) << '\n';
    }
    if (differences.size() > kMost) {
        failure << "… and " << differences.size() - kMost << " more lines\n";
    }
    return failure;
}

std::string RowText(const RowSnapshot::Table& table, const RowSnapshot::Row& row) {
    std::vector<std::string> cells;
    for (const auto& [column, value] : row.values) {
        const bool isKey = std::find(table.keyColumns.begin(), table.keyColumns.end(), column) !=
                           table.keyColumns.end();
        const auto standard = table.defaults.find(column);
        if (!isKey && (standard == table.defaults.end() || standard->second != value)) {
            cells.push_back(column + " " + value);
        }
    }
    return Join(cells, ", ");
}

std::string RowLine(const std::string& name, const RowSnapshot::Table& table,
                    const RowSnapshot::Row& row) {
    const std::string cells = RowText(table, row);
    return name + (table.hasPrimaryKey ? " " + row.key : "") + (cells.empty() ? "" : ": " + cells);
}

/// The cells of a row that changed; `before` may lack columns that `after` has.
std::string CellChanges(const RowSnapshot::Row& before, const RowSnapshot::Table& table,
                        const RowSnapshot::Row& after) {
    std::vector<std::string> cells;
    for (const auto& [column, value] : after.values) {
        const auto old =
            std::find_if(before.values.begin(), before.values.end(),
                         [&name = column](const auto& cell) { return cell.first == name; });
        if (old != before.values.end()) {
            if (old->second != value) {
                cells.push_back(column + " " + old->second + " -> " + value);
            }
        } else if (const auto standard = table.defaults.find(column);
                   standard == table.defaults.end() || standard->second != value) {
            cells.push_back(column + " (new) -> " + value);
        }
    }
    return Join(cells, ", ");
}

void AddTableChanges(std::vector<std::string>& lines, const std::string& name,
                     const RowSnapshot::Table& before, const RowSnapshot::Table& after) {
    if (before.hasPrimaryKey && before.keyColumns == after.keyColumns) {
        std::map<std::string, const RowSnapshot::Row*> old;
        for (const RowSnapshot::Row& row : before.rows) {
            old[row.key] = &row;
        }
        std::vector<std::string> added;
        for (const RowSnapshot::Row& row : after.rows) {
            const auto found = old.find(row.key);
            if (found == old.end()) {
                added.push_back("+ " + RowLine(name, after, row));
                continue;
            }
            if (const auto cells = CellChanges(*found->second, after, row); !cells.empty()) {
                lines.push_back(name + " " + row.key + ": " + cells);
            }
            old.erase(found);
        }
        for (const RowSnapshot::Row& row : before.rows) {
            if (old.contains(row.key)) {
                lines.push_back("- " + RowLine(name, before, row));
            }
        }
        lines.insert(lines.end(), added.begin(), added.end());
        return;
    }
    const auto texts = [&](const RowSnapshot::Table& table) {
        std::vector<std::string> rows;
        for (const RowSnapshot::Row& row : table.rows) {
            rows.push_back(RowLine(name, table, row));
        }
        std::sort(rows.begin(), rows.end());
        return rows;
    };
    AddListDifference(lines, "", texts(before), texts(after));
}

}  // namespace

std::string Schema::Text() const {
    std::string text;
    for (const auto& [name, table] : tables) {
        text += "table " + name + "\n";
        for (const auto* lines : {&table.columns, &table.keys}) {
            for (const std::string& line : *lines) {
                text += "    " + line + "\n";
            }
        }
    }
    return text;
}

Schema Schema::Parse(const std::string& text) {
    Schema schema;
    Table* table = nullptr;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const auto begin = line.find_first_not_of(' ');
        if (begin == std::string::npos || line[begin] == '#') {
            continue;
        }
        const std::string content = line.substr(begin);
        if (content.starts_with("table ")) {
            table = &schema.tables[content.substr(6)];
        } else if (table == nullptr) {
            throw std::runtime_error("a schema begins with a table, not with \"" + line + "\"");
        } else {
            const bool isKey = content.starts_with("PRIMARY KEY") || content.starts_with("KEY ") ||
                               content.starts_with("UNIQUE KEY ");
            (isKey ? table->keys : table->columns).push_back(content);
        }
    }
    return schema;
}

Schema Schema::Load(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot read the schema " + path);
    }
    std::ostringstream text;
    text << file.rdbuf();
    return Parse(text.str());
}

std::optional<std::string> RowSnapshot::Cell(const std::string& table, const std::string& key,
                                             const std::string& column) const {
    if (const auto found = tables.find(table); found != tables.end()) {
        for (const Row& row : found->second.rows) {
            for (const auto& [name, value] : row.values) {
                if (row.key == key && name == column) {
                    return value;
                }
            }
        }
    }
    return std::nullopt;
}

std::string RowSnapshot::Text() const {
    std::string text;
    for (const auto& [name, table] : tables) {
        for (const Row& row : table.rows) {
            text += RowLine(name, table, row) + "\n";
        }
    }
    return text;
}

Schema SchemaOf(Utility& utility, const std::string& database) {
    Schema schema;
    for (const Record& r :
         Query(utility,
               "SELECT TABLE_NAME, COLUMN_NAME, COLUMN_TYPE, IS_NULLABLE, COLUMN_DEFAULT, EXTRA "
               "FROM information_schema.COLUMNS" +
                   DatabaseCondition(database) + "ORDER BY TABLE_NAME, ORDINAL_POSITION;",
               {"TABLE_NAME", "COLUMN_NAME", "COLUMN_TYPE", "IS_NULLABLE", "COLUMN_DEFAULT",
                "EXTRA"})) {
        std::string line = r[1].ToText() + " " + TypeName(r[2].ToText());
        if (r[5].ToText() == "auto_increment") {
            line += " AUTO_INCREMENT";
        } else if (!r[5].ToText().empty()) {
            line += " " + r[5].ToText();
        }
        const bool nullable = r[3].ToText() == "YES";
        if (!r[4].IsNull() && r[4].ToText() != "NULL") {
            line += " DEFAULT " + r[4].ToText();
        }
        line += nullable ? " NULL" : " NOT NULL";
        schema.tables[r[0].ToText()].columns.push_back(line);
    }
    std::map<std::pair<std::string, std::string>, std::pair<bool, std::vector<std::string>>> keys;
    for (const Record& r :
         Query(utility,
               "SELECT TABLE_NAME, INDEX_NAME, NON_UNIQUE, COLUMN_NAME, SUB_PART "
               "FROM information_schema.STATISTICS" +
                   DatabaseCondition(database) + "ORDER BY TABLE_NAME, INDEX_NAME, SEQ_IN_INDEX;",
               {"TABLE_NAME", "INDEX_NAME", "NON_UNIQUE", "COLUMN_NAME", "SUB_PART"})) {
        auto& [unique, columns] = keys[{r[0].ToText(), r[1].ToText()}];
        unique = r[2].ToInt32() == 0;
        columns.push_back(r[3].ToText() + (r[4].IsNull() ? "" : "(" + r[4].ToText() + ")"));
    }
    for (const auto& [name, key] : keys) {
        auto& lines = schema.tables[name.first].keys;
        const std::string columns = "(" + Join(key.second, ", ") + ")";
        if (name.second == "PRIMARY") {
            lines.insert(lines.begin(), "PRIMARY KEY" + columns);
        } else {
            lines.push_back((key.first ? "UNIQUE KEY " : "KEY ") + name.second + columns);
        }
    }
    return schema;
}

RowSnapshot RowsOf(Utility& utility, const std::string& database) {
    RowSnapshot snapshot;
    std::map<std::string, std::vector<std::pair<std::string, bool>>> columnsOf;
    for (const Record& r :
         Query(utility,
               "SELECT TABLE_NAME, COLUMN_NAME, DATA_TYPE, COLUMN_DEFAULT "
               "FROM information_schema.COLUMNS" +
                   DatabaseCondition(database) + "ORDER BY TABLE_NAME, ORDINAL_POSITION;",
               {"TABLE_NAME", "COLUMN_NAME", "DATA_TYPE", "COLUMN_DEFAULT"})) {
        auto& table = snapshot.tables[r[0].ToText()];
        columnsOf[r[0].ToText()].emplace_back(r[1].ToText(), IsText(r[2].ToText()));
        if (!r[3].IsNull()) {
            table.defaults[r[1].ToText()] = r[3].ToText();
        }
    }
    for (const Record& r : Query(utility,
                                 "SELECT TABLE_NAME, COLUMN_NAME FROM "
                                 "information_schema.STATISTICS" +
                                     DatabaseCondition(database) +
                                     "AND INDEX_NAME = 'PRIMARY' "
                                     "ORDER BY TABLE_NAME, SEQ_IN_INDEX;",
                                 {"TABLE_NAME", "COLUMN_NAME"})) {
        auto& table = snapshot.tables[r[0].ToText()];
        table.hasPrimaryKey = true;
        table.keyColumns.push_back(r[1].ToText());
    }
    for (auto& [name, table] : snapshot.tables) {
        std::vector<std::string> columns;
        std::vector<std::string> quotedColumns;
        std::vector<std::string> order;
        for (const auto& [column, isText] : columnsOf[name]) {
            columns.push_back(column);
            quotedColumns.push_back("`" + column + "`");
        }
        for (const std::string& column : table.hasPrimaryKey ? table.keyColumns : columns) {
            order.push_back("`" + column + "`");
        }
        for (const Record& record :
             Query(utility,
                   "SELECT " + Join(quotedColumns, ", ") + " FROM `" + database + "`.`" + name +
                       "` ORDER BY " + Join(order, ", ") + ";",
                   columns)) {
            RowSnapshot::Row row;
            std::vector<std::string> key;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                row.values.emplace_back(columns[i], Literal(record[i], columnsOf[name][i].second));
            }
            for (const std::string& column : table.keyColumns) {
                const auto cell =
                    std::find_if(row.values.begin(), row.values.end(),
                                 [&](const auto& value) { return value.first == column; });
                key.push_back(cell->second);
            }
            row.key = table.hasPrimaryKey ? Join(key, ", ") : std::to_string(table.rows.size() + 1);
            table.rows.push_back(std::move(row));
        }
    }
    return snapshot;
}

std::vector<std::string> Changes(const RowSnapshot& before, const RowSnapshot& after) {
    static const RowSnapshot::Table kNone;
    std::set<std::string> names;
    for (const auto* snapshot : {&before, &after}) {
        for (const auto& [name, table] : snapshot->tables) {
            names.insert(name);
        }
    }
    std::vector<std::string> lines;
    for (const std::string& name : names) {
        const auto old = before.tables.find(name);
        const auto now = after.tables.find(name);
        AddTableChanges(lines, name, old == before.tables.end() ? kNone : old->second,
                        now == after.tables.end() ? kNone : now->second);
    }
    return lines;
}

testing::AssertionResult SameSchema(const Schema& expected, const Schema& actual) {
    std::vector<std::string> lines;
    for (const auto& [name, table] : expected.tables) {
        const auto found = actual.tables.find(name);
        if (found == actual.tables.end()) {
            lines.push_back("- table " + name);
            continue;
        }
        AddListDifference(lines, name + ": ", table.columns, found->second.columns);
        AddListDifference(lines, name + ": ", table.keys, found->second.keys);
    }
    for (const auto& [name, table] : actual.tables) {
        if (!expected.tables.contains(name)) {
            lines.push_back("+ table " + name);
        }
    }
    return Result(lines);
}

testing::AssertionResult SameRows(const RowSnapshot& expected, const RowSnapshot& actual) {
    std::vector<std::string> lines = Changes(expected, actual);
    for (const auto& [name, table] : expected.tables) {
        if (!actual.tables.contains(name)) {
            lines.push_back("- table " + name);
        }
    }
    for (const auto& [name, table] : actual.tables) {
        if (!expected.tables.contains(name)) {
            lines.push_back("+ table " + name);
        }
    }
    return Result(lines);
}

testing::AssertionResult OnlyTheseRowsChanged(const RowSnapshot& before, const RowSnapshot& after,
                                              const std::vector<std::string>& changes) {
    std::vector<std::string> expected = changes;
    std::vector<std::string> actual = Changes(before, after);
    std::sort(expected.begin(), expected.end());
    std::sort(actual.begin(), actual.end());
    std::vector<std::string> lines;
    AddListDifference(lines, "", expected, actual);
    return Result(lines);
}

}  // namespace twupdate::test
