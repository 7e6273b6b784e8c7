#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <sstream>

#include "cli/check_finding.h"
#include "cli/run_lock.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

using Kind = PendingDatabase::Kind;
using Variables = std::map<std::string, std::string>;

/// The session's value of each variable that the server has; where a session has none, the
/// server's.
Variables ReadVariables(host::Connection& connection) {
    const auto rows = connection.Query(
        "SHOW VARIABLES WHERE variable_name IN ('alter_algorithm', 'binlog_format', "
        "'default_storage_engine', 'enforce_storage_engine', 'innodb_force_primary_key', "
        "'innodb_read_only', 'log_bin', 'max_prepared_stmt_count', 'read_only', 'sql_log_bin', "
        "'sql_mode', 'super_read_only', 'transaction_isolation', 'transaction_read_only', "
        "'tx_isolation', 'tx_read_only');");
    Variables variables;
    while (rows->Next()) {
        const Value value = rows->Get(1);
        variables[rows->Get(0).ToText()] = value.IsNull() ? "" : value.ToText();
    }
    return variables;
}

std::string Get(const Variables& variables, const std::string& name) {
    const auto found = variables.find(name);
    return found == variables.end() ? "" : found->second;
}

bool IsOn(const Variables& variables, const std::string& name) {
    const std::string value = Get(variables, name);
    return !value.empty() && value != "OFF" && value != "0";
}

std::set<std::string> Modes(const std::string& sqlMode) {
    std::set<std::string> modes;
    std::istringstream words(sqlMode);
    for (std::string word; std::getline(words, word, ',');) {
        modes.insert(word);
    }
    return modes;
}

/// A dotted version as one number: 10.2.1 is 100201.
int VersionNumber(const std::string& version) {
    std::array<int, 3> parts{};
    char dot = '.';
    std::istringstream stream(version);
    stream >> parts[0] >> dot >> parts[1] >> dot >> parts[2];
    return parts[0] * 10000 + parts[1] * 100 + parts[2];
}

bool IsMariaDb(const std::string& version) {
    return version.find("MariaDB") != std::string::npos;
}

CheckFinding SettingFinding(const std::string& problem, const std::string& cure) {
    return {"", "", "", problem, cure};
}

/// The sites below a version.
template <typename Take>
void ForEachSiteBelow(double version, const std::vector<PendingDatabase>& pending,
                      const Take& take) {
    for (const PendingDatabase& database : pending) {
        if (database.kind == Kind::kSite && IsBelow(database.version, version)) {
            take(database);
        }
    }
}

/// Each mode that makes a statement fail, or do something else than it is to do.
void CheckSqlMode(host::Connection& connection, const std::set<std::string>& modes,
                  const std::vector<PendingDatabase>& pending,
                  std::vector<CheckFinding>& findings) {
    const auto cure = [modes](const std::string& mode) {
        auto others = modes;
        others.erase(mode);
        return fmt::format("run with --sql-mode '{}'", fmt::join(others, ","));
    };
    if (modes.contains("EMPTY_STRING_IS_NULL")) {
        findings.push_back(SettingFinding(
            "sql_mode has EMPTY_STRING_IS_NULL, with which no column takes the default ''",
            cure("EMPTY_STRING_IS_NULL")));
    }
    if (modes.contains("ORACLE")) {
        // No statement fails; lengths are counted otherwise and emptied texts become NULL.
        findings.push_back(SettingFinding(
            "sql_mode has ORACLE, with which REPLACE and LENGTH give something else, and the "
            "upgrade would write wrong rows",
            cure("ORACLE")));
    }
    if (modes.contains("ONLY_FULL_GROUP_BY")) {
        ForEachSiteBelow(1.0037, pending, [&](const PendingDatabase& site) {
            const auto table = connection.Query(
                fmt::format("SELECT 1 FROM information_schema.tables WHERE table_schema = '{}' AND "
                            "table_name = 'forum';",
                            site.name));
            if (table->Next() &&
                connection.Query(fmt::format("SELECT 1 FROM {}.forum LIMIT 1;", site.name))
                    ->Next()) {
                findings.push_back({site.name, "forum", "SiteContentStep_1_0037",
                                    "sql_mode has ONLY_FULL_GROUP_BY, which refuses the count of "
                                    "the threads",
                                    cure("ONLY_FULL_GROUP_BY")});
            }
        });
    }
}

/// Whether nothing may be written, and whose setting that is.
void CheckReadOnly(host::Connection& connection, const std::string& version,
                   const Variables& variables, std::vector<CheckFinding>& findings) {
    for (const char* name : {"transaction_read_only", "tx_read_only"}) {
        if (IsOn(variables, name)) {
            findings.push_back(
                SettingFinding(fmt::format("{} is ON: a new session may write nothing", name),
                               fmt::format("SET GLOBAL {} = OFF", name)));
        }
    }
    if (IsOn(variables, "innodb_read_only")) {
        findings.push_back(SettingFinding("innodb_read_only is ON: no table can be written",
                                          "start the server without it"));
    }
    const bool superSuffices = !IsMariaDb(version) || VersionNumber(version) < 101100;
    const bool super = IsOn(variables, "super_read_only");
    if (super || (IsOn(variables, "read_only") && !MayWriteReadOnly(connection, superSuffices))) {
        findings.push_back(
            SettingFinding(fmt::format("{} is ON, as on a replica: the user may write nothing",
                                       super ? "super_read_only" : "read_only"),
                           "connect to the server that is written to"));
    }
}

