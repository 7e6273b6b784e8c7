#pragma once

#include <stdexcept>
#include <string>

#include "cli/terminal/console.h"

namespace twupdate::cli {

/// The command cannot do what was requested; `what()` is the message, `Code()` the exit status.
class CommandError : public std::runtime_error {
  public:
    explicit CommandError(const std::string& line, ExitCode code = kFailed)
        : std::runtime_error(line), code_(code) {}
    ExitCode Code() const noexcept { return code_; }

  private:
    ExitCode code_;
};

}  // namespace twupdate::cli
