#include <algorithm>
#include <array>

#include "dbutil/inspection.h"
#include "dbutil/sql.h"
#include "twupdate/interruption.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

struct TableLayout {
    std::string_view name;
    std::string_view columns;  ///< columns, then keys, as CREATE TABLE takes them
    bool ifNotExists = false;
};

// The central tables at the current version, in the order in which they are created. A change
// here goes with a server step that makes the same change on an existing installation.
constexpr TableLayout kInstallation{"installation",
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
                                    "base VARCHAR(20) DEFAULT '' NOT NULL"};

constexpr TableLayout kOtherTables[] = {
    // The site id is a text in this table alone.
    {"mailbcc",
     "siteid VARCHAR(50) DEFAULT '' NOT NULL, "
     "emailaddress VARCHAR(50) DEFAULT '' NOT NULL, "
     "PRIMARY KEY(siteid, emailaddress)"},
    // associatecookielife is a duration, years-months-days hours:minutes:seconds: thirty days.
    {"account",
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
     "INDEX siteanduser(siteid, userid)"},
    // rawusage is no money and stays a float.
    {"accountinvoice",
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
     "INDEX account(accountid)"},
    {"accountpayment",
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
     "INDEX cartorderid_idx(cartorderid)"},
    {"chargingplan",
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
     "PRIMARY KEY(id)"},
    {"chargingplanusageband",
     "chargingplanid INT DEFAULT 0 NOT NULL, "
     "bandstart INT DEFAULT 0 NOT NULL, "
     "unitprice DECIMAL(17,2) DEFAULT '0.00' NOT NULL, "
     "PRIMARY KEY(chargingplanid, bandstart)"},
    // The id comes from the data file.
    {"component",
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
     "PRIMARY KEY(componentid)"},
    {"componenttype",
     "componenttype MEDIUMINT DEFAULT 0 NOT NULL, "
     "componentid INT DEFAULT 0 NOT NULL, "
     "PRIMARY KEY(componenttype, componentid)"},
    {"country",
     "countryid INT AUTO_INCREMENT NOT NULL, "
     "country VARCHAR(100) DEFAULT NULL, "
     "eumember BOOL DEFAULT 0 NOT NULL, "
     "acronym VARCHAR(10) DEFAULT '' NOT NULL, "
     "PRIMARY KEY(countryid)"},
    {"currency",
     "currencyid INT AUTO_INCREMENT NOT NULL, "
     "currencycode VARCHAR(10) DEFAULT NULL, "
     "currencysymbol VARCHAR(5) DEFAULT NULL, "
     "PRIMARY KEY(currencyid), "
     "UNIQUE KEY currencycode(currencycode)"},
    {"currentinvoicestartdate", "startdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL"},
    {"domain",
     "siteid INT DEFAULT 0 NOT NULL, "
     "domainname VARCHAR(100) DEFAULT '' NOT NULL, "
     "ipaddress VARCHAR(15) DEFAULT '' NOT NULL, "
     "tcpport INT DEFAULT 0 NOT NULL, "
     "defaultdomain BOOL DEFAULT 0 NOT NULL, "
     "redirecttodefault BOOL DEFAULT 0 NOT NULL, "
     "placeholder BOOL DEFAULT 0 NOT NULL, "
     "INDEX siteidindex(siteid), "
     "INDEX domainname_idx(domainname(15))"},
    {"englishword", "word VARCHAR(50) DEFAULT NULL"},
    {"iisupdateerror",
     "iisupdateerrorid INT AUTO_INCREMENT NOT NULL, "
     "siteid INT DEFAULT 0 NOT NULL, "
     "created DATETIME DEFAULT '1001-01-01 00:00:00' NOT NULL, "
     "description VARCHAR(255) DEFAULT '' NOT NULL, "
     "PRIMARY KEY(iisupdateerrorid), "
     "INDEX siteidindex(siteid)"},
    {"outstandingiisupdate",
     "siteid INT DEFAULT 0 NOT NULL, "
     "filename VARCHAR(50) DEFAULT '' NOT NULL, "
     "INDEX siteidindex(siteid)"},
    {"pagehitslastcrunched",
     "siteid INT DEFAULT NULL, "
     "crunchtime DATETIME DEFAULT NULL, "
     "INDEX siteidindex(siteid)"},
    // A new site is started by default: sitestarted alone defaults to true.
    {"site",
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
     "INDEX deleted_idx(deleted)"},
    {"sitebillingdetails",
     "siteid INT DEFAULT 0 NOT NULL, "
     "chargingplanid INT DEFAULT 0 NOT NULL, "
     "startdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
     "finishdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
     "parentsiteid INT DEFAULT 0 NOT NULL, "
     "parentsiteuserid INT DEFAULT 0 NOT NULL, "
     "ancestors VARCHAR(255) DEFAULT NULL, "
     "PRIMARY KEY(siteid, startdate)"},
    {"sitegrant",
     "siteid INT DEFAULT 0 NOT NULL, "
     "userid INT DEFAULT 0 NOT NULL, "
     "granttype MEDIUMINT DEFAULT 0 NOT NULL, "
     "grantlinkint INT DEFAULT 0 NOT NULL, "
     "grantuse BOOL DEFAULT 0 NOT NULL, "
     "grantrecursiveuse BOOL DEFAULT 0 NOT NULL, "
     "barredbyparent BOOL DEFAULT 0 NOT NULL, "
     "PRIMARY KEY(siteid, userid, granttype, grantlinkint)"},
    {"sitestats",
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
     "INDEX siteidindex(siteid)"},
    {"schedule",
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
     "INDEX lastruntime_idx(lastruntime)",
     true},
    {"emailerror",
     "errorid INT AUTO_INCREMENT NOT NULL, "
     "errortime DATETIME DEFAULT '1000-01-01' NOT NULL, "
     "error VARCHAR(255) DEFAULT '' NOT NULL, "
     "subject VARCHAR(255) DEFAULT '' NOT NULL, "
     "tolist LONGTEXT DEFAULT '' NOT NULL, "
     "cclist LONGTEXT DEFAULT '' NOT NULL, "
     "bcclist LONGTEXT DEFAULT '' NOT NULL, "
     "fromlist VARCHAR(255) DEFAULT '' NOT NULL, "
     "PRIMARY KEY(errorid), "
     "INDEX errortime_idx(errortime)",
     true},
};

