#pragma once

#include <filesystem>

namespace twupdate {

/// The folder that holds `templates`, `components`, `wwwroot` and `sites_secure`: the parent of
/// the folder in which the component is installed. Links are not followed on the way up.
std::filesystem::path InstallationRoot(const std::filesystem::path& installFolder);

/// True when `path` is `folder` itself or lies in it at any depth. Compares name by name, without
/// a look at the disk: both must be free of links and of "..".
bool LiesWithin(const std::filesystem::path& folder, const std::filesystem::path& path);

/// True when there is a folder of that path, links followed.
/// @throws FileError when that cannot be seen: what may not be looked at is not missing
bool FolderExists(const std::filesystem::path& folder);

/// The path without links and ".."; empty when nothing is there.
/// @throws FileError when a folder on the way may not be looked into
std::filesystem::path RealPath(const std::filesystem::path& path);

}  // namespace twupdate
