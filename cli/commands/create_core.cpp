#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/run/run_lock.h"
#include "cli/server/installation.h"
#include "cli/server/layout.h"
#include "cli/server/queries.h"
#include "cli/server/session.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr const char* kExists =
    "The central database tw_tarnwick exists already; nothing was done.";

/// What tells a central database whose creation was cut or failed from a finished one; empty when
/// it is finished. One that ladders still have to bring up to date is not looked at.
std::string Unfinished(const Session& session, const std::filesystem::path& installFolder) {
    host::Connection& connection = *session.GetConnection();
    const Layout layout = ReadLayout(*session.Own(), "tw_tarnwick");
    if (!layout.tables.contains("installation")) {
        return "it has no table installation";
    }
    const auto version = connection.Query("SELECT version FROM tw_tarnwick.installation;");
    if (!version->Next()) {
        return "its table installation has no row";
    }
    if (version->Get(0).IsNull() || IsBelow(version->Get(0).ToDouble(), kCurrentVersion)) {
        return "";
    }
    for (const auto& [name, table] : CentralLayout().tables) {
        if (!layout.tables.contains(name)) {
            return "it has no table " + name;
        }
    }
    // The last import of a creation.
    std::error_code ignored;
    const auto data = installFolder / "resources" / "componenttypeData.txt";
    const bool hasData = std::filesystem::file_size(data, ignored) > 0 && !ignored;
    return hasData && !HasRows(connection, "SELECT 1 FROM tw_tarnwick.componenttype")
               ? "its table componenttype has no rows"
               : "";
}

void RefuseUnfinished(const Session& session, const std::filesystem::path& installFolder) {
    const std::string unfinished = Unfinished(session, installFolder);
    if (!unfinished.empty()) {
        throw CommandError(fmt::format(
            "the central database tw_tarnwick is there, but not complete: {}; nothing was done; "
            "after a create-core that failed drop it (DROP DATABASE tw_tarnwick) and run "
            "create-core again, otherwise bring it back from a backup",
            unfinished));
    }
}

int CreateCore(const GlobalOptions& options, Console& console) {
    const auto installFolder = InstallFolderWithData(options);
    Session session(options, DataFolder::kAnyOrNew);
    const RunLock lock(session, options);
    if (Installation(session.Own()).HasDatabase("tw_tarnwick")) {
        RefuseUnfinished(session, installFolder);
        console.Say(kExists);
        console.Result(
            {{"command", "create-core"}, {"result", "nothing to do"}, {"created", false}});
        return kDone;
    }
    Run run;
    run.start.command = "create-core";
    run.start.version = kCurrentVersion;
    run.result["created"] = false;
    run.operation = [&](Update& update, Utility& /*host*/) {
        if (update.CreateCoreDb() == kFalse) {  // somebody has made it since
            run.result["result"] = "nothing to do";
            console.Say(kExists);
            return;
        }
        run.result["created"] = true;
        console.Say(fmt::format("Central database tw_tarnwick created at version {}.",
                                VersionText(kCurrentVersion)));
    };
    // Creation looks at nothing but the database's name, so a second run would find it "there".
    run.afterFailure =
        "What was created stands. Once the cause is mended, drop the unfinished database (DROP "
        "DATABASE tw_tarnwick) if it is there, and run the same command again.";
    return CarryOut(session, options, console, run);
}

}  // namespace

void AddCreateCore(CLI::App& app, Invocation& invocation) {
    app.add_subcommand("create-core", "Create the central database with its reference data")
        ->callback([&] { invocation.run = CreateCore; });
}

}  // namespace twupdate::cli
