#include <array>
#include <map>
#include <string_view>
#include <utility>

#include "dbutil/sql.h"
#include "migrations/site_content/embed_codes.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

struct NamedColour {
    std::string_view name;
    std::string_view code;
};

// In this order: the replacement also finds a name inside a longer one, so that "white" before
// "whitesmoke" turns the latter into #fffsmoke where both stand in one value.
constexpr std::array<NamedColour, 19> kNamedColours{{
    {"gainsboro", "#dcdcdc"},    {"silver", "#c0c0c0"},     {"dimgray", "#696969"},
    {"white", "#fff"},           {"darkblue", "#00008b"},   {"lightyellow", "#ffffe0"},
    {"lemonchiffon", "#fffacd"}, {"blue", "#00f"},          {"whitesmoke", "#f5f5f5"},
    {"lightgrey", "#d3d3d3"},    {"darkgray", "#a9a9a9"},   {"lightsteelblue", "#b0c4de"},
    {"black", "#000"},           {"dodgerblue", "#1e90ff"}, {"darkkhaki", "#bdb76b"},
    {"darkred", "#8b0000"},      {"red", "#f00"},           {"yellow", "#ff0"},
    {"orange", "#ffa500"},
}};

}  // namespace

void Update::SiteContentStep_1_0239(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 100);
}

// Nothing to do: the rung keeps the sequence of versions without a gap.
void Update::SiteContentStep_1_0240(std::int32_t) {}

/// Turns the link fields that are embedded in a view page's texts into text embeds.
struct Update::TextEmbeds {
    struct LinkField {
        std::int32_t formId;
        std::int32_t fieldId;
        std::int32_t targetFormId;
    };
    using LinkFields = std::map<std::int32_t, LinkField>;  // by form template field
    using EmbedIds = std::map<std::pair<std::int32_t, std::int32_t>, std::int32_t>;
    struct Embeds {
        EmbedIds
            stored;  ///< by major and minor number; perhaps incomplete after an interrupted run
        EmbedIds written;  ///< with their properties
    };

    Update& update;
    const std::string& db;

    LinkFields LinkFieldsOf(std::int32_t featureId) const {
        LinkFields fields;
        ForEachRow(
            update.OpenRecordset(
                Sql("SELECT t.formtemplatefieldid, f.featureid, f.formfieldid, "
                    "f.targetformfeatureid FROM ",
                    db, ".formtemplatefield t INNER JOIN ", db,
                    ".queryfieldsrc s ON s.queryfieldid = t.queryfieldid INNER JOIN ", db,
                    ".querytable q ON q.tableid = s.tableid INNER JOIN ", db,
                    ".formfield f ON f.formfieldid = s.srcfieldid AND f.featureid = q.srctableid "
                    "WHERE t.featureid = ",
                    featureId,
                    " AND f.type IN('multiformlink', 'productfamily') "
                    "ORDER BY t.formtemplatefieldid, s.tableid, s.srcfieldid;")),
            [&](const Recordset& row) {
                fields.emplace(
                    Int32Field(row, "formtemplatefieldid"),
                    LinkField{Int32Field(row, "featureid"), Int32Field(row, "formfieldid"),
                              Int32Field(row, "targetformfeatureid")});
            });
        return fields;
    }

    void ConvertText(std::int32_t textId, const LinkFields& fields) const {
        const auto row = update.OpenRecordset(
            Sql("SELECT text, previoustext FROM ", db, ".text WHERE textid = ", textId, ";"));
        if (row->IsEOF()) {
            row->Close();
            return;
        }
        const std::string text = FieldText(row->Fields().Item("text"));
        const std::string previous = FieldText(row->Fields().Item("previoustext"));
        row->Close();
        Embeds embeds{StoredEmbeds(textId), {}};
        std::string sets;
        AppendChange(sets, "text", text, Converted(text, textId, fields, embeds));
        AppendChange(sets, "previoustext", previous, Converted(previous, textId, fields, embeds));
        if (!sets.empty()) {
            update.Execute(Sql("UPDATE ", db, ".text SET", sets, " WHERE textid = ", textId, ";"));
        }
    }

