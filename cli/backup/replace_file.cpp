#include "cli/backup/replace_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "cli/server/child_process.h"

namespace twupdate::cli {
namespace {

bool WriteToDisk(const std::filesystem::path& file, std::string_view content) {
    constexpr mode_t kOwnerOnly = 0600;
    const Descriptor target(
        open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kOwnerOnly));
    return target.Get() >= 0 && WriteAll(target.Get(), content) && fsync(target.Get()) == 0;
}

}  // namespace

bool ReplaceFile(const std::filesystem::path& file, std::string_view content) {
    const std::filesystem::path part = file.string() + ".part";
    return WriteToDisk(part, content) && rename(part.c_str(), file.c_str()) == 0;
}

}  // namespace twupdate::cli
