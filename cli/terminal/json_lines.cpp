#include "cli/terminal/json_lines.h"

#include <cerrno>
#include <cstring>

#include "cli/terminal/failure.h"

namespace twupdate::cli {

const std::filesystem::path& WithFolders(const std::filesystem::path& file) {
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    return file;
}

JsonLines::JsonLines(const std::filesystem::path& file)
    : path_(file), file_(WithFolders(file), std::ios::binary | std::ios::trunc) {
    if (!file_) {
        throw CommandError("cannot write " + path_.string() + ": " + std::strerror(errno));
    }
}

void JsonLines::Write(const nlohmann::ordered_json& line) {
    file_ << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n'
          << std::flush;
    if (!file_) {
        throw CommandError("cannot write " + path_.string() + ": " + std::strerror(errno));
    }
}

}  // namespace twupdate::cli
