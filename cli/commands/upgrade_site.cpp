#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/commands/many_sites.h"
#include "cli/run/pending_services.h"
#include "cli/run/resume.h"
#include "cli/run/run_lock.h"
#include "cli/server/left_out.h"
#include "cli/server/session.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

struct SiteArguments {
    std::int32_t siteId = 0;            ///< the only one
    std::vector<std::int32_t> siteIds;  ///< as they are named
    bool allOld = false;
    ManySites many;
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
    const CareOptions care = arguments.many.Care();
    RequireLockForBatch(arguments.many, options);
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
    run.again = [&] {
        run.marks->ReadAgain();
        run.start.sites = {site};
        SetResumeVersions(*run.marks, run.start.sites, console);
    };
    run.care = care;
    run.jobs.batches = arguments.many.batch;
    run.retries = arguments.many.Retries(options);
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

/// Checks before the first statement what would end the run at an interrupted step or a mark.
void RefuseWhatCannotBeResumed(const Session& session, ProgressMarks& marks,
                               const std::vector<SiteRow>& sites, Leftovers leftovers) {
    std::vector<SteppedDatabase> databases;
    for (const SiteRow& site : sites) {
        databases.push_back({fmt::format("tw_{}", site.siteId), "", *site.version});
    }
    RefuseInterrupted(session, marks, databases, leftovers);
    for (const SteppedDatabase& database : databases) {
        marks.RequireWritable(database.name, Ladder::kSiteSchema, Ladder::kSiteContent,
                              database.version);
    }
}

double LowestVersion(const std::vector<SiteRow>& sites) {
    double lowest = kCurrentVersion;
    for (const SiteRow& site : sites) {
        lowest = std::min(lowest, *site.version);
    }
    return lowest;
}

int UpgradeSites(const GlobalOptions& options, Console& console, const SiteArguments& arguments) {
    const CareOptions care = arguments.many.Care();
    RequireLockForBatch(arguments.many, options);
    Session session(options);
    const RunLock lock(session, options,
                       arguments.allOld ? "upgrade-site --all-old"
                                        : "upgrade-site " + IdsText({arguments.siteIds.begin(),
                                                                     arguments.siteIds.end()}),
                       console);
    Installation installation(session.Own());
    const double central = installation.Version();
    ChosenSites chosen = arguments.allOld
                             ? AllOldSites(installation, arguments.many)
                             : NamedSites(installation, arguments.siteIds, arguments.many);
    Run run;
    run.lock = &lock;
    run.marks = std::make_shared<ProgressMarks>(session.GetConnection());
    run.leftovers = *arguments.leftovers;
    if (chosen.MayFail()) {
        TakeOutFaulty(session, *run.marks, run.leftovers, chosen);
    }
    TellRefused(chosen, console);
    TellCurrent(chosen, console);
    run.start = {"upgrade-site", LowestVersion(chosen.old), chosen.old};
    run.start.leftOut = chosen.leftOut;
    if (chosen.IsEmpty()) {
        TellLeftOut(chosen.leftOut, console);
        return NoSiteToUpgrade(session, options, console, std::move(run.start));
    }
    if (!chosen.old.empty()) {
        RequireSiteFiles(options);
    }
    std::vector<RunPart> parts;
    for (const SiteRow& site : chosen.old) {
        parts.push_back(SitePart(static_cast<std::int32_t>(site.siteId), *site.version));
        if (IsBelow(central, kCurrentVersion)) {
            RequireCentralDatabase(session, options, parts.back());
        }
    }
    RequireServices(session, options, parts);
    if (!chosen.MayFail()) {
        RefuseWhatCannotBeResumed(session, *run.marks, chosen.old, run.leftovers);
    }
    run.jobs = chosen.jobs;
    run.refused = chosen.refused;
    run.isOfTheseSitesAlone = true;
    run.result["left_out"] = JsonOf(chosen.leftOut);
    console.Say(fmt::format("Upgrading {} to {}.", Count(chosen.old.size(), "site"),
                            VersionText(kCurrentVersion)));
    TellLeftOut(chosen.leftOut, console);
    SetResumeVersions(*run.marks, run.start.sites, console);
    run.again = [&] {
        run.marks->ReadAgain();
        run.start.sites = StillOld(installation, chosen);
        SetResumeVersions(*run.marks, run.start.sites, console);
    };
    run.care = care;
    run.retries = arguments.many.Retries(options);
    return CarryOut(session, options, console, run);
}

/// Whether the command is about one site as it was before there could be several: then the version
/// may come from the command line, and need not be recorded.
bool IsOfOneSite(const SiteArguments& arguments) {
    return arguments.siteIds.size() == 1 && !arguments.many.Jobs(1).AreWanted();
}

void RefuseContradictions(const SiteArguments& arguments) {
    if (arguments.siteIds.empty() && !arguments.allOld) {
        throw CLI::RequiredError("ID, or --all-old,");
    }
    RefuseTwins(arguments.siteIds);
    if (!IsOfOneSite(arguments) && (arguments.from || arguments.noRecord)) {
        throw CLI::ValidationError(
            "--from and --no-record are for a single site, without --jobs, --keep-going and "
            "--max-failures");
    }
}

}  // namespace

void AddUpgradeSite(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand("upgrade-site", "Upgrade one site, or several");
    const auto arguments = std::make_shared<SiteArguments>();
    arguments->leftovers = AddRepairFlag(*command);
    auto* ids = command->add_option("ID", arguments->siteIds, "The ids of the sites")
                    ->transform(Decimal())
                    ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()));
    command
        ->add_flag("--all-old", arguments->allOld,
                   "Upgrade every older site, also when the installation is current")
        ->excludes(ids);
    AddManySitesOptions(*command, arguments->many);
    command
        ->add_option("--from", arguments->from,
                     "Start from this version instead of the recorded one")
        ->type_name("VERSION")
        ->check(FaultOfVersion);
    command->add_flag("--no-record", arguments->noRecord,
                      "Do not record the site's new version in the central database");
    command->callback([&invocation, arguments] {
        RefuseContradictions(*arguments);
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            if (!IsOfOneSite(*arguments)) {
                return UpgradeSites(options, console, *arguments);
            }
            arguments->siteId = arguments->siteIds.front();
            return UpgradeSite(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
