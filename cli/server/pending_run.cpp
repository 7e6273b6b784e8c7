#include "cli/server/pending_run.h"

namespace twupdate::cli {

PendingRun::PendingRun(Ladder first, Ladder second, double version) {
    for (const Ladder ladder : {first, second}) {
        for (const LadderStep& step : PendingSteps(ladder, version)) {
            places_.emplace(step.name, static_cast<int>(places_.size()));
        }
    }
}

int PendingRun::Place(std::string_view step) const {
    const auto found = places_.find(step);
    return found == places_.end() ? -1 : found->second;
}

bool PendingRun::IsBefore(std::string_view first, std::string_view second) const {
    return Has(first) && Place(first) < Place(second);
}

}  // namespace twupdate::cli
