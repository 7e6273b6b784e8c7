#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/commands/commands.h"
#include "cli/run/progress_marks.h"
#include "cli/server/installation.h"
#include "cli/server/session.h"
#include "cli/server/unfinished_core.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/table.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// The version from which an upgrade of the site begins.
double StartOf(const SiteRow& site, const ProgressMarks& marks) {
    return marks.ResumeVersion(fmt::format("tw_{}", site.siteId), *site.version);
}

nlohmann::ordered_json JsonOf(double version, const std::vector<SiteRow>& sites,
                              const ProgressMarks& marks) {
    nlohmann::ordered_json result{
        {"command", "status"},
        {"current_version", kCurrentVersion},
        {"installation",
         {{"version", version},
          {"pending_server_steps", PendingSteps(Ladder::kServer, version).size()},
          {"pending_server_data_steps", PendingSteps(Ladder::kServerData, version).size()}}}};
    auto& list = result["sites"] = nlohmann::ordered_json::array();
    for (const SiteRow& site : sites) {
        nlohmann::ordered_json row{{"id", site.siteId}, {"name", site.name}};
        row["version"] = nullptr;
        if (site.version) {
            row["version"] = *site.version;
        }
        row["state"] = SiteStateText(site.State());
        if (site.version) {
            const double start = StartOf(site, marks);
            row["pending_schema_steps"] = PendingSteps(Ladder::kSiteSchema, start).size();
            row["pending_content_steps"] = PendingSteps(Ladder::kSiteContent, start).size();
        }
        list.push_back(std::move(row));
    }
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

/// Empty where no folder is known: status needs none.
std::filesystem::path KnownInstallFolder(const GlobalOptions& options) {
    try {
        return InstallFolder(options);
    } catch (const CommandError&) {
        return {};
    }
}

int Status(const GlobalOptions& options, Console& console) {
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
    const std::string unfinished = UnfinishedCore(session, KnownInstallFolder(options));
    if (!unfinished.empty()) {
        console.Warn(unfinished);
    }
    if (sites.empty()) {
        console.Print("No sites.");
    } else {
        console.Print("");
        PrintSites(sites, marks, console);
    }
    PrintInterrupted(marks, console);
    auto result = JsonOf(version, sites, marks);
    if (!unfinished.empty()) {
        result["unfinished"] = unfinished;
    }
    console.Result(result);
    return kDone;
}

}  // namespace

void AddStatus(CLI::App& app, Invocation& invocation) {
    app.add_subcommand("status", "Show the versions of the installation and its sites")
        ->callback([&] { invocation.run = Status; });
}

}  // namespace twupdate::cli
