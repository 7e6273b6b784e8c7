// A library for LD_PRELOAD: every fsync takes TWUPDATE_FSYNC_MS milliseconds longer, as on a slower
// disk, and is counted in the first eight bytes of the file TWUPDATE_FSYNC_COUNT, if that is set.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void Wait() {
    static const long milliseconds = [] {
        const char* text = std::getenv("TWUPDATE_FSYNC_MS");
        return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
    }();
    const timespec time{milliseconds / 1000, milliseconds % 1000 * 1'000'000};
    nanosleep(&time, nullptr);
}

std::atomic<std::uint64_t>* OpenCount() {
    static_assert(sizeof(std::atomic<std::uint64_t>) == sizeof(std::uint64_t));
    const char* path = std::getenv("TWUPDATE_FSYNC_COUNT");
    const int file = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
    if (file < 0) {
        return nullptr;
    }
    void* memory =
        mmap(nullptr, sizeof(std::uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<std::atomic<std::uint64_t>*>(memory);
}

void Count() {
    static std::atomic<std::uint64_t>* const count = OpenCount();
    if (count != nullptr) {
        ++*count;
    }
}

/// Whether the file is on a device that is as fast as ever: in the folder TWUPDATE_FAST_FOLDER.
bool IsFast(int fd) {
    static const char* const folder = std::getenv("TWUPDATE_FAST_FOLDER");
    if (folder == nullptr) {
        return false;
    }
    char path[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    return readlink(link.c_str(), path, sizeof(path) - 1) > 0 &&
           std::strncmp(path, folder, std::strlen(folder)) == 0;
}

int Call(const char* name, int fd) {
    Count();
    if (!IsFast(fd)) {
        Wait();
    }
    const auto next = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, name));
    return next(fd);
}

}  // namespace

// Visible: the library is built with hidden symbols.
extern "C" [[gnu::visibility("default")]] int fsync(int fd) {
    return Call("fsync", fd);
}

extern "C" [[gnu::visibility("default")]] int fdatasync(int fd) {
    return Call("fdatasync", fd);
}
