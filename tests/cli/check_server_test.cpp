// What `check` finds out about the server and the user. Each test makes a situation, sees the
// finding, and sees the real upgrade fail for that reason.
#include <gmock/gmock.h>

#include "cli/installation_fixture.h"
#include "cli/named_place.h"
#include "cli/server/server_version.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

class CheckServer : public InstallationTest {
  protected:
    /// The one finding.
    static void Finds(const std::string& finding, const std::vector<std::string>& options = {}) {
        auto arguments = options;
        arguments.emplace_back("check");
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 3) << outcome.out << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(finding));
        EXPECT_THAT(outcome.out, HasSubstr("\n1 finding.\n"));
    }

    static void UpgradeFails(const std::string& reason,
                             const std::vector<std::string>& options = {}) {
        auto arguments = options;
        arguments.emplace_back("upgrade");
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 1) << outcome.out;
        EXPECT_THAT(outcome.err, ContainsRegex(reason));
    }

    static void Goes() {
        const Outcome outcome = Run({"check"});
        EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
        const Outcome upgrade = Run({"upgrade"});
        EXPECT_EQ(upgrade.status, 0) << upgrade.err;
    }

    void MakeInstallation(const sample::Groups& groups = {}) {
        MakeCentralDatabase();
        MakeSite(8, "1.0000", groups);
    }

    /// Runs the program as the user "half", for one site after the other.
    static Outcome RunAsHalf(const std::string& command) {
        const auto socket = CliServer::Get().Server().Socket().string();
        return RunProgram({"--socket", socket, "--user", "half", "--no-site-files", "--no-services",
                           command, "--jobs", "1"});
    }

    /// A refused UPDATE interrupts a conversion where a repeat cannot go on.
    static void DropLeftOver(const std::string& table) {
        Execute("ALTER TABLE " + table + " DROP COLUMN IF EXISTS double_temp;");
    }

    static void MakeUserHalf() { Execute("CREATE OR REPLACE USER 'half'@'localhost';"); }
};

// --- sql_mode ----------------------------------------------------------------------------------

TEST_F(CheckServer, FindsAnSqlModeThatRefusesTheCountOfThreads) {
    MakeInstallation({sample::Group::kForum});
    Execute("INSERT INTO tw_8.forum(featureid, threadid) VALUES(50, 1), (50, 1);");
    const std::vector<std::string> options{"--sql-mode", "ONLY_FULL_GROUP_BY,STRICT_ALL_TABLES"};
    Finds(
        "tw_8.forum: server error 1055 (42000): 'tw_8.f.elementid' isn't in GROUP BY, so "
        "SiteContentStep_1_0037 fails; run with --sql-mode 'STRICT_ALL_TABLES'",
        options);
    UpgradeFails("step SiteContentStep_1_0037: .*server error 1055", options);
    EXPECT_EQ(Run({"--sql-mode", "STRICT_ALL_TABLES", "upgrade"}).status, 0);
}

TEST_F(CheckServer, SkipsThatModeWhereNoThreadsAreCounted) {
    MakeInstallation({sample::Group::kForum});
    const GlobalSetting mode("sql_mode", "'ONLY_FULL_GROUP_BY'");
    Goes();
}

