#include "cli/terminal/table.h"

#include <algorithm>

#include "cli/terminal/text.h"

namespace twupdate::cli {

std::vector<std::string> TextTable::Lines() const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t width = DisplayWidth(columns_[i].title);
        for (const auto& row : rows_) {
            width = std::max(width, DisplayWidth(row[i]));
        }
        widths.push_back(width);
    }
    const auto line = [&](const auto& cellOf) {
        std::string text;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const std::string& cell = cellOf(i);
            const std::string padding(widths[i] - DisplayWidth(cell), ' ');
            text += i == 0 ? "" : "  ";
            text += columns_[i].align == Align::kRight ? padding + cell : cell + padding;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        return text;
    };
    std::vector<std::string> lines;
    lines.push_back(line([&](std::size_t i) -> const std::string& { return columns_[i].title; }));
    for (const auto& row : rows_) {
        lines.push_back(line([&](std::size_t i) -> const std::string& { return row[i]; }));
    }
    return lines;
}

}  // namespace twupdate::cli
