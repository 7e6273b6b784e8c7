#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include "cli/check/check_finding.h"
#include "cli/check/step_needs.h"
#include "cli/run/run_lock.h"
#include "cli/server/server_version.h"
#include "cli/terminal/text.h"

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

/// What the checks of the server look at.
struct Looked {
    host::Connection& connection;
    const std::vector<PendingDatabase>& pending;
    const Variables& variables;
    std::set<std::string> modes;  ///< of sql_mode
    ServerVersion version;

    /// "run with --sql-mode '…'", without these modes.
    std::string RunWithout(std::initializer_list<std::string_view> unwanted) const {
        auto others = modes;
        for (const std::string_view mode : unwanted) {
            others.erase(std::string(mode));
        }
        return fmt::format("run with --sql-mode '{}'", fmt::join(others, ","));
    }
};

/// A finding at the first step that does one of these; none when no pending step does.
void AddSetting(const Looked& at, const std::vector<std::string_view>& needs,
                const std::string& problem, const std::string& cure,
                std::vector<CheckFinding>& findings) {
    if (const auto first = FirstNeedOf(at.connection, at.pending, needs)) {
        findings.push_back({first->database, first->table, first->need.step, problem, cure});
    }
}

/// What writes in any way.
const std::vector<std::string_view> kWrites{"INSERT", "UPDATE", "DELETE",
                                            "CREATE", "DROP",   "ALTER"};

/// Each mode that makes a statement fail, or do something else than it is to do.
void CheckSqlMode(const Looked& at, std::vector<CheckFinding>& findings) {
    if (at.modes.contains("EMPTY_STRING_IS_NULL")) {
        AddSetting(at, {kHasEmptyDefault},
                   "sql_mode has EMPTY_STRING_IS_NULL, with which no column takes the default ''",
                   at.RunWithout({"EMPTY_STRING_IS_NULL"}), findings);
    }
    if (at.modes.contains("ORACLE")) {
        // No statement fails; lengths are counted otherwise and emptied texts become NULL.
        findings.push_back({"", "", "",
                            "sql_mode has ORACLE, with which REPLACE and LENGTH give something "
                            "else, and the upgrade would write wrong rows",
                            at.RunWithout({"ORACLE"})});
    }
    if (!at.modes.contains("ONLY_FULL_GROUP_BY")) {
        return;
    }
    for (const PendingDatabase& site : at.pending) {
        if (site.kind == Kind::kSite && IsBelow(site.version, 1.0037) &&
            FirstCell(at.connection, fmt::format("SELECT 1 FROM {}.forum LIMIT 1;", site.name))) {
            findings.push_back({site.name, "forum", "SiteContentStep_1_0037",
                                "sql_mode has ONLY_FULL_GROUP_BY, which refuses the count of "
                                "the threads",
                                at.RunWithout({"ONLY_FULL_GROUP_BY"})});
        }
    }
}

/// The steps that give a LONGTEXT column the default '', in the order in which they run.
struct LongTextDefault {
    Kind kind;
    std::string_view step;
    std::string_view table;
    bool optional = false;  ///< the step does it only where the table is
};
constexpr std::array kLongTextDefaults{
    LongTextDefault{Kind::kCentral, "ServerStep_1_0253", "emailerror"},
    LongTextDefault{Kind::kSite, "SiteSchemaStep_1_0013", "textcache"},
    LongTextDefault{Kind::kSite, "SiteSchemaStep_1_0084", "eventwakeup"},
    LongTextDefault{Kind::kSite, "SiteSchemaStep_1_0233", "formfield", true},
    LongTextDefault{Kind::kSite, "SiteSchemaStep_1_0248", "regularexpression"}};

/// A step and the table at which it fails; no step where none does.
struct Failing {
    std::string_view step = {};
    std::string table = {};
};

/// The form whose long texts SiteContentStep_1_0255 comes to first.
std::optional<std::string> FirstLongTextForm(const Looked& at, const PendingDatabase& site) {
    return FirstCell(
        at.connection,
        fmt::format("SELECT c.table_name FROM {0}.formfield f INNER JOIN "
                    "information_schema.columns c ON c.table_schema = '{0}' AND c.table_name = "
                    "CONCAT('form_', f.featureid) AND c.column_name = CONCAT('field_', "
                    "f.formfieldid) WHERE f.type IN('dhtml', 'memo') ORDER BY f.formfieldid "
                    "LIMIT 1;",
                    site.name));
}

Failing FirstLongTextDefault(const Looked& at, const PendingDatabase& database) {
    const PendingRun run = database.Run();
    for (const LongTextDefault& one : kLongTextDefaults) {
        if (one.kind == database.kind && run.Has(one.step) &&
            (!one.optional || FirstCell(at.connection, fmt::format("SHOW TABLES FROM {} LIKE '{}';",
                                                                   database.name, one.table)))) {
            return {one.step, std::string(one.table)};
        }
    }
    constexpr std::string_view kConvertsForms = "SiteContentStep_1_0255";
    if (database.kind == Kind::kSite && run.Has(kConvertsForms)) {
        if (const auto form = FirstLongTextForm(at, database)) {
            return {kConvertsForms, *form};
        }
    }
    return {};
}

