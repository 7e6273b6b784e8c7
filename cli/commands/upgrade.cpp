#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/commands/many_sites.h"
#include "cli/commands/site_option.h"
#include "cli/run/pending_services.h"
#include "cli/run/resume.h"
#include "cli/run/run_lock.h"
#include "cli/run/server_care.h"
#include "cli/server/data_files.h"
#include "cli/server/left_out.h"
#include "cli/server/session.h"
#include "cli/server/unfinished_core.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

std::vector<std::int64_t> IdsIn(const std::vector<SiteRow>& sites,
                                std::initializer_list<SiteState> states) {
    std::vector<std::int64_t> ids;
    for (const SiteRow& site : sites) {
        if (std::find(states.begin(), states.end(), site.State()) != states.end()) {
            ids.push_back(site.siteId);
        }
    }
    return ids;
}

int NothingToDo(double version, const std::vector<SiteRow>& sites, Console& console) {
    console.Say(
        fmt::format("The installation is at {} already; nothing was done.", VersionText(version)));
    const auto old = IdsIn(sites, {SiteState::kOld});
    if (!old.empty()) {
        console.Warn(
            fmt::format("{} older than the installation (the first is site {}); an upgrade of a "
                        "current installation skips them\nhint: run upgrade-site --all-old",
                        Count(old.size(), "site is", "sites are"), old.front()));
    }
    const LeftOut leftOut = SitesLeftOut(sites);
    TellLeftOut(leftOut, console);
    console.Result({{"command", "upgrade"},
                    {"result", "nothing to do"},
                    {"version", VersionText(version)},
                    {"older_sites", old.size()},
                    {"left_out", JsonOf(leftOut)}});
    return kDone;
}

/// Checks before the first statement what would end the run at an interrupted step or a mark.
void RefuseWhatCannotBeResumed(const Session& session, ProgressMarks& marks, double version,
                               const std::vector<SiteRow>& sites, Leftovers leftovers) {
    RefuseInterrupted(session, marks, SteppedDatabases(version, sites), leftovers);
    marks.RequireWritable("tw_tarnwick", Ladder::kServer, Ladder::kServerData, version);
    for (const SiteRow& site : sites) {
        marks.RequireWritable(fmt::format("tw_{}", site.siteId), Ladder::kSiteSchema,
                              Ladder::kSiteContent, *site.version);
    }
}

struct UpgradeArguments {
    std::shared_ptr<Leftovers> leftovers;
    ManySites many;
    std::vector<std::int32_t> siteIds;  ///< empty: all older sites
    bool centralOnly = false;

    bool IsOfAll() const { return siteIds.empty() && !centralOnly; }
    std::string Command() const {
        return centralOnly       ? "upgrade --central-only"
               : siteIds.empty() ? "upgrade"
                                 : "upgrade --site";
    }
};

/// Ends the component's upgrade before it walks over the sites: there are older ones that the run
/// is not to upgrade, so the installation's version is not to be recorded.
class OlderSitesLeft : public std::exception {
  public:
    explicit OlderSitesLeft(std::vector<std::int64_t> sites) : sites_(std::move(sites)) {}
    const char* what() const noexcept override { return "older sites are left"; }
    const std::vector<std::int64_t>& Sites() const { return sites_; }

  private:
    std::vector<std::int64_t> sites_;
};

ChosenSites Choose(Installation& installation, const UpgradeArguments& arguments) {
    if (arguments.centralOnly) {
        return {};
    }
    return arguments.siteIds.empty() ? AllOldSites(installation, arguments.many)
                                     : NamedSites(installation, arguments.siteIds, arguments.many);
}

/// The component's upgrade of the installation. Where the run is of some sites alone, its version
/// is recorded only when no older site is left.
void UpgradeInstallation(Update& update, double version, Console& console, Run& run) {
    try {
        update.UpdateServer(version);
        run.marks->Recorded("tw_tarnwick", Ladder::kServer, Ladder::kServerData);
    } catch (const OlderSitesLeft& left) {
        const auto& sites = left.Sites();
        run.result["older_sites"] = sites.size();
        console.Say(fmt::format(
            "The installation stays at {}, because {} ({}); run upgrade for {}.",
            VersionText(version), Count(sites.size(), "site is older", "sites are older"),
            IdsText(sites), sites.size() == 1 ? "it" : "them"));
    }
}

std::string Beginning(double version, std::size_t sites, const UpgradeArguments& arguments) {
    const std::string to = VersionText(kCurrentVersion);
    if (!IsBelow(version, kCurrentVersion)) {
        return fmt::format("Upgrading {} to {}.", Count(sites, "site"), to);
    }
    if (arguments.centralOnly) {
        return fmt::format("Upgrading the central database from {} to {}.", VersionText(version),
                           to);
    }
    return fmt::format("Upgrading the installation from {} to {}; {} to upgrade.",
                       VersionText(version), to, Count(sites, "site"));
}

