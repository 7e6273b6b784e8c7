#include <string_view>

#include "dbutil/sql.h"
#include "migrations/site_content/email_texts.h"
#include "migrations/site_content/rows.h"
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

}  // namespace

// An event that a step adds gets its proper name last, when its parts and e-mails are in place.
// Until then it carries a name of its own, under which a run after a cut finds it again; without
// that, the page would keep a half-made event for ever.

std::int32_t Update::EventBeingAdded(StringRef db, std::int32_t featureId, StringRef name) {
    const std::string interimName = SqlEscape(name + " (being added)");
    const std::int32_t found = FirstNumber(
        OpenRecordset(Sql("SELECT eventid FROM ", db, ".event WHERE featureid = ", featureId,
                          " AND name = '", interimName, "' ORDER BY eventid LIMIT 1;")),
        "eventid");
    if (found != 0) {
        return found;
    }
    Execute(Sql("INSERT INTO ", db, ".event(featureid, name) VALUES(", featureId, ", '",
                interimName, "');"));
    return GetLastInsertId();
}

void Update::AddEmailPart(StringRef db, std::int32_t eventId, std::int32_t sequence, StringRef name,
                          std::int32_t emailId) {
    std::int32_t partId = FirstNumber(
        OpenRecordset(Sql("SELECT eventpartid FROM ", db, ".eventpart WHERE eventid = ", eventId,
                          " AND sequence = ", sequence, " ORDER BY eventpartid LIMIT 1;")),
        "eventpartid");
    if (partId == 0) {
        Execute(Sql("INSERT INTO ", db, ".eventpart(eventid, name, sequence) VALUES(", eventId,
                    ", '", SqlEscape(name), "', ", sequence, ");"));
        partId = GetLastInsertId();
    }
    if (!HasRow(OpenRecordset(Sql("SELECT emailid FROM ", db, ".emailevent WHERE eventpartid = ",
                                  partId, " AND emailid = ", emailId, ";")))) {
        Execute(Sql("INSERT INTO ", db, ".emailevent(eventpartid, emailid) VALUES(", partId, ", ",
                    emailId, ");"));
    }
}

void Update::FinishEvent(StringRef db, std::int32_t eventId, StringRef name) {
    Execute(Sql("UPDATE ", db, ".event SET name = '", SqlEscape(name),
                "' WHERE eventid = ", eventId, ";"));
}

void Update::AddResetPasswordEvent(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto pagesWithoutEvent = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT f.featureid FROM ", db, ".feature f LEFT JOIN ", db,
                ".event e ON e.featureid = f.featureid AND e.name = 'Reset Password' "
                "WHERE f.componentid = 100 AND e.eventid IS NULL AND f.featureid > ",
                last, " ORDER BY f.featureid LIMIT 50;"));
    };
    ForEachRowInPages("featureid", pagesWithoutEvent, [&](const Recordset& page) {
        const std::int32_t featureId = Int32Field(page, "featureid");
        const std::int32_t eventId = EventBeingAdded(db, featureId, "Reset Password");
        const std::int32_t emailId = ResetPasswordEmail(db, featureId);
        AddEmailPart(db, eventId, 1, "Reset password email", emailId);
        FinishEvent(db, eventId, "Reset Password");
    });
}

std::int32_t Update::ResetPasswordEmail(StringRef db, std::int32_t featureId) {
    const std::int32_t found = FirstNumber(
        OpenRecordset(Sql("SELECT emailid FROM ", db, ".email WHERE featureid = ", featureId,
                          " AND type = 'resetpassword' ORDER BY emailid LIMIT 1;")),
        "emailid");
    if (found != 0) {
        return found;
    }
    const std::string message =
        "Somebody has asked for a new password for your account on this site.\r\n\r\n"
        "If it was not you, please ignore this e-mail: your password stays as it is.\r\n";
    Execute(Sql("INSERT INTO ", db, ".email(featureid, type, subject, message) VALUES(", featureId,
                ", 'resetpassword', 'Reset your password', '", SqlEscape(message), "');"));
    return GetLastInsertId();
}

// The column tells that the e-mails are converted: once it is there, nothing is.
void Update::SiteContentStep_1_0043(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (ColumnExists(db, "email", "ishtml")) {
        return;
    }
    AddColumn(db, "email", "ishtml", "BOOL DEFAULT 0 NOT NULL");
    const auto pageOfEmails = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT * FROM ", db, ".email WHERE emailid > ", last, " LIMIT 20;"));
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

void Update::SiteContentStep_1_0049(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto pageOfEmails = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT emailid, fromlist, tolist, cclist, bcclist, subject, message FROM ", db,
                ".email WHERE emailid > ", last, " ORDER BY emailid LIMIT 20;"));
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

// Step 1.0069 renames the event, so that both names tell that a shop has it.
void Update::SiteContentStep_1_0055(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto shopsWithoutEvent = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT f.featureid FROM ", db, ".feature f LEFT JOIN ", db,
                ".event e ON e.featureid = f.featureid "
                "AND e.name IN('Order Payment', 'Order Completion') "
                "WHERE f.componentid = 1000 AND e.eventid IS NULL AND f.featureid > ",
                last, " ORDER BY f.featureid LIMIT 50;"));
    };
    ForEachRowInPages("featureid", shopsWithoutEvent, [&](const Recordset& shop) {
        const std::int32_t featureId = Int32Field(shop, "featureid");
        const std::int32_t eventId = EventBeingAdded(db, featureId, "Order Payment");
        std::int32_t sequence = 0;
        const auto paymentEmails = [&](std::int32_t last) {
            return OpenRecordset(Sql("SELECT emailid FROM ", db, ".email WHERE featureid = ",
                                     featureId, " AND type = 'postorderpayment' AND emailid > ",
                                     last, " ORDER BY emailid LIMIT 20;"));
        };
        ForEachRowInPages("emailid", paymentEmails, [&](const Recordset& email) {
            AddEmailPart(db, eventId, ++sequence, "Order payment email",
                         Int32Field(email, "emailid"));
        });
        FinishEvent(db, eventId, "Order Payment");
    });
}

}  // namespace twupdate
