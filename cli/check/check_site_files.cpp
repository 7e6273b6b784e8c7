#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <optional>
#include <set>

#include "cli/check/check_finding.h"

// The files of a site: what the steps copy into its folders, and what they read there.
namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

bool LiesWithin(const fs::path& folder, const fs::path& path) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
           folder.end();
}

bool IsFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool IsLink(const fs::path& path) {
    std::error_code ignored;
    return fs::is_symlink(path, ignored);
}

bool MayWrite(const fs::path& path) {
    return access(path.c_str(), IsFolder(path) ? W_OK | X_OK : W_OK) == 0;
}

bool FitsInt32(const std::string& number) {
    using Int32 = std::numeric_limits<std::int32_t>;
    const double value = std::strtod(number.c_str(), nullptr);
    return value >= Int32::min() && value <= Int32::max();
}

/// The folder on the way to a path that may not be looked into; empty when a link hides it.
fs::path LockedFolder(const fs::path& path) {
    fs::path folder;
    for (const fs::path& name : path) {
        if (!folder.empty() && access(folder.c_str(), X_OK) != 0) {
            return folder;
        }
        folder /= name;
    }
    return {};
}

/// The files that the steps come to, each path named once, with the first step that fails there:
/// the calls are in the order of the steps.
class SiteFiles {
  public:
    SiteFiles(const CheckScope& scope, std::int32_t siteId, const PendingRun& pending,
              std::vector<CheckFinding>& findings)
        : root_(InstallationRoot(scope.installFolder)),
          site_(root_ / "wwwroot" / "sites" / std::to_string(siteId)),
          pending_(pending),
          findings_(findings) {}

    /// A sub-folder of the site template, or the template itself, is copied to the site.
    void SiteTemplate(std::string_view step, const std::string& subFolder) {
        const fs::path siteTemplate = root_ / "templates" / "site";
        const fs::path source = subFolder.empty() ? siteTemplate : siteTemplate / subFolder;
        const fs::path destination = subFolder.empty() ? site_ : site_ / subFolder;
        if (pending_.Has(step) && IsThere(step, source) && Makes(step, destination)) {
            Files(step, source, destination);
        }
    }

    /// The template of a component is copied to those of its pages that have a folder.
    void ComponentTemplate(std::string_view step, std::string folderName,
                           const std::vector<std::string>& pages) {
        std::replace(folderName.begin(), folderName.end(), '\\', '/');
        const fs::path components = root_ / "components";
        const fs::path folder = (components / folderName).lexically_normal();
        if (!LiesWithin(components, folder)) {
            Tell(step, folder, "leads out of " + components.string(),
                 "mend foldername of the component");
        } else if (IsThere(step, folder / "template")) {
            for (const std::string& page : pages) {
                if (!FitsInt32(page)) {
                    AddOnce({"tw_" + site_.filename().string(), "feature", std::string(step),
                             fmt::format("featureid {} does not fit a 32-bit integer", page),
                             "mend it"},
                            findings_);
                } else if (IsThere(step, site_ / page)) {
                    Files(step, folder / "template", site_ / page);
                }
            }
        }
    }

    /// The uploads of forms are looked for in the site's folder, or in that for secure files.
    void Uploads(std::string_view step, bool secure) {
        Resolve(step, secure ? root_ / "sites_secure" / site_.filename() : site_);
    }

    /// The site's robots.txt as the step takes it; empty when there is none.
    fs::path Robots(std::string_view step) {
        const fs::path folder = Resolve(step, site_);
        const fs::path file = folder.empty() ? fs::path() : Resolve(step, site_ / "robots.txt");
        std::error_code ignored;
        return !file.empty() && LiesWithin(folder, file) && fs::is_regular_file(file, ignored)
                   ? file
                   : fs::path();
    }

    void Tell(std::string_view step, const fs::path& path, const std::string& what,
              const std::string& cure) {
        AddOnce({"", "", std::string(step), path.string() + " " + what, cure}, findings_);
    }

