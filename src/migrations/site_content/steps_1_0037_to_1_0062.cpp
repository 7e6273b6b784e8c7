#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

#include "dbutil/sql.h"
#include "migrations/site_content/email_texts.h"
#include "migrations/site_content/rows.h"
#include "migrations/site_content/settings.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

std::string EncodeAngleBrackets(std::string_view text) {
    std::string encoded;
    encoded.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        if (c == '<') {
            encoded += "&lt;";
        } else if (c == '>') {
            encoded += "&gt;";
        } else {
            encoded += c;
        }
    }
    return encoded;
}

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

/// The zone in a layout tag's name: 12 for ".LOnavlink12 A:Hover"; none for ".LOheading1".
std::optional<std::int32_t> ZoneOfTag(std::string_view name) {
    for (const std::string_view prefix :
         {".LOnavlink", ".LOheading1", ".LOheading2", ".LOnavdivider", ".LOzone"}) {
        if (!name.starts_with(prefix)) {
            continue;
        }
        const std::string_view rest = name.substr(prefix.size());
        std::int32_t zone = 0;
        if (!rest.starts_with('-') &&
            std::from_chars(rest.data(), rest.data() + rest.size(), zone).ec == std::errc{}) {
            return zone;
        }
    }
    return std::nullopt;
}

}  // namespace

// One query for each live thread: every pass handles the range from just above the last live root
// to the next one, and with it the removed roots that lie between.
void Update::SiteContentStep_1_0037(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "forum")) {
        return;
    }
    std::int32_t previous = 0;
    std::int32_t current = 0;
    for (;;) {
        const auto roots =
            OpenRecordset(Sql("SELECT elementid FROM ", db,
                              ".forum WHERE elementid = threadid AND removed = 0 AND elementid > ",
                              current, " ORDER BY elementid LIMIT ", kRowsPerPage, ";"));
        if (roots->IsEOF()) {
            roots->Close();
            return;
        }
        previous = current;
        current = Int32Field(*roots, "elementid");
        roots->Close();
        UpdateForumThreadStatistics(siteId, previous, current, false);
        UpdateForumThreadStatistics(siteId, previous, current, true);
    }
}

void Update::UpdateForumThreadStatistics(std::int32_t siteId, std::int32_t fromId,
                                         std::int32_t toId, bool publishedOnly) {
    const std::string db = SiteDatabase(siteId);
    const std::string_view prefix = publishedOnly ? "published" : "";
    const std::string_view filter = publishedOnly ? "AND f1.published = -1 " : "";
    const auto threads = OpenRecordset(
        Sql("SELECT f.elementid, MAX(f1.elementid) AS latestelementid, "
            "COUNT(f1.elementid) AS postings FROM ",
            db, ".forum f INNER JOIN ", db,
            ".forum f1 ON f.elementid = f1.threadid "
            "WHERE f.threadid = f.elementid And f.elementid > ",
            fromId, " AND f.elementid <= ", toId, " ", filter, "GROUP BY f.threadid;"));
    ForEachRow(threads, [&](const Recordset& thread) {
        Execute(Sql("UPDATE ", db, ".forum SET latest", prefix,
                    "elementid = ", Int32Field(thread, "latestelementid"), ", ", prefix,
                    "postings = ", Int32Field(thread, "postings"),
                    " WHERE elementid = ", Int32Field(thread, "elementid"), ";"));
    });
}

void Update::SiteContentStep_1_0039(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "forum")) {
        Execute(Sql("UPDATE ", db, ".forum SET threadroot = -1 WHERE elementid = threadid;"));
    }
}

void Update::SiteContentStep_1_0042(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        Execute(Sql("UPDATE ", db,
                    ".formtemplatefield SET linktype = 1 WHERE linkformtemplatefieldid > 0;"));
    }
}

