#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>

#include "cli/check/check_finding.h"
#include "cli/check/step_needs.h"
#include "cli/server/grants.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// The rights that are spoken of, in the order in which they are listed.
constexpr std::array<std::string_view, 7> kRights{"SELECT", "INSERT", "UPDATE", "DELETE",
                                                  "CREATE", "DROP",   "ALTER"};

/// The rights that a user lacks in a database.
struct Lack {
    std::vector<std::string_view> rights;
    std::string table;  ///< at which the upgrade first needs one of them
    FirstNeed need;
};

Lack LackIn(host::Connection& connection, const Grants& grants, const std::string& database,
            const std::vector<PendingDatabase>& pending) {
    Needs needs = NeedsOf(connection, database, pending);
    const TrueRights rights(connection, grants, database);
    Lack lack;
    for (const std::string_view right : kRights) {
        bool isMissing = false;
        for (const auto& [table, need] : needs[right]) {
            if (rights.Has(right, table)) {
                continue;
            }
            isMissing = true;
            if (lack.table.empty() || need.IsBefore(lack.need)) {
                lack.table = table;
                lack.need = need;
            }
        }
        if (isMissing) {
            lack.rights.push_back(right);
        }
    }
    return lack;
}

}  // namespace

std::set<std::string> CheckRights(host::Connection& connection,
                                  const std::vector<PendingDatabase>& pending,
                                  std::vector<CheckFinding>& findings) {
    std::set<std::string> unreadable;
    const auto grants = Grants::Of(connection);
    if (!grants) {
        return unreadable;
    }
    const auto user = connection.Query(
        "SELECT CONCAT(QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', 1)), '@', "
        "QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', -1)));");
    const std::string account = user->Next() ? user->Get(0).ToText() : "CURRENT_USER()";
    std::set<std::string> seen;  // the root site may be one of the sites as well
    for (const PendingDatabase& database : pending) {
        if (!seen.insert(database.name).second) {
            continue;
        }
        const Lack lack = LackIn(connection, *grants, database.name, pending);
        if (lack.rights.empty()) {
            continue;
        }
        const std::string list = fmt::format("{}", fmt::join(lack.rights, ", "));
        findings.push_back({database.name, lack.table, lack.need.step,
                            "the user lacks the right " + list,
                            fmt::format("GRANT {} ON `{}`.* TO {}", list, database.name, account)});
        if (lack.rights.front() == "SELECT") {  // the first of every list
            unreadable.insert(database.name);
        }
    }
    return unreadable;
}

}  // namespace twupdate::cli
