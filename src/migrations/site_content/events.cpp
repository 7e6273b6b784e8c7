#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

// An event that a step adds gets its proper name last, when its parts and e-mails are in place.
// Until then it carries a name of its own, under which a run after an interruption finds it again;
// without that, the page would keep a half-made event forever.

std::int32_t Update::EventBeingAdded(const std::string& db, std::int32_t featureId,
                                     const std::string& name) {
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

void Update::AddEmailPart(const std::string& db, std::int32_t eventId, std::int32_t sequence,
                          const std::string& name, std::int32_t emailId) {
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

void Update::FinishEvent(const std::string& db, std::int32_t eventId, const std::string& name) {
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
                last, " ORDER BY f.featureid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("featureid", pagesWithoutEvent, [&](const Recordset& page) {
        const std::int32_t featureId = Int32Field(page, "featureid");
        const std::int32_t eventId = EventBeingAdded(db, featureId, "Reset Password");
        const std::int32_t emailId = ResetPasswordEmail(db, featureId);
        AddEmailPart(db, eventId, 1, "Reset password email", emailId);
        FinishEvent(db, eventId, "Reset Password");
    });
}

std::int32_t Update::ResetPasswordEmail(const std::string& db, std::int32_t featureId) {
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

}  // namespace twupdate
