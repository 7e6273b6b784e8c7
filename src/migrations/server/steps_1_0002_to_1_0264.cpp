#include "dbutil/fields.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

// The first server run: tables and columns of the central database, or of a site's copies of the
// central tables, whose names have a prefix.
namespace twupdate {

void Update::ServerStep_1_0002(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string installation = tablePrefix + "installation";
    AddColumnIfMissing(databaseName, installation, "mailserverusername",
                       "VARCHAR(50) DEFAULT '' NOT NULL");
    AddColumnIfMissing(databaseName, installation, "mailserverpassword",
                       "VARCHAR(255) DEFAULT '' NOT NULL");
}

void Update::ServerStep_1_0013(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    AddColumnIfMissing(databaseName, tablePrefix + "installation", "base",
                       "VARCHAR(20) DEFAULT '' NOT NULL");
}

void Update::ServerStep_1_0024(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string domain = tablePrefix + "domain";
    AddColumnIfMissing(databaseName, domain, "defaultdomain", "BOOL DEFAULT 0 NOT NULL");
    AddColumnIfMissing(databaseName, domain, "redirecttodefault", "BOOL DEFAULT 0 NOT NULL");
}

void Update::ServerStep_1_0026(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    AddColumnIfMissing(databaseName, tablePrefix + "site", "defaultfeatureid",
                       "INT DEFAULT 0 NOT NULL");
}

void Update::ServerStep_1_0030(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    // The first layout; steps 1.0040 and 1.0056 change it to the current one.
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", databaseName, ".", tablePrefix,
                "schedule("
                "siteid INT NOT NULL, "
                "featureid INT NOT NULL, "
                "subfeatureid INT DEFAULT 0 NOT NULL, "
                "tasktype INT NOT NULL, "
                "schedule VARCHAR(20) NOT NULL, "
                "lastruntime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, "
                "nextruntime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, "
                "PRIMARY KEY(siteid, featureid, subfeatureid, tasktype) );"));
}

void Update::ServerStep_1_0035(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    ConvertFloatToDouble(databaseName, tablePrefix + "account", "associatepercentage");
}

void Update::ServerStep_1_0039(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string domain = tablePrefix + "domain";
    AddColumnIfMissing(databaseName, domain, "placeholder", "BOOL DEFAULT 0 NOT NULL");
    AddIndexIfMissing(databaseName, domain, "domainname_idx", "domainname(15)");
}

void Update::ServerStep_1_0040(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string schedule = tablePrefix + "schedule";
    AddIndexIfMissing(databaseName, schedule, "siteid_idx", "siteid");
    AddIndexIfMissing(databaseName, schedule, "featureid_idx", "featureid");
    AddIndexIfMissing(databaseName, schedule, "tasktype_idx", "tasktype");
    AddIndexIfMissing(databaseName, schedule, "lastruntime_idx", "lastruntime");
    if (IndexExists(databaseName, schedule, "PRIMARY")) {
        Execute(Sql("ALTER TABLE ", databaseName, ".", schedule, " DROP PRIMARY KEY;"));
    }
    AddColumnIfMissing(databaseName, schedule, "text", "VARCHAR(255)");
}

void Update::ServerStep_1_0041(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    AddColumnIfMissing(databaseName, tablePrefix + "site", "transaction",
                       "BOOL DEFAULT 0 NOT NULL");
}

void Update::ServerStep_1_0047(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string account = tablePrefix + "account";
    ConvertToDecimal(databaseName, account, "creditlimit");
    ConvertToDecimal(databaseName, account, "suggestedpayment");
    ConvertToDecimal(databaseName, account, "currentbalance");
    ConvertToDecimal(databaseName, account, "futurebalance");
    ConvertToDecimal(databaseName, account, "pendingbalance");
    const std::string invoice = tablePrefix + "accountinvoice";
    ConvertToDecimal(databaseName, invoice, "amount");
    ConvertToDecimal(databaseName, invoice, "tax");
    ConvertToDecimal(databaseName, tablePrefix + "accountpayment", "amount");
    const std::string plan = tablePrefix + "chargingplan";
    ConvertToDecimal(databaseName, plan, "startupcharge");
    ConvertToDecimal(databaseName, plan, "creditlimit");
    ConvertToDecimal(databaseName, plan, "monthlyfixedcharge");
    ConvertToDecimal(databaseName, tablePrefix + "chargingplanusageband", "unitprice");
}

