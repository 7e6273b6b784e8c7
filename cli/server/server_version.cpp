#include "cli/server/server_version.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

#include "cli/server/queries.h"

namespace twupdate::cli {

ServerVersion::ServerVersion(std::string version)
    : text_(std::move(version)), mariaDb_(text_.find("MariaDB") != std::string::npos) {
    std::array<int, 3> parts{};
    char dot = '.';
    std::istringstream stream(text_);
    stream >> parts[0] >> dot >> parts[1] >> dot >> parts[2];
    constexpr int kHighest = 99;
    for (int& part : parts) {
        part = std::clamp(part, 0, kHighest);
    }
    number_ = parts[0] * 10000 + parts[1] * 100 + parts[2];
}

ServerVersion ServerVersion::Of(host::Connection& connection) {
    return ServerVersion(FirstCell(connection, "SELECT VERSION();").value_or(""));
}

std::string ServerVersion::Name() const {
    return (mariaDb_ ? "" : "MySQL ") + text_;
}

}  // namespace twupdate::cli
