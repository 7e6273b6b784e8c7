// A library for LD_PRELOAD: the disk's cache, which is lost with the power. The process sees the
// folder TWUPDATE_CACHED_FOLDER as ever; beside it, TWUPDATE_DURABLE_FOLDER receives only what has
// reached the disk: the bytes of a file that were written before its fsync, and with each fsync
// the names of files that were made, renamed and removed until then, as a journaling file system
// keeps them. After a SIGKILL that folder is what a power loss would have left.
//
// Asynchronous and vectored writes are not seen: the server must use neither (for InnoDB
// innodb_use_native_aio=OFF).

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#define EXPORTED extern "C" [[gnu::visibility("default")]]

namespace {

template <typename Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

struct File {
    std::string name;              ///< below the folder; empty once it is removed
    std::map<off_t, off_t> dirty;  ///< ranges that have not reached the disk: begin, end
};

struct Mapping {
    const char* begin;
    std::size_t size;
    off_t offset;
    std::shared_ptr<File> file;
    int fd;  ///< a copy, for reading
};

class Disk {
  public:
    static Disk& Get() {
        static auto* const disk = new Disk;  // never destroyed: threads write until the end
        return *disk;
    }

    void Opened(int fd, int flags) {
        const std::string name = NameOf(PathOf(fd));
        if (name.empty()) {
            return;
        }
        const std::lock_guard lock(mutex_);
        auto& file = byName_[name];
        if (!file) {
            file = std::make_shared<File>();
            file->name = name;
        }
        byFd_[fd] = {file, (flags & (O_SYNC | O_DSYNC)) != 0};
        if ((flags & O_CREAT) != 0) {
            Later([this, name] { Close(OpenDurable(name)); });
        }
        if ((flags & O_TRUNC) != 0) {
            file->dirty.clear();
            Later([this, name] { Resize(name, 0); });
        }
    }
    void Closed(int fd) {
        const std::lock_guard lock(mutex_);
        byFd_.erase(fd);
    }
    void Written(int fd, off_t begin, off_t size) {
        const std::lock_guard lock(mutex_);
        const auto found = byFd_.find(fd);
        if (found == byFd_.end()) {
            return;
        }
        Add(found->second.file->dirty, begin, begin + size);
        if (found->second.isSynchronous) {
            Flush(fd, *found->second.file);
        }
    }
    void Resized(int fd, off_t size, bool onlyLarger) {
        const std::lock_guard lock(mutex_);
        const auto found = byFd_.find(fd);
        if (found == byFd_.end()) {
            return;
        }
        auto& file = *found->second.file;
        if (!onlyLarger) {
            file.dirty.erase(file.dirty.lower_bound(size), file.dirty.end());
        }
        Later([this, name = file.name, size, onlyLarger] {
            struct stat now {};
            if (!onlyLarger || (stat(Durable(name).c_str(), &now) == 0 && now.st_size < size)) {
                Resize(name, size);
            }
        });
    }
    void Synchronized(int fd) {
        const std::lock_guard lock(mutex_);
        const auto found = byFd_.find(fd);
        if (found == byFd_.end()) {
            if (!NameOf(PathOf(fd) + "/x").empty()) {
                Commit();
            }
            return;
        }
        Flush(fd, *found->second.file);
    }
    void Mapped(void* begin, std::size_t size, int fd, off_t offset) {
        const std::lock_guard lock(mutex_);
        const auto found = byFd_.find(fd);
        if (found != byFd_.end()) {
            mappings_.push_back(
                {static_cast<const char*>(begin), size, offset, found->second.file, dup(fd)});
        }
    }
    void MappingSynchronized(const void* begin, std::size_t size) {
        const std::lock_guard lock(mutex_);
        const auto* const from = static_cast<const char*>(begin);
        for (Mapping& mapping : mappings_) {
            if (from >= mapping.begin && from < mapping.begin + mapping.size) {
                const off_t at = mapping.offset + (from - mapping.begin);
                Add(mapping.file->dirty, at, at + static_cast<off_t>(size));
                Flush(mapping.fd, *mapping.file);
            }
        }
    }
    void Renamed(const std::string& from, const std::string& to) {
        const std::string before = NameOf(from);
        const std::string after = NameOf(to);
        if (before.empty() || after.empty()) {
            return;
        }
        const std::lock_guard lock(mutex_);
        if (const auto found = byName_.find(before); found != byName_.end()) {
            found->second->name = after;
            byName_[after] = found->second;
            byName_.erase(before);
        }
        Later([this, before, after] {
            std::rename(Durable(before).c_str(), Durable(after).c_str());
        });
    }
    void Removed(const std::string& path, int (*remove)(const char*)) {
        const std::string name = NameOf(path);
        if (name.empty()) {
            return;
        }
        const std::lock_guard lock(mutex_);
        if (const auto found = byName_.find(name); found != byName_.end()) {
            found->second->name.clear();
            found->second->dirty.clear();
            byName_.erase(found);
        }
        Later([this, name, remove] { remove(Durable(name).c_str()); });
    }
    void MadeFolder(const std::string& path, mode_t mode) {
        const std::string name = NameOf(path);
        if (name.empty()) {
            return;
        }
        const std::lock_guard lock(mutex_);
        Later([this, name, mode] { mkdir(Durable(name).c_str(), mode); });
    }

