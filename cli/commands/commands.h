#pragma once

#include <functional>

#include "cli/server/options.h"
#include "cli/terminal/console.h"

namespace CLI {
class App;
}

namespace twupdate::cli {

/// What the command line asks for.
struct Invocation {
    GlobalOptions global;
    /// Carries out the command; set by the command that was named. Returns the exit status.
    std::function<int(const GlobalOptions&, Console&)> run;
};

/// Adds every command to the parser. The one that is named sets `invocation.run`.
void AddCommands(CLI::App& app, Invocation& invocation);

// One for each command; each is in a file with the command's name.
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
