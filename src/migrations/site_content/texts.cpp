#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "dbutil/site_files.h"
#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

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
        RealPath(InstallationRoot(installFolder) / "wwwroot" / "sites" / Sql(siteId));
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

bool StandsIn(std::string_view text, std::string_view opening, std::string_view closing) {
    return text.size() >= opening.size() + closing.size() && text.starts_with(opening) &&
           text.ends_with(closing);
}

}  // namespace

// 22 is the type of the search results phrases. Texts may be long: they are read one at a time.
void Update::SiteContentStep_1_0019(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    const auto pageOfTexts = [&](std::int32_t last) {
        return OpenRecordset(Sql("SELECT textid, featureid FROM ", db,
                                 ".text WHERE texttype = 22 AND textid > ", last,
                                 " ORDER BY textid LIMIT 50;"));
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
                                 last, " ORDER BY f.featureid LIMIT 50;"));
    };
    ForEachRowInPages("featureid", pagesWithContent, [&](const Recordset& page) {
        Execute(Sql("UPDATE ", db, ".feature SET blankcontent = 0 WHERE featureid = ",
                    Int32Field(page, "featureid"), ";"));
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
                last, " ORDER BY t.textid LIMIT 50;"));
    };
    ForEachRowInPages("textid", thirdTexts, [&](const Recordset& text) {
        Execute(Sql("UPDATE ", db,
                    ".text SET texttype = 20 WHERE textid = ", Int32Field(text, "textid"), ";"));
    });
}

void Update::SiteContentStep_1_0222(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto logInPages = [&](std::int32_t last) { return OpenPagesOfComponent(db, 100, last); };
    ForEachRowInPages("featureid", logInPages, [&](const Recordset& page) {
        const std::int32_t featureId = Int32Field(page, "featureid");
        const auto filled = [&](StringRef setting, std::string_view opening,
                                std::string_view closing) {
            const std::string text = TextSetting(db, featureId, setting);
            return text.empty() ? text : Sql(opening, text, closing);
        };
        SetFirstText(db, featureId, 2,
                     filled("ForgottenPasswordText", "<p>", "</p>") +
                         filled("InvalidLogInText", "<div class=\"error\">", "</div>"));
        SetFirstText(db, featureId, 3, filled("RegistrationText", "<p>", "</p>"));
    });
}

std::shared_ptr<Recordset> Update::OpenPagesOfComponent(StringRef db, std::int32_t componentId,
                                                        std::int32_t lastFeatureId) {
    return OpenRecordset(Sql("SELECT featureid FROM ", db,
                             ".feature WHERE componentid = ", componentId, " AND featureid > ",
                             lastFeatureId, " ORDER BY featureid LIMIT 50;"));
}

/// Writes the first text of the page's subfeature, adding one where there is none. An empty text
/// changes nothing.
void Update::SetFirstText(StringRef db, std::int32_t featureId, std::int32_t subfeatureId,
                          StringRef text) {
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

// Blanks count as a text; only nothing at all is empty.
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

}  // namespace twupdate
