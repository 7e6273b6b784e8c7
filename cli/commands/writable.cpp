#include "cli/commands/writable.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "cli/terminal/failure.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

/// Why no file can be created in the folder, after creating the missing folders; 0 if it can.
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

/// The target of a name, through all links; it need not exist.
fs::path TargetOf(const fs::path& file) {
    constexpr int kMostLinks = 40;  // as the system has it
    std::error_code ignored;
    fs::path target = fs::absolute(file, ignored);
    for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(target, ignored)); ++i) {
        target = target.parent_path() / fs::read_symlink(target, ignored);
    }
    return fs::weakly_canonical(target, ignored);
}

/// Two names of one file, links of both kinds included, have the same; nothing of a device, which
/// may take several kinds of lines.
std::optional<std::string> IdentityOf(const fs::path& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) {
        return TargetOf(file).string();
    }
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)
               ? std::optional(fmt::format("{}:{}", status.st_dev, status.st_ino))
               : std::nullopt;
}

/// One file for two kinds of lines would hold neither.
void RequireDifferent(const std::map<std::string, fs::path>& files) {
    std::map<std::string, std::string> optionOf;
    for (const auto& [option, file] : files) {
        const auto identity = IdentityOf(file);
        if (!identity) {
            continue;
        }
        const auto [other, isNew] = optionOf.emplace(*identity, option);
        if (!isNew) {
            throw CommandError(fmt::format("{} and {} name the same file: {}", other->second,
                                           option, file.string()),
                               kUsageError);
        }
    }
}

}  // namespace

void RequireWritable(const GlobalOptions& options) {
    std::map<std::string, fs::path> files{
        {"--trace", options.trace},   {"--events", options.events},
        {"--log", options.log},       {"--metrics", options.metrics},
        {"--report", options.report}, {"--services-log", options.servicesLog}};
    std::erase_if(files, [](const auto& file) { return file.second.empty(); });
    for (const auto& [option, file] : files) {
        if (const int error = FileError(file); error != 0) {
            throw CommandError(fmt::format("cannot write {}, the file of {}: {}", file.string(),
                                           option, std::strerror(error)),
                               kUsageError);
        }
    }
    if (!options.backup.empty()) {
        if (const int error = FolderError(fs::absolute(options.backup)); error != 0) {
            throw CommandError(fmt::format("cannot write into {}, the folder of --backup: {}",
                                           options.backup.string(), std::strerror(error)),
                               kUsageError);
        }
        files.emplace("--backup", options.backup);
    }
    // What is read must not be written over.
    if (!options.passwordFile.empty()) {
        files.emplace("--password-file", options.passwordFile);
    }
    if (!options.files.only.empty()) {
        files.emplace("--defaults-file", options.files.only);
    }
    if (!options.files.extra.empty()) {
        files.emplace("--defaults-extra-file", options.files.extra);
    }
    RequireDifferent(files);
}

}  // namespace twupdate::cli
