#pragma once

#include <string>
#include <vector>

#include "twupdate/interruption.h"

namespace twupdate {

/// The columns of one table that a step turns from single into double precision, in its order.
struct ConvertedTable {
    std::string table;
    std::vector<std::string> columns;
};

/// Looks for what an interrupted ConvertFloatToDouble has left: a column double_temp. Which column
/// it belongs to follows from the order of the conversions and the position of the columns in the
/// table; a column is dropped only after it was compared with the one that stays.
std::vector<Leftover> FindInterruptedConversions(Utility& host, const std::string& database,
                                                 const std::vector<ConvertedTable>& tables);

/// Tables of the database with a column double_temp that no step converts.
/// @param known  the tables whose columns some step converts
std::vector<Leftover> FindStrangeConversions(Utility& host, const std::string& database,
                                             const std::vector<std::string>& known);

}  // namespace twupdate
