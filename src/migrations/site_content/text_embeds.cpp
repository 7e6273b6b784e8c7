#include <map>
#include <utility>

#include "dbutil/sql.h"
#include "migrations/site_content/embed_codes.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

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
        EmbedIds stored;   ///< by major and minor number; perhaps half-made by a run that was cut
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
                converted += Sql("<#TextEmbed.", EmbedFor(*code, textId, field->second, embeds),
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
                                 last, " ORDER BY featureid LIMIT 50;"));
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
                    last, " ORDER BY textid LIMIT 50;"));
        };
        ForEachRowInPages("textid", textsWithCodes, [&](const Recordset& text) {
            embeds.ConvertText(Int32Field(text, "textid"), fields);
        });
    });
}

}  // namespace twupdate
