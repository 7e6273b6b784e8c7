// The sample maker makes the same installation again, and the one that it promises.
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "sample_installation.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class SampleMaker : public SampleTest {
  protected:
    /// Every file below the root by its path, with its content.
    std::map<std::string, std::string> Files() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(Root())) {
            if (entry.is_regular_file()) {
                const auto path = fs::relative(entry.path(), Root());
                files[path.string()] = ReadFile(path);
            }
        }
        return files;
    }
    void RemoveFiles() const {
        for (const auto& entry : fs::directory_iterator(Root())) {
            fs::remove_all(entry.path());
        }
    }
};

TEST_F(SampleMaker, TheSameSeedMakesTheSameInstallation) {
    sample::MakeInstallation(Host(), Options(5, 40));
    const State first = StateOfAll();
    const auto files = Files();
    DropDatabases();
    RemoveFiles();
    sample::MakeInstallation(Host(), Options(5, 40));
    EXPECT_TRUE(SameState(first, StateOfAll()));
    EXPECT_EQ(files, Files());
}

TEST_F(SampleMaker, AnotherSeedMakesOtherRowsButTheSameLayout) {
    auto options = Options(1, 40);
    sample::MakeInstallation(Host(), options);
    const State first = StateOfAll();
    DropDatabases();
    RemoveFiles();
    options.seed = 2;
    sample::MakeInstallation(Host(), options);
    const State second = StateOfAll();
    EXPECT_EQ(first.schemas, second.schemas);
    EXPECT_FALSE(SameRows(first.rows.at("tw_1"), second.rows.at("tw_1")));
}

TEST_F(SampleMaker, EveryLargeTableHasSoManyRows) {
    sample::MakeInstallation(Host(), Options(1, 300));
    for (const char* table :
         {"feature", "navigation", "text", "contentupdate", "pagehit", "security", "customerorder",
          "orderitem", "basket", "commission", "forum", "form_8", "formlink", "featurecache"}) {
        const auto rows = std::stoi(Cell(std::string("SELECT COUNT(*) FROM tw_1.") + table));
        EXPECT_GE(rows, 300) << table;
        EXPECT_LT(rows, 500) << table;
    }
    EXPECT_EQ("300", Cell("SELECT COUNT(*) FROM tw_logs.tw_1"));
    EXPECT_EQ("70", Cell("SELECT COUNT(*) FROM tw_1.css"));
}

TEST_F(SampleMaker, WithoutRowsOnlyThoseWithFixedIdsAreThere) {
    sample::MakeInstallation(Host(), Options(1, 0));
    EXPECT_EQ("21", Cell("SELECT COUNT(*) FROM tw_1.feature"));
    EXPECT_EQ("4", Cell("SELECT COUNT(*) FROM tw_1.form_8"));
}

TEST_F(SampleMaker, AnInstallationMayHaveNoSite) {
    sample::MakeInstallation(Host(), Options(0, 10));
    EXPECT_THAT(Rows("SHOW DATABASES LIKE 'tw\\_%'"), ElementsAre("tw_tarnwick"));
    EXPECT_THAT(Rows("SELECT siteid FROM tw_tarnwick.site"), IsEmpty());
}

TEST_F(SampleMaker, TheFirstFiveSitesShowEveryState) {
    sample::MakeInstallation(Host(), Options(5, 5));
    EXPECT_EQ("1", Cell("SELECT version FROM tw_tarnwick.installation"));
    EXPECT_THAT(Rows("SELECT siteid, version, harddeleted, transaction FROM tw_tarnwick.site "
                     "ORDER BY siteid"),
                ElementsAre("1 | 1 | 0 | 0", "2 | 1.005 | 0 | 0", "3 | 1.021 | 0 | 0",
                            "4 | 1.006 | -1 | 0", "5 | 1.009 | 0 | -1"));
    EXPECT_THAT(Rows("SHOW TABLES FROM tw_logs"), ElementsAre("tw_1", "tw_2", "tw_3", "tw_4"));
}

TEST_F(SampleMaker, WithoutASiteInTransactionTheColumnIsNotThereYet) {
    sample::MakeInstallation(Host(), Options(4, 5));
    EXPECT_THAT(Rows("SHOW COLUMNS FROM tw_tarnwick.site LIKE 'transaction'"), IsEmpty());
}

