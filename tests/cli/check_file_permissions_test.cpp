// Files and folders without permissions. No permission stops root, so the program runs as nobody
// where the tests run as root. Each test takes a permission away, sees the finding, sees the real
// upgrade fail for it, gives the permission back, and sees both succeed.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "cli/installation_fixture.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

/// Other permissions of a file or folder for the time of a test.
class Permissions {
  public:
    Permissions(fs::path path, mode_t permissions) : path_(std::move(path)) {
        struct stat before {};
        EXPECT_EQ(stat(path_.c_str(), &before), 0) << path_;
        before_ = before.st_mode & 07777;
        EXPECT_EQ(chmod(path_.c_str(), permissions), 0) << path_;
    }
    ~Permissions() { chmod(path_.c_str(), before_); }
    Permissions(const Permissions&) = delete;
    Permissions& operator=(const Permissions&) = delete;

  private:
    fs::path path_;
    mode_t before_ = 0;
};

class CheckFilePermissions : public InstallationTest {
  protected:
    void SetUp() override {
        MakeCentralDatabase();
        MakeSite(8);
        Execute("UPDATE tw_tarnwick.site SET sitefeatureid = 3 WHERE siteid = 8;");
        Execute("INSERT INTO tw_8.feature(featureid, componentid) VALUES(5, 900);");
        // The folder of the component, beside the folders of the sites, is everybody's to read.
        const fs::path resources = Update() / "resources";
        fs::create_directories(resources.parent_path());
        fs::copy(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources", resources,
                 fs::copy_options::recursive);
        WriteFile(Template() / "gs/a.txt", "a");
        WriteFile(ComponentTemplate() / "b.txt", "b");
        fs::create_directories(Site() / "5");
        for (const auto& entry : fs::recursive_directory_iterator(folder_.Path())) {
            chmod(entry.path().c_str(), entry.is_directory() ? 0755 : 0644);
        }
        GiveToNobody(folder_ / "wwwroot");
        chmod(folder_.Path().c_str(), 0755);
    }

    fs::path Update() const { return folder_ / "update"; }
    fs::path Site() const { return folder_ / "wwwroot/sites/8"; }
    fs::path Template() const { return folder_ / "templates/site"; }
    fs::path ComponentTemplate() const {
        return folder_ / "components" /
               Cell("SELECT foldername FROM tw_tarnwick.component WHERE componentid = 900;") /
               "template";
    }
    /// A file of the site, which belongs to the user that runs the program.
    void WriteSiteFile(const fs::path& name, const std::string& content) const {
        WriteFile(Site() / name, content);
        chmod((Site() / name).c_str(), 0644);
        GiveToNobody(folder_ / "wwwroot");
    }

    Outcome RunAsNobody(const std::vector<std::string>& command) const {
        const host::PrivateServer& server = CliServer::Get().Server();
        const Permissions above(server.Folder().parent_path(), 0711);
        const Permissions folder(server.Folder(), 0711);
        auto arguments = With({"--install-folder", Update().string()});
        arguments.insert(arguments.end(), command.begin(), command.end());
        return RunProgram(arguments, {}, RunAs::kNobody);
    }

    /// @param finding  the path below the folder of the test, and what is said of it (an
    /// expression)
    void ExpectFailure(const std::string& finding, const std::string& failure) const {
        const Outcome found = RunAsNobody({"check"});
        EXPECT_EQ(found.status, 3) << found.out << found.err;
        EXPECT_THAT(found.out, ContainsRegex(folder_.Path().string() + "/" + finding));
        EXPECT_THAT(found.out, ContainsRegex("\n[12] findings?[.]\n$"));
        const Outcome failed = RunAsNobody({"upgrade"});
        EXPECT_EQ(failed.status, 1) << failed.out << failed.err;
        EXPECT_THAT(failed.err, ContainsRegex(failure));
    }

    /// A link takes the place of the file or folder, which goes where nobody may look: its name
    /// does not tell of the locked folder.
    void ExpectFailureBehindALink(const fs::path& path, const std::string& step,
                                  const std::string& failure = "cannot access") const {
        const fs::path locked = folder_ / "locked";
        fs::create_directories(locked);
        fs::rename(path, locked / "moved");
        fs::create_symlink(locked / "moved", path);
        {
            const Permissions folder(locked, 0);
            ExpectFailure(path.lexically_relative(folder_.Path()).string() +
                              " cannot be (looked at|looked into|read); ",
                          "step " + step + ": " + failure + " .*" + path.filename().string() +
                              ".*: Permission denied");
        }
        fs::remove(path);
        fs::rename(locked / "moved", path);
    }

    void ExpectSuccess() const {
        const Outcome clean = RunAsNobody({"check"});
        EXPECT_EQ(clean.status, 0) << clean.out << clean.err;
        const Outcome done = RunAsNobody({"upgrade"});
        EXPECT_EQ(done.status, 0) << done.err;
        EXPECT_EQ(ContentOf(Site() / "gs/a.txt"), "a");
        EXPECT_EQ(ContentOf(Site() / "5/b.txt"), "b");
    }
};

