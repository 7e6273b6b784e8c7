#include "dbutil/site_files.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <vector>

#include "dbutil/fields.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void FailCopy(const fs::path& source, const fs::path& destination,
                           const std::string& reason) {
    throw FileError("cannot copy " + source.string() + " to " + destination.string() + ": " +
                    reason);
}

/// The files directly in a template folder, in the order of their names, links to files included.
std::vector<fs::path> FilesIn(const fs::path& folder, const fs::path& destination) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        // A dangling link is a file that cannot be copied, not a missing one.
        std::error_code ignored;
        if (entry->is_regular_file(ignored) ||
            (entry->is_symlink(ignored) && !entry->is_directory(ignored))) {
            files.push_back(entry->path());
        }
    }
    if (error) {
        FailCopy(folder, destination, error.message());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// Copies one template file into `folder` under its own name, in place of what has that name. A
/// link is copied as the file that it names.
void CopyTemplateFile(const fs::path& file, const fs::path& folder, Utility& host) {
    const fs::path destination = folder / file.filename();
    std::error_code error;
    const fs::file_status there = fs::symlink_status(destination, error);
    if (fs::is_symlink(there)) {
        fs::remove(destination, error);  // or the copy would be written where the link leads
        if (error) {
            FailCopy(file, destination, error.message());
        }
    }
    fs::copy_file(file, destination, fs::copy_options::overwrite_existing, error);
    if (error == std::errc::permission_denied && fs::is_regular_file(there)) {
        // A copy has the mode of its template. A read-only copy would prevent the next one.
        std::error_code noOwner;
        fs::permissions(destination, fs::perms::owner_write, fs::perm_options::add, noOwner);
        if (!noOwner) {
            fs::copy_file(file, destination, fs::copy_options::overwrite_existing, error);
        }
    }
    if (error) {
        FailCopy(file, destination, error.message());
    }
    if (const auto observer = host.GetObserver()) {
        observer->FileCopied(file, destination);
    }
}

/// A link to a file counts, a folder does not.
bool IsThereAsAFile(const fs::path& path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    return fs::exists(status) && !fs::is_directory(status);
}

bool IsMissing(const std::error_code& error) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

fs::path SiteWebFolder(const fs::path& root, std::int32_t siteId) {
    return root / "wwwroot" / "sites" / Concat(siteId);
}

/// The folder of that name under `components`; the name may hold several levels.
fs::path ComponentTemplateFolder(const fs::path& root, std::string folderName) {
    std::replace(folderName.begin(), folderName.end(), '\\', '/');
    const fs::path components = root / "components";
    const fs::path folder = (components / folderName).lexically_normal();
    if (!LiesWithin(components, folder)) {
        throw FileError("the component's folder name " + folderName + " leads out of " +
                        components.string());
    }
    return folder / "template";
}

}  // namespace

fs::path InstallationRoot(const fs::path& installFolder) {
    fs::path folder = fs::absolute(installFolder).lexically_normal();
    if (!folder.has_filename()) {
        folder = folder.parent_path();  // it ended in a separator
    }
    return folder.parent_path();
}

bool LiesWithin(const fs::path& folder, const fs::path& path) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
           folder.end();
}

void FailLookup(const fs::path& path, const std::error_code& error) {
    throw FileError("cannot access " + path.string() + ": " + error.message());
}

bool FolderExists(const fs::path& folder) {
    std::error_code error;
    const fs::file_type type = fs::status(folder, error).type();
    if (type == fs::file_type::none) {
        FailLookup(folder, error);
    }
    return type == fs::file_type::directory;
}

fs::path RealPath(const fs::path& path) {
    std::error_code error;
    fs::path real = fs::canonical(path, error);
    if (error && !IsMissing(error)) {
        FailLookup(path, error);
    }
    return error ? fs::path() : real;
}

bool IsDeadEnd(const std::error_code& error) {
    return IsMissing(error) || error == std::errc::too_many_symbolic_link_levels ||
           error == std::errc::filename_too_long;
}

void Update::CopySiteTemplate(std::int32_t siteId, const std::string& subFolder) {
    const fs::path root = InstallationRoot(Host().InstallFolder());
    fs::path source = root / "templates" / "site";
    fs::path destination = SiteWebFolder(root, siteId);
    if (!subFolder.empty()) {
        source /= subFolder;
        destination /= subFolder;
    }
    if (!FolderExists(source)) {
        return;
    }
    if (!FolderExists(destination)) {
        std::error_code error;
        if (!fs::create_directory(destination, error)) {
            throw FileError("cannot create the folder " + destination.string() +
                            " for the files of " + source.string() + ": " +
                            (error ? error.message() : "a file has that name"));
        }
    }
    for (const fs::path& file : FilesIn(source, destination)) {
        CopyTemplateFile(file, destination, Host());
    }
}

void Update::CopySiteTemplates(std::int32_t siteId) {
    CopySiteTemplate(siteId, "");
    CopySiteTemplate(siteId, "gs");
}

void Update::CopyComponentTemplate(std::int32_t siteId, const Component& component, bool overwrite,
                                   Boolean& /*result*/) {
    const std::string db = SiteDatabase(siteId);
    const fs::path root = InstallationRoot(Host().InstallFolder());
    const std::int32_t componentId = component.GetComponentId();
    const fs::path source = ComponentTemplateFolder(root, component.GetFolderName());
    if (!FolderExists(source)) {
        return;
    }
    const auto pages = OpenRecordset(
        Sql("SELECT featureid FROM ", db, ".feature WHERE componentid = ", componentId, ";"));
    for (; !pages->IsEOF(); pages->MoveNext()) {
        const fs::path page = SiteWebFolder(root, siteId) / Concat(Int32Field(*pages, "featureid"));
        if (!FolderExists(page)) {
            continue;
        }
        for (const fs::path& file : FilesIn(source, page)) {
            if (overwrite || !IsThereAsAFile(page / file.filename())) {
                CopyTemplateFile(file, page, Host());
            }
        }
    }
    pages->Close();
}

}  // namespace twupdate
