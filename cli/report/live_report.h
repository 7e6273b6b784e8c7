#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>

#include "cli/report/run_events.h"
#include "cli/server/replace_file.h"
#include "cli/terminal/console.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {

/// The report of a run as a page that follows the run: it is replaced every few seconds, and
/// reloads itself in the browser until the run has ended.
class LiveReport {
  public:
    /// @throws CommandError when the page cannot be written
    LiveReport(std::filesystem::path page, Console& console);
    ~LiveReport();
    LiveReport(const LiveReport&) = delete;
    LiveReport& operator=(const LiveReport&) = delete;

    /// An event of the run, as Events writes it.
    void Take(const nlohmann::ordered_json& event);

  private:
    void Tick();
    void Renew();

    const std::filesystem::path path_;
    Console& console_;
    std::mutex mutex_;  ///< guards the reader
    RunReader reader_;
    std::chrono::steady_clock::time_point renewed_;
    std::chrono::nanoseconds took_{0};  ///< the last writing
    std::unique_ptr<RenewedFile> file_;
    std::unique_ptr<Ticker> ticker_;  ///< from the start of the run to its end
};

}  // namespace twupdate::cli
