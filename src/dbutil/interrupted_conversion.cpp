#include "dbutil/interrupted_conversion.h"

#include <algorithm>
#include <optional>

#include "dbutil/inspection.h"
#include "dbutil/sql.h"

namespace twupdate {
namespace {

constexpr const char* kStopsWith1060 = "a repeat stops with error 1060";
constexpr const char* kNothingReadsThem = "nothing reads them";

std::string RowsText(std::int64_t rows) {
    return std::to_string(rows) + (rows == 1 ? " row" : " rows");
}

/// One table with a column double_temp.
class Conversion {
  public:
    Conversion(Utility& host, std::string database, const ConvertedTable& converted)
        : inspection_(host, database),
          database_(std::move(database)),
          converted_(converted),
          columns_(inspection_.Columns(converted.table)) {}

    Leftover Find() const {
        const std::string type = columns_[*Place(kInterimColumn)].type;
        if (type != "double") {
            return ForAPerson(Concat("the column double_temp has the type ", type,
                                     ", which no conversion creates"),
                              kStopsWith1060);
        }
        const auto column = InConversion();
        if (!column) {
            return AllConverted();
        }
        const auto place = Place(*column);
        if (!place) {
            return {.table = converted_.table,
                    .seen = Concat("the column ", *column,
                                   " is missing, and its values are in double_temp"),
                    .consequence = "a repeat ends without the column, or adds an empty one",
                    .statements = {Rename(*column)}};
        }
        return *place < *Place(kInterimColumn) ? BesideItsColumn(*column) : Recreated(*column);
    }

  private:
    std::optional<std::size_t> Place(std::string_view column) const {
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (columns_[i].name == column) {
                return i;
            }
        }
        return std::nullopt;
    }

    /// The conversions of a table follow each other: the interrupted one is the first that has not
    /// ended.
    std::optional<std::string> InConversion() const {
        for (const std::string& column : converted_.columns) {
            const auto place = Place(column);
            if (!place || columns_[*place].type == "float") {
                return column;
            }
        }
        return std::nullopt;
    }

    bool OneIsMissing() const {
        return std::any_of(converted_.columns.begin(), converted_.columns.end(),
                           [this](const std::string& column) { return !Place(column); });
    }

    /// double_temp comes after the column, so it is a copy, which may not be filled yet.
    Leftover BesideItsColumn(const std::string& column) const {
        if (const std::int64_t own = RowsOnlyIn(column); own > 0) {
            return ForAPerson(Concat("double_temp holds values that ", column,
                                     " does not hold, in ", RowsText(own)),
                              kStopsWith1060);
        }
        if (OneIsMissing() && RowsWithValues() > 0) {
            return ForAPerson(Concat("double_temp holds the values of ", column,
                                     ", or of a column that is missing"),
                              kStopsWith1060);
        }
        return Superfluous(column);
    }

    /// The column comes after double_temp, so it was added again when its values were there
    /// already.
    Leftover Recreated(const std::string& column) const {
        const std::string isDefault = columns_[*Place(column)].hasDefault
                                          ? Sql(column, " <=> DEFAULT(", column, ")")
                                          : "FALSE";
        const std::int64_t own =
            inspection_.Count(Sql(Table(), " WHERE NOT (", isDefault, ") AND NOT (double_temp <=> ",
                                  AsDouble(column), ")"));
        if (own > 0) {
            return ForAPerson(Concat("double_temp holds the values of ", column, ", and ", column,
                                     ", which was added again, holds others in ", RowsText(own)),
                              kStopsWith1060);
        }
        return {.table = converted_.table,
                .seen = Concat("double_temp holds the values of ", column, ", and ", column,
                               ", which was added again, is empty"),
                .consequence = kStopsWith1060,
                .statements = {Drop(column), Rename(column)}};
    }

    /// Somebody has added the column again by hand.
    Leftover AllConverted() const {
        for (const std::string& column : converted_.columns) {
            if (RowsOnlyIn(column) == 0) {
                return Superfluous(column);
            }
        }
        return ForAPerson(Concat("double_temp holds values that are in no other column, in ",
                                 RowsText(RowsWithValues())),
                          kNothingReadsThem);
    }

    /// Rows in which double_temp has a value that the column does not have.
    std::int64_t RowsOnlyIn(const std::string& column) const {
        return inspection_.Count(Sql(Table(), " WHERE double_temp <> 0 AND NOT (double_temp <=> ",
                                     AsDouble(column), ")"));
    }

    std::int64_t RowsWithValues() const {
        return inspection_.Count(Sql(Table(), " WHERE double_temp <> 0"));
    }

    /// What the conversion makes of the column's value.
    std::string AsDouble(const std::string& column) const {
        const auto place = Place(column);
        return place && columns_[*place].type == "float" ? Sql("CAST(", column, " AS BINARY) + 0e0")
                                                         : column;
    }

    std::string Table() const { return Sql(database_, ".", converted_.table); }
    std::string Drop(std::string_view column) const {
        return Sql("ALTER TABLE ", Table(), " DROP COLUMN ", column, ";");
    }
    std::string Rename(const std::string& column) const {
        return Sql("ALTER TABLE ", Table(), " CHANGE COLUMN double_temp ", column,
                   " DOUBLE DEFAULT 0 NOT NULL;");
    }

    Leftover Superfluous(const std::string& column) const {
        return {.table = converted_.table,
                .seen = Concat("the column double_temp is left over, and ", column,
                               " holds all its values"),
                .consequence = kStopsWith1060,
                .statements = {Drop(kInterimColumn)}};
    }

    Leftover ForAPerson(std::string seen, const char* consequence) const {
        return {converted_.table, std::move(seen), consequence, {}};
    }

    Inspection inspection_;
    std::string database_;
    const ConvertedTable& converted_;
    std::vector<Inspection::Column> columns_;
};

}  // namespace

std::vector<Leftover> FindInterruptedConversions(Utility& host, const std::string& database,
                                                 const std::vector<ConvertedTable>& tables) {
    std::vector<Leftover> leftovers;
    const auto left = Inspection(host, database).TablesWith(kInterimColumn);
    for (const ConvertedTable& converted : tables) {
        if (std::find(left.begin(), left.end(), converted.table) != left.end()) {
            leftovers.push_back(Conversion(host, database, converted).Find());
        }
    }
    return leftovers;
}

std::vector<Leftover> FindStrangeConversions(Utility& host, const std::string& database,
                                             const std::vector<std::string>& known) {
    std::vector<Leftover> leftovers;
    for (const std::string& table : Inspection(host, database).TablesWith(kInterimColumn)) {
        if (std::find(known.begin(), known.end(), table) == known.end()) {
            leftovers.push_back({.table = table,
                                 .seen = Concat("the table has a column double_temp, but no step "
                                                "converts a column of this table"),
                                 .consequence = kNothingReadsThem,
                                 .statements = {}});
        }
    }
    return leftovers;
}

}  // namespace twupdate
