#pragma once

#include <string>

#include "twupdate/twupdate.h"
#include "twupdate/value.h"

namespace twupdate::capi {

/// A copy of what a callback returned.
/// @param about  the statement or service, for the error
/// @param name   of the column or setting, for the error
/// @throws HostError when it is no value: an unknown type, or a text without data
Value ToValue(const twu_value& value, const std::string& about, const std::string& name);

/// A copy of what a callback returned, as for ToValue.
std::string ToString(const twu_text& text, const std::string& about, const std::string& name);

/// A view of the value: its text lives as long as the value.
twu_value FromValue(const Value& value);

}  // namespace twupdate::capi