// The column shows that the e-mails are converted: if it exists, none is.
void Update::SiteContentStep_1_0043(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (ColumnExists(db, "email", "ishtml")) {
        return;
    }
    AddColumn(db, "email", "ishtml", "BOOL DEFAULT 0 NOT NULL");
    const auto pageOfEmails = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT * FROM ", db, ".email WHERE emailid > ", last, " LIMIT ",
                                 kEmailsPerPage, ";"));
    };
    ForEachRowInPages("emailid", pageOfEmails, [&](const Recordset& email) {
        std::string sets;
        for (const std::string_view column : kEmailTexts) {
            const std::string text = FieldText(email.Fields().Item(column));
            sets += Sql(sets.empty() ? " " : ", ", column, " = '",
                        SqlEscape(EncodeAngleBrackets(text)), "'");
        }
        Execute(Sql("UPDATE ", db, ".email SET", sets,
                    " WHERE emailid = ", Int32Field(email, "emailid"), ";"));
    });
}

void Update::SiteContentStep_1_0044(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto thirdTexts = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT t.textid FROM ", db, ".text t INNER JOIN ", db,
                ".feature f ON f.featureid = t.featureid "
                "WHERE f.componentid IN(900, 3700) AND t.subfeatureid = 2 AND t.texttype = 0 "
                "AND t.textid > ",
                last, " ORDER BY t.textid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("textid", thirdTexts, [&](const Recordset& text) {
        Execute(Sql("UPDATE ", db,
                    ".text SET texttype = 20 WHERE textid = ", Int32Field(text, "textid"), ";"));
    });
}

void Update::SiteContentStep_1_0048(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1000);
}

void Update::SiteContentStep_1_0049(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto pageOfEmails = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT emailid, fromlist, tolist, cclist, bcclist, subject, message FROM ", db,
                ".email WHERE emailid > ", last, " ORDER BY emailid LIMIT ", kEmailsPerPage, ";"));
    };
    ForEachRowInPages("emailid", pageOfEmails, [&](const Recordset& email) {
        std::string sets;
        for (const std::string_view column : kEmailTexts) {
            const std::string text = FieldText(email.Fields().Item(column));
            const std::string converted = ConvertOrderDetailsTags(text);
            if (converted != text) {
                sets += Sql(sets.empty() ? " " : ", ", column, " = '", SqlEscape(converted), "'");
            }
        }
        if (!sets.empty()) {
            Execute(Sql("UPDATE ", db, ".email SET", sets,
                        " WHERE emailid = ", Int32Field(email, "emailid"), ";"));
        }
    });
}

void Update::SiteContentStep_1_0050(std::int32_t siteId) {
    std::string sets;
    for (const std::string_view column : kEmailTexts) {
        sets += Sql(sets.empty() ? " " : ", ", column, " = REPLACE(", column,
                    ", '#Embed.', '#E-Embed.')");
    }
    Execute(Sql("UPDATE ", SiteDatabase(siteId), ".email SET", sets, ";"));
}

void Update::SiteContentStep_1_0051(std::int32_t siteId) {
    for (const std::int32_t componentId : {1450, 900, 800, 3700, 400, 500, 1000, 1600}) {
        RefreshSiteComponent(siteId, componentId);
    }
}

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

void Update::AddDisplaySequences(const std::string& db, std::int32_t featureId) {
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
        // There is no telephone flag for the shipping block: the one of the billing block applies
        // to both.
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
void Update::MergeAddressLines(const std::string& db, const std::string& table,
                               const std::string& key, const std::vector<std::string>& addresses) {
    std::string columns;
    std::string toMerge;
    for (const std::string& address : addresses) {
        columns += Sql(", ", address, ", ", address, "1, ", address, "2");
        toMerge += Sql(toMerge.empty() ? "" : " OR ", "(LENGTH(", address, ") = 0 AND LENGTH(",
                       address, "1) + LENGTH(", address, "2) > 0)");
    }
    const auto pageOfRows = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT ", key, columns, " FROM ", db, ".", table, " WHERE ", key,
                                 " > ", last, " AND (", toMerge, ") ORDER BY ", key, " LIMIT ",
                                 kRowsPerPage, ";"));
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