TEST_F(CheckServer, LooksForThreadsWhereTheUserMayRead) {
    MakeInstallation({sample::Group::kForum});
    MakeSite(9, "1.0000", {sample::Group::kForum});
    for (const char* site : {"tw_8", "tw_9"}) {
        Execute(std::string("INSERT INTO ") + site +
                ".forum(featureid, threadid) VALUES(50, 1), (50, 1);");
    }
    MakeUserHalf();
    for (const char* database : {"tw_tarnwick", "tw_logs", "tw_8"}) {
        Execute(std::string("GRANT ALL PRIVILEGES ON ") + database + ".* TO 'half'@'localhost';");
    }
    Execute("GRANT INSERT, UPDATE, DELETE, CREATE, DROP, ALTER ON tw_9.* TO 'half'@'localhost';");
    const GlobalSetting mode("sql_mode", "'ONLY_FULL_GROUP_BY'");
    EXPECT_EQ(RunAsHalf("check").out,
              "tw_9: the account lacks the privilege SELECT; "
              "GRANT SELECT ON `tw_9`.* TO "
              "'half'@'localhost'\n"
              "tw_8.forum: server error 1055 (42000): 'tw_8.f.elementid' isn't in GROUP BY, so "
              "SiteContentStep_1_0037 fails; run with --sql-mode ''\n2 findings.\n");
    EXPECT_THAT(RunAsHalf("upgrade").err,
                ContainsRegex("tw_8.*SiteContentStep_1_0037: .*server error 1055"));
}

TEST_F(CheckServer, FindsAnSqlModeWithoutEmptyDefaults) {
    MakeInstallation();
    const GlobalSetting mode("sql_mode", "'EMPTY_STRING_IS_NULL'");
    Finds(
        "tw_tarnwick.installation: sql_mode has EMPTY_STRING_IS_NULL, with which no column takes "
        "the default '', so ServerStep_1_0002 fails; run with --sql-mode ''");
    UpgradeFails("step ServerStep_1_0002: .*server error 1067");
    EXPECT_EQ(Run({"--sql-mode", "", "upgrade"}).status, 0);
}

// No statement fails: an empty text in which a step replaces something becomes NULL.
TEST_F(CheckServer, FindsAnSqlModeThatWritesOtherRows) {
    MakeInstallation();
    Execute("INSERT INTO tw_8.email(featureid, type, message) VALUES(50, 'x', '');");
    const std::vector<std::string> options{"--sql-mode", "ORACLE"};
    Finds("sql_mode has ORACLE, with which REPLACE and LENGTH give something else", options);
    EXPECT_EQ(Run({"--sql-mode", "ORACLE", "upgrade"}).status, 0);
    EXPECT_EQ(Cell("SELECT message FROM tw_8.email WHERE emailid = 1;"), "NULL");
}

// --- settings that the connection does not depend on -------------------------------------------

TEST_F(CheckServer, AnUpgradeDoesNotDependOnWhatTheServerGivesNewSessions) {
    MakeInstallation(sample::AllGroups());
    MakeSite(9);
    const GlobalSetting commit("autocommit", "OFF");
    const GlobalSetting safe("sql_safe_updates", "ON");
    const GlobalSetting joins("max_join_size", "1000");
    const GlobalSetting rows("sql_select_limit", "1");
    Goes();
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    EXPECT_EQ(SiteVersion(8), kCurrentStored);
    EXPECT_EQ(SiteVersion(9), kCurrentStored);
}

// --- settings of the server --------------------------------------------------------------------

TEST_F(CheckServer, FindsThatNewTransactionsAreReadOnly) {
    MakeInstallation();
    const GlobalSetting setting("tx_read_only", "ON");
    Finds(
        "tw_tarnwick.installation: new transactions are read-only: a session may write nothing, so "
        "ServerStep_1_0002 fails; SET GLOBAL TRANSACTION READ WRITE");
    UpgradeFails("step ServerStep_1_0002: .*server error 1792");
    Execute("SET GLOBAL TRANSACTION READ WRITE;");
    Goes();
}