  private:
    /// Whether a folder is there; a finding when that cannot be seen.
    bool IsThere(std::string_view step, const fs::path& folder) {
        std::error_code error;
        const fs::file_type type = fs::status(folder, error).type();
        if (type == fs::file_type::none) {
            TellLocked(step, folder);
        }
        return type == fs::file_type::directory;
    }

    /// A path without links; empty when nothing is there or, with a finding, when that cannot be
    /// seen.
    fs::path Resolve(std::string_view step, const fs::path& path) {
        std::error_code error;
        fs::path real = fs::canonical(path, error);
        if (error == std::errc::permission_denied) {
            TellLocked(step, path);
        }
        return error ? fs::path() : real;
    }

    void TellLocked(std::string_view step, const fs::path& path) {
        const fs::path locked = LockedFolder(path);
        if (locked.empty()) {
            Tell(step, path, "cannot be looked at",
                 "mend the link, or give the right to look into the folder that it leads to");
        } else {
            Tell(step, locked, "cannot be looked into", "give the right to look into it");
        }
    }

    /// Whether the site has the folder, or gets it.
    bool Makes(std::string_view step, const fs::path& folder) {
        if (made_.contains(folder)) {
            return true;
        }
        std::error_code error;
        const fs::file_type type = fs::status(folder, error).type();
        const fs::path above = folder.parent_path();
        if (type == fs::file_type::directory) {
            return true;
        }
        if (type == fs::file_type::none) {
            TellLocked(step, folder);
        } else if (type != fs::file_type::not_found || IsLink(folder)) {
            Tell(step, folder, "is a file where a folder must be", "move the file out of the way");
        } else if (!made_.contains(above) && (!IsFolder(above) || !MayWrite(above))) {
            Tell(step, folder, "is a folder that cannot be made",
                 fmt::format("make {} with the right to write in it", above.string()));
        } else {
            made_.insert(folder);
            return true;
        }
        return false;
    }

    void Files(std::string_view step, const fs::path& source, const fs::path& destination) {
        std::error_code error;
        fs::directory_iterator entry(source, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            std::error_code ignored;
            if (entry->is_regular_file(ignored) ||
                (entry->is_symlink(ignored) && !entry->is_directory(ignored))) {
                File(step, entry->path(), destination);
            }
        }
        if (error) {
            Tell(step, source, "cannot be read", "give the right to read it");
        }
    }

    void File(std::string_view step, const fs::path& file, const fs::path& destination) {
        if (IsLink(file)) {
            std::error_code error;
            const fs::path target = fs::canonical(file, error);
            if (error == std::errc::permission_denied) {
                TellLocked(step, file);
                return;
            }
            if (error || !fs::is_regular_file(target, error)) {
                Tell(step, file, "is a link that leads nowhere", "replace the link by the file");
                return;
            }
        }
        if (access(file.c_str(), R_OK) != 0) {
            Tell(step, file, "cannot be read", "give the right to read it");
        } else if (!made_.contains(destination)) {
            Copy(step, file, destination / file.filename());
        }
    }

    /// The place of a copy, in a folder that is there.
    void Copy(std::string_view step, const fs::path& file, const fs::path& copy) {
        struct stat there {};
        const fs::path folder = copy.parent_path();
        std::error_code error;
        if (IsLink(copy) || stat(copy.c_str(), &there) != 0) {
            if (!MayWrite(folder)) {
                Tell(step, folder, "cannot be written", "give the right to write it");
            }
        } else if (!S_ISREG(there.st_mode)) {
            Tell(step, copy,
                 S_ISDIR(there.st_mode) ? "is a folder where a file must be"
                                        : "is no file that can be replaced",
                 "move it out of the way");
        } else if (fs::equivalent(file, copy, error)) {
            Tell(step, copy, "is the template itself", "put a copy in its place");
        } else if (geteuid() != 0 && there.st_uid != geteuid()) {
            // A copy takes over the template's rights, which only the owner of a file may set.
            Tell(step, copy, "belongs to another user", "give it to the user that runs twupdate");
        } else if (!MayWrite(copy) && errno != EACCES) {  // its owner may give himself the right
            Tell(step, copy, "cannot be written", "give the right to write it");
        }
    }

