#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace twupdate::test {

/// A new empty folder that is removed with the object.
class TemporaryFolder {
  public:
    /// In memory where there is room.
    TemporaryFolder() : TemporaryFolder(MemoryIfRoom()) {}
    explicit TemporaryFolder(const std::filesystem::path& parent) {
        std::string name = (parent / "twupdate-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder can be made in " + parent.string());
        }
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    /// The path of a file or folder in it.
    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }

    void MakeFolder(const std::filesystem::path& name) const {
        std::filesystem::create_directories(path_ / name);
    }

    /// Writes a file in it, with the folders above it. @returns its path
    std::filesystem::path Write(const std::filesystem::path& name,
                                const std::string& content) const {
        MakeFolder(name.parent_path());
        std::ofstream file(path_ / name, std::ios::binary);
        file << content;
        if (!file.flush()) {
            throw std::runtime_error("cannot write " + (path_ / name).string());
        }
        return path_ / name;
    }
    /// The content of a file in it.
    std::string Read(const std::filesystem::path& name) const {
        const std::ifstream file(path_ / name, std::ios::binary);
        if (!file) {
            throw std::runtime_error("cannot read " + (path_ / name).string());
        }
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

  private:
    static std::filesystem::path MemoryIfRoom() {
        constexpr std::uintmax_t kRoom = std::uintmax_t{1} << 28;
        std::error_code error;
        const auto memory = std::filesystem::space("/dev/shm", error);
        return !error && memory.available >= kRoom ? "/dev/shm"
                                                   : std::filesystem::temp_directory_path();
    }

    std::filesystem::path path_;
};

}  // namespace twupdate::test
