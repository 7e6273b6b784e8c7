#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace twupdate {

/// An embed code in a text, "<#Embed.17.6:Name#>", its angle brackets plain or written "&lt;" and
/// "&gt;".
struct EmbedCode {
    std::size_t begin;  ///< where the code begins in the text, with its bracket
    std::size_t end;    ///< where the text goes on
    std::int32_t major;
    std::int32_t minor;
    std::string_view name;
};

/// The first embed code that begins at or after `from`. A name ends at the first "#" before a
/// closing bracket and holds no further code. Takes time linear in the text over all codes of a
/// text.
std::optional<EmbedCode> FindEmbedCode(std::string_view text, std::size_t from);

}  // namespace twupdate
