#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace twupdate::sample {

/// A folder of data files: `../share/twupdate/NAME` beside the running program where that exists,
/// else the folder of the source tree.
inline std::filesystem::path SharedFolder(const std::string& name,
                                          const std::filesystem::path& inSourceTree) {
    std::error_code ignored;  // without /proc the source tree it is
    const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
    const auto installed = program.parent_path().parent_path() / "share/twupdate" / name;
    return std::filesystem::exists(installed, ignored) ? installed : inSourceTree;
}

}  // namespace twupdate::sample
