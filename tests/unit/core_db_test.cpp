#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/recording_host.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

const std::vector<std::string> kTablesInOrder = {"installation",
                                                 "mailbcc",
                                                 "account",
                                                 "accountinvoice",
                                                 "accountpayment",
                                                 "chargingplan",
                                                 "chargingplanusageband",
                                                 "component",
                                                 "componenttype",
                                                 "country",
                                                 "currency",
                                                 "currentinvoicestartdate",
                                                 "domain",
                                                 "englishword",
                                                 "iisupdateerror",
                                                 "outstandingiisupdate",
                                                 "pagehitslastcrunched",
                                                 "site",
                                                 "sitebillingdetails",
                                                 "sitegrant",
                                                 "sitestats",
                                                 "schedule",
                                                 "emailerror"};

class CoreDb : public ::testing::Test {
  protected:
    CoreDb() {
        host->installFolder = std::filesystem::path(TWUPDATE_SOURCE_FOLDER);
        update.Configure(host);
    }
    ~CoreDb() override {
        EXPECT_EQ(host->openRecordsets, 0);
        EXPECT_LE(host->mostStatementsOfOneDatabase, 1);
    }

    /// The statement that created the table.
    std::string Creation(const std::string& table) const {
        for (const std::string& sql : host->Lines("execute")) {
            if (sql.find(" tw_tarnwick." + table + "(") != std::string::npos &&
                sql.starts_with("CREATE TABLE")) {
                return sql;
            }
        }
        return {};
    }

    std::shared_ptr<test::RecordingHost> host = std::make_shared<test::RecordingHost>();
    Update update;
};

TEST_F(CoreDb, AnExistingDatabaseEvenAnEmptyOneIsLeftAlone) {
    host->catalogue.AddDatabase("tw_tarnwick");
    EXPECT_EQ(update.CreateCoreDb(), 0);
    EXPECT_THAT(host->log, ElementsAre("query SHOW DATABASES LIKE 'tw_tarnwick';"));
}

TEST_F(CoreDb, ASecondCallReturnsFalse) {
    EXPECT_EQ(update.CreateCoreDb(), -1);
    host->log.clear();
    EXPECT_EQ(update.CreateCoreDb(), 0);
    EXPECT_THAT(host->log, SizeIs(1));
}

TEST_F(CoreDb, CreatesTheTwentyThreeTablesInOrder) {
    EXPECT_EQ(update.CreateCoreDb(), -1);
    std::vector<std::string> created;
    for (const std::string& sql : host->Lines("execute")) {
        if (!sql.starts_with("CREATE TABLE ")) {
            continue;
        }
        const auto begin = sql.find("tw_tarnwick.") + 12;
        created.push_back(sql.substr(begin, sql.find('(') - begin));
    }
    EXPECT_EQ(created, kTablesInOrder);
    EXPECT_THAT(kTablesInOrder, SizeIs(23));
}

TEST_F(CoreDb, OnlyTheLastTwoTablesAreCreatedIfTheyDoNotExist) {
    update.CreateCoreDb();
    for (const std::string& table : kTablesInOrder) {
        const bool isLate = table == "schedule" || table == "emailerror";
        EXPECT_THAT(Creation(table),
                    StartsWith(isLate ? "CREATE TABLE IF NOT EXISTS tw_tarnwick." + table + "("
                                      : "CREATE TABLE tw_tarnwick." + table + "("));
        EXPECT_THAT(Creation(table), EndsWith(");"));
    }
}

TEST_F(CoreDb, RecordsTheVersionRightAfterItsTable) {
    update.CreateCoreDb();
    ASSERT_GT(host->log.size(), 4U);
    EXPECT_EQ(host->log[0], "query SHOW DATABASES LIKE 'tw_tarnwick';");
    EXPECT_EQ(host->log[1], "execute CREATE DATABASE tw_tarnwick;");
    EXPECT_THAT(host->log[2], StartsWith("execute CREATE TABLE tw_tarnwick.installation("));
    EXPECT_EQ(host->log[3],
              "execute INSERT INTO tw_tarnwick.installation(version) VALUES(1.0265);");
    EXPECT_THAT(host->log[4], StartsWith("execute CREATE TABLE tw_tarnwick.mailbcc("));
}

