// What `upgrade --batch` gains: upgrades of sites with batched statements against a bare loop over
// the C API that sends the component's own statements one after the other, on the same server and
// data, on the disk that TMPDIR names. Prints the goals, the waits for the disk (fsync) and the
// bytes of the binary log for each site, both ways.
// TWUPDATE_BENCH_ROUNDS sets the number of rounds, of which the median counts.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/old_sites.h"
#include "bench/replay.h"
#include "tests/support/update_test_peer.h"
#include "twupdate/update.h"
#include "twupdate_host/batching_utility.h"

namespace twupdate {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point began) {
    return std::chrono::duration<double>(Clock::now() - began).count();
}

/// What is upgraded, and how.
struct Work {
    const char* name;
    int rows;
    int fsyncMilliseconds;  ///< longer than the disk's own
    std::int32_t sites;
    unsigned jobs;
    bool isSchemaAlone;
    double goal;  ///< of the ratio
};

constexpr std::array kWorks{
    Work{"schema ladder of a full site", 100, 0, 1, 1, true, 0.45},
    Work{"schema ladder of a full site, 2 ms more for each fsync", 100, 2, 1, 1, true, 0.55},
    Work{"whole road of a full site, 100 rows a table", 100, 0, 1, 1, false, 0.5},
    Work{"whole road of a full site, 10,000 rows a table", 10000, 0, 1, 1, false, 0.6},
    Work{"16 sites with 4 jobs, 2 ms more for each fsync", 10, 2, 16, 4, false, 0.25},
};

struct Cost {
    double seconds = 0;
    double fsyncs = 0;     ///< of a site
    double binaryLog = 0;  ///< bytes, of a site
};

/// The sites of some work, on a server with the binary log on.
class WorkedSites {
  public:
    explicit WorkedSites(const Work& work) : work_(work), sites_(work.sites, work.rows) {
        std::ofstream(count_, std::ios::binary).write("\0\0\0\0\0\0\0\0", 8);
        for (auto& site : sites_.Record(
                 [this](std::int32_t siteId, const auto&host) { Upgrade(siteId, host); })) {
            std::move(site.begin(), site.end(), std::back_inserter(statements_));
        }
    }

    /// With batched statements.
    Cost Batched() {
        return Measured([this] {
            std::atomic<std::size_t> next{0};
            std::vector<std::thread> jobs;
            for (unsigned job = 0; job < work_.jobs; ++job) {
                jobs.emplace_back([&, connection = sites_.Connect()] {
                    const auto host = std::make_shared<host::BatchingUtility>(
                        sites_.MakeHost(connection),
                        host::BatchingOptions{.readLayout =
                                                  [connection](const std::string& database) {
                                                      return host::ReadCatalogue(*connection,
                                                                                 {database});
                                                  },
                                              .servicesChangeLayout = false,
                                              .listener = nullptr});
                    const auto& plans = sites_.Plans();
                    for (std::size_t i = next++; i < plans.size(); i = next++) {
                        host->Run([&] { Upgrade(plans[i].siteId, host); });
                    }
                });
            }
            for (std::thread& job : jobs) {
                job.join();
            }
        });
    }

    /// The component's own statements, sent by a plain loop.
    Cost Replayed() {
        return Measured([this] { bench::Replay(sites_.Server().Socket(), statements_); });
    }

  private:
    void Upgrade(std::int32_t siteId, const std::shared_ptr<Utility>& host) const {
        if (!work_.isSchemaAlone) {
            bench::OldSites::Upgrade(siteId, host);
            return;
        }
        Update update;
        update.Configure(host);
        UpdateTestPeer(update).RunSiteSchemaLadder(siteId, 1.0);
    }

    Cost Measured(const std::function<void()>& work) {
        sites_.Restore({{"--log-bin=binary"}, work_.fsyncMilliseconds, count_});
        const double bytes = BinaryLog();
        const double fsyncs = Fsyncs();
        const auto began = Clock::now();
        work();
        const double seconds = SecondsSince(began);
        const auto sites = static_cast<double>(work_.sites);
        return {seconds, (Fsyncs() - fsyncs) / sites, (BinaryLog() - bytes) / sites};
    }
    double Fsyncs() const {
        std::uint64_t count = 0;
        std::ifstream file(count_, std::ios::binary);
        file.read(reinterpret_cast<char*>(&count), sizeof(count));
        return static_cast<double>(count);
    }
    double BinaryLog() const {
        const auto rows = sites_.Connect()->Query("SHOW BINARY LOGS;");
        double bytes = 0;
        while (rows->Next()) {
            bytes += rows->Get(1).ToDouble();
        }
        return bytes;
    }

    const Work& work_;
    bench::DiskFolder folder_;
    const fs::path count_ = folder_.Path() / "fsyncs";
    bench::OldSites sites_;
    std::vector<bench::Statement> statements_;
};

void BatchedAgainstReplay(benchmark::State& state) {
    const Work& work = kWorks.at(static_cast<std::size_t>(state.range(0)));
    WorkedSites sites(work);
    std::vector<double> ratios;
    Cost batched;
    Cost replayed;
    for ([[maybe_unused]] auto _ : state) {
        for (int round = bench::FromEnvironment("TWUPDATE_BENCH_ROUNDS", 5); round > 0; --round) {
            batched = sites.Batched();
            replayed = sites.Replayed();
            ratios.push_back(batched.seconds / replayed.seconds);
        }
        state.SetIterationTime(batched.seconds);
    }
    const double ratio = bench::Median(ratios);
    state.counters["ratio"] = ratio;
    state.counters["seconds"] = batched.seconds;
    state.counters["seconds_bare"] = replayed.seconds;
    state.counters["fsyncs"] = batched.fsyncs;
    state.counters["fsyncs_bare"] = replayed.fsyncs;
    state.counters["binlog"] = batched.binaryLog;
    state.counters["binlog_bare"] = replayed.binaryLog;
    state.SetLabel(fmt::format("{}: {}, ratio at most {}", work.name,
                               ratio <= work.goal ? "goal met" : "GOAL MISSED", work.goal));
}
BENCHMARK(BatchedAgainstReplay)
    ->ArgName("work")
    ->DenseRange(0, static_cast<int>(kWorks.size()) - 1)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace twupdate

BENCHMARK_MAIN();
