#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

/// A payment without an order.
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

}  // namespace

void Update::SiteContentStep_1_0222(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto logInPages = [&](std::int32_t last) { return OpenPagesOfComponent(db, 100, last); };
    ForEachRowInPages("featureid", logInPages, [&](const Recordset& page) {
        const std::int32_t featureId = Int32Field(page, "featureid");
        const auto filled = [&](const std::string& setting, std::string_view opening,
                                std::string_view closing) {
            const std::string text = TextSetting(db, featureId, setting);
            return text.empty() ? text : Concat(opening, text, closing);
        };
        SetFirstText(db, featureId, 2,
                     filled("ForgottenPasswordText", "<p>", "</p>") +
                         filled("InvalidLogInText", "<div class=\"error\">", "</div>"));
        SetFirstText(db, featureId, 3, filled("RegistrationText", "<p>", "</p>"));
    });
}

std::shared_ptr<Recordset> Update::OpenPagesOfComponent(const std::string& db,
                                                        std::int32_t componentId,
                                                        std::int32_t lastFeatureId) {
    return OpenRecordset(Sql("SELECT featureid FROM ", db,
                             ".feature WHERE componentid = ", componentId, " AND featureid > ",
                             lastFeatureId, " ORDER BY featureid LIMIT ", kRowsPerPage, ";"));
}

/// Writes the first text of the page's subfeature, adding one where there is none. An empty text
/// changes nothing.
void Update::SetFirstText(const std::string& db, std::int32_t featureId, std::int32_t subfeatureId,
                          const std::string& text) {
    if (text.empty()) {
        return;
    }
    const auto found =
        OpenRecordset(Sql("SELECT textid, text FROM ", db, ".text WHERE featureid = ", featureId,
                          " AND subfeatureid = ", subfeatureId, " ORDER BY textid LIMIT 1;"));
    const std::int32_t textId = found->IsEOF() ? 0 : Int32Field(*found, "textid");
    const bool isSame = textId != 0 && FieldText(found->Fields().Item("text")) == text;
    found->Close();
    if (textId == 0) {
        Execute(Sql("INSERT INTO ", db, ".text(featureid, subfeatureid, text) VALUES(", featureId,
                    ", ", subfeatureId, ", '", SqlEscape(text), "');"));
    } else if (!isSame) {
        Execute(Sql("UPDATE ", db, ".text SET text = '", SqlEscape(text),
                    "' WHERE textid = ", textId, ";"));
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
                                     " ORDER BY commissionid LIMIT ", kRowsPerPage, ";")),
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
        throw OutdatedCentralDatabaseError(Concat(
            "SiteContentStep_1_0223 of ", SiteDatabase(siteId), ": ", kCentralDatabase,
            ".accountpayment has no column cartorderid; upgrade the central database first"));
    }
}

/// Writes the orders of one page of commissions into the affiliates' payments of them. A
/// commission's payment is the one of the same amount, without an order, whose date is nearest; the
/// commissions choose in the order of their ids.
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

    // A commission is skipped if a matching payment already has its order.
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

// The other steps are sorted by subject: direct_urls.cpp, forms.cpp, shop.cpp, styles.cpp,
// text_embeds.cpp, texts.cpp.

// Bit 32 is set where it is missing; the other bits stay.
void Update::SiteContentStep_1_0225(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formfield")) {
        Execute(Sql("UPDATE ", db,
                    ".formfield SET options = options + 32 "
                    "WHERE type = 'productfamily' AND MOD(options, 64) < 32;"));
    }
}

void Update::SiteContentStep_1_0229(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "externallookupfeedfield")) {
        Execute(Sql("UPDATE ", db, ".externallookupfeedfield e INNER JOIN ", db,
                    ".datafeedfield d ON d.fieldid = e.fieldid "
                    "SET e.featureid = d.featureid, e.formfieldid = d.pointer;"));
    }
}

