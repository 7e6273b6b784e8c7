#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace twupdate::cli {

/// Gives a rehearsal the files that the steps use: the templates themselves, which are only read,
/// and for each site a folder with the same names, sizes, links and permissions. Only files
/// directly in a site's folder, such as robots.txt, have their contents; others are sparse files of
/// the same size. What cannot be read is omitted.
/// @param root     the folder that holds `templates`, `components`, `wwwroot` and `sites_secure`
/// @param workdir  the rehearsal's own
void CopyFilesOfSites(const std::filesystem::path& root, const std::filesystem::path& workdir,
                      const std::vector<std::int64_t>& sites);

}  // namespace twupdate::cli
