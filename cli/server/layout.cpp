#include "cli/server/layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <regex>
#include <set>
#include <stdexcept>

#include "cli/server/embedded_layouts.h"

namespace twupdate::cli {
namespace {

constexpr std::string_view kMadeBy = " <- ";
constexpr std::string_view kOr = " | ";
constexpr std::string_view kOptional = " optional ";

std::string UpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string ColumnDefinition(const host::Catalogue::Column& column) {
    return column.name + " " + column.TypeName() + (column.autoIncrement ? " AUTO_INCREMENT" : "") +
           (column.defaultText ? " DEFAULT '" + *column.defaultText + "'" : "") +
           (column.nullable ? " NULL" : " NOT NULL") +
           (column.extra.empty() ? "" : " " + UpperCase(column.extra));
}

std::string KeyDefinition(const host::Catalogue::Index& index) {
    const std::string head = index.name == "PRIMARY" ? "PRIMARY KEY"
                             : index.unique          ? "UNIQUE KEY " + index.name
                                                     : "KEY " + index.name;
    return head + "(" + index.PartsText() + ")" + (index.ignored ? " IGNORED" : "");
}

/// "KEY siteid_idx" of "KEY siteid_idx(siteid)", "PRIMARY KEY" of "PRIMARY KEY(a)", "siteid" of
/// "siteid INT …". A unique key and a plain one of the same name are the same item.
std::string ItemName(const std::string& definition) {
    for (const std::string_view prefix : {"PRIMARY KEY", "UNIQUE KEY ", "KEY "}) {
        if (definition.starts_with(prefix)) {
            const std::string name = definition.substr(0, definition.find('('));
            return name.starts_with("UNIQUE ") ? name.substr(7) : name;
        }
    }
    return definition.substr(0, definition.find(' '));
}

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    for (auto at = text.find(separator); at != std::string_view::npos; at = text.find(separator)) {
        parts.emplace_back(text.substr(0, at));
        text.remove_prefix(at + separator.size());
    }
    parts.emplace_back(text);
    return parts;
}

std::string Lines(const Layout::Table& table, bool keys) {
    std::string text;
    for (const auto& [name, item] : table.items) {
        const bool isKey = name.starts_with("KEY ") || name == "PRIMARY KEY";
        if (isKey == keys) {
            text += fmt::format("    {}{}{}\n", fmt::join(item.definitions, kOr),
                                item.step.empty() ? "" : kMadeBy, item.step);
        }
    }
    return text;
}

}  // namespace

bool LayoutItem::Allows(const std::string& definition) const {
    return std::find(definitions.begin(), definitions.end(), definition) != definitions.end();
}

std::string Layout::Text() const {
    std::string text;
    for (const auto& [name, table] : tables) {
        text += fmt::format("table {}{}{}{}{}\n", name, table.optional ? kOptional : "",
                            table.feature, table.step.empty() ? "" : kMadeBy, table.step);
        text += Lines(table, false) + Lines(table, true);
    }
    return text;
}

Layout Layout::Parse(std::string_view text) {
    Layout layout;
    Table* table = nullptr;
    for (const std::string& line : Split(text, "\n")) {
        const auto begin = line.find_first_not_of(' ');
        if (begin == std::string::npos || line[begin] == '#') {
            continue;
        }
        auto parts = Split(std::string_view(line).substr(begin), kMadeBy);
        const std::string step = parts.size() > 1 ? parts[1] : "";
        if (parts[0].starts_with("table ")) {
            std::string name = parts[0].substr(6);
            const auto optional = name.find(kOptional);
            const bool isOptional = optional != std::string::npos;
            std::string feature = isOptional ? name.substr(optional + kOptional.size()) : "";
            name.resize(std::min(optional, name.size()));
            table = &layout.tables[name];
            table->optional = isOptional;
            table->feature = std::move(feature);
            table->step = step;
        } else if (table == nullptr) {
            throw std::runtime_error("a layout begins with a table, not with: " + line);
        } else {
            auto definitions = Split(parts[0], kOr);
            const std::string name = ItemName(definitions[0]);
            table->items[name] = {std::move(definitions), step};
        }
    }
    return layout;
}

Layout ReadLayout(host::Connection& connection, const std::string& database) {
    const host::Catalogue catalogue = host::ReadCatalogue(connection, {database});
    return catalogue.HasDatabase(database) ? LayoutOf(catalogue.Databases().at(database))
                                           : Layout();
}

