#include "central_installation.h"

#include <algorithm>
#include <set>

#include "support/versions.h"

namespace twupdate::test {

void CentralTest::LoadOldInstallation() {
    LoadCentral();
    LoadLogs(1);
    LoadLogs(2);
    Sql(R"(
CREATE DATABASE tw_1;
CREATE TABLE tw_1.domain(domainid INT AUTO_INCREMENT NOT NULL, domainname VARCHAR(100) DEFAULT '' NOT NULL, PRIMARY KEY(domainid));
CREATE TABLE tw_1.group_table(groupid INT AUTO_INCREMENT NOT NULL, displayname VARCHAR(100) DEFAULT '' NOT NULL, PRIMARY KEY(groupid));
CREATE TABLE tw_1.domaingroup(groupid INT DEFAULT 0 NOT NULL, domainid INT DEFAULT 0 NOT NULL, domaingrouptype INT DEFAULT 0 NOT NULL, PRIMARY KEY(groupid, domainid));
INSERT INTO tw_1.domain(domainname) VALUES('www.tarnwick.example');
INSERT INTO tw_1.group_table(displayname) VALUES('Administrators'), ('local Visitor');

INSERT INTO tw_tarnwick.site(siteid, sitename, version, parentsiteid, parentsiteuserid, template, deleted, harddeleted) VALUES
  (1, 'Root', )" +
        kCurrentStored + R"(, 0, 0, 0, 0, 0),
  (2, 'Harbour Books', )" +
        kCurrentStored + R"(, 1, 7, 0, 0, 0),
  (3, 'Old template', )" +
        kCurrentStored + R"(, 2, 4, -1, -1, 0),
  (4, 'Gone', )" +
        kCurrentStored + R"(, 2, 4, -1, -1, -1),
  (5, 'Without a domain', )" +
        kCurrentStored + R"(, 1, 7, -1, 0, 0);
INSERT INTO tw_tarnwick.domain(siteid, domainname, ipaddress, tcpport) VALUES
  (1, 'www.tarnwick.example', '192.0.2.1', 80),
  (2, 'books.example', '192.0.2.1', 80),
  (2, 'www.books.example', '192.0.2.1', 80),
  (3, 'old.example', '192.0.2.1', 80),
  (4, 'gone.example', '192.0.2.1', 80);
INSERT INTO tw_tarnwick.defaultdocument(siteid, document, sequence) VALUES
  (1, '20091231235959/index.html', 1),
  (2, '120/index.html', 1), (2, '121/', 2), (2, 'index.html', 3),
  (3, 'index.html', 1),
  (4, '/200', 1),
  (5, '007/start/index.html', 1), (5, '12a/index.html', 2);

INSERT INTO tw_tarnwick.account(siteid, userid, creditlimit, suggestedpayment, currentbalance, futurebalance, pendingbalance, associatepercentage) VALUES
  (1, 1, 0.1, 19.99, 1234567.89, -0.005, 0.005, 0.1),
  (2, 2, 0, 99999999999.99, -1234567.89, 0.285, 1.115, 33.3),
  (NULL, NULL, 100, 0.01, 0.07, 0.015, -19.99, 12.5);
INSERT INTO tw_tarnwick.accountinvoice(accountid, amount, tax, rawusage) VALUES
  (1, 0.1, 19.99, 1.5), (2, 1234567.89, -0.005, 0);
INSERT INTO tw_tarnwick.accountpayment(accountid, amount) VALUES (1, 19.99), (2, 0.1), (NULL, 4.35);
INSERT INTO tw_tarnwick.chargingplan(siteid, name, startupcharge, creditlimit, monthlyfixedcharge) VALUES
  (1, 'Starter', 0.1, 19.99, 4.35), (1, 'Business', 12345.67, 99999.9, 0);
INSERT INTO tw_tarnwick.chargingplanusageband(chargingplanid, bandstart, unitprice) VALUES
  (1, 0, 0.1), (1, 100, 0.07), (2, 0, 19.99);
INSERT INTO tw_tarnwick.component(componentid, componentname) VALUES (1, 'No longer there');
INSERT INTO tw_tarnwick.country(country) VALUES ('Kept as it is');
)");
}

void CentralTest::LoadOldInstallation(double version) {
    LoadOldInstallation();
    if (version > 1.0) {
        sample::BringCentralTo(Host(), {version, version});
    }
}

std::string CentralTest::State() {
    std::string state;
    for (const std::string database : {"tw_tarnwick", "tw_1", "tw_logs"}) {
        state += database + "\n" + SchemaOf(database).Text() + RowsOf(database).Text();
    }
    return state;
}

std::vector<double> CentralTest::Thresholds() {
    std::set<double> thresholds;
    for (const Ladder ladder : {Ladder::kServer, Ladder::kServerData}) {
        for (const LadderStep& step : LadderSteps(ladder)) {
            thresholds.insert(step.threshold);
        }
    }
    return {thresholds.begin(), thresholds.end()};
}

std::size_t CentralTest::Count(const std::vector<std::string>& log, const std::string& beginning) {
    return static_cast<std::size_t>(
        std::count_if(log.begin(), log.end(),
                      [&](const std::string& sql) { return sql.starts_with(beginning); }));
}

std::size_t CentralTest::Imports(const std::vector<std::string>& log) {
    return Count(log, "DELETE FROM tw_tarnwick.component;");
}

}  // namespace twupdate::test
