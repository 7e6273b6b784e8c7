#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace twupdate::test {

/// A folder that lasts as long as the object.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "twupdate-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot make the folder " + name);
        }
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }
    void MakeFolder(const std::filesystem::path& name) const {
        std::filesystem::create_directories(path_ / name);
    }
    /// Writes a file, with the folders above it.
    void Write(const std::filesystem::path& name, const std::string& content) const {
        MakeFolder(name.parent_path());
        std::ofstream file(path_ / name, std::ios::binary);
        file << content;
        ASSERT_TRUE(file.flush()) << name;
    }
    std::string Read(const std::filesystem::path& name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        EXPECT_TRUE(file) << name;
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

  private:
    std::filesystem::path path_;
};

}  // namespace twupdate::test
