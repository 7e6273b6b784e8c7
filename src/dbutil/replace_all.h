#pragma once

#include <string>
#include <string_view>

namespace twupdate {

/// The text with every occurrence of `from`, which must not be empty, replaced from left to right.
/// Takes time linear in both texts, whatever they contain.
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);

}  // namespace twupdate
