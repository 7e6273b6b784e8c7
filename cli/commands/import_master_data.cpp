#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/run/pending_services.h"
#include "cli/run/run_lock.h"
#include "cli/server/session.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

int ImportMasterData(GlobalOptions options, Console& console, std::int32_t siteId,
                     std::optional<double> from, Leftovers leftovers) {
    if (!FindInstallFolder(options)) {
        options.installFolder = ".";  // the copies of the central tables need no file of it
    }
    Session session(options);
    const RunLock lock(session, options, fmt::format("import-master-data {}", siteId), console);
    Installation installation(session.Own());
    if (!installation.HasDatabase(fmt::format("tw_{}", siteId))) {
        throw CommandError(fmt::format("there is no database tw_{} on this server", siteId));
    }
    const double version = from ? *from : installation.ImportedVersion(siteId);
    if (version > kCurrentVersion) {
        throw CommandError(fmt::format(
            "the central tables in tw_{} are at {}, newer than the {} that this program knows; "
            "nothing was done",
            siteId, VersionText(version), VersionText(kCurrentVersion)));
    }
    if (!IsBelow(version, kCurrentVersion)) {
        RecordNothingToDo(session, options, console, {"import-master-data", version, {}, siteId});
        console.Say(fmt::format("The central tables in tw_{} are at {} already; nothing was done.",
                                siteId, VersionText(version)));
        console.Result({{"command", "import-master-data"},
                        {"result", "nothing to do"},
                        {"site", siteId},
                        {"version", VersionText(version)}});
        return kDone;
    }
    RequireServices(session, options,
                    {{{"tw_tarnwick", fmt::format("tw_{}", siteId)},
                      [&](Update& update) { update.UpdateImportMasterData(siteId, version); }}});
    Run run;
    run.lock = &lock;
    run.marks = std::make_shared<ProgressMarks>(session.GetConnection());
    run.leftovers = leftovers;
    const std::string database = fmt::format("tw_{}", siteId);
    RefuseInterrupted(session, *run.marks, {{database, "tw_", version}}, leftovers);
    run.marks->RequireWritable(database, Ladder::kServer, Ladder::kServerData, version);
    run.start = {"import-master-data", version, {}, siteId};
    run.result["site"] = siteId;
    run.result["from"] = VersionText(version);
    run.operation = [&](Update& update, Utility& /*host*/) {
        update.UpdateImportMasterData(siteId, version);
        run.marks->Recorded(database, Ladder::kServer, Ladder::kServerData);
    };
    const int status = CarryOut(session, options, console, run);
    if (status == kDone) {
        console.Say(
            fmt::format("The version in tw_{}.tw_installation is left as it was: it is "
                        "recorded by whoever takes the copies over.",
                        siteId));
    }
    return status;
}

}  // namespace

void AddImportMasterData(CLI::App& app, Invocation& invocation) {
    struct Arguments {
        std::int32_t siteId = 0;
        std::optional<double> from;
        std::shared_ptr<Leftovers> leftovers;
    };
    auto* command = app.add_subcommand(
        "import-master-data", "Upgrade the copies of the central tables in an imported site");
    const auto arguments = std::make_shared<Arguments>();
    arguments->leftovers = AddRepairFlag(*command);
    command->add_option("ID", arguments->siteId, "The site's id")
        ->required()
        ->transform(Decimal())
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()));
    command
        ->add_option("--from", arguments->from,
                     "Start from this version instead of the recorded one")
        ->type_name("VERSION")
        ->check(FaultOfVersion);
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return ImportMasterData(options, console, arguments->siteId, arguments->from,
                                    *arguments->leftovers);
        };
    });
}

}  // namespace twupdate::cli
