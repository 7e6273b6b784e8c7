#include <vector>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

std::shared_ptr<Recordset> Update::OpenForms(StringRef db, std::int32_t lastFormId) {
    return OpenRecordset(Sql("SELECT formfeatureid FROM ", db, ".form WHERE formfeatureid > ",
                             lastFormId, " ORDER BY formfeatureid LIMIT 50;"));
}

void Update::SiteContentStep_1_0091(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "form")) {
        return;
    }
    const auto forms = [&](std::int32_t last) { return OpenForms(db, last); };
    ForEachRowInPages("formfeatureid", forms, [&](const Recordset& form) {
        RecordFormFeatureId(db, Int32Field(form, "formfeatureid"));
    });

    // All ids first: copying asks the database again.
    std::vector<std::int32_t> componentIds;
    ForEachRow(
        OpenRecordset(Sql("SELECT DISTINCT f.componentid FROM ", db, ".form m INNER JOIN ", db,
                          ".feature f ON f.featureid = m.formfeatureid "
                          "ORDER BY f.componentid;")),
        [&](const Recordset& row) { componentIds.push_back(Int32Field(row, "componentid")); });
    for (const std::int32_t componentId : componentIds) {
        RenewComponentFiles(siteId, componentId);
    }
}

void Update::RecordFormFeatureId(StringRef db, std::int32_t formFeatureId) {
    const std::int32_t overrideId = OverrideOfPage(db, formFeatureId);
    if (!SettingExists(db, overrideId, "FormFeatureId")) {
        AddIntegerSetting(db, overrideId, "FormFeatureId", formFeatureId);
        return;
    }
    Execute(Sql("UPDATE ", db, ".setting SET type = 'integer', integer_value = ", formFeatureId,
                " WHERE overrideid = ", overrideId,
                " AND name = 'FormFeatureId' AND (type <> 'integer' "
                "OR integer_value <> ",
                formFeatureId, ");"));
}

void Update::SiteContentStep_1_0255(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "formfield")) {
        return;
    }
    const auto longTextFields = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT formfieldid, featureid FROM ", db,
                                 ".formfield WHERE type IN('dhtml', 'memo') AND formfieldid > ",
                                 last, " ORDER BY formfieldid LIMIT 50;"));
    };
    ForEachRowInPages("formfieldid", longTextFields, [&](const Recordset& field) {
        const std::string table = Sql("form_", Int32Field(field, "featureid"));
        const std::string column = Sql("field_", Int32Field(field, "formfieldid"));
        if (TableExists(db, table) && ColumnExists(db, table, column)) {
            Execute(Sql("ALTER TABLE ", db, ".", table, " MODIFY COLUMN ", column,
                        " LONGTEXT DEFAULT '' NOT NULL;"));
        }
    });
}

void Update::SiteContentStep_1_0259(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "form")) {
        return;
    }
    const auto forms = [&](std::int32_t last) { return OpenForms(db, last); };
    ForEachRowInPages("formfeatureid", forms, [&](const Recordset& form) {
        const std::string table = Sql("form_", Int32Field(form, "formfeatureid"));
        if (TableExists(db, table)) {
            Execute(Sql("REPAIR TABLE ", db, ".", table, " QUICK;"));
        }
    });
}

}  // namespace twupdate
