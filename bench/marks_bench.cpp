// What the marks of the steps that do not simply run again cost one site: statements beside those
// of the component, and time. Goal: at most 20 statements.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <chrono>
#include <memory>
#include <string>

#include "cli/run/progress_marks.h"
#include "cli/run/run_watch.h"
#include "sample/installation.h"
#include "tests/support/temporary_folder.h"
#include "twupdate/update.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

namespace twupdate {
namespace {

/// A private server with the central database and site 7 at 1.0000, without rows of its own.
class EmptySite {
  public:
    EmptySite() {
        options_.sites = 1;
        options_.rows = 0;
        options_.root = folder_.Path() / "installation";
        site_ = sample::PlanSites(1).front();
        site_.siteId = 7;
        site_.groups = sample::AllGroups();
        site_.age = {};
        site_.recordedVersion = 1.0;
        site_.hasLog = false;
        sample::WriteFiles(options_, {site_});
    }

    std::shared_ptr<host::Connection> Restore() {
        auto connection = host::Connection::Open(server_.ConnectOptions());
        for (const char* database : {"tw_7", "tw_logs", "tw_tarnwick"}) {
            connection->Execute("DROP DATABASE IF EXISTS " + std::string(database));
        }
        const auto utility = std::make_shared<host::MariaDbUtility>(connection, Options());
        sample::MakeCentral(utility, options_, {site_});
        for (const std::string& statement : sample::Layouts().Logs(site_.siteId)) {
            connection->Execute(statement);
        }
        sample::MakeSite(utility, options_, site_);
        sample::BringCentralTo(utility, {kCurrentVersion, kCurrentVersion});
        return connection;
    }

    host::MariaDbUtilityOptions Options() const {
        host::MariaDbUtilityOptions options;
        options.installFolder = options_.root / "update";
        return options;
    }

  private:
    test::TemporaryFolder folder_;
    host::PrivateServer server_{folder_.Path() / "server",
                                {.fast = true, .serverOptions = {"--max-allowed-packet=1G"}}};
    sample::InstallationOptions options_;
    sample::SitePlan site_;
};

std::uint64_t Questions(host::Connection& connection) {
    const auto rows = connection.Query("SHOW SESSION STATUS LIKE 'Questions';");
    rows->Next();
    return std::stoull(rows->Get(1).ToText());
}

/// @returns the statements of the session beside those of the component
std::uint64_t Upgrade(const EmptySite& site, const std::shared_ptr<host::Connection>& connection,
                      bool withMarks) {
    const auto watch = std::make_shared<cli::RunWatch>();
    const std::uint64_t before = Questions(*connection);
    const auto marks = withMarks ? std::make_shared<cli::ProgressMarks>(connection) : nullptr;
    if (marks) {
        marks->RequireWritable("tw_7", Ladder::kSiteSchema, Ladder::kSiteContent, 1.0);
        watch->AddSink(marks);
    }
    auto options = site.Options();
    options.observer = watch;
    options.listener = watch;
    Update update;
    update.Configure(std::make_shared<host::MariaDbUtility>(connection, options));
    update.UpdateSite(7, 1.0);
    if (marks) {
        marks->Recorded("tw_7", Ladder::kSiteSchema, Ladder::kSiteContent);
    }
    return Questions(*connection) - before - 1 - watch->Done().statements;
}

void Marks(benchmark::State& state) {
    EmptySite site;
    for ([[maybe_unused]] auto _ : state) {
        double milliseconds[2] = {};
        std::uint64_t statements[2] = {};
        for (const bool withMarks : {false, true}) {
            const auto connection = site.Restore();
            const auto begin = std::chrono::steady_clock::now();
            statements[withMarks] = Upgrade(site, connection, withMarks);
            milliseconds[withMarks] =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
                    .count();
        }
        // The run looks for marks in all databases once, and for its lock before each site.
        const std::uint64_t more = statements[1] - statements[0];
        state.counters["statements"] = static_cast<double>(more);
        state.counters["without_ms"] = milliseconds[0];
        state.counters["with_ms"] = milliseconds[1];
        state.SetIterationTime(milliseconds[1] / 1000);
        state.SetLabel(more <= 20 ? "goal met: at most 20 statements"
                                  : "GOAL MISSED: at most 20 statements");
    }
}
BENCHMARK(Marks)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace twupdate

BENCHMARK_MAIN();
