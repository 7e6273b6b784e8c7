#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/run/pending_services.h"
#include "cli/run/resume.h"
#include "cli/run/run_lock.h"
#include "cli/server/session.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

struct SiteArguments {
    std::int32_t siteId = 0;
    std::optional<double> from;
    bool noRecord = false;
    std::shared_ptr<Leftovers> leftovers;
};

/// The version to start from; throws every reason not to start.
double StartingVersion(Installation& installation, const SiteArguments& arguments) {
    if (arguments.from && arguments.noRecord) {
        return *arguments.from;  // then the central database is not involved
    }
    installation.Version();  // reports what is wrong with the central database, if anything
    const auto site = installation.Site(arguments.siteId);
    if (!site) {
        throw CommandError(fmt::format("tw_tarnwick.site has no site {}", arguments.siteId));
    }
    if (site->hardDeleted || site->inTransaction) {
        throw CommandError(fmt::format("site {} is {}, so it cannot be upgraded", arguments.siteId,
                                       SiteStateText(site->State())));
    }
    if (arguments.from) {
        return *arguments.from;
    }
    if (!site->version) {
        throw CommandError(
            fmt::format("the version of site {} in tw_tarnwick.site is {}\nhint: name the version "
                        "of its layout with --from (0 runs every step)",
                        arguments.siteId, site->noVersion));
    }
    return *site->version;
}

int UpgradeSite(const GlobalOptions& options, Console& console, const SiteArguments& arguments) {
    Session session(options);
    const RunLock lock(session, options, fmt::format("upgrade-site {}", arguments.siteId), console);
    Installation installation(session.Own());
    const double version = StartingVersion(installation, arguments);
    const std::string name = fmt::format("Site {}", arguments.siteId);
    if (version > kCurrentVersion) {
        throw CommandError(fmt::format(
            "site {} is at {}, newer than the {} that this program knows; nothing was done",
            arguments.siteId, VersionText(version), VersionText(kCurrentVersion)));
    }
    if (!IsBelow(version, kCurrentVersion)) {
        RecordNothingToDo(session, options, console,
                          {"upgrade-site", version, {}, arguments.siteId});
        console.Say(name + " is at " + VersionText(version) + " already; nothing was done.");
        console.Result({{"command", "upgrade-site"},
                        {"result", "nothing to do"},
                        {"site", arguments.siteId},
                        {"version", VersionText(version)}});
        return kDone;
    }
    SiteRow site;
    site.siteId = arguments.siteId;
    site.version = version;
    if (!installation.WithoutDatabase({site}).empty()) {
        throw CommandError(JoinMessages({WithoutDatabaseText({site})}, "; nothing was done"));
    }
    RequireSiteFiles(options);
    const RunPart part = SitePart(arguments.siteId, version);
    RequireCentralDatabase(session, options, part);
    RequireServices(session, options, {part});
    Run run;
    run.lock = &lock;
    run.marks = std::make_shared<ProgressMarks>(session.GetConnection());
    run.leftovers = *arguments.leftovers;
    const std::string database = fmt::format("tw_{}", arguments.siteId);
    RefuseInterrupted(session, *run.marks, {{database, "", version}}, run.leftovers);
    run.marks->RequireWritable(database, Ladder::kSiteSchema, Ladder::kSiteContent, version);
    run.start = {"upgrade-site", version, {site}, arguments.siteId};
    SetResumeVersions(*run.marks, run.start.sites, console);
    run.result["site"] = arguments.siteId;
    run.result["from"] = VersionText(version);
    run.result["recorded"] = !arguments.noRecord;
    run.operation = [&](Update& update, Utility& host) {
        if (arguments.noRecord) {
            update.UpdateSite(arguments.siteId, *run.start.sites.front().version);
        } else {
            UpgradeResumed(update, host, *run.marks, run.start.sites);
        }
    };
    return CarryOut(session, options, console, run);
}

}  // namespace

void AddUpgradeSite(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand("upgrade-site", "Upgrade one site");
    const auto arguments = std::make_shared<SiteArguments>();
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
    command->add_flag("--no-record", arguments->noRecord,
                      "Do not record the site's new version in the central database");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return UpgradeSite(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
