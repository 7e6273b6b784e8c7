#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>

#include "cli/check_finding.h"
#include "cli/stored_columns.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

// --- components ----------------------------------------------------------------------------------

struct ComponentUse {
    std::string_view step;
    std::string_view components;
};

/// The components that steps look up in any site.
constexpr std::array kComponentUses{
    ComponentUse{"SiteContentStep_1_0002", "1000 100"},
    ComponentUse{"SiteContentStep_1_0004", "900 3700"},
    ComponentUse{"SiteContentStep_1_0007", "2400 1000"},
    ComponentUse{"SiteContentStep_1_0008", "100"},
    ComponentUse{"SiteContentStep_1_0015", "1500 2600"},
    ComponentUse{"SiteContentStep_1_0016", "300"},
    ComponentUse{"SiteContentStep_1_0022", "3000 900"},
    ComponentUse{"SiteContentStep_1_0027", "2300 300"},
    ComponentUse{"SiteContentStep_1_0029", "2600"},
    ComponentUse{"SiteContentStep_1_0032", "4100"},
    ComponentUse{"SiteContentStep_1_0048", "1000"},
    ComponentUse{"SiteContentStep_1_0051", "1450 900 800 3700 400 500 1000 1600"},
    ComponentUse{"SiteContentStep_1_0057", "900 3600"},
    ComponentUse{"SiteContentStep_1_0058", "1200"},
    ComponentUse{"SiteContentStep_1_0071", "1000"},
    ComponentUse{"SiteContentStep_1_0078", "1000"},
    ComponentUse{"SiteContentStep_1_0080", "1000"},
    ComponentUse{"SiteContentStep_1_0086", "1000 4300"},
    ComponentUse{"SiteContentStep_1_0087", "1000"},
    ComponentUse{"SiteContentStep_1_0094", "1000"},
    ComponentUse{"SiteContentStep_1_0096", "500 400"},
    ComponentUse{"SiteContentStep_1_0235", "1000"},
    ComponentUse{"SiteContentStep_1_0238", "900 3700"},
    ComponentUse{"SiteContentStep_1_0239", "100"},
    ComponentUse{"SiteContentStep_1_0245", "900 3700"},
    ComponentUse{"SiteContentStep_1_0258", "2600"},
};

