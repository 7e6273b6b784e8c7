// The privileges of the user, beyond one privilege of a database that is missing. Each test makes a
// situation, sees what `check` says of it, and sees the real upgrade agree.
#include <gmock/gmock.h>

#include <map>
#include <set>

#include "cli/installation_fixture.h"
#include "cli/named_place.h"
#include "cli/sample_run.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

class CheckPrivileges : public InstallationTest {
  protected:
    CheckPrivileges() { Execute("CREATE OR REPLACE USER 'half'@'localhost';"); }

    /// A plain site at 1.0000 and another one as the root site.
    void MakeInstallation() {
        MakeCentralDatabase();
        MakeSite(8);
    }

    static void Grant(const std::string& privilege, const std::string& where) {
        Execute("GRANT " + privilege + " ON " + where + " TO 'half'@'localhost';");
    }
    static void Revoke(const std::string& privilege, const std::string& where) {
        Execute("REVOKE " + privilege + " ON " + where + " FROM 'half'@'localhost';");
    }

    /// What a run needs for its marks, whatever else it lacks.
    static void GrantMarks(const std::vector<std::string>& databases,
                           const std::string& grantee = "'half'@'localhost'") {
        for (const std::string& database : databases) {
            Execute("GRANT CREATE, DROP, SELECT, INSERT, UPDATE, DELETE ON " + database +
                    ".twupdate_progress TO " + grantee + ";");
        }
    }

    static Outcome RunAsHalf(const std::vector<std::string>& command) {
        std::vector<std::string> arguments{
            "--socket",        CliServer::Get().Server().Socket().string(),
            "--user",          "half",
            "--no-site-files", "--no-services"};
        arguments.insert(arguments.end(), command.begin(), command.end());
        return RunProgram(arguments);
    }

    /// @param privileges  that are lacking in the database
    static Outcome ExpectFinding(const std::string& database, const std::string& privileges) {
        Outcome found = RunAsHalf({"check"});
        EXPECT_EQ(found.status, 3) << found.err;
        EXPECT_THAT(
            found.out,
            ContainsRegex("^" + database + R"((\.\S+)?: the account lacks the privilege )" +
                          privileges + "(, so \\w+ fails)?; GRANT " + privileges + " ON `" +
                          database + R"(`\.\* TO 'half'@'localhost')" + "\n1 finding\\.\n$"));
        return found;
    }

    /// @param privileges  that are lacking in the database
    static void ExpectFailure(const std::string& database, const std::string& privileges,
                              const std::string& failure) {
        const Outcome found = ExpectFinding(database, privileges);
        const Outcome failed = RunAsHalf({"upgrade"});
        EXPECT_EQ(failed.status, 1) << failed.out;
        EXPECT_THAT(failed.err, ContainsRegex(failure));
        ExpectFailedAtTheNamedPlace(found, failed);
    }

    static void ExpectSuccess() {
        const Outcome clean = RunAsHalf({"check"});
        EXPECT_EQ(clean.status, 0) << clean.out << clean.err;
        const Outcome done = RunAsHalf({"upgrade"});
        EXPECT_EQ(done.status, 0) << done.err;
    }
};

// --- when a privilege is needed
// --------------------------------------------------------------------

/// One privilege is taken away at a time, with the site at one of the last versions: `check` finds
/// it exactly where the upgrade fails.
class PrivilegesOfTheLastVersions : public CheckPrivileges {
  protected:
    static void Compare(const std::string& version, const std::string& privilege) {
        Execute("UPDATE tw_tarnwick.site SET version = " + version + " WHERE siteid = 8;");
        Revoke(privilege, "tw_8.*");
        const Outcome check = RunAsHalf({"check", "--site", "8"});
        const Outcome upgrade = RunAsHalf({"upgrade-site", "8"});
        Grant(privilege, "tw_8.*");
        EXPECT_EQ(check.status == 3, upgrade.status == 1)
            << privilege << " at " << version << "\n"
            << check.out << check.err << upgrade.out << upgrade.err;
        if (upgrade.status == 1) {
            EXPECT_THAT(check.out, ContainsRegex("^tw_8[.].*: the account lacks the privilege " +
                                                 privilege + ","));
            EXPECT_THAT(upgrade.err, HasSubstr(privilege + " command denied to user"));
            ExpectFailedAtTheNamedPlace(check, upgrade);
        }
    }

