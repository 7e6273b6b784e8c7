#include "cli/backup/kept_versions.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/server/replace_file.h"
#include "cli/terminal/failure.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

fs::path FileIn(const fs::path& folder) {
    return folder / "kept_versions.json";
}

std::string Named(const fs::path& file) {
    return file.string() + ", which keeps the versions of the sites that are not in the backup";
}

}  // namespace

void KeepVersions(const fs::path& folder, const SiteVersions& versions) {
    auto lines = nlohmann::json::array();
    for (const auto& [siteId, version] : versions) {
        lines.push_back({{"site", siteId}, {"version", version}});
    }
    const fs::path file = FileIn(folder);
    if (!ReplaceFile(file, lines.dump())) {
        throw CommandError(fmt::format("cannot write {}: {}; nothing was restored", Named(file),
                                       std::strerror(errno)));
    }
}

std::optional<SiteVersions> KeptVersions(const fs::path& folder) {
    const fs::path file = FileIn(folder);
    if (!fs::exists(file)) {
        return std::nullopt;
    }
    const CommandError unreadable(Named(file) + ", cannot be read; nothing was restored");
    try {
        std::ifstream stream(file);
        SiteVersions versions;
        for (const auto& line : nlohmann::json::parse(stream)) {
            const auto& siteId = line.at("site");
            const auto& version = line.at("version");
            if (!siteId.is_number_integer() || siteId.get<std::int64_t>() <= 0 ||
                !version.is_number()) {
                throw unreadable;
            }
            versions[siteId.get<std::int64_t>()] = version.get<double>();
        }
        return versions;
    } catch (const nlohmann::json::exception&) {
        throw unreadable;
    }
}

void RemoveKeptVersions(const fs::path& folder) {
    std::error_code ignored;
    fs::remove(FileIn(folder), ignored);
}

}  // namespace twupdate::cli