Layout LayoutOf(const host::Catalogue::Database& database) {
    Layout layout;
    for (const auto& [name, table] : database.tables) {
        layout.tables[name].isView = table->isView;
        auto& items = layout.tables[name].items;
        const auto add = [&](const std::string& definition) {
            items[ItemName(definition)].definitions = {definition};
        };
        for (const auto& column : table->columns) {
            add(ColumnDefinition(column));
        }
        for (const auto& index : table->indexes) {
            add(KeyDefinition(index));
        }
    }
    return layout;
}

const Layout& CentralLayout() {
    static const Layout layout = Layout::Parse(kEmbeddedCentralLayout);
    return layout;
}

const Layout& SiteLayout() {
    static const Layout layout = Layout::Parse(kEmbeddedSiteLayout);
    return layout;
}

Layout LogsLayout(const std::vector<std::string>& tables) {
    static const Layout model = Layout::Parse(kEmbeddedLogsLayout);
    Layout layout;
    for (const std::string& table : tables) {
        layout.tables[table] = model.tables.begin()->second;
    }
    return layout;
}

Layout OnOldServer(Layout layout) {
    constexpr std::string_view kLongText = " LONGTEXT DEFAULT ''";
    constexpr std::string_view kNotNull = " NOT NULL";
    for (auto& [name, table] : layout.tables) {
        const auto key = table.items.find("PRIMARY KEY");
        const std::string keyText = key == table.items.end() ? "" : key->second.definitions.front();
        for (auto& [itemName, item] : table.items) {
            std::string& definition = item.definitions.front();
            if (const auto at = definition.find(kLongText); at != std::string::npos) {
                definition.replace(at, kLongText.size(), " LONGTEXT");
            } else if (std::regex_search(keyText, std::regex("[( ]" + itemName + "[,)]")) &&
                       definition.find(" VARCHAR(") != std::string::npos &&
                       definition.find(" DEFAULT ") == std::string::npos) {
                item.definitions.push_back(
                    definition.substr(0, definition.size() - kNotNull.size()) + " DEFAULT ''" +
                    std::string(kNotNull));
            }
        }
    }
    return layout;
}

std::string LayoutFinding::Text() const {
    const std::string by =
        step.empty() ? "it belongs to every version" : fmt::format("{} makes it", step);
    if (!problem.empty()) {
        return fmt::format("{}.{}: {}", database, table, problem);
    }
    if (item.empty()) {
        return fmt::format("{}.{}: the table is missing; {}", database, table, by);
    }
    const bool isKey = item.starts_with("KEY ") || item == "PRIMARY KEY";
    const std::string what = isKey ? item : "column " + item;
    if (actual.empty()) {
        return fmt::format("{}.{}: {} is missing; {}: {}", database, table, what, by, expected);
    }
    return fmt::format("{}.{}: {} is {}; {}: {}", database, table, what, actual, by, expected);
}

std::set<std::string> FeaturesWithTables(const Layout& expected, const Layout& actual) {
    std::set<std::string> features;
    for (const auto& [name, table] : expected.tables) {
        if (!table.feature.empty() && table.step.empty() && actual.tables.contains(name)) {
            features.insert(table.feature);
        }
    }
    return features;
}

std::vector<LayoutFinding> Compare(const std::string& database, const Layout& expected,
                                   const Layout& actual, std::vector<std::string>& absent,
                                   const FeatureEvidence& evidence) {
    std::vector<LayoutFinding> findings;
    const std::set<std::string> features = FeaturesWithTables(expected, actual);
    for (const auto& [name, table] : expected.tables) {
        const auto found = actual.tables.find(name);
        if (found == actual.tables.end()) {
            if (!table.optional) {
                findings.push_back({database, name, "", "", "", table.step, ""});
            } else if (features.contains(table.feature)) {
                findings.push_back(
                    {database, name, "", "", "", table.step,
                     fmt::format(
                         "the table is missing, but the site has other tables of its feature, {}",
                         table.feature)});
            } else if (const auto other = evidence.find(table.feature); other != evidence.end()) {
                findings.push_back(
                    {database, name, "", "", "", table.step,
                     fmt::format("the table is missing, but the site has {}", other->second)});
            } else {
                absent.push_back(name);
            }
            continue;
        }
        if (found->second.isView) {
            findings.push_back(
                {database, name, "", "", "", table.step, "it is a view instead of a table"});
            continue;
        }
        for (const auto& [itemName, item] : table.items) {
            const auto there = found->second.items.find(itemName);
            const bool missing = there == found->second.items.end();
            const std::string is = missing ? "" : there->second.definitions.front();
            if (!item.Allows(missing ? kAbsent : is)) {
                findings.push_back(
                    {database, name, itemName, item.definitions.front(), is, item.step, ""});
            }
        }
    }
    return findings;
}

}  // namespace twupdate::cli
