#include "cli/commands.h"

namespace twupdate::cli {

void AddCommands(CLI::App& app, Invocation& invocation) {
    AddStatus(app, invocation);
    AddUpgrade(app, invocation);
    AddUpgradeSite(app, invocation);
    AddImportMasterData(app, invocation);
    AddCreateCore(app, invocation);
}

}  // namespace twupdate::cli
