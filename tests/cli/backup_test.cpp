#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Backup : public InstallationTest {
  protected:
    fs::path backup_ = folder_ / "backup";

    /// A search path on which the named program is a script of the test's own.
    std::string PathWith(const std::string& program, const std::string& script) const {
        WriteFile(folder_ / "bin" / program, "#!/bin/sh\n" + script + "\n");
        chmod((folder_ / "bin" / program).c_str(), 0755);
        return (folder_ / "bin").string() + ":/usr/bin:/bin:/usr/sbin";
    }

    /// A run that backs site 1 up and has next to nothing to do.
    static std::vector<std::string> BackUpSite1(const fs::path& backup) {
        return {"--backup", backup.string(), "upgrade-site", "1", "--from", "1.0264"};
    }

    /// The folders of the runs, in order.
    static std::vector<fs::path> RunsIn(const fs::path& backup) {
        std::vector<fs::path> runs;
        for (const auto& entry : fs::directory_iterator(backup)) {
            runs.push_back(entry.path());
        }
        std::sort(runs.begin(), runs.end());
        return runs;
    }
    static fs::path LastRun(const fs::path& backup) { return RunsIn(backup).back(); }

    static std::vector<std::string> RestoreAll(const fs::path& backup) {
        return {"restore", LastRun(backup).string(), "--apply"};
    }
    static std::vector<std::string> RestoreSite1(const fs::path& backup) {
        return {"restore", LastRun(backup).string(), "--site", "1", "--apply"};
    }

    static Outcome AsHalf(const std::vector<std::string>& arguments) {
        std::vector<std::string> all{"--socket",        CliServer::Get().Server().Socket().string(),
                                     "--user",          "half",
                                     "--no-site-files", "--no-services"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return RunProgram(all);
    }
};

TEST_F(Backup, RestoresEverythingAsItWas) {
    MakeCentralDatabase();
    MakeSite(1, "1.0000", {sample::Group::kForum});
    MakeSite(2);
    Execute(
        "INSERT INTO tw_1.setting(overrideid, name, type, string_value) "
        "VALUES(1, 'it''s \\\\ \xE2\x82\xAC', 'string', 'a\\nb\\0c');");
    const std::string central = StateOf("tw_tarnwick");
    const std::string one = StateOf("tw_1");
    const Outcome upgraded = Run({"--backup", backup_.string(), "upgrade"});
    EXPECT_EQ(upgraded.status, 0) << upgraded.err;
    EXPECT_NE(StateOf("tw_1"), one);
    const Outcome restored = Run(RestoreAll(backup_));
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_THAT(restored.out, HasSubstr("tw_2: restored (2 of 4)\n"));
    EXPECT_THAT(restored.out, HasSubstr("4 databases restored."));
    EXPECT_EQ(StateOf("tw_tarnwick"), central);
    EXPECT_EQ(StateOf("tw_1"), one);
    EXPECT_EQ(InstallationVersion(), "1");
    EXPECT_EQ(SiteVersion(2), "1");
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST_F(Backup, OneSiteComesBackAloneWithItsVersion) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    const std::string one = StateOf("tw_1");
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 0);
    const std::string two = StateOf("tw_2");
    const Outcome restored = Run(RestoreSite1(backup_));
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_EQ(StateOf("tw_1"), one);
    EXPECT_EQ(StateOf("tw_2"), two);
    EXPECT_EQ(SiteVersion(1), "1");
    EXPECT_EQ(SiteVersion(2), kCurrentStored);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);
    EXPECT_EQ(Run({"restore", LastRun(backup_).string(), "--site", "3"}).status, 1);
}

TEST_F(Backup, AnAccountWithThePrivilegesOfThePageMakesAndRestoresIt) {
    MakeCentralDatabase();
    MakeSite(1);
    const std::string one = StateOf("tw_1");
    Execute("CREATE OR REPLACE USER 'night'@'localhost';");
    Execute(
        "GRANT SELECT, INSERT, UPDATE, DELETE, CREATE, DROP, ALTER, INDEX, TRIGGER, EVENT, SHOW "
        "VIEW ON `tw\\_%`.* TO 'night'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    const auto run = [&](const std::vector<std::string>& arguments) {
        std::vector<std::string> all{"--socket",        socket,         "--user", "night",
                                     "--no-site-files", "--no-services"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return RunProgram(all);
    };
    const Outcome upgraded = run({"--backup", backup_.string(), "upgrade"});
    ASSERT_EQ(upgraded.status, 0) << upgraded.err;
    EXPECT_THAT(
        upgraded.err,
        HasSubstr("twupdate: warning: procedures and functions of other accounts are not in the "
                  "backup\ntwupdate: hint: grant SELECT on mysql.proc, and use another folder\n"));
    Execute("GRANT SELECT ON mysql.proc TO 'night'@'localhost';");
    EXPECT_EQ(
        run({"--backup", backup_.string(), "--quiet", "upgrade-site", "1", "--from", "1.0264"})
            .err.find("mysql.proc"),
        std::string::npos);
    const Outcome restored = run({"restore", RunsIn(backup_).front().string(), "--apply"});
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_EQ(StateOf("tw_1"), one);
}

TEST_F(Backup, AMissingPrivilegeIsReportedBeforeAnythingIsDropped) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 0);
    const std::string one = StateOf("tw_1");
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    const auto socket = CliServer::Get().Server().Socket().string();
    for (const std::string privilege : {"DROP", "CREATE", "ALTER", "INSERT"}) {
        Execute("REVOKE " + privilege + " ON `tw\\_%`.* FROM 'half'@'localhost';");
        const Outcome outcome = RunProgram({"--socket", socket, "--user", "half", "restore",
                                            LastRun(backup_).string(), "--apply"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "twupdate: tw_1: the account lacks the privilege " + privilege +
                                   "; nothing was restored\n");
        EXPECT_EQ(StateOf("tw_1"), one);
        Execute("GRANT " + privilege + " ON `tw\\_%`.* TO 'half'@'localhost';");
    }
}

