#pragma once

#include <map>
#include <string_view>

#include "twupdate/ladder.h"

namespace twupdate::cli {

/// The steps that a database has before it, in the order in which they run.
class PendingRun {
  public:
    /// @param first, second  the two ladders of the database
    PendingRun(Ladder first, Ladder second, double version);

    bool Has(std::string_view step) const { return places_.contains(step); }
    /// The place of a step in the run, from 0 on; -1 when it is not pending. Of a step that runs
    /// several times the first.
    int Place(std::string_view step) const;
    /// True when the first step is pending and runs before the second.
    bool IsBefore(std::string_view first, std::string_view second) const;

  private:
    std::map<std::string_view, int> places_;
};

}  // namespace twupdate::cli
