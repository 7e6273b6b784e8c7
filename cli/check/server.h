#pragma once

#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cli/check/walk.h"
#include "cli/server/server_version.h"

namespace twupdate::cli {

/// The server as the session has it: its version and settings, which decide what it refuses.
struct ServerState {
    host::Connection& connection;
    ServerVersion version;
    std::map<std::string, std::string> variables;
    std::set<std::string> modes;  ///< of sql_mode

    static ServerState Of(host::Connection& connection);
    /// The same for another connection of the program.
    ServerState On(host::Connection& other) const { return {other, version, variables, modes}; }

    /// Empty where the server does not have the variable.
    std::string Get(const std::string& name) const;
    bool IsOn(const std::string& name) const;
    /// True where sql_mode refuses what a column cannot hold.
    bool IsStrict() const;
    /// "run with --sql-mode '…'", without these modes.
    std::string RunWithout(std::initializer_list<std::string_view> unwanted) const;
};

/// Settings and versions under which the server refuses a statement of the walks.
void CheckServer(const ServerState& server, const std::vector<Walk>& walks,
                 std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
