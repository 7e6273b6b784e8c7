#include "migrations/site_content/embed_codes.h"

#include <charconv>

namespace twupdate {
namespace {

constexpr std::string_view kMarker = "#Embed.";

/// The length of the opening bracket that ends right before `at`; 0 when there is none.
std::size_t OpeningBefore(std::string_view text, std::size_t at) {
    const std::string_view before = text.substr(0, at);
    return before.ends_with('<') ? 1 : before.ends_with("&lt;") ? 4 : 0;
}

/// The length of the closing bracket that begins at `at`; 0 when there is none.
std::size_t ClosingAt(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    return rest.starts_with('>') ? 1 : rest.starts_with("&gt;") ? 4 : 0;
}

/// Reads an unsigned decimal number and the sign after it; moves `at` behind both.
bool ReadNumber(std::string_view text, std::size_t& at, char sign, std::int32_t& number) {
    if (at < text.size() && text[at] == '-') {
        return false;
    }
    const char* const last = text.data() + text.size();
    const auto [end, status] = std::from_chars(text.data() + at, last, number);
    if (status != std::errc{} || end == last || *end != sign) {
        return false;
    }
    at = static_cast<std::size_t>(end - text.data()) + 1;
    return true;
}

}  // namespace

std::optional<EmbedCode> FindEmbedCode(std::string_view text, std::size_t from) {
    for (auto at = text.find(kMarker, from); at != std::string_view::npos;
         at = text.find(kMarker, at + 1)) {
        EmbedCode code{at - OpeningBefore(text, at), 0, 0, 0, {}};
        auto position = at + kMarker.size();
        if (code.begin == at || code.begin < from || !ReadNumber(text, position, '.', code.major) ||
            !ReadNumber(text, position, ':', code.minor)) {
            continue;
        }
        auto mark = text.find('#', position);
        while (mark != std::string_view::npos && ClosingAt(text, mark + 1) == 0 &&
               OpeningBefore(text, mark) == 0) {
            mark = text.find('#', mark + 1);
        }
        if (mark == std::string_view::npos) {
            return std::nullopt;  // no closing mark is left for any code
        }
        if (const auto closing = ClosingAt(text, mark + 1); closing != 0) {
            code.end = mark + 1 + closing;
            code.name = text.substr(position, mark - position);
            return code;
        }
    }
    return std::nullopt;
}

}  // namespace twupdate
