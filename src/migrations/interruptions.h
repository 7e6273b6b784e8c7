#pragma once

#include <vector>

#include "twupdate/interruption.h"

/// For each step that does not simply run again what an interruption of it has left; named after
/// the step. See twupdate/interruption.h.
namespace twupdate {

using LeftoverSearch = std::vector<Leftover>(Utility& host, const SteppedDatabase& database,
                                             StepHistory history);

// site_schema/interruptions.cpp
LeftoverSearch LeftBySiteSchemaStep_1_0018;
LeftoverSearch LeftBySiteSchemaStep_1_0035;
LeftoverSearch LeftBySiteSchemaStep_1_0225;
// site_content/interruptions.cpp
LeftoverSearch LeftBySiteContentStep_1_0007;
LeftoverSearch LeftBySiteContentStep_1_0043;
LeftoverSearch LeftBySiteContentStep_1_0066;
LeftoverSearch LeftBySiteContentStep_1_0082;
// server/interruptions.cpp
LeftoverSearch LeftByServerStep_1_0035;
LeftoverSearch LeftByServerStep_1_0074;
LeftoverSearch LeftByServerDataStep_1_0252;

}  // namespace twupdate
