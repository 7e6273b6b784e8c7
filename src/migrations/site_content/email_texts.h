#pragma once

#include <array>
#include <string_view>

namespace twupdate {

/// The columns of `email` that hold text, in the order in which a step writes them.
inline constexpr std::array<std::string_view, 6> kEmailTexts{"fromlist", "tolist",  "cclist",
                                                             "bcclist",  "subject", "message"};

}  // namespace twupdate
