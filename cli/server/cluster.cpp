#include "cli/server/cluster.h"

#include <fmt/format.h>

#include "cli/server/queries.h"
#include "cli/server/server_version.h"

namespace twupdate::cli {

bool IsClusterNode(host::Connection& connection) {
    const auto rows = connection.Query("SHOW GLOBAL VARIABLES LIKE 'wsrep\\_on';");
    return rows->Next() && rows->Get(1).ToText() == "ON";
}

std::string NodeIdentity(host::Connection& connection) {
    if (!IsClusterNode(connection)) {
        return "''";
    }
    return fmt::format(
        "(SELECT variable_value FROM {}.global_status WHERE variable_name = 'wsrep_gcomm_uuid')",
        ServerVersion::Of(connection).IsMariaDb() ? "information_schema" : "performance_schema");
}

std::string NodeAddress(host::Connection& connection) {
    const auto rows = connection.Query("SHOW GLOBAL VARIABLES LIKE 'wsrep\\_node\\_address';");
    // Its port is that of the cluster's own traffic.
    return rows->Next() && !TextOrEmpty(rows->Get(1)).empty()
               ? "CONCAT(SUBSTRING_INDEX(@@wsrep_node_address, ':', 1), ':', @@port)"
               : "CONCAT(@@hostname, ':', @@port)";
}

std::optional<std::vector<std::string>> NodesInCluster(host::Connection& connection) {
    auto nodes = FirstColumn(connection, "SELECT node_uuid FROM mysql.wsrep_cluster_members;");
    return nodes.empty() ? std::nullopt : std::optional(std::move(nodes));
}

}  // namespace twupdate::cli
