#include "cli/server/beyond_layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "cli/terminal/text.h"
#include "twupdate/interruption.h"

namespace twupdate::cli {
namespace {

using host::Catalogue;
using NamesByWord = std::map<std::string, std::vector<std::string>>;

class BeyondLayoutSearch {
  public:
    BeyondLayoutSearch(const std::string& database, const Layout& expected,
                       const Catalogue::Database& actual)
        : database_(database), expected_(expected), actual_(actual) {}

    BeyondLayout Find() {
        for (const auto& [name, table] : actual_.tables) {
            if (table->isView) {
                continue;
            }
            FindLeftover(name, *table);
            if (const auto found = expected_.tables.find(name); found != expected_.tables.end()) {
                FindColumns(name, *table, found->second);
                FindKeys(name, found->second);
                FindStorage(name, *table);
            }
        }
        TellStorage();
        return std::move(result_);
    }

  private:
    void FindLeftover(const std::string& name, const Catalogue::Table& table) {
        if (table.Find(kInterimColumn) != nullptr) {
            result_.findings.push_back(
                Finding(name, std::string(kInterimColumn),
                        "column double_temp is left over from an interrupted conversion; twupdate "
                        "repair tells what it holds"));
        }
    }

    void FindColumns(const std::string& name, const Catalogue::Table& table,
                     const Layout::Table& expected) {
        std::vector<std::string> own;
        for (const auto& column : table.columns) {
            if (expected.items.contains(column.name) || column.name == kInterimColumn) {
                continue;
            }
            if (column.NeedsValue()) {
                result_.findings.push_back(
                    Finding(name, column.name,
                            fmt::format("column {} is not of the layout, NOT NULL and without a "
                                        "default: rows that do not name it are refused",
                                        column.name)));
            } else {
                own.push_back(column.name);
            }
        }
        if (!own.empty()) {
            result_.notes.push_back(fmt::format("{}.{} has columns of its own: {}", database_, name,
                                                FirstFew(std::move(own))));
        }
    }

    void FindKeys(const std::string& name, const Layout::Table& expected) {
        std::vector<std::string> own;
        for (const auto& [key, item] : stored_.tables.at(name).items) {
            if (key.starts_with("KEY ") && !expected.items.contains(key)) {
                own.push_back(item.definitions.front());
            }
        }
        if (!own.empty()) {
            result_.notes.push_back(fmt::format("{}.{} has keys of its own: {}", database_, name,
                                                FirstFew(std::move(own))));
        }
    }

    void FindStorage(const std::string& name, const Catalogue::Table& table) {
        if (table.engine != "InnoDB") {
            engines_[table.engine].push_back(name);
        }
        if (table.isPartitioned) {
            partitioned_.push_back(name);
        }
        if (table.collation != actual_.collation) {
            collations_[table.collation].push_back(name);
        }
        for (const auto& column : table.columns) {
            if (!column.collation.empty() && column.collation != table.collation) {
                columnCollations_[column.collation].push_back(name + "." + column.name);
            }
        }
    }

    void TellStorage() {
        auto& notes = result_.notes;
        for (const auto& [engine, tables] : engines_) {
            notes.push_back(fmt::format("{} has tables with the engine {} and not InnoDB: {}",
                                        database_, engine, FirstFew(tables)));
        }
        for (const auto& [collation, tables] : collations_) {
            notes.push_back(
                fmt::format("{} has tables with the collation {}, while its own is {}: "
                            "{}",
                            database_, collation, actual_.collation, FirstFew(tables)));
        }
        for (const auto& [collation, columns] : columnCollations_) {
            notes.push_back(
                fmt::format("{} has columns with the collation {}, which is not that "
                            "of their table: {}",
                            database_, collation, FirstFew(columns)));
        }
        if (!partitioned_.empty()) {
            notes.push_back(
                fmt::format("{} has partitioned tables: {}", database_, FirstFew(partitioned_)));
        }
    }

    LayoutFinding Finding(const std::string& table, const std::string& column,
                          std::string problem) const {
        return {database_,
                table,
                column,
                "",
                stored_.tables.at(table).items.at(column).definitions.front(),
                "",
                std::move(problem)};
    }

    const std::string& database_;
    const Layout& expected_;
    const Catalogue::Database& actual_;
    const Layout stored_ = LayoutOf(actual_);
    BeyondLayout result_;
    NamesByWord engines_;
    NamesByWord collations_;
    NamesByWord columnCollations_;
    std::vector<std::string> partitioned_;
};

}  // namespace

BeyondLayout FindBeyondLayout(const std::string& database, const Layout& expected,
                              const Catalogue::Database& actual) {
    return BeyondLayoutSearch(database, expected, actual).Find();
}

}  // namespace twupdate::cli
