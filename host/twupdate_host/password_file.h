#pragma once

#include <filesystem>
#include <string>

namespace twupdate::host {

/// The first line of a password file.
/// @throws std::runtime_error when it cannot be read, or everybody may read it
std::string ReadPasswordFile(const std::filesystem::path& file);

}  // namespace twupdate::host
