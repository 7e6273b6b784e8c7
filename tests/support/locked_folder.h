#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace twupdate::test {

/// Takes every right from a folder, as long as the object lives. Nothing is closed to root, so a
/// test that runs as root works as nobody meanwhile; the folders above are opened to him.
class LockedFolder {
  public:
    /// @param top  the folder of the test, in which `folder` lies
    LockedFolder(const std::filesystem::path& top, std::filesystem::path folder)
        : folder_(std::move(folder)) {
        namespace fs = std::filesystem;
        fs::permissions(top, fs::perms::group_exec | fs::perms::others_exec, fs::perm_options::add);
        fs::permissions(folder_, fs::perms::none);
        constexpr uid_t kNobody = 65534;
        if (wasRoot_ && seteuid(kNobody) != 0) {
            throw std::system_error(errno, std::generic_category(), "seteuid");
        }
    }
    ~LockedFolder() {
        if (wasRoot_ && seteuid(0) != 0) {
            std::abort();  // the tests that follow would work without their rights
        }
        std::error_code ignored;
        std::filesystem::permissions(folder_, std::filesystem::perms::owner_all, ignored);
    }
    LockedFolder(const LockedFolder&) = delete;
    LockedFolder& operator=(const LockedFolder&) = delete;

  private:
    std::filesystem::path folder_;
    bool wasRoot_ = geteuid() == 0;
};

}  // namespace twupdate::test
