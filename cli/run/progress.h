#pragma once

#include <cstdint>

#include "cli/run/run_sink.h"
#include "cli/run/time_left.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// Tells the person how the run goes on: on a terminal a line that is drawn over again, otherwise
/// a plain line for each database that is done.
class Progress final : public RunSink {
  public:
    explicit Progress(Console& console) : console_(console) {}

    void RunStarting(const RunStart& start) override;
    void LadderStarting(const Position& where, double version) override;
    void StepStarting(const Position& where) override;
    void StepEnded(const Position& where, std::chrono::nanoseconds duration,
                   std::uint64_t statements) override;
    void SiteStarting(const Position& where, double version) override;
    void DatabaseEnded(const DatabaseDone& done, const Counts& counts) override;
    void CallEnded(const Position& where, const Call& call) override;

  private:
    void Draw(const Position& where);

    Console& console_;
    TimeLeft timeLeft_;
    std::uint64_t sites_ = 0;
    std::uint64_t sitesDone_ = 0;
    Clock::time_point started_ = Clock::now();
    Clock::time_point drawn_;
};

}  // namespace twupdate::cli
