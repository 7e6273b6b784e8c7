// A disk that is full: what `check` says before, how a run fails there, and that nothing is lost.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

constexpr const char* kInside = "TWUPDATE_TEST_ON_SMALL_DISK";
constexpr const char* kSmallDisk = "/dev/shm";

/// Each test runs once more in a process with mounts of its own, in which /dev/shm, where the
/// server and all files of these tests are, is a disk of 400 MB. It goes with that process.
class SmallDisk : public InstallationTest {
  protected:
    /// Runs the test in that process, unless this is it.
    /// @return whether there is nothing more to do here
    static bool RanThere() {
        if (std::getenv(kInside) != nullptr) {
            return false;
        }
        const std::string unshare = geteuid() == 0 ? "unshare -m" : "unshare -Urm";
        const std::string mount = std::string("mount -t tmpfs -o size=400m none ") + kSmallDisk;
        if (std::system((unshare + " " + mount + " 2>/dev/null").c_str()) != 0) {
            MarkSkipped("this system lets nobody mount");
            return true;
        }
        const std::string program = fs::read_symlink("/proc/self/exe").string();
        if (program.starts_with(kSmallDisk)) {
            MarkSkipped("the program itself lies where the small disk would be");
            return true;
        }
        const auto* const info = testing::UnitTest::GetInstance()->current_test_info();
        const std::string test = std::string(info->test_suite_name()) + "." + info->name();
        const std::string command = unshare + " sh -c '" + mount + " && " + kInside + "=1 exec " +
                                    "env -u GTEST_TOTAL_SHARDS -u GTEST_SHARD_INDEX " + program +
                                    " --gtest_brief=1 --gtest_filter=" + test + "'";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return true;
    }
    static void MarkSkipped(const char* why) { GTEST_SKIP() << why; }

    static std::uintmax_t Free() { return fs::space(kSmallDisk).available; }

    /// Fills the disk but for so many bytes.
    void LeaveFree(std::uintmax_t bytes) const {
        const std::uintmax_t size = Free() - bytes;
        WriteFile(Ballast(), std::string(size, 'x'));
        ASSERT_EQ(fs::file_size(Ballast()), size);
    }
    void MakeRoom() const { fs::remove(Ballast()); }
    fs::path Ballast() const { return folder_ / "ballast"; }

    /// A shop whose orders take about 20 MB.
    void MakeShopWithManyOrders() {
        MakeCentralDatabase();
        MakeSite(8, "1.0000", {sample::Group::kShop});
        Execute(
            "INSERT INTO tw_8.customerorder(grossamount, billingname, billingaddress, "
            "shippingaddress) SELECT seq, REPEAT('n', 100), REPEAT('b', 200), REPEAT('s', 200) "
            "FROM tw_8.seq_1_to_25000;");
        Execute("ANALYZE TABLE tw_8.customerorder;");
    }
};

TEST_F(SmallDisk, IsFoundBeforeAnUpgradeFailsThereAndNothingIsLost) {
    if (RanThere()) {
        return;
    }
    MakeShopWithManyOrders();
    EXPECT_EQ(Run({"check"}).status, 0);
    LeaveFree(10000000);
    const Outcome found = Run({"check"});
    EXPECT_EQ(found.status, 3) << found.err;
    EXPECT_THAT(found.out,
                ContainsRegex("^tw_8.customerorder: a change that copies the table "
                              "needs [1-3][0-9]\\.[0-9] MB, and the data folder /dev/"
                              "shm/.* has [0-9]+\\.[0-9] MB free, so SiteSchemaStep_1_0047 "
                              "fails; make room\n"
                              "1 finding.\n$"));
    const Outcome failed = Run({"upgrade"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err,
                ContainsRegex("step SiteSchemaStep_1_0047: .*tw_8.customerorder.*server "
                              "error (1114|1021|1030)"));
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_8.customerorder;"), "25000");
    EXPECT_EQ(SiteVersion(8), "1");
    MakeRoom();
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(SiteVersion(8), kCurrentStored);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_8.customerorder WHERE grossamount = orderid;"),
              "25000");
}

