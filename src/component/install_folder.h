#pragma once

#include <filesystem>

namespace twupdate {

/// The folder of the shared library or program that this code was loaded from.
/// @throws FileError when the system does not tell
std::filesystem::path FolderOfThisCode();

}  // namespace twupdate
