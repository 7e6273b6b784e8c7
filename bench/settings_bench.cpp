// What settings of the server bring for an upgrade: one old site with every feature, on the disk
// and on a server that is as careful as any; its statements are sent with the defaults and with
// each setting in turn. Prints the share of the time that is left. TMPDIR names the disk;
// TWUPDATE_BENCH_FSYNC_MS adds milliseconds to each fsync, TWUPDATE_BENCH_ROWS and
// TWUPDATE_BENCH_ROUNDS set the size of the site and the number of rounds.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/old_sites.h"
#include "bench/replay.h"
#include "tests/support/temporary_folder.h"

namespace twupdate {
namespace {

struct Setting {
    std::string name;
    std::vector<std::string> options;  ///< of the server
};

class RecordedSite {
  public:
    static RecordedSite& Get() {
        static RecordedSite site;
        return site;
    }

    /// @returns the seconds of its upgrade
    double Replay(const std::vector<std::string>& options) {
        site_.Restore({options, bench::FromEnvironment("TWUPDATE_BENCH_FSYNC_MS", 0)});
        return bench::Replay(site_.Server().Socket(), statements_);
    }

  private:
    bench::OldSites site_{1, bench::FromEnvironment("TWUPDATE_BENCH_ROWS", 100)};
    std::vector<bench::Statement> statements_ = site_.Record().front();
};

void WithSetting(benchmark::State& state, const Setting& setting) {
    auto& site = RecordedSite::Get();
    std::vector<double> with;
    std::vector<double> shares;
    for ([[maybe_unused]] auto _ : state) {
        for (int round = bench::FromEnvironment("TWUPDATE_BENCH_ROUNDS", 5); round > 0; --round) {
            const double without = site.Replay({});
            with.push_back(site.Replay(setting.options));
            shares.push_back(with.back() / without);
        }
        state.SetIterationTime(bench::Median(with));
    }
    state.counters["share"] = bench::Median(shares);
    state.counters["least"] = *std::min_element(shares.begin(), shares.end());
    state.counters["most"] = *std::max_element(shares.begin(), shares.end());
}

/// @param memory  a folder in memory
std::vector<Setting> Settings(const std::string& memory) {
    const std::string log = "--log-bin=binlog";
    return {
        {"nothing changed", {}},
        {"innodb_flush_log_at_trx_commit=2", {"--innodb-flush-log-at-trx-commit=2"}},
        {"innodb_flush_log_at_trx_commit=0", {"--innodb-flush-log-at-trx-commit=0"}},
        {"sync_frm=OFF", {"--sync-frm=0"}},
        {"tmpdir in memory", {"--tmpdir=" + memory}},
        {"DDL log in memory", {"--log-ddl-recovery=" + memory + "/ddl_recovery.log"}},
        {"innodb_buffer_pool_size=1G", {"--innodb-buffer-pool-size=1G"}},
        {"innodb_log_file_size=1G", {"--innodb-log-file-size=1G"}},
        {"binary log", {log}},
        {"binary log, sync_binlog=1", {log, "--sync-binlog=1"}},
        {"all but the binary log",
         {"--innodb-flush-log-at-trx-commit=2", "--sync-frm=0", "--tmpdir=" + memory,
          "--log-ddl-recovery=" + memory + "/ddl_recovery.log"}},
    };
}

}  // namespace
}  // namespace twupdate

int main(int argc, char** argv) {
    const twupdate::test::TemporaryFolder memory;
    setenv("TWUPDATE_FAST_FOLDER", memory.Path().c_str(), 1);  // for the servers, as another device
    for (const twupdate::Setting& setting : twupdate::Settings(memory.Path().string())) {
        benchmark::RegisterBenchmark(setting.name.c_str(), twupdate::WithSetting, setting)
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