    fs::path root_;
    fs::path site_;
    const PendingRun& pending_;
    std::vector<CheckFinding>& findings_;
    std::set<fs::path> made_;
};

/// Whether a form with uploads keeps its files apart: a row for each answer that there is.
std::vector<std::string> KindsOfUploads(host::Connection& connection, std::int32_t siteId) {
    return FirstColumn(
        connection,
        fmt::format("SELECT DISTINCT IFNULL(m.securefiles <> 0, 0) FROM tw_{0}.formfield f LEFT "
                    "JOIN tw_{0}.form m ON m.formfeatureid = f.featureid WHERE f.type IN('file', "
                    "'image') AND EXISTS(SELECT 1 FROM information_schema.columns c WHERE "
                    "c.table_schema = 'tw_{0}' AND c.table_name = CONCAT('form_', f.featureid) "
                    "AND c.column_name = CONCAT('field_', f.formfieldid));",
                    siteId));
}

// --- robots.txt ----------------------------------------------------------------------------------

constexpr std::string_view kRobotsStep = "SiteContentStep_1_0030";

/// The page that ServerDataStep_1_0026 makes the site's home, as the last of its documents says.
std::string HomeFromDocuments(host::Connection& connection, std::int32_t siteId) {
    const auto pages = FirstColumn(
        connection,
        fmt::format("SELECT SUBSTRING(document, 1, INSTR(document, '/') - 1) FROM "
                    "tw_tarnwick.defaultdocument WHERE siteid = {} AND document REGEXP '^[0-9]+/' "
                    "AND CAST(SUBSTRING(document, 1, INSTR(document, '/') - 1) AS DECIMAL(65)) <= "
                    "2147483647;",
                    siteId));
    return pages.empty() ? "" : pages.back();
}

/// The site's home page as the step sees it: empty for NULL, "0" for none.
std::string HomePage(host::Connection& connection, const CheckScope& scope, std::int32_t siteId) {
    const bool hasDefault = scope.central.Find("site", "defaultfeatureid") != nullptr;
    const bool setsDefault = scope.CentralRun().Has("ServerDataStep_1_0026");
    std::string fromDocuments = setsDefault ? HomeFromDocuments(connection, siteId) : std::string();
    if (!fromDocuments.empty() && fromDocuments.find_first_not_of('0') != std::string::npos) {
        return fromDocuments;
    }
    const bool usesDefault = hasDefault && fromDocuments.empty();
    const auto home = FirstColumn(
        connection,
        fmt::format("SELECT {} FROM tw_tarnwick.site WHERE siteid = {};",
                    usesDefault ? "IF(defaultfeatureid <> 0, defaultfeatureid, sitefeatureid)"
                                : "sitefeatureid",
                    siteId));
    return home.empty() ? "0" : home.front();
}

/// One robots.txt on its way into `plaintext`.
class RobotsCheck {
  public:
    RobotsCheck(host::Connection& connection, const CheckScope& scope, std::int32_t siteId,
                std::vector<CheckFinding>& findings)
        : connection_(connection),
          scope_(scope),
          siteId_(siteId),
          database_(fmt::format("tw_{}", siteId)),
          stored_(ReadStoredTables(connection, database_)),
          findings_(findings) {}

    void File(const fs::path& file) {
        const auto home = Home();
        if (home && Takes(*home)) {
            Content(file, *home);
        }
    }

  private:
    void Tell(const std::string& database, const std::string& table, const std::string& problem,
              const std::string& cure) {
        findings_.push_back({database, table, std::string(kRobotsStep), problem, cure});
    }

    /// False, with a finding, for a column that the step would miss.
    bool Has(const StoredTables& tables, const std::string& database, const std::string& table,
             const std::string& column) {
        const bool has = tables.Find(table, column) != nullptr;
        if (!has) {
            Tell(database, table, fmt::format("the column {} is missing", column),
                 "bring it back from a backup");
        }
        return has;
    }

