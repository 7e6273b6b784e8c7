#include <array>
#include <map>
#include <set>
#include <vector>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "migrations/site_content/settings.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

constexpr std::int32_t kCommissionsPerPage = 50;

constexpr std::array<const char*, 13> kShowFlags{
    "ShowBillingName",      "ShowBillingOrganization", "ShowBillingAddress",
    "ShowBillingCountry",   "ShowBillingPostCode",     "ShowBillingEmail",
    "ShowBillingTelephone", "ShowShippingName",        "ShowShippingOrganization",
    "ShowShippingAddress",  "ShowShippingCountry",     "ShowShippingPostCode",
    "ShowShippingEmail",
};

/// "line 1, line 2" of the lines that are not empty.
std::string JoinLines(const std::string& line1, const std::string& line2) {
    return line1 + (line1.empty() || line2.empty() ? "" : ", ") + line2;
}

}  // namespace

void Update::SiteContentStep_1_0054(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto shops = [&](std::int32_t last) { return OpenPagesOfComponent(db, 1000, last); };
    ForEachRowInPages("featureid", shops, [&](const Recordset& shop) {
        AddDisplaySequences(db, Int32Field(shop, "featureid"));
    });

    if (TableExists(db, "customerorder")) {
        MergeAddressLines(db, "customerorder", "orderid", {"billingaddress", "shippingaddress"});
    }
    MergeAddressLines(db, "security", "userid", {"address"});

    if (TableExists(db, "datafeedfield")) {
        for (const std::string_view prompt : {"Billing Address", "Shipping Address", "Address"}) {
            Execute(Sql("UPDATE ", db, ".datafeedfield SET prompt = '", prompt,
                        "' WHERE BINARY prompt = '", prompt, " 1';"));
        }
    }
}

void Update::AddDisplaySequences(StringRef db, std::int32_t featureId) {
    std::map<std::string, Value> flags;
    ForEachRow(OpenRecordset(
                   Sql("SELECT s.name, s.integer_value FROM ", db, ".override o INNER JOIN ", db,
                       ".setting s ON s.overrideid = o.overrideid WHERE o.featureid = ", featureId,
                       " AND s.type = 'boolean';")),
               [&](const Recordset& setting) {
                   flags.emplace(TextField(setting, "name"), Int32Field(setting, "integer_value"));
               });
    bool storesFlags = false;
    for (const char* flag : kShowFlags) {
        storesFlags = storesFlags || flags.contains(flag);
    }
    std::string billing = "0,1,2,3,4,5,6,7,8,9,10";
    std::string shipping = billing;
    if (storesFlags) {
        const auto cart = std::make_shared<StoredSettings>(std::move(flags));
        billing = CreateCartFieldSequence(cart, "ShowBillingName", "ShowBillingOrganization",
                                          "ShowBillingAddress", "ShowBillingCountry",
                                          "ShowBillingPostCode", "ShowBillingEmail",
                                          "ShowBillingTelephone");
        // There is no telephone flag for the shipping block: the billing block's serves both.
        shipping = CreateCartFieldSequence(cart, "ShowShippingName", "ShowShippingOrganization",
                                           "ShowShippingAddress", "ShowShippingCountry",
                                           "ShowShippingPostCode", "ShowShippingEmail",
                                           "ShowBillingTelephone");
    }
    const std::int32_t overrideId = OverrideOfPage(db, featureId);
    if (!SettingExists(db, overrideId, "BillingDisplaySequence")) {
        AddStringSetting(db, overrideId, "BillingDisplaySequence", billing);
    }
    if (!SettingExists(db, overrideId, "ShippingDisplaySequence")) {
        AddStringSetting(db, overrideId, "ShippingDisplaySequence", shipping);
    }
}

/// Fills each empty one-column address from its two lines, <address>1 and <address>2. The lines
/// stay.
void Update::MergeAddressLines(StringRef db, StringRef table, StringRef key,
                               const std::vector<std::string>& addresses) {
    std::string columns;
    std::string toMerge;
    for (const std::string& address : addresses) {
        columns += Sql(", ", address, ", ", address, "1, ", address, "2");
        toMerge += Sql(toMerge.empty() ? "" : " OR ", "(LENGTH(", address, ") = 0 AND LENGTH(",
                       address, "1) + LENGTH(", address, "2) > 0)");
    }
    const auto pageOfRows = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT ", key, columns, " FROM ", db, ".", table, " WHERE ", key,
                                 " > ", last, " AND (", toMerge, ") ORDER BY ", key, " LIMIT 50;"));
    };
    ForEachRowInPages(key, pageOfRows, [&](const Recordset& row) {
        std::string sets;
        for (const std::string& address : addresses) {
            const std::string merged =
                JoinLines(TextField(row, address + "1"), TextField(row, address + "2"));
            if (TextField(row, address).empty() && !merged.empty()) {
                sets += Sql(sets.empty() ? "" : ", ", address, " = '", SqlEscape(merged), "'");
            }
        }
        if (!sets.empty()) {
            Execute(Sql("UPDATE ", db, ".", table, " SET ", sets, " WHERE ", key, " = ",
                        Int32Field(row, key), ";"));
        }
    });
}

