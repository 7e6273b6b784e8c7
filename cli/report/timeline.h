#pragma once

#include <string>
#include <vector>

#include "cli/report/run_figures.h"

namespace twupdate::cli {

/// The run as an SVG figure for a page: a row for each job, or without jobs for each database or
/// for several where there are many; the bars show where the time went. It adapts to the available
/// width without making its text smaller.
/// @param marked  steps that get a number, from 1
/// @param id      makes the figure's ids different from those of other figures of the page
std::string TimelineSvg(const RunRecord& run, const std::vector<StepRun>& marked, std::size_t id);

/// The parts of an axis: as many marks as fit beside one another.
struct AxisMark {
    double share;  ///< of the axis, 0 to 1
    std::string label;
};

/// Marks for an axis that begins at this time. A long one has times of day (UTC), a short one the
/// seconds since its beginning.
std::vector<AxisMark> AxisMarks(EventTime start, EventDuration length);

}  // namespace twupdate::cli
