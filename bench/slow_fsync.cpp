// A library for LD_PRELOAD: every fsync takes TWUPDATE_FSYNC_MS milliseconds longer, as on a slower
// disk. In memory, where an fsync takes no time, it is all there is.

#include <dlfcn.h>
#include <time.h>

#include <cstdlib>

namespace {

void Wait() {
    static const long milliseconds = [] {
        const char* text = std::getenv("TWUPDATE_FSYNC_MS");
        return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
    }();
    const timespec time{milliseconds / 1000, milliseconds % 1000 * 1'000'000};
    nanosleep(&time, nullptr);
}

int Call(const char* name, int fd) {
    Wait();
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
