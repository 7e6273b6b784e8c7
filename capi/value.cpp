#include "capi/value.h"

#include "twupdate/error.h"

namespace twupdate::capi {

std::string ToString(const twu_text& text, const std::string& about, const std::string& name) {
    if (text.data == nullptr && text.size > 0) {
        throw HostError(about, 0, "",
                        name + ": the host's callback returned " + std::to_string(text.size) +
                            " bytes of text at NULL");
    }
    return text.data == nullptr ? std::string() : std::string(text.data, text.size);
}

Value ToValue(const twu_value& value, const std::string& about, const std::string& name) {
    switch (value.type) {
        case TWU_NULL:
            return {};
        case TWU_INTEGER:
            return value.as.integer;
        case TWU_REAL:
            return value.as.real;
        case TWU_TEXT:
            return ToString(value.as.text, about, name);
        default:
            throw HostError(about, 0, "",
                            name + ": the host's callback returned a value of the unknown type " +
                                std::to_string(value.type));
    }
}

twu_value FromValue(const Value& value) {
    twu_value out{};
    const auto& data = value.Get();
    if (const auto* integer = std::get_if<std::int64_t>(&data)) {
        out.type = TWU_INTEGER;
        out.as.integer = *integer;
    } else if (const auto* real = std::get_if<double>(&data)) {
        out.type = TWU_REAL;
        out.as.real = *real;
    } else if (const auto* text = std::get_if<std::string>(&data)) {
        out.type = TWU_TEXT;
        out.as.text = {text->data(), text->size()};
    }
    return out;
}

}  // namespace twupdate::capi
