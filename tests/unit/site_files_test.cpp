#include "dbutil/site_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "support/failing_volume.h"
#include "support/locked_folder.h"
#include "support/recording_host.h"
#include "support/temporary_folder.h"
#include "support/update_test_peer.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SiteFiles : public ::testing::Test {
  protected:
    SiteFiles() {
        host->installFolder = folder / "bin";
        update.Configure(host);
    }
    ~SiteFiles() override { EXPECT_EQ(host->openRecordsets, 0); }

    bool Exists(const fs::path& name) const { return fs::exists(folder / name); }

    /// The text of the FileError that the call ends with.
    template <typename Call>
    std::string ErrorOf(const Call& call) {
        try {
            call();
        } catch (const FileError& error) {
            return error.what();
        }
        return "no error";
    }

    TemporaryFolder folder;
    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
    Update update;
    UpdateTestPeer peer{update};
};

class SiteTemplate : public SiteFiles {
  protected:
    std::string CopyError(const std::string& subFolder = "") {
        return ErrorOf([&] { peer.CopySiteTemplate(7, subFolder); });
    }
};

TEST_F(SiteTemplate, WithoutATemplateFolderNoFolderIsMadeForTheSite) {
    folder.MakeFolder("wwwroot/sites");
    peer.CopySiteTemplates(7);
    EXPECT_FALSE(Exists("wwwroot/sites/7"));
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(SiteTemplate, ItsFilesAreCopiedAndItsSubFoldersAreNot) {
    folder.Write("templates/site/index.htm", "welcome");
    folder.Write("templates/site/robots.txt", "");
    folder.Write("templates/site/gs/a.js", "js");
    folder.MakeFolder("wwwroot/sites");
    peer.CopySiteTemplate(7, "");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/index.htm"), "welcome");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/robots.txt"), "");
    EXPECT_FALSE(Exists("wwwroot/sites/7/gs"));
}

TEST_F(SiteTemplate, ASubFolderIsCopiedIntoTheSameSubFolder) {
    folder.Write("templates/site/index.htm", "welcome");
    folder.Write("templates/site/gs/a.js", "js");
    folder.MakeFolder("wwwroot/sites/7");
    peer.CopySiteTemplate(7, "gs");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/gs/a.js"), "js");
    EXPECT_FALSE(Exists("wwwroot/sites/7/index.htm"));
}

TEST_F(SiteTemplate, BothAreCopiedOneAfterTheOther) {
    folder.Write("templates/site/index.htm", "welcome");
    folder.Write("templates/site/gs/a.js", "js");
    folder.MakeFolder("wwwroot/sites");
    peer.CopySiteTemplates(7);
    EXPECT_EQ(folder.Read("wwwroot/sites/7/index.htm"), "welcome");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/gs/a.js"), "js");
}

TEST_F(SiteTemplate, AFileOfTheSameNameIsReplaced) {
    folder.Write("templates/site/index.htm", "new");
    folder.Write("wwwroot/sites/7/index.htm", "the site's own, longer");
    folder.Write("wwwroot/sites/7/other.htm", "kept");
    peer.CopySiteTemplate(7, "");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/index.htm"), "new");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/other.htm"), "kept");
}

TEST_F(SiteTemplate, OnlyOneLevelOfFolderIsMade) {
    folder.Write("templates/site/gs/a.js", "js");
    folder.MakeFolder("wwwroot/sites");
    const std::string error = CopyError("gs");
    EXPECT_THAT(error, AllOf(HasSubstr((folder / "templates/site/gs").string()),
                             HasSubstr((folder / "wwwroot/sites/7/gs").string()),
                             HasSubstr("No such file or directory")));
    EXPECT_FALSE(Exists("wwwroot/sites/7"));
}

TEST_F(SiteTemplate, AFileInPlaceOfTheSiteFolderIsAnError) {
    folder.Write("templates/site/index.htm", "x");
    folder.Write("wwwroot/sites/7", "a file");
    EXPECT_THAT(CopyError(), AllOf(HasSubstr("templates/site"), HasSubstr("wwwroot/sites/7")));
}

