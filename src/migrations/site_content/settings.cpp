#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

std::int32_t Update::OverrideOfPage(const std::string& db, std::int32_t featureId) {
    const std::int32_t found = FirstNumber(
        OpenRecordset(Sql("SELECT overrideid FROM ", db, ".override WHERE featureid = ", featureId,
                          " ORDER BY overrideid LIMIT 1;")),
        "overrideid");
    if (found != 0) {
        return found;
    }
    Execute(Sql("INSERT INTO ", db, ".override(featureid) VALUES(", featureId, ");"));
    return GetLastInsertId();
}

bool Update::SettingExists(const std::string& db, std::int32_t overrideId,
                           const std::string& name) {
    return HasRow(OpenRecordset(Sql("SELECT settingid FROM ", db, ".setting WHERE overrideid = ",
                                    overrideId, " AND name = '", SqlEscape(name), "';")));
}

std::string Update::TextSetting(const std::string& db, std::int32_t featureId,
                                const std::string& name) {
    const auto rows = OpenRecordset(
        Sql("SELECT IF(s.type = 'string', s.string_value, s.text) AS text FROM ", db,
            ".override o INNER JOIN ", db,
            ".setting s ON s.overrideid = o.overrideid WHERE o.featureid = ", featureId,
            " AND s.name = '", SqlEscape(name), "' ORDER BY s.settingid LIMIT 1;"));
    std::string text = rows->IsEOF() ? std::string() : FieldText(rows->Fields().Item("text"));
    rows->Close();
    return text;
}

void Update::AddStringSetting(const std::string& db, std::int32_t overrideId,
                              const std::string& name, const std::string& value) {
    Execute(Sql("INSERT INTO ", db, ".setting(overrideid, name, type, string_value) VALUES(",
                overrideId, ", '", SqlEscape(name), "', 'string', '", SqlEscape(value), "');"));
}

void Update::AddTextSetting(const std::string& db, std::int32_t overrideId, const std::string& name,
                            const std::string& value) {
    Execute(Sql("INSERT INTO ", db, ".setting(overrideid, name, type, text) VALUES(", overrideId,
                ", '", SqlEscape(name), "', 'text', '", SqlEscape(value), "');"));
}

void Update::AddIntegerSetting(const std::string& db, std::int32_t overrideId,
                               const std::string& name, std::int32_t value) {
    Execute(Sql("INSERT INTO ", db, ".setting(overrideid, name, type, integer_value) VALUES(",
                overrideId, ", '", SqlEscape(name), "', 'integer', ", value, ");"));
}

}  // namespace twupdate
