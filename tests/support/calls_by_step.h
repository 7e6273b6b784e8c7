#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "support/recording_host.h"
#include "twupdate/ladder.h"

namespace twupdate::test {

/// Splits the log of a recording host into the calls of each step that runs.
class CallsByStep : public Observer {
  public:
    /// @param host  must outlive this
    explicit CallsByStep(const RecordingHost& host) : log_(host.log) {}

    struct Run {
        LadderStep step;
        std::vector<std::string> calls;
    };
    std::vector<Run> runs;  ///< in the order in which the steps ran

    void StepStarting(const LadderStep& step, const std::string&) override {
        runs.push_back({step, {}});
        begin_ = log_.size();
    }
    void StepEnded(const LadderStep&, const std::string&) override {
        runs.back().calls.assign(log_.begin() + static_cast<std::ptrdiff_t>(begin_), log_.end());
    }

  private:
    const std::vector<std::string>& log_;
    std::size_t begin_ = 0;
};

}  // namespace twupdate::test
