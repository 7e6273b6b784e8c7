#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/commands/commands.h"
#include "cli/commands/site_option.h"
#include "cli/repair/repair_finding.h"
#include "cli/run/run_lock.h"
#include "cli/server/session.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

struct RepairArguments {
    std::optional<std::int32_t> siteId;
    bool apply = false;
};

std::vector<RepairFinding> FindAll(const Session& session, std::optional<std::int32_t> siteId) {
    Installation installation(session.Own());
    installation.Version();  // says what is wrong with the central database, if anything is
    std::vector<RepairFinding> findings;
    if (!siteId) {
        findings = FindCentralRepairs(session);
    }
    bool found = false;
    for (const SiteRow& site : installation.Sites()) {
        const SiteState state = site.State();
        if (state != SiteState::kHardDeleted && state != SiteState::kNoSite &&
            (!siteId || site.siteId == *siteId)) {
            found = true;
            for (RepairFinding& finding : FindSiteRepairs(session, site)) {
                findings.push_back(std::move(finding));
            }
        }
    }
    if (siteId && !found) {
        throw CommandError(
            fmt::format("tw_tarnwick.site has no site {}, or it is hard-deleted", *siteId));
    }
    return findings;
}

nlohmann::ordered_json JsonOf(const std::vector<RepairFinding>& findings, bool applied) {
    auto list = nlohmann::ordered_json::array();
    for (const RepairFinding& finding : findings) {
        list.push_back({{"database", finding.database},
                        {"table", finding.table},
                        {"problem", finding.problem},
                        {"cause", finding.cause},
                        {"statements", finding.statements}});
    }
    const char* result = findings.empty() ? "clean" : applied ? "repaired" : "findings";
    return {{"command", "repair"}, {"result", result}, {"findings", list}};
}

int Repair(const GlobalOptions& options, Console& console, const RepairArguments& arguments) {
    Session session(options);
    std::optional<RunLock> lock;
    if (arguments.apply) {
        lock.emplace(session, options);
    }
    const auto findings = FindAll(session, arguments.siteId);
    for (const RepairFinding& finding : findings) {
        console.Print(fmt::format("{}.{}: {}; {}", finding.database, finding.table, finding.problem,
                                  finding.cause));
        for (const std::string& statement : finding.statements) {
            console.Print("  " + statement);
            if (arguments.apply) {
                session.GetConnection()->Execute(statement);
            }
        }
    }
    if (findings.empty()) {
        console.Say("Nothing to repair.");
    } else if (arguments.apply) {
        console.Say(fmt::format("{} repaired.", Count(findings.size(), "place")));
    } else {
        console.Say(
            fmt::format("{} to repair; the statements above mend them, with --apply at "
                        "once. Nothing was changed.",
                        Count(findings.size(), "place")));
    }
    console.Result(JsonOf(findings, arguments.apply));
    return findings.empty() || arguments.apply ? kDone : kFindings;
}

}  // namespace

void AddRepair(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand(
        "repair", "Find, and with --apply mend, what a run that was cut has left behind");
    const auto arguments = std::make_shared<RepairArguments>();
    AddSiteOption(*command, arguments->siteId, "Look at one site alone");
    command->add_flag("--apply", arguments->apply, "Run the statements that mend what was found");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Repair(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