/// The components of a site's form pages; none when its tables cannot tell.
std::vector<std::string> FormComponents(host::Connection& connection, const std::string& database) {
    std::vector<std::string> components;
    try {
        const auto rows = connection.Query(
            fmt::format("SELECT DISTINCT f.componentid FROM {0}.form m INNER JOIN {0}.feature f ON "
                        "f.featureid = m.formfeatureid WHERE f.componentid IS NOT NULL ORDER BY "
                        "f.componentid;",
                        database));
        while (rows->Next()) {
            components.push_back(rows->Get(0).ToText());
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
    }
    return components;
}

/// The step that comes first to the components; empty when none is pending.
std::string_view FirstComponentStep(const PendingRun& pending) {
    std::string_view first;
    for (const ComponentUse& use : kComponentUses) {
        if (pending.Has(use.step) && (first.empty() || pending.IsBefore(use.step, first))) {
            first = use.step;
        }
    }
    return first;
}

/// A component that is not known is named once, with the first step that looks it up.
void CheckComponents(host::Connection& connection, const std::string& database,
                     const PendingRun& pending, const Components& known,
                     std::vector<CheckFinding>& findings) {
    std::set<std::string> named;
    const auto use = [&](std::string_view step, const std::string& component,
                         std::string_view table) {
        if (!known.contains(component) && named.insert(component).second) {
            findings.push_back(
                {database, std::string(table), std::string(step),
                 fmt::format("neither tw_tarnwick.component nor the data file has component {}",
                             component),
                 table.empty() ? "bring resources/componentData.txt back from the package"
                               : "give the form pages of that component another one, or bring the "
                                 "component's line in resources/componentData.txt back"});
        }
    };
    for (const ComponentUse& at : kComponentUses) {
        if (pending.Has(at.step)) {
            for (const std::string& component : SplitAtBlanks(at.components)) {
                use(at.step, component, "");
            }
        }
    }
    if (pending.Has("SiteContentStep_1_0091")) {
        for (const std::string& component : FormComponents(connection, database)) {
            use("SiteContentStep_1_0091", component, "feature");
        }
    }
}

// --- the central database ------------------------------------------------------------------------

/// The commissions of a site look for their payments in the central database.
void CheckPayments(host::Connection& connection, const CheckScope& scope,
                   const std::string& database, const PendingRun& pending,
                   std::vector<CheckFinding>& findings) {
    constexpr std::string_view kStep = "SiteContentStep_1_0223";
    if (!pending.Has(kStep)) {
        return;
    }
    try {
        const auto commissions = connection.Query(
            fmt::format("SELECT 1 FROM {}.commission WHERE orderid > 0 LIMIT 1;", database));
        if (!commissions->Next()) {
            return;
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
        return;
    }
    constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kColumns{
        {{"account", "accountid"},
         {"account", "siteid"},
         {"account", "userid"},
         {"accountpayment", "accountpaymentid"},
         {"accountpayment", "accountid"},
         {"accountpayment", "amount"},
         {"accountpayment", "cartorderid"},
         {"accountpayment", "paymentdate"}}};
    for (const auto& [table, column] : kColumns) {
        const bool made = column == "cartorderid" && scope.CentralRun().Has("ServerStep_1_0223");
        if (made || scope.central.Find(std::string(table), std::string(column)) != nullptr) {
            continue;
        }
        const bool tableIsThere = scope.central.tables.contains(std::string(table));
        const std::string problem = tableIsThere ? fmt::format("the column {} is missing", column)
                                                 : std::string("the table is missing");
        AddOnce({"tw_tarnwick", std::string(table), std::string(kStep), problem,
                 tableIsThere && column == "cartorderid" ? "upgrade the central database first"
                                                         : "bring it back from a backup"},
                findings);
    }
}

// --- files ---------------------------------------------------------------------------------------

/// The folder that holds `templates`, `components` and `wwwroot`.
fs::path InstallationRoot(const fs::path& installFolder) {
    fs::path folder = fs::absolute(installFolder).lexically_normal();
    return (folder.has_filename() ? folder : folder.parent_path()).parent_path();
}

bool LiesWithin(const fs::path& folder, const fs::path& path) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
           folder.end();
}

bool IsFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool MayWrite(const fs::path& path) {
    return access(path.c_str(), IsFolder(path) ? W_OK | X_OK : W_OK) == 0;
}

/// The copies of template files into the folders of a site, in the order of the steps.
class Copies {
  public:
    Copies(fs::path root, std::vector<CheckFinding>& findings)
        : root_(std::move(root)), findings_(findings) {}

    void SiteTemplate(std::string_view step, std::int32_t siteId, const std::string& subFolder) {
        const fs::path siteTemplate = root_ / "templates" / "site";
        fs::path source = siteTemplate;
        fs::path destination = SiteFolder(siteId);
        if (!subFolder.empty()) {
            source /= subFolder;
            destination /= subFolder;
        }
        if (!IsFolder(source)) {
            return;
        }
        if (!Exists(destination)) {
            const fs::path above = destination.parent_path();
            if (std::error_code ignored; fs::exists(destination, ignored)) {
                Tell(step, destination, "is a file where a folder must be",
                     "move the file out of the way");
                return;
            }
            if (!Exists(above) || (!made_.contains(above) && !MayWrite(above))) {
                Tell(step, destination, "is a folder that cannot be made",
                     fmt::format("make {} with the right to write in it", above.string()));
                return;
            }
            made_.insert(destination);
        }
        Files(step, source, siteTemplate, destination);
    }

    void ComponentTemplate(std::string_view step, std::string folderName,
                           const std::vector<fs::path>& pages) {
        std::replace(folderName.begin(), folderName.end(), '\\', '/');
        const fs::path components = root_ / "components";
        const fs::path folder = (components / folderName).lexically_normal();
        if (!LiesWithin(components, folder)) {
            Tell(step, folder, "leads out of " + components.string(),
                 "mend foldername of the component");
            return;
        }
        for (const fs::path& page : pages) {
            if (IsFolder(folder / "template") && IsFolder(page)) {
                Files(step, folder / "template", folder / "template", page);
            }
        }
    }

    fs::path SiteFolder(std::int32_t siteId) const {
        return root_ / "wwwroot" / "sites" / std::to_string(siteId);
    }

  private:
    bool Exists(const fs::path& folder) const { return made_.contains(folder) || IsFolder(folder); }

    void Files(std::string_view step, const fs::path& source, const fs::path& limit,
               const fs::path& destination) {
        std::error_code error;
        fs::directory_iterator entry(source, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            if (entry->is_regular_file(error) ||
                (entry->is_symlink(error) && !entry->is_directory(error))) {
                File(step, entry->path(), limit, destination);
            }
            error.clear();
        }
        if (error) {
            Tell(step, source, "cannot be read", "give the right to read it");
        }
    }

    void File(std::string_view step, const fs::path& file, const fs::path& limit,
              const fs::path& destination) {
        std::error_code error;
        if (file.filename().string().find('\\') != std::string::npos) {
            Tell(step, file, "has a name that leads out of the folder", "rename it");
            return;
        }
        if (IsLink(file)) {
            const fs::path target = fs::canonical(file, error);
            if (error || !LiesWithin(fs::canonical(limit), target) ||
                !fs::is_regular_file(target)) {
                Tell(step, file,
                     error ? "is a link that leads nowhere"
                           : "is a link that leads out of its folder",
                     "replace the link by the file");
                return;
            }
        }
        if (access(file.c_str(), R_OK) != 0) {
            Tell(step, file, "cannot be read", "give the right to read it");
            return;
        }
        const fs::path copy = destination / file.filename();
        if (made_.contains(destination)) {
            return;
        }
        const bool replaced = fs::exists(copy, error) && !IsLink(copy);
        if (replaced && IsFolder(copy)) {
            Tell(step, copy, "is a folder where a file must be", "move it out of the way");
        } else if (!MayWrite(replaced ? copy : destination)) {
            Tell(step, replaced ? copy : destination, "cannot be written",
                 "give the right to write it");
        }
    }

    static bool IsLink(const fs::path& path) {
        std::error_code ignored;
        return fs::is_symlink(path, ignored);
    }

    /// A path is named once, with the first step that comes to it.
    void Tell(std::string_view step, const fs::path& path, const std::string& what,
              const std::string& cure) {
        AddOnce({"", "", std::string(step), path.string() + " " + what, cure}, findings_);
    }

    fs::path root_;
    std::vector<CheckFinding>& findings_;
    std::set<fs::path> made_;
};

struct TemplateCopy {
    std::string_view step;
    std::string_view subFolder;
};

constexpr std::array kTemplateCopies{
    TemplateCopy{"SiteSchemaStep_1_0079", "gs"},
    TemplateCopy{"SiteSchemaStep_1_0235", "gs"},
    TemplateCopy{"SiteContentStep_1_0011", ""},
    TemplateCopy{"SiteContentStep_1_0011", "gs"},
    TemplateCopy{"SiteContentStep_1_0026", ""},
    TemplateCopy{"SiteContentStep_1_0026", "gs"},
    TemplateCopy{"SiteContentStep_1_0063", "EmailTest"},
    TemplateCopy{"SiteContentStep_1_0074", "ServerManager"},
    TemplateCopy{"SiteContentStep_1_0098", "gs"},
};

/// The folders of the pages of a component that exist.
std::vector<fs::path> PageFolders(host::Connection& connection, std::int32_t siteId,
                                  const std::string& component, const fs::path& siteFolder) {
    std::vector<fs::path> folders;
    if (!IsFolder(siteFolder)) {
        return folders;
    }
    try {
        const auto rows = connection.Query(fmt::format(
            "SELECT featureid FROM tw_{}.feature WHERE componentid = {};", siteId, component));
        while (rows->Next()) {
            folders.push_back(siteFolder / rows->Get(0).ToText());
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
    }
    return folders;
}

void CheckTemplates(host::Connection& connection, const CheckScope& scope, std::int32_t siteId,
                    const PendingRun& pending, const Components& known,
                    std::vector<CheckFinding>& findings) {
    Copies copies(InstallationRoot(scope.installFolder), findings);
    for (const TemplateCopy& copy : kTemplateCopies) {
        if (pending.Has(copy.step)) {
            copies.SiteTemplate(copy.step, siteId, std::string(copy.subFolder));
        }
    }
    const auto component = [&](std::string_view step, const std::string& id) {
        if (pending.Has(step) && known.contains(id)) {
            copies.ComponentTemplate(
                step, known.at(id), PageFolders(connection, siteId, id, copies.SiteFolder(siteId)));
        }
    };
    component("SiteContentStep_1_0016", "300");
    component("SiteContentStep_1_0022", "900");
    for (const std::string& id : FormComponents(connection, fmt::format("tw_{}", siteId))) {
        component("SiteContentStep_1_0091", id);
    }
}

// --- robots.txt ----------------------------------------------------------------------------------

/// The site's robots.txt as SiteContentStep_1_0030 takes it; empty when there is none.
fs::path RobotsFile(const fs::path& folder) {
    std::error_code error;
    const fs::path realFolder = fs::canonical(folder, error);
    const fs::path file = error ? realFolder : fs::canonical(folder / "robots.txt", error);
    return !error && LiesWithin(realFolder, file) && fs::is_regular_file(file, error) ? file
                                                                                      : fs::path();
}

/// True when the site has a home page that has no text of robots.txt yet.
bool WantsRobots(host::Connection& connection, std::int32_t siteId, const StoredTables& stored) {
    const auto column =
        connection.Query("SHOW COLUMNS FROM tw_tarnwick.site LIKE 'defaultfeatureid';");
    const auto home = connection.Query(
        fmt::format("SELECT {} FROM tw_tarnwick.site WHERE siteid = {};",
                    column->Next() ? "IF(defaultfeatureid <> 0, defaultfeatureid, sitefeatureid)"
                                   : "sitefeatureid",
                    siteId));
    if (!home->Next() || home->Get(0).IsNull() || home->Get(0).ToText() == "0") {
        return false;
    }
    if (!stored.tables.contains("plaintext")) {
        return true;
    }
    return !connection
                .Query(fmt::format("SELECT 1 FROM tw_{}.plaintext WHERE featureid = {} AND "
                                   "subfeatureid = 0;",
                                   siteId, home->Get(0).ToText()))
                ->Next();
}

std::string Hex(const std::string& bytes) {
    std::string hex;
    hex.reserve(2 * bytes.size());
    for (const char byte : bytes) {
        hex += fmt::format("{:02X}", static_cast<unsigned char>(byte));
    }
    return hex;
}

void CheckRobots(host::Connection& connection, const CheckScope& scope, std::int32_t siteId,
                 const PendingRun& pending, std::vector<CheckFinding>& findings) {
    const std::string step = "SiteContentStep_1_0030";
    if (!pending.Has(step)) {
        return;
    }
    const fs::path file = RobotsFile(InstallationRoot(scope.installFolder) / "wwwroot" / "sites" /
                                     std::to_string(siteId));
    const std::string database = fmt::format("tw_{}", siteId);
    const StoredTables stored =
        file.empty() ? StoredTables{} : ReadStoredTables(connection, database);
    if (file.empty() || !WantsRobots(connection, siteId, stored)) {
        return;
    }
    const auto tell = [&](const std::string& what, const std::string& cure) {
        findings.push_back({database, "plaintext", step, file.string() + " " + what, cure});
    };
    std::ifstream stream(file, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(stream)),
                              std::istreambuf_iterator<char>());
    if (!stream.is_open() || stream.bad()) {
        tell("cannot be read", "give the right to read it");
        return;
    }
    const auto session = connection.Query(
        "SELECT @@SESSION.max_allowed_packet, @@SESSION.character_set_client, "
        "@@SESSION.sql_mode;");
    session->Next();
    const auto packet = std::stoull(session->Get(0).ToText());
    // Quotes and backslashes are doubled in the statement.
    const auto doubled = std::count(content.begin(), content.end(), '\'') +
                         std::count(content.begin(), content.end(), '\\');
    if (content.size() + static_cast<std::size_t>(doubled) >= packet) {
        tell(fmt::format("has {} bytes, and the server takes statements of {}", content.size(),
                         packet),
             "raise max_allowed_packet on the server");
        return;
    }
    const StoredColumn* column = stored.Find("plaintext", "text");
    const std::string target = column != nullptr ? column->charset : stored.charset;
    const std::string client = session->Get(1).ToText();
    constexpr std::size_t kRest = 400;  // of the statement below
    if (!IsStrict(session->Get(2).ToText()) || 2 * content.size() + kRest >= packet) {
        return;
    }
    const auto same = connection.Query(
        fmt::format("SELECT BINARY CONVERT(CONVERT(CONVERT(given USING {0}) USING {1}) USING {0}) "
                    "= given FROM (SELECT X'{2}' AS given) robots;",
                    client, target, Hex(content)));
    if (same->Next() && (same->Get(0).IsNull() || same->Get(0).ToText() != "1")) {
        tell(
            fmt::format("is not text in {}", client == target ? client : client + " and " + target),
            "mend its bytes, or take it away");
    }
}

}  // namespace