TEST_F(Backup, APrivilegeForWhatIsNoTableIsCheckedBeforeToo) {
    MakeCentralDatabase();
    MakeSite(1);
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    const std::string made = "CREATE DEFINER = 'half'@'localhost' ";
    Execute("CREATE TABLE tw_1.extra(a INT);");
    Execute(made + "VIEW tw_1.v AS SELECT name FROM tw_1.setting;");
    Execute(made + "TRIGGER tw_1.t BEFORE INSERT ON tw_1.extra FOR EACH ROW SET @x = 1;");
    Execute(made + "EVENT tw_1.e ON SCHEDULE EVERY 1 DAY DO SELECT 1;");
    Execute(made + "PROCEDURE tw_1.p() SELECT 1;");
    Execute(made + "FUNCTION tw_1.f() RETURNS INT RETURN 1;");
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    Execute("INSERT INTO tw_1.extra VALUES(5);");
    for (const std::string privilege :
         {"CREATE VIEW", "TRIGGER", "EVENT", "CREATE ROUTINE", "ALTER ROUTINE"}) {
        Execute("REVOKE " + privilege + " ON `tw\\_%`.* FROM 'half'@'localhost';");
        const Outcome outcome = AsHalf(RestoreSite1(backup_));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "twupdate: tw_1: the account lacks the privilege " + privilege +
                                   "; nothing was restored\n");
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_1.extra;"), "1");
        EXPECT_EQ(SiteVersion(1), kCurrentStored);
        Execute("GRANT " + privilege + " ON `tw\\_%`.* TO 'half'@'localhost';");
    }
    const Outcome restored = AsHalf(RestoreSite1(backup_));
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_1.extra;"), "0");
    EXPECT_EQ(Cell("SELECT tw_1.f();"), "1");
}

TEST_F(Backup, WhatBelongsToAnotherAccountNeedsThePrivilegeToSetIt) {
    MakeCentralDatabase();
    MakeSite(1);
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    Execute("CREATE TABLE tw_1.extra(a INT);");
    const std::string made = "CREATE DEFINER = 'so and `so'@'%' ";
    int number = 0;
    for (const std::string object :
         {"VIEW tw_1.o AS SELECT name FROM tw_1.setting",
          "TRIGGER tw_1.o BEFORE INSERT ON tw_1.extra FOR EACH ROW SET @x = 1",
          "EVENT tw_1.o ON SCHEDULE EVERY 1 DAY DO SELECT 1", "PROCEDURE tw_1.o() SELECT 1",
          "FUNCTION tw_1.o() RETURNS INT RETURN 1"}) {
        const fs::path backup = folder_ / std::to_string(++number);
        Execute(made + object + ";");
        Execute("UPDATE tw_tarnwick.site SET version = 1.0000;");
        ASSERT_EQ(Run(BackUpSite1(backup)).status, 0);
        const Outcome outcome = AsHalf(RestoreSite1(backup));
        EXPECT_EQ(outcome.status, 1) << object;
        EXPECT_EQ(outcome.err,
                  "twupdate: tw_1: the account lacks the privilege SET USER for what belongs to "
                  "`so and ``so`@`%`; nothing was restored\n");
        EXPECT_EQ(SiteVersion(1), kCurrentStored);
        Execute("DROP " + object.substr(0, object.find(' ')) + " tw_1.o;");
        Execute("GRANT SET USER ON *.* TO 'half'@'localhost';");
        const Outcome restored = AsHalf(RestoreSite1(backup));
        EXPECT_EQ(restored.status, 0) << restored.err;
        Execute("REVOKE SET USER ON *.* FROM 'half'@'localhost';");
        Execute("DROP " + object.substr(0, object.find(' ')) + " tw_1.o;");
    }
}

