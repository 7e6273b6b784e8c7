#include <algorithm>
#include <string>

#include "sample/bulk_insert.h"
#include "sample/rows.h"
#include "sample/words.h"

namespace twupdate::sample {
namespace {

constexpr std::int32_t kAccountsPerSite = 10;
constexpr std::int32_t kAffiliate = 3;  ///< the user whose commissions the sites hold
constexpr std::int32_t kMonths = 12;

/// Leaves room for every user of a site that has an account.
std::int32_t AccountId(const InstallationOptions& options, std::int32_t siteId,
                       std::int32_t userId) {
    const std::int32_t accountsPerSite =
        std::max(10'000, CommissionUser(kFirstBulkId + options.rows) + 1);
    return siteId * accountsPerSite + userId;
}

void AddSites(Utility& host, const InstallationOptions& options,
              const std::vector<SitePlan>& sites) {
    BulkInsert rows(host,
                    "tw_tarnwick.site(siteid, version, sitename, userid, template, description, "
                    "parentsiteid, ancestors, deleted, layoutfeatureid, creationdate, "
                    "chargingplanid, harddeleted, logonfeatureid, sitefeatureid)");
    for (const SitePlan& plan : sites) {
        Random random = RandomFor(options, plan.siteId, 2);
        const bool isRoot = plan.siteId == sites.front().siteId;
        rows.Row(plan.siteId, plan.recordedVersion, SiteName(options, plan.siteId),
                 random.Between(1, 3), plan.isTemplate ? -1 : 0, Sentences(random, 2),
                 isRoot ? 0 : sites.front().siteId,
                 isRoot ? "" : std::to_string(sites.front().siteId), plan.deleted ? -1 : 0, 11,
                 DateTime(std::int64_t{plan.siteId} * 86400), random.Between(1, 3),
                 plan.hardDeleted ? -1 : 0, 5, 1);
    }
    rows.Finish();

    if (std::none_of(sites.begin(), sites.end(),
                     [](const SitePlan& plan) { return plan.inTransaction; })) {
        return;
    }
    Run(host, {"ALTER TABLE tw_tarnwick.site ADD COLUMN transaction BOOL DEFAULT 0 NOT NULL;"});
    for (const SitePlan& plan : sites) {
        if (plan.inTransaction) {
            Run(host, {"UPDATE tw_tarnwick.site SET transaction = -1 WHERE siteid = " +
                       std::to_string(plan.siteId) + ";"});
        }
    }
}

/// Host names, and the documents that a site shows when none is asked for. A number and a slash
/// name a page; the last row of a site wins, but for a number that no page can have.
void AddDomains(Utility& host, const std::vector<SitePlan>& sites) {
    BulkInsert domains(host, "tw_tarnwick.domain(siteid, domainname, ipaddress, tcpport)");
    BulkInsert documents(host, "tw_tarnwick.defaultdocument(siteid, document, sequence)");
    for (const SitePlan& plan : sites) {
        if (plan.hasDomains) {
            domains.Row(plan.siteId, SiteDomain(plan.siteId), "192.0.2.10", 80);
            if (plan.siteId % 2 == 1) {
                domains.Row(plan.siteId, SiteDomain(plan.siteId).substr(4), "192.0.2.11", 80);
            }
        }
        documents.Row(plan.siteId, "default.htm", 1);
        if (plan.siteId % 3 == 1) {
            documents.Row(plan.siteId, "4/default.htm", 2);
            documents.Row(plan.siteId, "2/", 3);
            documents.Row(plan.siteId, "20080131120000/index.htm", 4);
        } else if (plan.siteId % 3 == 2) {
            documents.Row(plan.siteId, "/3/index.htm", 2);
            documents.Row(plan.siteId, "news2/index.htm", 3);
        }
    }
    domains.Finish();
    documents.Finish();
}

void AddAccounts(Utility& host, const InstallationOptions& options,
                 const std::vector<SitePlan>& sites) {
    BulkInsert accounts(host,
                        "tw_tarnwick.account(accountid, siteid, userid, creditlimit, currencyid, "
                        "dayscredit, suggestedpayment, currentbalance, futurebalance, "
                        "pendingbalance, associatepercentage)");
    BulkInsert invoices(host,
                        "tw_tarnwick.accountinvoice(accountid, comment, invoicedate, "
                        "invoicesiteid, chargingplanid, amount, tax, rawusage)");
    BulkInsert payments(host,
                        "tw_tarnwick.accountpayment(accountid, comment, paymentdate, amount, "
                        "paymenttype, admincomment)");
    for (const SitePlan& plan : sites) {
        Random random = RandomFor(options, plan.siteId, 3);
        // amounts that a double does not hold exactly, and one that rounds to a cent
        accounts.Row(AccountId(options, plan.siteId, 1), plan.siteId, 1, 1234567.89, 1, 30, 0.1,
                     19.99, -0.005, 0.0, 0.1);
        accounts.Row(AccountId(options, plan.siteId, kAffiliate), plan.siteId, kAffiliate, 0.0, 1,
                     0, 0.0, -1.9, 0.0, 0.0, 7.5);
        const std::int32_t accountsInBulk = std::min(options.rows, kAccountsPerSite);
        for (std::int32_t user = 4; user < 4 + accountsInBulk; ++user) {
            const double balance = static_cast<double>(random.Between(-50000, 50000)) / 100;
            accounts.Row(AccountId(options, plan.siteId, user), plan.siteId, user, 250.0, 1, 14,
                         0.0, balance, balance, 0.0, static_cast<double>(random.Below(200)) / 10);
            const double amount = static_cast<double>(random.Between(100, 99999)) / 100;
            invoices.Row(AccountId(options, plan.siteId, user), "Hosting",
                         DateTime(random.Below(90000000)), plan.siteId, random.Between(1, 3),
                         amount, amount * 0.175, static_cast<double>(random.Below(1000)) / 8);
            payments.Row(AccountId(options, plan.siteId, user), "Card payment",
                         DateTime(random.Below(90000000)), amount, 1, "");
        }
        if (!plan.groups.contains(Group::kAffiliates)) {
            continue;
        }
        // the commissions with fixed ids: the first has two candidates, the nearer one in time fits
        const std::int32_t affiliate = AccountId(options, plan.siteId, kAffiliate);
        payments.Row(affiliate, "Commission", "2007-06-01 00:00:00", 1.87, 2, "too early");
        payments.Row(affiliate, "Commission", "2007-12-02 00:00:00", 1.87, 2, "");
        payments.Row(affiliate, "Commission", "2007-12-12 00:00:00", 0.03, 2, "");
        payments.Row(affiliate, "Commission", "2008-01-01 00:00:00", 2.5, 2, "without an order");
        std::int32_t lastUser = 0;
        for (std::int32_t id = kFirstBulkId; id < kFirstBulkId + options.rows; ++id) {
            const std::int32_t user = CommissionUser(id);
            if (user != lastUser) {
                accounts.Row(AccountId(options, plan.siteId, user), plan.siteId, user, 0.0, 1, 0,
                             0.0, 0.0, 0.0, 0.0, 7.5);
                lastUser = user;
            }
            if (id % 7 != 0) {  // one in seven is not paid yet
                payments.Row(AccountId(options, plan.siteId, user), "Commission",
                             CommissionDate(id), CommissionAmount(id), 2, "");
            }
        }
    }
    accounts.Finish();
    invoices.Finish();
    payments.Finish();
}

void AddStatistics(Utility& host, const InstallationOptions& options,
                   const std::vector<SitePlan>& sites) {
    BulkInsert crunched(host, "tw_tarnwick.pagehitslastcrunched(siteid, crunchtime)");
    BulkInsert billing(host,
                       "tw_tarnwick.sitebillingdetails(siteid, chargingplanid, startdate, "
                       "finishdate, parentsiteid)");
    BulkInsert grants(host,
                      "tw_tarnwick.sitegrant(siteid, userid, granttype, grantlinkint, "
                      "grantuse)");
    BulkInsert traffic(host,
                       "tw_tarnwick.sitestats(siteid, parentsiteid, megabytes, pagehits, "
                       "periodstart, periodfinish, mbsent, mbrecvd)");
    BulkInsert errors(host, "tw_tarnwick.iisupdateerror(siteid, created, description)");
    BulkInsert outstanding(host, "tw_tarnwick.outstandingiisupdate(siteid, filename)");
    constexpr std::int64_t kMonth = std::int64_t{30} * 86400;
    for (const SitePlan& plan : sites) {
        Random random = RandomFor(options, plan.siteId, 4);
        const std::int32_t parent = plan.siteId == sites.front().siteId ? 0 : sites.front().siteId;
        crunched.Row(plan.siteId, DateTime(random.Below(90000000)));
        billing.Row(plan.siteId, random.Between(1, 3), DateTime(std::int64_t{plan.siteId} * 86400),
                    "3000-01-01 00:00:00", parent);
        grants.Row(plan.siteId, 1, 1, 0, -1);
        grants.Row(plan.siteId, 2, 2, random.Below(5), -1);
        for (std::int32_t month = 0; month < kMonths; ++month) {
            traffic.Row(plan.siteId, parent, static_cast<double>(random.Below(40000)) / 16,
                        random.Below(100000), DateTime(month * kMonth),
                        DateTime((month + 1) * kMonth), static_cast<double>(random.Below(9000)) / 8,
                        static_cast<double>(random.Below(9000)) / 64);
        }
        if (plan.siteId % 4 == 0) {
            errors.Row(plan.siteId, DateTime(random.Below(90000000)), "The domain is in use.");
            outstanding.Row(plan.siteId, "site" + std::to_string(plan.siteId) + ".xml");
        }
    }
    crunched.Finish();
    billing.Finish();
    grants.Finish();
    traffic.Finish();
    errors.Finish();
    outstanding.Finish();
}

}  // namespace

void AddCentralRows(Utility& host, const InstallationOptions& options,
                    const std::vector<SitePlan>& sites) {
    for (const RowSection& section : ReadRows(options, "central.sql", 0)) {
        Run(host, section.statements);
    }
    if (sites.empty()) {
        return;
    }
    AddSites(host, options, sites);
    AddDomains(host, sites);
    AddAccounts(host, options, sites);
    AddStatistics(host, options, sites);
}

}  // namespace twupdate::sample
