#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/report/fleet.h"
#include "cli/report/page.h"
#include "cli/server/replace_file.h"
#include "cli/server/server_options.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

struct Arguments {
    fs::path page;
    std::vector<fs::path> events;
};

/// Refuses a name that is not a page's: a folder, a device, or one of the files to be read.
void CheckPage(const Arguments& arguments) {
    RequireRegularFile(arguments.page);
    std::error_code ignored;
    for (const fs::path& events : arguments.events) {
        if (fs::equivalent(arguments.page, events, ignored)) {
            throw CommandError(
                fmt::format("{} holds the events\nhint: name another file for the page",
                            events.string()),
                kUsageError);
        }
    }
}

/// Replaces the page completely or not at all.
void WritePage(const fs::path& file, std::string_view page) {
    if (!ReplaceFile(file, page, FileReaders::kUsual)) {
        throw CommandError(fmt::format("cannot write {}: {}", file.string(), std::strerror(errno)));
    }
}

int ReportFleet(Console& console, const Arguments& arguments,
                const std::vector<InstallationRuns>& installations) {
    WritePage(arguments.page, FleetPage(installations));
    const auto done = static_cast<std::size_t>(std::count_if(
        installations.begin(), installations.end(), [](const auto& one) { return one.IsDone(); }));
    console.Say(fmt::format("{}: {}, {} of them finished.", arguments.page.string(),
                            Count(installations.size(), "installation"), done));
    auto list = nlohmann::ordered_json::array();
    for (const InstallationRuns& one : installations) {
        list.push_back(JsonOf(one));
    }
    console.Result({{"command", "report"},
                    {"result", "done"},
                    {"file", arguments.page.string()},
                    {"finished", done},
                    {"installations", list}});
    return kDone;
}

int Report(Console& console, const Arguments& arguments) {
    CheckPage(arguments);
    const std::vector<RunRecord> runs = ReadAllRuns(arguments.events);
    const auto installations = ByInstallation(runs);
    if (installations.size() > 1) {
        return ReportFleet(console, arguments, installations);
    }
    WritePage(arguments.page, ReportPage(runs));
    const std::string_view end = EndText(runs.back().end);
    console.Say(fmt::format("{}: {}, the last one {}.", arguments.page.string(),
                            Count(runs.size(), "run"), end));
    console.Result({{"command", "report"},
                    {"result", "done"},
                    {"file", arguments.page.string()},
                    {"runs", runs.size()},
                    {"last_run", end}});
    return kDone;
}

}  // namespace

void AddReport(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand(
        "report", "Write an HTML report about the runs that --events has recorded");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("FILE", arguments->page, "The page to write; an existing one is replaced")
        ->required()
        ->check(FaultOfEmptyValue);
    command
        ->add_option("--events", arguments->events,
                     "Events file of one or more runs; repeat the option for more files. Runs of "
                     "several installations make one page about all of them")
        ->type_name("FILE")
        ->check(FaultOfEmptyValue)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
    command->callback([&invocation, arguments] {
        if (arguments->events.empty() && !invocation.global.events.empty()) {
            // Named before the command; it is read here, not written.
            arguments->events.push_back(std::exchange(invocation.global.events, {}));
        }
        if (arguments->events.empty()) {
            throw CLI::RequiredError("--events");
        }
        invocation.run = [arguments](const GlobalOptions& /*options*/, Console& console) {
            return Report(console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
