#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/commands/commands.h"
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

/// The runs of all files in the order of time.
std::vector<RunRecord> ReadAll(const std::vector<fs::path>& files) {
    std::vector<RunRecord> runs;
    for (const fs::path& file : files) {
        for (RunRecord& run : ReadRuns(file)) {
            runs.push_back(std::move(run));
        }
    }
    std::stable_sort(runs.begin(), runs.end(),
                     [](const RunRecord& a, const RunRecord& b) { return a.start < b.start; });
    return runs;
}

std::string_view EndText(RunEnd end) {
    switch (end) {
        case RunEnd::kFinished:
            return "finished";
        case RunEnd::kFailed:
            return "failed";
        case RunEnd::kStopped:
            return "stopped";
        case RunEnd::kNone:
            return "did not end";
    }
    return "";
}

int Report(Console& console, const Arguments& arguments) {
    CheckPage(arguments);
    const std::vector<RunRecord> runs = ReadAll(arguments.events);
    if (!ReplaceFile(arguments.page, ReportPage(runs), FileReaders::kUsual)) {
        throw CommandError(
            fmt::format("cannot write {}: {}", arguments.page.string(), std::strerror(errno)));
    }
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
                     "Events file of a run; repeat the option for several runs")
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