  private:
    EmbedIds StoredEmbeds(std::int32_t textId) const {
        EmbedIds embeds;
        ForEachRow(
            update.OpenRecordset(Sql("SELECT embedid, major, minor FROM ", db,
                                     ".textembed WHERE textid = ", textId, " ORDER BY embedid;")),
            [&](const Recordset& embed) {
                embeds.emplace(std::pair(Int32Field(embed, "major"), Int32Field(embed, "minor")),
                               Int32Field(embed, "embedid"));
            });
        return embeds;
    }

    std::string Converted(std::string_view text, std::int32_t textId, const LinkFields& fields,
                          Embeds& embeds) const {
        std::string converted;
        std::size_t done = 0;
        for (auto code = FindEmbedCode(text, 0); code; code = FindEmbedCode(text, code->end)) {
            const auto field = fields.find(code->minor);
            if (field != fields.end()) {
                converted.append(text, done, code->begin - done);
                converted += Concat("<#TextEmbed.", EmbedFor(*code, textId, field->second, embeds),
                                    ":", code->name, "#>");
                done = code->end;
            }
        }
        return converted.append(text, done);
    }

    std::int32_t EmbedFor(const EmbedCode& code, std::int32_t textId, const LinkField& field,
                          Embeds& embeds) const {
        const auto key = std::pair(code.major, code.minor);
        if (const auto written = embeds.written.find(key); written != embeds.written.end()) {
            return written->second;
        }
        const auto stored = embeds.stored.find(key);
        const std::int32_t embedId =
            stored != embeds.stored.end() ? stored->second : AddEmbed(textId, code);
        update.Execute(Sql("INSERT INTO ", db,
                           ".textembedproperty(embedid, propertytype, integer_value) VALUES(",
                           embedId, ", 1, ", field.formId, "), (", embedId, ", 2, ", field.fieldId,
                           "), (", embedId, ", 3, ", field.targetFormId,
                           ") ON DUPLICATE KEY UPDATE integer_value = VALUES(integer_value);"));
        embeds.written.emplace(key, embedId);
        return embedId;
    }

    std::int32_t AddEmbed(std::int32_t textId, const EmbedCode& code) const {
        update.Execute(Sql("INSERT INTO ", db, ".textembed(textid, major, minor) VALUES(", textId,
                           ", ", code.major, ", ", code.minor, ");"));
        return update.GetLastInsertId();
    }

    static void AppendChange(std::string& sets, std::string_view column, const std::string& text,
                             const std::string& converted) {
        if (converted != text) {
            sets += Sql(sets.empty() ? " " : ", ", column, " = '", SqlEscape(converted), "'");
        }
    }
};

void Update::SiteContentStep_1_0242(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "formtemplate")) {
        return;
    }
    const TextEmbeds embeds{*this, db};
    const auto viewPages = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT featureid FROM ", db, ".formtemplate WHERE featureid > ",
                                 last, " ORDER BY featureid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("featureid", viewPages, [&](const Recordset& page) {
        const std::int32_t featureId = Int32Field(page, "featureid");
        const auto fields = embeds.LinkFieldsOf(featureId);
        if (fields.empty()) {
            return;
        }
        const auto textsWithCodes = [&](std::int32_t last) {
            return OpenRecordset(
                Sql("SELECT textid FROM ", db, ".text WHERE featureid = ", featureId,
                    " AND (text LIKE '%#Embed.%' OR previoustext LIKE '%#Embed.%') "
                    "AND textid > ",
                    last, " ORDER BY textid LIMIT ", kRowsPerPage, ";"));
        };
        ForEachRowInPages("textid", textsWithCodes, [&](const Recordset& text) {
            embeds.ConvertText(Int32Field(text, "textid"), fields);
        });
    });
}

void Update::SiteContentStep_1_0245(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 900);
    RefreshSiteComponent(siteId, 3700);
}

