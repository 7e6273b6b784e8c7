#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace twupdate::cli {

/// A message as a result has it: {"text": …}, with a "hint" if the message has one.
nlohmann::ordered_json MessageJson(std::string_view message);

}  // namespace twupdate::cli
