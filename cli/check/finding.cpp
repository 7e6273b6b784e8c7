#include "cli/check/finding.h"

#include <algorithm>

namespace twupdate::cli {

std::string CheckFinding::Text() const {
    std::string where = database + (table.empty() ? "" : "." + table);
    where += where.empty() ? "" : ": ";
    const std::string then = step.empty()  ? ""
                             : interrupted ? " (" + step + ")"
                                           : ", so " + step + " fails";
    return where + problem + then + "; " + fix;
}

void AddOnce(CheckFinding finding, std::vector<CheckFinding>& findings) {
    const bool known =
        std::any_of(findings.begin(), findings.end(), [&](const CheckFinding& other) {
            return other.database == finding.database && other.table == finding.table &&
                   other.problem == finding.problem;
        });
    if (!known) {
        findings.push_back(std::move(finding));
    }
}

}  // namespace twupdate::cli
