#include "cli/server/child_process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "cli/terminal/failure.h"

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
        throw CommandError(fmt::format("cannot create a pipe: {}", std::strerror(errno)));
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

namespace {

/// Starts the program that the first argument names; -1 stands for /dev/null.
pid_t Start(std::vector<std::string> arguments, int in, int out) {
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    const Descriptor null(open("/dev/null", O_RDWR | O_CLOEXEC));
    const pid_t pid = fork();
    if (pid < 0) {
        throw CommandError(fmt::format("cannot start {}: {}", words[0], std::strerror(errno)));
    }
    if (pid == 0) {
        // A Ctrl-C on the terminal is for the run to heed, between two statements.
        setpgid(0, 0);
        std::signal(SIGPIPE, SIG_DFL);
        dup2(in < 0 ? null.Get() : in, STDIN_FILENO);
        dup2(out < 0 ? null.Get() : out, STDOUT_FILENO);
        execvp(words[0], words.data());
        const std::string line =
            fmt::format("twupdate: cannot start {}: {}\n", words[0], std::strerror(errno));
        [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
        _exit(127);
    }
    return pid;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, int in, int out)
    : name_(arguments.front()), pid_(Start(arguments, in, out)) {}

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
