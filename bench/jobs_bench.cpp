// `upgrade --jobs N` against N bare connections that send the same statements: old sites on the
// disk as it is, and with 2 ms more for each fsync. Goal: a ratio of at least 0.95. The last line
// of each half is `--jobs auto`: how many jobs it ends with, and the rate of that number against
// the best. Goal with the 2 ms: at least 0.9. TMPDIR names the disk; TWUPDATE_BENCH_SITES and
// TWUPDATE_BENCH_ROUNDS set the number of sites and rounds.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "bench/old_sites.h"
#include "bench/program.h"
#include "bench/replay.h"

namespace twupdate {
namespace {

/// The sites, and what an upgrade of each sends.
class RecordedSites {
  public:
    static RecordedSites& Get() {
        static RecordedSites sites;
        return sites;
    }

    /// @returns the seconds that so many connections take for the statements of all sites
    double Replay(unsigned connections, int milliseconds) {
        sites_.Restore({.fsyncMilliseconds = milliseconds});
        std::mutex mutex;
        std::size_t next = 0;
        const auto work = [&] {
            while (true) {
                std::unique_lock lock(mutex);
                if (next == statements_.size()) {
                    return;
                }
                const auto& site = statements_[next++];
                lock.unlock();
                bench::Replay(sites_.Server().Socket(), site);
            }
        };
        const auto began = std::chrono::steady_clock::now();
        std::vector<std::jthread> threads;
        for (unsigned i = 0; i < connections; ++i) {
            threads.emplace_back(work);
        }
        threads.clear();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    }

    /// @returns the seconds that the program takes
    double Upgrade(const std::string& jobs, int milliseconds, const std::string& events = {}) {
        sites_.Restore({.fsyncMilliseconds = milliseconds});
        std::vector<std::string> arguments{
            "--socket",         sites_.Server().Socket().string(), "--user",       "root",
            "--install-folder", sites_.InstallFolder().string(),   "--no-services"};
        if (!events.empty()) {
            arguments.insert(arguments.end(), {"--events", events});
        }
        arguments.insert(arguments.end(), {"upgrade", "--jobs", jobs});
        return bench::RunProgram(arguments).seconds;
    }

    std::size_t Statements() const {
        std::size_t statements = 0;
        for (const auto& site : statements_) {
            statements += site.size();
        }
        return statements;
    }

  private:
    bench::OldSites sites_{bench::FromEnvironment("TWUPDATE_BENCH_SITES", 16), 0};
    std::vector<std::vector<bench::Statement>> statements_ = sites_.Record();
};

/// The program's statements a second, by milliseconds and jobs.
std::map<int, std::map<unsigned, double>>& Rates() {
    static std::map<int, std::map<unsigned, double>> rates;
    return rates;
}

void JobsAgainstConnections(benchmark::State& state) {
    const int milliseconds = static_cast<int>(state.range(0));
    const auto jobs = static_cast<unsigned>(state.range(1));
    auto& sites = RecordedSites::Get();
    std::vector<double> program;
    std::vector<double> bare;
    std::vector<double> ratios;
    for ([[maybe_unused]] auto _ : state) {
        for (int round = bench::FromEnvironment("TWUPDATE_BENCH_ROUNDS", 3); round > 0; --round) {
            program.push_back(sites.Upgrade(std::to_string(jobs), milliseconds));
            bare.push_back(sites.Replay(jobs, milliseconds));
            ratios.push_back(bare.back() / program.back());
        }
        state.SetIterationTime(bench::Median(program));
    }
    const auto statements = static_cast<double>(sites.Statements());
    Rates()[milliseconds][jobs] = statements / bench::Median(program);
    const double ratio = bench::Median(ratios);
    state.counters["statements/s"] = statements / bench::Median(program);
    state.counters["bare/s"] = statements / bench::Median(bare);
    state.counters["ratio"] = ratio;
    state.SetLabel(ratio >= 0.95 ? "goal met: ratio at least 0.95"
                                 : "GOAL MISSED: ratio at least 0.95");
}

/// The number of jobs that worked when the last site was begun.
unsigned JobsAtTheEnd(const std::string& file) {
    std::ifstream events(file);
    std::map<unsigned, bool> works;
    unsigned atTheEnd = 0;
    for (std::string line; std::getline(events, line);) {
        const auto event = nlohmann::json::parse(line);
        const std::string kind = event.value("event", "");
        if (kind == "site-started" || kind == "site-finished") {
            works[event.value("job", 0U)] = kind == "site-started";
            const auto now = static_cast<unsigned>(std::count_if(
                works.begin(), works.end(), [](const auto& job) { return job.second; }));
            atTheEnd = kind == "site-started" ? now : atTheEnd;
        }
    }
    return atTheEnd;
}

/// Between measured numbers of jobs, the rate is taken to grow evenly.
double RateOf(const std::map<unsigned, double>& rates, unsigned jobs) {
    const auto above = rates.lower_bound(jobs);
    if (above == rates.end()) {
        return rates.rbegin()->second;
    }
    if (above->first == jobs || above == rates.begin()) {
        return above->second;
    }
    const auto below = std::prev(above);
    return std::lerp(below->second, above->second,
                     static_cast<double>(jobs - below->first) / (above->first - below->first));
}

void JobsFoundOut(benchmark::State& state) {
    const int milliseconds = static_cast<int>(state.range(0));
    auto& sites = RecordedSites::Get();
    const bench::DiskFolder folder;
    const std::string events = folder.Path() / "events";
    double seconds = 0;
    for ([[maybe_unused]] auto _ : state) {
        seconds = sites.Upgrade("auto", milliseconds, events);
        state.SetIterationTime(seconds);
    }
    const auto& rates = Rates()[milliseconds];
    if (rates.empty()) {
        state.SkipWithError("needs JobsAgainstConnections of the same run");
        return;
    }
    const double best =
        std::max_element(rates.begin(), rates.end(), [](const auto& one, const auto& other) {
            return one.second < other.second;
        })->second;
    const unsigned jobs = JobsAtTheEnd(events);
    const double share = RateOf(rates, jobs) / best;
    state.counters["statements/s"] = static_cast<double>(sites.Statements()) / seconds;
    state.counters["jobs"] = jobs;
    state.counters["of the best"] = share;
    if (milliseconds > 0) {
        state.SetLabel(share >= 0.9 ? "goal met: at least 0.9 of the best"
                                    : "GOAL MISSED: at least 0.9 of the best");
    }
}

void Register() {
    for (const int milliseconds : {0, 2}) {
        for (const int jobs : {1, 2, 4, 8}) {
            benchmark::RegisterBenchmark("JobsAgainstConnections", JobsAgainstConnections)
                ->ArgNames({"fsync_ms", "jobs"})
                ->Args({milliseconds, jobs})
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
        benchmark::RegisterBenchmark("JobsFoundOut", JobsFoundOut)
            ->ArgNames({"fsync_ms"})
            ->Args({milliseconds})
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
}

}  // namespace
}  // namespace twupdate

int main(int argc, char** argv) {
    twupdate::Register();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
