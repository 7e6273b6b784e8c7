#pragma once

#include <string>
#include <vector>

#include "cli/server/layout.h"
#include "cli/server/pending_run.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// What somebody has changed in the tables of the platform so that a step may fail there which
/// would not otherwise: unique keys of one's own, columns that hold less than the layout has them,
/// foreign keys and CHECK constraints. Each as people read it, "tw_8.tag has a unique key
/// name_idx".
/// @param stored    the database as it is
/// @param expected  as it will be; what a pending step makes so is not compared
std::vector<std::string> OwnChanges(host::Connection& connection, const std::string& database,
                                    const Layout& stored, const Layout& expected,
                                    const PendingRun& pending);

}  // namespace twupdate::cli
