#include "cli/check/files.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "twupdate/uploads.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

fs::file_type TypeOf(const fs::path& path) {
    std::error_code ignored;
    return fs::status(path, ignored).type();
}

bool MayNot(const fs::path& path, int access) {
    return ::access(path.c_str(), access) != 0;
}

void Tell(const fs::path& path, const std::string& what, const std::string& fix,
          std::vector<CheckFinding>& findings) {
    AddOnce({"", "", "", path.string() + " " + what, fix}, findings);
}

/// The entries of a folder and those below it, without following links to folders.
std::vector<fs::path> Below(const fs::path& folder) {
    std::vector<fs::path> paths;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (const fs::recursive_directory_iterator end; !error && entry != end;
         entry.increment(error)) {
        paths.push_back(entry->path());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// False, with a finding, for a folder that cannot be looked at.
bool IsReadableFolder(const fs::path& folder, std::vector<CheckFinding>& findings) {
    std::error_code error;
    const auto status = fs::status(folder, error);
    if (status.type() == fs::file_type::not_found) {
        return false;
    }
    if (status.type() == fs::file_type::none) {
        Tell(folder, "cannot be looked at",
             "correct the link, or give the permission to look into the folder that it leads to",
             findings);
        return false;
    }
    if (status.type() == fs::file_type::directory && MayNot(folder, R_OK | X_OK)) {
        Tell(folder, "cannot be read", "give the permission to read it", findings);
        return false;
    }
    return status.type() == fs::file_type::directory;
}

/// What is copied from.
void CheckTemplate(const fs::path& folder, std::vector<CheckFinding>& findings) {
    if (!IsReadableFolder(folder, findings)) {
        return;
    }
    for (const fs::path& path : Below(folder)) {
        const fs::file_type type = TypeOf(path);
        std::error_code ignored;
        if (type == fs::file_type::not_found && fs::is_symlink(path, ignored)) {
            Tell(path, "is a link that leads nowhere", "replace the link by the file", findings);
        } else if (type == fs::file_type::none ||
                   MayNot(path, type == fs::file_type::directory ? R_OK | X_OK : R_OK)) {
            Tell(path, "cannot be read", "give the permission to read it", findings);
        }
    }
}

bool IsOthers(const fs::path& path) {
    struct stat status {};
    return geteuid() != 0 && stat(path.c_str(), &status) == 0 && status.st_uid != geteuid();
}

/// A file or folder of a site, and what the template has in its place.
void CheckReplaced(const fs::path& path, bool folderIsWanted, std::vector<CheckFinding>& findings) {
    std::error_code ignored;
    const fs::file_type type = TypeOf(path);
    const bool isLink = fs::is_symlink(path, ignored);
    if (type == fs::file_type::not_found && !isLink) {
        return;
    }
    if (folderIsWanted && type != fs::file_type::directory && type != fs::file_type::none) {
        Tell(path, "is a file where a folder must be", "move the file out of the way", findings);
    } else if (!folderIsWanted && type == fs::file_type::directory) {
        Tell(path, "is a folder where a file must be", "move the folder out of the way", findings);
    } else if (type == fs::file_type::none) {
        Tell(path, "cannot be looked at",
             "correct the link, or give the permission to look into the folder that it leads to",
             findings);
    } else if (!folderIsWanted && !isLink && type != fs::file_type::regular) {
        Tell(path, "is no file that can be replaced", "move it out of the way", findings);
    } else if (!isLink && MayNot(path, folderIsWanted ? W_OK | X_OK : W_OK) &&
               (folderIsWanted ||
                errno != EACCES)) {  // a file's owner may give himself the permission
        Tell(path, "cannot be written", "give the permission to write it", findings);
    } else if (!folderIsWanted && !isLink && IsOthers(path)) {
        Tell(path, "belongs to another user", "give it to the user that runs twupdate", findings);
    }
}

/// Whether the walk adds a column for the sizes of uploads.
bool MeasuresUploads(const Walk& walk) {
    return std::any_of(walk.record.begin(), walk.record.end(), [](const DryStatement& statement) {
        return statement.before && statement.after &&
               std::any_of(statement.after->columns.begin(), statement.after->columns.end(),
                           [&](const auto& column) {
                               return column.name.ends_with(kFileSizeSuffix) &&
                                      statement.before->Find(column.name) == nullptr;
                           });
    });
}

/// The links directly in a folder that lead to folders elsewhere.
std::vector<std::string> LinksOutOf(const fs::path& folder) {
    std::vector<std::string> links;
    std::error_code error;
    const std::string inside = (fs::canonical(folder, error) / "").string();
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_symlink(ignored) && entry->is_directory(ignored) &&
            !fs::canonical(entry->path(), ignored).string().starts_with(inside)) {
            links.push_back(entry->path().string());
        }
    }
    std::sort(links.begin(), links.end());
    return links;
}