    static void CompareAll() {
        Grant("ALL PRIVILEGES", "tw_tarnwick.*");
        Grant("SELECT, INSERT, UPDATE, DELETE, CREATE, DROP, ALTER", "tw_8.*");
        GrantMarks({"tw_tarnwick", "tw_8"});
        for (const char* version : {"1.0255", "1.0256", "1.0257", "1.0258", "1.0259"}) {
            for (const char* privilege : {"INSERT", "UPDATE", "DELETE", "CREATE", "DROP"}) {
                Compare(version, privilege);
            }
        }
    }
};

TEST_F(PrivilegesOfTheLastVersions, AreThoseThatThePendingStepsOfAPlainSiteNeed) {
    MakeCentralDatabase();
    MakeUpgradedSite(8, "1.0255");
    CompareAll();
}

TEST_F(PrivilegesOfTheLastVersions, AreMoreWhereASiteHasForms) {
    MakeCentralDatabase();
    MakeSite(8, "1.0000", {sample::Group::kForms});
    Execute("INSERT INTO tw_8.form(formfeatureid) VALUES(50);");
    Execute("CREATE TABLE tw_8.form_50(replyid INT PRIMARY KEY);");
    ASSERT_EQ(Run({"upgrade-site", "8"}).status, 0);
    CompareAll();
}

TEST_F(CheckPrivileges, NoneAreNeededForLogsThatThereAreNot) {
    MakeInstallation();
    Execute("DROP TABLE tw_logs.tw_1;");
    Grant("ALL PRIVILEGES", "tw_tarnwick.*");
    Grant("ALL PRIVILEGES", "tw_8.*");
    Grant("SELECT", "tw_logs.*");
    ExpectSuccess();
}

// --- where a privilege comes from
// ------------------------------------------------------------------

/// The privileges on tables that a run has used, from its trace: all but SELECT.
std::map<std::string, std::set<std::string>> PrivilegesUsed(const std::filesystem::path& trace) {
    std::map<std::string, std::set<std::string>> used;
    for (const auto& [use, step] : UsesOf(trace)) {
        if (use.second != "SELECT") {
            used[use.first].insert(use.second);
        }
    }
    return used;
}

TEST_F(CheckPrivileges, PrivilegesOnTheTablesThatAreWrittenSuffice) {
    MakeFirstSampleSite();
    const auto trace = folder_ / "trace.jsonl";
    ASSERT_EQ(Run({"--trace", trace.string(), "upgrade"}).status, 0);
    auto used = PrivilegesUsed(trace);
    // Written where a robots.txt, an address or an upload asks for it, which the sample's do not.
    used["tw_1.plaintext"].insert("INSERT");
    used["tw_1.security"].insert("UPDATE");
    used["tw_1.form_7"].insert("UPDATE");
    ASSERT_GT(used.size(), 100U);
    const std::vector<std::string> databases{"tw_tarnwick", "tw_logs", "tw_1"};
    for (const std::string& database : databases) {
        Execute("DROP DATABASE " + database + ";");
    }
    MakeFirstSampleSite();
    Execute("CREATE TABLE tw_1.other(a INT);");  // somebody else's
    for (const std::string& database : databases) {
        Grant("SELECT", database + ".*");
    }
    const auto grantUsed = [&used](const std::string& table) {
        std::string list;
        for (const std::string& privilege : used[table]) {
            list += (list.empty() ? "" : ", ") + privilege;
        }
        Grant(list, table);
    };
    for (const auto& [table, privileges] : used) {
        grantUsed(table);
    }
    GrantMarks({"tw_tarnwick", "tw_1"});
    const std::vector<std::pair<std::string, std::string>> some{
        {"ALTER", "tw_tarnwick.site"},
        {"DELETE", "tw_tarnwick.component"},
        {"ALTER", "tw_logs.tw_1"},
        {"CREATE", "tw_1.plaintext"},
        {"ALTER", "tw_1.formloadingproperty"},  // which is renamed
        {"DROP", "tw_1.formloadingproperty"},
        {"CREATE", "tw_1.formmappingproperty"},  // its later name
        {"INSERT", "tw_1.formmappingproperty"},
        {"INSERT", "tw_1.tag"},
        {"UPDATE", "tw_1.feature"}};
    for (const auto& [privilege, table] : some) {
        const std::string database = table.substr(0, table.find('.'));
        Revoke(privilege, table);
        ExpectFailure(database, privilege,
                      privilege + "[A-Z, ]* command denied to user .* for table .*" +
                          table.substr(table.find('.') + 1));
        grantUsed(table);
    }
    ExpectSuccess();
}

