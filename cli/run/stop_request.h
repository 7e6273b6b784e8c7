#pragma once

#include <chrono>
#include <stdexcept>

namespace twupdate::cli {

/// Ends a run between two statements, because a person or the system asked for it.
class StopRequested : public std::runtime_error {
  public:
    StopRequested() : std::runtime_error("stopped as requested") {}
};

/// For its life, Ctrl-C and SIGTERM ask the run to stop instead of ending the program; the same
/// signal a second time ends it at once.
class StopSignals {
  public:
    /// @param unit  what is still finished after the first signal, e.g. "statement"; a literal
    /// @param graceSeconds  how long after SIGTERM that may take before the program is ended as by
    ///                      a second one; 0: as long as it takes
    explicit StopSignals(const char* unit = "statement", unsigned graceSeconds = 0);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// True once a signal has come.
    static bool Requested();
};

/// Lets time pass.
/// @throws StopRequested as soon as the run is to stop
void PauseUnlessStopped(std::chrono::milliseconds time);

}  // namespace twupdate::cli
