#include "cli/commands/commands.h"

namespace twupdate::cli {

void AddCommands(CLI::App& app, Invocation& invocation) {
    AddStatus(app, invocation);
    AddPlan(app, invocation);
    AddCheck(app, invocation);
    AddUpgrade(app, invocation);
    AddUpgradeSite(app, invocation);
    AddVerify(app, invocation);
    AddReport(app, invocation);
    AddImportMasterData(app, invocation);
    AddRehearse(app, invocation);
    AddRepair(app, invocation);
    AddRestore(app, invocation);
    AddCreateCore(app, invocation);
}

}  // namespace twupdate::cli