// Step 1.0069 renames the event, so either name shows that a shop has it.
void Update::SiteContentStep_1_0055(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto shopsWithoutEvent = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT f.featureid FROM ", db, ".feature f LEFT JOIN ", db,
                ".event e ON e.featureid = f.featureid "
                "AND e.name IN('Order Payment', 'Order Completion') "
                "WHERE f.componentid = 1000 AND e.eventid IS NULL AND f.featureid > ",
                last, " ORDER BY f.featureid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("featureid", shopsWithoutEvent, [&](const Recordset& shop) {
        const std::int32_t featureId = Int32Field(shop, "featureid");
        const std::int32_t eventId = EventBeingAdded(db, featureId, "Order Payment");
        std::int32_t sequence = 0;
        const auto paymentEmails = [&](std::int32_t last) {
            return OpenRecordset(Sql("SELECT emailid FROM ", db, ".email WHERE featureid = ",
                                     featureId, " AND type = 'postorderpayment' AND emailid > ",
                                     last, " ORDER BY emailid LIMIT ", kEmailsPerPage, ";"));
        };
        ForEachRowInPages("emailid", paymentEmails, [&](const Recordset& email) {
            AddEmailPart(db, eventId, ++sequence, "Order payment email",
                         Int32Field(email, "emailid"));
        });
        FinishEvent(db, eventId, "Order Payment");
    });
}

void Update::SiteContentStep_1_0057(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 900);
    UpgradeSiteComponent(siteId, 3600);
}

void Update::SiteContentStep_1_0058(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 1200);
}

void Update::SiteContentStep_1_0061(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    std::map<std::int32_t, std::int32_t> elementByZone;
    ForEachRow(OpenRecordset(Sql("SELECT zoneid, elementid FROM ", db, ".layoutzone;")),
               [&](const Recordset& zone) {
                   elementByZone.emplace(Int32Field(zone, "zoneid"), Int32Field(zone, "elementid"));
               });

    using Rule = std::tuple<std::string, std::int32_t, std::int32_t, std::int32_t, std::int32_t>;
    std::set<Rule> seen;  // the owner follows from the name
    const auto pageOfLayoutTags = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT tagid, name, templateid, overrideid, cssid, media, subownerid FROM ", db,
                ".tag WHERE name LIKE '.LO%' AND tagid > ", last, " ORDER BY tagid LIMIT ",
                kRowsPerPage, ";"));
    };
    std::string duplicates;
    const auto deleteDuplicates = [&] {
        if (!duplicates.empty()) {
            Execute(Sql("DELETE FROM ", db, ".attribute WHERE tagid IN(", duplicates, ");"));
            Execute(Sql("DELETE FROM ", db, ".tag WHERE tagid IN(", duplicates, ");"));
            duplicates.clear();
        }
    };
    for (std::int32_t last = 0;;) {
        const auto tags = pageOfLayoutTags(last);
        if (tags->IsEOF()) {
            tags->Close();
            return;
        }
        ForEachRow(tags, [&](const Recordset& tag) {
            const std::int32_t tagId = Int32Field(tag, "tagid");
            last = tagId;
            const std::string name = TextField(tag, "name");
            const auto zone = ZoneOfTag(name);
            const auto element = zone ? elementByZone.find(*zone) : elementByZone.end();
            if (element == elementByZone.end()) {
                return;
            }
            const bool isNew =
                seen.emplace(name, Int32Field(tag, "templateid"), Int32Field(tag, "overrideid"),
                             Int32Field(tag, "cssid"), Int32Field(tag, "media"))
                    .second;
            if (!isNew) {
                duplicates += Sql(duplicates.empty() ? "" : ",", tagId);
            } else if (Int32Field(tag, "subownerid") != element->second) {
                Execute(Sql("UPDATE ", db, ".tag SET subownerid = ", element->second,
                            " WHERE tagid = ", tagId, ";"));
            }
        });
        deleteDuplicates();
    }
}

void Update::SiteContentStep_1_0062(std::int32_t siteId) {
    ResetSiteComponent(siteId, 3900);
}

}  // namespace twupdate