// `%` stands for every database, and holds no privilege that is the whole server's.
TEST_F(Backup, AllPrivilegesOnEveryDatabaseAreNotThoseOnTheServer) {
    MakeCentralDatabase();
    MakeSite(1);
    Execute("CREATE DEFINER = 'so'@'%' PROCEDURE tw_1.o() SELECT 1;");
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    const std::string one = StateOf("tw_1");
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `%`.* TO 'half'@'localhost';");
    const Outcome outcome = AsHalf(RestoreSite1(backup_));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "twupdate: tw_1: the account lacks the privilege SET USER for what belongs to "
              "`so`@`%`; nothing was restored\n");
    EXPECT_EQ(StateOf("tw_1"), one);
    Execute("GRANT ALL PRIVILEGES ON *.* TO 'half'@'localhost';");
    EXPECT_EQ(AsHalf(RestoreSite1(backup_)).status, 0);
}

TEST_F(Backup, ABinaryLogNeedsMorePrivilegesForTriggers) {
    const ServerOptions log({"--log-bin"});
    MakeCentralDatabase();
    MakeSite(1);
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    Execute("CREATE TABLE tw_1.extra(a INT);");
    Execute(
        "CREATE DEFINER = 'half'@'localhost' TRIGGER tw_1.t BEFORE INSERT ON tw_1.extra "
        "FOR EACH ROW SET @x = 1;");
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    const Outcome outcome = AsHalf(RestoreSite1(backup_));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "twupdate: tw_1: the account lacks the privilege SUPER, which triggers and functions "
              "need if the server has a binary log and log_bin_trust_function_creators is off; "
              "nothing was restored\n");
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
    const GlobalSetting trust("log_bin_trust_function_creators", "ON");
    const Outcome restored = AsHalf(RestoreSite1(backup_));
    EXPECT_EQ(restored.status, 0) << restored.err;
}

TEST_F(Backup, AnInterruptedRestoreKeepsUpgradesAwayUntilItIsRepeated) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    const std::string central = StateOf("tw_tarnwick");
    const std::string one = StateOf("tw_1");
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 0);
    const std::string half = "head -c 20000 | /usr/bin/mariadb \"$@\"; exit 1";
    const std::string before = "kill -9 $PPID";
    const std::string after = "/usr/bin/mariadb \"$@\"; kill -9 $PPID";
    for (const bool site : {false, true}) {
        const auto restore = site ? RestoreSite1(backup_) : RestoreAll(backup_);
        for (const std::string& script : {before, half, after}) {
            EXPECT_NE(RunProgram(With(restore), {{"PATH", PathWith("mariadb", script)}}).status, 0);
            if (site) {
                EXPECT_EQ(SiteVersion(1), "1") << script;
            }
            for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
                     {"create-core"},
                     {"upgrade"},
                     {"upgrade-site", "1"},
                     {"upgrade-site", "1", "--from", "1.0000", "--no-record"},
                     {"import-master-data", "1", "--from", "1.0000"},
                     {"repair", "--apply"}}) {
                const Outcome outcome = Run(command);
                EXPECT_EQ(outcome.status, 1) << command.front() << " after " << script;
                EXPECT_THAT(
                    outcome.err,
                    AllOf(HasSubstr("a restore of tw_1"),
                          HasSubstr(" is unfinished\ntwupdate: hint: repeat the same restore\n")));
            }
            const Outcome checked = Run({"check"});
            EXPECT_EQ(checked.status, 3) << script;
            EXPECT_THAT(checked.out,
                        HasSubstr("tw_1: a restore of it is unfinished; give the same"));
            const Outcome again = Run(restore);
            EXPECT_EQ(again.status, 0) << again.err;
            EXPECT_EQ(StateOf("tw_1"), one) << script;
            EXPECT_EQ(SiteVersion(1), "1");
            if (!site) {
                EXPECT_EQ(StateOf("tw_tarnwick"), central);
                EXPECT_EQ(Run({"upgrade"}).status, 0);
            } else {
                EXPECT_EQ(Run({"upgrade-site", "1"}).status, 0);
            }
            EXPECT_EQ(SiteVersion(1), kCurrentStored);
        }
    }
}

TEST_F(Backup, OfTheCopiesInAnImportedSiteSaysNothingOfTheSitesVersion) {
    MakeCentralDatabase();
    MakeSite(7, "1.0100");
    for (const std::string& statement : sample::Layouts().ImportedMasterData(7)) {
        Execute(statement);
    }
    ASSERT_EQ(Run({"--backup", backup_.string(), "import-master-data", "7"}).status, 0);
    EXPECT_EQ(Run({"restore", LastRun(backup_).string(), "--site", "7", "--apply"}).status, 0);
    EXPECT_EQ(SiteVersion(7), "1.01");
}

