#include "bench/program.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace twupdate::bench {

ProgramRun RunProgram(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TWUPDATE_PROGRAM);
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);

    const auto began = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        execv(TWUPDATE_PROGRAM, words.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        throw std::runtime_error(fmt::format("failed: {}", fmt::join(arguments, " ")));
    }
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count(),
            static_cast<double>(usage.ru_maxrss) / 1024};
}

}  // namespace twupdate::bench
