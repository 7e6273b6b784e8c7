#include "cli/terminal/message_json.h"

#include <nlohmann/json.hpp>
#include <string>

#include "cli/terminal/text.h"

namespace twupdate::cli {

nlohmann::ordered_json MessageJson(std::string_view message) {
    nlohmann::ordered_json json{{"text", FactOf(message)}};
    if (const std::string hint = HintOf(message); !hint.empty()) {
        json["hint"] = hint;
    }
    return json;
}

}  // namespace twupdate::cli
