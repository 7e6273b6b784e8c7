#pragma once

#include <string>
#include <vector>

namespace twupdate::cli {

/// Something that would make an upgrade fail.
struct CheckFinding {
    std::string database;  ///< empty when it concerns none
    std::string table;     ///< likewise
    std::string step;      ///< that would fail; empty when the run would not come that far
    std::string problem;
    std::string fix;
    bool interrupted = false;  ///< the step has begun already, and would not fail but do harm

    /// One line: "tw_7.layoutzone: …, so SiteSchemaStep_1_0035 fails; …".
    std::string Text() const;
};

/// Adds a finding unless the same is said of that place already, with an earlier step.
void AddOnce(CheckFinding finding, std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
