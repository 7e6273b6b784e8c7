#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "cli/report/run_events.h"

namespace twupdate::cli {

/// How long a run will take, from the times of earlier ones.
struct Forecast {
    /// A database that the run will upgrade.
    struct Database {
        std::string name;
        bool isSite = true;
        double version = 0;
    };
    /// What a kind of statement costs all databases together.
    struct Kind {
        double statements = 0;
        EventDuration time{0};
    };

    std::size_t databases = 0;
    std::size_t measuredThemselves = 0;  ///< databases of which the events have a whole upgrade
    std::vector<std::string> unmeasuredSteps;  ///< that count as the mean of those that were
    bool hadJobs = false;  ///< statements of several jobs waited for one another
    std::array<Kind, kStatementKinds> kinds{};
    EventDuration central{0};
    EventDuration sites{0};    ///< all sites, one after the other
    EventDuration longest{0};  ///< site

    /// How many times as fast as one connection several change tables at best: an assumption for
    /// any server. bench/table_changes_bench.cpp measures that of one.
    static constexpr double kMostGain = 3.4;

    /// With this number of jobs.
    EventDuration WithJobs(unsigned jobs) const;
    /// No number of jobs is quicker.
    EventDuration Floor() const;
};

/// @param runs  that have measured steps
Forecast MakeForecast(std::span<const RunRecord> runs,
                      const std::vector<Forecast::Database>& databases);

}  // namespace twupdate::cli