TEST_F(CheckServer, FindsAServerThatIsReadOnlyForTheUser) {
    MakeInstallation();
    const GlobalSetting setting("read_only", "ON");
    EXPECT_EQ(Run({"check"}).status, 0);  // root may write nevertheless
    MakeUserHalf();
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    Execute("GRANT SUPER ON *.* TO 'half'@'localhost';");  // not enough since 10.11
    const Outcome found = RunAsHalf("check");
    EXPECT_THAT(found.out,
                HasSubstr("tw_tarnwick.installation: read_only is ON, as on a replica: the user "
                          "may write nothing, so ServerStep_1_0002 fails; connect to the server "
                          "that is written to\n1 finding."));
    const Outcome failed = RunAsHalf("upgrade");
    EXPECT_THAT(failed.err, ContainsRegex("server error 1290 .*read-only"));
    ExpectFailedAtTheNamedPlace(found, failed);
    Execute("GRANT READ ONLY ADMIN ON *.* TO 'half'@'localhost';");
    EXPECT_EQ(RunAsHalf("check").status, 0);
    EXPECT_EQ(RunAsHalf("upgrade").status, 0);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0000;");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST_F(CheckServer, FindsThatEveryTableMustHaveAPrimaryKey) {
    MakeInstallation();
    const GlobalSetting setting("innodb_force_primary_key", "ON");
    Finds(
        "tw_tarnwick.installation: innodb_force_primary_key is ON: a table without a primary key "
        "cannot be created or changed, so ServerStep_1_0002 fails; ");
    UpgradeFails("step ServerStep_1_0002: .*server error 1173");
}

TEST_F(CheckServer, FindsAnAlgorithmThatMayNotCopyATable) {
    MakeInstallation();
    // 1.0039 adds an index; 1.0040 drops a primary key.
    const std::vector<std::array<std::string, 3>> refused{
        {"INSTANT", "domain", "ServerStep_1_0039"},
        {"NOCOPY", "schedule", "ServerStep_1_0040"},
        {"INPLACE", "schedule", "ServerStep_1_0040"}};
    for (const auto& [algorithm, table, step] : refused) {
        const GlobalSetting setting("alter_algorithm", algorithm);
        Finds("tw_tarnwick." + table + ": alter_algorithm is " + algorithm +
              ": a change for which that is not enough is refused, so " + step + " fails; ");
        UpgradeFails("step " + step + ": .*ALTER TABLE tw_tarnwick." + table +
                     ".*server error 1846");
    }
    Goes();
}

TEST_F(CheckServer, FindsAnEngineThatTheServerForces) {
    MakeInstallation();
    const GlobalSetting setting("enforce_storage_engine", "Aria");
    Finds(
        "tw_tarnwick.schedule: enforce_storage_engine is Aria, and default_storage_engine another: "
        "no table can be created, so ServerStep_1_0030 fails; ");
    UpgradeFails("step ServerStep_1_0030: .*CREATE TABLE .*server error 1290");
}

TEST_F(CheckServer, FindsThatNoStatementsCanBePrepared) {
    MakeInstallation();
    const GlobalSetting setting("max_prepared_stmt_count", "0");
    Finds("tw_tarnwick.site: max_prepared_stmt_count is 0 with 0 in use, and an upgrade needs 9; ");
    UpgradeFails("FROM tw_tarnwick.site .*server error 1461");
}

TEST_F(CheckServer, FindsABinaryLogThatCannotTakeTheStatements) {
    MakeInstallation();
    const ServerOptions options({"--log-bin=binary", "--server-id=1", "--binlog-format=STATEMENT",
                                 "--transaction-isolation=READ-COMMITTED"});
    Finds(
        "tw_tarnwick.account: binlog_format is STATEMENT and the transaction isolation below "
        "REPEATABLE-READ: InnoDB refuses to write, so ServerStep_1_0035 fails; SET GLOBAL "
        "binlog_format = MIXED");
    UpgradeFails("step ServerStep_1_0035: .*server error 1665");
    Execute("SET GLOBAL binlog_format = MIXED;");
    DropLeftOver("tw_tarnwick.account");
    Goes();
}

TEST_F(CheckServer, FindsAServerThatWritesNoTable) {
    MakeInstallation();
    const ServerOptions options({"--innodb-read-only"});
    Finds(
        "tw_tarnwick.installation: innodb_read_only is ON: no table can be written, so "
        "ServerStep_1_0002 fails; start the server without it");
    UpgradeFails("step ServerStep_1_0002: .*server error 1036");
}

