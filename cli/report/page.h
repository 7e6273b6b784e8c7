#pragma once

#include <span>
#include <string>

#include "cli/report/run_events.h"

namespace twupdate::cli {

/// One HTML page about these runs, which are in the order of time: self-contained, without
/// scripts, for screens of every width, light and dark, and for paper.
/// @param runs  at least one
std::string ReportPage(std::span<const RunRecord> runs);

}  // namespace twupdate::cli
