#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace twupdate {

/// The text with every occurrence of `from`, which must not be empty, replaced from left to right.
inline std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
    std::string replaced;
    replaced.reserve(text.size());
    std::size_t done = 0;
    for (auto at = text.find(from); at != std::string_view::npos; at = text.find(from, done)) {
        replaced.append(text, done, at - done).append(to);
        done = at + from.size();
    }
    return replaced.append(text, done);
}

}  // namespace twupdate
