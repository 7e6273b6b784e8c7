#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <optional>

#include "cli/check_finding.h"
#include "cli/commands.h"
#include "cli/failure.h"
#include "cli/session.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

CheckFinding NewerFinding(const std::string& database, double version) {
    return {database, "", "",
            fmt::format("it is at {}, newer than the {} that this program knows",
                        VersionText(version), VersionText(kCurrentVersion)),
            "use the program that brought it there"};
}

std::vector<CheckFinding> CheckAll(const Session& session, const GlobalOptions& options,
                                   std::optional<std::int32_t> siteId) {
    Installation installation(session.Own());
    const double version = installation.Version();
    std::vector<CheckFinding> findings;
    std::vector<std::string> written;
    const bool central = !siteId && IsBelow(version, kCurrentVersion);
    if (version > kCurrentVersion) {
        findings.push_back(NewerFinding("tw_tarnwick", version));
    }
    if (central) {
        written = {"tw_tarnwick", "tw_logs"};
        CheckCentral(session, version, findings);
        CheckDataFiles(session, InstallFolder(options), findings);
    }
    bool found = false;
    for (const SiteRow& site : installation.Sites()) {
        if (siteId ? site.siteId != *siteId : !central) {
            continue;
        }
        found = true;
        if (site.State() == SiteState::kNewer) {
            findings.push_back(NewerFinding(fmt::format("tw_{}", site.siteId), *site.version));
        } else if (site.State() == SiteState::kOld) {
            written.push_back(fmt::format("tw_{}", site.siteId));
            CheckSite(session, site, findings);
        }
    }
    if (siteId && !found) {
        throw CommandError(fmt::format("tw_tarnwick.site has no site {}", *siteId));
    }
    CheckServer(session, written, findings);
    return findings;
}

int Check(const GlobalOptions& options, Console& console, std::optional<std::int32_t> siteId) {
    Session session(options);
    const auto findings = CheckAll(session, options, siteId);
    auto list = nlohmann::ordered_json::array();
    for (const CheckFinding& finding : findings) {
        console.Print(finding.Text());
        list.push_back({{"database", finding.database},
                        {"table", finding.table},
                        {"step", finding.step},
                        {"problem", finding.problem},
                        {"cure", finding.cure}});
    }
    console.Say(findings.empty() ? "Nothing found that would make an upgrade fail."
                                 : fmt::format("{}.", Count(findings.size(), "finding")));
    console.Result({{"command", "check"},
                    {"result", findings.empty() ? "clean" : "findings"},
                    {"findings", list}});
    return findings.empty() ? kDone : kFindings;
}

}  // namespace

void AddCheck(CLI::App& app, Invocation& invocation) {
    auto* command =
        app.add_subcommand("check", "Look for what would make an upgrade fail; writes nothing");
    const auto siteId = std::make_shared<std::optional<std::int32_t>>();
    command->add_option("--site", *siteId, "Look at one site alone")
        ->type_name("ID")
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()));
    command->callback([&invocation, siteId] {
        invocation.run = [siteId](const GlobalOptions& options, Console& console) {
            return Check(options, console, *siteId);
        };
    });
}

}  // namespace twupdate::cli
