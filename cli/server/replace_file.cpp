#include "cli/server/replace_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "cli/server/child_process.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/json_lines.h"

namespace twupdate::cli {
namespace {

bool WriteToDisk(const std::filesystem::path& file, std::string_view content, FileReaders readers) {
    const Descriptor target(open(file.c_str(),
                                 O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC,
                                 static_cast<mode_t>(readers)));
    return target.Get() >= 0 && WriteAll(target.Get(), content) && fsync(target.Get()) == 0;
}

}  // namespace

bool ReplaceFile(const std::filesystem::path& file, std::string_view content, FileReaders readers) {
    const std::filesystem::path part = file.string() + ".part";
    if (WriteToDisk(part, content, readers) && rename(part.c_str(), file.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    unlink(part.c_str());
    errno = error;
    return false;
}

void RequireRegularFile(const std::filesystem::path& file) {
    std::error_code ignored;
    const auto status = std::filesystem::status(file, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw CommandError(fmt::format("{} is not a regular file", file.string()), kUsageError);
    }
}

RenewedFile::RenewedFile(std::filesystem::path file, std::string_view content, Console& console)
    : file_(std::move(file)), console_(console) {
    RequireRegularFile(file_);
    if (!ReplaceFile(WithFolders(file_), content, FileReaders::kUsual)) {
        throw CommandError(
            fmt::format("cannot write {}: {}", file_.string(), std::strerror(errno)));
    }
}

void RenewedFile::Write(std::string_view content) {
    if (!failed_ && !ReplaceFile(file_, content, FileReaders::kUsual)) {
        failed_ = true;
        console_.Warn(fmt::format("cannot continue to write {}: {}; the run continues without it",
                                  file_.string(), std::strerror(errno)));
    }
}

}  // namespace twupdate::cli
