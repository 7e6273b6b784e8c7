#include "cli/run/end_connections.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <sstream>

#include "cli/server/cluster.h"
#include "cli/server/queries.h"
#include "twupdate/error.h"

namespace twupdate::cli {
namespace {

constexpr std::uint32_t kNoSuchConnection = 1094;

std::string Identity(host::Connection& connection) {
    return FirstCell(connection, "SELECT " + NodeIdentity(connection) + ";").value_or("");
}

std::string User(host::Connection& connection) {
    return FirstCell(connection,
                     "SELECT user FROM information_schema.processlist WHERE id = CONNECTION_ID();")
        .value_or("");
}

/// Whether the node still has that connection. Its number alone may be another one's by now.
bool IsThere(host::Connection& connection, const NamedConnection& named) {
    const auto rows = connection.Query(
        fmt::format("SELECT user, host FROM information_schema.processlist WHERE id = {} AND id <> "
                    "CONNECTION_ID();",
                    std::stoull(named.id)));
    return rows->Next() && rows->Get(0).ToText() == named.user &&
           rows->Get(1).ToText() == named.host;
}

/// On their node.
std::string EndThere(host::Connection& connection, const std::vector<NamedConnection>& ended) {
    const std::string user = User(connection);
    std::string reason;
    for (const NamedConnection& named : ended) {
        if (named.user != user) {  // the server may hide it
            return fmt::format("its connections are of the account {}, this one's are of {}",
                               named.user, user);
        }
        if (!IsThere(connection, named)) {
            continue;
        }
        reason = fmt::format("its connection {} on {} has not ended yet", named.id, named.address);
        try {
            connection.Execute(fmt::format("KILL {};", std::stoull(named.id)));
        } catch (const HostError& error) {
            if (error.Code() != kNoSuchConnection) {
                reason = fmt::format("its connection {} on {} cannot be ended: {}", named.id,
                                     named.address, error.what());
            }
        }
    }
    return reason;
}

std::vector<std::string> HostsIn(const std::string& list) {
    std::vector<std::string> hosts;
    std::istringstream text(list);
    for (std::string host; std::getline(text, host, ',');) {
        hosts.push_back(host);
    }
    return hosts;
}

/// Nothing for a text that is none, such as the rest of an IPv6 address.
std::optional<unsigned> PortOf(const std::string& text) {
    unsigned port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(port)
                                                                    : std::nullopt;
}

/// A connection to that node, by its own address or by one of those that the options name.
std::shared_ptr<host::Connection> ConnectTo(const NamedConnection& there, const Session& session) {
    std::vector<std::string> addresses{there.address};
    for (std::string& host : HostsIn(session.ConnectOptions().host.value_or(""))) {
        addresses.push_back(std::move(host));
    }
    for (const std::string& address : addresses) {
        host::ConnectionOptions options = session.ConnectOptions();
        const auto colon = address.find(':');
        options.host = address.substr(0, colon);
        if (colon != std::string::npos) {
            options.port = PortOf(address.substr(colon + 1));
        }
        options.socket.reset();
        options.connectTimeout = std::chrono::seconds(3);
        try {
            auto connection = host::Connection::Open(options);
            if (Identity(*connection) == there.node) {
                return connection;
            }
        } catch (const HostError&) {
            continue;  // another address may be the right one
        }
    }
    return nullptr;
}

std::string EndOnNode(const Session& session, host::Connection& connection,
                      const std::vector<NamedConnection>& ended) {
    const NamedConnection& there = ended.front();
    if (there.node == Identity(connection)) {
        return EndThere(connection, ended);
    }
    const auto nodes = NodesInCluster(connection);
    if (nodes && std::find(nodes->begin(), nodes->end(), there.node) == nodes->end()) {
        return "";  // a node outside of the cluster carries out nothing
    }
    const auto other = ConnectTo(there, session);
    if (other) {
        return EndThere(*other, ended);
    }
    return nodes
               ? fmt::format("its node {} is in the cluster, but cannot be reached", there.address)
               : fmt::format(
                     "its node {} cannot be reached, and this account may not read "
                     "mysql.wsrep_cluster_members, which tells whether it is gone",
                     there.address);
}

}  // namespace

std::string EndConnections(const Session& session, host::Connection& connection,
                           const std::vector<NamedConnection>& ended) {
    std::map<std::string, std::vector<NamedConnection>> byNode;
    for (const NamedConnection& named : ended) {
        byNode[named.node].push_back(named);
    }
    std::string reason;
    for (const auto& [node, connections] : byNode) {
        std::string here = EndOnNode(session, connection, connections);
        if (reason.empty()) {
            reason = std::move(here);
        }
    }
    return reason;
}

}  // namespace twupdate::cli
