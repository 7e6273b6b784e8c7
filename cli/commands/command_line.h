#pragma once

#include "cli/commands/commands.h"

namespace twupdate::cli {

/// Parses the command line.
/// @param status  receives the exit status when the program is to end at once: after --help or
///                --version (0) or after a usage error (2), about which a line has been printed
/// @return false when the program is to end at once
bool Parse(int argc, char** argv, Invocation& invocation, int& status);

}  // namespace twupdate::cli