TEST_F(Backup, OfSitesWithoutTheCentralDatabaseBringsTheirVersionsBackToo) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    fs::remove(LastRun(backup_) / "tw_tarnwick.sql.gz");
    EXPECT_EQ(Run(RestoreAll(backup_)).status, 0);
    EXPECT_EQ(SiteVersion(1), "1");
    Execute("UPDATE tw_tarnwick.site SET version = " + kCurrentStored + ";");
    fs::remove(LastRun(backup_) / "tw_1.json");
    const std::string one = StateOf("tw_1");
    const Outcome outcome = Run(RestoreAll(backup_));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "twupdate: the file with the version of site 1 is missing, " +
                               (LastRun(backup_) / "tw_1.json").string() +
                               "; nothing was restored\n");
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
    EXPECT_EQ(StateOf("tw_1"), one);
}

TEST_F(Backup, OfTheCentralDatabaseLeavesTheVersionsOfOtherSitesAlone) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    ASSERT_EQ(Run({"upgrade-site", "2"}).status, 0);
    Execute("UPDATE tw_tarnwick.site SET version = 1.0000;");
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);  // has the old version of site 2, too
    Execute("UPDATE tw_tarnwick.site SET version = " + kCurrentStored + " WHERE siteid = 2;");
    const Outcome restored = Run(RestoreAll(backup_));
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_THAT(restored.out,
                HasSubstr("tw_2: not in the backup, so its version stays " + kCurrentShown + "\n"));
    EXPECT_EQ(SiteVersion(1), "1");
    EXPECT_EQ(SiteVersion(2), kCurrentStored);
}

TEST_F(Backup, OfTheCentralDatabaseKeepsTheVersionsOfOtherSitesWhereverItIsInterrupted) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);  // has the old version of site 2, too
    const std::string dump = (folder_ / "dump").string();
    const std::string central = "cat >" + dump + "; grep -q '^USE .tw_tarnwick' " + dump +
                                " || exec /usr/bin/mariadb \"$@\" <" + dump + "; ";
    for (const std::string& failure : std::vector<std::string>{
             "kill -9 $PPID",
             "sed '/^CREATE DATABASE/,$d' " + dump + " | /usr/bin/mariadb \"$@\"; kill -9 $PPID",
             "sed '/^USE/,$d' " + dump + " | /usr/bin/mariadb \"$@\"; kill -9 $PPID",
             "head -c 20000 " + dump + " | /usr/bin/mariadb \"$@\"; exit 1",
             "/usr/bin/mariadb \"$@\" <" + dump + "; kill -9 $PPID"}) {
        Execute("UPDATE tw_tarnwick.site SET version = 1.0150 WHERE siteid = 2;");
        for (int time = 0; time < 2; ++time) {  // the repeat may be interrupted, too
            EXPECT_NE(RunProgram(With(RestoreAll(backup_)),
                                 {{"PATH", PathWith("mariadb", central + failure)}})
                          .status,
                      0);
        }
        const Outcome again = Run(RestoreAll(backup_));
        EXPECT_EQ(again.status, 0) << again.err;
        EXPECT_EQ(SiteVersion(1), "1") << failure;
        EXPECT_EQ(SiteVersion(2), "1.015") << failure;
        EXPECT_FALSE(fs::exists(LastRun(backup_) / "kept_versions.json"));
    }
}

TEST_F(Backup, VersionsKeptByAnInterruptedRestoreAreIgnoredAfterAManualRepair) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    EXPECT_NE(
        RunProgram(With(RestoreAll(backup_)), {{"PATH", PathWith("mariadb", "exit 1")}}).status, 0);
    EXPECT_TRUE(fs::exists(LastRun(backup_) / "kept_versions.json"));
    Execute("DROP TABLE tw_1.unfinished_restore;");
    Execute("DROP TABLE tw_tarnwick.unfinished_restore;");
    Execute("UPDATE tw_tarnwick.site SET version = 1.0150 WHERE siteid = 2;");
    EXPECT_EQ(Run(RestoreAll(backup_)).status, 0);
    EXPECT_EQ(SiteVersion(2), "1.015");
}

TEST_F(Backup, KeptVersionsThatCannotBeWrittenOrReadEndARestoreBeforeAnythingIsDropped) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    const std::string one = StateOf("tw_1");
    const std::string file = (LastRun(backup_) / "kept_versions.json").string();
    fs::create_directory(file + ".part");  // which no file can replace
    const Outcome outcome = Run(RestoreAll(backup_));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "twupdate: cannot write " + file +
                               ", which keeps the versions of the sites that are not in the "
                               "backup: Is a directory; nothing was restored\n");
    EXPECT_EQ(StateOf("tw_1"), one);
    fs::remove(file + ".part");
    Execute("CREATE TABLE tw_1.unfinished_restore(a INT);");
    WriteFile(file, "{\"2\": 1.0");
    const Outcome unreadable = Run(RestoreAll(backup_));
    EXPECT_EQ(unreadable.status, 1);
    EXPECT_EQ(unreadable.err, "twupdate: " + file +
                                  ", which keeps the versions of the sites that are not in the "
                                  "backup, cannot be read; nothing was restored\n");
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
}

