#include <array>
#include <map>
#include <vector>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "migrations/site_content/settings.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

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
        storesFlags = storesFlags || flags.count(flag) != 0;
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
    bool isChecked = false;
    const auto commissionsOfOrders = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT commissionid, orderid FROM ", db,
                                 ".commission WHERE orderid > 0 AND commissionid > ", last,
                                 " ORDER BY commissionid LIMIT 50;"));
    };
    ForEachRowInPages("commissionid", commissionsOfOrders, [&](const Recordset& commission) {
        if (!isChecked) {
            RequireCartOrderColumn(siteId);
            isChecked = true;
        }
        LinkCommissionPayment(siteId, Int32Field(commission, "commissionid"),
                              Int32Field(commission, "orderid"));
    });
}

void Update::RequireCartOrderColumn(std::int32_t siteId) {
    if (!ColumnExists(std::string(kCentralDatabase), "accountpayment", "cartorderid")) {
        throw OutdatedCentralDatabaseError(
            Sql("SiteContentStep_1_0223 of ", SiteDatabase(siteId), ": ", kCentralDatabase,
                ".accountpayment has no column cartorderid; upgrade the central database first"));
    }
}

/// Writes the order into the affiliate's payment of the commission: the one of the same amount
/// that carries no order yet and whose date is nearest the commission's.
void Update::LinkCommissionPayment(std::int32_t siteId, std::int32_t commissionId,
                                   std::int32_t orderId) {
    const std::string payments =
        Sql(" FROM ", SiteDatabase(siteId), ".commission c INNER JOIN ", kCentralDatabase,
            ".account a ON a.siteid = ", siteId, " AND a.userid = c.userid INNER JOIN ",
            kCentralDatabase,
            ".accountpayment p ON p.accountid = a.accountid AND p.amount = c.commission "
            "WHERE c.commissionid = ",
            commissionId, " AND p.cartorderid = ");
    if (HasRow(OpenRecordset(Sql("SELECT p.accountpaymentid", payments, orderId, " LIMIT 1;")))) {
        return;  // linked by an earlier run
    }
    const auto nearest = OpenRecordset(
        Sql("SELECT p.accountpaymentid", payments,
            "0 ORDER BY p.paymentdate IS NULL, "
            "ABS(TIMESTAMPDIFF(SECOND, p.paymentdate, c.created)), p.accountpaymentid LIMIT 1;"));
    // The id is a BIGINT, which text carries whole.
    const std::string paymentId =
        nearest->IsEOF() ? std::string() : TextField(*nearest, "accountpaymentid");
    nearest->Close();
    if (!paymentId.empty()) {
        Execute(Sql("UPDATE ", kCentralDatabase, ".accountpayment SET cartorderid = ", orderId,
                    " WHERE accountpaymentid = ", paymentId, ";"));
    }
}

}  // namespace twupdate
