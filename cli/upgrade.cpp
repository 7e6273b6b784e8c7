#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "cli/commands.h"
#include "cli/failure.h"
#include "cli/run.h"
#include "cli/run_lock.h"
#include "cli/session.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

std::vector<SiteRow> InState(const std::vector<SiteRow>& sites, SiteState state) {
    std::vector<SiteRow> chosen;
    std::copy_if(sites.begin(), sites.end(), std::back_inserter(chosen),
                 [state](const SiteRow& site) { return site.State() == state; });
    return chosen;
}

/// A site without a version is passed over by the site walk, as if it were current.
void WarnOfSitesWithoutVersion(const std::vector<SiteRow>& sites, Console& console) {
    for (const SiteRow& site : InState(sites, SiteState::kNoVersion)) {
        console.Warn(fmt::format(
            "site {} is left out: its version in tw_tarnwick.site is NULL; set it to the version "
            "of its layout (0 runs every step)",
            site.siteId));
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
    console.Result({{"command", "upgrade"},
                    {"result", "nothing to do"},
                    {"version", version},
                    {"older_sites", old.size()}});
    return kDone;
}

int Upgrade(const GlobalOptions& options, Console& console) {
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
    WarnOfSitesWithoutVersion(sites, console);
    if (!IsBelow(version, kCurrentVersion)) {
        return NothingToDo(version, sites, console);
    }
    Run run;
    run.start = {"upgrade", version, InState(sites, SiteState::kOld)};
    run.result["from"] = version;
    run.operation = [version](Update& update, Utility& /*host*/) { update.UpdateServer(version); };
    console.Say(fmt::format("Upgrading the installation from {} to {}; {} to upgrade.",
                            VersionText(version), VersionText(kCurrentVersion),
                            Count(run.start.sites.size(), "site")));
    return CarryOut(session, options, console, run);
}

}  // namespace

void AddUpgrade(CLI::App& app, Invocation& invocation) {
    app.add_subcommand("upgrade", "Bring the central database and every site up to date")
        ->callback([&] { invocation.run = Upgrade; });
}

}  // namespace twupdate::cli