    /// The page that robots.txt goes to; nothing when there is none, or when the step fails there.
    std::optional<std::string> Home() {
        if (!Has(scope_.central, "tw_tarnwick", "site", "sitefeatureid")) {
            return std::nullopt;
        }
        const std::string home = HomePage(connection_, scope_, siteId_);
        if (home.empty()) {
            Tell("tw_tarnwick", "site",
                 fmt::format("sitefeatureid is NULL where a number must be in 1 row (siteid {})",
                             siteId_),
                 "give it a number");
        } else if (!FitsInt32(home)) {
            Tell("tw_tarnwick", "site",
                 fmt::format("the home page does not fit a 32-bit integer in 1 row (siteid {})",
                             siteId_),
                 "mend it");
            return std::nullopt;
        }
        return home.empty() || home == "0" ? std::nullopt : std::optional(home);
    }

    /// Whether the page has no text of robots.txt yet, and can have one.
    bool Takes(const std::string& home) {
        if (!stored_.tables.contains("plaintext")) {
            return true;  // an earlier step makes it
        }
        const bool hasKey = Has(stored_, database_, "plaintext", "featureid") &&
                            Has(stored_, database_, "plaintext", "subfeatureid");
        return hasKey &&
               FirstColumn(connection_,
                           fmt::format("SELECT 1 FROM {}.plaintext WHERE featureid = {} AND "
                                       "subfeatureid = 0;",
                                       database_, home))
                   .empty() &&
               Has(stored_, database_, "plaintext", "text");
    }

    void Content(const fs::path& file, const std::string& home) {
        const auto tell = [&](const std::string& what, const std::string& cure) {
            Tell(database_, "plaintext", file.string() + " " + what, cure);
        };
        const auto session = connection_.Query(
            "SELECT @@SESSION.max_allowed_packet, @@SESSION.character_set_client, "
            "@@SESSION.sql_mode;");
        session->Next();
        const auto packet = std::stoull(session->Get(0).ToText());
        const std::string client = session->Get(1).ToText();
        const bool strict = IsStrict(session->Get(2).ToText());
        const auto tooLarge = [&](std::uintmax_t bytes) {
            tell(fmt::format("has {} bytes, and the server takes statements of {}", bytes, packet),
                 "raise max_allowed_packet on the server");
        };
        std::ifstream stream(file, std::ios::binary);
        if (!stream.is_open()) {
            tell("cannot be read", "give the right to read it");
            return;
        }
        std::error_code error;
        if (const auto bytes = fs::file_size(file, error); !error && bytes >= packet) {
            tooLarge(bytes);  // it is not read
            return;
        }
        const std::string content((std::istreambuf_iterator<char>(stream)),
                                  std::istreambuf_iterator<char>());
        if (stream.bad()) {
            tell("cannot be read", "give the right to read it");
        } else if (StatementSize(content, home) >= packet) {
            tooLarge(content.size());
        } else if (strict) {
            CheckInsert(connection_, database_, stored_, "plaintext", "featureid subfeatureid text",
                        kRobotsStep, findings_);
            Text(content, client, packet, tell);
        }
    }

    /// The bytes of the statement that brings the content, with the one that says what it is.
    std::size_t StatementSize(const std::string& content, const std::string& home) const {
        const std::string rest = fmt::format(
            "INSERT INTO {}.plaintext(featureid, subfeatureid, text) VALUES({}, 0, '');", database_,
            home);
        // Quotes and backslashes are doubled, and the end of a line becomes two escapes.
        std::size_t size = rest.size() + 1 + content.size();
        for (std::size_t i = 0; i < content.size(); ++i) {
            if (content[i] == '\'' || content[i] == '\\') {
                ++size;
            } else if (content.compare(i, 2, "\r\n") == 0) {
                size += 2;
            }
        }
        return size;
    }

