#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/report/fleet.h"
#include "cli/run/progress_marks.h"
#include "cli/server/installation.h"
#include "cli/server/session.h"
#include "cli/server/unfinished_core.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/message_json.h"
#include "cli/terminal/table.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// The version from which an upgrade of the site begins.
double StartOf(const SiteRow& site, const ProgressMarks& marks) {
    return marks.ResumeVersion(fmt::format("tw_{}", site.siteId), *site.version);
}

/// What an upgrade has to do.
struct Totals {
    std::size_t oldSites = 0;
    std::size_t unknown = 0;  ///< sites without a version
    std::size_t centralSteps = 0;
    std::size_t schemaSteps = 0;
    std::size_t contentSteps = 0;

    bool IsCurrent() const { return oldSites + unknown + centralSteps == 0; }
};

Totals TotalsOf(double version, const std::vector<SiteRow>& sites, const ProgressMarks& marks) {
    Totals totals;
    totals.centralSteps = PendingSteps(Ladder::kServer, version).size() +
                          PendingSteps(Ladder::kServerData, version).size();
    for (const SiteRow& site : sites) {
        const SiteState state = site.State();
        if (state == SiteState::kNoVersion) {
            ++totals.unknown;
        } else if (state == SiteState::kOld) {
            const double start = StartOf(site, marks);
            ++totals.oldSites;
            totals.schemaSteps += PendingSteps(Ladder::kSiteSchema, start).size();
            totals.contentSteps += PendingSteps(Ladder::kSiteContent, start).size();
        }
    }
    return totals;
}

nlohmann::ordered_json JsonOf(double version, const std::vector<SiteRow>& sites,
                              const ProgressMarks& marks, const Totals& totals) {
    nlohmann::ordered_json result{
        {"command", "status"},
        {"current_version", VersionText(kCurrentVersion)},
        {"installation",
         {{"version", VersionText(version)},
          {"pending_server_steps", PendingSteps(Ladder::kServer, version).size()},
          {"pending_server_data_steps", PendingSteps(Ladder::kServerData, version).size()}}}};
    auto& list = result["sites"] = nlohmann::ordered_json::array();
    for (const SiteRow& site : sites) {
        nlohmann::ordered_json row{{"id", site.siteId}, {"name", site.name}};
        row["version"] = nullptr;
        if (site.version) {
            row["version"] = VersionText(*site.version);
        }
        row["state"] = SiteStateText(site.State());
        if (site.version) {
            const double start = StartOf(site, marks);
            row["pending_schema_steps"] = PendingSteps(Ladder::kSiteSchema, start).size();
            row["pending_content_steps"] = PendingSteps(Ladder::kSiteContent, start).size();
        }
        list.push_back(std::move(row));
    }
    result["totals"] = {{"sites", sites.size()},
                        {"old_sites", totals.oldSites},
                        {"sites_without_version", totals.unknown},
                        {"pending_central_steps", totals.centralSteps},
                        {"pending_schema_steps", totals.schemaSteps},
                        {"pending_content_steps", totals.contentSteps}};
    auto& interrupted = result["interrupted"] = nlohmann::ordered_json::array();
    for (const std::string& database : marks.Databases()) {
        for (const LadderStep& step : marks.Interrupted(database)) {
            interrupted.push_back({{"database", database}, {"step", step.name}});
        }
    }
    return result;
}

void PrintSites(const std::vector<SiteRow>& sites, const ProgressMarks& marks, Console& console) {
    using Align = TextTable::Align;
    TextTable table({{"Site", Align::kRight},
                     {"Name"},
                     {"Version"},
                     {"State"},
                     {"Schema steps", Align::kRight},
                     {"Content steps", Align::kRight}});
    for (const SiteRow& site : sites) {
        const auto pending = [&](Ladder ladder) {
            return site.version ? std::to_string(PendingSteps(ladder, StartOf(site, marks)).size())
                                : "";
        };
        table.AddRow({std::to_string(site.siteId), Printable(site.name),
                      site.version ? VersionText(*site.version) : site.noVersion,
                      SiteStateText(site.State()), pending(Ladder::kSiteSchema),
                      pending(Ladder::kSiteContent)});
    }
    for (const std::string& line : table.Lines()) {
        console.Print(line);
    }
}

void PrintTotals(const Totals& totals, std::size_t sites, Console& console) {
    console.Print(fmt::format("Total: {} of {} old; {}, {} and {} pending.", totals.oldSites,
                              Count(sites, "site"), Count(totals.centralSteps, "central step"),
                              Count(totals.schemaSteps, "schema step"),
                              Count(totals.contentSteps, "content step")));
}

void PrintInterrupted(const ProgressMarks& marks, Console& console) {
    for (const std::string& database : marks.Databases()) {
        for (const LadderStep& step : marks.Interrupted(database)) {
            console.Print(
                fmt::format("{}: {} has begun and not ended; unless a run is in progress, see "
                            "twupdate repair",
                            database, step.name));
        }
    }
}

