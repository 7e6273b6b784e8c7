#include "cli/run/lease_row.h"

#include <fmt/format.h>

#include <array>
#include <sstream>

#include "cli/server/cluster.h"
#include "cli/server/queries.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/error.h"

namespace twupdate::cli {
namespace {

constexpr const char* kRead =
    "SELECT holder, note, counter, seconds, connections FROM twupdate.lease WHERE id = 1;";

/// One line for each connection, with tabs between its fields.
std::vector<NamedConnection> ConnectionsIn(const std::string& text) {
    std::vector<NamedConnection> connections;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        NamedConnection named;
        for (std::string* field :
             {&named.id, &named.user, &named.host, &named.node, &named.address}) {
            std::getline(fields, *field, '\t');
        }
        connections.push_back(std::move(named));
    }
    return connections;
}

void CreateTable(host::Connection& connection) {
    connection.Execute("CREATE DATABASE IF NOT EXISTS twupdate;");
    connection.Execute(
        "CREATE TABLE IF NOT EXISTS twupdate.lease(id INT PRIMARY KEY, holder VARCHAR(64) NOT "
        "NULL, note VARCHAR(255) NOT NULL, counter BIGINT UNSIGNED NOT NULL, seconds INT UNSIGNED "
        "NOT NULL, connections MEDIUMTEXT NOT NULL) ENGINE = InnoDB DEFAULT CHARSET = utf8mb4 "
        "COLLATE = utf8mb4_bin;");
    // The second row is for those who wait.
    connection.Execute(
        "INSERT IGNORE INTO twupdate.lease VALUES(1, '', '', 0, 0, ''), (2, '', '', 0, 0, '');");
}

bool IsThere(host::Connection& connection) {
    try {
        const auto rows = connection.Query("SELECT COUNT(*) FROM twupdate.lease;");
        return rows->Next() && rows->Get(0).ToText() == "2";
    } catch (const HostError& error) {
        if (IsMissing(error)) {
            return false;
        }
        throw;
    }
}

}  // namespace

void RequireLeaseTable(host::Connection& connection) {
    try {
        if (!IsThere(connection)) {
            CreateTable(connection);
        }
    } catch (const HostError& error) {
        if (!IsDenied(error)) {
            throw;
        }
        throw CommandError(
            fmt::format("the account may not use the database twupdate, which holds the run lock: "
                        "{}\nhint: GRANT {} ON `twupdate`.* TO the account",
                        DescribeError(error), kLeasePrivileges),
            kLocked);
    }
}

LeaseRow ReadLease(host::Connection& connection) {
    const auto rows = connection.Query(kRead);
    LeaseRow row;
    if (rows->Next()) {
        row.holder = rows->Get(0).ToText();
        row.note = rows->Get(1).ToText();
        row.counter = std::stoull(rows->Get(2).ToText());
        row.seconds = static_cast<unsigned>(std::stoul(rows->Get(3).ToText()));
        row.connections = ConnectionsIn(rows->Get(4).ToText());
    }
    return row;
}

std::optional<LeaseRow> FindLease(host::Connection& connection) {
    try {
        return ReadLease(connection);
    } catch (const HostError& error) {
        if (IsMissing(error) || IsDenied(error)) {
            return std::nullopt;
        }
        throw;
    }
}

void ProbeLease(host::Connection& connection) {
    connection.Execute("UPDATE twupdate.lease SET counter = counter + 1 WHERE id = 2;");
}

bool TakeLease(host::Connection& connection, const LeaseRow& from, const LeaseRow& to) {
    const std::array<Value, 5> values{to.holder, to.note, static_cast<std::int64_t>(to.seconds),
                                      from.holder, static_cast<std::int64_t>(from.counter)};
    return connection.ExecutePrepared(
               "UPDATE twupdate.lease SET holder = ?, note = ?, seconds = ?, counter = counter + "
               "1, connections = '' WHERE id = 1 AND holder = ? AND counter = ?;",
               values) == 1;
}

bool RenewLease(host::Connection& connection, const std::string& holder) {
    return connection.Execute(
               fmt::format("UPDATE twupdate.lease SET counter = counter + 1 WHERE id = 1 AND "
                           "holder = '{}';",
                           holder)) == 1;
}

std::string NamingStatement(host::Connection& connection, const std::string& holder) {
    return fmt::format(
        "UPDATE twupdate.lease SET counter = counter + 1, connections = CONCAT(connections, "
        "(SELECT CONCAT_WS('\\t', id, user, host, {}, {}) FROM information_schema.processlist "
        "WHERE id = CONNECTION_ID()), '\\n') WHERE id = 1 AND holder = '{}';",
        NodeIdentity(connection), NodeAddress(connection), holder);
}

void FreeLease(host::Connection& connection, const std::string& holder) {
    connection.Execute(
        fmt::format("UPDATE twupdate.lease SET holder = '', note = '', counter = counter + 1, "
                    "connections = '' WHERE id = 1 AND holder = '{}';",
                    holder));
}

}  // namespace twupdate::cli
