#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>

#include "dbutil/site_files.h"
#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

bool StandsIn(std::string_view text, std::string_view opening, std::string_view closing) {
    return text.size() >= opening.size() + closing.size() && text.starts_with(opening) &&
           text.ends_with(closing);
}

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

/// The element ids of the comma-separated sequence numbers, in list order; unknown numbers are
/// dropped.
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
            AppendTo(ids, element->second);
        }
        from = comma + 1;
    }
    return ids;
}

std::string ReadWholeFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file.is_open() || file.bad()) {
        throw FileError("cannot read " + path.string());
    }
    return content;
}

/// The site's robots.txt; an empty path when there is none. What it holds becomes public, so a link
/// counts only when it stays in the site's own folder.
std::filesystem::path RobotsFile(const std::filesystem::path& installFolder, std::int32_t siteId) {
    const auto folder =
        RealPath(InstallationRoot(installFolder) / "wwwroot" / "sites" / Concat(siteId));
    if (folder.empty()) {
        return {};
    }
    const auto path = folder / "robots.txt";
    std::error_code error;
    const auto file = std::filesystem::canonical(path, error);
    const bool isOwn =
        !error && LiesWithin(folder, file) && std::filesystem::is_regular_file(file, error);
    if (error && !IsDeadEnd(error)) {
        FailLookup(path, error);
    }
    return isOwn ? file : std::filesystem::path();
}

}  // namespace

void Update::SiteContentStep_1_0015(std::int32_t siteId, Boolean& result) {
    RefreshSiteComponent(siteId, 1500);
    RefreshSiteComponent(siteId, 2600);
    result = kTrue;
}

void Update::SiteContentStep_1_0016(std::int32_t siteId, Boolean& result) {
    RenewComponentFiles(siteId, 300);
    result = kTrue;
}

void Update::SiteContentStep_1_0017(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("UPDATE ", db, ".layoutelement SET showtype = 1 WHERE showtoall = 0;"));
    const auto pageOfHeadings = [&](std::int32_t last) {
        return OpenRecordset(
            Sql("SELECT tagid, name, templateid, overrideid FROM ", db,
                ".tag WHERE BINARY name IN('.heading', '.subheading') AND overrideid <> 0 "
                "AND tagid > ",
                last, " ORDER BY tagid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("tagid", pageOfHeadings, [&](const Recordset& tag) {
        const std::string element = TextField(tag, "name") == ".heading" ? "h1" : "h2";
        const std::int32_t overrideId = Int32Field(tag, "overrideid");
        std::int32_t elementTagId = FindTag(db, element, Sql("overrideid = ", overrideId));
        if (elementTagId == 0) {
            elementTagId = AddTag(db, Int32Field(tag, "templateid"), overrideId, element);
        }
        CopyMissingAttributes(db, Int32Field(tag, "tagid"), elementTagId, "");
    });
    result = kTrue;
}

// 22 is the type of the search results phrases. Texts may be long: they are read one at a time.
void Update::SiteContentStep_1_0019(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    const auto pageOfTexts = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT textid, featureid FROM ", db,
                                 ".text WHERE texttype = 22 AND textid > ", last,
                                 " ORDER BY textid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("textid", pageOfTexts, [&](const Recordset& row) {
        const std::int32_t textId = Int32Field(row, "textid");
        const std::string opening =
            "<p>" + TextSetting(db, Int32Field(row, "featureid"), "FindResultsPhrase");
        const auto found =
            OpenRecordset(Sql("SELECT text FROM ", db, ".text WHERE textid = ", textId, ";"));
        const std::string text =
            found->IsEOF() ? std::string() : FieldText(found->Fields().Item("text"));
        found->Close();
        if (!StandsIn(text, opening, "</p>")) {
            Execute(Sql("UPDATE ", db, ".text SET text = '", SqlEscape(opening), SqlEscape(text),
                        "</p>' WHERE textid = ", textId, ";"));
        }
    });
    result = kTrue;
}

void Update::SiteContentStep_1_0020(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("INSERT INTO ", db,
                ".setting(overrideid, name, type, text) "
                "SELECT s.overrideid, 'TargetInstanceIds', 'text', s.integer_value FROM ",
                db, ".setting s LEFT JOIN ", db,
                ".setting ids ON ids.overrideid = s.overrideid "
                "AND ids.name = 'TargetInstanceIds' "
                "WHERE s.name = 'TargetInstanceId' AND s.type = 'integer' "
                "AND s.integer_value > 0 AND ids.settingid IS NULL ORDER BY s.settingid;"));

    AddIndexIfMissing(db, "navigation", "parentid_idx", "parentid");
    AddIndexIfMissing(db, "navigation", "level_idx", "level");
    AddIndexIfMissing(db, "navigation", "sequence_idx", "sequence");

    // In one statement: a renumbering that is interrupted half-way would change the order that the
    // next run starts from. A row's place is the number of rows of its parent up to it. DISTINCT
    // drops nothing: it makes the server keep the three columns in memory, apart from the table
    // that changes. A join in the UPDATE itself needs a default database on old servers.
    Execute(Sql("UPDATE ", db,
                ".navigation SET sequence = (SELECT COUNT(*) FROM (SELECT DISTINCT parentid, "
                "sequence, navigationid FROM ",
                db, ".navigation) b WHERE b.parentid = ", db,
                ".navigation.parentid AND (b.sequence < ", db,
                ".navigation.sequence OR b.sequence = ", db,
                ".navigation.sequence AND b.navigationid <= ", db,
                ".navigation.navigationid)) WHERE parentid IS NOT NULL AND sequence IS NOT NULL;"));
    result = kTrue;
}

