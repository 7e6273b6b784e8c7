// A run that ends because the server's machine loses its power: all that had not reached the disk
// is gone. The server runs with a library that keeps what has reached it
// (tests/support/power_loss.cpp).
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>

#include "cli/sample_fixture.h"
#include "cli/shops_fixture.h"
#include "support/trials.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::HasSubstr;

/// Two shops on a server of their own, which forces to disk what any server does.
class PowerLoss : public ShopsTest {
  protected:
    PowerLoss() {
        Start(kept_);
        MakeCentralDatabase();
        MakeShop(7);
        MakeShop(8);
        server_.reset();
    }
    ~PowerLoss() override {
        server_.reset();
        CliServer::Get().UseInstead(std::nullopt);
    }

    void Start(const fs::path& folder, const std::vector<std::string>& options = {}) {
        std::vector<std::string> all{"--innodb-log-file-size=10M", "--innodb-buffer-pool-size=64M",
                                     // the library sees no asynchronous writes
                                     "--innodb-use-native-aio=0"};
        all.insert(all.end(), options.begin(), options.end());
        server_ = std::make_unique<host::PrivateServer>(
            folder, host::PrivateServerOptions{.serverOptions = all});
        CliServer::Get().UseInstead(server_->ConnectOptions());
    }
    /// The shops as they were made, on a disk with a cache.
    void StartOnCache(const std::vector<std::string>& options = {}) {
        server_.reset();
        for (const fs::path& folder : {data_, durable_}) {
            fs::remove_all(folder);
            fs::copy(kept_, folder, fs::copy_options::recursive);
        }
        setenv("TWUPDATE_CACHED_FOLDER", data_.c_str(), 1);
        setenv("TWUPDATE_DURABLE_FOLDER", durable_.c_str(), 1);
        setenv("LD_PRELOAD", TWUPDATE_POWER_LOSS, 1);
        Start(data_, options);
        for (const char* variable :
             {"LD_PRELOAD", "TWUPDATE_DURABLE_FOLDER", "TWUPDATE_CACHED_FOLDER"}) {
            unsetenv(variable);
        }
    }
    void LosePower() {
        server_->Kill();
        server_.reset();
        CliServer::Get().ForgetConnection();
        fs::remove_all(data_);
        fs::rename(durable_, data_);
    }

    static std::string State() {
        return StateOf("tw_tarnwick") + StateOf("tw_7") + StateOf("tw_8");
    }

    /// On a disk: in /dev/shm the server maps its redo log into memory and never forces it to disk.
    const TemporaryFolder disk_{fs::temp_directory_path()};
    const fs::path kept_ = disk_ / "kept";
    const fs::path data_ = disk_ / "data";
    const fs::path durable_ = disk_ / "durable";
    std::unique_ptr<host::PrivateServer> server_;
};

TEST_F(PowerLoss, TheNextRunReachesTheSameEnd) {
    using std::chrono::milliseconds;
    StartOnCache();
    const auto began = std::chrono::steady_clock::now();
    ASSERT_EQ(Run({"upgrade", "--jobs", "1"}).status, 0);
    const auto whole =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - began);
    const std::string undisturbed = State();
    std::mt19937 random(20262);
    std::uniform_int_distribution<std::int64_t> share(5, 110);
    Trials trials("power loss of the server, and the same command again");
    while (trials.Number() < (SampleTest::IsSoak() ? 100 : 1)) {
        trials.Next();
        const auto moment = whole * share(random) / 100;
        const char* const jobs = trials.Number() % 2 == 0 ? "1" : "4";
        SCOPED_TRACE(fmt::format("{} jobs, after {} ms", jobs, moment.count()));
        StartOnCache();
        Program run(With({"upgrade", "--jobs", jobs}));
        usleep(static_cast<useconds_t>(moment.count() * 1000));
        LosePower();
        EXPECT_THAT(run.Wait().status, AnyOf(0, 7));
        Start(data_);
        const Outcome again = Run({"upgrade", "--jobs", jobs, "--repair"});
        EXPECT_EQ(again.status, 0) << again.err;
        EXPECT_EQ(State(), undisturbed);
    }
}

// What the manual says of this setting.
TEST_F(PowerLoss, WithoutSyncFrmTheDefinitionsOfChangedTablesAreLost) {
    StartOnCache({"--sync-frm=OFF"});
    ASSERT_EQ(Run({"upgrade", "--central-only"}).status, 0);
    LosePower();
    Start(data_);
    const Outcome status = Run({"status"});
    EXPECT_EQ(status.status, 1);
    EXPECT_THAT(status.err, HasSubstr("Incorrect information in file: './tw_tarnwick/"));
}

}  // namespace
}  // namespace twupdate::test
