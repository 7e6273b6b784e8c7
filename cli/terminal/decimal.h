#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "cli/terminal/text.h"

namespace twupdate::cli {

/// For an option that takes a whole number: the parser's library alone would take 010 for eight
/// and 0x10 for sixteen.
inline CLI::Validator Decimal() {
    return CLI::Validator(FaultOfNumber, "");
}

}  // namespace twupdate::cli
