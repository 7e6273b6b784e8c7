#pragma once

#include <cstddef>
#include <memory>

#include "component/ladders.h"

namespace twupdate {

/// Runs, in table order, every rung whose threshold the version is strictly below.
/// @param call  receives the rung and makes the call
template <typename Rungs, typename Call>
void Update::WalkLadder(Ladder ladder, const Rungs& rungs, StringRef database, double version,
                        const Call& call) {
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
        call(rungs[i]);
        if (observer) {
            observer->StepEnded(steps[i], database);
        }
    }
    if (observer) {
        observer->LadderEnded(ladder, database);
    }
}

}  // namespace twupdate
