#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/commands/commands.h"
#include "cli/commands/plan_sql.h"
#include "cli/commands/site_option.h"
#include "cli/report/forecast.h"
#include "cli/run/progress_marks.h"
#include "cli/server/installation.h"
#include "cli/server/left_out.h"
#include "cli/server/session.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// The sites that start from one version.
struct Group {
    double version = 0;
    std::vector<std::int64_t> sites;
};

struct Plan {
    double version = 0;      ///< of the installation
    bool central = true;     ///< the central ladders run
    std::vector<Group> old;  ///< what the run will upgrade, by version
    LeftOut leftOut;
};

constexpr std::array kCentralLadders{Ladder::kServer, Ladder::kServerData};
constexpr std::array kSiteLadders{Ladder::kSiteSchema, Ladder::kSiteContent};

Plan MakePlan(Installation& installation, const ProgressMarks& marks,
              std::optional<std::int32_t> siteId) {
    Plan plan;
    plan.version = installation.Version();
    plan.central = !siteId && IsBelow(plan.version, kCurrentVersion);
    auto sites = installation.Sites();
    if (siteId) {
        std::erase_if(sites, [&](const SiteRow& site) { return site.siteId != *siteId; });
        if (sites.empty()) {
            throw CommandError(fmt::format("tw_tarnwick.site has no site {}", *siteId));
        }
    }
    std::map<double, Group> groups;
    for (const SiteRow& site : sites) {
        if (site.State() == SiteState::kOld) {
            const double version =
                marks.ResumeVersion(fmt::format("tw_{}", site.siteId), *site.version);
            auto& group = groups[version];
            group.version = version;
            group.sites.push_back(site.siteId);
        }
    }
    plan.leftOut = SitesLeftOut(sites);
    for (auto& [version, group] : groups) {
        plan.old.push_back(std::move(group));
    }
    return plan;
}

/// How many sites of the plan run the step.
std::uint64_t SitesThatRun(const Plan& plan, const LadderStep& step) {
    std::uint64_t sites = 0;
    for (const Group& group : plan.old) {
        sites += IsBelow(group.version, step.threshold) ? group.sites.size() : 0U;
    }
    return sites;
}

void PrintCentralLadder(Ladder ladder, double version, Console& console) {
    const auto steps = PendingSteps(ladder, version);
    console.Print(fmt::format("\n{} ladder on tw_tarnwick: {}", LadderName(ladder),
                              Count(steps.size(), "step")));
    for (const LadderStep& step : steps) {
        console.Print(fmt::format("  {}  {:<24} {}", VersionText(step.threshold), step.name,
                                  step.description));
    }
}

void PrintSiteLadder(Ladder ladder, const Plan& plan, Console& console) {
    std::string lines;
    std::size_t steps = 0;
    for (const LadderStep& step : LadderSteps(ladder)) {
        if (const auto sites = SitesThatRun(plan, step); sites > 0) {
            ++steps;
            lines += fmt::format("\n  {}  {:<24} {:>9}  {}", VersionText(step.threshold), step.name,
                                 Count(sites, "site"), step.description);
        }
    }
    if (steps > 0) {
        console.Print(
            fmt::format("\n{} ladder: {}{}", LadderName(ladder), Count(steps, "step"), lines));
    }
}

void PrintLeftOut(const Plan& plan, Console& console) {
    for (const auto& [state, ids] : plan.leftOut) {
        console.Print("Left out, " + LeftOutText(state, ids));
    }
}

void Print(const Plan& plan, Console& console) {
    console.Print(fmt::format("Installation: version {} of {}.", VersionText(plan.version),
                              VersionText(kCurrentVersion)));
    for (const Group& group : plan.old) {
        console.Print(fmt::format(
            "{} at {}: {} schema and {} content steps ({} {})", Count(group.sites.size(), "site"),
            VersionText(group.version), PendingSteps(Ladder::kSiteSchema, group.version).size(),
            PendingSteps(Ladder::kSiteContent, group.version).size(),
            group.sites.size() == 1 ? "site" : "sites", IdsText(group.sites)));
    }
    PrintLeftOut(plan, console);
    if (plan.central) {
        for (const Ladder ladder : kCentralLadders) {
            PrintCentralLadder(ladder, plan.version, console);
        }
    }
    for (const Ladder ladder : kSiteLadders) {
        PrintSiteLadder(ladder, plan, console);
    }
}

