#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/run/progress.h"
#include "cli/run/run_sink.h"
#include "cli/server/replace_file.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {

/// --metrics: the figures of a run for Prometheus, in the text format that the node exporter's
/// textfile collector reads. The file is replaced every second and at the end of the run.
class Metrics final : public RunSink {
  public:
    /// @param progress  that has been told of a call or of an end before this
    Metrics(std::filesystem::path file, std::shared_ptr<const Progress> progress, Console& console);

    void RunStarting(const RunStart& start) override;
    void RunFailed(const RunFailure& failure, const Counts& counts) override;
    void RunEnded(const Counts& counts, std::chrono::nanoseconds duration) override;

  private:
    void End(std::string_view state);
    std::string Exposition(std::string_view state) const;

    const std::filesystem::path path_;
    const std::shared_ptr<const Progress> progress_;
    Console& console_;
    std::string command_;
    std::chrono::system_clock::time_point began_;
    std::optional<RenewedFile> file_;
    std::optional<Ticker> ticker_;  ///< from the start of the run to its end
};

}  // namespace twupdate::cli