/// What a server of that version cannot do of what is pending: of each database the first step
/// that needs it.
void CheckVersion(const Looked& at, std::vector<CheckFinding>& findings) {
    const std::string server = "the server is " + at.version.Name();
    const std::string cure = "use MariaDB 10.2.1 or later";
    // In another sql_mode it is a warning, and the column has no default.
    const bool refusesDefaults =
        !at.version.TakesLongTextDefaults() && IsStrict(Get(at.variables, "sql_mode"));
    for (const PendingDatabase& database : at.pending) {
        if (refusesDefaults) {
            if (const auto [step, table] = FirstLongTextDefault(at, database); !step.empty()) {
                findings.push_back(
                    {database.name, table, std::string(step),
                     server + ", on which a LONGTEXT column takes no default in a strict sql_mode",
                     cure + ", or " +
                         at.RunWithout(
                             {"STRICT_TRANS_TABLES", "STRICT_ALL_TABLES", "TRADITIONAL"})});
            }
        }
    }
}

/// Whether nothing may be written, and whose setting that is.
void CheckReadOnly(const Looked& at, std::vector<CheckFinding>& findings) {
    const Variables& variables = at.variables;
    // A server has one of the two names, or both.
    if (IsOn(variables, "tx_read_only") || IsOn(variables, "transaction_read_only")) {
        AddSetting(at, kWrites, "new transactions are read-only: a session may write nothing",
                   "SET GLOBAL TRANSACTION READ WRITE", findings);
    }
    if (IsOn(variables, "innodb_read_only")) {
        AddSetting(at, kWrites, "innodb_read_only is ON: no table can be written",
                   "start the server without it", findings);
    }
    const bool superSuffices = !at.version.IsMariaDb() || at.version.Number() < 101100;
    // Where there is super_read_only it switches read_only on as well, and stops everybody.
    if (IsOn(variables, "read_only") &&
        (IsOn(variables, "super_read_only") || !MayWriteReadOnly(at.connection, superSuffices))) {
        AddSetting(at, kWrites, "read_only is ON, as on a replica: the user may write nothing",
                   "connect to the server that is written to", findings);
    }
}

/// What the server demands of tables and of statements that change them.
void CheckTableSettings(const Looked& at, std::vector<CheckFinding>& findings) {
    const Variables& variables = at.variables;
    if (IsOn(variables, "innodb_force_primary_key")) {
        AddSetting(at, {kHasNoPrimaryKey},
                   "innodb_force_primary_key is ON: a table without a primary key, of which the "
                   "installation has several, cannot be changed",
                   "SET GLOBAL innodb_force_primary_key = OFF for the time of the upgrade",
                   findings);
    }
    const std::string algorithm = Get(variables, "alter_algorithm");
    // What each of them refuses.
    const std::map<std::string, std::vector<std::string_view>> refused{
        {"INSTANT", {kAddsIndex, kRebuildsTable, kCopiesTable}},
        {"NOCOPY", {kRebuildsTable, kCopiesTable}},
        {"INPLACE", {kCopiesTable}}};
    if (const auto changes = refused.find(algorithm); changes != refused.end()) {
        AddSetting(
            at, changes->second,
            fmt::format("alter_algorithm is {}: a change for which that is not enough is refused",
                        algorithm),
            "SET GLOBAL alter_algorithm = DEFAULT for the time of the upgrade", findings);
    }
    const std::string engine = Get(variables, "enforce_storage_engine");
    if (!engine.empty() && engine != Get(variables, "default_storage_engine") &&
        at.modes.contains("NO_ENGINE_SUBSTITUTION")) {
        AddSetting(at, {"CREATE"},
                   fmt::format("enforce_storage_engine is {}, and default_storage_engine another: "
                               "no table can be made",
                               engine),
                   "start the server with the two alike", findings);
    }
}

void CheckBinaryLog(const Looked& at, std::vector<CheckFinding>& findings) {
    const Variables& variables = at.variables;
    const std::string isolation =
        Get(variables, "transaction_isolation") + Get(variables, "tx_isolation");
    if (IsOn(variables, "log_bin") && IsOn(variables, "sql_log_bin") &&
        Get(variables, "binlog_format") == "STATEMENT" && isolation.starts_with("READ-") &&
        isolation.find("REPEATABLE") == std::string::npos) {
        AddSetting(at, {kWritesRows},
                   "binlog_format is STATEMENT and the transaction isolation below "
                   "REPEATABLE-READ: InnoDB refuses to write",
                   "SET GLOBAL binlog_format = MIXED", findings);
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
        // The list of the sites comes through the first of them, between the ladders.
        findings.push_back(
            {"tw_tarnwick", "site", "",
             fmt::format("max_prepared_stmt_count is {} with {} in use, and an upgrade needs {}",
                         most, used, kNeeded),
             "raise max_prepared_stmt_count on the server"});
    }
}

}  // namespace

PendingRun PendingDatabase::Run() const {
    return kind == Kind::kSite ? PendingRun(Ladder::kSiteSchema, Ladder::kSiteContent, version)
                               : PendingRun(Ladder::kServer, Ladder::kServerData, version);
}

std::string CheckFinding::Text() const {
    std::string where = database + (table.empty() ? "" : "." + table);
    where += where.empty() ? "" : ": ";
    const std::string then = step.empty() ? "" : ", so " + step + " fails";
    return where + problem + then + "; " + cure;
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
    const Looked at{connection, pending, variables, Modes(Get(variables, "sql_mode")),
                    ServerVersion::Of(connection)};
    CheckVersion(at, findings);
    CheckSqlMode(at, findings);
    CheckReadOnly(at, findings);
    CheckTableSettings(at, findings);
    CheckBinaryLog(at, findings);
    CheckPreparedStatements(connection, variables, findings);
}

}  // namespace twupdate::cli
