#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/snapshot.h"

namespace twupdate::test {

/// True when TWUPDATE_REFRESH is in the environment: what is compared with a file of expectations
/// is written there. `./dev refresh` does so.
bool IsRefreshing();

/// A file of expected lines. Blank lines and lines that begin with '#' are skipped.
class ExpectedLines {
  public:
    /// @param placeholders  what stands for what, e.g. "{name}" for the name of a site
    /// @throws std::runtime_error naming the file when it cannot be read
    explicit ExpectedLines(std::filesystem::path file,
                           std::map<std::string, std::string> placeholders = {});

    const std::vector<std::string>& Lines() const { return lines_; }

    /// True when these are the lines, in whatever order; otherwise says which are missing and which
    /// are too many. A refresh writes them: one that begins like a missing one, up to the first
    /// colon, in its place, and the others at the end.
    testing::AssertionResult Are(std::vector<std::string> actual) const;

  private:
    void Write(std::vector<std::string> missing, const std::vector<std::string>& surplus) const;

    std::filesystem::path file_;
    std::map<std::string, std::string> placeholders_;
    std::vector<std::string> text_;   ///< every line as it stands in the file
    std::vector<std::string> lines_;  ///< those that count, with their placeholders filled in
};

/// True when the file holds this schema. A refresh writes it below the comment that begins the
/// file.
testing::AssertionResult IsSchemaOfFile(const std::filesystem::path& file, const Schema& actual);

}  // namespace twupdate::test
