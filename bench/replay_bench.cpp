// The component with its host against a bare loop over the C API that sends the same statements to
// the same server. Goal: a ratio of at most 1.03.
// TWUPDATE_BENCH_ROWS and TWUPDATE_BENCH_ROUNDS set the size of the site and the number of rounds.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "bench/replay.h"
#include "sample/installation.h"
#include "tests/support/temporary_folder.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

/// A private server with one site of every optional feature at 1.0000 beside a current central
/// database.
class OneOldSite {
  public:
    OneOldSite() {
        options_.sites = 1;
        options_.rows = bench::FromEnvironment("TWUPDATE_BENCH_ROWS", 100);
        options_.root = folder_.Path() / "installation";
        site_ = sample::PlanSites(1).front();
        site_.siteId = 1;
        site_.groups = sample::AllGroups();
        site_.age = {};
        site_.recordedVersion = 1.0;
        site_.hasLog = false;  // made with the central database, whose upgrade needs it
        sample::WriteFiles(options_, {site_});
    }

    void Restore() {
        const auto connection = host::Connection::Open(server_.ConnectOptions());
        for (const char* database : {"tw_1", "tw_logs", "tw_tarnwick"}) {
            connection->Execute("DROP DATABASE IF EXISTS " + std::string(database));
        }
        host::MariaDbUtilityOptions options;
        options.installFolder = InstallFolder();
        const auto utility = std::make_shared<host::MariaDbUtility>(connection, options);
        sample::MakeCentral(utility, options_, {site_});
        for (const std::string& statement : sample::Layouts().Logs(site_.siteId)) {
            connection->Execute(statement);
        }
        sample::MakeSite(utility, options_, site_);
        sample::BringCentralTo(utility, {kCurrentVersion, kCurrentVersion});
    }

    const host::PrivateServer& Server() const { return server_; }
    std::filesystem::path InstallFolder() const { return options_.root / "update"; }

  private:
    test::TemporaryFolder folder_;
    host::PrivateServer server_{folder_.Path() / "data", {.fast = true, .serverOptions = {}}};
    sample::InstallationOptions options_;
    sample::SitePlan site_;
};

void ComponentAgainstReplay(benchmark::State& state) {
    OneOldSite site;
    for ([[maybe_unused]] auto _ : state) {
        const auto result = bench::Compare(
            site.Server(), site.InstallFolder(),
            bench::FromEnvironment("TWUPDATE_BENCH_ROUNDS", 41), [&] { site.Restore(); },
            [](const std::shared_ptr<Utility>& host) {
                Update update;
                update.Configure(host);
                update.UpdateSite(1, 1.0);
            });
        state.SetIterationTime(result.component);
        state.counters["statements"] = static_cast<double>(result.statements);
        state.counters["component_ms"] = result.component * 1000;
        state.counters["replay_ms"] = result.replay * 1000;
        state.counters["ratio"] = result.ratio;
        state.SetLabel(result.ratio <= 1.03 ? "goal met: ratio at most 1.03"
                                            : "GOAL MISSED: ratio at most 1.03");
    }
}
BENCHMARK(ComponentAgainstReplay)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace twupdate

BENCHMARK_MAIN();
