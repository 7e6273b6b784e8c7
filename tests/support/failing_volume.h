#pragma once

#include <filesystem>

namespace twupdate::test {

/// A volume that fails, as long as the object lives: whatever is at or below the path cannot be
/// resolved by realpath(), which std::filesystem::canonical() calls. There is one at a time.
class FailingVolume {
  public:
    /// @param error  e.g. EIO
    FailingVolume(const std::filesystem::path& path, int error);
    ~FailingVolume();
    FailingVolume(const FailingVolume&) = delete;
    FailingVolume& operator=(const FailingVolume&) = delete;
};

}  // namespace twupdate::test
