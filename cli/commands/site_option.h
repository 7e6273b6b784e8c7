#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <limits>
#include <string>

#include "cli/terminal/decimal.h"

namespace twupdate::cli {

/// The option `--site ID` of a command.
template <typename Target>
void AddSiteOption(CLI::App& command, Target& target, const std::string& description) {
    command.add_option("--site", target, description)
        ->type_name("ID")
        ->transform(Decimal())
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace twupdate::cli
