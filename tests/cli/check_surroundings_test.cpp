#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "cli/installation_fixture.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;

/// What a step takes from the central database, the components and the files. Each test makes a
/// situation, sees the finding, sees the real upgrade fail for it, mends it, and sees both succeed.
class CheckSurroundings : public InstallationTest {
  protected:
    void SetUp() override {
        MakeCentralDatabase();
        const fs::path resources = folder_ / "update" / "resources";
        fs::create_directories(resources.parent_path());
        fs::copy(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources", resources,
                 fs::copy_options::recursive);
        fs::create_directories(SiteFolder());
    }

    fs::path SiteFolder() const { return folder_ / "wwwroot/sites/8"; }
    fs::path Template() const { return folder_ / "templates/site"; }

    static void ExecuteAll(const std::vector<std::string>& statements) {
        for (const std::string& statement : statements) {
            Execute(statement + ";");
        }
    }

    Outcome RunHere(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--install-folder", (folder_ / "update").string()});
        return Run(arguments);
    }

    void ExpectFailure(const std::string& finding, const std::string& failure,
                       const std::vector<std::string>& options = {}) const {
        auto check = options;
        check.emplace_back("check");
        const Outcome found = RunHere(check);
        EXPECT_EQ(found.status, 3) << found.out << found.err;
        EXPECT_THAT(found.out, HasSubstr(finding));
        EXPECT_THAT(found.out, EndsWith("\n1 finding.\n"));
        auto upgrade = options;
        upgrade.emplace_back("upgrade");
        const Outcome failed = RunHere(upgrade);
        EXPECT_EQ(failed.status, 1) << failed.out;
        EXPECT_THAT(failed.err, ContainsRegex(failure));
    }

    void ExpectSuccess() const {
        const Outcome clean = RunHere({"check"});
        EXPECT_EQ(clean.status, 0) << clean.out << clean.err;
        const Outcome done = RunHere({"upgrade"});
        EXPECT_EQ(done.status, 0) << done.err;
    }
};