void Update::ServerStep_1_0056(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string schedule = tablePrefix + "schedule";
    if (TableExists(databaseName, schedule)) {
        Execute(Sql("ALTER TABLE ", databaseName, ".", schedule,
                    " MODIFY COLUMN schedule VARCHAR(50) DEFAULT '' NOT NULL;"));
    }
}

void Update::ServerStep_1_0063(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string site = tablePrefix + "site";
    AddColumnIfMissing(databaseName, site, "demo", "BOOL DEFAULT 0 NOT NULL");
    AddColumnIfMissing(databaseName, site, "selfexport", "BOOL DEFAULT 0 NOT NULL");
}

void Update::ServerStep_1_0074(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string site = tablePrefix + "site";
    if (ColumnExists(databaseName, site, "serverstarted")) {
        return;
    }
    AddColumn(databaseName, site, "serverstarted", "BOOL DEFAULT 0 NOT NULL");
    const auto sites = OpenRecordset(Sql(
        "SELECT DISTINCT s.siteid FROM ", databaseName, ".", site, " s INNER JOIN ", databaseName,
        ".", tablePrefix, "domain d ON s.siteid = d.siteid WHERE s.harddeleted = 0;"));
    for (; !sites->IsEOF(); sites->MoveNext()) {
        Execute(Sql("UPDATE ", databaseName, ".", site,
                    " SET serverstarted = -1 WHERE siteid = ", Int32Field(*sites, "siteid"), ";"));
    }
    sites->Close();
}

void Update::ServerStep_1_0076(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string account = tablePrefix + "account";
    AddColumnIfMissing(databaseName, account, "associatechargepassword",
                       "VARCHAR(20) DEFAULT '' NOT NULL");
    AddColumnIfMissing(databaseName, account, "associatecookielife",
                       "VARCHAR(35) DEFAULT '0-0-30 0:0:0' NOT NULL");
}

void Update::ServerStep_1_0220(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    AddColumnIfMissing(databaseName, tablePrefix + "site", "sitestarted",
                       "BOOL DEFAULT -1 NOT NULL");
}

void Update::ServerStep_1_0223(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    const std::string payment = tablePrefix + "accountpayment";
    AddColumnIfMissing(databaseName, payment, "cartorderid", "INT DEFAULT 0 NOT NULL");
    AddIndexIfMissing(databaseName, payment, "cartorderid_idx", "cartorderid");
}

void Update::ServerStep_1_0253(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", databaseName, ".", tablePrefix,
                "emailerror("
                "errorid INT AUTO_INCREMENT NOT NULL, "
                "errortime DATETIME DEFAULT '1000-01-01' NOT NULL, "
                "error VARCHAR(255) DEFAULT '' NOT NULL, "
                "subject VARCHAR(255) DEFAULT '' NOT NULL, "
                "tolist LONGTEXT DEFAULT '' NOT NULL, "
                "cclist LONGTEXT DEFAULT '' NOT NULL, "
                "bcclist LONGTEXT DEFAULT '' NOT NULL, "
                "fromlist VARCHAR(255) DEFAULT '' NOT NULL, "
                "PRIMARY KEY(errorid), "
                "INDEX errortime_idx(errortime));"));
    AddColumnIfMissing(databaseName, tablePrefix + "installation", "mailserverencryption",
                       "BOOL DEFAULT 0 NOT NULL");
}

void Update::ServerStep_1_0264(const std::string& databaseName, const std::string& tablePrefix,
                               bool) {
    AddColumnIfMissing(databaseName, tablePrefix + "site", "querycachettl",
                       "INT DEFAULT 0 NOT NULL");
}

}  // namespace twupdate
