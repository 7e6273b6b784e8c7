// The memory of the program and its time a site, with 100 to 10,000 sites that have only the last
// two steps to do. Goal: both flat. TWUPDATE_BENCH_SITES sets the largest number.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/program.h"
#include "bench/replay.h"
#include "tests/support/temporary_folder.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/private_server.h"

namespace twupdate {
namespace {

/// A nearly current installation.
class Installation {
  public:
    Installation() { bench::RunProgram(Arguments({"create-core"})); }

    /// Sets the installation and its sites to 1.0262, with so many sites. Each has the one table
    /// that its schema step alters.
    void Prepare(int sites) {
        const auto connection = host::Connection::Open(server_.ConnectOptions());
        while (sites_ < sites) {
            const int siteId = ++sites_;
            connection->Execute(fmt::format("CREATE DATABASE tw_{};", siteId));
            connection->Execute(fmt::format(
                "INSERT INTO tw_tarnwick.site(siteid, sitename) VALUES({0}, 'Site {0}');", siteId));
        }
        for (int siteId = 1; siteId <= sites_; ++siteId) {
            connection->Execute(fmt::format(
                "CREATE OR REPLACE TABLE tw_{}.formtemplateinstance(featureid INT);", siteId));
        }
        connection->Execute("UPDATE tw_tarnwick.site SET version = 1.0262;");
        connection->Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    }

    bench::ProgramRun Upgrade(const std::string& jobs) {
        return bench::RunProgram(Arguments({"upgrade", "--jobs", jobs}));
    }

  private:
    std::vector<std::string> Arguments(const std::vector<std::string>& more) const {
        std::vector<std::string> arguments{"--socket", server_.Socket().string(), "--user",
                                           "root",     "--no-site-files",         "--no-services"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    test::TemporaryFolder folder_;
    host::PrivateServer server_{folder_.Path() / "data", {.fast = true, .serverOptions = {}}};
    int sites_ = 0;
};

void ManySites(benchmark::State& state) {
    static Installation installation;
    static std::map<long, bench::ProgramRun> first;  // by number of jobs
    static std::map<long, int> firstSites;
    const int sites = static_cast<int>(state.range(1));
    const auto jobs = state.range(0);
    bench::ProgramRun run;
    for ([[maybe_unused]] auto _ : state) {
        installation.Prepare(sites);
        run = installation.Upgrade(std::to_string(jobs));
        state.SetIterationTime(run.seconds);
    }
    first.emplace(jobs, run);
    firstSites.emplace(jobs, sites);
    state.counters["MiB"] = run.peakMebibytes;
    state.counters["ms a site"] = run.seconds * 1000 / sites;
    state.counters["memory"] = run.peakMebibytes / first[jobs].peakMebibytes;
    state.counters["time a site"] = run.seconds / sites / (first[jobs].seconds / firstSites[jobs]);
}

}  // namespace
}  // namespace twupdate

int main(int argc, char** argv) {
    const int most = twupdate::bench::FromEnvironment("TWUPDATE_BENCH_SITES", 10000);
    for (int sites = 100; sites <= most; sites *= 10) {
        for (const int jobs : {1, 4}) {
            benchmark::RegisterBenchmark("ManySites", twupdate::ManySites)
                ->ArgNames({"jobs", "sites"})
                ->Args({jobs, sites})
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
