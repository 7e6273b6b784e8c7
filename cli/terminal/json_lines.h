#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>

#include "cli/terminal/console.h"

namespace twupdate::cli {

/// The file, after creating missing folders; opening it shows what has failed.
const std::filesystem::path& WithFolders(const std::filesystem::path& file);

/// A file of JSON objects, one per line, flushed after each line. If it can no longer be written,
/// as on a full disk, that is one warning: the run is worth more than its record.
class JsonLines {
  public:
    enum class Readers : std::uint8_t {
        kOwner,  ///< it holds what is stored in the databases
        kUsual,
    };

    enum class Existing : std::uint8_t {
        kReplaced,
        kKept,  ///< appends to the file, even if its last line is incomplete
    };

    /// Creates the missing folders of the file.
    /// @throws CommandError when the file cannot be made
    JsonLines(const std::filesystem::path& file, Readers readers, Existing existing,
              Console& console);
    void Write(const nlohmann::ordered_json& line);

  private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::filesystem::path path_;
    std::unique_ptr<std::FILE, Close> file_;  ///< null once it cannot be written
    Console& console_;
};

}  // namespace twupdate::cli
