#pragma once

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

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

}  // namespace twupdate::cli
