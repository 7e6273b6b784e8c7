#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "cli/commands.h"
#include "cli/failure.h"
#include "cli/run.h"
#include "cli/run_lock.h"
#include "cli/session.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

int CreateCore(const GlobalOptions& options, Console& console) {
    Session session(options);
    const RunLock lock(session, options);
    bool created = false;
    Run run;
    run.start.command = "create-core";
    run.start.version = kCurrentVersion;
    run.result["created"] = false;
    run.operation = [&](Update& update, Utility& /*host*/) {
        created = update.CreateCoreDb() == kTrue;
        run.result["created"] = created;
        console.Say(created ? fmt::format("Central database tw_tarnwick created at version {}.",
                                          VersionText(kCurrentVersion))
                            : "The central database tw_tarnwick exists already; nothing was done.");
    };
    // Creation looks at nothing but the database's name, so a second run would find it "there".
    run.afterFailure =
        "What was created stands. Once the cause is mended, drop the unfinished database (DROP "
        "DATABASE tw_tarnwick) if it is there, and run the same command again.";
    const int status = CarryOut(session, options, console, run);
    if (status == kDone && !created) {
        // An unfinished creation is left as it is; reading its version says whether it is one.
        try {
            Installation(session.Own()).Version();
        } catch (const CommandError& error) {
            console.Warn(error.what());
        }
    }
    return status;
}

}  // namespace

void AddCreateCore(CLI::App& app, Invocation& invocation) {
    app.add_subcommand("create-core", "Create the central database with its reference data")
        ->callback([&] { invocation.run = CreateCore; });
}

}  // namespace twupdate::cli