    template <typename Tell>
    void Text(const std::string& content, const std::string& client, std::size_t packet,
              const Tell& tell) {
        const StoredColumn* column = stored_.Find("plaintext", "text");
        const std::string target = column != nullptr ? column->charset : stored_.charset;
        // In pieces that a statement can hold as hexadecimal digits, cut where no character is.
        const std::size_t longest = packet / 4;
        for (std::size_t begin = 0; begin < content.size();) {
            std::size_t end = std::min(begin + longest, content.size());
            while (end < content.size() && end > begin + 1 && IsWithinCharacter(content[end])) {
                --end;
            }
            if (!IsTextIn(connection_, target, content.substr(begin, end - begin))) {
                tell(fmt::format(
                         "is not text in {}",
                         client == target ? client : fmt::format("{} and {}", client, target)),
                     "mend its bytes, or take it away");
                return;
            }
            begin = end;
        }
        if (column == nullptr || !column->length) {
            return;
        }
        const bool countsBytes = column->type.ends_with("text") && target.starts_with("utf8");
        const auto within = std::count_if(content.begin(), content.end(), IsWithinCharacter);
        const std::size_t characters = content.size() - static_cast<std::size_t>(within);
        if ((countsBytes ? content.size() : characters) > *column->length) {
            tell(fmt::format("is longer than the {} characters of plaintext.text", *column->length),
                 "shorten it");
        }
    }

    /// Of UTF-8; in other character sets such a byte may be a character of its own.
    static bool IsWithinCharacter(char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
    }

    host::Connection& connection_;
    const CheckScope& scope_;
    std::int32_t siteId_;
    std::string database_;
    StoredTables stored_;
    std::vector<CheckFinding>& findings_;
};

}  // namespace

fs::path InstallationRoot(const fs::path& installFolder) {
    fs::path folder = fs::absolute(installFolder).lexically_normal();
    return (folder.has_filename() ? folder : folder.parent_path()).parent_path();
}

void CheckSiteFiles(const Session& session, const CheckScope& scope, std::int32_t siteId,
                    const PendingRun& pending, const std::vector<std::string>& formComponents,
                    std::vector<CheckFinding>& findings) {
    host::Connection& connection = *session.GetConnection();
    SiteFiles files(scope, siteId, pending, findings);
    const auto component = [&](std::string_view step, const std::string& id) {
        const auto folder = scope.components.folders.find(id);
        if (!pending.Has(step) || folder == scope.components.folders.end()) {
            return;
        }
        files.ComponentTemplate(
            step, folder->second,
            FirstColumn(connection,
                        fmt::format("SELECT featureid FROM tw_{}.feature WHERE componentid = {};",
                                    siteId, id)));
    };
    files.SiteTemplate("SiteSchemaStep_1_0079", "gs");
    files.SiteTemplate("SiteSchemaStep_1_0235", "gs");
    if (constexpr std::string_view kStep = "SiteSchemaStep_1_0251"; pending.Has(kStep)) {
        for (const std::string& secure : KindsOfUploads(connection, siteId)) {
            files.Uploads(kStep, secure == "1");
        }
    }
    for (const char* folder : {"", "gs"}) {
        files.SiteTemplate("SiteContentStep_1_0011", folder);
    }
    component("SiteContentStep_1_0016", "300");
    component("SiteContentStep_1_0022", "900");
    for (const char* folder : {"", "gs"}) {
        files.SiteTemplate("SiteContentStep_1_0026", folder);
    }
    if (pending.Has(kRobotsStep)) {
        if (const fs::path robots = files.Robots(kRobotsStep); !robots.empty()) {
            RobotsCheck(connection, scope, siteId, findings).File(robots);
        }
    }
    files.SiteTemplate("SiteContentStep_1_0063", "EmailTest");
    files.SiteTemplate("SiteContentStep_1_0074", "ServerManager");
    for (const std::string& id : formComponents) {
        component("SiteContentStep_1_0091", id);
    }
    files.SiteTemplate("SiteContentStep_1_0098", "gs");
}

}  // namespace twupdate::cli
