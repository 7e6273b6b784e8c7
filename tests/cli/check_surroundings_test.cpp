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
using testing::Not;

/// What a step takes from the central database, the components and the files. Each test makes a
/// situation, sees the finding, sees the real upgrade fail for it, fixes it, and sees both succeed.
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

TEST_F(CheckSurroundings, FindsAHostNameThatIsTooLong) {
    MakeSite(8);
    const std::string host = "web-server-one-1";  // 16 characters
    for (const std::string domain : {"tw_tarnwick.domain", "tw_8.domain"}) {
        const std::string modify = "ALTER TABLE " + domain + " MODIFY domainname VARCHAR";
        ExecuteAll({modify + "(15) DEFAULT '' NOT NULL"});
        ExpectFailure(
            domain +
                ": the step writes \"web-server-one-1\" into domainname, which is varchar(15), so "
                "ServerDataStep_1_0252 fails; ",
            "step ServerDataStep_1_0252: .*" + domain + ".*server error 1406",
            {"--local-host-name", host});
        ExecuteAll({modify + "(16) DEFAULT '' NOT NULL"});
    }
    ExpectSuccess();
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
                                                   "data\ntwupdate: hint: --install-folder names"));
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
                  "twupdate: cannot find the folder resources with the reference data\n"
                  "twupdate: hint: name the component's folder with --install-folder\n");
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
    ExecuteAll({"DELETE FROM tw_tarnwick.component WHERE componentid = 2400"});
    ExpectFailure(
        "componentData.txt has component 2400, so "
        "SiteContentStep_1_0007 fails; correct what the message names",
        "step SiteContentStep_1_0007: .*has component 2400");
    WriteFile(data, whole);
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsACentralDatabaseThatIsTooOldForTheSite) {
    MakeSite(8, "1.0000", sample::AllGroups());
    ExecuteAll({"INSERT INTO tw_8.commission(orderid) VALUES(5)"});
    const Outcome found = RunHere({"check", "--site", "8"});
    EXPECT_EQ(found.status, 3) << found.err;
    EXPECT_THAT(
        found.out,
        HasSubstr("tw_tarnwick.accountpayment has no column cartorderid; upgrade the central "
                  "database first, so SiteContentStep_1_0223 fails; "));
    const Outcome failed = RunHere({"upgrade-site", "8"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, ContainsRegex("SiteContentStep_1_0223.*no column cartorderid"));
    ExpectSuccess();
}

TEST_F(CheckSurroundings, NotesUploadsBehindALinkOutOfTheSitesFolder) {
    MakeSite(8, "1.0000", {sample::Group::kForms});
    ExecuteAll({"INSERT INTO tw_8.form(formfeatureid, securefiles) VALUES(50, 0)",
                "INSERT INTO tw_8.formfield(formfieldid, featureid, type) VALUES(60, 50, 'file')",
                "CREATE TABLE tw_8.form_50(replyid INT PRIMARY KEY, field_60 VARCHAR(255))",
                "INSERT INTO tw_8.form_50 VALUES(1, '../files/a.txt'), (2, '../5/b.txt')"});
    WriteFile(folder_ / "volume/a.txt", "abc");
    WriteFile(SiteFolder() / "5/b.txt", "abcd");
    fs::create_directory_symlink(folder_ / "volume", SiteFolder() / "files");
    fs::create_directory_symlink("5", SiteFolder() / "inside");
    const Outcome noted = RunHere({"check"});
    EXPECT_EQ(noted.status, 0) << noted.out;
    EXPECT_THAT(noted.out,
                HasSubstr("note: " + (SiteFolder() / "files").string() +
                          " leads out of the site's folder; the size of uploads behind it stays "
                          "unknown (-1)\n"));
    EXPECT_THAT(noted.out, Not(HasSubstr("inside")));
    ASSERT_EQ(RunHere({"upgrade"}).status, 0);
    EXPECT_EQ(Cell("SELECT GROUP_CONCAT(field_60_filesize ORDER BY replyid) FROM tw_8.form_50;"),
              "-1,4");
    EXPECT_THAT(RunHere({"check"}).out, Not(HasSubstr("leads out")));
}

TEST_F(CheckSurroundings, FindsASitesFolderThatIsACircleOfLinks) {
    MakeSite(8);
    fs::remove(SiteFolder());
    fs::create_directory_symlink("8", SiteFolder());
    ExpectFailure("wwwroot/sites/8 cannot be looked at; correct the link", "cannot access .*");
    fs::remove(SiteFolder());
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsAFolderThatCannotBeMade) {
    MakeSite(8);
    WriteFile(Template() / "gs/a.txt", "a");
    WriteFile(Template() / "EmailTest/a.txt", "a");
    fs::remove(SiteFolder());
    // The site's own folder is made by a later step.
    ExpectFailure("wwwroot/sites/8 is a folder that cannot be created, or is none; create it, ",
                  "step SiteSchemaStep_1_0079: cannot create the folder .*gs");
    fs::create_directories(SiteFolder());
    WriteFile(SiteFolder() / "EmailTest", "no folder");
    ExpectFailure("wwwroot/sites/8/EmailTest is a file where a folder must be; ",
                  "step SiteContentStep_1_0063: cannot create the folder .*EmailTest");
    fs::remove(SiteFolder() / "EmailTest");
    fs::create_symlink("nothing", SiteFolder() / "EmailTest");
    ExpectFailure(
        "wwwroot/sites/8/EmailTest is a file where a folder must be; move the file out of the way",
        "step SiteContentStep_1_0063: cannot create the folder .*EmailTest");
    fs::remove(SiteFolder() / "EmailTest");
    ExpectSuccess();
}

TEST_F(CheckSurroundings, FindsTemplatesThatCannotBeCopied) {
    MakeSite(8);
    WriteFile(Template() / "gs/a.txt", "a");
    fs::create_symlink("nothing", Template() / "gs/c.txt");
    ExpectFailure("templates/site/gs/c.txt is a link that leads nowhere; ",
                  "step SiteSchemaStep_1_0079: cannot copy .*c.txt");
    fs::remove(Template() / "gs/c.txt");
    fs::create_directories(SiteFolder() / "gs/d.txt");
    WriteFile(Template() / "gs/d.txt", "d");
    ExpectFailure("sites/8/gs/d.txt is a folder where a file must be; ",
                  "step SiteSchemaStep_1_0079: cannot copy .*d.txt");
    fs::remove(SiteFolder() / "gs/d.txt");
    ASSERT_EQ(mkfifo((SiteFolder() / "gs/d.txt").c_str(), 0600), 0);
    ExpectFailure("sites/8/gs/d.txt is no file that can be replaced; move it out of the way",
                  "step SiteSchemaStep_1_0079: cannot copy .*d.txt");
    fs::remove(SiteFolder() / "gs/d.txt");
    fs::create_hard_link(Template() / "gs/d.txt", SiteFolder() / "gs/d.txt");
    ExpectFailure("sites/8/gs/d.txt is the template itself; put a copy in its place",
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
    ExpectFailure("template/b.txt is a link that leads nowhere; ",
                  "step SiteContentStep_1_0022: cannot copy .*b.txt");
    fs::remove(component / "b.txt");
    ExpectSuccess();
}

}  // namespace
}  // namespace twupdate::test
