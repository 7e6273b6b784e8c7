#pragma once

#include <vector>

#include "twupdate/interruption.h"

/// For each step that does not simply run again what an interruption of it has left; named after
/// the step. See twupdate/interruption.h.
namespace twupdate {

using LeftoverSearch = std::vector<Leftover>(Utility& host, const SteppedDatabase& database,
                                             StepHistory history);

#define TWU_NOT_REPEATABLE(step, effect) LeftoverSearch LeftBy##step;
#include "twupdate/ladders.def"

}  // namespace twupdate
