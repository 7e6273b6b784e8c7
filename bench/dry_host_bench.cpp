// The dry host on a sample site of the sample maker: its layout read from the server, one walk over
// both site ladders from 1.0000 with the reads that it sends, and the same without a server.
// TWUPDATE_BENCH_ROWS sets the number of rows in each of the large tables.

#include <benchmark/benchmark.h>

#include "bench/replay.h"
#include "sample/installation.h"
#include "tests/support/temporary_folder.h"
#include "twupdate/update.h"
#include "twupdate_host/dry_host.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

namespace twupdate {
namespace {

constexpr std::int32_t kSite = 7;

/// A private server with a central database and one site that has every feature.
class Site {
  public:
    Site() {
        sample::InstallationOptions options;
        options.rows = bench::FromEnvironment("TWUPDATE_BENCH_ROWS", 1000);
        options.root = folder_.Path() / "root";
        sample::SitePlan plan;
        plan.siteId = kSite;
        plan.groups = sample::AllGroups();
        sample::WriteFiles(options, {plan});
        const auto host = std::make_shared<host::MariaDbUtility>(connection_);
        sample::MakeCentral(host, options, {plan});
        sample::MakeSite(host, options, plan);
        layout_ = Read();
        options_.resources = options.root / "update" / "resources";
    }

    host::Catalogue Read() { return host::ReadCatalogue(*connection_, {"tw_tarnwick", "tw_7"}); }

    /// @returns the number of statements in the record
    std::size_t Walk(bool reads) {
        const auto dry =
            std::make_shared<host::DryHost>(reads ? connection_ : nullptr, layout_, options_);
        Update update;
        update.Configure(dry);
        update.UpdateSite(kSite, 1.0);
        return dry->Record().size();
    }

  private:
    test::TemporaryFolder folder_;
    host::PrivateServer server_{folder_.Path() / "data", {.fast = true, .serverOptions = {}}};
    std::shared_ptr<host::Connection> connection_ =
        host::Connection::Open(server_.ConnectOptions());
    host::Catalogue layout_;
    host::DryHostOptions options_;
};

Site& TheSite() {
    static Site site;
    return site;
}

void ReadLayout(benchmark::State& state) {
    Site& site = TheSite();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(site.Read());
    }
}
BENCHMARK(ReadLayout)->UseRealTime()->Unit(benchmark::kMillisecond);

void WalkFullSite(benchmark::State& state) {
    Site& site = TheSite();
    std::size_t statements = 0;
    for ([[maybe_unused]] auto _ : state) {
        statements = site.Walk(state.range(0) != 0);
    }
    state.counters["statements"] = static_cast<double>(statements);
    state.SetLabel(state.range(0) != 0 ? "with its reads" : "without a server");
}
BENCHMARK(WalkFullSite)->Arg(0)->Arg(1)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace twupdate

BENCHMARK_MAIN();
