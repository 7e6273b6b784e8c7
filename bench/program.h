#pragma once

#include <string>
#include <vector>

namespace twupdate::bench {

/// How a run of the program went.
struct ProgramRun {
    double seconds = 0;        ///< from its start to its end
    double peakMebibytes = 0;  ///< of its memory
};

/// Runs twupdate to its end, with what it prints left out.
/// @throws std::runtime_error when it does not end with 0
ProgramRun RunProgram(std::vector<std::string> arguments);

}  // namespace twupdate::bench
