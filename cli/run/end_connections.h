#pragma once

#include <string>
#include <vector>

#include "cli/run/lease_row.h"
#include "cli/server/session.h"

namespace twupdate::cli {

/// Ends the connections of a run that does not move any more, each on its node.
/// @param connection  an own one; in a cluster on a node that belongs to it
/// @returns why they are not all known to be gone; empty once they are. To be called again then.
/// @throws HostError when that own connection does not answer
std::string EndConnections(const Session& session, host::Connection& connection,
                           const std::vector<NamedConnection>& ended);

}  // namespace twupdate::cli
