#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/check/check_finding.h"
#include "cli/commands/commands.h"
#include "cli/commands/site_option.h"
#include "cli/server/restore_mark.h"
#include "cli/server/root_site.h"
#include "cli/server/session.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

CheckFinding NewerFinding(const std::string& database, double version) {
    return {database, "", "",
            fmt::format("it is at {}, newer than the {} that this program knows",
                        VersionText(version), VersionText(kCurrentVersion)),
            "use the program that brought it there"};
}

struct Checked {
    std::vector<CheckFinding> findings;
    std::vector<std::string> notes;  ///< what could not be looked at
};

/// What the central ladders write to.
std::vector<PendingDatabase> CentralPending(const Session& session, double version) {
    using Kind = PendingDatabase::Kind;
    std::vector<PendingDatabase> pending{{"tw_tarnwick", Kind::kCentral, version},
                                         {"tw_logs", Kind::kLogs, version}};
    if (const auto root = RootSite(*session.Own()); root && IsBelow(version, 1.0252)) {
        pending.push_back({fmt::format("tw_{}", *root), Kind::kRootSite, version});
    }
    return pending;
}

/// Says what an upgrade would refuse of a site.
/// @param alone  as upgrade-site takes it
/// @return whether the upgrade would come to the site, which is pending then
bool AddSite(const SiteRow& site, bool alone, std::vector<PendingDatabase>& pending,
             std::vector<CheckFinding>& findings) {
    using Kind = PendingDatabase::Kind;
    const std::string database = fmt::format("tw_{}", site.siteId);
    switch (site.State()) {
        case SiteState::kOld:
            if (site.siteId > std::numeric_limits<std::int32_t>::max()) {
                findings.push_back(
                    {"tw_tarnwick", "site", "",
                     fmt::format("there is a site {}, but a siteid lies between 1 and 2147483647",
                                 site.siteId),
                     "correct its row"});
                break;
            }
            pending.push_back({database, Kind::kSite, *site.version});
            if (alone) {
                pending.push_back({"tw_tarnwick", Kind::kRecord, 0});
            }
            return true;
        case SiteState::kNewer:
            findings.push_back(NewerFinding(database, *site.version));
            break;
        case SiteState::kNoVersion:
            findings.push_back(
                {"tw_tarnwick", "site", "",
                 fmt::format("the version of site {} is {}", site.siteId, site.noVersion),
                 "set it to the version of its layout (0 runs every step)"});
            break;
        case SiteState::kHardDeleted:
        case SiteState::kInTransaction:
            if (alone) {  // otherwise it is left out
                findings.push_back(
                    {"tw_tarnwick", "site", "",
                     fmt::format("site {} is {}", site.siteId, SiteStateText(site.State())),
                     "leave it as it is, or clear the flag"});
            }
            break;
        case SiteState::kCurrent:
        case SiteState::kNoSite:
            break;
    }
    return false;
}

/// The databases that a restore has in hand; an upgrade does not begin.
std::vector<CheckFinding> UnfinishedRestores(const Session& session) {
    std::vector<CheckFinding> findings;
    for (const std::string& database : MarkedForRestore(*session.Own())) {
        findings.push_back(
            {database, "", "", "a restore of it is unfinished", "give the same restore again"});
    }
    return findings;
}

Checked CheckAll(const Session& session, const GlobalOptions& options,
                 std::optional<std::int32_t> siteId) {
    Checked checked;
    auto& findings = checked.findings;
    findings = UnfinishedRestores(session);
    if (!findings.empty()) {
        return checked;  // nothing can be said of half a database
    }
    Installation installation(session.Own());
    const double version = installation.Version();
    std::vector<PendingDatabase> pending;
    const bool central = !siteId && IsBelow(version, kCurrentVersion);
    CheckScope scope{InstallFolder(options), options.localHostName, version, central,
                     ReadStoredTables(*session.GetConnection(), "tw_tarnwick")};
    if (version > kCurrentVersion) {
        findings.push_back(NewerFinding("tw_tarnwick", version));
    }
    if (central) {
        InstallFolderWithData(options);  // wrong use, as for an upgrade
        pending = CentralPending(session, version);
    }
    std::vector<SiteRow> sites;
    bool isThere = false;
    for (const SiteRow& site : installation.Sites()) {
        if (siteId ? site.siteId != *siteId : !central) {
            continue;
        }
        isThere = true;
        if (AddSite(site, siteId.has_value(), pending, findings)) {
            sites.push_back(site);
        }
    }
    if (siteId && !isThere) {
        throw CommandError(fmt::format("tw_tarnwick.site has no site {}", *siteId));
    }
    scope.unreadable = CheckRights(*session.GetConnection(), pending, findings);
    std::erase_if(sites, [&](const SiteRow& site) {
        return scope.unreadable.contains(fmt::format("tw_{}", site.siteId));
    });
    std::erase_if(pending, [&](const PendingDatabase& database) {
        return scope.unreadable.contains(database.name);
    });
    std::vector<std::string> changes;
    if (scope.unreadable.contains("tw_tarnwick")) {
        sites.clear();  // without it nothing can be said of them
    } else if (central) {
        CheckCentral(session, scope, findings, changes);
        CheckDataFiles(session, scope.installFolder, scope.central, findings);
    }
    if (!sites.empty()) {
        scope.components = KnownComponents(*session.GetConnection(), scope);
    }
    for (const SiteRow& site : sites) {
        CheckSite(session, scope, site, findings, changes);
    }
    CheckServer(session, pending, findings);
    CheckRowSizes(*session.GetConnection(), pending, findings);
    CheckSpace(session, pending, findings, checked.notes);
    NoteTriggers(*session.GetConnection(), pending, checked.notes);
    if (!changes.empty()) {
        auto& notes = checked.notes;
        notes.push_back(fmt::format(
            "somebody has changed tables of the platform, and check cannot tell all that comes of "
            "it: {}; rehearse does",
            FirstFew(std::move(changes))));
    }
    return checked;
}

int Check(const GlobalOptions& options, Console& console, std::optional<std::int32_t> siteId) {
    Session session(options);
    const auto [findings, notes] = CheckAll(session, options, siteId);
    auto list = nlohmann::ordered_json::array();
    for (const CheckFinding& finding : findings) {
        console.Print(finding.Text());
        list.push_back({{"database", finding.database},
                        {"table", finding.table},
                        {"step", finding.step},
                        {"problem", finding.problem},
                        {"cure", finding.cure}});
    }
    for (const std::string& note : notes) {
        console.Say("note: " + note);
    }
    console.Say(findings.empty() ? "Nothing found that would make an upgrade fail."
                                 : fmt::format("{}.", Count(findings.size(), "finding")));
    console.Result({{"command", "check"},
                    {"result", findings.empty() ? "clean" : "findings"},
                    {"findings", list},
                    {"notes", notes}});
    return findings.empty() ? kDone : kFindings;
}

}  // namespace

void AddCheck(CLI::App& app, Invocation& invocation) {
    auto* command =
        app.add_subcommand("check", "Look for what would make an upgrade fail; writes nothing");
    const auto siteId = std::make_shared<std::optional<std::int32_t>>();
    AddSiteOption(*command, *siteId, "Look at one site alone");
    command->callback([&invocation, siteId] {
        invocation.run = [siteId](const GlobalOptions& options, Console& console) {
            return Check(options, console, *siteId);
        };
    });
}

}  // namespace twupdate::cli
