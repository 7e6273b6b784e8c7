#include "cli/child_process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "cli/failure.h"

namespace twupdate::cli {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Close();
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

void Descriptor::Close() {
    if (fd_ >= 0) {
        close(std::exchange(fd_, -1));
    }
}

bool WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

Pipe Pipe::Make() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw CommandError(fmt::format("cannot make a pipe: {}", std::strerror(errno)));
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

ChildProcess::ChildProcess(std::vector<std::string> arguments, int in, int out)
    : name_(arguments.front()) {
    std::vector<char*> words;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    const Descriptor null(open("/dev/null", O_RDWR | O_CLOEXEC));
    pid_ = fork();
    if (pid_ < 0) {
        throw CommandError(fmt::format("cannot start {}: {}", name_, std::strerror(errno)));
    }
    if (pid_ == 0) {
        // A Ctrl-C on the terminal is for the run to heed, between two statements.
        setpgid(0, 0);
        dup2(in < 0 ? null.Get() : in, STDIN_FILENO);
        dup2(out < 0 ? null.Get() : out, STDOUT_FILENO);
        execvp(words[0], words.data());
        const std::string line =
            fmt::format("twupdate: cannot start {}: {}\n", name_, std::strerror(errno));
        [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
        _exit(127);
    }
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
}

void ChildProcess::Wait() {
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    if (WIFSIGNALED(status)) {
        throw CommandError(fmt::format("{} was ended by signal {}", name_, WTERMSIG(status)));
    }
    if (WEXITSTATUS(status) != 0) {
        throw CommandError(fmt::format("{} ended with status {}", name_, WEXITSTATUS(status)));
    }
}

}  // namespace twupdate::cli
