#pragma once

#include <filesystem>
#include <system_error>

namespace twupdate {

/// The folder that holds `templates`, `components`, `wwwroot` and `sites_secure`: the parent of
/// the folder in which the component is installed. Links are not followed on the way up.
std::filesystem::path InstallationRoot(const std::filesystem::path& installFolder);

/// True when `path` is `folder` itself or inside it at any depth. Compares name by name, without
/// a look at the disk: both must be free of links and of "..".
bool LiesWithin(const std::filesystem::path& folder, const std::filesystem::path& path);

/// True when there is a folder of that path, links followed.
/// @throws FileError when that cannot be seen: what may not be looked at is not missing
bool FolderExists(const std::filesystem::path& folder);

/// The path without links and ".."; empty when nothing is there.
/// @throws FileError when that cannot be seen: a folder on the way may not be looked into, a volume
///         fails, links go round in a circle
std::filesystem::path RealPath(const std::filesystem::path& path);

/// True for an error of a lookup that a visitor can bring about with links and names in a site's
/// folder: nothing is there, links go round in a circle, a name is too long. Such a path counts as
/// missing, or a visitor could stop an upgrade.
bool IsDeadEnd(const std::error_code& error);

/// @throws FileError that names the path and the reason, always
[[noreturn]] void FailLookup(const std::filesystem::path& path, const std::error_code& error);

}  // namespace twupdate
