#pragma once

#include <string>
#include <vector>

#include "twupdate/host.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// Makes the table by which a database is known as one that a restore has in hand. It is there from
/// before the database is dropped until everything is restored, so that no upgrade takes the half
/// of a database for a whole one, or an old layout for the new one that is recorded.
std::string RestoreMarkStatement(const std::string& database);

/// Marks a database, if it is there.
void MarkForRestore(host::Connection& connection, const std::string& database);
void RemoveRestoreMark(host::Connection& connection, const std::string& database);

/// The databases that are marked, in order.
std::vector<std::string> MarkedForRestore(Utility& utility);

/// @throws CommandError when a database is marked
void RefuseUnfinishedRestore(Utility& utility);

}  // namespace twupdate::cli