std::string CreateTable(const TableLayout& table) {
    return Sql("CREATE TABLE ", table.ifNotExists ? "IF NOT EXISTS " : "", kCentralDatabase, ".",
               table.name, "(", table.columns, ");");
}

/// The tables that the creation fills, by the end of the last of its imports.
constexpr std::array<std::string_view, 6> kFilledTables{
    "installation", "country", "currency", "englishword", "component", "componenttype"};

bool IsIn(const std::vector<std::string>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// What is missing in a central database that was not created to its end; empty when nothing is.
std::string MissingIn(Utility& host, const Inspection& central,
                      const std::vector<std::string>& tables,
                      const std::filesystem::path& dataFolder) {
    if (!IsIn(tables, kInstallation.name)) {
        return Sql("it has no table ", kInstallation.name);
    }
    const auto rows = host.GetDatabase()->OpenRecordset(
        "SELECT version FROM tw_tarnwick.installation ORDER BY version;", 0, 0);
    if (rows->IsEOF()) {
        return "its table installation has no row";
    }
    const Value version = rows->Fields().Item("version").Value();
    rows->Close();
    if (!version.IsNumeric() || IsBelow(version.ToDouble(), kCurrentVersion)) {
        return "";  // the ladders bring it up to date
    }
    for (const TableLayout& table : kOtherTables) {
        if (!IsIn(tables, table.name)) {
            return Sql("it has no table ", table.name);
        }
    }
    if (dataFolder.empty()) {
        return "";
    }
    std::error_code ignored;
    const auto lastImport = dataFolder / Sql(kFilledTables.back(), "Data.txt");
    const bool hasData = std::filesystem::file_size(lastImport, ignored) > 0 && !ignored;
    return hasData && central.Count(Sql("tw_tarnwick.", kFilledTables.back())) == 0
               ? Sql("its table ", kFilledTables.back(), " has no rows")
               : "";
}

/// True when the database holds nothing that its creation has not made.
bool HoldsNothingElse(const Inspection& central, const std::vector<std::string>& tables) {
    return std::all_of(tables.begin(), tables.end(), [&](const std::string& name) {
        if (std::find(kFilledTables.begin(), kFilledTables.end(), name) != kFilledTables.end()) {
            return true;
        }
        return std::any_of(std::begin(kOtherTables), std::end(kOtherTables),
                           [&](const TableLayout& table) { return table.name == name; }) &&
               central.Count(Sql("tw_tarnwick.", name)) == 0;
    });
}

}  // namespace

std::optional<Leftover> FindUnfinishedCreation(Utility& host,
                                               const std::filesystem::path& dataFolder) {
    const Inspection central(host, std::string(kCentralDatabase));
    if (central.Count("information_schema.schemata WHERE schema_name = 'tw_tarnwick'") == 0) {
        return std::nullopt;
    }
    const auto tables = central.Tables();
    const std::string missing = MissingIn(host, central, tables, dataFolder);
    if (missing.empty()) {
        return std::nullopt;
    }
    Leftover leftover{"", missing, "create-core looks at nothing but the name of the database", {}};
    if (HoldsNothingElse(central, tables)) {
        leftover.statements.emplace_back("DROP DATABASE tw_tarnwick;");
    }
    return leftover;
}

Boolean Update::CreateCoreDb() {
    // The database alone decides: a half-created one is the operator's to repair.
    const auto databases = OpenRecordset("SHOW DATABASES LIKE 'tw_tarnwick';");
    const bool exists = !databases->IsEOF();
    databases->Close();
    if (exists) {
        return kFalse;
    }
    Execute("CREATE DATABASE tw_tarnwick;");
    Execute(CreateTable(kInstallation));
    Execute(Sql("INSERT INTO tw_tarnwick.installation(version) VALUES(",
                Value(kCurrentVersion).ToText(), ");"));
    for (const TableLayout& table : kOtherTables) {
        Execute(CreateTable(table));
    }
    // clang-format off
    ImportReferenceData("country", {"countryid", "INT",
                                    "country", "VARCHAR",
                                    "eumember", "BOOL",
                                    "acronym", "VARCHAR"});
    ImportReferenceData("currency", {"currencyid", "INT",
                                     "currencycode", "VARCHAR",
                                     "currencysymbol", "VARCHAR"});
    // clang-format on
    ImportReferenceData("englishword", {"word", "VARCHAR"});
    ImportComponentReferenceData();
    return kTrue;
}

}  // namespace twupdate
