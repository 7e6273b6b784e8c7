#include "dbutil/replace_all.h"

#include <cstddef>
#include <vector>

namespace twupdate {

// Knuth, Morris and Pratt.
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
    std::vector<std::size_t> border(from.size() + 1, 0);
    for (std::size_t i = 1, matched = 0; i < from.size(); ++i) {
        while (matched > 0 && from[i] != from[matched]) {
            matched = border[matched];
        }
        if (from[i] == from[matched]) {
            ++matched;
        }
        border[i + 1] = matched;
    }
    std::string replaced;
    replaced.reserve(text.size());
    std::size_t done = 0;
    for (std::size_t i = 0, matched = 0; i < text.size(); ++i) {
        while (matched > 0 && text[i] != from[matched]) {
            matched = border[matched];
        }
        if (text[i] == from[matched]) {
            ++matched;
        }
        if (matched == from.size()) {
            replaced.append(text, done, i + 1 - from.size() - done).append(to);
            done = i + 1;
            matched = 0;
        }
    }
    return replaced.append(text, done);
}

}  // namespace twupdate