TEST_F(CheckPrivileges, PrivilegesOnColumnsDoNot) {
    MakeInstallation();
    Grant("ALL PRIVILEGES", "`tw\\_tarnwick`.*");
    Grant("ALL PRIVILEGES", "`tw\\_logs`.*");
    Grant("SELECT, INSERT, DELETE, CREATE, ALTER", "tw_8.*");
    Grant("UPDATE(zoneid, elementid)", "tw_8.layoutzone");
    GrantMarks({"tw_tarnwick", "tw_8"});
    ExpectFailure("tw_8", "UPDATE", "UPDATE command denied to user");
}

TEST_F(CheckPrivileges, WildcardsFitAsTheServerReadsThem) {
    MakeInstallation();
    for (const char* pattern : {"`tw_%`.*", "`tw\\_%`.*", "`%`.*", "*.*"}) {
        Execute("CREATE OR REPLACE USER 'half'@'localhost';");
        Grant("ALL PRIVILEGES", pattern);
        EXPECT_EQ(RunAsHalf({"check"}).status, 0) << pattern;
    }
    Execute("CREATE OR REPLACE USER 'half'@'localhost';");
    Grant("ALL PRIVILEGES", "`tw\\_t%`.*");
    Grant("ALL PRIVILEGES", "`tw\\_l%`.*");
    Grant("SELECT", "`tw\\_\\%`.*");  // a percent sign
    Grant("SELECT", "`tw_8`.*");
    Grant("INSERT, UPDATE, DELETE, CREATE, ALTER", "`tw%8`.*");
    GrantMarks({"tw_tarnwick", "tw_8"});
    // Of the two that fit, the one without % counts.
    ExpectFailure("tw_8", "INSERT, UPDATE, CREATE, ALTER", "command denied to user .*tw_8");
    Revoke("SELECT", "`tw_8`.*");
    Grant("SELECT", "`tw%8`.*");
    ExpectSuccess();
}

TEST_F(CheckPrivileges, OfARoleAndThoseGrantedToItTheMostSpecialGrantCounts) {
    MakeInstallation();
    Execute("CREATE OR REPLACE ROLE upgrader;");
    Execute("CREATE OR REPLACE ROLE reader;");
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO upgrader;");
    Execute("GRANT SELECT ON `tw\\_8`.* TO reader;");
    Execute("GRANT reader TO upgrader;");
    Execute("GRANT upgrader TO 'half'@'localhost';");
    Execute("SET DEFAULT ROLE upgrader FOR 'half'@'localhost';");
    GrantMarks({"tw_tarnwick", "tw_8"}, "upgrader");
    ExpectFailure("tw_8", "INSERT, UPDATE, CREATE, ALTER", "command denied to user .*tw_8");
    Execute("GRANT SELECT ON `tw\\_8`.* TO 'half'@'localhost';");
    Execute("REVOKE reader FROM upgrader;");
    // The user's own grant does not hide the role's.
    ExpectSuccess();
    Execute("DROP ROLE upgrader, reader;");
}

TEST_F(CheckPrivileges, ThePrivilegesOfPublicCount) {
    MakeInstallation();
    Execute("GRANT ALL PRIVILEGES ON `tw\\_%`.* TO PUBLIC;");
    ExpectSuccess();
    Execute("REVOKE ALL PRIVILEGES ON `tw\\_%`.* FROM PUBLIC;");
}

