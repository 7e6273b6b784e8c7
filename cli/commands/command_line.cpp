#include "cli/commands/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/option_sources.h"
#include "cli/server/server_options.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/help_formatter.h"
#include "cli/terminal/text.h"
#include "twupdate/ladder.h"
#include "twupdate/twupdate.h"

namespace twupdate::cli {
namespace {

constexpr const char* kComponentGroup = "Component";
constexpr const char* kRunGroup = "Run";
constexpr const char* kRecordGroup = "Records of a run";
constexpr const char* kOutputGroup = "Output";

/// What the central database's column of domain names takes.
std::string FaultOfHostName(const std::string& name) {
    constexpr std::size_t kLongest = 100;
    const bool hasBlank = name.find_first_of(" \t\r\n") != std::string::npos;
    return name.empty() || name.size() > kLongest || hasBlank
               ? "a host name has 1 to 100 characters and no blank"
               : "";
}

std::string VersionLine() {
    return fmt::format("twupdate {} (brings databases to version {})", twu_version(),
                       VersionText(kCurrentVersion));
}

void AddComponentOptions(CLI::App& app, GlobalOptions& options) {
    app.add_option(
           "--install-folder", options.installFolder,
           "The component's folder, which contains resources; its parent is the installation root")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory)
        ->group(kComponentGroup);
    app.add_option("--local-host-name", options.localHostName,
                   "Local host name to register as a domain of the root site")
        ->type_name("NAME")
        ->check(FaultOfHostName)
        ->capture_default_str()
        ->group(kComponentGroup);
    app.add_option("--service-command", options.serviceCommand,
                   "Program to run for each component service, with SERVICE SITEID COMPONENTID")
        ->type_name("CMD")
        ->check(FaultOfEmptyValue)
        ->group(kComponentGroup);
    app.add_option("--services-log", options.servicesLog,
                   "Record component services in this file, one JSON object per line")
        ->type_name("FILE")
        ->check(FaultOfEmptyValue)
        ->group(kComponentGroup);
    app.add_flag("--no-services", options.noServices,
                 "Drop component services: neither carry them out nor record them")
        ->excludes(app.get_option("--service-command"))
        ->excludes(app.get_option("--services-log"))
        ->group(kComponentGroup);
    app.add_flag(
           "--no-site-files", options.noSiteFiles,
           "Upgrade sites on a machine that has only the databases, not the files of the sites")
        ->group(kComponentGroup);
}

void AddRunOptions(CLI::App& app, GlobalOptions& options) {
    app.add_option("--lock-wait", options.lockWaitSeconds,
                   "Wait this long for another run to finish (default: do not wait)")
        ->type_name("SECONDS")
        ->transform(Decimal())
        ->check(CLI::Range(0, 31536000))
        ->group(kRunGroup);
    app.add_option("--lease", options.leaseSeconds,
                   "Let another run take the lock if this one cannot renew it for so long (on a "
                   "cluster always; default: 60)")
        ->type_name("SECONDS")
        ->transform(Decimal())
        ->check(CLI::Range(6, 3600))
        ->group(kRunGroup);
    app.add_flag("--no-lock", options.noLock, "Do not take the lock that excludes other runs")
        ->excludes(app.get_option("--lease"))
        ->group(kRunGroup);
    app.add_option("--backup", options.backup,
                   "Dump each database before its first change, into a new folder below DIR")
        ->type_name("DIR")
        ->check(FaultOfEmptyValue)
        ->group(kRunGroup);
    app.add_option("--keep", options.keep, "Keep only the newest N backups of finished runs")
        ->type_name("N")
        ->transform(Decimal())
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()))
        ->needs(app.get_option("--backup"))
        ->group(kRunGroup);
    app.add_option("--grace", options.graceSeconds,
                   "After SIGTERM, end the current statement too if it takes longer than this")
        ->type_name("SECONDS")
        ->transform(Decimal())
        ->check(CLI::Range(1, 31536000))
        ->group(kRunGroup);
    app.add_option("--ddl-timeout", options.ddlTimeoutSeconds,
                   "Fail if a statement waits this long for a lock (default: the server's setting)")
        ->type_name("SECONDS")
        ->transform(Decimal())
        ->check(CLI::Range(1, 31536000))
        ->group(kRunGroup);
}

void AddOutputOptions(CLI::App& app, GlobalOptions& options) {
    const auto addFile = [&app](const char* name, std::filesystem::path& file, const char* text) {
        app.add_option(name, file, text)
            ->type_name("FILE")
            ->check(FaultOfEmptyValue)
            ->group(kRecordGroup);
    };
    addFile("--trace", options.trace,
            "Record every call to the server in this file, one JSON object per line");
    addFile("--events", options.events,
            "Record the progress of the run in this file, one JSON object per line");
    addFile("--log", options.log, "Write a readable log of the run to this file");
    addFile("--metrics", options.metrics,
            "Keep the figures of the run in this file, for Prometheus (node exporter)");
    addFile("--report", options.report,
            "Keep an HTML report of the run in this file, to be watched in a browser");
    app.add_flag("--json", options.json, "Print the result as one JSON object")
        ->group(kOutputGroup);
    app.add_flag("--quiet,-q", options.quiet, "Print only errors and the requested output")
        ->group(kOutputGroup);
}

/// Writes to the standard output. A reader that closed the pipe is not an error.
bool PutText(const std::string& text) {
    errno = 0;
    const bool written =
        std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    return written || errno == EPIPE;
}

}  // namespace

bool Parse(int argc, char** argv, Invocation& invocation, int& status) {
    CLI::App app("Upgrades the platform's databases to the current version.", "twupdate");
    app.set_version_flag("--version,-V", VersionLine());
    app.require_subcommand(1);
    app.fallthrough();
    app.formatter(std::make_shared<HelpFormatter>());
    AddServerOptions(app, invocation.global);
    const auto sources = std::make_shared<OptionSources>(app, invocation.global);
    app.config_formatter(sources);
    AddComponentOptions(app, invocation.global);
    AddRunOptions(app, invocation.global);
    AddOutputOptions(app, invocation.global);
    AddCommands(app, invocation);
    for (CLI::App* command : app.get_subcommands({})) {
        const std::string own = command->get_footer();
        command->footer(own + (own.empty() ? "" : "\n") +
                        "The options listed by 'twupdate --help' are accepted here too.");
    }
    try {
        app.parse(WordsOf(argc, argv));
        sources->RefuseUnwrittenRecords();
        return true;
    } catch (const CLI::Success& request) {
        std::ostringstream text;
        if (dynamic_cast<const OptionSources::PrintDefaults*>(&request) != nullptr) {
            text << sources->Defaults();
        } else {
            app.exit(request, text);
        }
        const bool isWritten = PutText(text.str());
        status = isWritten ? kDone : kFailed;
        if (!isWritten) {
            std::cerr << "twupdate: cannot write the standard output\n";
        }
    } catch (const CLI::ParseError& error) {
        // A word that is no command would be reported as a missing command otherwise.
        const bool noCommand = app.get_subcommands().empty() && app.remaining_size() > 0;
        std::cerr << MessageLines(noCommand ? "unknown: " + app.remaining().front()
                                            : sources->WithPlace(error.what()))
                  << "\nTry 'twupdate --help' or 'twupdate COMMAND --help'.\n";
        status = kUsageError;
    } catch (const CommandError& error) {
        std::cerr << MessageLines(error.what()) << "\n";
        status = error.Code();
    }
    return false;
}

}  // namespace twupdate::cli
