#pragma once

#include <optional>
#include <string>
#include <vector>

#include "twupdate_host/connection.h"

// Galera clusters, as one of their nodes shows them.
namespace twupdate::cli {

/// Whether the server is a node of a cluster.
bool IsClusterNode(host::Connection& connection);

/// An expression for the identity of the node that evaluates it: another one after each restart,
/// unless the node has kept it in its gvwstate.dat; empty outside of a cluster.
std::string NodeIdentity(host::Connection& connection);

/// An expression for the address of the server that evaluates it, as HOST:PORT.
std::string NodeAddress(host::Connection& connection);

/// The identities of the nodes that are in the cluster now; nothing if the account may not read
/// them, or the cluster does not list them.
std::optional<std::vector<std::string>> NodesInCluster(host::Connection& connection);

}  // namespace twupdate::cli
