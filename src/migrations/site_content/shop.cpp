#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <utility>
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

/// A payment that carries no order yet.
struct Payment {
    std::string id;              // a BIGINT, which text carries whole
    std::optional<double> date;  // in seconds
    bool isTaken = false;
};

/// The number of seconds in the column; nothing for NULL.
std::optional<double> Seconds(const Recordset& row, std::string_view column) {
    return row.Fields().Item(column).Value().IsNull() ? std::nullopt
                                                      : std::optional(DoubleField(row, column));
}

/// The payment whose date is nearest, one without a date being the farthest and the first of
/// equals the nearest; null when all are taken.
Payment* NearestPayment(std::vector<Payment>& payments, std::optional<double> date) {
    Payment* nearest = nullptr;
    double shortest = 0;
    for (Payment& payment : payments) {
        if (payment.isTaken) {
            continue;
        }
        const double distance = !payment.date ? std::numeric_limits<double>::infinity()
                                : date        ? std::abs(*payment.date - *date)
                                              : 0;
        if (nearest == nullptr || distance < shortest) {
            nearest = &payment;
            shortest = distance;
        }
    }
    return nearest;
}

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
                        "' WHERE prompt = '", prompt, " 1';"));
        }
    }
}

void Update::AddDisplaySequences(StringRef db, std::int32_t featureId) {
    std::string names;
    for (const char* flag : kShowFlags) {
        names += Sql(", '", flag, "'");
    }
    std::map<std::string, Value> flags;
    ForEachRow(OpenRecordset(Sql("SELECT FIELD(s.name", names, ") AS place, s.integer_value FROM ",
                                 db, ".override o INNER JOIN ", db,
                                 ".setting s ON s.overrideid = o.overrideid WHERE o.featureid = ",
                                 featureId, " AND s.type = 'boolean' ORDER BY s.settingid;")),
               [&](const Recordset& setting) {
                   const auto place = static_cast<std::size_t>(Int32Field(setting, "place"));
                   if (place > 0) {
                       flags.emplace(kShowFlags.at(place - 1),
                                     Int32Field(setting, "integer_value"));
                   }
               });
    std::string billing = "0,1,2,3,4,5,6,7,8,9,10";
    std::string shipping = billing;
    if (!flags.empty()) {
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
                    ".setting c ON c.overrideid = s.overrideid AND c.name = '", copy,
                    "' WHERE f.componentid = 1000 AND s.name = 'DefaultCountryId' "
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
    const std::string ofPage =
        Sql("orderid > 0 AND commissionid > ", above, " AND commissionid <= ", upTo);
    using UserAndAmount = std::pair<std::int32_t, std::string>;
    const auto userAndAmount = [](const Recordset& row) {
        return UserAndAmount(Int32Field(row, "userid"), TextField(row, "commission"));
    };
    // As doubles: MySQL 5.6 sorts whole seconds in 32 bits, which makes all of them alike.
    std::map<UserAndAmount, std::vector<Payment>> payments;
    ForEachRow(OpenRecordset(
                   Sql("SELECT p.accountpaymentid, c.userid, c.commission, "
                       "TO_SECONDS(p.paymentdate) + 0e0 AS paid "
                       "FROM ",
                       kCentralDatabase, ".account a STRAIGHT_JOIN ", kCentralDatabase,
                       ".accountpayment p ON p.accountid = a.accountid STRAIGHT_JOIN "
                       "(SELECT DISTINCT userid, commission FROM ",
                       SiteDatabase(siteId), ".commission WHERE ", ofPage,
                       ") c ON c.userid = a.userid AND c.commission = p.amount WHERE a.siteid = ",
                       siteId, " AND p.cartorderid = 0 ORDER BY p.accountpaymentid;")),
               [&](const Recordset& row) {
                   payments[userAndAmount(row)].push_back(
                       {TextField(row, "accountpaymentid"), Seconds(row, "paid")});
               });

    // A commission whose order a matching payment carries already is left out.
    const auto commissions = OpenRecordset(
        Sql("SELECT c.orderid, c.userid, c.commission, TO_SECONDS(c.created) + 0e0 AS earned FROM ",
            SiteDatabase(siteId), ".commission c WHERE ", ofPage, " AND NOT EXISTS(SELECT 1 FROM ",
            kCentralDatabase, ".accountpayment l INNER JOIN ", kCentralDatabase,
            ".account b ON b.accountid = l.accountid WHERE b.siteid = ", siteId,
            " AND b.userid = c.userid AND l.amount = c.commission AND l.cartorderid = c.orderid) "
            "ORDER BY c.commissionid;"));
    std::set<std::pair<std::int32_t, UserAndAmount>> linked;
    ForEachRow(commissions, [&](const Recordset& commission) {
        const std::int32_t orderId = Int32Field(commission, "orderid");
        const UserAndAmount key = userAndAmount(commission);
        Payment* payment = linked.contains({orderId, key})
                               ? nullptr
                               : NearestPayment(payments[key], Seconds(commission, "earned"));
        if (payment != nullptr) {
            Execute(Sql("UPDATE ", kCentralDatabase, ".accountpayment SET cartorderid = ", orderId,
                        " WHERE accountpaymentid = ", payment->id, ";"));
            payment->isTaken = true;
            linked.emplace(orderId, key);
        }
    });
}

}  // namespace twupdate
