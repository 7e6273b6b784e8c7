#pragma once

#include <string>
#include <vector>

namespace twupdate::test {

/// What one step of the content ladder does to a site, on rows made for it. Site 7 has every
/// optional feature and the layout that the whole schema ladder gives it; it holds no other rows.
///
/// Changes are written as in Changes() of snapshot.h. A row that is added to `attribute` or
/// `setting` is written without its id ("+ setting: overrideid 1, …"): several of them may come
/// from one statement, and how the server numbers those is its own affair.
struct Scenario {
    std::string name;  ///< a sentence, for reports
    std::string step;
    std::string rows;                           ///< statements that make the rows
    std::vector<std::string> changes;           ///< in tw_7
    std::vector<std::string> centralChanges{};  ///< in tw_tarnwick
    std::vector<std::string> schemaChanges{};   ///< in tw_7: "<table> + <line>", "<table> - <line>"
    std::string undo{};  ///< statements that take back what is neither a row nor made by `rows`
    bool survivesInterruptions =
        true;  ///< false: a run after an interruption does not reach the same end
};

/// Every scenario, in the order of the ladder.
const std::vector<Scenario>& Scenarios();

}  // namespace twupdate::test
