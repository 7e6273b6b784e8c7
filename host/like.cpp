#include "like.h"

#include <cstddef>

namespace twupdate::host {

bool IsLike(std::string_view text, std::string_view pattern, std::optional<char> escape) {
    std::size_t at = 0;
    std::size_t wanted = 0;
    // Only the last '%' need ever take more text: what lies before it has been found.
    std::optional<std::size_t> any;
    std::size_t taken = 0;
    while (at < text.size()) {
        if (wanted < pattern.size() && pattern[wanted] == '%') {
            any = wanted++;
            taken = at;
            continue;
        }
        const bool escaped = wanted + 1 < pattern.size() && pattern[wanted] == escape;
        const std::size_t letter = wanted + (escaped ? 1 : 0);
        if (letter < pattern.size() &&
            (pattern[letter] == text[at] || (!escaped && pattern[letter] == '_'))) {
            wanted = letter + 1;
            ++at;
        } else if (any) {
            wanted = *any + 1;
            at = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('%', wanted) == std::string_view::npos;
}

}  // namespace twupdate::host