TEST_F(Backup, ThePrivilegeToSetVersionsIsCheckedBeforeToo) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO 'half'@'localhost';");
    Execute("REVOKE UPDATE ON `tw\\_%`.* FROM 'half'@'localhost';");
    const std::string one = StateOf("tw_1");
    const std::string refusal =
        "twupdate: tw_tarnwick: the account lacks the privilege UPDATE, which sets the versions of "
        "sites; nothing was restored\n";
    const Outcome site = AsHalf(RestoreSite1(backup_));
    EXPECT_EQ(site.status, 1);
    EXPECT_EQ(site.err, refusal);
    EXPECT_EQ(StateOf("tw_1"), one);
    for (const std::string privilege : {"UPDATE", "UPDATE(version)"}) {
        Execute("GRANT SELECT, " + privilege + " ON tw_tarnwick.site TO 'half'@'localhost';");
        EXPECT_EQ(AsHalf(RestoreSite1(backup_)).status, 0) << privilege;
        Execute("REVOKE SELECT, " + privilege + " ON tw_tarnwick.site FROM 'half'@'localhost';");
    }
    // The versions of all sites come back with the central database; there is none to set.
    const Outcome whole = AsHalf(RestoreAll(backup_));
    EXPECT_EQ(whole.status, 0) << whole.err;
    MakeSiteRow(2, "1.0150");
    const std::string central = StateOf("tw_tarnwick");
    const Outcome others = AsHalf(RestoreAll(backup_));
    EXPECT_EQ(others.status, 1);
    EXPECT_EQ(others.err, refusal);
    EXPECT_EQ(StateOf("tw_tarnwick"), central);
}

TEST_F(Backup, OfAnotherDatabaseUnderAWrongNameIsNotRestored) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    fs::rename(LastRun(backup_) / "tw_1.sql.gz", LastRun(backup_) / "tw_2.sql.gz");
    const Outcome outcome = Run(RestoreAll(backup_));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "twupdate: " + (LastRun(backup_) / "tw_2.sql.gz").string() +
                               " is not a dump of tw_2; nothing was restored\n");
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
}

TEST_F(Backup, ADatabaseThatIsNotFullyRestoredIsNamed) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 0);
    std::vector<std::string> arguments = With(RestoreSite1(backup_));
    const Outcome outcome = RunProgram(arguments, {{"PATH", PathWith("mariadb", "exit 7")}});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        outcome.err,
        HasSubstr("twupdate: cannot restore tw_1: mariadb ended with status 7; the database is "
                  "incomplete\ntwupdate: hint: fix the cause and repeat the command\n"));
}

TEST_F(Backup, AResumedRunKeepsTheFirstBackup) {
    MakeCentralDatabase();
    MakeSite(1);
    const std::string one = StateOf("tw_1");
    MakeSiteThatFails(2);
    EXPECT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 1);
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 2;");
    const Outcome again = Run({"--backup", backup_.string(), "upgrade"});
    EXPECT_EQ(again.status, 0) << again.err;
    ASSERT_EQ(RunsIn(backup_).size(), 1U);
    EXPECT_THAT(again.out, HasSubstr("Backup: " + LastRun(backup_).string() +
                                     ", of the unfinished run that began 20"));
    EXPECT_THAT(again.out, HasSubstr("tw_tarnwick: keeping the backup of 20"));
    EXPECT_EQ(Run(RestoreSite1(backup_)).status, 0);
    EXPECT_EQ(StateOf("tw_1"), one);
}

TEST_F(Backup, OfARunThatHasEndedIsNotTakenForThatOfTheNext) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    ASSERT_EQ(RunsIn(backup_).size(), 1U);
    ASSERT_EQ(Run(RestoreAll(backup_)).status, 0);
    Execute("INSERT INTO tw_1.setting(overrideid, name) VALUES(1, 'work');");
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    ASSERT_EQ(RunsIn(backup_).size(), 2U);
    Execute("DELETE FROM tw_1.setting;");
    EXPECT_EQ(Run(RestoreSite1(backup_)).status, 0);
    EXPECT_EQ(Cell("SELECT name FROM tw_1.setting;"), "work");
}

TEST_F(Backup, OfAnUnfinishedRunIsNotKeptAfterARestore) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSiteThatFails(2);
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 1);
    ASSERT_EQ(Run(RestoreAll(backup_)).status, 0);
    Execute("INSERT INTO tw_1.setting(overrideid, name) VALUES(1, 'work');");
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 1);
    ASSERT_EQ(RunsIn(backup_).size(), 2U);
    ASSERT_EQ(Run(RestoreAll(backup_)).status, 0);
    EXPECT_EQ(Cell("SELECT name FROM tw_1.setting;"), "work");
}

