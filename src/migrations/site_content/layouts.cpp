#include <charconv>
#include <map>
#include <optional>
#include <string_view>

#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

std::optional<std::int32_t> ParseNumber(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    text = text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
    std::int32_t number = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (status != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// The element ids of the comma-separated sequence numbers, in list order; what is no element's
/// number is dropped.
std::string ElementIds(std::string_view sequences,
                       const std::map<std::int32_t, std::int32_t>& elementBySequence) {
    std::string ids;
    for (std::size_t from = 0; from <= sequences.size();) {
        const auto comma = std::min(sequences.find(',', from), sequences.size());
        const auto sequence = ParseNumber(sequences.substr(from, comma - from));
        const auto element = sequence ? elementBySequence.find(*sequence) : elementBySequence.end();
        if (element != elementBySequence.end()) {
            if (!ids.empty()) {
                ids += ',';
            }
            AppendSql(ids, element->second);
        }
        from = comma + 1;
    }
    return ids;
}

}  // namespace

void Update::SiteContentStep_1_0026(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("UPDATE ", db,
                ".layoutelement SET name = CONCAT('Layout Element ', sequence) "
                "WHERE name = '';"));
    Execute(Sql("UPDATE ", db, ".layoutzone SET flyoutjs = '';"));
    if (HasRow(OpenRecordset(Sql("SELECT siteid FROM ", kCentralDatabase,
                                 ".site WHERE siteid = ", siteId, " AND template <> 0;")))) {
        Execute(Sql("DELETE FROM ", db, ".setting WHERE name = 'HideNavIfOverrides';"));
    }
    ConvertExplicitLayoutElements(siteId);
    CopySiteTemplates(siteId);
}

void Update::ConvertExplicitLayoutElements(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto pageOfSettings = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT s.settingid, s.overrideid, o.featureid FROM ", db,
                                 ".setting s INNER JOIN ", db,
                                 ".override o ON o.overrideid = s.overrideid "
                                 "WHERE s.name = 'ExplicitLayoutElements' AND s.type = 'text' "
                                 "AND s.settingid > ",
                                 last, " ORDER BY s.settingid LIMIT 50;"));
    };
    ForEachRowInPages("settingid", pageOfSettings, [&](const Recordset& setting) {
        const std::int32_t featureId = Int32Field(setting, "featureid");
        const std::int32_t overrideId = Int32Field(setting, "overrideid");
        std::map<std::int32_t, std::int32_t> elementBySequence;
        ForEachRow(OpenRecordset(Sql("SELECT elementid, sequence FROM ", db,
                                     ".layoutelement WHERE featureid = ", featureId,
                                     " ORDER BY elementid;")),
                   [&](const Recordset& element) {
                       elementBySequence.emplace(Int32Field(element, "sequence"),
                                                 Int32Field(element, "elementid"));
                   });
        if (elementBySequence.empty()) {
            return;  // not the override of a layout
        }
        const std::int32_t settingId = Int32Field(setting, "settingid");
        const auto list = OpenRecordset(
            Sql("SELECT text FROM ", db, ".setting WHERE settingid = ", settingId, ";"));
        const std::string sequences =
            list->IsEOF() ? std::string() : FieldText(list->Fields().Item("text"));
        list->Close();
        if (!SettingExists(db, overrideId, "LayoutElementType")) {
            AddIntegerSetting(db, overrideId, "LayoutElementType", 1);
        }
        if (!SettingExists(db, overrideId, "LayoutElementIds")) {
            AddTextSetting(db, overrideId, "LayoutElementIds",
                           ElementIds(sequences, elementBySequence));
        }
        Execute(Sql("DELETE FROM ", db, ".setting WHERE settingid = ", settingId, ";"));
    });
}

}  // namespace twupdate
