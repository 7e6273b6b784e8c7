#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "support/recording_host.h"
#include "support/update_test_peer.h"

namespace twupdate {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::vector<std::string> kCurrency = {"currencyid",     "INT",    "currencycode", "VARCHAR",
                                            "currencysymbol", "VARCHAR"};

class ReferenceData : public ::testing::Test {
  protected:
    ReferenceData() {
        fs::create_directories(folder / "resources");
        host->installFolder = folder;
        update.Configure(host);
        host->catalogue.AddTable("tw_tarnwick",
                                 "currency(currencyid INT, currencycode VARCHAR(10), "
                                 "currencysymbol VARCHAR(5))");
        host->catalogue.AddTable("tw_tarnwick", "component(componentid INT)");
        host->catalogue.AddTable("tw_tarnwick", "componenttype(componentid INT)");
    }
    ~ReferenceData() override { fs::remove_all(folder); }

    void Write(const std::string& table, const std::string& content) {
        std::ofstream(folder / "resources" / (table + "Data.txt"), std::ios::binary) << content;
    }

    fs::path folder = fs::temp_directory_path() / ("twupdate-data-" + std::to_string(getpid()));
    std::shared_ptr<test::RecordingHost> host = std::make_shared<test::RecordingHost>();
    Update update;
    UpdateTestPeer peer{update};
};

const std::string kDelete = "execute DELETE FROM tw_tarnwick.currency;";

std::string Insert(const std::string& rows) {
    return "execute INSERT INTO tw_tarnwick.currency(currencyid,currencycode,currencysymbol) "
           "VALUES" +
           rows + ";";
}

TEST_F(ReferenceData, ReplacesTheTableInOneDeleteAndOneInsert) {
    Write("currency", "1\tGBP\t£\n2\tUSD\t$\n");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_THAT(host->log, ElementsAre(kDelete, Insert("(1,'GBP','£'),(2,'USD','$')")));
}

TEST_F(ReferenceData, AMissingFileLeavesTheTableAsItIs) {
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(ReferenceData, AFolderOfTheFilesNameIsNoFile) {
    fs::create_directories(folder / "resources" / "currencyData.txt");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_THAT(host->log, IsEmpty());
}

TEST_F(ReferenceData, AFileWithOnlyEmptyLinesEmptiesTheTable) {
    Write("currency", "\n\n\r\n");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_THAT(host->log, ElementsAre(kDelete));
}

TEST_F(ReferenceData, AnEmptyFileEmptiesTheTable) {
    Write("currency", "");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_THAT(host->log, ElementsAre(kDelete));
}

TEST_F(ReferenceData, DoublesTheQuoteOfATextField) {
    Write("currency", "1\tO'Brien\t''\n");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_EQ(host->log.back(), Insert("(1,'O''Brien','''''')"));
}

TEST_F(ReferenceData, LeavesABackslashToTheServer) {
    Write("currency", "1\ta\\tb\t\\\n");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_EQ(host->log.back(), Insert("(1,'a\\tb','\\')"));
}

TEST_F(ReferenceData, IgnoresFieldsBeyondTheColumns) {
    Write("currency", "1\tGBP\t£\textra\tmore\n");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_EQ(host->log.back(), Insert("(1,'GBP','£')"));
}

TEST_F(ReferenceData, ALineWithASingleSpaceIsARow) {
    Write("englishword", " \n");
    host->catalogue.AddTable("tw_tarnwick", "englishword(word VARCHAR(50))");
    peer.ImportReferenceData("englishword", {"word", "VARCHAR"});
    EXPECT_EQ(host->log.back(), "execute INSERT INTO tw_tarnwick.englishword(word) VALUES(' ');");
}

TEST_F(ReferenceData, ALineWithFewerFieldsEndsTheImportAfterTheDelete) {
    Write("currency", "1\tGBP\t£\n\n2\tUSD\n");
    try {
        peer.ImportReferenceData("currency", kCurrency);
        FAIL() << "nothing was thrown";
    } catch (const DataFileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("currencyData.txt line 3 has only 2 of 3 fields"));
    }
    EXPECT_THAT(host->log, ElementsAre(kDelete));
}

TEST_F(ReferenceData, OnlyTheKindVarcharQuotes) {
    Write("currency", "1\t-1\tx\n");
    peer.ImportReferenceData("currency",
                             {"currencyid", "INT", "eumember", "BOOL", "other", "varchar"});
    EXPECT_EQ(
        host->log.back(),
        "execute INSERT INTO tw_tarnwick.currency(currencyid,eumember,other) VALUES(1,-1,x);");
}

TEST_F(ReferenceData, AnEmptyNumberReachesTheServerAsItIs) {
    Write("currency", "\tGBP\t\n");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_EQ(host->log.back(), Insert("(,'GBP','')"));
}

TEST_F(ReferenceData, TheLastLineNeedsNoLineBreakAndACarriageReturnBelongsToIt) {
    Write("currency", "1\tGBP\t£\r\n2\tUSD\t$");
    peer.ImportReferenceData("currency", kCurrency);
    EXPECT_EQ(host->log.back(), Insert("(1,'GBP','£'),(2,'USD','$')"));
}

TEST_F(ReferenceData, ComponentsComeBeforeTheirTypesAndLeaveDevAlone) {
    Write("component", "100\tLog In\tlogin\tlogin.dll\t-1\t-1\t-1\t0\t-1\t-1\t-1\t0\t0\n");
    Write("componenttype", "1\t100\n");
    peer.ImportComponentReferenceData();
    EXPECT_THAT(
        host->log,
        ElementsAre("execute DELETE FROM tw_tarnwick.component;",
                    "execute INSERT INTO tw_tarnwick.component(componentid,componentname,"
                    "foldername,componentfile,available,published,mandatory,layoutcomponent,"
                    "standalone,section,allowcopy,allowcopywithoutdata,widget) "
                    "VALUES(100,'Log In','login','login.dll',-1,-1,-1,0,-1,-1,-1,0,0);",
                    "execute DELETE FROM tw_tarnwick.componenttype;",
                    "execute INSERT INTO tw_tarnwick.componenttype(componenttype,componentid) "
                    "VALUES(1,100);"));
}

// --- the files that come with the component ----------------------------------------------------

/// The fields of every line of a shipped data file; fails the test on a line that is not a row.
std::vector<std::vector<std::string>> Shipped(const std::string& table, std::size_t fields) {
    const fs::path file = fs::path(TWUPDATE_SOURCE_FOLDER) / "resources" / (table + "Data.txt");
    std::ifstream lines(file, std::ios::binary);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_EQ(line.find('\r'), std::string::npos);
        std::vector<std::string> row{""};
        for (const char c : line) {
            if (c == '\t') {
                row.emplace_back();
            } else {
                row.back() += c;
            }
        }
        EXPECT_EQ(row.size(), fields) << file << ": " << line;
        rows.push_back(row);
    }
    return rows;
}

