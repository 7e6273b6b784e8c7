#pragma once

#include "cli/server/options.h"

namespace twupdate::cli {

/// Whether the files and the folder that the options name can be written and are different ones,
/// found out without touching them: a command that finds nothing to do opens none.
/// @throws CommandError (exit 2)
void RequireWritable(const GlobalOptions& options);

}  // namespace twupdate::cli
