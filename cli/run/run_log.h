#pragma once

#include <filesystem>
#include <memory>

#include "cli/run/run_sink.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// --log: how a run goes on, for people who read it later. Rotated: five files of ten megabytes.
/// When it cannot be written any further, as on a full disk, that is a warning, once.
/// @throws CommandError when the file cannot be made
std::shared_ptr<RunSink> MakeRunLog(const std::filesystem::path& file, Console& console);

}  // namespace twupdate::cli
