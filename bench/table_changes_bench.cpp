// How many changes of tables a second a server makes for several connections at the same time, with
// the disk as it is and with 2 ms more for each fsync. Prints the gain over one connection: the
// limit of what --jobs can bring. TMPDIR names the disk.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/old_sites.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/private_server.h"

namespace twupdate {
namespace {

constexpr int kChanges = 300;  // of each connection

/// A careful private server on the disk, with a table for each connection.
class Server {
  public:
    explicit Server(int milliseconds)
        : server_(
              bench::StartServer(folder_.Path() / "data", {.fsyncMilliseconds = milliseconds})) {}

    /// @returns the seconds for kChanges by each of the connections
    double Change(int connections) {
        std::vector<std::shared_ptr<host::Connection>> opened;
        for (int i = 0; i < connections; ++i) {
            opened.push_back(host::Connection::Open(server_->ConnectOptions()));
            opened.back()->Execute(fmt::format("CREATE OR REPLACE DATABASE bench_{};", i));
            opened.back()->Execute(fmt::format("CREATE TABLE bench_{}.t(id INT);", i));
        }
        const auto began = std::chrono::steady_clock::now();
        std::vector<std::thread> threads;
        threads.reserve(opened.size());
        for (int i = 0; i < connections; ++i) {
            threads.emplace_back([i, &connection = *opened[static_cast<std::size_t>(i)]] {
                for (int change = 0; change < kChanges; ++change) {
                    connection.Execute(
                        fmt::format("ALTER TABLE bench_{}.t ADD COLUMN c{} INT;", i, change));
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    }

  private:
    bench::DiskFolder folder_;
    std::unique_ptr<host::PrivateServer> server_;
};

void TableChanges(benchmark::State& state) {
    static std::map<int, double> alone;  // changes a second of one connection, by milliseconds
    const int milliseconds = static_cast<int>(state.range(0));
    const int connections = static_cast<int>(state.range(1));
    Server server(milliseconds);
    double rate = 0;
    for ([[maybe_unused]] auto _ : state) {
        const double seconds = server.Change(connections);
        state.SetIterationTime(seconds);
        rate = connections * kChanges / seconds;
    }
    alone.emplace(milliseconds, rate);
    state.counters["changes/s"] = rate;
    state.counters["gain"] = rate / alone.at(milliseconds);
}
BENCHMARK(TableChanges)
    ->ArgNames({"fsync_ms", "connections"})
    ->ArgsProduct({{0, 2}, {1, 2, 4, 8, 16}})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace twupdate

BENCHMARK_MAIN();