TEST_F(Backup, OfAnUnfinishedRunIsKeptByTheSameCommandAlone) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSiteThatFails(2);
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 1);
    for (const std::string site : {"2", "2", "1"}) {
        Run({"--backup", backup_.string(), "upgrade-site", site, "--from", "1.0262"});
    }
    EXPECT_EQ(RunsIn(backup_).size(), 3U);
    // The versions are no longer those that the run has left.
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0100;");
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 1);
    EXPECT_EQ(RunsIn(backup_).size(), 4U);
    // Nor is it the same server.
    auto run = nlohmann::json::parse(ContentOf(LastRun(backup_) / "run.json"));
    run["server"] = "another:/var/lib/mysql/";
    WriteFile(LastRun(backup_) / "run.json", run.dump());
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 1);
    EXPECT_EQ(RunsIn(backup_).size(), 5U);
}

TEST_F(Backup, OldOnesAreRemovedOnRequestWhenARunHasEnded) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSiteThatFails(2);
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade-site", "2"}).status, 1);
    const fs::path unfinished = LastRun(backup_);
    WriteFile(backup_ / "notes.txt", "mine");
    fs::create_directory(backup_ / "2020-01-01T000000Z");  // no run's
    auto upgrade = BackUpSite1(backup_);
    ASSERT_EQ(Run(upgrade).status, 0);
    fs::path first;
    for (const fs::path& run : RunsIn(backup_)) {
        first = fs::exists(run / "tw_1.sql.gz") ? run : first;
    }
    ASSERT_EQ(Run(upgrade).status, 0);
    EXPECT_TRUE(fs::exists(first));
    upgrade.insert(upgrade.begin(), {"--keep", "2"});
    WriteFile(first / "mine.txt", "x");  // stays, whatever it is
    ASSERT_EQ(Run(upgrade).status, 0);
    EXPECT_TRUE(fs::exists(first / "tw_1.sql.gz"));
    fs::remove(first / "mine.txt");
    const Outcome outcome = Run(upgrade);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr(first.string() + ": removed, as --keep says\n"));
    EXPECT_FALSE(fs::exists(first));
    EXPECT_TRUE(fs::exists(unfinished / "tw_2.sql.gz"));
    // Two runs, the unfinished one, the file and the folder.
    EXPECT_EQ(RunsIn(backup_).size(), 5U);
    EXPECT_EQ(Run({"--keep", "2", "upgrade-site", "1"}).status, 2);
    EXPECT_EQ(Run({"--backup", backup_.string(), "--keep", "0", "upgrade-site", "1"}).status, 2);
}

TEST_F(Backup, ARestoreWithoutApplyOnlyShowsWhatItWouldReplace) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));  // the server counts seconds
    Execute("INSERT INTO tw_1.setting(overrideid, name) VALUES(1, 'work');");
    ASSERT_TRUE(WaitUntil([] {
        return Cell(
                   "SELECT update_time IS NULL FROM information_schema.tables WHERE table_schema "
                   "= 'tw_1' AND table_name = 'setting';") == "0";
    }));
    const std::string folder = LastRun(backup_).string();
    const std::string one = StateOf("tw_1");
    const std::string central = StateOf("tw_tarnwick");
    const Outcome shown = Run({"restore", folder});
    EXPECT_EQ(shown.status, 3) << shown.err;
    EXPECT_THAT(shown.out,
                testing::ContainsRegex(
                    "Database +Now +In the dump +Dumped +Written to since the run ended\n"
                    "tw_1 +" +
                    kCurrentShown +
                    " +1.0000 +20[-0-9]+T[:0-9]+Z, [0-9.]+ s ago  1 table \\(setting\\), the last "
                    "20[-0-9]+T[:0-9]+Z\ntw_tarnwick +1.0000 +1.0000 +20[-0-9]+T[:0-9]+Z, [0-9.]+ "
                    "s ago *\nA restore loses the changes since the dump. The server knows "
                    "the changes since its last start, 20[-0-9]+T[:0-9]+Z.\nNothing was restored; "
                    "--apply restores 2 databases.\n"));
    EXPECT_EQ(StateOf("tw_1"), one);
    EXPECT_EQ(StateOf("tw_tarnwick"), central);
    EXPECT_EQ(Run({"upgrade-site", "1"}).status, 0);  // nothing was marked
    const auto json = Run({"--json", "restore", folder, "--site", "1"}).Json();
    EXPECT_EQ(json["result"], "shown");
    ASSERT_EQ(json["details"].size(), 1U);
    EXPECT_EQ(json["details"][0]["database"], "tw_1");
    EXPECT_EQ(json["details"][0]["version_now"], kCurrentShown);
    EXPECT_EQ(json["details"][0]["version_in_dump"], "1.0000");
    EXPECT_EQ(json["details"][0]["written_to"], nlohmann::json::array({"setting"}));
}

TEST_F(Backup, TheFolderOfOneRunIsNamedToARestore) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    const auto runs = RunsIn(backup_);
    const Outcome outcome = Run({"restore", backup_.string(), "--apply"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "twupdate: " + backup_.string() +
                  " holds the backups of 2 runs\ntwupdate: hint: name the folder of one of them: " +
                  runs[0].string() + ", " + runs[1].string() + "\n");
}