/// What is copied to: the site's folder as far as the template of sites has counterparts, and the
/// folders of its pages, which get the templates of their components.
void CheckSite(const fs::path& root, const PendingSite& site, const std::vector<fs::path>& copied,
               std::vector<CheckFinding>& findings) {
    const fs::path folder = root / "wwwroot" / "sites" / std::to_string(site.siteId);
    const fs::path secure = root / "sites_secure" / std::to_string(site.siteId);
    for (const fs::path& place : {folder.parent_path(), secure.parent_path(), secure}) {
        if (TypeOf(place) == fs::file_type::none ||
            (TypeOf(place) == fs::file_type::directory && place != secure && MayNot(place, X_OK))) {
            Tell(place, "cannot be looked into", "give the permission to look into it", findings);
        }
    }
    if (TypeOf(folder) == fs::file_type::none) {
        Tell(folder, "cannot be looked at",
             "correct the link, or give the permission to look into the folder that it leads to",
             findings);
        return;
    }
    if (TypeOf(folder) != fs::file_type::directory) {
        if (!copied.empty() && TypeOf(folder.parent_path()) == fs::file_type::directory) {
            Tell(folder, "is a folder that cannot be created, or is none",
                 "create it, for the user that runs twupdate", findings);
        }
        return;
    }
    if (MayNot(folder, X_OK)) {
        Tell(folder, "cannot be looked into", "give the permission to look into it", findings);
        return;
    }
    if (!copied.empty() && MayNot(folder, W_OK)) {
        Tell(folder, "cannot be written", "give the permission to write it", findings);
    }
    const fs::path siteTemplate = root / "templates" / "site";
    for (const fs::path& path : copied) {
        const fs::path replaced = folder / path.lexically_relative(siteTemplate);
        const bool isFolder = TypeOf(path) == fs::file_type::directory;
        if (TypeOf(path) != fs::file_type::none) {  // which is a finding already
            CheckReplaced(replaced, isFolder, findings);
        }
        std::error_code ignored;
        if (!isFolder && fs::equivalent(path, replaced, ignored)) {
            Tell(replaced, "is the template itself", "put a copy in its place", findings);
        }
    }
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            CheckReplaced(entry->path(), true, findings);
        }
    }
    if (const fs::path robots = folder / "robots.txt";
        TypeOf(robots) != fs::file_type::not_found && MayNot(robots, R_OK)) {
        Tell(robots, "cannot be read", "give the permission to read it", findings);
    }
}

}  // namespace

void CheckFiles(const fs::path& installFolder, const std::vector<PendingSite>& sites,
                std::vector<CheckFinding>& findings) {
    const fs::path root = InstallationRoot(installFolder);
    const fs::path siteTemplate = root / "templates" / "site";
    CheckTemplate(siteTemplate, findings);
    if (const fs::path components = root / "components"; IsReadableFolder(components, findings)) {
        std::error_code error;
        for (fs::directory_iterator entry(components, error), end; !error && entry != end;
             entry.increment(error)) {
            CheckTemplate(entry->path() / "template", findings);
        }
    }
    const auto copied = Below(siteTemplate);
    for (const PendingSite& site : sites) {
        CheckSite(root, site, copied, findings);
    }
}

void NoteUploads(const fs::path& installFolder, const std::vector<Walk>& walks,
                 std::vector<std::string>& notes) {
    const fs::path root = InstallationRoot(installFolder);
    for (const Walk& walk : walks) {
        if (!MeasuresUploads(walk)) {
            continue;
        }
        for (const std::string& database : walk.databases) {
            const std::string siteId = database.substr(database.find('_') + 1);
            for (const fs::path& sites : {root / "wwwroot" / "sites", root / "sites_secure"}) {
                for (const std::string& link : LinksOutOf(sites / siteId)) {
                    notes.push_back(
                        fmt::format("{} leads out of the site's folder; the size of "
                                    "uploads behind it stays unknown (-1)",
                                    link));
                }
            }
        }
    }
}

}  // namespace twupdate::cli