nlohmann::ordered_json JsonOf(const Plan& plan) {
    nlohmann::ordered_json result{{"command", "plan"},
                                  {"version", VersionText(plan.version)},
                                  {"current_version", VersionText(kCurrentVersion)}};
    auto& groups = result["groups"] = nlohmann::ordered_json::array();
    for (const Group& group : plan.old) {
        groups.push_back(
            {{"version", VersionText(group.version)},
             {"sites", group.sites},
             {"schema_steps", PendingSteps(Ladder::kSiteSchema, group.version).size()},
             {"content_steps", PendingSteps(Ladder::kSiteContent, group.version).size()}});
    }
    result["left_out"] = JsonOf(plan.leftOut);
    auto& ladders = result["ladders"] = nlohmann::ordered_json::object();
    const auto add = [&](const LadderStep& step, std::uint64_t databases) {
        ladders[std::string(LadderName(step.ladder))].push_back(
            {{"threshold", VersionText(step.threshold)},
             {"step", step.name},
             {"databases", databases},
             {"description", step.description}});
    };
    if (plan.central) {
        for (const Ladder ladder : kCentralLadders) {
            for (const LadderStep& step : PendingSteps(ladder, plan.version)) {
                add(step, 1);
            }
        }
    }
    for (const Ladder ladder : kSiteLadders) {
        for (const LadderStep& step : LadderSteps(ladder)) {
            if (const auto sites = SitesThatRun(plan, step); sites > 0) {
                add(step, sites);
            }
        }
    }
    return result;
}

/// The central database, then the sites by their ids.
std::vector<PlannedWalk> WalksOf(const Plan& plan) {
    std::vector<PlannedWalk> walks;
    for (const Group& group : plan.old) {
        for (const std::int64_t site : group.sites) {
            walks.push_back({static_cast<std::int32_t>(site), group.version});
        }
    }
    std::sort(walks.begin(), walks.end(),
              [](const auto& a, const auto& b) { return a.siteId < b.siteId; });
    if (plan.central) {
        walks.insert(walks.begin(), {0, plan.version});
    }
    return walks;
}

constexpr std::array<unsigned, 4> kJobs{1, 2, 4, 8};

Forecast ForecastOf(const Plan& plan, const std::filesystem::path& events) {
    std::vector<Forecast::Database> databases;
    for (const PlannedWalk& walk : WalksOf(plan)) {
        const bool isSite = walk.siteId != 0;
        databases.push_back(
            {isSite ? fmt::format("tw_{}", walk.siteId) : "tw_tarnwick", isSite, walk.version});
    }
    return MakeForecast(ReadRuns(events), databases);
}

void Print(const Forecast& forecast, Console& console) {
    console.Print(
        fmt::format("\nExpected time, from what earlier runs have measured ({} of {} as a whole):",
                    Grouped(forecast.measuredThemselves), Count(forecast.databases, "database")));
    for (const unsigned jobs : kJobs) {
        console.Print(fmt::format("  --jobs {}  {}", jobs, DurationText(forecast.WithJobs(jobs))));
    }
    console.Print(
        fmt::format("  No number of jobs takes less than {}.", DurationText(forecast.Floor())));
    constexpr std::array<const char*, kStatementKinds> kTexts{"that change tables",
                                                              "that change rows", "that read"};
    console.Print("Statements, one after the other:");
    for (std::size_t i = 0; i < kStatementKinds; ++i) {
        const auto& kind = forecast.kinds.at(i);
        console.Print(
            fmt::format("  {:>12}  {:<18}  {}",
                        Grouped(static_cast<std::uint64_t>(std::llround(kind.statements))),
                        kTexts.at(i), DurationText(kind.time)));
    }
    if (!forecast.unmeasuredSteps.empty()) {
        console.Print(fmt::format("{} not measured and count as the mean of the others: {}",
                                  Count(forecast.unmeasuredSteps.size(), "step was", "steps were"),
                                  fmt::join(forecast.unmeasuredSteps, ", ")));
    }
    if (forecast.hadJobs) {
        console.Print(
            "The measured run had several jobs, whose statements waited for one another: the "
            "times are too long. A rehearsal measures better.");
    }
}

