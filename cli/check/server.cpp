#include "cli/check/server.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <sstream>

#include "cli/check/column_range.h"
#include "cli/check/rewrites.h"
#include "cli/server/grants.h"
#include "cli/server/queries.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

const DryStatement* FirstThat(const Walk& walk, const auto& is) {
    const auto found = std::find_if(walk.record.begin(), walk.record.end(), is);
    return found == walk.record.end() ? nullptr : &*found;
}

/// A finding at the first statement of an upgrade that is one of these; none without one.
void AddSetting(const std::vector<Walk>& walks, const std::string& problem, const std::string& fix,
                std::vector<CheckFinding>& findings, const auto& is) {
    for (const Walk& walk : walks) {
        if (const DryStatement* first = FirstThat(walk, is)) {
            const host::TableName& at = first->target;
            findings.push_back({at.database, at.table, StepOf(*first), problem, fix});
            return;
        }
    }
}

bool WritesRows(const DryStatement& statement) {
    return statement.kind == StatementKind::kInsert || statement.kind == StatementKind::kUpdate ||
           statement.kind == StatementKind::kDelete;
}

bool ChangesTable(const DryStatement& statement) {
    return statement.after && (statement.kind == StatementKind::kCreateTable ||
                               statement.kind == StatementKind::kAlterTable);
}

/// Whether the statement gives a LONGTEXT column a default.
bool GivesLongTextDefault(const DryStatement& statement) {
    const std::string text = LowerCase(statement.sql);
    for (auto at = text.find("longtext"); at != std::string::npos;
         at = text.find("longtext", at + 1)) {
        const std::string_view definition =
            std::string_view(text).substr(at, text.find(',', at) - at);
        if (definition.find("default") != std::string::npos) {
            return true;
        }
    }
    return false;
}

/// What a server of that version cannot do: of each database the first step that needs it.
void CheckVersion(const ServerState& server, const std::vector<Walk>& walks,
                  std::vector<CheckFinding>& findings) {
    const std::string name = "the server is " + server.version.Name();
    const std::string fix = "use MariaDB 10.2.1 or later";
    for (const Walk& walk : walks) {
        // In another sql_mode it is a warning, and the column has no default.
        if (!server.version.TakesLongTextDefaults() && server.IsStrict()) {
            if (const auto* first = FirstThat(walk, GivesLongTextDefault)) {
                const CheckFinding finding{
                    first->target.database, first->target.table, StepOf(*first),
                    name + ", on which a LONGTEXT column takes no default in a strict sql_mode",
                    fix + ", or " +
                        server.RunWithout(
                            {"STRICT_TRANS_TABLES", "STRICT_ALL_TABLES", "TRADITIONAL"})};
                walk.Tell(finding, findings);
            }
        }
    }
}

void CheckSqlMode(const ServerState& server, const std::vector<Walk>& walks,
                  std::vector<CheckFinding>& findings) {
    if (server.modes.contains("EMPTY_STRING_IS_NULL")) {
        AddSetting(walks,
                   "sql_mode has EMPTY_STRING_IS_NULL, with which no column takes the default ''",
                   server.RunWithout({"EMPTY_STRING_IS_NULL"}), findings,
                   [](const DryStatement& statement) {
                       return statement.sql.find("DEFAULT ''") != std::string::npos;
                   });
    }
    if (server.modes.contains("ORACLE")) {
        // No statement fails; lengths are counted otherwise and emptied texts become NULL.
        findings.push_back({"", "", "",
                            "sql_mode has ORACLE, with which REPLACE and LENGTH give something "
                            "else, and the upgrade would write wrong rows",
                            server.RunWithout({"ORACLE"})});
    }
}

/// Whether nothing may be written, and whose setting that is.
void CheckReadOnly(const ServerState& server, const std::vector<Walk>& walks,
                   std::vector<CheckFinding>& findings) {
    // A server has one of the two names, or both.
    if (server.IsOn("tx_read_only") || server.IsOn("transaction_read_only")) {
        AddSetting(walks, "new transactions are read-only: a session may write nothing",
                   "SET GLOBAL TRANSACTION READ WRITE", findings, Writes);
    }
    if (server.IsOn("innodb_read_only")) {
        AddSetting(walks, "innodb_read_only is ON: no table can be written",
                   "start the server without it", findings, Writes);
    }
    const bool superSuffices = !server.version.IsMariaDb() || server.version.Number() < 101100;
    // Where there is super_read_only it switches read_only on as well, and stops everybody.
    if (server.IsOn("read_only") &&
        (server.IsOn("super_read_only") || !MayWriteReadOnly(server.connection, superSuffices))) {
        AddSetting(walks, "read_only is ON, as on a replica: the user may write nothing",
                   "connect to the server that is written to", findings, Writes);
    }
}

