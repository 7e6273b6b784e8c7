#pragma once

#include <optional>
#include <string_view>

namespace twupdate::host {

/// Whether the text is as the pattern, case-sensitively: '%' is any text, '_' any one character.
/// @param escape  before a character that stands for itself; nothing: there is no such character
bool IsLike(std::string_view text, std::string_view pattern, std::optional<char> escape = {});

}  // namespace twupdate::host
