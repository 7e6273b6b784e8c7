#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cli/server/session.h"

namespace twupdate::cli {

/// A database whose ladders are to be walked.
struct PlannedWalk {
    std::int32_t siteId = 0;  ///< 0: the central database
    double version = 0;
};

/// Prints the statements that an upgrade would send, one database after the other; an outline where
/// they depend on rows. Read-only.
/// @throws HostError, CommandError
void PrintStatements(Session& session, const GlobalOptions& options,
                     const std::vector<PlannedWalk>& walks, Console& console);

}  // namespace twupdate::cli
