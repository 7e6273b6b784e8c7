// The central database made from nothing, on a real server.
#include <algorithm>
#include <fstream>
#include <sstream>

#include "support/expected_file.h"
#include "support/server_test.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::string> Sorted(std::vector<std::string> lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

class CentralCreation : public ServerTest {
  protected:
    Boolean Create() {
        Update update;
        update.Configure(Host());
        return update.CreateCoreDb();
    }

    /// Puts a data file in the place of the shipped one.
    void ReplaceDataFile(const std::string& table, const std::string& content) {
        namespace fs = std::filesystem;
        const fs::path resources = InstallFolder() / "resources";
        if (fs::is_symlink(resources)) {
            const fs::path shipped = fs::canonical(resources);
            fs::remove(resources);
            fs::copy(shipped, resources);
        }
        std::ofstream(resources / (table + "Data.txt"), std::ios::binary) << content;
    }

    /// The lines of a shipped data file, with " | " for a tab.
    std::vector<std::string> Shipped(const std::string& table) const {
        std::ifstream file(InstallFolder() / "resources" / (table + "Data.txt"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            for (auto tab = line.find('\t'); tab != std::string::npos; tab = line.find('\t')) {
                line.replace(tab, 1, " | ");
            }
            lines.push_back(line);
        }
        return lines;
    }
};

TEST_F(CentralCreation, MakesEveryTableColumnByColumn) {
    EXPECT_EQ(Create(), -1);
    EXPECT_TRUE(
        IsSchemaOfFile(TWUPDATE_TEST_FOLDER "/data/central_schema.txt", SchemaOf("tw_tarnwick")));
}

TEST_F(CentralCreation, LeavesOneInstallationRowWithDefaults) {
    Create();
    EXPECT_THAT(Rows("SELECT * FROM tw_tarnwick.installation"),
                ElementsAre(kCurrentStored + " |  |  |  | 25 |  |  | 0 |  | 0 |  |  | "));
}

TEST_F(CentralCreation, FillsTheReferenceTablesAndNoOther) {
    Create();
    const std::string kComponentColumns =
        "componentid, componentname, foldername, componentfile, available, published, mandatory, "
        "layoutcomponent, standalone, section, allowcopy, allowcopywithoutdata, widget";
    for (const auto& [table, columns] :
         std::vector<std::pair<std::string, std::string>>{{"country", "*"},
                                                          {"currency", "*"},
                                                          {"englishword", "*"},
                                                          {"component", kComponentColumns},
                                                          {"componenttype", "*"}}) {
        std::string query = "SELECT ";
        query.append(columns).append(" FROM tw_tarnwick.").append(table);
        EXPECT_TRUE(Sorted(Rows(query)) == Sorted(Shipped(table))) << table;
    }
    EXPECT_THAT(Rows("SELECT dev FROM tw_tarnwick.component"), Each("0"));
    for (const std::string table :
         {"mailbcc", "account", "accountinvoice", "accountpayment", "chargingplan",
          "chargingplanusageband", "currentinvoicestartdate", "domain", "iisupdateerror",
          "outstandingiisupdate", "pagehitslastcrunched", "site", "sitebillingdetails", "sitegrant",
          "sitestats", "schedule", "emailerror"}) {
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick." + table), "0") << table;
    }
}

TEST_F(CentralCreation, KeepsSymbolsAndAccentsThroughTheConnection) {
    Create();
    EXPECT_EQ(Cell("SELECT HEX(CONVERT(currencysymbol USING utf8mb4)) FROM tw_tarnwick.currency "
                   "WHERE currencycode = 'EUR'"),
              "E282AC");
    EXPECT_EQ(Cell("SELECT CHAR_LENGTH(country) FROM tw_tarnwick.country WHERE acronym = 'AX'"),
              "13");  // Åland Islands
}

TEST_F(CentralCreation, HoldsTheConnectionsCharactersWhateverTheServersDefault) {
    Sql("SET GLOBAL character_set_server = latin1;");
    Reconnect();
    EXPECT_EQ(Create(), -1);
    EXPECT_EQ(Cell("SELECT DEFAULT_CHARACTER_SET_NAME FROM information_schema.SCHEMATA "
                   "WHERE SCHEMA_NAME = 'tw_tarnwick'"),
              "utf8mb4");
    EXPECT_EQ(Cell("SELECT currencysymbol FROM tw_tarnwick.currency WHERE currencycode = 'INR'"),
              "₹");
    Sql("SET GLOBAL character_set_server = utf8mb4;");
}

TEST_F(CentralCreation, ASecondCallChangesNothing) {
    Create();
    Sql("UPDATE tw_tarnwick.installation SET base = 'kept'; DROP TABLE tw_tarnwick.site;");
    const auto before = RowsOf("tw_tarnwick");
    EXPECT_EQ(Create(), 0);
    EXPECT_TRUE(SameRows(before, RowsOf("tw_tarnwick")));
    EXPECT_THAT(SchemaOf("tw_tarnwick").tables, SizeIs(22));
}

TEST_F(CentralCreation, AnEmptyDatabaseOfTheNameIsLeftEmpty) {
    Sql("CREATE DATABASE tw_tarnwick;");
    EXPECT_EQ(Create(), 0);
    EXPECT_THAT(SchemaOf("tw_tarnwick").tables, IsEmpty());
}

TEST_F(CentralCreation, AMissingDataFileLeavesItsTableEmpty) {
    ReplaceDataFile("currency", "");
    std::filesystem::remove(InstallFolder() / "resources" / "currencyData.txt");
    EXPECT_EQ(Create(), -1);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.currency"), "0");
    EXPECT_NE(Cell("SELECT COUNT(*) FROM tw_tarnwick.country"), "0");
}

TEST_F(CentralCreation, AShortLineEndsItAndLeavesTheTableEmpty) {
    ReplaceDataFile("currency", "826\tGBP\t£\n840\tUSD\n");
    try {
        Create();
        FAIL() << "nothing was thrown";
    } catch (const DataFileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("currencyData.txt line 2 has only 2 of 3 fields"));
    }
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.currency"), "0");
    EXPECT_EQ(Create(), 0);
}

