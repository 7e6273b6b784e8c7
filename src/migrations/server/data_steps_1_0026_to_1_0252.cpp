#include <charconv>

#include "dbutil/fields.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

// The second server run: data of the central database and of its neighbours.
namespace twupdate {
namespace {

/// True for digits that a page id can have. Longer numbers occur in documents such as
/// "20091231235959/index.html", which name no page.
bool IsPageId(std::string_view digits) {
    std::int32_t id = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), id);
    return error == std::errc() && end == digits.data() + digits.size();
}

}  // namespace

void Update::ServerDataStep_1_0026(const std::string& databaseName, const std::string& tablePrefix,
                                   bool isSite, Boolean&) {
    if (isSite) {
        return;
    }
    const auto documents = OpenRecordset(
        Sql("SELECT dd.siteid, SUBSTRING(dd.document, 1, INSTR(dd.document, '/') - 1) AS "
            "defaultfeatureid FROM ",
            databaseName, ".", tablePrefix,
            "defaultdocument dd WHERE dd.document REGEXP '^[0-9]+/.*';"));
    for (; !documents->IsEOF(); documents->MoveNext()) {
        const std::string featureId = FieldText(documents->Fields().Item("defaultfeatureid"));
        if (IsPageId(featureId)) {
            Execute(Sql("UPDATE ", databaseName, ".", tablePrefix, "site SET defaultfeatureid = ",
                        featureId, " WHERE siteid = ", Int32Field(*documents, "siteid"), ";"));
        }
    }
    documents->Close();
}

void Update::ServerDataStep_1_0030(const std::string& databaseName, const std::string& tablePrefix,
                                   bool) {
    AddIndexIfMissing(databaseName, tablePrefix + "site", "deleted_idx", "deleted");
    const auto logs = OpenRecordset("SHOW TABLES FROM tw_logs LIKE 'tw_%';");
    for (; !logs->IsEOF(); logs->MoveNext()) {
        const std::string log = TextField(*logs, "Tables_in_tw_logs (tw_%)");
        AddIndexIfMissing("tw_logs", log, "LogTime_idx", "LogTime");
        AddIndexIfMissing("tw_logs", log, "target_idx", "target(7)");
    }
    logs->Close();
}

std::int32_t Update::FindRootSite(const std::string& databaseName, const std::string& tablePrefix) {
    const auto sites = OpenRecordset(
        Sql("SELECT siteid FROM ", databaseName, ".", tablePrefix, "site WHERE parentsiteid = 0;"));
    const std::int32_t root = sites->IsEOF() ? 0 : Int32Field(*sites, "siteid");
    sites->Close();
    return root;
}

void Update::ServerDataStep_1_0036(const std::string& databaseName, const std::string& tablePrefix,
                                   bool isSite) {
    if (isSite) {
        return;
    }
    const std::int32_t root = FindRootSite(databaseName, tablePrefix);
    if (root > 0) {
        Execute(
            Sql("UPDATE ", databaseName, ".", tablePrefix, "site SET parentsiteid = ", root,
                ", parentsiteuserid = 0, template = 0 WHERE deleted = -1 AND harddeleted = 0;"));
    }
}

void Update::ServerDataStep_1_0063(const std::string& databaseName, const std::string& tablePrefix,
                                   bool isSite) {
    if (!isSite) {
        Execute(Sql("UPDATE ", databaseName, ".", tablePrefix,
                    "site SET selfexport = -1 WHERE parentsiteid = 0;"));
    }
}

void Update::ServerDataStep_1_0252(const std::string& databaseName, const std::string& tablePrefix,
                                   bool isSite) {
    if (isSite) {
        return;
    }
    const std::int32_t root = FindRootSite(databaseName, tablePrefix);
    if (root > 0) {
        const std::string host = SqlEscape(Host().LocalHostName());
        RegisterCentralDomain(databaseName, tablePrefix, root, host);
        RegisterSiteDomain(root, host);
    }
}

void Update::RegisterCentralDomain(const std::string& databaseName, const std::string& tablePrefix,
                                   std::int32_t siteId, const std::string& escapedHost) {
    constexpr std::int32_t kPort = 80;
    const std::string address = SqlEscape("127.0.0.1");
    const auto domains = OpenRecordset(
        Sql("SELECT * FROM ", databaseName, ".", tablePrefix, "domain WHERE domainname = '",
            escapedHost, "' AND ipaddress = '", address, "' AND tcpport = ", kPort, ";"));
    const bool isRegistered = !domains->IsEOF();
    domains->Close();
    if (!isRegistered) {
        Execute(Sql("INSERT INTO ", databaseName, ".", tablePrefix,
                    "domain(siteid, domainname, ipaddress, tcpport) VALUES(", siteId, ",'",
                    escapedHost, "', '", address, "', ", kPort, ");"));
    }
}

void Update::RegisterSiteDomain(std::int32_t siteId, const std::string& escapedHost) {
    const std::string database = SiteDatabase(siteId);
    const auto domains = OpenRecordset(
        Sql("SELECT domainid FROM ", database, ".domain WHERE domainname = '", escapedHost, "';"));
    const bool isRegistered = !domains->IsEOF();
    domains->Close();
    if (isRegistered) {
        return;
    }
    Execute(Sql("INSERT INTO ", database, ".domain(domainname) VALUES('", escapedHost, "');"));
    const std::int32_t domainId = GetLastInsertId();
    const auto groups = OpenRecordset(
        Sql("SELECT groupid FROM ", database, ".group_table WHERE displayname = 'local Visitor';"));
    if (!groups->IsEOF()) {  // a site may have renamed the group: the domain then stays unlinked
        Execute(Sql("INSERT INTO ", database,
                    ".domaingroup(groupid, domainid, domaingrouptype) VALUES(",
                    Int32Field(*groups, "groupid"), ",", domainId, ", 0);"));
    }
    groups->Close();
}

}  // namespace twupdate
