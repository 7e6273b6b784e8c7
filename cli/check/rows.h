#pragma once

#include <vector>

#include "cli/check/server.h"
#include "cli/check/walk.h"
#include "cli/terminal/counted_progress.h"

namespace twupdate::cli {

/// Stored rows that a statement of the walk cannot convert or copy: NULL where a column is or
/// becomes NOT NULL, values that a column does not hold, rows that are double under a new key. The
/// rows are asked as they are stored; what an earlier statement changes is left out.
/// @param stored  the layouts as they are stored
void CheckRows(const ServerState& server, const host::Catalogue& stored, const Walk& walk,
               CountedProgress& progress, std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