nlohmann::ordered_json JsonOf(const Forecast& forecast) {
    const auto seconds = [](EventDuration duration) {
        return std::chrono::duration<double>(duration).count();
    };
    nlohmann::ordered_json result;
    for (const unsigned jobs : kJobs) {
        result["seconds_with_jobs"][std::to_string(jobs)] = seconds(forecast.WithJobs(jobs));
    }
    result["least_seconds"] = seconds(forecast.Floor());
    for (std::size_t i = 0; i < kStatementKinds; ++i) {
        const auto& kind = forecast.kinds.at(i);
        result["kinds"][KindName(static_cast<StatementKind>(i))] = {
            {"statements", std::llround(kind.statements)}, {"seconds", seconds(kind.time)}};
    }
    result["databases"] = forecast.databases;
    result["measured_as_a_whole"] = forecast.measuredThemselves;
    result["unmeasured_steps"] = forecast.unmeasuredSteps;
    result["measured_with_several_jobs"] = forecast.hadJobs;
    return result;
}

struct PlanOptions {
    std::optional<std::int32_t> siteId;
    bool sql = false;
    std::filesystem::path times;  ///< events of an earlier run; may be empty
};

int ShowPlan(const GlobalOptions& options, Console& console, const PlanOptions& planOptions) {
    const auto& siteId = planOptions.siteId;
    Session session(options);
    Installation installation(session.Own());
    Plan plan = MakePlan(installation, ProgressMarks(session.GetConnection()), siteId);
    if (siteId && plan.old.empty() && plan.leftOut.empty()) {
        console.Print(fmt::format("Site {} is at {} already; upgrade-site would do nothing.",
                                  *siteId, VersionText(kCurrentVersion)));
        console.Result(JsonOf(plan));
        return kDone;
    }
    if (planOptions.sql && (siteId || plan.central)) {
        PrintStatements(session, options, WalksOf(plan), console);
        return kDone;
    }
    if (!siteId && !IsBelow(plan.version, kCurrentVersion)) {
        // The component visits no site then.
        console.Print(fmt::format("Installation: version {} of {}; an upgrade would do nothing.",
                                  VersionText(plan.version), VersionText(kCurrentVersion)));
        for (const Group& group : plan.old) {
            console.Print(fmt::format("Older all the same, {}: {} ({}); run upgrade-site --all-old",
                                      VersionText(group.version), Count(group.sites.size(), "site"),
                                      IdsText(group.sites)));
        }
        PrintLeftOut(plan, console);
        auto result = JsonOf(plan);
        result["older_sites"] = result["groups"];
        result["groups"] = nlohmann::ordered_json::array();
        result["ladders"] = nlohmann::ordered_json::object();
        console.Result(result);
        return kDone;
    }
    auto result = JsonOf(plan);
    Print(plan, console);
    if (!planOptions.times.empty()) {
        const Forecast forecast = ForecastOf(plan, planOptions.times);
        Print(forecast, console);
        result["times"] = JsonOf(forecast);
    }
    console.Result(result);
    return kDone;
}

}  // namespace

void AddPlan(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand("plan", "Show what an upgrade would run; read-only");
    const auto planOptions = std::make_shared<PlanOptions>();
    AddSiteOption(*command, planOptions->siteId,
                  "Show only this site, as upgrade-site would run it");
    command->add_flag("--sql", planOptions->sql,
                      "Print the SQL statements; an outline where they depend on rows");
    command
        ->add_option("--times", planOptions->times,
                     "Estimate the time of the upgrade from the events of a rehearsal or of "
                     "earlier runs")
        ->type_name("EVENTS")
        ->check(FaultOfEmptyValue);
    command->callback([&invocation, planOptions] {
        invocation.run = [planOptions](const GlobalOptions& options, Console& console) {
            return ShowPlan(options, console, *planOptions);
        };
    });
}

}  // namespace twupdate::cli