TEST_F(Backup, ARestoreThatIsStoppedFinishesTheDatabaseInHandAndSaysWhatToDo) {
    MakeCentralDatabase();
    MakeSite(1);
    MakeSite(2);
    const std::string central = StateOf("tw_tarnwick");
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 0);
    const std::string reached = (folder_ / "reached").string();
    const std::string go = (folder_ / "go").string();
    const std::string slow = "touch " + reached + "; while [ ! -e " + go +
                             " ]; do sleep 0.02; done; exec /usr/bin/mariadb \"$@\"";
    Program restore(With(RestoreAll(backup_)), {{"PATH", PathWith("mariadb", slow)}});
    ASSERT_TRUE(WaitUntil([&] { return fs::exists(reached); }));
    restore.Signal(SIGTERM);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    WriteFile(go, "");
    const Outcome stopped = restore.Wait();
    EXPECT_EQ(stopped.status, 5);
    EXPECT_EQ(stopped.err,
              "\ntwupdate: stopping after the current database; repeat to stop at once\ntwupdate: "
              "stopped as requested; restored: tw_1; not yet restored: tw_2, tw_logs, "
              "tw_tarnwick\ntwupdate: hint: repeat the command; it restores all of them\n");
    EXPECT_THAT(Run({"upgrade"}).err, HasSubstr("repeat the same restore"));
    const Outcome again = Run(RestoreAll(backup_));
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(StateOf("tw_tarnwick"), central);
}

TEST_F(Backup, ARestoreThatIsStoppedBeforeItsFirstDatabaseRestoresNothing) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    const std::string one = StateOf("tw_1");
    const std::string reached = (folder_ / "reached").string();
    const std::string slow = "touch " + reached + "; sleep 0.3; exec /usr/bin/gzip \"$@\"";
    Program restore(With(RestoreSite1(backup_)), {{"PATH", PathWith("gzip", slow)}});
    ASSERT_TRUE(WaitUntil([&] { return fs::exists(reached); }));
    restore.Signal(SIGTERM);
    const Outcome stopped = restore.Wait();
    EXPECT_EQ(stopped.status, 5);
    EXPECT_THAT(stopped.err, HasSubstr("twupdate: stopped as requested; nothing was restored\n"));
    EXPECT_EQ(StateOf("tw_1"), one);
    EXPECT_EQ(Run({"upgrade-site", "1"}).status, 0);  // nothing was marked
}

TEST_F(Backup, AVersionThatNoBackupHasIsNotRestored) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    const fs::path note = LastRun(backup_) / "tw_1.json";
    auto content = nlohmann::json::parse(ContentOf(note));
    const std::string one = StateOf("tw_1");
    for (const double version : {0.5, 0.9999, 1.0266, 7.0, -1.0}) {
        content["version"] = version;
        WriteFile(note, content.dump());
        const Outcome outcome = Run(RestoreSite1(backup_));
        EXPECT_EQ(outcome.status, 1) << version;
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("twupdate: " + note.string() + ": "),
                                       HasSubstr(" is not a possible version (1.0000 to " +
                                                 kCurrentShown + "); nothing was restored\n")));
        EXPECT_EQ(StateOf("tw_1"), one);
        EXPECT_EQ(SiteVersion(1), kCurrentStored);
    }
    for (const double version : {0.0, 1.0, kCurrentVersion}) {  // 0: nobody knew it
        content["version"] = version;
        WriteFile(note, content.dump());
        EXPECT_EQ(Run(RestoreSite1(backup_)).status, 0) << version;
    }
}

// The run's own connections say nothing for as long as the dump takes.
TEST_F(Backup, ThatTakesLongerThanAnIdleConnectionIsKeptDoesNotEndTheRun) {
    MakeCentralDatabase();
    MakeSite(1);
    const GlobalSetting idle("wait_timeout", "1");
    const Outcome outcome =
        RunProgram(With({"--backup", backup_.string(), "upgrade-site", "1"}),
                   {{"PATH", PathWith("gzip", "sleep 2; exec /usr/bin/gzip \"$@\"")}});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(SiteVersion(1), kCurrentStored);
}

