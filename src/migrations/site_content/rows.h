#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "dbutil/fields.h"

namespace twupdate {

/// Calls `visit` with every row, from the current one to the end, and closes the recordset.
template <typename Visit>
void ForEachRow(const std::shared_ptr<Recordset>& rows, const Visit& visit) {
    for (; !rows->IsEOF(); rows->MoveNext()) {
        visit(*rows);
    }
    rows->Close();
}

/// Reads a table page by page, so that what `visit` writes never disturbs the walk and no more
/// than a page is held at a time.
/// @param key       the column by which the pages follow each other
/// @param openPage  opens the page of the rows whose key lies above its argument, in key order;
///                  the first empty page ends the walk
template <typename OpenPage, typename Visit>
void ForEachRowInPages(std::string_view key, const OpenPage& openPage, const Visit& visit) {
    std::int32_t last = 0;
    for (bool more = true; more;) {
        more = false;
        ForEachRow(openPage(last), [&](const Recordset& row) {
            last = Int32Field(row, key);
            more = true;
            visit(row);
        });
    }
}

/// True when there is a row. Closes the recordset.
inline bool HasRow(const std::shared_ptr<Recordset>& rows) {
    const bool found = !rows->IsEOF();
    rows->Close();
    return found;
}

/// The column's number in the first row, 0 when there is no row. Closes the recordset.
inline std::int32_t FirstNumber(const std::shared_ptr<Recordset>& rows, std::string_view column) {
    const std::int32_t number = rows->IsEOF() ? 0 : Int32Field(*rows, column);
    rows->Close();
    return number;
}

}  // namespace twupdate
