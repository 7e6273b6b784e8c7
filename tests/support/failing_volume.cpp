#include "support/failing_volume.h"

#include <dlfcn.h>

#include <cerrno>
#include <string>

namespace twupdate::test {
namespace {

std::string failingPath;
int failure = 0;

}  // namespace

FailingVolume::FailingVolume(const std::filesystem::path& path, int error) {
    failingPath = path.string();
    failure = error;
}

FailingVolume::~FailingVolume() {
    failingPath.clear();
}

// In the place of the C library's function, in the whole program; the standard library, a shared
// object, sees it only when it is exported.
extern "C" __attribute__((visibility("default"))) char* RealPathOfTheTest(
    const char* path, char* resolved) __asm__("realpath");

extern "C" char* RealPathOfTheTest(const char* path, char* resolved) {
    const std::string asked = path;
    if (!failingPath.empty() && asked.starts_with(failingPath) &&
        (asked.size() == failingPath.size() || asked[failingPath.size()] == '/')) {
        errno = failure;
        return nullptr;
    }
    using RealPath = char*(const char*, char*);
    static auto* const kRealPath = reinterpret_cast<RealPath*>(dlsym(RTLD_NEXT, "realpath"));
    return kRealPath(path, resolved);
}

}  // namespace twupdate::test
