#pragma once

#include <vector>

#include "cli/check/server.h"
#include "cli/check/walk.h"

namespace twupdate::cli {

/// What the server would refuse for the tables, columns and keys that are there or are not, and
/// what has ended the walk before its time.
/// @param stored  the layouts as they are stored
void CheckRefusals(const ServerState& server, const host::Catalogue& stored, const Walk& walk,
                   std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
