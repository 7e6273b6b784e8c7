#pragma once

#include <fmt/format.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/report/run_events.h"

namespace twupdate::cli {

/// The most bytes of a statement or an error that a page shows.
inline constexpr std::size_t kMostText = 1000;

/// A page up to its header, with its style; `kPageEnd` closes it.
/// @param title  as HTML
/// @param reload  how often the page loads itself again
std::string PageHead(std::string_view title,
                     std::optional<std::chrono::seconds> reload = std::nullopt);
inline constexpr std::string_view kPageEnd = "</main>\n</body>\n</html>\n";

/// A statement in a block of its own.
std::string Sql(std::string_view statement);

/// One of the figures of a summary.
std::string Figure(std::string_view id, std::string_view name, std::string_view value);

/// A section with its heading.
std::string Section(std::string_view id, std::string_view title, std::string_view content);

/// A table that scrolls if the page is too narrow for it.
class Table {
  public:
    /// @param columns  titles; one that begins with # is of numbers, with ~ of whole sentences
    Table(std::string_view id, std::string_view caption,
          const std::vector<std::string_view>& columns)
        : html_(fmt::format(
              "<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-label=\"{1}\">\n"
              "<table id=\"{0}\"><caption>{1}</caption>\n<thead><tr>",
              id, caption)) {
        for (const std::string_view column : columns) {
            const bool isMarked = column.starts_with('#') || column.starts_with('~');
            kinds_.push_back(isMarked ? column.front() : ' ');
            html_ += fmt::format("<th scope=\"col\"{}>{}</th>", Kind(kinds_.size() - 1),
                                 isMarked ? column.substr(1) : column);
        }
        html_ += "</tr></thead>\n<tbody>\n";
    }
    /// The first cell names the row.
    void AddRow(const std::vector<std::string>& cells) {
        html_ += "<tr>";
        for (std::size_t i = 0; i < cells.size(); ++i) {
            html_ += i == 0 ? fmt::format("<th scope=\"row\"{}>{}</th>", Kind(i), cells[i])
                            : fmt::format("<td{}>{}</td>", Kind(i), cells[i]);
        }
        html_ += "</tr>\n";
    }
    std::string Done() const { return html_ + "</tbody></table></div>\n"; }

  private:
    std::string_view Kind(std::size_t i) const {
        return kinds_[i] == '#' ? " class=\"number\"" : kinds_[i] == '~' ? " class=\"words\"" : "";
    }

    std::vector<char> kinds_;
    std::string html_;
};

/// A line about what a list leaves out; empty when it shows all.
std::string AndMore(std::size_t all, std::size_t shown, std::string_view noun);

/// How a run ended, with a sign.
std::string EndWord(RunEnd end);

}  // namespace twupdate::cli
