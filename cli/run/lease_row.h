#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "twupdate_host/connection.h"

// The row by which runs exclude each other where a lock of the server's does not: in the table
// twupdate.lease, which is created when it is first needed.
namespace twupdate::cli {

/// A connection of the holder.
struct NamedConnection {
    std::string id;
    std::string user;
    std::string host;  ///< of the client, with its port, as the server's list of connections has it
    std::string node;  ///< its identity in the cluster; empty outside of one
    std::string address;  ///< of the node
};

struct LeaseRow {
    std::string holder;  ///< a word of its own for each run; empty: nobody has it
    std::string note;    ///< the run, for people
    std::uint64_t counter = 0;
    unsigned seconds = 0;  ///< how long the counter must stand still before another run takes it
    std::vector<NamedConnection> connections;
};

/// Creates what is not there yet.
/// @throws CommandError (exit 4) when the account may not
void RequireLeaseTable(host::Connection& connection);

/// @throws HostError
LeaseRow ReadLease(host::Connection& connection);

/// The row of whoever has it; nothing without such a table, or where it may not be read.
std::optional<LeaseRow> FindLease(host::Connection& connection);

/// A write that changes nothing for anybody: it takes as long as a write takes at this moment.
void ProbeLease(host::Connection& connection);

/// Takes it from the one who had it in this state.
/// @returns false when its state is another one by now
bool TakeLease(host::Connection& connection, const LeaseRow& from, const LeaseRow& to);

/// @returns false when it is somebody else's
bool RenewLease(host::Connection& connection, const std::string& holder);

/// The statement by which a connection enters itself as one of the holder's. It changes a row only
/// where it is the holder's still.
std::string NamingStatement(host::Connection& connection, const std::string& holder);

/// Gives it back, unless it is somebody else's.
void FreeLease(host::Connection& connection, const std::string& holder);

/// The privileges that an account needs for it.
constexpr const char* kLeasePrivileges = "SELECT, INSERT, UPDATE, CREATE";

}  // namespace twupdate::cli
