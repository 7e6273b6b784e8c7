// twupdate-sample: makes an old installation with believable rows, to try an upgrade on.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>

#include "cli/server/options.h"
#include "cli/server/server_options.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/help_formatter.h"
#include "sample/installation.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

namespace twupdate {
namespace {

struct Options {
    sample::InstallationOptions installation;
    cli::GlobalOptions server;  ///< those that say how it is reached
};

void AddOptions(CLI::App& app, Options& options) {
    auto& installation = options.installation;
    app.add_option("--sites", installation.sites, "Number of sites")
        ->type_name("N")
        ->transform(cli::Decimal())
        ->check(CLI::Range(0, 100000))
        ->capture_default_str();
    app.add_option("--rows", installation.rows, "Rows in each of a site's large tables")
        ->type_name("N")
        ->transform(cli::Decimal())
        ->check(CLI::Range(0, 10000000))
        ->capture_default_str();
    app.add_option("--seed", installation.seed, "Seed of the generated rows")
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--install-root", installation.root,
                   "Folder for the installation's files; the component's own folder "
                   "is \"update\" in it")
        ->type_name("DIR");
    app.add_option("--layouts", installation.layoutFolder, "Folder of the layouts to load")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory);
    app.add_option("--sample-rows", installation.rowFolder, "Folder of the rows with fixed ids")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory);
    cli::AddServerOptions(app, options.server);
}

/// On a terminal: which site is being made. A line that is drawn over, or plain ones where the
/// terminal cannot do so.
class SiteProgress {
  public:
    SiteProgress() {
        const char* name = std::getenv("TERM");
        const std::string term = name == nullptr ? "" : name;
        isTerminal_ = isatty(STDOUT_FILENO) == 1;
        canDraw_ = isTerminal_ && !term.empty() && term != "dumb";
    }
    ~SiteProgress() {
        if (canDraw_) {
            std::printf("%s", kClear);
        }
    }
    SiteProgress(const SiteProgress&) = delete;
    SiteProgress& operator=(const SiteProgress&) = delete;

    void Show(std::size_t number, std::size_t sites) const {
        if (isTerminal_) {
            std::printf("%ssite %zu of %zu%s", canDraw_ ? kClear : "", number, sites,
                        canDraw_ ? "" : "\n");
            std::fflush(stdout);
        }
    }

  private:
    static constexpr const char* kClear = "\r\x1b[K";

    bool isTerminal_ = false;
    bool canDraw_ = false;
};

void Make(Options options) {
    const SiteProgress progress;
    options.installation.siteStarting = [&](std::size_t number, std::size_t sites) {
        progress.Show(number, sites);
    };
    std::optional<host::PrivateServer> server;
    host::ConnectionOptions connection;
    if (options.server.datadir.empty()) {
        connection = cli::ConnectionOptionsFrom(options.server);
    } else {
        server.emplace(options.server.datadir,
                       host::PrivateServerOptions{.fast = true, .serverOptions = {}});
        connection = server->ConnectOptions();
        cli::SetSessionOptions(options.server, connection);
    }
    host::MariaDbUtilityOptions utility;
    if (!options.installation.root.empty()) {
        utility.installFolder = options.installation.root / "update";
    }
    const auto host = std::make_shared<host::MariaDbUtility>(host::Connection::Open(connection),
                                                             std::move(utility));
    sample::MakeInstallation(host, options.installation);
}

void Print(const Options& options) {
    std::printf("An installation at version 1.0000 with %d sites.\n", options.installation.sites);
    for (const auto& site : sample::PlanSites(options.installation.sites)) {
        std::printf("  site %d at %.4f%s%s%s\n", site.siteId, site.recordedVersion,
                    site.hardDeleted ? ", hard-deleted" : (site.deleted ? ", deleted" : ""),
                    site.inTransaction ? ", in transaction" : "",
                    site.groups.empty() ? ", no optional feature" : "");
        if (site.siteId == 20 && options.installation.sites > 20) {
            std::printf("  …\n");
            break;
        }
    }
}

int Main(int argc, char** argv) {
    CLI::App app("Creates an old installation with realistic rows, for trying an upgrade.",
                 "twupdate-sample");
    app.formatter(std::make_shared<cli::HelpFormatter>());
    Options options;
    AddOptions(app, options);
    try {
        app.parse(cli::WordsOf(argc, argv));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    try {
        Make(options);
        Print(options);
        return 0;
    } catch (const cli::CommandError& error) {
        std::fprintf(stderr, "%s\n", cli::MessageLines(error.what(), "twupdate-sample").c_str());
        return error.Code();
    } catch (const HostError& error) {
        std::fprintf(stderr, "twupdate-sample: %s\n", error.what());
        if (!error.Statement().empty()) {
            std::fprintf(stderr, "  statement: %.500s\n", error.Statement().c_str());
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "twupdate-sample: %s\n", error.what());
    }
    return 1;
}

}  // namespace
}  // namespace twupdate

int main(int argc, char** argv) {
    return twupdate::Main(argc, argv);
}
