#include "option_file.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>

namespace twupdate::host {
namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";

/// The groups that the library reads for this program.
constexpr std::array<std::string_view, 4> kGroups = {"client", "client-server", "client-mariadb",
                                                     "twupdate"};

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The name of an option is one word of ordinary characters.
bool IsOption(std::string_view line) {
    const auto name = Trimmed(line.substr(0, line.find('=')));
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '-' || c == '_' || c == '.';
    });
}

}  // namespace

std::string OptionFileFault(const std::filesystem::path& file) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        return "";
    }
    std::ifstream stream(file, std::ios::binary);
    bool hasGroup = false;
    bool isRead = false;
    int number = 0;
    for (std::string text; std::getline(stream, text);) {
        const auto line = Trimmed(text);
        ++number;
        if (line.empty() || line.front() == '#' || line.front() == ';' || line.front() == '!') {
            continue;
        }
        if (line.front() == '[') {
            const auto end = line.find(']');
            if (end == std::string_view::npos) {
                return "line " + std::to_string(number) + " has a group without a closing bracket";
            }
            hasGroup = true;
            isRead = std::find(kGroups.begin(), kGroups.end(), Trimmed(line.substr(1, end - 1))) !=
                     kGroups.end();
        } else if (!hasGroup) {
            return "line " + std::to_string(number) + " is not in a group such as [client]";
        } else if (isRead && !IsOption(line)) {
            return "line " + std::to_string(number) + " is not an option";
        }
    }
    return "";
}

}  // namespace twupdate::host