std::optional<Components> KnownComponents(host::Connection& connection, const CheckScope& scope) {
    Components components;
    std::ifstream lines(scope.installFolder / "resources" / "componentData.txt");
    const bool replacesTable = lines && scope.CentralRun().Has("ReimportReferenceData");
    for (std::string line; std::getline(lines, line);) {
        const auto name = line.find('\t');
        const auto folder = name == std::string::npos ? name : line.find('\t', name + 1);
        if (folder != std::string::npos) {
            components[line.substr(0, name)] =
                line.substr(folder + 1, line.find_first_of("\t\r", folder + 1) - folder - 1);
        }
    }
    if (!replacesTable) {
        try {
            const auto rows = connection.Query(
                "SELECT componentid, foldername, componentname FROM tw_tarnwick.component;");
            while (rows->Next()) {
                const Value folder = rows->Get(1);
                components[rows->Get(0).ToText()] = folder.IsNull() ? "" : folder.ToText();
            }
        } catch (const HostError& error) {
            if (!IsMissing(error)) {
                throw;
            }
            return std::nullopt;
        }
    }
    return components;
}

void CheckSiteSurroundings(const Session& session, const CheckScope& scope, std::int32_t siteId,
                           const PendingRun& pending, std::vector<CheckFinding>& findings) {
    host::Connection& connection = *session.GetConnection();
    const std::string database = fmt::format("tw_{}", siteId);
    if (scope.components) {
        CheckComponents(connection, database, pending, *scope.components, findings);
        CheckTemplates(connection, scope, siteId, pending, *scope.components, findings);
    } else if (const std::string_view step = FirstComponentStep(pending); !step.empty()) {
        AddOnce({"tw_tarnwick", "component", std::string(step),
                 "the table is missing, or a column of it", "bring it back from a backup"},
                findings);
    }
    CheckPayments(connection, scope, database, pending, findings);
    CheckRobots(connection, scope, siteId, pending, findings);
}

}  // namespace twupdate::cli
