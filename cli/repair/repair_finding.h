#pragma once

#include <string>
#include <vector>

#include "cli/server/installation.h"
#include "cli/server/session.h"

namespace twupdate::cli {

/// Something that a run which was cut has left behind and that a repeat does not heal.
struct RepairFinding {
    std::string database;
    std::string table;
    std::string problem;
    std::string cause;
    std::vector<std::string> statements;  ///< that mend it, in order
};

/// Looks at the central database.
std::vector<RepairFinding> FindCentralRepairs(const Session& session);

/// Looks at one site.
std::vector<RepairFinding> FindSiteRepairs(const Session& session, const SiteRow& site);

}  // namespace twupdate::cli