void Update::SiteContentStep_1_0081(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    for (const std::string_view copy : {"DefaultBillingCountryId", "DefaultShippingCountryId"}) {
        Execute(Sql("INSERT INTO ", db,
                    ".setting(overrideid, name, type, string_value, text, textlen, integer_value, "
                    "float_value) SELECT s.overrideid, '",
                    copy,
                    "', s.type, s.string_value, s.text, s.textlen, s.integer_value, s.float_value "
                    "FROM ",
                    db, ".setting s INNER JOIN ", db,
                    ".override o ON o.overrideid = s.overrideid INNER JOIN ", db,
                    ".feature f ON f.featureid = o.featureid LEFT JOIN ", db,
                    ".setting c ON c.overrideid = s.overrideid AND BINARY c.name = '", copy,
                    "' WHERE f.componentid = 1000 AND BINARY s.name = 'DefaultCountryId' "
                    "AND c.settingid IS NULL ORDER BY s.settingid;"));
    }
}

void Update::SiteContentStep_1_0223(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "commission")) {
        return;
    }
    for (std::int32_t last = 0;;) {
        const std::int32_t first = last;
        ForEachRow(OpenRecordset(Sql("SELECT commissionid FROM ", db,
                                     ".commission WHERE orderid > 0 AND commissionid > ", first,
                                     " ORDER BY commissionid LIMIT ", kCommissionsPerPage, ";")),
                   [&](const Recordset& row) { last = Int32Field(row, "commissionid"); });
        if (last == first) {
            return;
        }
        if (first == 0) {
            RequireCartOrderColumn(siteId);
        }
        LinkCommissionPayments(siteId, first, last);
    }
}

void Update::RequireCartOrderColumn(std::int32_t siteId) {
    if (!ColumnExists(std::string(kCentralDatabase), "accountpayment", "cartorderid")) {
        throw OutdatedCentralDatabaseError(
            Sql("SiteContentStep_1_0223 of ", SiteDatabase(siteId), ": ", kCentralDatabase,
                ".accountpayment has no column cartorderid; upgrade the central database first"));
    }
}

/// Writes the orders of one page of commissions into the affiliates' payments of them. A
/// commission's payment is the one of its amount that carries no order yet and whose date is
/// nearest; the commissions choose in the order of their ids.
void Update::LinkCommissionPayments(std::int32_t siteId, std::int32_t above, std::int32_t upTo) {
    // A commission whose order a matching payment carries already is left out. Of the others each
    // gets as many candidates as there are commissions in the page: the rest cannot take them all.
    const auto candidates = OpenRecordset(Sql(
        "SELECT commissionid, orderid, userid, commission, accountpaymentid FROM ("
        "SELECT c.commissionid, c.orderid, c.userid, c.commission, p.accountpaymentid, "
        "ROW_NUMBER() OVER (PARTITION BY c.commissionid ORDER BY p.paymentdate IS NULL, "
        "ABS(TIMESTAMPDIFF(SECOND, p.paymentdate, c.created)), p.accountpaymentid) AS place FROM ",
        kCentralDatabase, ".account a STRAIGHT_JOIN ", kCentralDatabase,
        ".accountpayment p ON p.accountid = a.accountid STRAIGHT_JOIN ", SiteDatabase(siteId),
        ".commission c ON c.userid = a.userid AND c.commission = p.amount WHERE a.siteid = ",
        siteId, " AND p.cartorderid = 0 AND c.orderid > 0 AND c.commissionid > ", above,
        " AND c.commissionid <= ", upTo, " AND NOT EXISTS(SELECT 1 FROM ", kCentralDatabase,
        ".accountpayment l INNER JOIN ", kCentralDatabase,
        ".account b ON b.accountid = l.accountid WHERE b.siteid = ", siteId,
        " AND b.userid = c.userid AND l.amount = c.commission AND l.cartorderid = c.orderid)"
        ") candidates WHERE place <= ",
        kCommissionsPerPage, " ORDER BY commissionid, place;"));
    std::int32_t done = 0;
    std::set<std::string> taken;
    std::set<std::string> linked;
    ForEachRow(candidates, [&](const Recordset& candidate) {
        const std::int32_t commissionId = Int32Field(candidate, "commissionid");
        const std::int32_t orderId = Int32Field(candidate, "orderid");
        // The id is a BIGINT, which text carries whole.
        const std::string paymentId = TextField(candidate, "accountpaymentid");
        const std::string match = Sql(orderId, " ", Int32Field(candidate, "userid"), " ",
                                      TextField(candidate, "commission"));
        if (commissionId == done || taken.contains(paymentId) || linked.contains(match)) {
            return;
        }
        Execute(Sql("UPDATE ", kCentralDatabase, ".accountpayment SET cartorderid = ", orderId,
                    " WHERE accountpaymentid = ", paymentId, ";"));
        done = commissionId;
        taken.insert(paymentId);
        linked.insert(match);
    });
}

}  // namespace twupdate
