// The component alone: what it costs to put a statement together and send it, with a host that
// does nothing. Goal: under 2 microseconds a statement.

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string_view>

#include "twupdate/update.h"

namespace {

std::size_t allocations = 0;
std::size_t allocatedBytes = 0;

}  // namespace

// Counts what the component asks of the heap; the benchmark has one thread. Not inlined, since the
// compiler would take the free of one for a mismatch with the new of the other.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    allocatedBytes += size;
    if (void* memory = std::malloc(size)) {  // NOLINT(cppcoreguidelines-no-malloc)
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
}

namespace {

using namespace std::string_view_literals;

/// Every table is there, holds no rows, and has these columns and no index: so every step that may
/// have something to do does it.
constexpr std::array kColumns{"id"sv, "name"sv, "cartorderid"sv};

std::size_t statements = 0;

/// A shared pointer to an object that is never freed: handing it out allocates nothing.
template <typename T>
std::shared_ptr<T> Lasting() {
    static T object;
    return {std::shared_ptr<void>(), &object};
}

class NullField : public twupdate::Field {
  public:
    twupdate::Value Value() const override { return {}; }
};

class NullFields : public twupdate::Fields {
  public:
    const twupdate::Field& Item(std::string_view) const override { return *Lasting<NullField>(); }
};

/// At its end from the start, or standing on the one row of a successful existence test.
template <bool kHasRow>
class NullRecordset : public twupdate::Recordset {
  public:
    bool IsEOF() const override { return !kHasRow; }
    const twupdate::Fields& Fields() const override { return *Lasting<NullFields>(); }
    void MoveNext() override {}
    void Close() override {}
};

class ColumnReader : public twupdate::Reader {
  public:
    void Rewind(bool empty) { row_ = empty ? kColumns.size() : 0; }
    bool IsEOF() const override { return row_ == kColumns.size(); }
    void ReaderMoveNext() override { ++row_; }
    void ReaderClose() override {}
    twupdate::Value GetField(std::string_view) const override {
        return twupdate::Value(kColumns.at(row_));
    }