// Blanks count as a text; only NULL and '' are empty.
void Update::SiteContentStep_1_0234(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplate")) {
        Execute(Sql("UPDATE ", db,
                    ".formtemplate f LEFT JOIN ("
                    "SELECT featureid, MAX(subfeatureid = 1) AS custom, "
                    "MAX(subfeatureid = 2) AS qbx FROM ",
                    db,
                    ".text WHERE subfeatureid IN(1, 2) AND LENGTH(text) > 0 GROUP BY featureid) t "
                    "ON t.featureid = f.featureid "
                    "SET f.customviewconfigured = IF(t.custom = 1, -1, 0), "
                    "f.qbxviewconfigured = IF(t.qbx = 1, -1, 0);"));
    }
}

void Update::SiteContentStep_1_0235(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 1000);
}

// The server's string literal drops the backslash of \d, so that what follows "Now" never
// matches; every value that begins with "Now" does, since what follows is optional.
void Update::SiteContentStep_1_0236(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstancefield")) {
        Execute(Sql("UPDATE ", db,
                    ".formtemplateinstancefield SET valuetype = 7 WHERE valuetype = 0 "
                    "AND value REGEXP '^Now( (Plus|Minus) \\d+ "
                    "(Years|Months|Days|Hours|Minutes|Seconds))?';"));
    }
}

void Update::SiteContentStep_1_0237(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto canonicalSettings = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT s.settingid, o.featureid, s.string_value FROM ", db,
                                 ".setting s INNER JOIN ", db,
                                 ".override o ON o.overrideid = s.overrideid "
                                 "WHERE s.name = 'canonical' AND s.settingid > ",
                                 last, " ORDER BY s.settingid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("settingid", canonicalSettings, [&](const Recordset& setting) {
        const std::string url = TextField(setting, "string_value");
        if (!url.empty()) {
            MakeUrlCanonical(db, Int32Field(setting, "featureid"), url);
        }
        // Last, so that an interruption loses nothing.
        Execute(Sql("DELETE FROM ", db,
                    ".setting WHERE settingid = ", Int32Field(setting, "settingid"), ";"));
    });

    if (TableExists(db, "formfield")) {
        Execute(Sql("UPDATE ", db, ".formfield f INNER JOIN ", db,
                    ".override o ON o.featureid = f.featureid INNER JOIN ", db,
                    ".setting s ON s.overrideid = o.overrideid "
                    "SET f.directurlreplacementchar = LEFT(s.string_value, 1) "
                    "WHERE s.name = 'DirectURLReplacementChar' "
                    "AND LENGTH(s.string_value) > 0;"));
    }
}

/// Sets the URL of every navigation row of the page, or of the page itself if it has none.
void Update::MakeUrlCanonical(const std::string& db, std::int32_t featureId,
                              const std::string& url) {
    std::vector<std::int32_t> navigationIds;
    ForEachRow(
        OpenRecordset(Sql("SELECT navigationid FROM ", db,
                          ".navigation WHERE featureid = ", featureId, " ORDER BY navigationid;")),
        [&](const Recordset& row) { navigationIds.push_back(Int32Field(row, "navigationid")); });
    if (navigationIds.empty()) {
        navigationIds.push_back(0);
    }
    const std::string literal = SqlEscape(url);
    for (const std::int32_t navigationId : navigationIds) {
        std::int32_t directUrlId = 0;
        ForEachRow(OpenRecordset(Sql("SELECT directurlid, url FROM ", db,
                                     ".directurl WHERE featureid = ", featureId,
                                     " AND navigationid = ", navigationId, " AND url = '", literal,
                                     "' ORDER BY directurlid;")),
                   [&](const Recordset& row) {
                       // The server finds it in any letter case; a URL is exact.
                       if (directUrlId == 0 && TextField(row, "url") == url) {
                           directUrlId = Int32Field(row, "directurlid");
                       }
                   });
        if (directUrlId == 0) {
            Execute(Sql("INSERT INTO ", db, ".directurl(featureid, navigationid, url, canonical) ",
                        "VALUES(", featureId, ", ", navigationId, ", '", literal, "', -1);"));
        } else {
            Execute(Sql("UPDATE ", db,
                        ".directurl SET canonical = -1 WHERE directurlid = ", directUrlId, ";"));
        }
    }
    Execute(Sql("UPDATE ", db, ".navigation SET canonical = '", literal,
                "' WHERE featureid = ", featureId, ";"));
}

void Update::SiteContentStep_1_0238(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 900);
    UpgradeSiteComponent(siteId, 3700);
}

}  // namespace twupdate
