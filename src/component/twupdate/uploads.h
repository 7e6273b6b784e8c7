#pragma once

#include <string_view>

namespace twupdate {

/// A form's column for uploaded files gets a second one beside it for the size of each file, in
/// bytes: the name of the first and this.
inline constexpr std::string_view kFileSizeSuffix = "_filesize";

}  // namespace twupdate
