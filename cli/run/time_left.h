#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <vector>

#include "cli/run/run_sink.h"

namespace twupdate::cli {

/// Estimates how long the rest of a run takes, from the measured times of the steps that have run
/// and the steps that the remaining databases will run. A step that has not run yet counts as the
/// mean of those that have.
class TimeLeft {
  public:
    /// @param versions  of the sites to come
    void Start(const std::vector<double>& versions);
    /// @param job  each has one current site; all work at the same time
    void StepMeasured(const LadderStep& step, std::chrono::nanoseconds duration, unsigned job = 0);
    /// The next site begins: it is no longer to come, but its steps are.
    void SiteStarting(double version, unsigned job = 0);
    /// The site that this job had begun begins again, with these steps to come.
    void SiteAgain(double version, unsigned job = 0);
    void SiteEnded(unsigned job = 0);

    /// Nothing while no step has been measured.
    std::optional<std::chrono::nanoseconds> Estimate() const;

  private:
    struct Measured {
        std::uint64_t count = 0;
        std::chrono::nanoseconds sum{0};
        std::optional<std::chrono::nanoseconds> Mean() const;
    };
    using Key = std::pair<Ladder, std::int32_t>;

    std::map<double, std::uint64_t> toCome_;  ///< sites by version
    std::map<Key, Measured> measured_;
    Measured all_;
    /// The steps of the current sites that have not run yet, by job.
    std::map<unsigned, std::vector<Key>> pending_;
};

}  // namespace twupdate::cli
