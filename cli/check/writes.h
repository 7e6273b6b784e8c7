#pragma once

#include <string>
#include <vector>

#include "cli/check/server.h"
#include "cli/check/walk.h"

namespace twupdate::cli {

/// Rows that are added without a value for a column that has no default, and texts and numbers of
/// a statement that a column does not hold.
/// @param stored  the layouts as they are stored
void CheckWrites(const ServerState& server, const host::Catalogue& stored, const Walk& walk,
                 std::vector<CheckFinding>& findings);

/// Numbers that the server gives to new rows, where the next one is out of range.
void CheckNextIds(const ServerState& server, const Walk& walk, std::vector<CheckFinding>& findings);

/// What somebody has added to tables that the walks write, whose effect cannot be known: triggers,
/// foreign keys and constraints.
/// @param notes  receives a line for each kind
void NoteAdditions(const ServerState& server, const host::Catalogue& stored,
                   const std::vector<Walk>& walks, std::vector<std::string>& notes);

}  // namespace twupdate::cli