// SHOW GRANTS does not list what is granted to them, and the server gives it to the user.
TEST_F(CheckPrivileges, ThePrivilegesOfTheAnonymousAccountAndOfOtherHostsCount) {
    MakeInstallation();
    Execute("CREATE OR REPLACE USER ''@'localhost', 'half'@'%';");
    Grant("ALL PRIVILEGES", "`tw\\_tarnwick`.*");
    Execute("GRANT ALL PRIVILEGES ON tw_8.* TO ''@'localhost';");
    Execute("GRANT ALL PRIVILEGES ON tw_logs.* TO 'half'@'%';");
    ExpectSuccess();
    Execute("DROP USER ''@'localhost', 'half'@'%';");
}

TEST_F(CheckPrivileges, ThePrivilegesOfTheAnonymousAccountHideThoseOfTheAccount) {
    MakeInstallation();
    Execute("CREATE OR REPLACE USER ''@'localhost';");
    Grant("ALL PRIVILEGES", "`tw\\_%`.*");
    Execute("GRANT SELECT, ALTER, CREATE, DELETE ON tw_8.* TO ''@'localhost';");
    ExpectFailure("tw_8", "INSERT, UPDATE", "(INSERT|UPDATE) command denied to user .*tw_8");
    Execute("DROP USER ''@'localhost';");
}

// --- what check itself reads -------------------------------------------------------------------

TEST_F(CheckPrivileges, ADatabaseThatMayNotBeReadIsOneFinding) {
    MakeInstallation();
    MakeSite(9);
    const std::string rest = "INSERT, UPDATE, DELETE, CREATE, ALTER";
    Grant("ALL PRIVILEGES", "`tw\\_tarnwick`.*");
    Grant("ALL PRIVILEGES", "`tw\\_9`.*");
    Grant("ALL PRIVILEGES", "`tw\\_8`.*");
    // Of the logs not even that they are there.
    ExpectFailure("tw_logs", "SELECT", "Access denied for user .* to database 'tw_logs'");
    Grant("ALL PRIVILEGES", "`tw\\_logs`.*");
    // Nor of the site.
    Revoke("ALL PRIVILEGES", "`tw\\_8`.*");
    ExpectFinding("tw_8", "SELECT");
    const Outcome refused = RunAsHalf({"upgrade"});
    EXPECT_EQ(refused.status, 1) << refused.out;
    EXPECT_THAT(
        refused.err,
        HasSubstr("1 site has no database that this account can see (tw_8); nothing was done"));
    // One table alone may not be read.
    Grant(rest, "`tw\\_8`.*");
    const auto tables = CliServer::Get().Root().Query(
        "SELECT table_name FROM information_schema.tables WHERE "
        "table_schema = 'tw_8' AND table_name <> 'email';");
    while (tables->Next()) {
        Grant("SELECT", "tw_8." + tables->Get(0).ToText());
    }
    GrantMarks({"tw_8"});
    ExpectFailure("tw_8", "SELECT", "SELECT command denied to user .*tw_8");
}

TEST_F(CheckPrivileges, ACentralDatabaseThatMayBeReadInPartIsOneFinding) {
    MakeInstallation();
    Grant("ALL PRIVILEGES", "`tw\\_8`.*");
    Grant("ALL PRIVILEGES", "`tw\\_logs`.*");
    Grant("INSERT, UPDATE, DELETE, CREATE, ALTER", "`tw\\_tarnwick`.*");
    Grant("SELECT", "tw_tarnwick.installation");
    for (const char* command : {"check", "upgrade"}) {
        const Outcome outcome = RunAsHalf({command});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, ContainsRegex("tw_tarnwick.site.*SELECT command denied to user"));
    }
    Grant("SELECT", "tw_tarnwick.site");
    GrantMarks({"tw_tarnwick"});
    ExpectFailure("tw_tarnwick", "SELECT", "SELECT command denied to user .*tw_tarnwick");
}

}  // namespace
}  // namespace twupdate::test