TEST_F(CheckFilePermissions, FindsTemplatesThatMayNotBeRead) {
    {
        const Permissions file(Template() / "gs/a.txt", 0);
        ExpectFailure("templates/site/gs/a.txt cannot be read; give the permission to read it",
                      "step SiteSchemaStep_1_0079: cannot copy .*a.txt: Permission denied");
    }
    {
        const Permissions folder(Template() / "gs", 0311);
        ExpectFailure(
            "templates/site/gs cannot be read; ",
            "step SiteSchemaStep_1_0079: cannot copy .*templates/site/gs .*Permission denied");
    }
    {
        const Permissions folder(Template() / "gs", 0444);
        ExpectFailure("templates/site/gs/a.txt cannot be read; ",
                      "step SiteSchemaStep_1_0079: cannot copy .*a.txt: Permission denied");
    }
    {
        const Permissions folder(folder_ / "templates", 0);
        ExpectFailure(
            "templates/site cannot be looked at; correct the link, or give the permission",
            "step SiteSchemaStep_1_0079: cannot access .*templates/site/gs: Permission denied");
    }
    {
        const Permissions folder(ComponentTemplate(), 0311);
        ExpectFailure("components/" + ComponentTemplate().parent_path().filename().string() +
                          "/template cannot be read; ",
                      "step SiteContentStep_1_0022: cannot copy .*template.*Permission denied");
    }
    {
        const Permissions folder(folder_ / "components", 0);
        ExpectFailure(
            "components cannot be read; ",
            "step SiteContentStep_1_0016: cannot access .*components/.*Permission denied");
    }
    ExpectSuccess();
}

TEST_F(CheckFilePermissions, FindsATemplateThatIsACircleOfLinks) {
    const fs::path elsewhere = folder_ / "elsewhere";
    fs::rename(ComponentTemplate(), elsewhere);
    fs::create_directory_symlink("template", ComponentTemplate());
    ExpectFailure("components/" + ComponentTemplate().parent_path().filename().string() +
                      "/template cannot be looked at; correct the link, or give the permission to "
                      "look into the folder that it leads to",
                  "step SiteContentStep_1_0022: cannot access .*template: ");
    fs::remove(ComponentTemplate());
    fs::rename(elsewhere, ComponentTemplate());
    ExpectSuccess();
}

TEST_F(CheckFilePermissions, FindsLinksIntoALockedFolder) {
    WriteSiteFile("gs/old.txt", "old");
    WriteSiteFile("robots.txt", "User-agent: *\n");
    ExpectFailureBehindALink(Template() / "gs", "SiteSchemaStep_1_0079");
    ExpectFailureBehindALink(Template() / "gs/a.txt", "SiteSchemaStep_1_0079", "cannot copy");
    ExpectFailureBehindALink(Site() / "gs", "SiteSchemaStep_1_0079");
    ExpectFailureBehindALink(ComponentTemplate(), "SiteContentStep_1_0022");
    ExpectFailureBehindALink(Site() / "5", "SiteContentStep_1_0022");
    ExpectFailureBehindALink(Site() / "robots.txt", "SiteContentStep_1_0030");
    ExpectSuccess();
}

TEST_F(CheckFilePermissions, FindsAFolderThatMayNotBeWritten) {
    {
        const Permissions folder(Site(), 0555);
        ExpectFailure(
            "wwwroot/sites/8 cannot be written; give the permission to write it",
            "step SiteSchemaStep_1_0079: cannot create the folder .*gs.*Permission denied");
    }
    fs::create_directories(Site() / "gs");
    GiveToNobody(Site());
    {
        const Permissions folder(Site() / "gs", 0555);
        ExpectFailure("wwwroot/sites/8/gs cannot be written; give the permission to write it",
                      "step SiteSchemaStep_1_0079: cannot copy .*gs/a.txt: Permission denied");
        // A link in such a folder cannot be replaced either.
        fs::create_symlink("elsewhere", Site() / "gs/a.txt");
        ExpectFailure("wwwroot/sites/8/gs cannot be written; ",
                      "step SiteSchemaStep_1_0079: cannot copy .*gs/a.txt: Permission denied");
    }
    {
        const Permissions folder(Site() / "5", 0555);
        ExpectFailure("wwwroot/sites/8/5 cannot be written; ",
                      "step SiteContentStep_1_0022: cannot copy .*5/b.txt: Permission denied");
    }
    ExpectSuccess();
}

TEST_F(CheckFilePermissions, FindsAFileThatMayNotBeReplaced) {
    WriteSiteFile("gs/a.txt", "old");
    if (geteuid() == 0) {
        // Everybody may write it, but its owner alone may give it the permissions of the template.
        ASSERT_EQ(chown((Site() / "gs/a.txt").c_str(), 0, 0), 0);
        const Permissions file(Site() / "gs/a.txt", 0666);
        ExpectFailure(
            "wwwroot/sites/8/gs/a.txt belongs to another user; give it to the user that runs "
            "twupdate",
            "step SiteSchemaStep_1_0079: cannot copy .*gs/a.txt: Operation not permitted");
        GiveToNobody(Site());
    }
    ExpectSuccess();
}