/// What the server demands of tables and of statements that change them.
void CheckTableSettings(const ServerState& server, const std::vector<Walk>& walks,
                        std::vector<CheckFinding>& findings) {
    if (server.IsOn("innodb_force_primary_key")) {
        AddSetting(walks,
                   "innodb_force_primary_key is ON: a table without a primary key cannot be "
                   "created or changed",
                   "SET GLOBAL innodb_force_primary_key = OFF for the time of the upgrade",
                   findings, [](const DryStatement& statement) {
                       return ChangesTable(statement) && !HasKey(*statement.after);
                   });
    }
    const std::string name = server.Get("alter_algorithm");
    const std::map<std::string, Rewrite> allowed{
        {"INSTANT", Rewrite::kNone}, {"NOCOPY", Rewrite::kIndex}, {"INPLACE", Rewrite::kRebuild}};
    if (const auto most = allowed.find(name); most != allowed.end()) {
        AddSetting(
            walks,
            fmt::format("alter_algorithm is {}: a change for which that is not enough is refused",
                        name),
            "SET GLOBAL alter_algorithm = DEFAULT for the time of the upgrade", findings,
            [&](const DryStatement& statement) {
                return statement.kind == StatementKind::kAlterTable &&
                       RewriteOf(statement, server.version) > most->second;
            });
    }
    const std::string engine = server.Get("enforce_storage_engine");
    if (!engine.empty() && engine != server.Get("default_storage_engine") &&
        server.modes.contains("NO_ENGINE_SUBSTITUTION")) {
        AddSetting(walks,
                   fmt::format("enforce_storage_engine is {}, and default_storage_engine another: "
                               "no table can be created",
                               engine),
                   "start the server with the two alike", findings,
                   [](const DryStatement& statement) {
                       return statement.kind == StatementKind::kCreateTable;
                   });
    }
}

void CheckBinaryLog(const ServerState& server, const std::vector<Walk>& walks,
                    std::vector<CheckFinding>& findings) {
    const std::string isolation = server.Get("transaction_isolation") + server.Get("tx_isolation");
    if (server.IsOn("log_bin") && server.IsOn("sql_log_bin") &&
        server.Get("binlog_format") == "STATEMENT" && isolation.starts_with("READ-")) {
        AddSetting(walks,
                   "binlog_format is STATEMENT and the transaction isolation below "
                   "REPEATABLE-READ: InnoDB refuses to write",
                   "SET GLOBAL binlog_format = MIXED", findings, WritesRows);
    }
}

/// The host keeps its last eight statements prepared.
void CheckPreparedStatements(const ServerState& server, std::vector<CheckFinding>& findings) {
    constexpr std::int64_t kNeeded = 9;
    const auto rows = server.connection.Query("SHOW GLOBAL STATUS LIKE 'Prepared_stmt_count';");
    const std::string most = server.Get("max_prepared_stmt_count");
    if (!rows->Next() || most.empty()) {
        return;
    }
    const std::int64_t used = std::stoll(rows->Get(1).ToText());
    if (std::stoll(most) - used < kNeeded) {
        // The list of the sites comes through the first of them, between the ladders.
        findings.push_back(
            {"tw_tarnwick", "site", "",
             fmt::format("max_prepared_stmt_count is {} with {} in use, and an upgrade needs {}",
                         most, used, kNeeded),
             "raise max_prepared_stmt_count on the server"});
    }
}

void CheckPacket(const ServerState& server, const std::vector<Walk>& walks,
                 std::vector<CheckFinding>& findings) {
    const std::string packet = server.Get("max_allowed_packet");
    if (packet.empty()) {
        return;
    }
    for (const Walk& walk : walks) {
        for (const DryStatement& statement : walk.record) {
            if (statement.sql.size() >= std::stoull(packet)) {
                const CheckFinding finding{
                    statement.target.database, statement.target.table, StepOf(statement),
                    fmt::format("a statement has {} bytes, and the server takes {}",
                                statement.sql.size(), packet),
                    "raise max_allowed_packet on the server"};
                walk.Tell(finding, findings);
            }
        }
    }
}

}  // namespace

ServerState ServerState::Of(host::Connection& connection) {
    // The session's value of each variable that the server has; where a session has none, the
    // server's.
    const auto rows = connection.Query(
        "SHOW VARIABLES WHERE variable_name IN('alter_algorithm', 'binlog_format', "
        "'default_storage_engine', 'enforce_storage_engine', 'innodb_default_row_format', "
        "'innodb_force_primary_key', 'innodb_page_size', 'innodb_read_only', "
        "'innodb_strict_mode', 'log_bin', 'max_allowed_packet', 'max_prepared_stmt_count', "
        "'read_only', 'sql_log_bin', 'sql_mode', 'super_read_only', 'transaction_isolation', "
        "'transaction_read_only', 'tx_isolation', 'tx_read_only');");
    ServerState state{connection, ServerVersion::Of(connection), {}, {}};
    while (rows->Next()) {
        const Value value = rows->Get(1);
        state.variables[rows->Get(0).ToText()] = value.IsNull() ? "" : value.ToText();
    }
    std::istringstream words(state.Get("sql_mode"));
    for (std::string word; std::getline(words, word, ',');) {
        state.modes.insert(word);
    }
    return state;
}

std::string ServerState::Get(const std::string& name) const {
    const auto found = variables.find(name);
    return found == variables.end() ? "" : found->second;
}

bool ServerState::IsOn(const std::string& name) const {
    const std::string value = Get(name);
    return !value.empty() && value != "OFF" && value != "0";
}

bool ServerState::IsStrict() const {
    return cli::IsStrict(Get("sql_mode"));
}

std::string ServerState::RunWithout(std::initializer_list<std::string_view> unwanted) const {
    auto others = modes;
    for (const std::string_view mode : unwanted) {
        others.erase(std::string(mode));
    }
    return fmt::format("run with --sql-mode '{}'", fmt::join(others, ","));
}

void CheckServer(const ServerState& server, const std::vector<Walk>& walks,
                 std::vector<CheckFinding>& findings) {
    CheckVersion(server, walks, findings);
    CheckSqlMode(server, walks, findings);
    CheckReadOnly(server, walks, findings);
    CheckTableSettings(server, walks, findings);
    CheckBinaryLog(server, walks, findings);
    CheckPacket(server, walks, findings);
    if (!walks.empty()) {
        CheckPreparedStatements(server, findings);
    }
}

}  // namespace twupdate::cli
