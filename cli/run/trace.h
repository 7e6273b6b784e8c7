#pragma once

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/run/run_sink.h"
#include "cli/server/options.h"

namespace twupdate::cli {

/// The file, after the folders that it lacks were made; opening it tells what has failed.
const std::filesystem::path& WithFolders(const std::filesystem::path& file);

/// A file of JSON objects, one a line, each line flushed as it is written.
class JsonLines {
  public:
    /// Makes the folders of the file that are missing.
    /// @throws CommandError when the file cannot be made
    explicit JsonLines(const std::filesystem::path& file);
    /// @throws CommandError when the line cannot be written
    void Write(const nlohmann::ordered_json& line);

  private:
    std::filesystem::path path_;
    std::ofstream file_;
};

/// Whether the files and the folder that the options name can be written and are different ones,
/// found out without touching them: a command that finds nothing to do opens none.
/// @throws CommandError (exit 2)
void RequireWritable(const GlobalOptions& options);

/// A parameter of a command, as JSON.
nlohmann::ordered_json JsonOf(const Value& value);

/// --trace: one line for each call that the component makes.
class Trace final : public RunSink {
  public:
    explicit Trace(const std::filesystem::path& file) : lines_(file) {}
    void CallEnded(const Position& where, const Call& call) override;

  private:
    JsonLines lines_;
    std::uint64_t seq_ = 0;
};

}  // namespace twupdate::cli