TEST_F(SampleMaker, ASiteHasTheLayoutOfItsVersion) {
    sample::MakeInstallation(Host(), Options(10, 5));
    for (const char* site : {"101", "102"}) {
        fs::create_directories(Root() / "wwwroot/sites" / site);
    }
    LoadSite(101, sample::AllGroups(), {1.0210, 1.0210});
    // the tables that are not of the forms
    const auto layout = [&](const std::string& database) {
        Schema schema = SchemaOf(database);
        std::erase_if(schema.tables,
                      [](const auto& table) { return table.first.starts_with("form_"); });
        return schema;
    };
    EXPECT_TRUE(SameSchema(layout("tw_101"), layout("tw_3")));
    LoadSite(102, {Group::kForum, Group::kOAuth}, {1.0020, 1.0020});
    EXPECT_TRUE(SameSchema(layout("tw_102"), layout("tw_10")));
    LoadSite(103, {}, {});
    EXPECT_TRUE(SameSchema(layout("tw_103"), layout("tw_6")));
    EXPECT_THAT(Rows("SELECT version FROM tw_tarnwick.site WHERE siteid IN(3, 6, 9, 10) "
                     "ORDER BY siteid"),
                ElementsAre("1.021", "1", kCurrentStored, "1.002"));
}

TEST_F(SampleMaker, LaterSitesHoldRowsInLaterTables) {
    sample::MakeInstallation(Host(), Options(8, 5));
    EXPECT_THAT(
        Rows("SELECT type, value FROM tw_3.featurenamevalue ORDER BY type, sequence"),
        ElementsAre("0 | GB", "0 | it's \"secret\"", "2 | http://lookup.example/find?a=1&b=2",
                    "2 | http://lookup2.example/find", "7 | blue"));
    EXPECT_THAT(Rows("SELECT orderid, billingaddress, billingaddress1, billingaddress2 FROM "
                     "tw_2.customerorder WHERE orderid <= 3 ORDER BY orderid"),
                ElementsAre("1 | Hafenstraße 12, Hamburg |  | ", "2 | Test | Kept out | ",
                            "3 |  | 2 Pier Road | O'Brien's"));
    EXPECT_EQ("2", Cell("SELECT COUNT(*) FROM tw_7.rssfilelookup WHERE dir = 'rss'"));
    EXPECT_EQ("1", Cell("SELECT COUNT(*) FROM tw_8.regularexpression"));
}

TEST_F(SampleMaker, TextsReachTheTablesAsTheyAre) {
    sample::MakeInstallation(Host(), Options(1, 200));
    EXPECT_EQ("<p>We deliver within three days.\r\nIt's free above £50.</p>",
              Cell("SELECT text FROM tw_1.text WHERE textid = 4"));
    EXPECT_EQ("C:\\orders\\<#Embed.17.0:Order number#>.txt",
              Cell("SELECT message FROM tw_1.email WHERE emailid = 4"));
    EXPECT_NE("0", Cell("SELECT COUNT(*) FROM tw_1.security WHERE userid > 1000 AND name LIKE "
                        "'%O''Brien'"));
}

TEST_F(SampleMaker, UploadedFilesArePresentOrLostAsTheRecordsSay) {
    sample::MakeInstallation(Host(), Options(1, 30));
    EXPECT_EQ(1234U, ReadFile("wwwroot/sites/1/files/lighthouse.pdf").size());
    EXPECT_FALSE(fs::exists(Root() / "wwwroot/sites/1/files/lost.pdf"));
    EXPECT_EQ(77U, ReadFile("sites_secure/1/files/letter.doc").size());
    int present = 0;
    int lost = 0;
    for (const std::string& stored :
         Rows("SELECT field_9 FROM tw_1.form_8 WHERE replyid > 1000 AND field_9 <> ''")) {
        ++(fs::exists(Root() / "wwwroot/sites/1" / stored.substr(3)) ? present : lost);
    }
    EXPECT_EQ(10, present);
    EXPECT_EQ(5, lost);
}

TEST_F(SampleMaker, RefusesAServerWithAnInstallation) {
    sample::MakeInstallation(Host(), Options(0, 0));
    RemoveFiles();
    EXPECT_THROW(sample::MakeInstallation(Host(), Options(0, 0)), std::runtime_error);
    EXPECT_THAT(Files(), IsEmpty()) << "the files of an installation are not overwritten";
}

// --- the program --------------------------------------------------------------------------------

