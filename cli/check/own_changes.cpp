#include "cli/check/own_changes.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <regex>

namespace twupdate::cli {
namespace {

/// "VARCHAR(50)" of "linktext VARCHAR(50) DEFAULT '' NOT NULL".
std::string TypeOf(const std::string& definition) {
    const std::size_t begin = definition.find(' ') + 1;
    const std::string type = definition.substr(begin, definition.find(' ', begin) - begin);
    const bool isUnsigned = definition.find(type + " UNSIGNED") != std::string::npos;
    return isUnsigned ? type + " UNSIGNED" : type;
}

/// A type of a column in a family within which one holds more than the other.
struct Type {
    enum class Family { kText, kWhole, kDecimal, kReal, kOther } family = Family::kOther;
    double holds = 0;     ///< characters, bytes, digits before the point
    double decimals = 0;  ///< of DECIMAL
    std::string text;

    bool HoldsLessThan(const Type& other) const {
        if (family == other.family && family != Family::kOther) {
            return holds < other.holds || decimals < other.decimals;
        }
        return text != other.text;
    }
};

Type ParseType(const std::string& text) {
    using Family = Type::Family;
    struct Named {
        const char* name;
        Family family;
        double holds;
    };
    constexpr std::array kNamed{Named{"TINYTEXT", Family::kText, 255},
                                Named{"TEXT", Family::kText, 65'535},
                                Named{"MEDIUMTEXT", Family::kText, 16777215},
                                Named{"LONGTEXT", Family::kText, 4294967295},
                                Named{"BOOL", Family::kWhole, 1},
                                Named{"TINYINT", Family::kWhole, 1},
                                Named{"SMALLINT", Family::kWhole, 2},
                                Named{"MEDIUMINT", Family::kWhole, 3},
                                Named{"INT", Family::kWhole, 4},
                                Named{"BIGINT", Family::kWhole, 8},
                                Named{"FLOAT", Family::kReal, 4},
                                Named{"DOUBLE", Family::kReal, 8}};
    const auto named = std::find_if(kNamed.begin(), kNamed.end(),
                                    [&](const Named& one) { return text == one.name; });
    if (named != kNamed.end()) {
        return {named->family, named->holds, 0, text};
    }
    static const std::regex form(R"((CHAR|VARCHAR|DECIMAL)\((\d+)(?:,(\d+))?\))");
    std::smatch parts;
    if (!std::regex_match(text, parts, form)) {
        return {Family::kOther, 0, 0, text};
    }
    const double length = std::strtod(parts[2].str().c_str(), nullptr);
    if (parts[1] != "DECIMAL") {
        return {Family::kText, length, 0, text};
    }
    const double decimals = parts[3].matched ? std::strtod(parts[3].str().c_str(), nullptr) : 0;
    return {Family::kDecimal, length - decimals, decimals, text};
}

void AddKeys(const std::string& place, const Layout::Table& stored, const Layout::Table& expected,
             std::vector<std::string>& changes) {
    for (const auto& [name, item] : stored.items) {
        if (item.definitions.front().starts_with("UNIQUE KEY ") && !expected.items.contains(name)) {
            changes.push_back(place + " has a unique key" +
                              name.substr(std::string_view("KEY").size()));
        }
    }
}

void AddColumns(const std::string& place, const Layout::Table& stored,
                const Layout::Table& expected, const PendingRun& pending,
                std::vector<std::string>& changes) {
    for (const auto& [name, item] : expected.items) {
        const auto column = stored.items.find(name);
        const bool isKey = name.starts_with("KEY ") || name == "PRIMARY KEY";
        if (isKey || column == stored.items.end() || pending.Has(item.step)) {
            continue;
        }
        const std::string has = TypeOf(column->second.definitions.front());
        const std::string should = TypeOf(item.definitions.front());
        if (ParseType(has).HoldsLessThan(ParseType(should))) {
            changes.push_back(fmt::format("{}.{} is {} and not {}", place, name, has, should));
        }
    }
}

void AddConstraints(host::Connection& connection, const std::string& database,
                    const Layout& expected, std::vector<std::string>& changes) {
    const auto rows = connection.Query(
        fmt::format("SELECT table_name, constraint_name, constraint_type FROM "
                    "information_schema.table_constraints WHERE constraint_schema = '{}' AND "
                    "constraint_type IN('FOREIGN KEY', 'CHECK') ORDER BY 1, 2;",
                    database));
    while (rows->Next()) {
        const std::string table = rows->Get(0).ToText();
        const bool isKey = rows->Get(2).ToText() == "FOREIGN KEY";
        if (isKey || table.starts_with("form_") || expected.tables.contains(table)) {
            changes.push_back(fmt::format("{}.{} has a {} {}", database, table,
                                          isKey ? "foreign key" : "constraint",
                                          rows->Get(1).ToText()));
        }
    }
}

}  // namespace

std::vector<std::string> OwnChanges(host::Connection& connection, const std::string& database,
                                    const Layout& stored, const Layout& expected,
                                    const PendingRun& pending) {
    std::vector<std::string> changes;
    for (const auto& [name, table] : expected.tables) {
        if (const auto found = stored.tables.find(name); found != stored.tables.end()) {
            const std::string place = fmt::format("{}.{}", database, name);
            AddKeys(place, found->second, table, changes);
            AddColumns(place, found->second, table, pending, changes);
        }
    }
    AddConstraints(connection, database, expected, changes);
    return changes;
}

}  // namespace twupdate::cli
