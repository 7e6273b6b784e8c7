#include "cli/check/privileges.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>

#include "cli/run/progress_marks.h"
#include "cli/server/cluster.h"
#include "cli/server/grants.h"
#include "cli/server/queries.h"

namespace twupdate::cli {
namespace {

struct Need {
    std::string_view privilege;
    host::TableName table;
};

void ReadsOthers(const DryStatement& statement, std::vector<Need>& needs) {
    for (const host::TableName& table : statement.tables) {
        if (!(table == statement.target)) {
            needs.push_back({"SELECT", table});
        }
    }
}

/// By the kind of the statement alone, as the server asks for them. An ALTER TABLE that changes
/// keys needs no INDEX.
std::vector<Need> NeedsOf(const DryStatement& statement) {
    const host::TableName& target = statement.target;
    std::vector<Need> needs;
    switch (statement.kind) {
        case StatementKind::kRead:
        case StatementKind::kInspect:
            ReadsOthers(statement, needs);
            break;
        case StatementKind::kInsert:
            needs.push_back({"INSERT", target});
            if (statement.sql.find("ON DUPLICATE KEY UPDATE") != std::string::npos) {
                needs.push_back({"UPDATE", target});
            }
            ReadsOthers(statement, needs);
            break;
        case StatementKind::kUpdate:
            needs = {{"UPDATE", target}, {"SELECT", target}};
            ReadsOthers(statement, needs);
            break;
        case StatementKind::kDelete:
            needs.push_back({"DELETE", target});
            ReadsOthers(statement, needs);
            break;
        case StatementKind::kCreateDatabase:
        case StatementKind::kCreateTable:
            needs.push_back({"CREATE", target});
            break;
        case StatementKind::kAlterTable:
            if (statement.sql.starts_with("REPAIR")) {
                needs = {{"SELECT", target}, {"INSERT", target}};
            } else {
                needs.push_back({"ALTER", target});
            }
            break;
        case StatementKind::kRenameTable:
            needs = {{"ALTER", target}, {"DROP", target}};
            for (const host::TableName& table : statement.tables) {
                if (!(table == target)) {
                    needs.push_back({"CREATE", table});
                    needs.push_back({"INSERT", table});
                }
            }
            break;
        case StatementKind::kDropTable:
            needs.push_back({"DROP", target});
            break;
        case StatementKind::kService:
            break;
    }
    return needs;
}

/// The privileges that are spoken of, in the order in which they are listed.
constexpr std::array<std::string_view, 7> kPrivileges{"SELECT", "INSERT", "UPDATE", "DELETE",
                                                      "CREATE", "DROP",   "ALTER"};

/// What the user lacks in one database, and where that is needed first.
struct Missing {
    std::vector<std::string_view> privileges;
    std::string table;
    std::string step;
};

std::string AccountOf(host::Connection& connection) {
    const auto account =
        FirstColumn(connection,
                    "SELECT CONCAT(QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', 1)), '@', "
                    "QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', -1)));");
    return account.empty() ? "CURRENT_USER()" : account.front();
}

void Tell(const std::string& database, const Missing& missing, const std::string& account,
          std::vector<CheckFinding>& findings) {
    std::vector<std::string_view> sorted;
    for (const std::string_view privilege : kPrivileges) {
        if (std::find(missing.privileges.begin(), missing.privileges.end(), privilege) !=
            missing.privileges.end()) {
            sorted.push_back(privilege);
        }
    }
    const std::string list = fmt::format("{}", fmt::join(sorted, ", "));
    findings.push_back({database, missing.table, missing.step,
                        "the account lacks the privilege " + list,
                        fmt::format("GRANT {} ON `{}`.* TO {}", list, database, account)});
}

}  // namespace

std::set<std::string> UnreadableDatabases(host::Connection& connection,
                                          const std::vector<std::string>& databases,
                                          std::vector<CheckFinding>& findings) {
    std::set<std::string> unreadable;
    const auto grants = Grants::Of(connection);
    for (const std::string& database : databases) {
        if (grants && !grants->NamesTables(database) &&
            !EffectivePrivileges(connection, *grants, database).Has("SELECT", "") &&
            unreadable.insert(database).second) {
            Tell(database, {{"SELECT"}, "", ""}, AccountOf(connection), findings);
        }
    }
    return unreadable;
}

void CheckPrivileges(host::Connection& connection, const std::vector<Walk>& walks,
                     bool recordsVersion, std::vector<CheckFinding>& findings) {
    const auto grants = Grants::Of(connection);
    if (!grants) {
        return;
    }
    std::map<std::string, std::optional<EffectivePrivileges>> known;
    std::vector<std::pair<std::string, Missing>> missing;  // by database, as they come
    const auto ask = [&](std::string_view privilege, const std::string& database,
                         const std::string& table, const std::string& step) {
        auto effective = known.find(database);
        if (effective == known.end()) {
            effective = known.emplace(database, std::nullopt).first;
            effective->second.emplace(connection, *grants, effective->first);
        }
        if (effective->second->Has(privilege, table)) {
            return;
        }
        auto found = std::find_if(missing.begin(), missing.end(),
                                  [&](const auto& one) { return one.first == database; });
        if (found == missing.end()) {
            missing.emplace_back(database, Missing{{}, table, step});
            found = missing.end() - 1;
        }
        auto& list = found->second.privileges;
        if (std::find(list.begin(), list.end(), privilege) == list.end()) {
            list.push_back(privilege);
        }
    };
    for (const Walk& walk : walks) {
        std::set<std::tuple<std::string_view, std::string, std::string>> asked;
        for (const DryStatement& statement : walk.record) {
            for (const Need& need : NeedsOf(statement)) {
                if (need.table.database.empty() || need.table.database == "information_schema" ||
                    !asked.emplace(need.privilege, need.table.database, need.table.table).second) {
                    continue;
                }
                if (need.table.database != walk.database) {
                    ask(need.privilege, need.table.database, need.table.table, StepOf(statement));
                    continue;
                }
                for (const std::string& database : walk.databases) {
                    ask(need.privilege, database, need.table.table, StepOf(statement));
                }
            }
        }
    }
    for (const Walk& walk : walks) {
        for (const std::string& database : walk.databases) {
            for (const char* privilege :
                 {"CREATE", "DROP", "SELECT", "INSERT", "UPDATE", "DELETE"}) {
                ask(privilege, database, ProgressMarks::kTable, "");
            }
        }
    }
    if (recordsVersion) {
        ask("UPDATE", "tw_tarnwick", "site", "");
    }
    const std::string account = AccountOf(connection);
    for (const auto& [database, lack] : missing) {
        Tell(database, lack, account, findings);
    }
}

void CheckLeasePrivileges(host::Connection& connection, std::vector<CheckFinding>& findings) {
    const auto grants = Grants::Of(connection);
    if (!grants) {
        return;
    }
    const std::string account = AccountOf(connection);
    const std::string database = "twupdate";
    const EffectivePrivileges effective(connection, *grants, database);
    Missing missing{{}, "lease", ""};
    for (const std::string_view privilege : {"SELECT", "INSERT", "UPDATE", "CREATE"}) {
        if (!effective.Has(privilege, missing.table)) {
            missing.privileges.push_back(privilege);
        }
    }
    if (!missing.privileges.empty()) {
        Tell(database, missing, account, findings);
    }
    const std::string system = "mysql";
    if (IsClusterNode(connection) &&
        !EffectivePrivileges(connection, *grants, system).Has("SELECT", "wsrep_cluster_members")) {
        findings.push_back({system, "wsrep_cluster_members", "",
                            "the account lacks the privilege SELECT",
                            "GRANT SELECT ON mysql.wsrep_cluster_members TO " + account});
    }
}

}  // namespace twupdate::cli