/// What the server demands of tables and of statements that change them.
void CheckTableSettings(const Variables& variables, const std::set<std::string>& modes,
                        std::vector<CheckFinding>& findings) {
    if (IsOn(variables, "innodb_force_primary_key")) {
        findings.push_back(SettingFinding(
            "innodb_force_primary_key is ON: a table without a primary key, of which the "
            "installation has several, cannot be changed",
            "SET GLOBAL innodb_force_primary_key = OFF for the time of the upgrade"));
    }
    const std::string algorithm = Get(variables, "alter_algorithm");
    if (std::set<std::string>{"INSTANT", "NOCOPY", "INPLACE"}.contains(algorithm)) {
        findings.push_back(SettingFinding(
            fmt::format("alter_algorithm is {}: a change that needs a copy of the table is refused",
                        algorithm),
            "SET GLOBAL alter_algorithm = DEFAULT for the time of the upgrade"));
    }
    const std::string engine = Get(variables, "enforce_storage_engine");
    if (!engine.empty() && engine != Get(variables, "default_storage_engine") &&
        modes.contains("NO_ENGINE_SUBSTITUTION")) {
        findings.push_back(SettingFinding(
            fmt::format("enforce_storage_engine is {}, and default_storage_engine another: no "
                        "table can be made",
                        engine),
            "start the server with the two alike"));
    }
}

void CheckBinaryLog(const Variables& variables, std::vector<CheckFinding>& findings) {
    const std::string isolation =
        Get(variables, "transaction_isolation") + Get(variables, "tx_isolation");
    if (IsOn(variables, "log_bin") && IsOn(variables, "sql_log_bin") &&
        Get(variables, "binlog_format") == "STATEMENT" && isolation.starts_with("READ-") &&
        isolation.find("REPEATABLE") == std::string::npos) {
        findings.push_back(SettingFinding(
            "binlog_format is STATEMENT and the transaction isolation below REPEATABLE-READ: "
            "InnoDB refuses to write",
            "SET GLOBAL binlog_format = MIXED"));
    }
}

/// The host keeps its last eight statements prepared.
void CheckPreparedStatements(host::Connection& connection, const Variables& variables,
                             std::vector<CheckFinding>& findings) {
    constexpr std::int64_t kNeeded = 9;
    const auto rows = connection.Query("SHOW GLOBAL STATUS LIKE 'Prepared_stmt_count';");
    const std::string most = Get(variables, "max_prepared_stmt_count");
    if (!rows->Next() || most.empty()) {
        return;
    }
    const std::int64_t used = std::stoll(rows->Get(1).ToText());
    if (std::stoll(most) - used < kNeeded) {
        findings.push_back(SettingFinding(
            fmt::format("max_prepared_stmt_count is {} with {} in use, and an upgrade needs {}",
                        most, used, kNeeded),
            "raise max_prepared_stmt_count on the server"));
    }
}

}  // namespace

std::string CheckFinding::Text() const {
    std::string where = database + (table.empty() ? "" : "." + table);
    where += where.empty() ? "" : ": ";
    const std::string then = step.empty() ? "" : ", so " + step + " fails";
    return where + problem + then + "; " + cure;
}

std::string SqlMode(host::Connection& connection) {
    const auto mode = connection.Query("SELECT @@SESSION.sql_mode;");
    return mode->Next() ? mode->Get(0).ToText() : std::string();
}

bool IsStrict(const std::string& sqlMode) {
    return sqlMode.find("STRICT_") != std::string::npos;  // _TRANS_TABLES or _ALL_TABLES
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

void CheckVersion(const std::string& version, bool strict,
                  const std::vector<PendingDatabase>& pending,
                  std::vector<CheckFinding>& findings) {
    const bool mariaDb = IsMariaDb(version);
    const int number = VersionNumber(version);
    const std::string server = fmt::format("the server is {}{}", mariaDb ? "" : "MySQL ", version);
    const std::string cure = "use MariaDB 10.2.1 or later";
    if (strict && (!mariaDb || number < 100201)) {
        // In another sql_mode it is a warning, and the column has no default.
        const bool due =
            std::any_of(pending.begin(), pending.end(), [](const PendingDatabase& database) {
                return (database.kind == Kind::kCentral && IsBelow(database.version, 1.0253)) ||
                       (database.kind == Kind::kSite && IsBelow(database.version, 1.0248));
            });
        if (due) {
            findings.push_back(
                SettingFinding(server + ", on which a LONGTEXT column takes no default", cure));
        }
    }
    if (number < (mariaDb ? 100200 : 80000)) {
        ForEachSiteBelow(1.0020, pending, [&](const PendingDatabase& site) {
            findings.push_back({site.name, "navigation", "SiteContentStep_1_0020",
                                server + ", which has no ROW_NUMBER()", cure});
        });
    }
}

void CheckServer(const Session& session, const std::vector<PendingDatabase>& pending,
                 std::vector<CheckFinding>& findings) {
    host::Connection& connection = *session.GetConnection();
    const auto used = connection.Query(fmt::format("SELECT IS_USED_LOCK('{}');", RunLock::kName));
    if (used->Next() && !used->Get(0).IsNull()) {
        findings.push_back(
            {"", "", "",
             fmt::format("another run is in progress (connection {})", used->Get(0).ToText()),
             "wait for its end"});
    }
    if (pending.empty()) {
        return;  // the rest concerns what is written
    }
    const Variables variables = ReadVariables(connection);
    const auto modes = Modes(Get(variables, "sql_mode"));
    const auto row = connection.Query("SELECT VERSION();");
    const std::string version = row->Next() ? row->Get(0).ToText() : "";
    CheckVersion(version, IsStrict(Get(variables, "sql_mode")), pending, findings);
    CheckSqlMode(connection, modes, pending, findings);
    CheckReadOnly(connection, version, variables, findings);
    CheckTableSettings(variables, modes, findings);
    CheckBinaryLog(variables, findings);
    CheckPreparedStatements(connection, variables, findings);
}

}  // namespace twupdate::cli