    /// The path with the folder's links resolved, before the name itself changes.
    static std::string Resolved(const char* path) {
        const std::string text = path;
        const auto slash = text.find_last_of('/', text.find_last_not_of('/'));
        const std::string folder = slash == std::string::npos ? "." : text.substr(0, slash + 1);
        std::unique_ptr<char, decltype(&std::free)> real(realpath(folder.c_str(), nullptr),
                                                         &std::free);
        if (!real) {
            return {};
        }
        std::string name = slash == std::string::npos ? text : text.substr(slash + 1);
        name.erase(name.find_last_not_of('/') + 1);
        return real.get() + ("/" + name);
    }

  private:
    struct Open {
        std::shared_ptr<File> file;
        bool isSynchronous = false;
    };

    static std::string Folder(const char* variable) {
        const char* const text = std::getenv(variable);
        return text == nullptr ? std::string() : text;
    }
    static std::string PathOf(int fd) {
        std::array<char, 4096> path{};
        const std::string link = "/proc/self/fd/" + std::to_string(fd);
        const auto size = readlink(link.c_str(), path.data(), path.size());
        return {path.data(), size < 0 ? 0 : static_cast<std::size_t>(size)};
    }
    /// The name below the folder; empty for a file elsewhere.
    std::string NameOf(const std::string& path) const {
        return !cached_.empty() && path.starts_with(cached_ + "/") ? path.substr(cached_.size() + 1)
                                                                   : std::string();
    }
    std::string Durable(const std::string& name) const { return durable_ + "/" + name; }
    int OpenDurable(const std::string& name) const {
        return name.empty() ? -1
                            : Next<int (*)(const char*, int, ...)>("open64")(
                                  Durable(name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    }
    static void Close(int fd) {
        if (fd >= 0) {
            Next<int (*)(int)>("close")(fd);
        }
    }
    void Resize(const std::string& name, off_t size) const {
        if (truncate(Durable(name).c_str(), size) != 0) {
            return;  // removed meanwhile
        }
    }
    static void Add(std::map<off_t, off_t>& ranges, off_t begin, off_t end) {
        auto at = ranges.upper_bound(begin);
        if (at != ranges.begin() && std::prev(at)->second >= begin) {
            --at;
            begin = at->first;
        }
        while (at != ranges.end() && at->first <= end) {
            end = std::max(end, at->second);
            at = ranges.erase(at);
        }
        ranges[begin] = end;
    }
    void Later(std::function<void()> change) { names_.push_back(std::move(change)); }
    void Commit() {
        for (const auto& change : std::exchange(names_, {})) {
            change();
        }
    }
    void Flush(int fd, File& file) {
        Commit();
        const auto dirty = std::exchange(file.dirty, {});
        if (dirty.empty() || file.name.empty()) {
            return;
        }
        const auto open = Next<int (*)(const char*, int, ...)>("open64");
        const int from =
            open(("/proc/self/fd/" + std::to_string(fd)).c_str(), O_RDONLY | O_CLOEXEC);
        const int to = OpenDurable(file.name);
        std::vector<char> bytes(std::size_t{1} << 16);
        const auto write = Next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite64");
        for (const auto& [begin, end] : dirty) {
            for (off_t at = begin; at < end;) {
                const auto wanted = std::min(bytes.size(), static_cast<std::size_t>(end - at));
                const ssize_t size = pread(from, bytes.data(), wanted, at);
                if (size <= 0 || write(to, bytes.data(), static_cast<std::size_t>(size), at) < 0) {
                    break;
                }
                at += size;
            }
        }
        Close(from);
        Close(to);
    }

    const std::string cached_ = Folder("TWUPDATE_CACHED_FOLDER");
    const std::string durable_ = Folder("TWUPDATE_DURABLE_FOLDER");
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<File>> byName_;
    std::map<int, Open> byFd_;
    std::vector<Mapping> mappings_;
    std::vector<std::function<void()>> names_;  ///< changes of names and sizes, in their order
};

/// After an open.
int Opened(int fd, int flags) {
    if (fd >= 0 && (flags & O_ACCMODE) != O_RDONLY) {
        Disk::Get().Opened(fd, flags);
    }
    return fd;
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

/// The path in the folder of a descriptor, for the functions whose names end in "at".
std::string PathAt(int folder, const char* path) {
    const bool isWhole = *path == '/' || folder == AT_FDCWD;
    return isWhole ? path : "/proc/self/fd/" + std::to_string(folder) + "/" + path;
}

int Remove(const std::string& path, int (*remove)(const char*)) {
    const std::string resolved = Disk::Resolved(path.c_str());
    const int status = remove(path.c_str());
    if (status == 0) {
        Disk::Get().Removed(resolved, remove);
    }
    return status;
}

}  // namespace

// The functions of the C library by which mariadbd writes (`nm -D` lists them).

EXPORTED int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Opened(Next<int (*)(const char*, int, ...)>("open64")(path, flags, mode), flags);
}
EXPORTED int openat64(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Opened(Next<int (*)(int, const char*, int, ...)>("openat64")(folder, path, flags, mode),
                  flags);
}
EXPORTED int close(int fd) {
    Disk::Get().Closed(fd);
    return Next<int (*)(int)>("close")(fd);
}

EXPORTED ssize_t write(int fd, const void* bytes, size_t size) {
    const ssize_t written = Next<ssize_t (*)(int, const void*, size_t)>("write")(fd, bytes, size);
    if (written > 0) {
        if (const off_t end = lseek(fd, 0, SEEK_CUR); end >= written) {
            Disk::Get().Written(fd, end - written, written);
        }
    }
    return written;
}
EXPORTED ssize_t pwrite64(int fd, const void* bytes, size_t size, off_t offset) {
    const ssize_t written =
        Next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite64")(fd, bytes, size, offset);
    if (written > 0) {
        Disk::Get().Written(fd, offset, written);
    }
    return written;
}
EXPORTED int ftruncate64(int fd, off_t size) noexcept {
    const int status = Next<int (*)(int, off_t)>("ftruncate64")(fd, size);
    if (status == 0) {
        Disk::Get().Resized(fd, size, false);
    }
    return status;
}
EXPORTED int fallocate64(int fd, int mode, off_t offset, off_t size) {
    const int status = Next<int (*)(int, int, off_t, off_t)>("fallocate64")(fd, mode, offset, size);
    if (status == 0 && mode == 0) {
        Disk::Get().Resized(fd, offset + size, true);
    }
    return status;
}

EXPORTED int fsync(int fd) {
    Disk::Get().Synchronized(fd);
    return 0;
}
EXPORTED int fdatasync(int fd) {
    Disk::Get().Synchronized(fd);
    return 0;
}

EXPORTED void* mmap64(void* address, size_t size, int protection, int flags, int fd,
                      off_t offset) noexcept {
    void* const begin = Next<void* (*)(void*, size_t, int, int, int, off_t)>("mmap64")(
        address, size, protection, flags, fd, offset);
    if (begin != MAP_FAILED && fd >= 0 && (flags & MAP_SHARED) != 0 &&
        (protection & PROT_WRITE) != 0) {
        Disk::Get().Mapped(begin, size, fd, offset);
    }
    return begin;
}
EXPORTED int msync(void* begin, size_t size, int) {
    Disk::Get().MappingSynchronized(begin, size);
    return 0;
}

EXPORTED int rename(const char* from, const char* to) noexcept {
    const std::string before = Disk::Resolved(from);
    const std::string after = Disk::Resolved(to);
    const int status = Next<int (*)(const char*, const char*)>("rename")(from, to);
    if (status == 0) {
        Disk::Get().Renamed(before, after);
    }
    return status;
}
EXPORTED int unlink(const char* path) noexcept {
    return Remove(path, Next<int (*)(const char*)>("unlink"));
}
EXPORTED int unlinkat(int folder, const char* path, int flags) noexcept {
    return Remove(PathAt(folder, path),
                  Next<int (*)(const char*)>((flags & AT_REMOVEDIR) != 0 ? "rmdir" : "unlink"));
}
EXPORTED int rmdir(const char* path) noexcept {
    return Remove(path, Next<int (*)(const char*)>("rmdir"));
}
EXPORTED int mkdir(const char* path, mode_t mode) noexcept {
    const int status = Next<int (*)(const char*, mode_t)>("mkdir")(path, mode);
    if (status == 0) {
        Disk::Get().MadeFolder(Disk::Resolved(path), mode);
    }
    return status;
}
