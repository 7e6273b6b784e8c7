#pragma once

#include <string>

namespace CLI {
class App;
}

namespace twupdate::cli {

/// How many sites a command works on at a time, as the option --jobs has it.
struct JobsOption {
    std::string text = "1";

    bool IsAuto() const;
    /// For work of which nothing is measured while it goes on; auto is the number of processors, at
    /// most 8.
    unsigned Number() const;
};

/// @param does  e.g. "Check this many sites at a time"
void AddJobsOption(CLI::App& command, JobsOption& jobs, const std::string& does);

}  // namespace twupdate::cli