TEST_F(SiteTemplate, AFileThatCannotBeCopiedIsAnErrorThatNamesBothEndsAndTheReason) {
    folder.Write("templates/site/index.htm", "x");
    folder.MakeFolder("wwwroot/sites/7/index.htm");  // a folder of the file's name
    EXPECT_THAT(CopyError(), AllOf(HasSubstr((folder / "templates/site/index.htm").string()),
                                   HasSubstr((folder / "wwwroot/sites/7/index.htm").string())));
}

TEST_F(SiteTemplate, ALinkToAFileOfTheTemplateIsCopiedAsThatFile) {
    folder.Write("templates/site/real.css", "css");
    folder.MakeFolder("templates/site/gs");
    fs::create_symlink("../real.css", folder / "templates/site/gs/link.css");
    folder.MakeFolder("wwwroot/sites/7");
    peer.CopySiteTemplate(7, "gs");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/gs/link.css"), "css");
    EXPECT_FALSE(fs::is_symlink(folder / "wwwroot/sites/7/gs/link.css"));
}

TEST_F(SiteTemplate, ALinkOutOfTheTemplateIsCopiedAsTheFileThatItNames) {
    folder.Write("shared/footer.htm", "footer");
    folder.MakeFolder("templates/site");
    fs::create_symlink("../../shared/footer.htm", folder / "templates/site/link.htm");
    folder.MakeFolder("wwwroot/sites/7");
    peer.CopySiteTemplate(7, "");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/link.htm"), "footer");
    EXPECT_FALSE(fs::is_symlink(folder / "wwwroot/sites/7/link.htm"));
}

TEST_F(SiteTemplate, ALinkToADeviceIsAnError) {
    folder.MakeFolder("templates/site");
    fs::create_symlink("/dev/null", folder / "templates/site/link.txt");
    folder.MakeFolder("wwwroot/sites/7");
    EXPECT_THAT(CopyError(), AllOf(HasSubstr("cannot copy"), HasSubstr("link.txt")));
    EXPECT_TRUE(fs::is_empty(folder / "wwwroot/sites/7"));
}

TEST_F(SiteTemplate, ALinkToNothingIsAnError) {
    folder.MakeFolder("templates/site");
    fs::create_symlink("nowhere", folder / "templates/site/link.txt");
    folder.MakeFolder("wwwroot/sites/7");
    EXPECT_THAT(CopyError(), AllOf(HasSubstr("link.txt"), HasSubstr("No such file or directory")));
}

TEST_F(SiteTemplate, ALinkToAFolderIsASubFolder) {
    folder.Write("elsewhere/a.txt", "x");
    folder.MakeFolder("templates/site");
    fs::create_directory_symlink("../../elsewhere", folder / "templates/site/link");
    folder.MakeFolder("wwwroot/sites/7");
    peer.CopySiteTemplate(7, "");
    EXPECT_TRUE(fs::is_empty(folder / "wwwroot/sites/7"));
}

TEST_F(SiteTemplate, ATemplateFolderThatIsItselfALinkIsCopied) {
    folder.Write("volume2/site/a.txt", "x");
    fs::create_symlink("a.txt", folder / "volume2/site/b.txt");
    folder.MakeFolder("templates");
    fs::create_directory_symlink("../volume2/site", folder / "templates/site");
    folder.MakeFolder("wwwroot/sites/7");
    peer.CopySiteTemplate(7, "");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/b.txt"), "x");
}

TEST_F(SiteTemplate, ABackslashInAFileNameIsACharacter) {
    folder.Write("templates/site/..\\..\\a.txt", "x");
    folder.MakeFolder("wwwroot/sites/7");
    peer.CopySiteTemplate(7, "");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/..\\..\\a.txt"), "x");
}

