#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace twupdate::cli {

/// One end of a pipe or an open file; closed at the end of its life.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Descriptor& operator=(Descriptor&& other) noexcept;
    int Get() const { return fd_; }
    void Close();

  private:
    int fd_ = -1;
};

/// Writes all of the bytes; false, with errno set, when that fails.
bool WriteAll(int fd, std::string_view bytes);

struct Pipe {
    Descriptor out;  ///< to read from
    Descriptor in;   ///< to write into
    /// @throws CommandError
    static Pipe Make();
};

/// A program started without a shell. Its error output is this program's.
class ChildProcess {
  public:
    /// @param in, out  its standard input and output; -1: /dev/null
    /// @throws CommandError when it cannot be started
    ChildProcess(const std::vector<std::string>& arguments, int in, int out);
    ~ChildProcess();  ///< Ends it when it still runs.
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for its end.
    /// @throws CommandError when its status is not 0
    void Wait();

  private:
    std::string name_;
    pid_t pid_;
};

}  // namespace twupdate::cli
