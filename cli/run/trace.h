#pragma once

#include <chrono>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>

#include "cli/run/run_sink.h"
#include "cli/terminal/json_lines.h"

namespace twupdate::cli {

/// A parameter of a command, as JSON.
nlohmann::ordered_json JsonOf(const Value& value);

/// The duration in milliseconds, rounded to microseconds.
double Milliseconds(std::chrono::nanoseconds duration);

/// --trace: one line for each call that the component makes; where statements are batched, with
/// what went to the server meanwhile. It holds stored data, so only the owner may read the file.
class Trace final : public RunSink {
  public:
    /// @param batches  whether statements are batched
    Trace(const std::filesystem::path& file, bool batches, Console& console)
        : lines_(file, JsonLines::Readers::kOwner, JsonLines::Existing::kReplaced, console),
          batches_(batches) {}
    void CallEnded(const Position& where, const Call& call) override;
    void BatchedCallEnded(const Position& where, const Call& call,
                          const std::vector<SentStatement>& sent) override;

  private:
    nlohmann::ordered_json LineOf(const Position& where, const Call& call);

    JsonLines lines_;
    const bool batches_;
    std::uint64_t seq_ = 0;
};

}  // namespace twupdate::cli
