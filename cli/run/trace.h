#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>

#include "cli/run/run_sink.h"
#include "cli/terminal/json_lines.h"

namespace twupdate::cli {

/// A parameter of a command, as JSON.
nlohmann::ordered_json JsonOf(const Value& value);

/// --trace: one line for each call that the component makes. It holds stored data, so only the
/// owner may read the file.
class Trace final : public RunSink {
  public:
    Trace(const std::filesystem::path& file, Console& console)
        : lines_(file, JsonLines::Readers::kOwner, JsonLines::Existing::kReplaced, console) {}
    void CallEnded(const Position& where, const Call& call) override;

  private:
    JsonLines lines_;
    std::uint64_t seq_ = 0;
};

}  // namespace twupdate::cli
