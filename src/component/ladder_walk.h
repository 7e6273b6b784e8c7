#pragma once

#include <cstddef>
#include <memory>

#include "component/ladders.h"

namespace twupdate {

/// Runs, in table order, every rung whose threshold the version is strictly below.
/// @param arguments  what every step of the ladder is called with
template <typename Rungs, typename... Arguments>
void Update::WalkLadder(Ladder ladder, const Rungs& rungs, const std::string& database,
                        double version, const Arguments&... arguments) {
    Boolean result = kFalse;  // some steps write it; nobody reads it
    const auto observer = p_oUtility ? p_oUtility->GetObserver() : nullptr;
    const auto steps = LadderSteps(ladder);
    if (observer) {
        observer->LadderStarting(ladder, database, version);
    }
    for (std::size_t i = 0; i < rungs.size(); ++i) {
        if (!IsBelow(version, rungs[i].threshold)) {
            continue;
        }
        if (observer) {
            observer->StepStarting(steps[i], database);
        }
        rungs[i].run(*this, arguments..., result);
        if (observer) {
            observer->StepEnded(steps[i], database);
        }
    }
    if (observer) {
        observer->LadderEnded(ladder, database);
    }
}

}  // namespace twupdate