// From 1.0261 on a site without features gets two tables and a few columns.
TEST_F(CheckServer, SkipsSettingsThatNoPendingStepMinds) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    MakeUpgradedSite(8, "1.0261");
    const GlobalSetting algorithm("alter_algorithm", "INSTANT");
    const GlobalSetting key("innodb_force_primary_key", "ON");
    const Outcome outcome = Run({"check", "--site", "8"});
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    const Outcome upgrade = Run({"upgrade-site", "8"});
    EXPECT_EQ(upgrade.status, 0) << upgrade.err;
}

// --- the version -------------------------------------------------------------------------------

// What comes of it is tested on a real old server.
TEST(ServerVersion, KnowsWhichServersGiveLongTextsADefault) {
    const auto can = [](const char* text) {
        return cli::ServerVersion(text).TakesLongTextDefaults();
    };
    for (const char* sound :
         {"10.2.1-MariaDB", "10.11.19-MariaDB-0+deb12u1", "11.4.2-MariaDB-log", "12.0.1-MariaDB"}) {
        EXPECT_TRUE(can(sound)) << sound;
    }
    for (const char* tooOld : {"10.2.0-MariaDB", "10.1.48-MariaDB", "5.5.68-MariaDB", "5.6.24",
                               "5.7.44-log", "8.0.36"}) {
        EXPECT_FALSE(can(tooOld)) << tooOld;
    }
}

// --- privileges --------------------------------------------------------------------------------

// One privilege at a time, in the order in which an upgrade first needs each.
TEST_F(CheckServer, FindsEachMissingPrivilege) {
    MakeCentralDatabase();
    MakeSite(1);  // the root site: the central ladder gives it a domain
    MakeSite(8, "1.0000", sample::AllGroups());
    Execute("UPDATE tw_tarnwick.site SET parentsiteid = 1 WHERE siteid = 8;");
    MakeUserHalf();
    const std::vector<std::pair<std::string, std::vector<std::string>>> privileges{
        {"tw_tarnwick", {"SELECT", "ALTER", "CREATE", "UPDATE", "DELETE", "INSERT"}},
        {"tw_logs", {"SELECT", "ALTER"}},
        {"tw_1", {"SELECT", "INSERT", "ALTER", "CREATE", "UPDATE"}},
        {"tw_8", {"SELECT", "ALTER", "CREATE", "DROP", "UPDATE", "INSERT", "DELETE"}}};
    for (const auto& [database, list] : privileges) {
        for (const std::string& privilege : list) {
            Execute("GRANT " + privilege + " ON `" + database + "`.* TO 'half'@'localhost';");
        }
    }
    // A step may need it, whatever the rows are; with these rows none does.
    Execute("GRANT DELETE ON `tw_1`.* TO 'half'@'localhost';");
    for (const char* database : {"tw_tarnwick", "tw_1", "tw_8"}) {  // for the marks of a run
        Execute(std::string("GRANT CREATE, DROP, SELECT, INSERT, UPDATE, DELETE ON ") + database +
                ".twupdate_progress TO 'half'@'localhost';");
    }
    for (const auto& [database, list] : privileges) {
        for (const std::string& privilege : list) {
            const std::string one = privilege + " ON `" + database + "`.*";
            Execute("REVOKE " + one + " FROM 'half'@'localhost';");
            const Outcome found = RunAsHalf("check");
            const Outcome failed = RunAsHalf("upgrade");
            if (one != "SELECT ON `tw_tarnwick`.*") {  // without it nothing can be checked
                EXPECT_THAT(
                    found.out,
                    ContainsRegex("^" + database +
                                  R"((\.[a-z_0-9]+)?: the account lacks the privilege )" +
                                  privilege + R"((, so \w+ fails)?; GRANT )" + privilege + " ON `" +
                                  database + "`\\.\\* TO 'half'@'localhost'\n1 finding\\.\n$"));
                ExpectFailedAtTheNamedPlace(found, failed);
            }
            EXPECT_EQ(failed.status, 1) << one;
            EXPECT_THAT(failed.err, ContainsRegex("server error 1142 .*" + privilege +
                                                  " command denied .*" + database))
                << one;
            Execute("GRANT " + one + " TO 'half'@'localhost';");
            for (const char* table : {"tw_tarnwick.account", "tw_1.setting", "tw_8.setting"}) {
                Execute(std::string("ALTER TABLE ") + table +
                        " DROP COLUMN IF EXISTS double_temp;");
            }
        }
    }
    EXPECT_EQ(RunAsHalf("check").status, 0);
    EXPECT_EQ(RunAsHalf("upgrade").status, 0);
}