class SampleProgram : public SampleMaker {
  protected:
    /// Runs the program with these arguments. @returns its exit code
    int Run(const std::string& arguments) const {
        const std::string output = (Root() / "output.txt").string();
        const int status = std::system(
            (std::string(TWUPDATE_SAMPLE_PROGRAM) + " " + arguments + " >" + output + " 2>&1")
                .c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string Output() const { return ReadFile("output.txt"); }
    static std::string Server() {
        return "--socket " + ServerTest::Server().Socket().string() + " --user root ";
    }
};

TEST_F(SampleProgram, MakesWhatTheLibraryMakes) {
    ASSERT_EQ(0, Run(Server() + "--sites 3 --rows 20 --seed 5 --install-root " + Root().string()))
        << Output();
    EXPECT_THAT(Output(), testing::HasSubstr("An installation at version 1.0000 with 3 sites.\n"
                                             "  site 1 at 1.0000\n"
                                             "  site 2 at 1.0050\n"
                                             "  site 3 at 1.0210\n"));
    const State byProgram = StateOfAll();
    const auto size = Files().size();
    DropDatabases();
    RemoveFiles();
    auto options = Options(3, 20);
    options.seed = 5;
    std::vector<std::string> calls;
    options.siteStarting = [&calls](std::size_t number, std::size_t sites) {
        calls.push_back(std::to_string(number) + " of " + std::to_string(sites));
    };
    sample::MakeInstallation(Host(), options);
    EXPECT_THAT(calls, testing::ElementsAre("1 of 3", "2 of 3", "3 of 3"));
    EXPECT_TRUE(SameState(byProgram, StateOfAll()));
    EXPECT_EQ(size, Files().size() + 1) << "the output is the only other file";
}

TEST_F(SampleProgram, TakesThePasswordFromAFile) {
    Sql("CREATE OR REPLACE USER 'maker'@'localhost' IDENTIFIED BY 'hush';");
    Sql("GRANT ALL ON *.* TO 'maker'@'localhost';");
    WriteFile("password", "hush\n");
    fs::permissions(Root() / "password", fs::perms::owner_read);
    const std::string maker = "--socket " + ServerTest::Server().Socket().string() +
                              " --user maker --sites 0 --password-file ";
    EXPECT_EQ(0, Run(maker + (Root() / "password").string())) << Output();
    EXPECT_EQ(2, Run(maker + (Root() / "missing").string()));
    EXPECT_THAT(Output(), testing::HasSubstr("cannot read the password file "));
    fs::permissions(Root() / "password", fs::perms::others_read, fs::perm_options::add);
    EXPECT_EQ(2, Run(maker + (Root() / "password").string()));
    EXPECT_THAT(Output(), testing::HasSubstr("chmod 600"));
    Sql("DROP USER 'maker'@'localhost';");
}

TEST_F(SampleProgram, TakesTheProgramsConnectionOptions) {
    const std::string socket = ServerTest::Server().Socket().string();
    EXPECT_EQ(0, Run("--sites 0 -u root --charset utf8mb4 --sql-mode= -S " + socket)) << Output();
    const std::string server = "--sites 0 --socket " + socket;
    for (const std::string wrong :
         {" --user=", " -psecret", " --datadir /tmp/x",
          " --ssl-ca=", " --charset=", " --password-file=", " --defaults-file /nonexistent"}) {
        EXPECT_EQ(2, Run(server + wrong)) << wrong << Output();
        EXPECT_EQ(std::string::npos, Output().find("secret"));
    }
    EXPECT_EQ(2, Run("--sites 0x1 --socket " + socket)) << Output();
    EXPECT_EQ(2, Run("--sites 0 --host localhost --port 0xcea")) << Output();
    EXPECT_EQ(1, Run(server + " --user root --charset gbk"));
    EXPECT_THAT(Output(), testing::HasSubstr("the character set gbk is not supported"));
}

TEST_F(SampleProgram, FailsWhereAnInstallationIsAlready) {
    ASSERT_EQ(0, Run(Server() + "--sites 0"));
    EXPECT_EQ(1, Run(Server() + "--sites 0"));
    EXPECT_EQ(Output(),
              "twupdate-sample: the server already has an installation, the database tw_tarnwick; "
              "a sample needs a server without one\n");
}

TEST_F(SampleProgram, SaysWhatIsWrongWithItsOptions) {
    EXPECT_EQ(2, Run("--sites many"));
    EXPECT_EQ(2, Run("--sites -1"));
    EXPECT_EQ(2, Run("--colour blue"));
    EXPECT_EQ(0, Run("--help"));
    EXPECT_EQ(1, Run("--socket /nonexistent/socket"));
}

}  // namespace
}  // namespace twupdate::test