void Update::SiteContentStep_1_0254(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    for (const NamedColour& colour : kNamedColours) {
        Execute(Sql("UPDATE ", db, ".attribute SET value = REPLACE(LCASE(value), '", colour.name,
                    "', '", colour.code,
                    "') WHERE (name LIKE '%color' OR name LIKE 'border-%') "
                    "AND value REGEXP '(^| )",
                    colour.name, "( |$)';"));
    }
    std::int32_t offset = 0;
    for (bool more = true; more;) {
        more = false;
        ForEachRow(
            OpenRecordset(Sql("SELECT cssid FROM ", db, ".css ORDER BY cssid LIMIT ", offset, ",",
                              kRowsPerPage, ";")),
            [&](const Recordset& stylesheet) {
                const std::int32_t cssId = Int32Field(stylesheet, "cssid");
                Execute(Sql("UPDATE ", db, ".css SET cachebuilt = 0 WHERE cssid = ", cssId, ";"));
                Execute(Sql("UPDATE ", db, ".tag SET cachebuilt = 0 WHERE cssid = ", cssId, ";"));
                ++offset;
                more = true;
            });
    }
}

void Update::SiteContentStep_1_0255(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "formfield")) {
        return;
    }
    const auto longTextFields = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT formfieldid, featureid FROM ", db,
                                 ".formfield WHERE type IN('dhtml', 'memo') AND formfieldid > ",
                                 last, " ORDER BY formfieldid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("formfieldid", longTextFields, [&](const Recordset& field) {
        const std::string table = Concat("form_", Int32Field(field, "featureid"));
        const std::string column = Concat("field_", Int32Field(field, "formfieldid"));
        if (TableExists(db, table) && ColumnExists(db, table, column)) {
            Execute(Sql("ALTER TABLE ", db, ".", table, " MODIFY COLUMN ", column,
                        " LONGTEXT DEFAULT '' NOT NULL;"));
        }
    });
}

void Update::SiteContentStep_1_0256(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".layoutzonenavlevel("
                "zoneid INT DEFAULT 0 NOT NULL, "
                "level INT DEFAULT 0 NOT NULL, "
                "direction INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(zoneid, level));"));
    Execute(Sql("UPDATE ", db, ".layoutzone SET flyoutjs = '';"));
}

void Update::SiteContentStep_1_0257(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "formtemplateviewfield")) {
        return;
    }
    Execute(Sql("UPDATE ", db,
                ".formtemplateviewfield SET float_value = 1 "
                "WHERE formtemplateviewfieldtype = 22;"));
    Execute(Sql("INSERT INTO ", db,
                ".setting(overrideid, name, type, integer_value) "
                "SELECT s.overrideid, 'WordMatchType', 'integer', IF(s.integer_value = -1, 1, 0) "
                "FROM ",
                db, ".setting s LEFT JOIN ", db,
                ".setting w ON w.overrideid = s.overrideid AND w.name = 'WordMatchType' "
                "WHERE s.name = 'IgnoreWordFragments' AND w.settingid IS NULL "
                "ORDER BY s.settingid;"));
    Execute(Sql("DELETE FROM ", db, ".setting WHERE name = 'IgnoreWordFragments';"));
}

void Update::SiteContentStep_1_0258(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 2600);
}

void Update::SiteContentStep_1_0259(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    if (!TableExists(db, "form")) {
        return;
    }
    const auto forms = [&](std::int32_t last) { return OpenForms(db, last); };
    ForEachRowInPages("formfeatureid", forms, [&](const Recordset& form) {
        const std::string table = Concat("form_", Int32Field(form, "formfeatureid"));
        if (TableExists(db, table)) {
            Execute(Sql("REPAIR TABLE ", db, ".", table, " QUICK;"));
        }
    });
}

void Update::SiteContentStep_1_0261(std::int32_t siteId) {
    ResetSiteComponent(siteId, 5600);
}

}  // namespace twupdate