TEST_F(Backup, AFolderThatItMakesIsItsOwnersAloneAndOneThatIsThereStaysAsItIs) {
    MakeCentralDatabase();
    MakeSite(1);
    const auto mode = [](const fs::path& path) { return fs::status(path).permissions(); };
    for (const std::string name : {"new", "above/new", "new again/"}) {
        const fs::path made = folder_ / name;
        ASSERT_EQ(Run(BackUpSite1(made)).status, 0);
        EXPECT_EQ(mode(made), fs::perms::owner_all) << name;
    }
    constexpr auto kGroup = fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec;
    fs::create_directory(backup_);
    fs::permissions(backup_, kGroup);
    ASSERT_EQ(Run(BackUpSite1(backup_)).status, 0);
    EXPECT_EQ(mode(backup_), kGroup);
    EXPECT_EQ(mode(LastRun(backup_) / "tw_1.sql.gz"),
              fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Backup, WithoutAFolderToGoToEndsTheRunBeforeAnyStatement) {
    MakeCentralDatabase();
    MakeSite(1);
    const std::string one = StateOf("tw_1");
    fs::create_symlink(folder_ / "gone", backup_);
    const Outcome outcome = Run(BackUpSite1(backup_));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("twupdate: cannot create the backup folder " +
                                       backup_.string() + ": File exists\n"));
    EXPECT_EQ(StateOf("tw_1"), one);
    EXPECT_EQ(SiteVersion(1), "1");
}

// What a full disk does to the program that writes.
TEST_F(Backup, ThatCannotBeWrittenStopsTheRunBeforeTheDatabaseIsTouched) {
    MakeCentralDatabase();
    MakeSite(1);
    const std::string one = StateOf("tw_1");
    const std::string path = PathWith("gzip", "echo 'gzip: No space left on device' >&2; exit 1");
    const Outcome outcome =
        RunProgram(With({"--backup", backup_.string(), "upgrade-site", "1"}), {{"PATH", path}});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cannot back up tw_tarnwick into "));
    EXPECT_THAT(outcome.err, HasSubstr("the database was not changed"));
    EXPECT_EQ(StateOf("tw_1"), one);
    EXPECT_FALSE(fs::exists(LastRun(backup_) / "tw_tarnwick.sql.gz"));
    EXPECT_FALSE(fs::exists(LastRun(backup_) / "tw_tarnwick.sql.gz.part"));
}

TEST_F(Backup, ThatIsNotWholeStopsTheRunBeforeTheDatabaseIsTouched) {
    MakeCentralDatabase();
    MakeSite(1);
    const std::string one = StateOf("tw_1");
    const std::string path = PathWith("mariadb-dump", "echo 'CREATE DATABASE tw_1;'");
    const Outcome outcome =
        RunProgram(With({"--backup", backup_.string(), "upgrade-site", "1"}), {{"PATH", path}});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("the dump is incomplete"));
    EXPECT_EQ(StateOf("tw_1"), one);
}

TEST_F(Backup, ADamagedBackupIsNotRestored) {
    MakeCentralDatabase();
    MakeSite(1);
    ASSERT_EQ(Run({"--backup", backup_.string(), "upgrade"}).status, 0);
    const std::string one = StateOf("tw_1");
    fs::resize_file(LastRun(backup_) / "tw_1.sql.gz",
                    fs::file_size(LastRun(backup_) / "tw_1.sql.gz") / 2);
    const Outcome outcome = Run(RestoreAll(backup_));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("twupdate: " + (LastRun(backup_) / "tw_1.sql.gz").string() +
                                       " is not a complete dump; nothing was restored\n"));
    EXPECT_EQ(StateOf("tw_1"), one);
    EXPECT_EQ(InstallationVersion(), kCurrentStored);  // nor was the sound one beside it
}

TEST_F(Backup, NeitherShowsNorLeavesThePassword) {
    MakeCentralDatabase();
    MakeSite(1);
    Execute("CREATE OR REPLACE USER 'keeper'@'localhost' IDENTIFIED BY 'hush\"hush\\\\';");
    Execute("GRANT ALL ON *.* TO 'keeper'@'localhost';");
    WriteFile(folder_ / "password", "hush\"hush\\\n");
    chmod((folder_ / "password").c_str(), 0600);
    const std::string path = PathWith(
        "mariadb-dump", "tr '\\0' ' ' </proc/$$/cmdline >" + (folder_ / "seen").string() + "; ls " +
                            folder_.Path().string() + " >>" + (folder_ / "seen").string() +
                            "; exec /usr/bin/mariadb-dump \"$@\"");
    const auto socket = CliServer::Get().Server().Socket().string();
    const Outcome outcome = RunProgram(
        {"--socket", socket, "--user", "keeper", "--password-file", (folder_ / "password").string(),
         "--no-site-files", "--no-services", "--backup", backup_.string(), "upgrade-site", "1"},
        {{"PATH", path}, {"TMPDIR", folder_.Path().string()}});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(ContentOf(folder_ / "seen"), HasSubstr("--defaults-file=/proc/"));
    EXPECT_THAT(ContentOf(folder_ / "seen"), Not(HasSubstr("hush")));
    // In no folder even while it is read: a run that is killed leaves nothing.
    EXPECT_THAT(ContentOf(folder_ / "seen"), HasSubstr("\npassword\n"));
    EXPECT_THAT(ContentOf(folder_ / "seen"), Not(HasSubstr("twupdate-client")));
    for (const auto& entry : fs::directory_iterator(folder_.Path())) {
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr("twupdate-client")));
    }
}

}  // namespace
}  // namespace twupdate::test
