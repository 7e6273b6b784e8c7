#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>

namespace twupdate::cli {

/// The recorded versions of sites, by id.
using SiteVersions = std::map<std::int64_t, double>;

/// Writes the versions that a restore of the central database must not lose into its folder: from
/// the drop until the end they stand nowhere else, and the restore may be killed.
/// @throws CommandError
void KeepVersions(const std::filesystem::path& folder, const SiteVersions& versions);

/// What a restore from that folder has kept; nothing when it has finished.
/// @throws CommandError when the file cannot be read
std::optional<SiteVersions> KeptVersions(const std::filesystem::path& folder);

void RemoveKeptVersions(const std::filesystem::path& folder);

}  // namespace twupdate::cli
