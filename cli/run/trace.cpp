#include "cli/run/trace.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <map>
#include <variant>

#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

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

const std::filesystem::path& WithFolders(const std::filesystem::path& file) {
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    return file;
}

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

nlohmann::ordered_json JsonOf(const Value& value) {
    struct Convert {
        nlohmann::ordered_json operator()(std::monostate) const { return nullptr; }
        nlohmann::ordered_json operator()(std::int64_t number) const { return number; }
        nlohmann::ordered_json operator()(double number) const { return number; }
        nlohmann::ordered_json operator()(const std::string& text) const { return text; }
    };
    return std::visit(Convert{}, value.Get());
}

void Trace::CallEnded(const Position& where, const Call& call) {
    nlohmann::ordered_json line;
    line["seq"] = ++seq_;
    line["op"] = CallKindText(call.kind);
    line["database"] = where.database;
    if (where.step) {
        line["step"] = where.step->name;
    }
    if (!call.sql.empty()) {
        line["sql"] = WithoutPasswords(call.sql);
    }
    if (!call.params.empty()) {
        auto& params = line["params"] = nlohmann::ordered_json::array();
        for (const Value& value : call.params) {
            params.push_back(JsonOf(value));
        }
    }
    if (!call.service.empty()) {
        line["service"] = call.service;
    }
    if (call.siteId) {
        line["site"] = *call.siteId;
    }
    if (call.componentId) {
        line["component"] = *call.componentId;
    }
    if (!call.source.empty()) {
        line["source"] = call.source;
        line["destination"] = call.destination;
    }
    line["ms"] =
        std::round(std::chrono::duration<double, std::milli>(call.duration).count() * 1000) / 1000;
    lines_.Write(line);
}

}  // namespace twupdate::cli