  private:
    std::size_t row_ = 0;
};

class NullDatabase : public twupdate::Database {
  public:
    std::shared_ptr<twupdate::Recordset> OpenRecordset(const std::string& sql, std::int32_t,
                                                       std::int32_t) override {
        ++statements;
        if (sql.starts_with("SHOW TABLES FROM tw_1")) {
            return Lasting<NullRecordset<true>>();
        }
        return Lasting<NullRecordset<false>>();
    }
    void Execute(const std::string&, std::int64_t& rowsAffected) override {
        ++statements;
        rowsAffected = 0;
    }
    void GetLastInsertId(std::int32_t& id) override { id = 1; }
    std::shared_ptr<twupdate::Reader> OpenReader(const std::string& sql) override {
        ++statements;
        auto reader = Lasting<ColumnReader>();
        reader->Rewind(!sql.starts_with("DESCRIBE"));
        return reader;
    }
};

class NullCommand : public twupdate::Command {
  public:
    void CloseCommand() override {}
    void AddParameter(const twupdate::Value&) override {}
    void SetText(const std::string&) override {}
    std::shared_ptr<twupdate::Recordset> OpenCommandRecordset(
        const std::shared_ptr<twupdate::Database>&) override {
        ++statements;
        return Lasting<NullRecordset<false>>();
    }
    void ExecuteCommand(const std::shared_ptr<twupdate::Database>&,
                        std::int64_t& rowsAffected) override {
        ++statements;
        rowsAffected = 0;
    }
};

class NullCommandFactory : public twupdate::CommandFactory {
  public:
    std::shared_ptr<twupdate::Command> NewCommand() override { return Lasting<NullCommand>(); }
};

class NullComponent : public twupdate::Component {
  public:
    std::int32_t GetComponentId() const override { return 100; }
    std::string GetComponentName() const override { return "Log in"; }
    std::string GetFolderName() const override { return "login"; }
};

class NullComponentList : public twupdate::ComponentList {
  public:
    std::shared_ptr<twupdate::Component> Item(std::int32_t) override {
        return Lasting<NullComponent>();
    }
};

class NullApplication : public twupdate::Application {
  public:
    void Refresh() override {}
};

class NullComponentHost : public twupdate::ComponentHost {
  public:
    using ComponentPointer = std::shared_ptr<twupdate::Component>;
    std::shared_ptr<twupdate::ComponentList> GetComponentList() override {
        return Lasting<NullComponentList>();
    }
    void UpgradeSiteComponent(std::int32_t, const ComponentPointer&) override {}
    void RefreshSiteComponent(std::int32_t, const ComponentPointer&) override {}
    void InitialiseSiteComponent(std::int32_t, const ComponentPointer&) override {}
    void ResetSiteComponent(std::int32_t, std::int32_t) override {}
    std::shared_ptr<twupdate::Application> GetApplication() override {
        return Lasting<NullApplication>();
    }
};

/// An installation root in a temporary folder, without templates and data files.
class EmptyInstallation {
  public:
    EmptyInstallation() {
        std::string pattern = (std::filesystem::temp_directory_path() / "twbenchXXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        root_ = pattern;
        std::filesystem::create_directory(Component());
    }
    ~EmptyInstallation() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    EmptyInstallation(const EmptyInstallation&) = delete;
    EmptyInstallation& operator=(const EmptyInstallation&) = delete;

    std::filesystem::path Component() const { return root_ / "component"; }

  private:
    std::filesystem::path root_;
};

class NullUtility : public twupdate::Utility {
  public:
    explicit NullUtility(std::filesystem::path installFolder)
        : installFolder_(std::move(installFolder)) {}
    std::shared_ptr<twupdate::Database> GetDatabase() override { return Lasting<NullDatabase>(); }
    std::shared_ptr<twupdate::ComponentHost> GetComponentHost() override {
        return Lasting<NullComponentHost>();
    }
    std::shared_ptr<twupdate::CommandFactory> GetCommandFactory() override {
        return Lasting<NullCommandFactory>();
    }
    std::filesystem::path InstallFolder() override { return installFolder_; }

  private:
    std::filesystem::path installFolder_;
};

template <typename Operation>
void Measure(benchmark::State& state, const Operation& operation) {
    const EmptyInstallation installation;
    twupdate::Update update;
    update.Configure(std::make_shared<NullUtility>(installation.Component()));
    operation(update);  // makes the site's folders, once

    statements = 0;
    allocations = 0;
    allocatedBytes = 0;
    const auto begin = std::chrono::steady_clock::now();
    for ([[maybe_unused]] auto _ : state) {
        operation(update);
    }
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
    const auto sent = static_cast<double>(statements);
    const double microseconds = time.count() / sent;
    state.counters["statements"] = sent / static_cast<double>(state.iterations());
    state.counters["us/statement"] = microseconds;
    state.counters["allocations/statement"] = static_cast<double>(allocations) / sent;
    state.counters["bytes/statement"] = static_cast<double>(allocatedBytes) / sent;
    state.SetLabel(microseconds < 2 ? "goal met: under 2 us a statement"
                                    : "GOAL MISSED: under 2 us a statement");
}

void UpgradeOneSite(benchmark::State& state) {
    Measure(state, [](twupdate::Update& update) { update.UpdateSite(1, 1.0); });
}
BENCHMARK(UpgradeOneSite)->Unit(benchmark::kMicrosecond);

void UpgradeCentralDatabase(benchmark::State& state) {
    Measure(state, [](twupdate::Update& update) { update.UpdateServer(1.0); });
}
BENCHMARK(UpgradeCentralDatabase)->Unit(benchmark::kMicrosecond);

void CreateCentralDatabase(benchmark::State& state) {
    Measure(state, [](twupdate::Update& update) { update.CreateCoreDb(); });
}
BENCHMARK(CreateCentralDatabase)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
