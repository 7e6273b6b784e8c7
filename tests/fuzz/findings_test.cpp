// What the texts of `corpus` must be read as, where a reader once took them for something else.
#include <gmock/gmock.h>

#include "cli/backup/backup_run.h"
#include "cli/backup/kept_versions.h"
#include "cli/report/run_events.h"
#include "cli/server/grants.h"
#include "cli/server/server_version.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "support/temporary_folder.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(GrantLine, IsReadHoweverManyColumnsItNames) {
    std::string columns;
    for (int i = 0; i < 20'000; ++i) {
        columns += (i == 0 ? "`column_" : ", `column_") + std::to_string(i) + "`";
    }
    const auto grant = cli::Grant::Of("GRANT DELETE, SELECT (" + columns +
                                      ") ON `tw_tarnwick`.`site` TO `night`@`localhost`");
    ASSERT_TRUE(grant);
    EXPECT_TRUE(grant->Gives("DELETE"));
    EXPECT_FALSE(grant->Gives("SELECT"));
    EXPECT_EQ(grant->pattern, "tw_tarnwick");
    EXPECT_EQ(grant->table, "site");
}

TEST(GrantLine, HasAnAccountARoleOrEverybody) {
    using cli::Grant;
    const auto granteeOf = [](const std::string& to) {
        const auto grant = Grant::Of("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO " + to);
        EXPECT_TRUE(grant) << to;
        EXPECT_EQ(grant->pattern, "tw\\_%");
        EXPECT_EQ(grant->table, "*");
        return grant->grantee;
    };
    EXPECT_EQ(granteeOf("`a b ON c TO d`@`%` WITH GRANT OPTION"), Grant::Grantee::kUser);
    EXPECT_EQ(granteeOf("upgrader"), Grant::Grantee::kRole);
    EXPECT_EQ(granteeOf("`PUBLIC`"), Grant::Grantee::kPublic);
    EXPECT_FALSE(Grant::Of("GRANT `upgrader` TO `night`@`localhost`"));
    EXPECT_FALSE(Grant::Of("GRANT SELECT ON tw_7.* TO `night`@`localhost`"));
    EXPECT_TRUE(Grant::Of("GRANT USAGE ON *.* TO `night`@`localhost`")->IsGlobal());
}

TEST(GrantPattern, IsComparedInATimeThatDoesNotExplode) {
    std::string pattern;
    for (int i = 0; i < 30; ++i) {
        pattern += "%a";
    }
    const cli::Grants grants({*cli::Grant::Of("GRANT SELECT ON `" + pattern + "`.* TO `a`@`b`")});
    EXPECT_FALSE(grants.OnDatabase(std::string(60, 'a') + "b", "SELECT"));
    EXPECT_TRUE(grants.OnDatabase(std::string(60, 'a'), "SELECT"));
}

TEST(GrantPattern, HasEscapedWildcards) {
    const cli::Grants grants({*cli::Grant::Of("GRANT SELECT ON `tw\\_%\\%_`.* TO `a`@`b`")});
    EXPECT_TRUE(grants.OnDatabase("tw_7%x", "SELECT"));
    EXPECT_TRUE(grants.OnDatabase("tw_%x", "SELECT"));
    EXPECT_FALSE(grants.OnDatabase("twx7%x", "SELECT"));
    EXPECT_FALSE(grants.OnDatabase("tw_7x", "SELECT"));
    EXPECT_FALSE(grants.OnDatabase("tw_7%", "SELECT"));
}

TEST(ServerVersion, OfManyDigitsIsTheHighest) {
    EXPECT_EQ(cli::ServerVersion("10.11.19-MariaDB").Number(), 101119);
    EXPECT_EQ(cli::ServerVersion("8.0").Number(), 80000);
    EXPECT_EQ(cli::ServerVersion("2147483647.2147483647.2147483647").Number(), 999999);
    EXPECT_EQ(cli::ServerVersion("120.1.-5").Number(), 990100);
}