TEST_F(CheckServer, OneSiteAloneNeedsTheCentralDatabaseForItsVersion) {
    ASSERT_EQ(Run({"create-core"}).status, 0);
    MakeSite(8);
    MakeUserHalf();
    Execute("GRANT ALL PRIVILEGES ON tw_8.* TO 'half'@'localhost';");
    Execute("GRANT SELECT ON tw_tarnwick.* TO 'half'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    const std::vector<std::string> half{"--socket",        socket,         "--user", "half",
                                        "--no-site-files", "--no-services"};
    const auto run = [&](std::vector<std::string> command) {
        command.insert(command.begin(), half.begin(), half.end());
        return RunProgram(command);
    };
    EXPECT_THAT(run({"check", "--site", "8"}).out,
                HasSubstr("tw_tarnwick.site: the account lacks the privilege UPDATE; "));
    EXPECT_THAT(run({"upgrade-site", "8"}).err,
                ContainsRegex("UPDATE tw_tarnwick.site SET version.*server error 1142"));
    Execute("GRANT UPDATE ON tw_tarnwick.* TO 'half'@'localhost';");
    EXPECT_EQ(run({"check", "--site", "8"}).status, 0);
    EXPECT_EQ(run({"upgrade-site", "8"}).status, 0);
}

TEST_F(CheckServer, CountsThePrivilegesOfAnEnabledRole) {
    MakeInstallation();
    MakeUserHalf();
    Execute("CREATE OR REPLACE ROLE upgrader;");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO upgrader;");
    Execute("GRANT upgrader TO 'half'@'localhost';");
    // A role that is granted but not switched on gives nothing: the databases are not even seen.
    EXPECT_EQ(RunAsHalf("check").status, 1);
    Execute("SET DEFAULT ROLE upgrader FOR 'half'@'localhost';");
    EXPECT_EQ(RunAsHalf("check").status, 0);
    EXPECT_EQ(RunAsHalf("upgrade").status, 0);
    Execute("DROP ROLE upgrader;");
}

// The server does not add up a user's grants that fit one database; it takes the most special one.
TEST_F(CheckServer, KnowsThatASpecialGrantHidesAGeneralOne) {
    MakeInstallation();
    MakeUserHalf();
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    EXPECT_EQ(RunAsHalf("check").status, 0);
    Execute("GRANT SELECT, INSERT, UPDATE, DELETE, CREATE ON tw_8.* TO 'half'@'localhost';");
    EXPECT_THAT(RunAsHalf("check").out,
                HasSubstr("tw_8.layoutzone: the account lacks the privilege DROP, ALTER, so "
                          "SiteSchemaStep_1_0005 fails; GRANT DROP, ALTER ON "));
    EXPECT_THAT(RunAsHalf("upgrade").err,
                ContainsRegex("database tw_8.*ALTER TABLE.*server error 1142"));
}

TEST_F(CheckServer, AsksForNoPrivilegesWhereTheServerKnowsNone) {
    MakeInstallation();
    const ServerOptions options({"--skip-grant-tables"});
    Goes();
}

}  // namespace
}  // namespace twupdate::test
