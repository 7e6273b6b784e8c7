#pragma once

#include "cli/server/options.h"

namespace twupdate::cli {

/// Tests that the files and the folder of the options can be written and are different, without
/// touching them: a command that finds nothing to do opens none.
/// @throws CommandError (exit 2)
void RequireWritable(const GlobalOptions& options);

}  // namespace twupdate::cli
