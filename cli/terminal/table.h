#pragma once

#include <string>
#include <vector>

namespace twupdate::cli {

/// A table in plain text: columns padded to their widest cell, two blanks between them.
class TextTable {
  public:
    enum class Align : unsigned char { kLeft, kRight };
    struct Column {
        std::string title;
        Align align = Align::kLeft;
    };

    explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}
    void AddRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    /// The title line and one line for each row.
    std::vector<std::string> Lines() const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace twupdate::cli
