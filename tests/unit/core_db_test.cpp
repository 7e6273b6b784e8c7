#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/recording_host.h"
#include "support/versions.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

using test::kCurrentStored;
using ::testing::ElementsAre;
using ::testing::SizeIs;
using ::testing::StartsWith;

// clang-format off
// To the letter: a server prints some of it back in another form (how a default is written, and
// whether there is one).
const std::vector<std::string> kCreations = {
    "CREATE TABLE tw_tarnwick.installation("
    "version DOUBLE DEFAULT 0 NOT NULL, "
    "webmasterusername VARCHAR(50) DEFAULT '' NOT NULL, "
    "webmasterpassword VARCHAR(50) DEFAULT '' NOT NULL, "
    "mailserver VARCHAR(50) DEFAULT '' NOT NULL, "
    "mailserverport INT DEFAULT 25 NOT NULL, "
    "mailserverusername VARCHAR(50) DEFAULT '' NOT NULL, "
    "mailserverpassword VARCHAR(255) DEFAULT '' NOT NULL, "
    "mailserverencryption BOOL DEFAULT 0 NOT NULL, "
    "infotamelock VARCHAR(20) DEFAULT '' NOT NULL, "
    "reporterrors BOOL DEFAULT 0 NOT NULL, "
    "webips VARCHAR(255) DEFAULT '' NOT NULL, "
    "webports VARCHAR(100) DEFAULT '' NOT NULL, "
    "base VARCHAR(20) DEFAULT '' NOT NULL);",
    "CREATE TABLE tw_tarnwick.mailbcc("
    "siteid VARCHAR(50) DEFAULT '' NOT NULL, "
    "emailaddress VARCHAR(50) DEFAULT '' NOT NULL, "
    "PRIMARY KEY(siteid, emailaddress));",
    "CREATE TABLE tw_tarnwick.account("
    "accountid INT AUTO_INCREMENT NOT NULL, "
    "siteid INT DEFAULT NULL, "
    "userid INT DEFAULT NULL, "
    "creditlimit DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "currencyid MEDIUMINT DEFAULT 0 NOT NULL, "
    "dayscredit MEDIUMINT DEFAULT 0 NOT NULL, "
    "overdayscredit BOOL DEFAULT 0 NOT NULL, "
    "firstwarningsent DATETIME DEFAULT '1001-01-01 00:00:00', "
    "finalwarningsent DATETIME DEFAULT '1001-01-01 00:00:00', "
    "suggestedpayment DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "currentbalance DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "futurebalance DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "pendingbalance DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "suspended BOOL DEFAULT 0 NOT NULL, "
    "associatepercentage DOUBLE DEFAULT 0 NOT NULL, "
    "associatechargepassword VARCHAR(20) DEFAULT '' NOT NULL, "
    "associatecookielife VARCHAR(35) DEFAULT '0-0-30 0:0:0' NOT NULL, "
    "PRIMARY KEY(accountid), "
    "INDEX siteanduser(siteid, userid));",
    "CREATE TABLE tw_tarnwick.accountinvoice("
    "accountinvoiceid BIGINT AUTO_INCREMENT NOT NULL, "
    "accountid INT DEFAULT NULL, "
    "comment VARCHAR(255) DEFAULT NULL, "
    "invoicedate DATETIME DEFAULT NULL, "
    "invoicetype MEDIUMINT DEFAULT 0 NOT NULL, "
    "invoicesiteid INT DEFAULT 0 NOT NULL, "
    "chargingplanid INT DEFAULT 0 NOT NULL, "
    "amount DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "tax DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "rawusage float DEFAULT 0 NOT NULL, "
    "cumulativedate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
    "pending BOOL DEFAULT 0 NOT NULL, "
    "admincomment VARCHAR(255) DEFAULT '' NOT NULL, "
    "PRIMARY KEY(accountinvoiceid), "
    "INDEX account(accountid));",
    "CREATE TABLE tw_tarnwick.accountpayment("
    "accountpaymentid BIGINT AUTO_INCREMENT NOT NULL, "
    "accountid INT DEFAULT NULL, "
    "comment VARCHAR(255) DEFAULT NULL, "
    "paymentdate DATETIME DEFAULT NULL, "
    "amount DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "paymenttype MEDIUMINT DEFAULT 0 NOT NULL, "
    "pending BOOL DEFAULT 0 NOT NULL, "
    "admincomment VARCHAR(255) DEFAULT '' NOT NULL, "
    "cartorderid INT DEFAULT 0 NOT NULL, "
    "PRIMARY KEY(accountpaymentid), "
    "INDEX account(accountid), "
    "INDEX cartorderid_idx(cartorderid));",
    "CREATE TABLE tw_tarnwick.chargingplan("
    "id INT AUTO_INCREMENT NOT NULL, "
    "siteid INT DEFAULT 0 NOT NULL, "
    "name VARCHAR(100) DEFAULT '' NOT NULL, "
    "startupcharge DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "monthlyusageunit MEDIUMINT DEFAULT 0 NOT NULL, "
    "creditlimit DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "monthlyfixedcharge DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "replacementplanid INT DEFAULT 0 NOT NULL, "
    "currencyid INT DEFAULT 0 NOT NULL, "
    "locked BOOL DEFAULT 0 NOT NULL, "
    "removed BOOL DEFAULT 0 NOT NULL, "
    "replacementdate DATETIME DEFAULT '3000-01-01 00:00:00' NOT NULL, "
    "sitereplacementplanid INT DEFAULT 0 NOT NULL, "
    "sitereplacementplandays INT DEFAULT 0 NOT NULL, "
    "hidden BOOL DEFAULT 0 NOT NULL, "
    "PRIMARY KEY(id));",
    "CREATE TABLE tw_tarnwick.chargingplanusageband("
    "chargingplanid INT DEFAULT 0 NOT NULL, "
    "bandstart INT DEFAULT 0 NOT NULL, "
    "unitprice DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
    "PRIMARY KEY(chargingplanid, bandstart));",
    "CREATE TABLE tw_tarnwick.component("
    "componentid INT DEFAULT 0 NOT NULL, "
    "componentname VARCHAR(255) DEFAULT NULL, "
    "foldername VARCHAR(50) DEFAULT NULL, "
    "componentfile VARCHAR(50) DEFAULT NULL, "
    "available BOOL DEFAULT 0 NOT NULL, "
    "published BOOL DEFAULT 0 NOT NULL, "
    "mandatory BOOL DEFAULT 0 NOT NULL, "
    "layoutcomponent BOOL DEFAULT 0 NOT NULL, "
    "standalone BOOL DEFAULT 0 NOT NULL, "
    "section BOOL DEFAULT 0 NOT NULL, "
    "allowcopy BOOL DEFAULT 0 NOT NULL, "
    "allowcopywithoutdata BOOL DEFAULT 0 NOT NULL, "
    "widget BOOL DEFAULT 0 NOT NULL, "
    "dev BOOL DEFAULT 0 NOT NULL, "
    "PRIMARY KEY(componentid));",
    "CREATE TABLE tw_tarnwick.componenttype("
    "componenttype MEDIUMINT DEFAULT 0 NOT NULL, "
    "componentid INT DEFAULT 0 NOT NULL, "
    "PRIMARY KEY(componenttype, componentid));",
    "CREATE TABLE tw_tarnwick.country("
    "countryid INT AUTO_INCREMENT NOT NULL, "
    "country VARCHAR(100) DEFAULT NULL, "
    "eumember BOOL DEFAULT 0 NOT NULL, "
    "acronym VARCHAR(10) DEFAULT '' NOT NULL, "
    "PRIMARY KEY(countryid));",
    "CREATE TABLE tw_tarnwick.currency("
    "currencyid INT AUTO_INCREMENT NOT NULL, "
    "currencycode VARCHAR(10) DEFAULT NULL, "
    "currencysymbol VARCHAR(5) DEFAULT NULL, "
    "PRIMARY KEY(currencyid), "
    "UNIQUE KEY currencycode(currencycode));",
    "CREATE TABLE tw_tarnwick.currentinvoicestartdate("
    "startdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL);",
    "CREATE TABLE tw_tarnwick.domain("
    "siteid INT DEFAULT 0 NOT NULL, "
    "domainname VARCHAR(100) DEFAULT '' NOT NULL, "
    "ipaddress VARCHAR(15) DEFAULT '' NOT NULL, "
    "tcpport INT DEFAULT 0 NOT NULL, "
    "defaultdomain BOOL DEFAULT 0 NOT NULL, "
    "redirecttodefault BOOL DEFAULT 0 NOT NULL, "
    "placeholder BOOL DEFAULT 0 NOT NULL, "
    "INDEX siteidindex(siteid), "
    "INDEX domainname_idx(domainname(15)));",
    "CREATE TABLE tw_tarnwick.englishword("
    "word VARCHAR(50) DEFAULT NULL);",
    "CREATE TABLE tw_tarnwick.iisupdateerror("
    "iisupdateerrorid INT AUTO_INCREMENT NOT NULL, "
    "siteid INT DEFAULT 0 NOT NULL, "
    "created DATETIME DEFAULT '1001-01-01 00:00:00' NOT NULL, "
    "description VARCHAR(255) DEFAULT '' NOT NULL, "
    "PRIMARY KEY(iisupdateerrorid), "
    "INDEX siteidindex(siteid));",
    "CREATE TABLE tw_tarnwick.outstandingiisupdate("
    "siteid INT DEFAULT 0 NOT NULL, "
    "filename VARCHAR(50) DEFAULT '' NOT NULL, "
    "INDEX siteidindex(siteid));",
    "CREATE TABLE tw_tarnwick.pagehitslastcrunched("
    "siteid INT DEFAULT NULL, "
    "crunchtime DATETIME DEFAULT NULL, "
    "INDEX siteidindex(siteid));",
    "CREATE TABLE tw_tarnwick.site("
    "rootsiteid BIGINT AUTO_INCREMENT NOT NULL, "
    "siteid BIGINT DEFAULT 0 NOT NULL, "
    "version DOUBLE DEFAULT 0 NOT NULL, "
    "sitename VARCHAR(255) DEFAULT NULL, "
    "userid INT DEFAULT 0 NOT NULL, "
    "suspended BOOL DEFAULT 0 NOT NULL, "
    "template BOOL DEFAULT 0 NOT NULL, "
    "description longtext, "
    "previewimage VARCHAR(100) DEFAULT '' NOT NULL, "
    "parentsiteid INT DEFAULT 0 NOT NULL, "
    "parentsiteuserid INT DEFAULT 0 NOT NULL, "
    "ancestors VARCHAR(255) DEFAULT '' NOT NULL, "
    "deleted BOOL DEFAULT 0 NOT NULL, "
    "layoutfeatureid INT DEFAULT 0 NOT NULL, "
    "creationdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
    "expirydate DATETIME DEFAULT '3000-01-01 00:00:00' NOT NULL, "
    "createdbyfeatureid INT DEFAULT 0 NOT NULL, "
    "chargingplanid INT DEFAULT 0 NOT NULL, "
    "autosuspended BOOL DEFAULT 0 NOT NULL, "
    "upstreamautosuspended BOOL DEFAULT 0 NOT NULL, "
    "sitemanagerfeatureid INT DEFAULT 0 NOT NULL, "
    "harddeleted BOOL DEFAULT 0 NOT NULL, "
    "logonfeatureid INT DEFAULT 0 NOT NULL, "
    "sitefeatureid INT DEFAULT 0 NOT NULL, "
    "defaultfeatureid INT DEFAULT 0 NOT NULL, "
    "transaction BOOL DEFAULT 0 NOT NULL, "
    "demo BOOL DEFAULT 0 NOT NULL, "
    "serverstarted BOOL DEFAULT 0 NOT NULL, "
    "sitestarted BOOL DEFAULT -1 NOT NULL, "
    "querycachettl INT DEFAULT 0 NOT NULL, "
    "PRIMARY KEY(rootsiteid), "
    "UNIQUE KEY SiteIdIndex(siteid), "
    "INDEX deleted_idx(deleted));",
    "CREATE TABLE tw_tarnwick.sitebillingdetails("
    "siteid INT DEFAULT 0 NOT NULL, "
    "chargingplanid INT DEFAULT 0 NOT NULL, "
    "startdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
    "finishdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
    "parentsiteid INT DEFAULT 0 NOT NULL, "
    "parentsiteuserid INT DEFAULT 0 NOT NULL, "
    "ancestors VARCHAR(255) DEFAULT NULL, "
    "PRIMARY KEY(siteid, startdate));",
    "CREATE TABLE tw_tarnwick.sitegrant("
    "siteid INT DEFAULT 0 NOT NULL, "
    "userid INT DEFAULT 0 NOT NULL, "
    "granttype MEDIUMINT DEFAULT 0 NOT NULL, "
    "grantlinkint INT DEFAULT 0 NOT NULL, "
    "grantuse BOOL DEFAULT 0 NOT NULL, "
    "grantrecursiveuse BOOL DEFAULT 0 NOT NULL, "
    "barredbyparent BOOL DEFAULT 0 NOT NULL, "
    "PRIMARY KEY(siteid, userid, granttype, grantlinkint));",
    "CREATE TABLE tw_tarnwick.sitestats("
    "siteid INT DEFAULT NULL, "
    "parentsiteid INT DEFAULT NULL, "
    "parentsiteuserid INT DEFAULT NULL, "
    "ancestors VARCHAR(255) DEFAULT NULL, "
    "megabytes DOUBLE DEFAULT 0 NOT NULL, "
    "pagehits INT DEFAULT 0 NOT NULL, "
    "periodstart DATETIME DEFAULT NULL, "
    "periodfinish DATETIME DEFAULT NULL, "
    "mbsent DOUBLE DEFAULT 0 NOT NULL, "
    "mbrecvd DOUBLE DEFAULT 0 NOT NULL, "
    "INDEX siteidindex(siteid));",
    "CREATE TABLE IF NOT EXISTS tw_tarnwick.schedule("
    "siteid INT NOT NULL, "
    "featureid INT NOT NULL, "
    "subfeatureid INT DEFAULT 0 NOT NULL, "
    "tasktype INT NOT NULL, "
    "schedule VARCHAR(50) NOT NULL, "
    "lastruntime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, "
    "nextruntime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, "
    "text VARCHAR(255), "
    "INDEX siteid_idx(siteid), "
    "INDEX featureid_idx(featureid), "
    "INDEX tasktype_idx(tasktype), "
    "INDEX lastruntime_idx(lastruntime));",
    "CREATE TABLE IF NOT EXISTS tw_tarnwick.emailerror("
    "errorid INT AUTO_INCREMENT NOT NULL, "
    "errortime DATETIME DEFAULT '1000-01-01' NOT NULL, "
    "error VARCHAR(255) DEFAULT '' NOT NULL, "
    "subject VARCHAR(255) DEFAULT '' NOT NULL, "
    "tolist LONGTEXT DEFAULT '' NOT NULL, "
    "cclist LONGTEXT DEFAULT '' NOT NULL, "
    "bcclist LONGTEXT DEFAULT '' NOT NULL, "
    "fromlist VARCHAR(255) DEFAULT '' NOT NULL, "
    "PRIMARY KEY(errorid), "
    "INDEX errortime_idx(errortime));",
};
// clang-format on

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

