#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace twupdate::test {

/// Works as nobody as long as the object lives, where the test runs as root, to whom nothing is
/// closed. The folder of the test is opened to him.
class AsNobody {
  public:
    /// @param top  the folder of the test
    explicit AsNobody(const std::filesystem::path& top) {
        namespace fs = std::filesystem;
        fs::permissions(top, fs::perms::group_exec | fs::perms::others_exec, fs::perm_options::add);
        constexpr uid_t kNobody = 65534;
        if (wasRoot_ && seteuid(kNobody) != 0) {
            throw std::system_error(errno, std::generic_category(), "seteuid");
        }
    }
    ~AsNobody() {
        if (wasRoot_ && seteuid(0) != 0) {
            std::abort();  // the tests that follow would work without their permissions
        }
    }
    AsNobody(const AsNobody&) = delete;
    AsNobody& operator=(const AsNobody&) = delete;

  private:
    bool wasRoot_ = geteuid() == 0;
};

/// Takes every permission from a folder, as long as the object lives, and works as nobody
/// meanwhile.
class LockedFolder {
  public:
    /// @param top  the folder of the test, in which `folder` lies
    LockedFolder(const std::filesystem::path& top, std::filesystem::path folder)
        : folder_(std::move(folder)) {
        std::filesystem::permissions(folder_, std::filesystem::perms::none);
        nobody_.emplace(top);
    }
    ~LockedFolder() {
        nobody_.reset();
        std::error_code ignored;
        std::filesystem::permissions(folder_, std::filesystem::perms::owner_all, ignored);
    }
    LockedFolder(const LockedFolder&) = delete;
    LockedFolder& operator=(const LockedFolder&) = delete;

  private:
    std::filesystem::path folder_;
    std::optional<AsNobody> nobody_;
};

}  // namespace twupdate::test