/// Where the run of an installation stands, or how it ended.
std::string StateOf(const InstallationRuns& one) {
    if (one.Last().end != RunEnd::kNone) {
        return std::string(EndText(one.Last().end));
    }
    const DatabaseRecord* inHand = one.Last().InHand();
    return inHand == nullptr ? "running" : fmt::format("running, in {}", Printable(inHand->name));
}

std::string AgeOf(EventTime time) {
    return DurationText(std::max<EventDuration>(std::chrono::system_clock::now() - time,
                                                EventDuration::zero())) +
           " ago";
}

/// "eu1: tw_7, tw_9; eu2: tw_3".
std::string PlacesOf(const FleetFailure& failure) {
    std::string text;
    const InstallationRuns* last = nullptr;
    for (const auto& [installation, in] : failure.occurrences) {
        if (in.resolved) {
            continue;
        }
        text += installation != last
                    ? fmt::format("{}{}: ", text.empty() ? "" : "; ", Printable(installation->name))
                    : ", ";
        text += Printable(in.failure->database);
        last = installation;
    }
    return text;
}

/// The same from what runs have recorded, without the server, for one installation or many.
int StatusOfEvents(const std::vector<std::filesystem::path>& files, Console& console,
                   bool exitCode) {
    using Align = TextTable::Align;
    const auto installations = ByInstallation(ReadAllRuns(files));
    TextTable table({{"Installation"},
                     {"Last run"},
                     {"Sites", Align::kRight},
                     {"Steps", Align::kRight},
                     {"Open failures", Align::kRight},
                     {"Last event"}});
    auto list = nlohmann::ordered_json::array();
    std::size_t done = 0;
    for (const InstallationRuns& one : installations) {
        table.AddRow({Printable(one.name), StateOf(one),
                      fmt::format("{} of {}", Grouped(one.sitesEnded), Grouped(one.sites)),
                      Grouped(one.steps), Grouped(one.openFailures), AgeOf(one.Last().lastEvent)});
        list.push_back(JsonOf(one));
        done += one.IsDone() ? 1U : 0U;
    }
    for (const std::string& line : table.Lines()) {
        console.Print(line);
    }
    for (const FleetFailure& failure : FleetFailures(installations)) {
        if (const std::string places = PlacesOf(failure); !places.empty()) {
            const FailureRecord& latest = failure.Latest();
            console.Print(fmt::format("{}{}{}: {}", latest.step, latest.step.empty() ? "" : ": ",
                                      ShortStatement(latest.error), places));
        }
    }
    console.Print(fmt::format("Total: {} of {} finished.", done,
                              Count(installations.size(), "installation")));
    console.Result({{"command", "status"}, {"finished", done}, {"installations", list}});
    return exitCode && done < installations.size() ? kFindings : kDone;
}

int Status(const GlobalOptions& options, Console& console, bool exitCode) {
    Session session(options);
    Installation installation(session.Own());
    const double version = installation.Version();
    const auto sites = installation.Sites();
    const ProgressMarks marks(session.GetConnection());
    console.Print(
        fmt::format("Installation: version {} of {}; {} and {} pending.", VersionText(version),
                    VersionText(kCurrentVersion),
                    Count(PendingSteps(Ladder::kServer, version).size(), "server step"),
                    Count(PendingSteps(Ladder::kServerData, version).size(), "server data step")));
    const std::string unfinished = UnfinishedCore(session, FindInstallFolder(options).value_or(""));
    if (!unfinished.empty()) {
        console.Warn(unfinished);
    }
    const Totals totals = TotalsOf(version, sites, marks);
    if (sites.empty()) {
        console.Print("No sites.");
    } else {
        console.Print("");
        PrintSites(sites, marks, console);
        PrintTotals(totals, sites.size(), console);
    }
    PrintInterrupted(marks, console);
    auto result = JsonOf(version, sites, marks, totals);
    if (!unfinished.empty()) {
        result["unfinished"] = MessageJson(unfinished);
    }
    console.Result(result);
    return exitCode && !(totals.IsCurrent() && unfinished.empty()) ? kFindings : kDone;
}

}  // namespace

void AddStatus(CLI::App& app, Invocation& invocation) {
    auto* command =
        app.add_subcommand("status", "Show the versions of the installation and its sites");
    const auto exitCode = std::make_shared<bool>(false);
    const auto events = std::make_shared<std::vector<std::filesystem::path>>();
    command->add_flag("--exit-code", *exitCode,
                      "Exit with status 3 if steps are pending, or with --events if a run has not "
                      "finished");
    command
        ->add_option("--events", *events,
                     "Show what the runs of these files have done, of one installation or many, "
                     "without asking a server")
        ->type_name("FILE ...")
        ->check(FaultOfEmptyValue)
        ->configurable(false);
    command->callback([&invocation, exitCode, events] {
        if (events->empty() && !invocation.global.events.empty()) {
            // Named before the command; it is read here, not written.
            events->push_back(std::exchange(invocation.global.events, {}));
        }
        invocation.run = [exitCode, events](const GlobalOptions& options, Console& console) {
            return events->empty() ? Status(options, console, *exitCode)
                                   : StatusOfEvents(*events, console, *exitCode);
        };
    });
}

}  // namespace twupdate::cli
