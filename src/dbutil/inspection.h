#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/host.h"

namespace twupdate {

/// Reads what one database holds, outside of a run.
class Inspection {
  public:
    struct Column {
        std::string name;
        std::string type;  ///< as the server shows it, e.g. "float"
        bool hasDefault = false;
    };

    Inspection(Utility& host, std::string database);

    /// The columns of a table in their order; none when there is no such table.
    std::vector<Column> Columns(std::string_view table) const;
    bool HasTable(std::string_view table) const { return !Columns(table).empty(); }
    bool HasColumn(std::string_view table, std::string_view column) const;

    /// The tables (not the views) that have a column of that name, by name.
    std::vector<std::string> TablesWith(std::string_view column) const;
    std::vector<std::string> Tables() const;

    /// The number in the first column of the query's first row, which it must call `n`.
    std::int64_t Number(const std::string& sql) const;
    /// How many rows "FROM <rest>" has.
    std::int64_t Count(std::string_view rest) const;
    /// The column of that name in every row.
    std::vector<std::string> Texts(const std::string& sql, std::string_view column) const;

  private:
    Utility* host_;
    std::string database_;
};

}  // namespace twupdate
