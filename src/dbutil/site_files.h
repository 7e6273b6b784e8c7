#pragma once

#include <filesystem>
#include <system_error>

namespace twupdate {

/// The folder that holds `templates`, `components`, `wwwroot` and `sites_secure`: the parent of
/// the folder in which the component is installed. Links are not followed on the way up.
std::filesystem::path InstallationRoot(const std::filesystem::path& installFolder);

/// True when `path` is `folder` itself or inside it at any depth. Compares names only, without
/// access to the disk: neither path may contain links or "..".
bool LiesWithin(const std::filesystem::path& folder, const std::filesystem::path& path);

/// True when there is a folder of that path, links followed.
/// @throws FileError when access fails: what is inaccessible is not missing
bool FolderExists(const std::filesystem::path& folder);

/// The path without links and ".."; empty when nothing is there.
/// @throws FileError when access fails: no permission for a folder on the way, a failing volume, a
/// loop of links
std::filesystem::path RealPath(const std::filesystem::path& path);

/// True for a lookup error that a visitor can cause with links and names in a site's folder:
/// nothing there, a loop of links, a name that is too long. Such a path counts as missing, or a
/// visitor could stop an upgrade.
bool IsDeadEnd(const std::error_code& error);

/// @throws FileError that names the path and the reason, always
[[noreturn]] void FailLookup(const std::filesystem::path& path, const std::error_code& error);

}  // namespace twupdate