TEST_F(CentralCreation, AMalformedNumberIsTheServersError) {
    for (const char* line : {"\tGBP\t£\n", "x\tGBP\t£\n"}) {
        Sql("DROP DATABASE IF EXISTS tw_tarnwick;");
        ReplaceDataFile("currency", line);
        EXPECT_THROW(Create(), HostError) << line;
        EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.currency"), "0");
    }
}

TEST_F(CentralCreation, AnUpgradeOfANewDatabaseDoesNothing) {
    Create();
    const auto faulty = Faulty();
    UpgradeInstallation(faulty);
    EXPECT_EQ(faulty->Calls(), 0U);
}

TEST_F(CentralCreation, AWordFileOfSeveralMegabytesGoesInOneStatement) {
    std::string words;
    for (int i = 0; i < 300'000; ++i) {
        words += "word" + std::to_string(i) + "\n";
    }
    ReplaceDataFile("englishword", words);
    const auto faulty = Faulty();
    Update update;
    update.Configure(faulty);
    EXPECT_EQ(update.CreateCoreDb(), -1);
    EXPECT_EQ(Cell("SELECT COUNT(DISTINCT word) FROM tw_tarnwick.englishword"), "300000");
    EXPECT_EQ(std::count_if(faulty->Log().begin(), faulty->Log().end(),
                            [](const std::string& sql) {
                                return sql.starts_with("INSERT INTO tw_tarnwick.englishword");
                            }),
              1);
}

TEST_F(CentralCreation, AStatementTooLargeForTheServerNamesTheSetting) {
    ReplaceDataFile(
        "englishword", std::string(40, 'w') + "\n" + [] {
            std::string words;
            for (int i = 0; i < 100'000; ++i) {
                words += "another word " + std::to_string(i) + "\n";
            }
            return words;
        }());
    const std::string before = Cell("SELECT @@global.max_allowed_packet");
    Sql("SET GLOBAL max_allowed_packet = 1048576;");
    Reconnect();
    try {
        Create();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const HostError& error) {
        EXPECT_EQ(error.Code(), 2020U);
        EXPECT_THAT(error.what(), HasSubstr("accepts less than 1048576; increase "
                                            "max_allowed_packet"));
    }
    Sql("SET GLOBAL max_allowed_packet = " + before + ";");  // the connection is still there
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_tarnwick.englishword"), "0");
}

}  // namespace
}  // namespace twupdate::test
