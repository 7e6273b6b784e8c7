#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace twupdate::test {

/// The lines of a text that begin so.
inline std::vector<std::string> LinesOf(const std::string& text, const std::string& beginning) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(beginning)) {
            lines.push_back(line);
        }
    }
    return lines;
}

}  // namespace twupdate::test
