#include "cli/commands/writable.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

#include "cli/terminal/failure.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

/// Why nothing can be made in the folder, once it and those above it that are missing are made; 0
/// when it can.
int FolderError(fs::path folder) {
    while (access(folder.c_str(), F_OK) != 0) {
        if (errno != ENOENT) {
            return errno;
        }
        folder = folder.parent_path();
    }
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored)) {
        return ENOTDIR;
    }
    return access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

/// The same for a file that is written.
int FileError(const fs::path& file) {
    std::error_code ignored;
    if (!file.has_filename() || fs::is_directory(file, ignored)) {
        return EISDIR;
    }
    if (access(file.c_str(), F_OK) == 0) {
        return access(file.c_str(), W_OK) == 0 ? 0 : errno;
    }
    return errno == ENOENT ? FolderError(fs::absolute(file).parent_path()) : errno;
}

/// One file for two kinds of lines would hold neither; a device may take both.
void RequireDifferent(const std::map<std::string, fs::path>& files) {
    std::map<fs::path, std::string> optionOf;
    for (const auto& [option, file] : files) {
        std::error_code ignored;
        const fs::file_status status = fs::status(file, ignored);
        if (fs::exists(status) && !fs::is_regular_file(status)) {
            continue;
        }
        const auto [other, isNew] = optionOf.emplace(fs::weakly_canonical(file, ignored), option);
        if (!isNew) {
            throw CommandError(fmt::format("{} and {} name the same file {}; name another",
                                           other->second, option, file.string()),
                               kWrongUse);
        }
    }
}

}  // namespace

void RequireWritable(const GlobalOptions& options) {
    std::map<std::string, fs::path> files{{"--trace", options.trace},
                                          {"--events", options.events},
                                          {"--log", options.log},
                                          {"--services-log", options.servicesLog}};
    std::erase_if(files, [](const auto& file) { return file.second.empty(); });
    for (const auto& [option, file] : files) {
        if (const int error = FileError(file); error != 0) {
            throw CommandError(fmt::format("cannot write {}, the file of {}: {}", file.string(),
                                           option, std::strerror(error)),
                               kWrongUse);
        }
    }
    if (!options.backup.empty()) {
        if (const int error = FolderError(fs::absolute(options.backup)); error != 0) {
            throw CommandError(fmt::format("cannot write into {}, the folder of --backup: {}",
                                           options.backup.string(), std::strerror(error)),
                               kWrongUse);
        }
        files.emplace("--backup", options.backup);
    }
    RequireDifferent(files);
}

}  // namespace twupdate::cli
