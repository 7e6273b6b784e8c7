#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string>

#include "cli/report/run_events.h"

namespace twupdate::cli {

/// One HTML page about these runs, which are in the order of time: self-contained, without
/// scripts, for screens of every width, light and dark, and for paper.
/// @param runs     at least one
/// @param renewed  how often the page is replaced while the last of them goes on; it reloads itself
std::string ReportPage(std::span<const RunRecord> runs,
                       std::optional<std::chrono::seconds> renewed = std::nullopt);

}  // namespace twupdate::cli
