// The central database: the walk over many sites, against a bare loop over the C API that sends the
// same statements, and the import of a long word list in its one statement.
// TWUPDATE_BENCH_OLD_SITES and TWUPDATE_BENCH_ROUNDS set the number of old sites and of rounds.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>

#include "bench/replay.h"
#include "sample/installation.h"
#include "sample/layouts.h"
#include "sample/older_host.h"
#include "tests/support/temporary_folder.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

using Clock = std::chrono::steady_clock;

/// A private server with a central database at 1.0264 and sites of one version.
class ManySites {
  public:
    /// @param tables  whether the sites' databases have the tables of every site at 1.0000
    ManySites(int sites, std::string version, bool tables)
        : sites_(sites), version_(std::move(version)), tables_(tables) {
        std::filesystem::create_directories(InstallFolder());
        std::filesystem::create_directory_symlink(
            sample::InstallationOptions::DefaultResourceFolder(), InstallFolder() / "resources");
    }

    void Restore() {
        const auto connection = host::Connection::Open(server_.ConnectOptions());
        const auto old = connection->Query("SHOW DATABASES LIKE 'tw\\_%'");
        while (old->Next()) {
            connection->Execute("DROP DATABASE " + old->Get(0).ToText());
        }
        connection->Execute("CREATE DATABASE tw_logs");
        for (const std::string& statement : layouts_.Central()) {
            connection->Execute(statement);
        }
        host::MariaDbUtilityOptions options;
        options.installFolder = InstallFolder();
        sample::BringCentralTo(std::make_shared<host::MariaDbUtility>(connection, options),
                               {1.0264, 1.0264});
        std::string rows;
        for (int id = 1; id <= sites_; ++id) {
            rows += (rows.empty() ? "(" : ",(") + std::to_string(id) + "," + version_ + ")";
            const std::vector<std::string> empty{"CREATE DATABASE tw_" + std::to_string(id)};
            for (const std::string& statement : tables_ ? layouts_.Site(id, {}) : empty) {
                connection->Execute(statement);
            }
        }
        connection->Execute("INSERT INTO tw_tarnwick.site(siteid, version) VALUES" + rows);
    }

    bench::Comparison Measure(int rounds) {
        return bench::Compare(
            server_, InstallFolder(), rounds, [&] { Restore(); },
            [](const std::shared_ptr<Utility>& host) {
                Update update;
                update.Configure(host);
                update.UpdateServer(1.0264);
            });
    }

  private:
    std::filesystem::path InstallFolder() const { return folder_.Path() / "root" / "update"; }

    int sites_;
    std::string version_;
    bool tables_;
    sample::Layouts layouts_;
    test::TemporaryFolder folder_;
    host::PrivateServer server_{folder_.Path() / "data", {.fast = true, .serverOptions = {}}};
};

void Report(benchmark::State& state, const bench::Comparison& result, int sites) {
    state.SetIterationTime(result.component);
    state.counters["sites"] = sites;
    state.counters["statements"] = static_cast<double>(result.statements);
    state.counters["statements/s"] = static_cast<double>(result.statements) / result.component;
    state.counters["replayed/s"] = static_cast<double>(result.statements) / result.replay;
    state.counters["ratio"] = result.ratio;
}

/// Every site is recorded as current: the walk searches and finds none.
void WalkOverCurrentSites(benchmark::State& state) {
    constexpr int kSites = 1000;
    ManySites installation(kSites, "1.0265", false);
    for ([[maybe_unused]] auto _ : state) {
        Report(state, installation.Measure(bench::FromEnvironment("TWUPDATE_BENCH_ROUNDS", 7)),
               kSites);
    }
}
BENCHMARK(WalkOverCurrentSites)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

/// No site has a step left, but each is visited and recorded.
void WalkOverSitesWithNothingLeftToDo(benchmark::State& state) {
    constexpr int kSites = 1000;
    ManySites installation(kSites, "1.0264", false);
    for ([[maybe_unused]] auto _ : state) {
        Report(state, installation.Measure(bench::FromEnvironment("TWUPDATE_BENCH_ROUNDS", 7)),
               kSites);
    }
}
BENCHMARK(WalkOverSitesWithNothingLeftToDo)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// Every site runs both ladders from 1.0000.
void WalkOverOldSites(benchmark::State& state) {
    const int sites = bench::FromEnvironment("TWUPDATE_BENCH_OLD_SITES", 100);
    ManySites installation(sites, "1.0000", true);
    for ([[maybe_unused]] auto _ : state) {
        Report(state, installation.Measure(1), sites);
    }
}
BENCHMARK(WalkOverOldSites)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

/// Notes when the import of the words begins and ends and how large its statement is.
class ImportWatch : public host::StatementListener {
  public:
    std::size_t statementBytes = 0;
    double serverSeconds = 0;
    double seconds = 0;

    void After(const host::StatementEvent& event, std::chrono::nanoseconds elapsed,
               const HostError*) override {
        if (event.sql == "DELETE FROM tw_tarnwick.englishword;") {
            begin_ = Clock::now();
        } else if (event.sql.starts_with("INSERT INTO tw_tarnwick.englishword")) {
            statementBytes = event.sql.size();
            serverSeconds = std::chrono::duration<double>(elapsed).count();
            seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
        }
    }

  private:
    Clock::time_point begin_;
};

/// The most memory that this process has had resident since the last reset, in megabytes.
double PeakMegabytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes / 1024;
        }
    }
    return 0;
}

void ResetPeak() {
    malloc_trim(0);  // what earlier benchmarks left behind must not pay for this one
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// Three hundred thousand words in one INSERT, with the memory that it takes here and the
/// max_allowed_packet that it takes on the server.
void ImportWords(benchmark::State& state) {
    constexpr int kWords = 300'000;
    const test::TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path() / "resources");
    std::ofstream words(folder.Path() / "resources" / "englishwordData.txt");
    for (int i = 0; i < kWords; ++i) {
        words << "everyday" << i << '\n';
    }
    words.close();
    const host::PrivateServer server(folder.Path() / "data", {.fast = true, .serverOptions = {}});
    for ([[maybe_unused]] auto _ : state) {
        const auto connection = host::Connection::Open(server.ConnectOptions());
        connection->Execute("DROP DATABASE IF EXISTS tw_tarnwick");
        const auto watch = std::make_shared<ImportWatch>();
        host::MariaDbUtilityOptions options;
        options.installFolder = folder.Path();
        options.listener = watch;
        Update update;
        update.Configure(std::make_shared<host::MariaDbUtility>(connection, options));
        ResetPeak();
        const double before = PeakMegabytes();
        update.CreateCoreDb();
        state.SetIterationTime(watch->seconds);
        state.counters["words"] = kWords;
        state.counters["server_ms"] = watch->serverSeconds * 1000;
        state.counters["memory_MiB"] = PeakMegabytes() - before;
        state.counters["max_allowed_packet"] = static_cast<double>(watch->statementBytes + 1);
    }
    state.SetLabel("max_allowed_packet in bytes");
}
BENCHMARK(ImportWords)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace twupdate

BENCHMARK_MAIN();
