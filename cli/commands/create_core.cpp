#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/run/run_lock.h"
#include "cli/server/data_files.h"
#include "cli/server/installation.h"
#include "cli/server/restore_mark.h"
#include "cli/server/session.h"
#include "cli/server/unfinished_core.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr const char* kExists =
    "The central database tw_tarnwick exists already; nothing was done.";

int CreateCore(const GlobalOptions& options, Console& console) {
    const auto installFolder = InstallFolderWithData(options);
    Session session(options, DataFolder::kAnyOrNew);
    const RunLock lock(session, options, "create-core", console);
    if (Installation(session.Own()).HasDatabase("tw_tarnwick")) {
        RefuseUnfinishedRestore(*session.Own());  // then it must not be dropped
        if (const auto unfinished = UnfinishedCore(session, installFolder); !unfinished.empty()) {
            throw CommandError(JoinMessages({unfinished}, "; nothing was done"));
        }
        RecordNothingToDo(session, options, console, {"create-core", kCurrentVersion, {}});
        console.Say(kExists);
        console.Result(
            {{"command", "create-core"}, {"result", "nothing to do"}, {"created", false}});
        return kDone;
    }
    RequireSoundDataFiles(installFolder);
    Run run;
    run.start.command = "create-core";
    run.start.version = kCurrentVersion;
    run.result["created"] = false;
    run.operation = [&](Update& update, Utility& /*host*/) {
        if (update.CreateCoreDb() == kFalse) {  // created by somebody else in the meantime
            run.result["result"] = "nothing to do";
            console.Say(kExists);
            return;
        }
        run.result["created"] = true;
        console.Say(fmt::format("Central database tw_tarnwick created at version {}.",
                                VersionText(kCurrentVersion)));
    };
    // Creation checks only the database's name, so a second run would do nothing.
    run.afterFailure =
        "What was created remains. Fix the cause, drop the unfinished database if it exists (DROP "
        "DATABASE tw_tarnwick), and repeat the command.";
    return CarryOut(session, options, console, run);
}

}  // namespace

void AddCreateCore(CLI::App& app, Invocation& invocation) {
    app.add_subcommand("create-core", "Create the central database with its reference data")
        ->callback([&] { invocation.run = CreateCore; });
}

}  // namespace twupdate::cli
