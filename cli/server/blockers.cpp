#include "cli/server/blockers.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/server/queries.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/text.h"
#include "twupdate/error.h"

namespace twupdate::cli {
namespace {

constexpr const char* kHiddenHolder =
    "a connection that only users with the privilege PROCESS are shown";

struct LockHolder {
    std::string brief;
    std::string text;
};

/// Rows of: id, user, host, command, seconds, statement, what it holds.
std::vector<LockHolder> Describe(host::Connection& connection, const std::string& sql) {
    std::vector<LockHolder> holders;
    const auto rows = connection.Query(sql);
    while (rows->Next()) {
        const std::string statement = TextOrEmpty(rows->Get(5));
        LockHolder holder;
        holder.brief = fmt::format("connection {} of {}@{}, {} for {} s", TextOrEmpty(rows->Get(0)),
                                   TextOrEmpty(rows->Get(1)), TextOrEmpty(rows->Get(2)),
                                   TextOrEmpty(rows->Get(3)) == "Sleep" ? "idle" : "busy",
                                   TextOrEmpty(rows->Get(4)));
        holder.text = fmt::format("{}, {}", holder.brief, TextOrEmpty(rows->Get(6)));
        if (!statement.empty()) {
            holder.text += ": " + ShortStatement(WithoutPasswords(statement));
        }
        holders.push_back(std::move(holder));
    }
    return holders;
}

bool HasMetadataLockInfo(host::Connection& connection) {
    return HasRows(connection,
                   "SELECT 1 FROM information_schema.plugins WHERE plugin_name = "
                   "'METADATA_LOCK_INFO' AND plugin_status = 'ACTIVE'");
}

/// Who may hold a lock on a table of the database for which the connection `waiting` waits.
std::vector<LockHolder> TableLockHolders(host::Connection& connection, std::uint64_t waiting,
                                         const std::string& database) {
    if (HasMetadataLockInfo(connection)) {
        return Describe(connection,
                        fmt::format("SELECT p.id, p.user, p.host, p.command, p.time, p.info, "
                                    "CONCAT('holds ', GROUP_CONCAT(DISTINCT l.lock_mode, ' on ', "
                                    "l.table_schema, '.', l.table_name)) "
                                    "FROM information_schema.metadata_lock_info l INNER JOIN "
                                    "information_schema.processlist p ON p.id = l.thread_id "
                                    "WHERE l.table_schema = '{}' AND p.id NOT IN ({}, "
                                    "CONNECTION_ID()) GROUP BY p.id ORDER BY p.id;",
                                    database, waiting));
    }
    return Describe(
        connection,
        fmt::format("SELECT p.id, p.user, p.host, p.command, p.time, p.info, "
                    "IF(t.trx_id IS NULL, 'runs a statement', "
                    "CONCAT('in a transaction since ', t.trx_started)) "
                    "FROM information_schema.processlist p LEFT JOIN information_schema.innodb_trx "
                    "t ON t.trx_mysql_thread_id = p.id WHERE p.id NOT IN ({}, CONNECTION_ID()) AND "
                    "p.command <> 'Daemon' AND p.user <> 'system user' AND "
                    "(t.trx_id IS NOT NULL OR p.command = 'Query') "
                    "ORDER BY t.trx_id IS NULL, t.trx_started, p.time DESC LIMIT 20;",
                    waiting));
}

/// Who holds the row for which the connection `waiting` waits.
std::vector<LockHolder> RowLockHolders(host::Connection& connection, std::uint64_t waiting) {
    return Describe(
        connection,
        fmt::format("SELECT p.id, p.user, p.host, p.command, p.time, p.info, "
                    "CONCAT('in a transaction since ', b.trx_started) "
                    "FROM information_schema.innodb_lock_waits w "
                    "INNER JOIN information_schema.innodb_trx r ON r.trx_id = w.requesting_trx_id "
                    "INNER JOIN information_schema.innodb_trx b ON b.trx_id = w.blocking_trx_id "
                    "INNER JOIN information_schema.processlist p ON p.id = b.trx_mysql_thread_id "
                    "WHERE r.trx_mysql_thread_id = {} ORDER BY b.trx_started LIMIT 1;",
                    waiting));
}

bool WaitsForTable(host::Connection& connection, std::uint64_t waiting) {
    const std::string state =
        FirstCell(
            connection,
            fmt::format("SELECT state FROM information_schema.processlist WHERE id = {};", waiting))
            .value_or("");
    return state.starts_with("Waiting for ") &&
           (state.find("lock") != std::string::npos || state.find("flush") != std::string::npos);
}

LockWait WaitFor(const std::vector<LockHolder>& holders) {
    return holders.empty() ? LockWait{"a lock", ""}
                           : LockWait{holders.front().brief, holders.front().text};
}

/// @throws HostError
std::optional<LockWait> FindLockWait(host::Connection& connection, std::uint64_t waiting,
                                     const std::string& database) {
    try {
        if (WaitsForTable(connection, waiting)) {
            try {
                return WaitFor(TableLockHolders(connection, waiting, database));
            } catch (const HostError& error) {
                if (error.Code() != kNeedsGlobalPrivilege) {
                    throw;
                }
                return LockWait{kHiddenHolder, kHiddenHolder};
            }
        }
        const auto holders = RowLockHolders(connection, waiting);
        return holders.empty() ? std::nullopt : std::optional(WaitFor(holders));
    } catch (const HostError& error) {
        if (error.Code() == 0 || error.Code() >= 2000) {
            throw;
        }
        return std::nullopt;  // a server without these tables, or an account that may not read them
    }
}

}  // namespace

std::string LockWait::Text() const {
    return holder.empty() ? "a statement waits for a lock; the server does not show whose"
                          : "a statement waits for a lock that may be held by " + holder;
}

std::vector<std::string> LockHolders(const Session& session, const std::string& database) {
    try {
        const auto connection = session.Connect();
        std::vector<std::string> lines;
        for (LockHolder& holder :
             TableLockHolders(*connection, session.GetConnection()->ThreadId(), database)) {
            lines.push_back(std::move(holder.text));
        }
        return lines;
    } catch (const HostError& error) {
        return error.Code() == kNeedsGlobalPrivilege ? std::vector<std::string>{kHiddenHolder}
                                                     : std::vector<std::string>{};
    } catch (const std::exception&) {
        return {};  // the diagnosis of a failure must not hide it
    }
}

LockWaitFinder::LockWaitFinder(const Session& session)
    : session_(session), waiting_(session.GetConnection()->ThreadId()) {}

std::optional<LockWait> LockWaitFinder::Find(const std::string& database,
                                             std::uint64_t connection) {
    try {
        if (!connection_) {
            connection_ = session_.Connect();
        }
        return FindLockWait(*connection_, connection == 0 ? waiting_ : connection, database);
    } catch (const std::exception&) {
        connection_.reset();  // the run itself reports what is wrong with the server
        return std::nullopt;
    }
}

}  // namespace twupdate::cli