int Upgrade(const GlobalOptions& options, Console& console, const UpgradeArguments& arguments) {
    const CareOptions care = arguments.many.Care();
    const Leftovers leftovers = *arguments.leftovers;
    RequireLockForBatch(arguments.many, options);
    InstallFolderWithData(options);  // a usage error is reported before anything is done
    Session session(options);
    const RunLock lock(session, options, arguments.Command(), console);
    Installation installation(session.Own());
    const double version = installation.Version();
    if (version > kCurrentVersion) {
        throw CommandError(fmt::format(
            "the installation is at {}, newer than the {} that this program knows; nothing was "
            "done",
            VersionText(version), VersionText(kCurrentVersion)));
    }
    const bool centralIsOld = IsBelow(version, kCurrentVersion);
    if (!centralIsOld && arguments.siteIds.empty()) {
        const auto sites = installation.Sites();
        if (const auto unfinished = UnfinishedCore(session, InstallFolder(options));
            !unfinished.empty()) {
            console.Warn(unfinished);
        }
        RunStart start{arguments.Command(), version, {}};
        start.leftOut = SitesLeftOut(sites);
        RecordNothingToDo(session, options, console, std::move(start));
        return NothingToDo(version, sites, console);
    }
    ChosenSites chosen = Choose(installation, arguments);
    Run run;
    run.lock = &lock;
    run.marks = std::make_shared<ProgressMarks>(session.GetConnection());
    run.leftovers = leftovers;
    if (chosen.MayFail()) {
        TakeOutFaulty(session, *run.marks, leftovers, chosen);
    }
    TellRefused(chosen, console);
    TellCurrent(chosen, console);
    if (!centralIsOld && chosen.IsEmpty()) {
        return NoSiteToUpgrade(session, options, console, {arguments.Command(), version, {}});
    }
    run.jobs = chosen.jobs;
    run.refused = chosen.refused;
    run.start = {arguments.Command(), version, chosen.old};
    run.start.leftOut = chosen.leftOut;
    if (!run.start.sites.empty()) {
        RequireSiteFiles(options);
    }
    RequireSoundDataFiles(InstallFolder(options));
    std::vector<RunPart> parts;
    if (centralIsOld) {
        parts.push_back(CentralPart(session, version));
    }
    for (const SiteRow& site : run.start.sites) {
        parts.push_back(SitePart(static_cast<std::int32_t>(site.siteId), *site.version));
    }
    RequireServices(session, options, parts);
    RefuseWhatCannotBeResumed(session, *run.marks, version,
                              chosen.MayFail() ? std::vector<SiteRow>{} : run.start.sites,
                              leftovers);
    run.result["command"] = "upgrade";  // without the option that chooses sites
    run.result["from"] = VersionText(version);
    run.result["left_out"] = JsonOf(chosen.leftOut);
    if (centralIsOld) {
        run.operation = [&](Update& update, Utility& /*host*/) {
            UpgradeInstallation(update, version, console, run);
        };
    }
    console.Say(Beginning(version, run.start.sites.size(), arguments));
    TellLeftOut(chosen.leftOut, console);
    auto resumed = SetResumeVersions(*run.marks, run.start.sites, console);
    run.again = [&] {
        run.marks->ReadAgain();
        run.start.sites = StillOld(installation, chosen);
        resumed = SetResumeVersions(*run.marks, run.start.sites, console);
    };
    run.care = care;
    run.retries = arguments.many.Retries(options);
    if (arguments.IsOfAll()) {
        run.beforeSites = [&](Update& update, Utility& host) {
            UpgradeResumed(update, host, *run.marks, resumed);
        };
    } else {
        run.isOfTheseSitesAlone = true;
    }
    if (run.isOfTheseSitesAlone && centralIsOld) {
        run.afterSites = [&] {
            auto left = IdsIn(installation.Sites(), {SiteState::kOld, SiteState::kNoVersion});
            if (!left.empty()) {
                throw OlderSitesLeft(std::move(left));
            }
        };
    }
    return CarryOut(session, options, console, run);
}

constexpr const char* kNeeds = R"(What an upgrade needs:
  Backup     --backup DIR dumps each database before its first change, and
             'twupdate restore' restores it. Nothing can be rolled back.
  Services   Some steps call component services of the platform. Pass
             --service-command, --services-log or --no-services.
  Files      Some steps copy files of the sites. --install-folder names the
             folder inside the installation; without files: --no-site-files.
  Locks      Only one run at a time; --lock-wait SECONDS waits for another one.
             --ddl-timeout SECONDS limits the wait for a table in use.
  Stopping   Ctrl-C stops before the next statement, with exit status 5.
             A second Ctrl-C stops at once.
  Sites      Several are upgraded at a time; --jobs 1 upgrades one after the other.
  Failures   The run ends at the first site that fails, once the others in progress
             are finished. --keep-going upgrades the other sites too and ends with
             exit status 6.
  Load       --max-load Threads_running=N and --max-replica-lag SECONDS make the run
             wait while the server or a replica has too much to do.
  Retries    A deadlock, a wait for a lock or a lost connection is tried again.
             --reconnect SECONDS waits for a server that restarts.
  Resuming   Repeat the command. If it names an interrupted step, run
             'twupdate repair' first, or repeat the command with --repair.

For example:
  twupdate upgrade --backup /var/backups/twupdate --services-log services.jsonl
)";

}  // namespace

void AddUpgrade(CLI::App& app, Invocation& invocation) {
    auto* command =
        app.add_subcommand("upgrade", "Upgrade the central database and every older site");
    command->footer(kNeeds);
    const auto arguments = std::make_shared<UpgradeArguments>();
    arguments->leftovers = AddRepairFlag(*command);
    AddManySitesOptions(*command, arguments->many);
    AddSiteOption(*command, arguments->siteIds,
                  "Upgrade only this site after the central database (may be repeated)");
    command
        ->add_flag("--central-only", arguments->centralOnly,
                   "Upgrade only the central database; the sites stay as they are")
        ->excludes(command->get_option("--site"));
    command->callback([&invocation, arguments] {
        RefuseTwins(arguments->siteIds);
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Upgrade(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
