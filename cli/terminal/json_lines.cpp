#include "cli/terminal/json_lines.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/terminal/failure.h"

namespace twupdate::cli {
namespace {

/// @return -1, with errno set, when that fails
int Open(const std::filesystem::path& file, JsonLines::Readers readers,
         JsonLines::Existing existing) {
    constexpr mode_t kOwnerOnly = 0600;
    constexpr mode_t kUsual = 0666;
    const bool ownerOnly = readers == JsonLines::Readers::kOwner;
    const int place = existing == JsonLines::Existing::kKept ? O_APPEND : O_TRUNC;
    const int fd =
        open(file.c_str(), O_WRONLY | O_CREAT | place | O_CLOEXEC, ownerOnly ? kOwnerOnly : kUsual);
    struct stat status {};
    // An existing file may be readable by others; a device or a pipe has no later readers.
    if (fd >= 0 && ownerOnly &&
        (fstat(fd, &status) != 0 || (S_ISREG(status.st_mode) && fchmod(fd, kOwnerOnly) != 0))) {
        close(fd);
        return -1;
    }
    return fd;
}

/// A program that was killed may have left half a line.
bool EndsInALine(const std::filesystem::path& file) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        return true;
    }
    std::ifstream stream(file, std::ios::binary);
    return !stream.seekg(-1, std::ios::end) || stream.get() == '\n';
}

}  // namespace

const std::filesystem::path& WithFolders(const std::filesystem::path& file) {
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    return file;
}

JsonLines::JsonLines(const std::filesystem::path& file, Readers readers, Existing existing,
                     Console& console)
    : path_(file), console_(console) {
    const int fd = Open(WithFolders(file), readers, existing);
    file_.reset(fd < 0 ? nullptr : fdopen(fd, "w"));
    if (!file_) {
        throw CommandError("cannot write " + path_.string() + ": " + std::strerror(errno));
    }
    if (existing == Existing::kKept && !EndsInALine(file)) {
        std::fputc('\n', file_.get());
    }
}

void JsonLines::Write(const nlohmann::ordered_json& line) {
    if (!file_) {
        return;
    }
    const std::string text =
        line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size() ||
        std::fflush(file_.get()) != 0) {
        const int error = errno;
        file_.reset();
        console_.Warn(fmt::format("cannot continue to write {}: {}; the run continues without it",
                                  path_.string(), std::strerror(error)));
    }
}

}  // namespace twupdate::cli
