#include "cli/server/blockers.h"

#include <fmt/format.h>

#include "cli/server/queries.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/text.h"
#include "twupdate/error.h"

namespace twupdate::cli {
namespace {

/// Rows of: id, user, host, command, seconds, statement, what it holds.
std::vector<std::string> Describe(host::Connection& connection, const std::string& sql) {
    std::vector<std::string> lines;
    const auto rows = connection.Query(sql);
    while (rows->Next()) {
        const std::string statement = TextOrEmpty(rows->Get(5));
        std::string line =
            fmt::format("connection {} of {}@{}, {} for {} s, {}", TextOrEmpty(rows->Get(0)),
                        TextOrEmpty(rows->Get(1)), TextOrEmpty(rows->Get(2)),
                        TextOrEmpty(rows->Get(3)) == "Sleep" ? "idle" : "busy",
                        TextOrEmpty(rows->Get(4)), TextOrEmpty(rows->Get(6)));
        if (!statement.empty()) {
            line += ": " + ShortStatement(WithoutPasswords(statement));
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

bool HasMetadataLockInfo(host::Connection& connection) {
    return HasRows(connection,
                   "SELECT 1 FROM information_schema.plugins WHERE plugin_name = "
                   "'METADATA_LOCK_INFO' AND plugin_status = 'ACTIVE'");
}

}  // namespace

std::vector<std::string> LockHolders(const Session& session, const std::string& database) {
    try {
        const auto connection = session.Connect();
        const auto ours = session.GetConnection()->ThreadId();
        if (HasMetadataLockInfo(*connection)) {
            return Describe(
                *connection,
                fmt::format("SELECT p.id, p.user, p.host, p.command, p.time, p.info, "
                            "CONCAT('holds ', GROUP_CONCAT(DISTINCT l.lock_mode, ' on ', "
                            "l.table_schema, '.', l.table_name)) "
                            "FROM information_schema.metadata_lock_info l INNER JOIN "
                            "information_schema.processlist p ON p.id = l.thread_id "
                            "WHERE l.table_schema = '{}' AND p.id NOT IN ({}, CONNECTION_ID()) "
                            "GROUP BY p.id ORDER BY p.id;",
                            database, ours));
        }
        return Describe(
            *connection,
            fmt::format(
                "SELECT p.id, p.user, p.host, p.command, p.time, p.info, "
                "IF(t.trx_id IS NULL, 'runs a statement', "
                "CONCAT('in a transaction since ', t.trx_started)) "
                "FROM information_schema.processlist p LEFT JOIN information_schema.innodb_trx t "
                "ON t.trx_mysql_thread_id = p.id WHERE p.id NOT IN ({}, CONNECTION_ID()) AND "
                "p.command <> 'Daemon' AND p.user <> 'system user' AND "
                "(t.trx_id IS NOT NULL OR p.command = 'Query') ORDER BY p.time DESC LIMIT 20;",
                ours));
    } catch (const HostError& error) {
        return error.Code() == kNeedsGlobalPrivilege
                   ? std::vector<std::string>{"a connection that only users with the right PROCESS "
                                              "are shown"}
                   : std::vector<std::string>{};
    } catch (const std::exception&) {
        return {};  // what is told about the failure must not hide it
    }
}

}  // namespace twupdate::cli
