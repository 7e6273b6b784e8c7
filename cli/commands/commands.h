#pragma once

#include "cli/server/options.h"

namespace twupdate::cli {

/// Adds every command to the parser. The one that is named sets `invocation.run`.
void AddCommands(CLI::App& app, Invocation& invocation);

// One for each command; each stands in a file of the command's name.
void AddCreateCore(CLI::App& app, Invocation& invocation);
void AddVerify(CLI::App& app, Invocation& invocation);
void AddUpgrade(CLI::App& app, Invocation& invocation);
void AddUpgradeSite(CLI::App& app, Invocation& invocation);
void AddImportMasterData(CLI::App& app, Invocation& invocation);
void AddCheck(CLI::App& app, Invocation& invocation);
void AddPlan(CLI::App& app, Invocation& invocation);
void AddRehearse(CLI::App& app, Invocation& invocation);
void AddRepair(CLI::App& app, Invocation& invocation);
void AddRestore(CLI::App& app, Invocation& invocation);
void AddReport(CLI::App& app, Invocation& invocation);
void AddStatus(CLI::App& app, Invocation& invocation);

}  // namespace twupdate::cli
