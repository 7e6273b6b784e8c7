#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "cli/terminal/console.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {

/// Shows the progress of a command that processes one thing after another, or a few at a time: "3
/// of 60 databases  12 s, about 4 min 05 s left  tw_3". On a terminal, this is a line that is
/// redrawn every second; on one that cannot redraw, a plain line every five seconds; elsewhere
/// nothing.
class CountedProgress {
  public:
    using Clock = std::chrono::steady_clock;

    /// @param noun  of one of them, e.g. "database"
    CountedProgress(Console& console, std::string noun, std::size_t total);
    /// Removes the line.
    ~CountedProgress();
    CountedProgress(const CountedProgress&) = delete;
    CountedProgress& operator=(const CountedProgress&) = delete;

    /// The next one begins.
    void Next(std::string label);
    /// What the current one waits for, e.g. "connection 45 of app@web1"; empty if it does not wait.
    /// May be called by any thread.
    /// @param job  of several that process one each
    void Waiting(std::string forWhat, unsigned job = 0);
    /// "3 of 60", of the current one.
    std::string Place() const;

  private:
    std::vector<std::string> Parts() const;
    void Draw();

    Console& console_;
    const std::string noun_;
    const std::size_t total_;
    const Clock::time_point started_ = Clock::now();
    mutable std::mutex mutex_;  ///< guards what follows
    std::size_t number_ = 0;    ///< of the current one, from 1
    std::string label_;
    std::map<unsigned, std::string> waitsFor_;  ///< of the jobs that wait
    Clock::time_point drawn_;
    std::optional<Ticker> ticker_;
};

}  // namespace twupdate::cli
