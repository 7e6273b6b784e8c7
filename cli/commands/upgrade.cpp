#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <limits>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/run/run_lock.h"
#include "cli/server/left_out.h"
#include "cli/server/session.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

std::vector<SiteRow> InState(const std::vector<SiteRow>& sites, SiteState state) {
    std::vector<SiteRow> chosen;
    std::copy_if(sites.begin(), sites.end(), std::back_inserter(chosen),
                 [state](const SiteRow& site) { return site.State() == state; });
    return chosen;
}

/// Refuses an old site that the site walk could not take: it would be passed over in silence, or
/// stop the run half-way.
void RefuseUnreadableSites(const std::vector<SiteRow>& sites) {
    for (const SiteRow& site : InState(sites, SiteState::kNoVersion)) {
        throw CommandError(fmt::format(
            "the version of site {} in tw_tarnwick.site is NULL; set it to the version of its "
            "layout (0 runs every step); nothing was done",
            site.siteId));
    }
    for (const SiteRow& site : InState(sites, SiteState::kOld)) {
        if (site.siteId < 1 || site.siteId > std::numeric_limits<std::int32_t>::max()) {
            throw CommandError(fmt::format(
                "tw_tarnwick.site has a site {}, but a siteid lies between 1 and 2147483647; "
                "nothing was done",
                site.siteId));
        }
    }
}

/// Hard-deleted sites are gone for good; any other that stays as it is was perhaps forgotten.
void TellLeftOut(const LeftOut& leftOut, Console& console) {
    for (const auto& [state, ids] : leftOut) {
        const std::string text = LeftOutText(state, ids);
        if (state == SiteState::kHardDeleted) {
            console.Say("Left out, " + text);
        } else {
            console.Warn("left out, " + text);
        }
    }
}

int NothingToDo(double version, const std::vector<SiteRow>& sites, Console& console) {
    console.Say(
        fmt::format("The installation is at {} already; nothing was done.", VersionText(version)));
    const auto old = InState(sites, SiteState::kOld);
    if (!old.empty()) {
        console.Warn(fmt::format(
            "{} older than the installation (the first is site {}); an upgrade of a current "
            "installation leaves them alone; use upgrade-site for each",
            Count(old.size(), "site is", "sites are"), old.front().siteId));
    }
    const LeftOut leftOut = SitesLeftOut(sites);
    TellLeftOut(leftOut, console);
    console.Result({{"command", "upgrade"},
                    {"result", "nothing to do"},
                    {"version", version},
                    {"older_sites", old.size()},
                    {"left_out", JsonOf(leftOut)}});
    return kDone;
}

int Upgrade(const GlobalOptions& options, Console& console) {
    InstallFolderWithData(options);  // wrong use is told before anything is done
    Session session(options);
    const RunLock lock(session, options);
    Installation installation(session.Own());
    const double version = installation.Version();
    if (version > kCurrentVersion) {
        throw CommandError(fmt::format(
            "the installation is at {}, newer than the {} that this program knows; nothing was "
            "done",
            VersionText(version), VersionText(kCurrentVersion)));
    }
    const auto sites = installation.Sites();
    if (!IsBelow(version, kCurrentVersion)) {
        return NothingToDo(version, sites, console);
    }
    RefuseUnreadableSites(sites);
    WarnWithoutSiteFiles(options, console);
    Run run;
    run.start = {"upgrade", version, InState(sites, SiteState::kOld)};
    run.result["from"] = version;
    const LeftOut leftOut = SitesLeftOut(sites);
    run.result["left_out"] = JsonOf(leftOut);
    run.operation = [version](Update& update, Utility& /*host*/) { update.UpdateServer(version); };
    console.Say(fmt::format("Upgrading the installation from {} to {}; {} to upgrade.",
                            VersionText(version), VersionText(kCurrentVersion),
                            Count(run.start.sites.size(), "site")));
    TellLeftOut(leftOut, console);
    return CarryOut(session, options, console, run);
}

}  // namespace

void AddUpgrade(CLI::App& app, Invocation& invocation) {
    app.add_subcommand("upgrade", "Bring the central database and every site up to date")
        ->callback([&] { invocation.run = Upgrade; });
}

}  // namespace twupdate::cli