// SiteSchemaStep_1_0079 copies them with their permissions, and SiteSchemaStep_1_0235 over that
// copy.
TEST_F(CheckFilePermissions, SkipsTemplatesThatNobodyMayWrite) {
    WriteSiteFile("gs/a.txt", "old");
    ASSERT_EQ(chmod((Site() / "gs/a.txt").c_str(), 0444), 0);
    const Permissions file(Template() / "gs/a.txt", 0444);
    const Permissions componentFile(ComponentTemplate() / "b.txt", 0444);
    ExpectSuccess();
    struct stat copy {};
    ASSERT_EQ(stat((Site() / "gs/a.txt").c_str(), &copy), 0);
    EXPECT_EQ(copy.st_mode & 07777, 0444U);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0000;");
    Execute("UPDATE tw_tarnwick.site SET version = 1.0000;");
    ExpectSuccess();
}

TEST_F(CheckFilePermissions, FindsASiteThatMayNotBeLookedInto) {
    const Permissions folder(Site(), 0);
    ExpectFailure(
        "wwwroot/sites/8 cannot be looked into; give the permission to look into it",
        "step SiteSchemaStep_1_0079: cannot access .*wwwroot/sites/8/gs: Permission denied");
    // Past the templates it is robots.txt that cannot be seen.
    fs::remove_all(folder_ / "templates");
    fs::remove_all(folder_ / "components");
    ExpectFailure("wwwroot/sites/8 cannot be looked into; ",
                  "step SiteContentStep_1_0030: cannot access .*8/robots.txt: Permission denied");
}

TEST_F(CheckFilePermissions, FindsUploadsThatMayNotBeLookedAt) {
    Execute("CREATE DATABASE IF NOT EXISTS tw_8;");
    fs::remove_all(folder_ / "templates");
    fs::remove_all(folder_ / "components");
    MakeSite(9, "1.0000", {sample::Group::kForms});
    Execute("UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = 8;");
    Execute("INSERT INTO tw_9.form(formfeatureid, securefiles) VALUES(50, -1);");
    Execute("INSERT INTO tw_9.formfield(formfieldid, featureid, type) VALUES(60, 50, 'file');");
    Execute("CREATE TABLE tw_9.form_50(replyid INT PRIMARY KEY, field_60 VARCHAR(255));");
    fs::create_directories(folder_ / "sites_secure/9");
    const Permissions open(folder_ / "sites_secure/9", 0755);
    {
        const Permissions folder(folder_ / "sites_secure", 0);
        ExpectFailure(
            "sites_secure cannot be looked into; ",
            "step SiteSchemaStep_1_0251: cannot access .*sites_secure/9: Permission denied");
    }
    ExpectFailureBehindALink(folder_ / "sites_secure/9", "SiteSchemaStep_1_0251");
    // Without permissions of its own, but nobody looks into it.
    const Permissions folder(folder_ / "sites_secure/9", 0);
    EXPECT_EQ(RunAsNobody({"check"}).status, 0);
    EXPECT_EQ(RunAsNobody({"upgrade"}).status, 0);
}

TEST_F(CheckFilePermissions, FindsRobotsThatMayNotBeRead) {
    WriteSiteFile("robots.txt", "User-agent: *\n");
    {
        const Permissions file(Site() / "robots.txt", 0);
        const Outcome found = RunAsNobody({"check"});
        EXPECT_EQ(found.out, (Site() / "robots.txt").string() +
                                 " cannot be read; give the permission to read it\n1 finding.\n");
        EXPECT_THAT(RunAsNobody({"upgrade"}).err,
                    ContainsRegex("step SiteContentStep_1_0030: cannot read .*robots.txt"));
    }
    ExpectSuccess();
    EXPECT_EQ(Cell("SELECT text FROM tw_8.plaintext;"), "User-agent: *\n");
}

TEST_F(CheckFilePermissions, FindsDataFilesThatMayNotBeRead) {
    {
        const Permissions folder(Update() / "resources", 0444);
        ExpectFailure(
            "update/resources/[A-Za-z]+Data.txt: Permission denied; put the file back",
            "^twupdate: .*/resources/[A-Za-z]+Data\\.txt: Permission denied; nothing was done");
    }
    {
        const Permissions file(Update() / "resources/componentData.txt", 0);
        ExpectFailure("update/resources/componentData.txt; put the file back from the package",
                      "^twupdate: cannot open .*componentData\\.txt; nothing was done");
    }
    ExpectSuccess();
}

TEST_F(CheckFilePermissions, TellsOfAComponentsFolderThatMayNotBeLookedInto) {
    const Permissions folder(Update(), 0444);
    for (const char* command : {"check", "upgrade"}) {
        const Outcome outcome = RunAsNobody({command});
        EXPECT_EQ(outcome.status, 2) << outcome.out;
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("cannot access " + Update().string()),
                                       HasSubstr("Permission denied")));
    }
}

}  // namespace
}  // namespace twupdate::test
