#pragma once

#include <array>
#include <string_view>

namespace twupdate::cli {

/// A file `<table>Data.txt` with the rows of a table.
struct DataFile {
    std::string_view table;
    std::string_view columns;  ///< in the order of the fields, apart by blanks
    std::string_view kinds;    ///< a letter for each column: n number, t text
};

/// What the central ladder imports; the other files are for the creation alone.
inline constexpr std::array kDataFiles{
    DataFile{"component",
             "componentid componentname foldername componentfile available published mandatory "
             "layoutcomponent standalone section allowcopy allowcopywithoutdata widget",
             "ntttnnnnnnnnn"},
    DataFile{"componenttype", "componenttype componentid", "nn"}};

}  // namespace twupdate::cli
