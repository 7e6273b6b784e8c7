// What the program does without what it needs: files, memory, privileges, a clock that goes on.
// Each run ends with one clear line or with the upgrade, and the next one completes it.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StrEq;

class Resources : public InstallationTest {
  protected:
    /// Runs the program with a limit, as `prlimit` has it.
    static Outcome RunWithLimit(const std::string& limit,
                                const std::vector<std::string>& arguments) {
        std::vector<std::string> words{"--" + limit, BuiltProgram().string()};
        const auto rest = With(arguments);
        words.insert(words.end(), rest.begin(), rest.end());
        return RunProgram(words, {}, RunAs::kSelf, "/usr/bin/prlimit");
    }
    static std::string CurrentSites() {
        return Cell("SELECT COUNT(*) FROM tw_tarnwick.site WHERE version = 1.0265;");
    }
};

TEST_F(Resources, WithoutFileDescriptorsARunEndsWithOneLine) {
    MakeSmallSites({7, 8, 9, 10, 11, 12, 13, 14});
    // First the connection lacks one, then the data files, then the connections of the jobs, of
    // which one is enough. How many there are at the start depends on who starts the tests.
    bool connectionLacksOne = false;
    for (int files = 6; files <= 20; ++files) {
        const Outcome outcome =
            RunWithLimit("nofile=" + std::to_string(files), {"--quiet", "upgrade", "--jobs", "8"});
        EXPECT_THAT(outcome.status, AnyOf(0, 1)) << files;
        EXPECT_THAT(outcome.err, AnyOf("", MatchesRegex("twupdate: [^\n]*\n"))) << files;
        EXPECT_TRUE(outcome.status == 0 || !outcome.err.empty()) << files;
        connectionLacksOne |= outcome.err.starts_with(
            "twupdate: cannot connect to the server: Can't create UNIX socket (24) (2001)");
    }
    EXPECT_TRUE(connectionLacksOne);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(CurrentSites(), "8");
}

TEST_F(Resources, SixtyFourMegabytesOfMemoryAreEnough) {
    MakeSmallSites({7, 8, 9, 10, 11, 12, 13, 14});
    for (const char* jobs : {"1", "8"}) {
        const Outcome outcome =
            RunWithLimit("data=" + std::to_string(64 << 20), {"upgrade", "--jobs", jobs});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(CurrentSites(), "8");
        Execute("UPDATE tw_tarnwick.site SET version = 1.0264;");
        Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    }
}

TEST_F(Resources, WithoutMemoryARunEndsWithOneLine) {
    MakeSmallSites({7, 8});
    const Outcome outcome = RunWithLimit("data=" + std::to_string(1 << 20), {"upgrade"});
    EXPECT_THAT(outcome.err, StrEq("twupdate: out of memory; nothing was done\n"));
    EXPECT_NE(outcome.status, 0);
    EXPECT_LT(outcome.status, 126);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
    EXPECT_EQ(CurrentSites(), "2");
}

class RevokedPrivilege : public Resources, public testing::WithParamInterface<const char*> {
  protected:
    static constexpr const char* kAll = "GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';";
};
INSTANTIATE_TEST_SUITE_P(Jobs, RevokedPrivilege, testing::Values("1", "4"));

TEST_P(RevokedPrivilege, EndsTheRunAndTheNextOneCompletesIt) {
    MakeSitesInUse({7});
    MakeSmallSite(8);
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Execute(kAll);
    std::vector<std::string> words = With({"upgrade", "--jobs", GetParam()});
    words.at(3) = "half";
    Program run(words);
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
    Execute("REVOKE ALTER, CREATE ON `tw\\_%`.* FROM 'half'@'localhost';");
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("command denied to user"));
    EXPECT_EQ(InstallationVersion(), "1.0262");
    Execute(kAll);
    EXPECT_EQ(RunProgram(words).status, 0);
    EXPECT_EQ(CurrentSites(), "2");
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    Execute("DROP USER 'half'@'localhost';");
}

class JumpingClock : public Resources, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(ByADay, JumpingClock, testing::Values("-1d", "+1d"));

TEST_P(JumpingClock, ChangesNoTimeOfARun) {
    const std::string library = TWUPDATE_FAKETIME;
    if (!std::filesystem::exists(library)) {
        GTEST_SKIP() << "libfaketime is not installed";
    }
    MakeSitesInUse({7});
    MakeSmallSite(8);
    const auto events = (folder_ / "events").string();
    const auto clock = folder_.Write("clock", "+0");
    Program run(With({"--events", events, "upgrade", "--jobs", "1"}),
                {{"LD_PRELOAD", library},
                 {"FAKETIME_TIMESTAMP_FILE", clock.string()},
                 {"FAKETIME_NO_CACHE", "1"},
                 {"FAKETIME_DONT_FAKE_MONOTONIC", "1"}});
    ASSERT_TRUE(WaitUntil([] { return Waiting() == "1"; }));
    WriteFile(clock, GetParam());
    reader_->Execute("COMMIT;");
    const Outcome outcome = run.Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(CurrentSites(), "2");
    const auto lines = JsonLinesOf(events);
    const auto day = [](const nlohmann::json& event) {
        return event.at("time").get<std::string>().substr(0, 10);
    };
    EXPECT_NE(day(lines.front()), day(lines.back()));
    EXPECT_TRUE(lines.back().contains("ms"));
    for (const auto& event : lines) {
        const double milliseconds = event.value("ms", 0.0);
        EXPECT_GE(milliseconds, 0) << event;
        EXPECT_LT(milliseconds, 600'000) << event;
    }
    EXPECT_EQ(Run({"report", "--events", events, (folder_ / "page").string()}).status, 0);
}

}  // namespace
}  // namespace twupdate::test
