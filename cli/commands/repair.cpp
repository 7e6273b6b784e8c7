#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
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

std::vector<RepairFinding> FindAll(const Session& session, const GlobalOptions& options,
                                   const ProgressMarks& marks, std::optional<std::int32_t> siteId) {
    Installation installation(session.Own());
    if (auto creation =
            FindUnfinishedCreation(*session.Own(), InstallFolder(options) / "resources")) {
        return {{"tw_tarnwick", std::nullopt, std::move(*creation)}};
    }
    const double version = installation.Version();
    std::vector<RepairFinding> findings;
    if (!siteId) {
        findings = FindCentralRepairs(session, marks, version);
    }
    bool found = false;
    for (const SiteRow& site : installation.Sites()) {
        const SiteState state = site.State();
        if (state != SiteState::kHardDeleted && state != SiteState::kNoSite &&
            (!siteId || site.siteId == *siteId)) {
            found = true;
            for (RepairFinding& finding : FindSiteRepairs(session, marks, site)) {
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

void Print(const RepairFinding& finding, Console& console) {
    console.Print(finding.step ? fmt::format("{} ({})", finding.Text(), finding.step->name)
                               : finding.Text());
    for (const std::string& statement : finding.left.statements) {
        console.Print("  " + statement);
    }
    if (!finding.CanBeApplied()) {
        console.Print("  (compare by hand; --apply does not change it)");
    }
}

nlohmann::ordered_json JsonOf(const std::vector<RepairFinding>& findings, const char* result) {
    auto list = nlohmann::ordered_json::array();
    for (const RepairFinding& finding : findings) {
        list.push_back({{"database", finding.database},
                        {"table", finding.left.table},
                        {"step", finding.step ? finding.step->name : ""},
                        {"problem", finding.left.seen},
                        {"consequence", finding.left.consequence},
                        {"statements", finding.left.statements}});
    }
    return {{"command", "repair"}, {"result", result}, {"findings", list}};
}

int Repair(const GlobalOptions& options, Console& console, const RepairArguments& arguments) {
    Session session(options);
    // A run in progress looks like an interrupted one.
    const RunLock lock(session, options, "repair", console);
    ProgressMarks marks(session.GetConnection());
    const auto findings = FindAndRepair(
        session, marks, arguments.apply,
        [&] { return FindAll(session, options, marks, arguments.siteId); },
        [&](const RepairFinding& finding) { Print(finding, console); });
    const auto count = static_cast<std::uint64_t>(
        std::count_if(findings.begin(), findings.end(),
                      [](const RepairFinding& found) { return found.CanBeApplied(); }));
    const std::uint64_t rest = findings.size() - count;
    if (findings.empty()) {
        console.Say("Nothing to repair.");
    }
    if (count > 0) {
        console.Say(
            arguments.apply
                ? fmt::format("{} repaired.", Count(count, "place"))
                : fmt::format(
                      "{} to repair; --apply runs the statements above. Nothing was changed.",
                      Count(count, "place")));
    }
    if (rest > 0) {
        console.Say(fmt::format("{} to compare by hand: the manual's page on recovery says how.",
                                Count(rest, "place")));
    }
    const bool done = findings.empty() || (arguments.apply && rest == 0);
    console.Result(JsonOf(findings, findings.empty() ? "clean" : done ? "repaired" : "findings"));
    return done ? kDone : kFindings;
}

}  // namespace

void AddRepair(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand(
        "repair", "Find what an interrupted run has left; repair it with --apply");
    const auto arguments = std::make_shared<RepairArguments>();
    AddSiteOption(*command, arguments->siteId, "Examine only this site");
    command->add_flag("--apply", arguments->apply, "Run the statements that repair it");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Repair(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