/// Characters, not bytes, of UTF-8 text.
std::size_t Length(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::set<std::string> Distinct(const std::vector<std::vector<std::string>>& rows,
                               std::size_t column) {
    std::set<std::string> values;
    for (const auto& row : rows) {
        values.insert(row.at(column));
    }
    return values;
}

TEST(ShippedData, CountriesFitTheirTable) {
    const auto rows = Shipped("country", 4);
    EXPECT_EQ(Distinct(rows, 0).size(), rows.size());
    EXPECT_EQ(Distinct(rows, 3).size(), rows.size());
    EXPECT_EQ(Distinct(rows, 2), (std::set<std::string>{"-1", "0"}));
    std::set<std::string> members;
    for (const auto& row : rows) {
        EXPECT_LE(Length(row[1]), 100U);
        EXPECT_EQ(row[3].size(), 2U);
        if (row[2] == "-1") {
            members.insert(row[3]);
        }
    }
    EXPECT_EQ(members,
              (std::set<std::string>{"AT", "BE", "BG", "CY", "CZ", "DE", "DK", "EE", "ES",
                                     "FI", "FR", "GR", "HR", "HU", "IE", "IT", "LT", "LU",
                                     "LV", "MT", "NL", "PL", "PT", "RO", "SE", "SI", "SK"}));
}

TEST(ShippedData, CurrenciesFitTheirTable) {
    const auto rows = Shipped("currency", 3);
    EXPECT_EQ(Distinct(rows, 0).size(), rows.size());
    EXPECT_EQ(Distinct(rows, 1).size(), rows.size());
    for (const auto& row : rows) {
        EXPECT_EQ(row[1].size(), 3U);
        EXPECT_GE(Length(row[2]), 1U);
        EXPECT_LE(Length(row[2]), 5U);
    }
    EXPECT_THAT(rows, ::testing::Contains(ElementsAre("826", "GBP", "£")));
    EXPECT_THAT(rows, ::testing::Contains(ElementsAre("978", "EUR", "€")));
}

TEST(ShippedData, WordsFitTheirTable) {
    const auto rows = Shipped("englishword", 1);
    EXPECT_GT(rows.size(), 2000U);
    EXPECT_EQ(Distinct(rows, 0).size(), rows.size());
    for (const auto& row : rows) {
        EXPECT_GE(row[0].size(), 1U);
        EXPECT_LE(row[0].size(), 50U);
    }
}

TEST(ShippedData, ListsEveryComponentThatTheStepsName) {
    const auto rows = Shipped("component", 13);
    const auto ids = Distinct(rows, 0);
    EXPECT_EQ(ids.size(), rows.size());
    for (const char* id : {"100",  "300",  "400",  "500",  "600",  "700",  "800",  "900",  "1000",
                           "1200", "1300", "1450", "1500", "1600", "2300", "2400", "2600", "2900",
                           "3000", "3100", "3600", "3700", "3900", "4100", "4300", "5600"}) {
        EXPECT_TRUE(ids.contains(id)) << id;
    }
    EXPECT_EQ(Distinct(rows, 2).size(), rows.size());  // no two components in one folder
    for (const auto& row : rows) {
        EXPECT_LE(row[2].size(), 50U);
        EXPECT_LE(row[3].size(), 50U);
        for (std::size_t flag = 4; flag < 13; ++flag) {
            EXPECT_TRUE(row[flag] == "-1" || row[flag] == "0") << row[flag];
        }
    }
}

TEST(ShippedData, EveryComponentHasAType) {
    const auto types = Shipped("componenttype", 2);
    EXPECT_EQ(Distinct(types, 1), Distinct(Shipped("component", 13), 0));
}

}  // namespace
}  // namespace twupdate