void Update::SiteContentStep_1_0021(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    Execute(Sql("UPDATE ", db, ".feature SET hidden = -1 WHERE navigationstyle = 'LONavHidden';"));
    AddIndexIfMissing(db, "feature", "deadlink_idx", "deadlink");
    result = kTrue;
}

void Update::SiteContentStep_1_0022(std::int32_t siteId, Boolean& result) {
    RefreshSiteComponent(siteId, 3000);
    RenewComponentFiles(siteId, 900);
    result = kTrue;
}

void Update::SiteContentStep_1_0023(std::int32_t siteId, Boolean& result) {
    AddIndexIfMissing(SiteDatabase(siteId), "removedfeature", "navigationid_idx", "navigationid");
    result = kTrue;
}

void Update::SiteContentStep_1_0025(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    if (TableExists(db, "forum")) {
        AddIndexIfMissing(db, "forum", "threadid_idx", "threadid");
        AddIndexIfMissing(db, "forum", "featureid_idx", "featureid");
    }
    result = kTrue;
}

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
                                 last, " ORDER BY s.settingid LIMIT ", kRowsPerPage, ";"));
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

// Steps that are not here stand by theme: emails.cpp, forms.cpp, forum.cpp, layouts.cpp, shop.cpp,
// styles.cpp, texts.cpp.

void Update::SiteContentStep_1_0027(std::int32_t siteId) {
    UpgradeSiteComponent(siteId, 2300);
    RefreshSiteComponent(siteId, 300);
}

void Update::SiteContentStep_1_0029(std::int32_t siteId) {
    RefreshSiteComponent(siteId, 2600);
}

void Update::SiteContentStep_1_0030(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto robots = RobotsFile(Host().InstallFolder(), siteId);
    if (robots.empty()) {
        return;
    }
    const std::int32_t featureId = HomePage(siteId);
    if (featureId == 0 || HasRow(OpenRecordset(Sql("SELECT featureid FROM ", db,
                                                   ".plaintext WHERE featureid = ", featureId,
                                                   " AND subfeatureid = 0;")))) {
        return;
    }
    Execute(Sql("INSERT INTO ", db, ".plaintext(featureid, subfeatureid, text) VALUES(", featureId,
                ", 0, '", SqlEscape(ReadWholeFile(robots)), "');"));
}

// A site may be upgraded on its own under a central database that does not know home pages yet.
std::int32_t Update::HomePage(std::int32_t siteId) {
    const std::string central(kCentralDatabase);
    const bool knowsHomePages = ColumnExists(central, "site", "defaultfeatureid");
    return FirstNumber(
        OpenRecordset(
            Sql("SELECT ",
                knowsHomePages ? "IF(defaultfeatureid <> 0, defaultfeatureid, sitefeatureid)"
                               : "sitefeatureid",
                " AS homefeatureid FROM ", central, ".site WHERE siteid = ", siteId, ";")),
        "homefeatureid");
}

void Update::SiteContentStep_1_0031(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto pagesWithContent = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT DISTINCT f.featureid FROM ", db, ".feature f INNER JOIN ",
                                 db,
                                 ".text t ON t.featureid = f.featureid "
                                 "WHERE f.componentid IN(400, 500) AND t.subfeatureid = 0 "
                                 "AND t.text <> '&nbsp;' AND f.featureid > ",
                                 last, " ORDER BY f.featureid LIMIT ", kRowsPerPage, ";"));
    };
    ForEachRowInPages("featureid", pagesWithContent, [&](const Recordset& page) {
        Execute(Sql("UPDATE ", db, ".feature SET blankcontent = 0 WHERE featureid = ",
                    Int32Field(page, "featureid"), ";"));
    });
}

void Update::SiteContentStep_1_0032(std::int32_t siteId) {
    InitialiseSiteComponent(siteId, 4100);
    RefreshSiteComponent(siteId, 4100);
    UpgradeSiteComponent(siteId, 4100);
    ResetSiteComponent(siteId, 4100);
}

}  // namespace twupdate