TEST(Printable, LeavesNothingThatATerminalObeysOrThatIsNotUtf8) {
    EXPECT_EQ(cli::Printable("a\xC2\x9B"
                             "31mb"),
              "a 31mb");  // CSI in one character
    EXPECT_EQ(cli::Printable("\xC2\xA0\xC3\xA9"), "\xC2\xA0\xC3\xA9");
    const std::string no = "\xEF\xBF\xBD";
    EXPECT_EQ(cli::Printable("\xE0\x80\x80"), no + no + no);  // overlong
    EXPECT_EQ(cli::Printable("\xED\xA0\x80"), no + no + no);  // a surrogate
    EXPECT_EQ(cli::Printable("\xF0\x8F\xBF\xBF"), no + no + no + no);
    EXPECT_EQ(cli::Printable("\xF4\x90\x80\x80"), no + no + no + no);  // beyond Unicode
    EXPECT_EQ(cli::Printable("\xED\x9F\xBF\xF4\x8F\xBF\xBF"), "\xED\x9F\xBF\xF4\x8F\xBF\xBF");
}

std::vector<cli::RunRecord> RunsOf(const std::string& events) {
    const TemporaryFolder folder;
    return cli::ReadRuns(folder.Write("events", events));
}

std::string EventAt(const std::string& time, const std::string& rest) {
    return R"({"v":1,"time":")" + time + R"(","event":)" + rest + "}\n";
}

TEST(RunEvents, OfAnotherCenturyAreRefused) {
    const std::string started = EventAt("2026-11-21T22:00:00.000Z", R"("run-started")");
    EXPECT_EQ(RunsOf(started).size(), 1U);
    for (const char* time : {"9999-12-31T22:00:00.000Z", "-001-01-01T22:00:00.000Z"}) {
        try {
            RunsOf(started + EventAt(time, R"("run-stopped")"));
            ADD_FAILURE() << time;
        } catch (const cli::CommandError& error) {
            EXPECT_THAT(error.what(), HasSubstr("line 2: 'time' is not a time"));
        }
    }
}

TEST(RunEvents, WithBytesThatAreNotUtf8AreRead) {
    const auto runs = RunsOf(EventAt("2026-11-21T22:00:00.000Z",
                                     "\"run-started\",\"account\":\"a\xED\xA0\x80"
                                     "b\""));
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].account,
              "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
              "b");
}

TEST(BackupRunFile, WithNumbersThatAreNoneIsOfNoRun) {
    const TemporaryFolder folder;
    const auto isRun = [&](const std::string& numbers) {
        folder.Write("run.json", R"({"command":"upgrade-site","server":"a","state":"unfinished",)" +
                                     numbers + "}");
        return cli::ReadBackupRun(folder.Path()).has_value();
    };
    EXPECT_TRUE(isRun(R"("site":7,"began":1795000000,"ended":1795000100)"));
    EXPECT_FALSE(isRun(R"("site":4294967303,"began":1795000000)"));
    EXPECT_FALSE(isRun(R"("site":7.9,"began":1795000000)"));
    EXPECT_FALSE(isRun(R"("site":-1e300,"began":1795000000)"));
    EXPECT_FALSE(isRun(R"("began":9000000000000000000)"));
    EXPECT_FALSE(isRun(R"("began":18446744073709551615)"));
    EXPECT_FALSE(isRun(R"("began":1795000000,"ended":1e300)"));
    EXPECT_FALSE(isRun(R"("began":true)"));
}

TEST(KeptVersionsFile, WithNumbersThatAreNoneCannotBeRead) {
    const TemporaryFolder folder;
    folder.Write("kept_versions.json", R"([{"site":7,"version":1.0224}])");
    EXPECT_THAT(*cli::KeptVersions(folder.Path()), ElementsAre(testing::Pair(7, 1.0224)));
    for (const char* text :
         {R"([{"site":1e300,"version":1.0224}])", R"([{"site":7.5,"version":1.0224}])",
          R"([{"site":18446744073709551615,"version":1.0224}])", R"([{"site":7,"version":true}])",
          R"([{"site":7,"version":1.02)"}) {
        folder.Write("kept_versions.json", text);
        EXPECT_THROW(cli::KeptVersions(folder.Path()), cli::CommandError) << text;
    }
}

}  // namespace
}  // namespace twupdate::test