TEST_F(SiteTemplate, ATemplateThatNobodyMayWriteIsCopiedOverItsEarlierCopy) {
    const auto isReadOnly = [this](const char* name) {
        return (fs::status(folder / name).permissions() & fs::perms::all) ==
               (fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    };
    const auto writeTemplate = [this](const std::string& content) {
        fs::remove(folder / "templates/site/index.htm");
        fs::permissions(folder.Write("templates/site/index.htm", content),
                        fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    };
    folder.MakeFolder("wwwroot/sites/7");
    fs::permissions(folder / "wwwroot/sites/7", fs::perms::all);
    for (const char* content : {"first", "second", "third"}) {
        writeTemplate(content);
        const AsNobody nobody(folder.Path());
        peer.CopySiteTemplate(7, "");
        EXPECT_EQ(folder.Read("wwwroot/sites/7/index.htm"), content);
        EXPECT_TRUE(isReadOnly("wwwroot/sites/7/index.htm"));
    }
}

// The copy in the site belongs to somebody else: it stays as it is.
TEST_F(SiteTemplate, AFileOfTheSiteThatMayNotBeWrittenIsNamed) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make a file of another user";
    }
    folder.Write("templates/site/index.htm", "new");
    fs::permissions(folder.Write("wwwroot/sites/7/index.htm", "old"), fs::perms::owner_read);
    fs::permissions(folder / "wwwroot/sites/7", fs::perms::all);
    {
        const AsNobody nobody(folder.Path());
        EXPECT_EQ(CopyError(), "cannot copy " + (folder / "templates/site/index.htm").string() +
                                   " to " + (folder / "wwwroot/sites/7/index.htm").string() +
                                   ": Permission denied");
    }
    EXPECT_EQ(folder.Read("wwwroot/sites/7/index.htm"), "old");
}

TEST_F(SiteTemplate, ALinkInTheSiteIsReplacedAndNotWrittenThrough) {
    folder.Write("templates/site/index.htm", "new");
    folder.Write("precious.txt", "precious");
    folder.MakeFolder("wwwroot/sites/7");
    fs::create_symlink("../../../precious.txt", folder / "wwwroot/sites/7/index.htm");
    peer.CopySiteTemplate(7, "");
    EXPECT_EQ(folder.Read("precious.txt"), "precious");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/index.htm"), "new");
    EXPECT_FALSE(fs::is_symlink(folder / "wwwroot/sites/7/index.htm"));
}

TEST_F(SiteTemplate, TheInstallFolderNeedNotExistAndMayEndInASeparator) {
    host->installFolder = (folder / "no/../bin/").string();
    folder.Write("templates/site/a.txt", "x");
    folder.MakeFolder("wwwroot/sites/7");
    peer.CopySiteTemplate(7, "");
    EXPECT_TRUE(Exists("wwwroot/sites/7/a.txt"));
}

TEST_F(SiteTemplate, ATemplateThatMayNotBeLookedAtIsNotTakenForMissing) {
    folder.Write("templates/site/index.htm", "x");
    folder.MakeFolder("wwwroot/sites/7");
    const LockedFolder locked(folder.Path(), folder / "templates");
    EXPECT_EQ(CopyError(),
              "cannot access " + (folder / "templates/site").string() + ": Permission denied");
}

TEST_F(SiteTemplate, ATemplateThatIsACircleOfLinksIsNotTakenForMissing) {
    folder.MakeFolder("templates");
    fs::create_directory_symlink("site", folder / "templates/site");
    folder.MakeFolder("wwwroot/sites/7");
    EXPECT_THAT(CopyError(), AllOf(HasSubstr("cannot access"), HasSubstr("templates/site")));
}

class ComponentTemplate : public SiteFiles {
  protected:
    class Shop : public Component {
      public:
        explicit Shop(std::string folderName) : folderName_(std::move(folderName)) {}
        std::int32_t GetComponentId() const override { return 1000; }
        std::string GetComponentName() const override { return "Shop"; }
        std::string GetFolderName() const override { return folderName_; }

      private:
        std::string folderName_;
    };

