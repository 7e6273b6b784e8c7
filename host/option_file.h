#pragma once

#include <filesystem>
#include <string>

namespace twupdate::host {

/// Why a file is no file of options, by its first line that the server's own programs would refuse
/// and the client library silently skips; empty when there is none. What is no regular
/// file, such as a pipe, is not read.
std::string OptionFileFault(const std::filesystem::path& file);

}  // namespace twupdate::host