TEST_F(SmallDisk, FailsFourJobsOfWhichNothingIsLost) {
    if (RanThere()) {
        return;
    }
    const auto makeShops = [&] {
        MakeCentralDatabase();
        for (const int site : {8, 9, 10, 11}) {
            MakeSite(site, "1.0000", {sample::Group::kShop});
            Execute(fmt::format(
                "INSERT INTO tw_{0}.customerorder(grossamount, billingname, billingaddress, "
                "shippingaddress) SELECT seq, REPEAT('n', 100), REPEAT('b', 200), REPEAT('s', "
                "200) FROM tw_{0}.seq_1_to_8000;",
                site));
        }
    };
    const auto states = [] {
        std::string all = StateOf("tw_tarnwick");
        for (const int site : {8, 9, 10, 11}) {
            all += StateOf(fmt::format("tw_{}", site));
        }
        return all;
    };
    makeShops();
    ASSERT_EQ(Run({"upgrade", "--jobs", "1"}).status, 0);
    const std::string undisturbed = states();
    for (const char* database : {"tw_tarnwick", "tw_logs", "tw_8", "tw_9", "tw_10", "tw_11"}) {
        Execute(fmt::format("DROP DATABASE {};", database));
    }
    makeShops();
    const std::vector<std::string> command{"upgrade", "--jobs", "4", "--repair"};
    LeaveFree(10000000);
    const Outcome failed = Run(command);
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, ContainsRegex("failed: database tw_[0-9]+, site schema ladder, step "
                                          ".*: server error (1114|1021|1030|1005|1296)"));
    for (const int site : {8, 9, 10, 11}) {
        EXPECT_EQ(Cell(fmt::format("SELECT COUNT(*) FROM tw_{}.customerorder;", site)), "8000");
    }
    MakeRoom();
    const Outcome again = Run(command);
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(states(), undisturbed);
}

// After 1.0092, which gives it its last index, no step rewrites the table of orders.
TEST_F(SmallDisk, IsNoFindingWhereTheLargeTableStaysAsItIs) {
    if (RanThere()) {
        return;
    }
    MakeShopWithManyOrders();
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    Execute("UPDATE tw_tarnwick.site SET version = 1.0092 WHERE siteid = 8;");
    LeaveFree(10000000);
    EXPECT_EQ(Run({"check", "--site", "8"}).status, 0);
    EXPECT_EQ(Run({"upgrade-site", "8"}).status, 0);
    MakeRoom();
}

TEST_F(SmallDisk, StopsABackupBeforeTheDatabaseIsTouched) {
    if (RanThere()) {
        return;
    }
    MakeCentralDatabase();
    MakeSite(8);
    // What gzip cannot make small.
    for (int i = 0; i < 8; ++i) {
        Execute(
            "INSERT INTO tw_8.text(text) SELECT GROUP_CONCAT(HEX(RANDOM_BYTES(1024)) SEPARATOR "
            "'') FROM tw_8.seq_1_to_400;");
    }
    LeaveFree(2000000);
    const fs::path backup = folder_ / "backup";
    const Outcome failed = Run({"--backup", backup.string(), "upgrade-site", "8"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, AllOf(HasSubstr("cannot back up tw_8 into "),
                                  HasSubstr(" (the disk is full); the database was not changed")));
    EXPECT_EQ(SiteVersion(8), "1");
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM information_schema.tables WHERE table_schema = 'tw_8' AND "
                   "table_name = 'chargegroup';"),
              "0");
    const fs::path run = fs::directory_iterator(backup)->path();
    EXPECT_TRUE(fs::exists(run / "tw_tarnwick.sql.gz"));
    EXPECT_FALSE(fs::exists(run / "tw_8.sql.gz"));
    EXPECT_FALSE(fs::exists(run / "tw_8.sql.gz.part"));
    MakeRoom();
    EXPECT_EQ(Run({"--backup", backup.string(), "upgrade-site", "8"}).status, 0);
    EXPECT_TRUE(fs::exists(run / "tw_8.sql.gz"));
}

}  // namespace
}  // namespace twupdate::test