TEST_F(CoreDb, ImportsTheFiveReferenceTablesInOrder) {
    update.CreateCoreDb();
    std::vector<std::string> emptied;
    for (const std::string& sql : host->Lines("execute")) {
        if (sql.starts_with("DELETE FROM ")) {
            emptied.push_back(sql);
        }
    }
    EXPECT_THAT(
        emptied,
        ElementsAre("DELETE FROM tw_tarnwick.country;", "DELETE FROM tw_tarnwick.currency;",
                    "DELETE FROM tw_tarnwick.englishword;", "DELETE FROM tw_tarnwick.component;",
                    "DELETE FROM tw_tarnwick.componenttype;"));
    const auto changes = host->Changes();
    ASSERT_GT(changes.size(), 10U);
    EXPECT_THAT(changes[changes.size() - 9],
                StartsWith("execute INSERT INTO "
                           "tw_tarnwick.country(countryid,country,eumember,acronym) VALUES(4,'"));
    EXPECT_THAT(
        changes[changes.size() - 7],
        StartsWith("execute INSERT INTO "
                   "tw_tarnwick.currency(currencyid,currencycode,currencysymbol) VALUES(784,'"));
    EXPECT_THAT(changes[changes.size() - 5],
                StartsWith("execute INSERT INTO tw_tarnwick.englishword(word) VALUES('"));
    EXPECT_THAT(
        changes[changes.size() - 3],
        StartsWith("execute INSERT INTO tw_tarnwick.component(componentid,componentname,foldername,"
                   "componentfile,available,published,mandatory,layoutcomponent,standalone,section,"
                   "allowcopy,allowcopywithoutdata,widget) VALUES(100,'"));
    EXPECT_THAT(
        changes[changes.size() - 1],
        StartsWith(
            "execute INSERT INTO tw_tarnwick.componenttype(componenttype,componentid) VALUES("));
}

TEST_F(CoreDb, AMissingDataFileLeavesItsTableEmptyAndIsNoError) {
    host->installFolder = "/nowhere";
    EXPECT_EQ(update.CreateCoreDb(), -1);
    EXPECT_THAT(host->Changes(), SizeIs(25));  // the database, 23 tables, the installation row
}

TEST_F(CoreDb, AFailedStatementEndsTheCreationAndALaterCallDoesNotFinishIt) {
    host->FailAt(6);  // the query, the database, installation, its row, mailbcc, account
    EXPECT_THROW(update.CreateCoreDb(), HostError);
    EXPECT_NE(host->catalogue.Find("tw_tarnwick", "mailbcc"), nullptr);
    EXPECT_EQ(host->catalogue.Find("tw_tarnwick", "account"), nullptr);
    host->log.clear();
    EXPECT_EQ(update.CreateCoreDb(), 0);
    EXPECT_THAT(host->log, SizeIs(1));
}

TEST_F(CoreDb, NeedsTheHost) {
    Update unconfigured;
    EXPECT_THROW(unconfigured.CreateCoreDb(), NotConfiguredError);
}

TEST_F(CoreDb, DeclaresColumnsInTheHouseStyle) {
    update.CreateCoreDb();
    const auto definition = [&](const char* table, const char* column) {
        return host->catalogue.Definition("tw_tarnwick", table, column);
    };
    EXPECT_EQ(definition("installation", "mailserverport"), "INT DEFAULT 25 NOT NULL");
    EXPECT_EQ(definition("account", "accountid"), "INT AUTO_INCREMENT NOT NULL");
    EXPECT_EQ(definition("account", "siteid"), "INT DEFAULT NULL");
    EXPECT_EQ(definition("account", "firstwarningsent"), "DATETIME DEFAULT '1001-01-01 00:00:00'");
    EXPECT_EQ(definition("account", "creditlimit"), "DECIMAL(17,2) DEFAULT '0.00' NOT NULL");
    EXPECT_EQ(definition("account", "associatecookielife"),
              "VARCHAR(35) DEFAULT '0-0-30 0:0:0' NOT NULL");
    EXPECT_EQ(definition("accountinvoice", "rawusage"), "float DEFAULT 0 NOT NULL");
    EXPECT_EQ(definition("mailbcc", "siteid"), "VARCHAR(50) DEFAULT '' NOT NULL");
    EXPECT_EQ(definition("site", "description"), "longtext");
    EXPECT_EQ(definition("site", "sitestarted"), "BOOL DEFAULT -1 NOT NULL");
    EXPECT_EQ(definition("site", "serverstarted"), "BOOL DEFAULT 0 NOT NULL");
    EXPECT_EQ(definition("schedule", "schedule"), "VARCHAR(50) NOT NULL");
    EXPECT_EQ(definition("schedule", "lastruntime"),
              "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL");
    EXPECT_EQ(definition("emailerror", "tolist"), "LONGTEXT DEFAULT '' NOT NULL");
    EXPECT_EQ(definition("site", "selfexport"), std::nullopt);  // only upgraded installations
    EXPECT_THAT(Creation("domain"), HasSubstr("INDEX domainname_idx(domainname(15))"));
    EXPECT_THAT(Creation("currency"), HasSubstr("UNIQUE KEY currencycode(currencycode)"));
    EXPECT_THAT(Creation("site"), HasSubstr("UNIQUE KEY SiteIdIndex(siteid)"));
}

}  // namespace
}  // namespace twupdate
