#pragma once

#include <filesystem>
#include <memory>

#include "cli/run/run_sink.h"

namespace twupdate::cli {

/// --log: how a run goes on, for people who read it later. Rotated: five files of ten megabytes.
/// @throws CommandError when the file cannot be written
std::shared_ptr<RunSink> MakeRunLog(const std::filesystem::path& file);

}  // namespace twupdate::cli