TEST_F(CoreDb, CreatesTheTwentyThreeTablesToTheLetter) {
    EXPECT_EQ(update.CreateCoreDb(), -1);
    std::vector<std::string> created;
    for (const std::string& sql : host->Lines("execute")) {
        if (sql.starts_with("CREATE TABLE ")) {
            created.push_back(sql);
        }
    }
    ASSERT_THAT(kCreations, SizeIs(23));
    ASSERT_EQ(created.size(), kCreations.size());
    for (std::size_t i = 0; i < created.size(); ++i) {
        EXPECT_EQ(created[i], kCreations[i]);
    }
}

TEST_F(CoreDb, RecordsTheVersionRightAfterItsTable) {
    update.CreateCoreDb();
    ASSERT_GT(host->log.size(), 4U);
    EXPECT_EQ(host->log[0], "query SHOW DATABASES LIKE 'tw_tarnwick';");
    EXPECT_EQ(host->log[1], "execute CREATE DATABASE tw_tarnwick;");
    EXPECT_THAT(host->log[2], StartsWith("execute CREATE TABLE tw_tarnwick.installation("));
    EXPECT_EQ(host->log[3], "execute INSERT INTO tw_tarnwick.installation(version) VALUES(" +
                                kCurrentStored + ");");
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

}  // namespace
}  // namespace twupdate
