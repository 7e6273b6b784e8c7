#pragma once

#include <filesystem>
#include <string_view>

namespace twupdate::cli {

/// Writes a file that its owner alone may read; it is there whole, or as it was before.
/// @return false, with errno set, when that fails
bool ReplaceFile(const std::filesystem::path& file, std::string_view content);

}  // namespace twupdate::cli
