#pragma once

#include <string>
#include <vector>

#include "twupdate/host.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// Makes the table that marks a database as being restored. It exists from before the database is
/// dropped until everything is restored, so that no upgrade mistakes an incomplete database for a
/// complete one, or an old layout for the recorded new one.
std::string RestoreMarkStatement(const std::string& database);

/// Marks a database, if it exists.
void MarkForRestore(host::Connection& connection, const std::string& database);
void RemoveRestoreMark(host::Connection& connection, const std::string& database);

/// The databases that are marked, in order.
std::vector<std::string> MarkedForRestore(Utility& utility);

/// @throws CommandError when a database is marked
void RefuseUnfinishedRestore(Utility& utility);

}  // namespace twupdate::cli
