#pragma once

#include <vector>

#include "cli/check/server.h"
#include "cli/check/walk.h"

namespace twupdate::cli {

/// Tables whose rows, columns or keys a change brings beyond what the server and InnoDB take.
void CheckTableSizes(const ServerState& server, const Walk& walk,
                     std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