    void Pages(const std::vector<std::int32_t>& ids) {
        host->catalogue.AddTable("tw_7", "feature(featureid INT, componentid INT)");
        ResultSet pages{{"featureid"}, {}};
        for (const std::int32_t id : ids) {
            pages.rows.push_back({id});
        }
        host->Answer("SELECT featureid FROM tw_7.feature WHERE componentid = 1000;", pages);
    }

    void Copy(bool overwrite, const std::string& folderName = "shop") {
        Boolean result = 5;
        peer.CopyComponentTemplate(7, Shop(folderName), overwrite, result);
        EXPECT_EQ(result, 5) << "the result slot is never written";
    }
};

TEST_F(ComponentTemplate, WithoutATemplateFolderNothingIsAsked) {
    Copy(true);
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(ComponentTemplate, EveryPageWithAFolderGetsTheFiles) {
    folder.Write("components/shop/template/cart.htm", "cart");
    folder.Write("components/shop/template/sub/x.htm", "x");
    Pages({12, 13, 14});
    folder.MakeFolder("wwwroot/sites/7/12");
    folder.MakeFolder("wwwroot/sites/7/14");
    Copy(false);
    EXPECT_THAT(host->log,
                ElementsAre("query SELECT featureid FROM tw_7.feature WHERE componentid = 1000;"));
    EXPECT_EQ(folder.Read("wwwroot/sites/7/12/cart.htm"), "cart");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/14/cart.htm"), "cart");
    EXPECT_FALSE(Exists("wwwroot/sites/7/12/sub"));
}

TEST_F(ComponentTemplate, APageWithoutFolderGetsNone) {
    folder.Write("components/shop/template/cart.htm", "cart");
    Pages({13});
    folder.MakeFolder("wwwroot/sites/7");
    Copy(true);
    EXPECT_FALSE(Exists("wwwroot/sites/7/13"));
}

TEST_F(ComponentTemplate, WithoutOverwritingOnlyMissingFilesAreAdded) {
    folder.Write("components/shop/template/cart.htm", "new cart");
    folder.Write("components/shop/template/terms.htm", "new terms");
    folder.Write("wwwroot/sites/7/12/cart.htm", "the page's own");
    Pages({12});
    Copy(false);
    EXPECT_EQ(folder.Read("wwwroot/sites/7/12/cart.htm"), "the page's own");
    EXPECT_EQ(folder.Read("wwwroot/sites/7/12/terms.htm"), "new terms");
}

TEST_F(ComponentTemplate, AFolderOfAFilesNameIsNotThatFile) {
    folder.Write("components/shop/template/cart.htm", "cart");
    folder.MakeFolder("wwwroot/sites/7/12/cart.htm");
    Pages({12});
    EXPECT_THAT(ErrorOf([&] { Copy(false); }),
                AllOf(HasSubstr("cannot copy"), HasSubstr("7/12/cart.htm")));
    host->openRecordsets = 0;  // given up, not closed
}

TEST_F(ComponentTemplate, ALinkToAFileIsThatFile) {
    folder.Write("components/shop/template/cart.htm", "new cart");
    folder.Write("wwwroot/sites/7/12/own.htm", "the page's own");
    fs::create_symlink("own.htm", folder / "wwwroot/sites/7/12/cart.htm");
    Pages({12});
    Copy(false);
    EXPECT_EQ(folder.Read("wwwroot/sites/7/12/cart.htm"), "the page's own");
}

TEST_F(ComponentTemplate, WithOverwritingExistingFilesAreReplaced) {
    folder.Write("components/shop/template/cart.htm", "new cart");
    folder.Write("wwwroot/sites/7/12/cart.htm", "the page's own");
    Pages({12});
    Copy(true);
    EXPECT_EQ(folder.Read("wwwroot/sites/7/12/cart.htm"), "new cart");
}

TEST_F(ComponentTemplate, ALinkToNothingInAPageIsReplacedAndNotWrittenThrough) {
    folder.Write("components/shop/template/cart.htm", "cart");
    folder.MakeFolder("wwwroot/sites/7/12");
    fs::create_symlink(folder / "outside.htm", folder / "wwwroot/sites/7/12/cart.htm");
    Pages({12});
    Copy(false);
    EXPECT_FALSE(Exists("outside.htm"));
    EXPECT_EQ(folder.Read("wwwroot/sites/7/12/cart.htm"), "cart");
}

TEST_F(ComponentTemplate, ABackslashInAFolderNameSeparatesFolders) {
    folder.Write("components/shop/cart/template/cart.htm", "cart");
    folder.MakeFolder("wwwroot/sites/7/12");
    Pages({12});
    Copy(false, "shop\\cart");
    EXPECT_TRUE(Exists("wwwroot/sites/7/12/cart.htm"));
}

TEST_F(ComponentTemplate, AFolderNameThatLeavesTheComponentsIsRefused) {
    folder.Write("template/secret.txt", "x");
    for (const char* name : {"..", "../..", "..\\..", "shop/../..", "/etc"}) {
        EXPECT_THAT(ErrorOf([&] { Copy(false, name); }), HasSubstr("leads out")) << name;
    }
}

TEST_F(ComponentTemplate, APageThatMayNotBeLookedAtIsNotTakenForMissing) {
    folder.Write("components/shop/template/cart.htm", "cart");
    folder.MakeFolder("wwwroot/sites/7/12");
    Pages({12});
    const LockedFolder locked(folder.Path(), folder / "wwwroot/sites/7");
    EXPECT_EQ(ErrorOf([&] { Copy(true); }),
              "cannot access " + (folder / "wwwroot/sites/7/12").string() + ": Permission denied");
    host->openRecordsets = 0;  // given up, not closed
}

TEST(InstallationRoot, IsTheParentOfTheInstallFolder) {
    EXPECT_EQ(InstallationRoot("/opt/tw/bin"), "/opt/tw");
    EXPECT_EQ(InstallationRoot("/opt/tw/bin/"), "/opt/tw");
    EXPECT_EQ(InstallationRoot("/opt/tw/x/../bin/."), "/opt/tw");
    EXPECT_EQ(InstallationRoot("/bin"), "/");
    EXPECT_EQ(InstallationRoot("bin"), fs::current_path());
}

class RealPathOf : public SiteFiles {
  protected:
    std::string Error(const fs::path& path) {
        return ErrorOf([&] { RealPath(path); });
    }
};

TEST_F(RealPathOf, WhatIsNotThereIsEmpty) {
    folder.Write("file", "x");
    EXPECT_EQ(RealPath(folder / "nothing"), fs::path());
    EXPECT_EQ(RealPath(folder / "nothing/below"), fs::path());
    EXPECT_EQ(RealPath(folder / "file/below"), fs::path());
    fs::create_symlink("nothing", folder / "link");
    EXPECT_EQ(RealPath(folder / "link"), fs::path());
    EXPECT_EQ(RealPath(folder / "file"), fs::canonical(folder / "file"));
}

TEST_F(RealPathOf, WhatCannotBeSeenIsAnError) {
    fs::create_symlink("circle", folder / "circle");
    EXPECT_THAT(Error(folder / "circle"), HasSubstr("cannot access"));
    EXPECT_THAT(Error(folder / std::string(300, 'x')), HasSubstr("cannot access"));
    for (const int error : {EIO, ESTALE, ENOMEM}) {
        const FailingVolume volume(folder / "volume", error);
        EXPECT_EQ(Error(folder / "volume/a"), "cannot access " + (folder / "volume/a").string() +
                                                  ": " + std::generic_category().message(error));
    }
}

TEST(LiesWithin, ComparesWholeNames) {
    EXPECT_TRUE(LiesWithin("/a/b", "/a/b"));
    EXPECT_TRUE(LiesWithin("/a/b", "/a/b/c/d"));
    EXPECT_FALSE(LiesWithin("/a/b", "/a/bc"));
    EXPECT_FALSE(LiesWithin("/a/b", "/a"));
}

}  // namespace
}  // namespace twupdate::test