TEST_F(CheckSurroundings, FindsEveryAmountThatTheCentralDatabaseCannotConvert) {
    // In the order in which the step converts them.
    const std::vector<std::pair<std::string, std::string>> amounts{
        {"account", "creditlimit"},
        {"account", "suggestedpayment"},
        {"account", "currentbalance"},
        {"account", "futurebalance"},
        {"account", "pendingbalance"},
        {"accountinvoice", "amount"},
        {"accountinvoice", "tax"},
        {"accountpayment", "amount"},
        {"chargingplan", "startupcharge"},
        {"chargingplan", "creditlimit"},
        {"chargingplan", "monthlyfixedcharge"},
        {"chargingplanusageband", "unitprice"}};
    for (const char* table :
         {"account", "accountinvoice", "accountpayment", "chargingplan", "chargingplanusageband"}) {
        Execute(std::string("INSERT INTO tw_tarnwick.") + table + "() VALUES();");
    }
    for (const auto& [value, problem, error] :
         {std::tuple("NULL", "is NULL where an amount must be", "1265"),
          std::tuple("1e15", "is no amount of at most 15 digits", "1264")}) {
        for (const auto& [table, column] : amounts) {
            // The step has made the columns NOT NULL.
            Execute("ALTER TABLE tw_tarnwick." + table + " MODIFY " + column + " DOUBLE;");
            Execute("UPDATE tw_tarnwick." + table + " SET " + column + " = " + value + ";");
        }
        const Outcome found = RunHere({"check"});
        EXPECT_THAT(found.out, EndsWith(fmt::format("\n{} findings.\n", amounts.size())));
        for (const auto& [table, column] : amounts) {
            SCOPED_TRACE(table + "." + column);
            EXPECT_THAT(found.out,
                        ContainsRegex("tw_tarnwick." + table + ": " + column + " " + problem +
                                      " in 1 row .*, so ServerStep_1_0047 "
                                      "fails; "));
            const Outcome failed = RunHere({"upgrade"});
            EXPECT_EQ(failed.status, 1) << failed.out;
            EXPECT_THAT(failed.err,
                        ContainsRegex("step ServerStep_1_0047: ALTER TABLE tw_tarnwick." + table +
                                      " .*server error " + error + " .*'" + column + "'"));
            Execute("UPDATE tw_tarnwick." + table + " SET " + column + " = 0;");
        }
    }
    Execute("UPDATE tw_tarnwick.chargingplanusageband SET unitprice = 1e14;");
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsAPercentageThatIsNull) {
    ExecuteAll({"ALTER TABLE tw_tarnwick.account MODIFY associatepercentage FLOAT",
                "INSERT INTO tw_tarnwick.account(accountid, associatepercentage) VALUES(5, NULL)"});
    ExpectFailure(
        "tw_tarnwick.account: associatepercentage is NULL where a number must be in 1 row "
        "(accountid 5), so ServerStep_1_0035 fails; give it a number",
        "step ServerStep_1_0035: .*server error 1048");
    ExecuteAll({"UPDATE tw_tarnwick.account SET associatepercentage = 0",
                "ALTER TABLE tw_tarnwick.account DROP COLUMN double_temp"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsAScheduleThatIsTooLong) {
    ExecuteAll(
        {"CREATE TABLE tw_tarnwick.schedule(siteid INT NOT NULL, featureid INT NOT NULL, "
         "subfeatureid INT DEFAULT 0 NOT NULL, tasktype INT NOT NULL, schedule "
         "VARCHAR(80), lastruntime DATETIME, PRIMARY KEY(siteid, featureid, subfeatureid, "
         "tasktype))",
         "INSERT INTO tw_tarnwick.schedule(siteid, featureid, tasktype, schedule) VALUES(1, "
         "1, 1, REPEAT('x', 51))"});
    ExpectFailure(
        "tw_tarnwick.schedule: schedule is longer than the 50 characters of schedule.schedule in "
        "1 row (siteid 1), so ServerStep_1_0056 fails; shorten it",
        "step ServerStep_1_0056: .*server error (1406|1265)");
    ExecuteAll({"UPDATE tw_tarnwick.schedule SET schedule = NULL"});
    ExpectFailure("tw_tarnwick.schedule: schedule is NULL where the step needs a value in 1 row",
                  "step ServerStep_1_0056: .*server error 1265");
    ExecuteAll({"UPDATE tw_tarnwick.schedule SET schedule = 'daily'"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsADefaultDocumentOfNoSite) {
    ExecuteAll({"ALTER TABLE tw_tarnwick.defaultdocument MODIFY siteid INT",
                // A page id of more than 32 bits is no page id, and its row is passed over.
                "INSERT INTO tw_tarnwick.defaultdocument(siteid, document) VALUES(NULL, '12/a'), "
                "(NULL, 'a'), (NULL, '20091231235959/a')"});
    ExpectFailure(
        "tw_tarnwick.defaultdocument: siteid is NULL where a number must be in 1 row, so "
        "ServerDataStep_1_0026 fails; ",
        "step ServerDataStep_1_0026: column siteid: NULL where a number must be");
    ExecuteAll({"UPDATE tw_tarnwick.defaultdocument SET siteid = 1"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsALogWithoutTheIndexedColumns) {
    ExecuteAll(
        {"CREATE TABLE tw_logs.tw_9(logtime DATETIME)", "CREATE TABLE tw_logs.other(a INT)"});
    ExpectFailure("tw_logs.tw_9: the column target is missing, so ServerDataStep_1_0030 fails; ",
                  "step ServerDataStep_1_0030: .*tw_9.*server error 1072");
    // The run has made an index of it, which stays when the column gets another name.
    ExecuteAll({"ALTER TABLE tw_logs.tw_9 CHANGE logtime target VARCHAR(6)"});
    ExpectFailure(
        "tw_logs.tw_9: target_idx takes the first 7 characters of target, which is varchar(6), so "
        "ServerDataStep_1_0030 fails; make target as wide as the layout has it",
        "step ServerDataStep_1_0030: .*tw_9.*server error 1089");
    ExecuteAll({"DROP TABLE tw_logs.tw_9", "CREATE TABLE tw_logs.tw_9(target VARCHAR(7))"});
    ExpectFailure("tw_logs.tw_9: the column LogTime is missing, so ServerDataStep_1_0030 fails; ",
                  "step ServerDataStep_1_0030: .*tw_9.*server error 1072");
    ExecuteAll({"DROP TABLE tw_logs.tw_9"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsAHostNameThatIsTooLong) {
    MakeSite(8);
    const std::string host = "web-server-one-1";  // 16 characters
    for (const std::string domain : {"tw_tarnwick.domain", "tw_8.domain"}) {
        const std::string modify = "ALTER TABLE " + domain + " MODIFY domainname VARCHAR";
        ExecuteAll({modify + "(15) DEFAULT '' NOT NULL"});
        ExpectFailure(domain +
                          ": the local host name has 16 characters, and domainname takes 15, so "
                          "ServerDataStep_1_0252 fails; ",
                      "step ServerDataStep_1_0252: .*" + domain + ".*server error 1406",
                      {"--local-host-name", host});
        ExecuteAll({modify + "(16) DEFAULT '' NOT NULL"});
    }
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsADomainNameThatIsTooShortForItsIndex) {
    for (const std::string type : {"VARCHAR(14)", "INT"}) {
        ExecuteAll({"ALTER TABLE tw_tarnwick.domain MODIFY domainname " + type});
        ExpectFailure(
            "tw_tarnwick.domain: domainname_idx takes the first 15 characters of "
            "domainname, which is " +
                type +
                ", so ServerStep_1_0039 fails; make "
                "domainname as wide as the layout has it",
            "step ServerStep_1_0039: .*domainname_idx.*server error 1089");
    }
    ExecuteAll({"ALTER TABLE tw_tarnwick.domain MODIFY domainname TEXT"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsARootSiteWithoutDomains) {
    MakeSite(8);
    ExecuteAll({"RENAME TABLE tw_8.domain TO tw_8.domains"});
    ExpectFailure("tw_8.domain: the table is missing, so ServerDataStep_1_0252 fails; ",
                  "step ServerDataStep_1_0252: .*tw_8.domain.*server error 1146");
    ExecuteAll({"RENAME TABLE tw_8.domains TO tw_8.domain"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsWhatTheRootSiteLacksForItsNewDomain) {
    MakeSite(8);
    ExecuteAll({"INSERT INTO tw_8.group_table(groupid, displayname) VALUES(2, 'local Visitor')"});
    const std::vector<std::pair<std::string, std::vector<std::string>>> needs{
        {"domain", {"domainid", "domainname"}},
        {"group_table", {"groupid", "displayname"}},
        {"domaingroup", {"groupid", "domainid", "domaingrouptype"}}};
    for (const auto& [table, columns] : needs) {
        const std::string whole = "tw_8." + table;
        ExecuteAll({"RENAME TABLE " + whole + " TO tw_8.kept"});
        ExpectFailure(whole +
                          ": the table is missing, so ServerDataStep_1_0252 fails; bring it "
                          "back from a backup",
                      "step ServerDataStep_1_0252: .*server error 1146");
        for (const std::string& column : columns) {
            ExecuteAll({"CREATE TABLE " + whole + " AS SELECT * FROM tw_8.kept",
                        "ALTER TABLE " + whole + " DROP COLUMN " + column,
                        "DELETE FROM tw_8.domain"});
            ExpectFailure(whole + ": the column " + column +
                              " is missing, so "
                              "ServerDataStep_1_0252 fails; ",
                          "step ServerDataStep_1_0252: .*server error 1054");
            ExecuteAll({"DROP TABLE " + whole});
        }
        ExecuteAll({"RENAME TABLE tw_8.kept TO " + whole, "DELETE FROM tw_8.domain"});
    }
    const std::string next = Cell(
        "SELECT auto_increment FROM information_schema.tables WHERE table_schema = 'tw_8' AND "
        "table_name = 'domain';");
    ExecuteAll({"INSERT INTO tw_8.domaingroup(groupid, domainid) VALUES(2, " + next + ")"});
    ExpectFailure(
        "tw_8.domaingroup: a row is left over of the id that the next domain gets, so "
        "ServerDataStep_1_0252 fails; delete the rows of domains that there are not",
        "step ServerDataStep_1_0252: .*server error 1062");
    ExecuteAll({"DELETE FROM tw_8.domain", "DELETE FROM tw_8.domaingroup"});
    ExpectSuccess();
    EXPECT_EQ(Cell("SELECT groupid FROM tw_8.domaingroup;"), "2");
}

TEST_F(CheckSurroundings, FindsNoFaultInARootSiteThatHasTheDomain) {
    MakeSite(8);
    ExecuteAll({"INSERT INTO tw_8.domain(domainname) VALUES('LOCALHOST')",
                "DROP TABLE tw_8.group_table", "DROP TABLE tw_8.domaingroup"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsNoFaultInARootSiteThatHasRenamedItsGroup) {
    MakeSite(8);
    ExecuteAll({"DROP TABLE tw_8.domaingroup"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, NeedsTheInstallFolderAsAnUpgradeDoes) {
    MakeSite(8);
    const std::string empty = (folder_ / "empty").string();
    fs::create_directories(empty);
    const auto run = [&](std::vector<std::string> command) {
        command.insert(command.begin(), {"--install-folder", empty});
        return Run(command);
    };
    for (const char* command : {"check", "upgrade"}) {
        const Outcome outcome = run({command});
        EXPECT_EQ(outcome.status, 2) << command;
        EXPECT_THAT(outcome.err, HasSubstr(empty + " has no folder resources with the reference "
                                                   "data; --install-folder names"));
    }
    // One site takes its components from the table, and no files where there are none.
    fs::remove_all(folder_ / "wwwroot");
    EXPECT_EQ(run({"check", "--site", "8"}).status, 0);
    EXPECT_EQ(run({"upgrade-site", "8"}).status, 0);
}

TEST_F(CheckSurroundings, NeedsTheInstallFolderToBeNamedWhereTheProgramStandsAlone) {
    MakeSite(8);
    const fs::path alone = folder_ / "alone/twupdate";
    fs::create_directories(alone.parent_path());
    fs::copy_file(BuiltProgram(), alone);
    const auto run = [&](const std::vector<std::string>& command) {
        auto words = Connect();
        words.insert(words.end(), command.begin(), command.end());
        return RunProgram(words, {}, RunAs::kSelf, alone);
    };
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"check"}, {"check", "--site", "8"}, {"upgrade"}, {"upgrade-site", "8"}}) {
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.status, 2) << command.front();
        EXPECT_EQ(outcome.err,
                  "twupdate: no folder resources with the reference data beside the program; name "
                  "the component's folder with --install-folder\n");
    }
    EXPECT_EQ(SiteVersion(8), "1");
    fs::copy(folder_ / "update/resources", alone.parent_path() / "resources",
             fs::copy_options::recursive);
    EXPECT_EQ(run({"check"}).status, 0);
    EXPECT_EQ(run({"--no-services", "upgrade"}).status, 0);
}

TEST_F(CheckSurroundings, FindsAComponentThatNobodyKnows) {
    MakeSite(8);
    const fs::path data = folder_ / "update/resources/componentData.txt";
    const std::string whole = ContentOf(data);
    const auto begin = whole.find("\n2400\t") + 1;
    std::string without = whole;
    without.erase(begin, whole.find('\n', begin) + 1 - begin);
    WriteFile(data, without);
    // The table has it, but the import replaces the table by the file.
    ExpectFailure(
        "tw_8: neither tw_tarnwick.component nor the data file has component 2400, so "
        "SiteContentStep_1_0007 fails; bring resources/componentData.txt back from the package",
        "step SiteContentStep_1_0007: .*has component 2400");
    WriteFile(data, whole);
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsACentralDatabaseThatIsTooOldForTheSite) {
    MakeSite(8, "1.0000", sample::AllGroups());
    ExecuteAll({"INSERT INTO tw_8.commission(orderid) VALUES(5)"});
    const Outcome found = RunHere({"check", "--site", "8"});
    EXPECT_EQ(found.status, 3) << found.err;
    EXPECT_THAT(found.out,
                HasSubstr("tw_tarnwick.accountpayment: the column cartorderid is missing, so "
                          "SiteContentStep_1_0223 fails; upgrade the central database first\n1 "
                          "finding."));
    const Outcome failed = RunHere({"upgrade-site", "8"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, ContainsRegex("SiteContentStep_1_0223.*no column cartorderid"));
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsWhatThePaymentsOfCommissionsNeed) {
    MakeSite(8, "1.0000", {sample::Group::kShop, sample::Group::kAffiliates});
    ExecuteAll({"INSERT INTO tw_8.commission(orderid) VALUES(5)"});
    const std::vector<std::pair<std::string, std::vector<std::string>>> needs{
        {"account", {"accountid", "siteid", "userid"}},
        {"accountpayment", {"accountpaymentid", "accountid", "amount", "paymentdate"}}};
    for (const auto& [table, columns] : needs) {
        const std::string whole = "tw_tarnwick." + table;
        for (const std::string& column : columns) {
            ExecuteAll({"CREATE TABLE tw_tarnwick.kept LIKE " + whole,
                        "ALTER TABLE " + whole + " DROP COLUMN " + column});
            ExpectFailure(whole + ": the column " + column +
                              " is missing, so SiteContentStep_1_0223 fails; bring it back from a "
                              "backup",
                          "step SiteContentStep_1_0223: .*server error 1054");
            ExecuteAll({"DROP TABLE " + whole, "RENAME TABLE tw_tarnwick.kept TO " + whole});
        }
    }
    // An affiliate's commission and its payment.
    ExecuteAll(
        {"ALTER TABLE tw_tarnwick.account MODIFY userid BIGINT",
         "INSERT INTO tw_tarnwick.account(accountid, siteid, userid) VALUES(4, 8, 6), (5, 8, "
         "4294967296)",
         "INSERT INTO tw_tarnwick.accountpayment(accountid, amount) VALUES(4, 20), (5, 30)",
         "ALTER TABLE tw_8.commission MODIFY orderid BIGINT DEFAULT 0 NOT NULL, MODIFY userid "
         "BIGINT DEFAULT 0 NOT NULL"});
    const std::vector<std::pair<std::string, std::string>> commissions{
        {"orderid", "4294967296, 6, 20"}, {"userid", "7, 4294967296, 30"}};
    for (const auto& [column, values] : commissions) {
        ExecuteAll(
            {"INSERT INTO tw_8.commission(commissionid, orderid, userid, commission) "
             "VALUES(9, " +
             values + ")"});
        ExpectFailure(
            "tw_8.commission: " + column +
                " does not fit a 32-bit integer in 1 row (commissionid 9), so "
                "SiteContentStep_1_0223 fails; mend it",
            "step SiteContentStep_1_0223: column " + column + ": 4294967296 does not fit");
        ExecuteAll({"DELETE FROM tw_8.commission WHERE commissionid = 9"});
    }
    ExpectSuccess();
    // A table that the central database does not need any more.
    ExecuteAll({"UPDATE tw_tarnwick.site SET version = 1.0222",
                "RENAME TABLE tw_tarnwick.account TO tw_tarnwick.kept"});
    EXPECT_EQ(
        RunHere({"check", "--site", "8"}).out,
        "tw_tarnwick.account: the table is missing, so SiteContentStep_1_0223 fails; bring it "
        "back from a backup\n1 finding.\n");
    EXPECT_THAT(RunHere({"upgrade-site", "8"}).err,
                ContainsRegex("step SiteContentStep_1_0223: .*server error 1146 .*"
                              "tw_tarnwick.account"));
}

TEST_F(CheckSurroundings, FindsASiteWithoutATableOfComponents) {
    MakeSite(8);
    ExecuteAll({"RENAME TABLE tw_tarnwick.component TO tw_tarnwick.components"});
    const Outcome found = RunHere({"check", "--site", "8"});
    EXPECT_EQ(found.status, 3) << found.err;
    EXPECT_THAT(found.out, HasSubstr("tw_tarnwick.component: the table is missing, or a column of "
                                     "it, so SiteContentStep_1_0002 fails; "));
    EXPECT_THAT(found.out, EndsWith("\n1 finding.\n"));
    const Outcome failed = RunHere({"upgrade-site", "8"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, ContainsRegex("step SiteContentStep_1_0002: .*server error 1146"));
    ExecuteAll({"RENAME TABLE tw_tarnwick.components TO tw_tarnwick.component"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsAComponentIdThatIsNone) {
    MakeSite(8);
    ExecuteAll({"ALTER TABLE tw_tarnwick.component DROP PRIMARY KEY, MODIFY componentid BIGINT",
                "INSERT INTO tw_tarnwick.component(componentid) VALUES(4294967396)"});
    const std::vector<std::string> check{"check", "--site", "8"};
    const std::vector<std::string> upgrade{"upgrade-site", "8"};
    EXPECT_EQ(RunHere(check).out,
              "tw_tarnwick.component: componentid 4294967396 does not fit a 32-bit integer, so "
              "SiteContentStep_1_0002 fails; mend or remove the row\n1 finding.\n");
    EXPECT_THAT(RunHere(upgrade).err,
                ContainsRegex("step SiteContentStep_1_0002: .*32-bit integer"));
    ExecuteAll(
        {"UPDATE tw_tarnwick.component SET componentid = NULL WHERE componentid = "
         "4294967396"});
    EXPECT_EQ(RunHere(check).out,
              "tw_tarnwick.component: componentid NULL does not fit a 32-bit integer, so "
              "SiteContentStep_1_0002 fails; mend or remove the row\n1 finding.\n");
    EXPECT_THAT(RunHere(upgrade).err,
                ContainsRegex("step SiteContentStep_1_0002: .*NULL where a number must be"));
    ExecuteAll({"DELETE FROM tw_tarnwick.component WHERE componentid IS NULL"});
    const fs::path data = folder_ / "update/resources/componentData.txt";
    const std::string whole = ContentOf(data);
    WriteFile(data, "99999999999\tname\tfolder\n" + whole);
    EXPECT_EQ(RunHere(check).out,
              data.string() +
                  " line 1 has a component id that does not fit a 32-bit integer, so "
                  "SiteContentStep_1_0002 fails; mend the line, or bring the file back "
                  "from the package\n1 finding.\n");
    EXPECT_THAT(RunHere(upgrade).err,
                ContainsRegex("step SiteContentStep_1_0002: .*32-bit integer"));
    // Written in another way it is the same number.
    WriteFile(data, "\nno component\n +01e2 \tname\tfolder\n" + whole);
    EXPECT_EQ(RunHere(check).status, 0);
    EXPECT_EQ(RunHere(upgrade).status, 0);
}

TEST_F(CheckSurroundings, FindsAComponentWhoseFolderLeadsOut) {
    MakeSite(8);
    ExecuteAll({"INSERT INTO tw_8.feature(featureid, componentid) VALUES(5, 900)"});
    const std::string name =
        Cell("SELECT foldername FROM tw_tarnwick.component WHERE componentid = 900;");
    const fs::path data = folder_ / "update/resources/componentData.txt";
    const std::string whole = ContentOf(data);
    std::string other = whole;
    const auto line = other.find("\n900\t");
    other.replace(other.find("\t" + name + "\t", line) + 1, name.size(), "../out");
    WriteFile(data, other);
    fs::create_directories(folder_ / "out/template");
    fs::create_directories(SiteFolder() / "5");
    ExpectFailure("out leads out of ", "step SiteContentStep_1_0022: ");
    WriteFile(data, whole);
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsARecordWithAFileThatIsBeyond32Bits) {
    MakeSite(8, "1.0000", {sample::Group::kForms});
    ExecuteAll({"INSERT INTO tw_8.formfield(formfieldid, featureid, type) VALUES(60, 50, 'file')",
                "CREATE TABLE tw_8.form_50(replyid BIGINT PRIMARY KEY, field_60 VARCHAR(255))",
                // Nobody reads the number of a record without a file.
                "INSERT INTO tw_8.form_50 VALUES(2147483648, '../60/a.txt'), (2147483649, "
                "'../60/none.txt')"});
    WriteFile(SiteFolder() / "60/a.txt", "a");
    const std::string finding =
        "tw_8.form_50: replyid does not fit a 32-bit integer in a record with a file (replyid "
        "2147483648), so SiteSchemaStep_1_0251 fails; mend it";
    const std::string failure =
        "step SiteSchemaStep_1_0251: .*column replyid: 2147483648 does not fit";
    ExpectFailure(finding, failure);
    // A form may keep its files elsewhere.
    ExecuteAll({"INSERT INTO tw_8.form(formfeatureid, securefiles) VALUES(50, -1)"});
    fs::remove(SiteFolder() / "60/a.txt");
    WriteFile(folder_ / "sites_secure/8/60/a.txt", "a");
    ExpectFailure(finding, failure);
    ExecuteAll({"UPDATE tw_8.form_50 SET replyid = 1 WHERE replyid = 2147483648"});
    ExpectSuccess();
    EXPECT_EQ(Cell("SELECT field_60_filesize FROM tw_8.form_50 WHERE replyid = 1;"), "1");
}

TEST_F(CheckSurroundings, FindsRobotsThatAreTooLarge) {
    MakeSite(8);
    ExecuteAll({"UPDATE tw_tarnwick.site SET sitefeatureid = 3 WHERE siteid = 8"});
    const GlobalSetting packet("max_allowed_packet", "65536");
    const std::string statement =
        "INSERT INTO tw_8.plaintext(featureid, subfeatureid, text) VALUES(3, 0, '');";
    const std::size_t largest = 65536 - 2 - statement.size();  // a byte before it says what it is
    std::string lines;
    for (int i = 0; i < 20000; ++i) {
        lines += "\r\n";
    }
    const std::string content(70000, 'x');
    // What would fit as it is, but not with its quotes and backslashes doubled and the ends of its
    // lines written as two escapes; and what is one byte too long.
    for (const std::string& robots : {content, std::string(40000, '\''), std::string(40000, '\\'),
                                      lines, std::string(largest + 1, 'x')}) {
        WriteFile(SiteFolder() / "robots.txt", robots);
        ExpectFailure("robots.txt has " + std::to_string(robots.size()) +
                          " bytes, and the server takes statements of 65536, so "
                          "SiteContentStep_1_0030 fails; ",
                      "step SiteContentStep_1_0030: INSERT INTO tw_8.plaintext");
    }
    WriteFile(SiteFolder() / "robots.txt", std::string(largest, 'x'));
    ExpectSuccess();
    EXPECT_EQ(Cell("SELECT LENGTH(text) FROM tw_8.plaintext;"), std::to_string(largest));
}

TEST_F(CheckSurroundings, FindsWhatRobotsNeedOfTheTables) {
    MakeSite(8);
    WriteFile(SiteFolder() / "robots.txt", "User-agent: *\n");
    ExecuteAll({"ALTER TABLE tw_tarnwick.site CHANGE sitefeatureid home INT"});
    ExpectFailure(
        "tw_tarnwick.site: the column sitefeatureid is missing, so SiteContentStep_1_0030 fails; "
        "bring it back from a backup",
        "step SiteContentStep_1_0030: .*server error 1054");
    ExecuteAll({"ALTER TABLE tw_tarnwick.site CHANGE home sitefeatureid INT",
                "UPDATE tw_tarnwick.site SET sitefeatureid = NULL"});
    ExpectFailure(
        "tw_tarnwick.site: sitefeatureid is NULL where a number must be in 1 row (siteid 8), so "
        "SiteContentStep_1_0030 fails; give it a number",
        "step SiteContentStep_1_0030: column homefeatureid: NULL where a number must be");
    ExecuteAll({"ALTER TABLE tw_tarnwick.site MODIFY sitefeatureid BIGINT",
                "UPDATE tw_tarnwick.site SET sitefeatureid = 2147483648"});
    ExpectFailure(
        "tw_tarnwick.site: the home page does not fit a 32-bit integer in 1 row (siteid 8)"
        ", so SiteContentStep_1_0030 fails; mend it",
        "step SiteContentStep_1_0030: column homefeatureid: 2147483648 does not fit");
    ExecuteAll({"UPDATE tw_tarnwick.site SET sitefeatureid = 3"});
    for (const char* column : {"featureid", "subfeatureid", "text"}) {
        ExecuteAll({"DROP TABLE IF EXISTS tw_8.plaintext",
                    "CREATE TABLE tw_8.plaintext(featureid INT NOT NULL, subfeatureid INT NOT "
                    "NULL, text LONGTEXT)",
                    std::string("ALTER TABLE tw_8.plaintext DROP COLUMN ") + column});
        ExpectFailure(std::string("tw_8.plaintext: the column ") + column +
                          " is missing, so SiteContentStep_1_0030 fails; ",
                      "step SiteContentStep_1_0030: .*server error 1054");
    }
    ExecuteAll(
        {"ALTER TABLE tw_8.plaintext ADD COLUMN text LONGTEXT, ADD COLUMN added INT NOT NULL"});
    ExpectFailure(
        "tw_8.plaintext: added has no default, and the step adds rows without it, so "
        "SiteContentStep_1_0030 fails; give it a default",
        "step SiteContentStep_1_0030: INSERT INTO tw_8.plaintext\\(.*server error 1364 .*'added'");
    // Where the home page has its text already nothing is written.
    ExecuteAll({"ALTER TABLE tw_8.plaintext DROP COLUMN added",
                "INSERT INTO tw_8.plaintext VALUES(3, 0, '')"});
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsNoFaultInRobotsThatNobodyWants) {
    MakeSite(8);
    WriteFile(SiteFolder() / "robots.txt", "\xE9");
    ExpectSuccess();  // the site has no home page
}

TEST_F(CheckSurroundings, KnowsTheHomePageThatTheCentralDatabaseGetsOnTheWay) {
    MakeSite(8);
    ExecuteAll(
        {"INSERT INTO tw_tarnwick.defaultdocument(siteid, document) VALUES(8, '12/a'), "
         "(8, '99999999999/a')"});
    WriteFile(SiteFolder() / "robots.txt", "\xE9");
    ExpectFailure("robots.txt is not text in utf8mb4, so SiteContentStep_1_0030 fails; ",
                  "step SiteContentStep_1_0030: .*server error 1366");
    WriteFile(SiteFolder() / "robots.txt", "a");
    ExpectSuccess();
    EXPECT_EQ(Cell("SELECT featureid FROM tw_8.plaintext;"), "12");
}

TEST_F(CheckSurroundings, FindsRobotsThatTheColumnDoesNotHold) {
    MakeSite(8);
    ExecuteAll({"UPDATE tw_tarnwick.site SET sitefeatureid = 3 WHERE siteid = 8",
                "CREATE TABLE tw_8.plaintext(featureid INT NOT NULL, subfeatureid INT NOT NULL, "
                "text VARCHAR(9))"});
    WriteFile(SiteFolder() / "robots.txt", "\xC3\xA9 23456789");
    ExpectFailure(
        "robots.txt is longer than the 9 characters of plaintext.text, so SiteContentStep_1_0030 "
        "fails; shorten it",
        "step SiteContentStep_1_0030: .*server error 1406");
    ExecuteAll({"ALTER TABLE tw_8.plaintext MODIFY text TINYTEXT CHARACTER SET utf8mb4"});
    std::string letters;
    for (int i = 0; i < 128; ++i) {
        letters += "\xC3\xA9";
    }
    WriteFile(SiteFolder() / "robots.txt", letters);
    ExpectFailure("robots.txt is longer than the 255 characters of plaintext.text",
                  "step SiteContentStep_1_0030: .*server error 1366");  // cuts a character
    WriteFile(SiteFolder() / "robots.txt", letters.substr(2));
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsRobotsThatAreNoText) {
    MakeSite(8);
    ExecuteAll({"UPDATE tw_tarnwick.site SET sitefeatureid = 3 WHERE siteid = 8"});
    WriteFile(SiteFolder() / "robots.txt", "User-agent: caf\xE9\n");
    ExpectFailure("robots.txt is not text in utf8mb4, so SiteContentStep_1_0030 fails; ",
                  "step SiteContentStep_1_0030: .*server error 1366");
    // A large one is looked at in pieces, between which no character is torn apart.
    const GlobalSetting packet("max_allowed_packet", "8192");
    std::string letters;
    for (int i = 0; i < 3000; ++i) {
        letters += i % 2 == 0 ? "\xC3\xA9" : "\xE2\x82\xAC";
    }
    WriteFile(SiteFolder() / "robots.txt", letters + "\xE9");
    ExpectFailure("robots.txt is not text in utf8mb4", "step SiteContentStep_1_0030: ");
    WriteFile(SiteFolder() / "robots.txt", letters);
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsRobotsOfAnotherCharacterSet) {
    MakeSite(8);
    ExecuteAll({"UPDATE tw_tarnwick.site SET sitefeatureid = 3 WHERE siteid = 8",
                "ALTER DATABASE tw_8 CHARACTER SET latin1"});
    WriteFile(SiteFolder() / "robots.txt", "# \xE2\x86\x92\n");
    ExpectFailure("robots.txt is not text in utf8mb4 and latin1, so SiteContentStep_1_0030 fails; ",
                  "step SiteContentStep_1_0030: .*server error 1366");
    WriteFile(SiteFolder() / "robots.txt", "# caf\xC3\xA9\n");
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsAFolderThatCannotBeMade) {
    MakeSite(8);
    WriteFile(Template() / "gs/a.txt", "a");
    WriteFile(Template() / "EmailTest/a.txt", "a");
    fs::remove(SiteFolder());
    // The site's own folder is made by a later step.
    ExpectFailure(
        "wwwroot/sites/8/gs is a folder that cannot be made, so SiteSchemaStep_1_0079 fails; make ",
        "step SiteSchemaStep_1_0079: cannot create the folder .*gs");
    fs::create_directories(SiteFolder());
    WriteFile(SiteFolder() / "EmailTest", "no folder");
    ExpectFailure(
        "wwwroot/sites/8/EmailTest is a file where a folder must be, so SiteContentStep_1_0063 "
        "fails; ",
        "step SiteContentStep_1_0063: cannot create the folder .*EmailTest");
    fs::remove(SiteFolder() / "EmailTest");
    fs::create_symlink("nothing", SiteFolder() / "EmailTest");
    ExpectFailure(
        "wwwroot/sites/8/EmailTest is a file where a folder must be, so SiteContentStep_1_0063 "
        "fails; move the file out of the way",
        "step SiteContentStep_1_0063: cannot create the folder .*EmailTest");
    fs::remove(SiteFolder() / "EmailTest");
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsTemplatesThatCannotBeCopied) {
    MakeSite(8);
    WriteFile(Template() / "gs/a.txt", "a");
    fs::create_symlink("nothing", Template() / "gs/c.txt");
    ExpectFailure(
        "templates/site/gs/c.txt is a link that leads nowhere, so "
        "SiteSchemaStep_1_0079 fails; ",
        "step SiteSchemaStep_1_0079: cannot copy .*c.txt");
    fs::remove(Template() / "gs/c.txt");
    fs::create_directories(SiteFolder() / "gs/d.txt");
    WriteFile(Template() / "gs/d.txt", "d");
    ExpectFailure(
        "sites/8/gs/d.txt is a folder where a file must be, so SiteSchemaStep_1_0079 "
        "fails; ",
        "step SiteSchemaStep_1_0079: cannot copy .*d.txt");
    fs::remove(SiteFolder() / "gs/d.txt");
    ASSERT_EQ(mkfifo((SiteFolder() / "gs/d.txt").c_str(), 0600), 0);
    ExpectFailure(
        "sites/8/gs/d.txt is no file that can be replaced, so SiteSchemaStep_1_0079 fails; move "
        "it out of the way",
        "step SiteSchemaStep_1_0079: cannot copy .*d.txt");
    fs::remove(SiteFolder() / "gs/d.txt");
    fs::create_hard_link(Template() / "gs/d.txt", SiteFolder() / "gs/d.txt");
    ExpectFailure(
        "sites/8/gs/d.txt is the template itself, so SiteSchemaStep_1_0079 fails; put a copy in "
        "its place",
        "step SiteSchemaStep_1_0079: cannot copy .*d.txt");
    fs::remove(SiteFolder() / "gs/d.txt");
    // A link to a file is copied, wherever the file is, and a backslash is a character of a name.
    WriteFile(folder_ / "elsewhere.txt", "x");
    fs::create_symlink(folder_ / "elsewhere.txt", Template() / "gs/b.txt");
    WriteFile(Template() / "gs/e\\f.txt", "e");
    ExpectSuccess();
    EXPECT_EQ(ContentOf(SiteFolder() / "gs/b.txt"), "x");
    EXPECT_EQ(ContentOf(SiteFolder() / "gs/e\\f.txt"), "e");
}

TEST_F(CheckSurroundings, FindsComponentTemplatesThatCannotBeCopied) {
    MakeSite(8);
    ExecuteAll({"INSERT INTO tw_8.feature(featureid, componentid) VALUES(5, 900)"});
    const std::string name =
        Cell("SELECT foldername FROM tw_tarnwick.component WHERE componentid = 900;");
    const fs::path component = folder_ / "components" / name / "template";
    WriteFile(component / "a.txt", "a");
    fs::create_symlink("nothing", component / "b.txt");
    fs::create_directories(SiteFolder() / "5");
    ExpectFailure(
        "template/b.txt is a link that leads nowhere, so "
        "SiteContentStep_1_0022 fails; ",
        "step SiteContentStep_1_0022: cannot copy .*b.txt");
    fs::remove(component / "b.txt");
    ExecuteAll({"ALTER TABLE tw_8.feature MODIFY featureid BIGINT AUTO_INCREMENT NOT NULL",
                "INSERT INTO tw_8.feature(featureid, componentid) VALUES(2147483648, 900)"});
    ExpectFailure(
        "tw_8.feature: featureid 2147483648 does not fit a 32-bit integer, so "
        "SiteContentStep_1_0022 fails; mend it",
        "step SiteContentStep_1_0022: .*column featureid: 2147483648 does not fit");
    ExecuteAll({"DELETE FROM tw_8.feature WHERE featureid > 5"});
    ExpectSuccess();
}

}  // namespace
}  // namespace twupdate::test
