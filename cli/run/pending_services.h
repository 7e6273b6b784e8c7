#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/server/options.h"
#include "cli/server/session.h"
#include "twupdate/update.h"

namespace twupdate::cli {

/// A part of a run, as it is tried without a change to anything.
struct RunPart {
    std::vector<std::string> databases;  ///< that it concerns
    std::function<void(Update&)> operation;
};

/// The central ladders of an upgrade.
RunPart CentralPart(const Session& session, double version);
/// The ladders of one site.
RunPart SitePart(std::int32_t siteId, double version);

/// Refuses to upgrade a site that needs something of a newer central database: what comes before
/// the step that needs it would be done all the same. Says so before the first statement.
/// @throws CommandError
void RequireCentralDatabase(const Session& session, const GlobalOptions& options,
                            const RunPart& site);

/// Refuses a run that calls component services while no option says what becomes of the calls: what
/// nobody carries out or records cannot be made up for. Says so before the first statement.
/// @throws CommandError (exit 2)
void RequireServices(const Session& session, const GlobalOptions& options,
                     const std::vector<RunPart>& parts);

}  // namespace twupdate::cli
