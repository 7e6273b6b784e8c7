#include "cli/program.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

std::vector<char*> Pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

constexpr uid_t kNobody = 65534;
constexpr gid_t kNogroup = 65534;

/// In the child: drops root's privileges, if it has them.
void BecomeNobody() {
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(kNogroup) != 0 || setuid(kNobody) != 0)) {
        _exit(125);
    }
}

/// In the child: becomes the program.
[[noreturn]] void Become(std::vector<std::string> arguments,
                         const std::map<std::string, std::string>& environment,
                         RunAs user = RunAs::kSelf, const fs::path& program = BuiltProgram()) {
    std::vector<std::string> variables;
    if (!environment.contains("PATH")) {
        const char* path = std::getenv("PATH");
        variables.push_back(std::string("PATH=") + (path == nullptr ? "" : path));
    }
    for (const auto& [name, value] : environment) {
        variables.push_back(name + "=" + value);
    }
    arguments.insert(arguments.begin(), program.string());
    if (user == RunAs::kNobody) {
        // Opened before: the folders above the program may be root's alone.
        const int file = open(program.c_str(), O_PATH | O_CLOEXEC);
        BecomeNobody();
        fexecve(file, Pointers(arguments).data(), Pointers(variables).data());
    } else {
        execve(program.c_str(), Pointers(arguments).data(), Pointers(variables).data());
    }
    _exit(127);
}

int ExitStatus(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

void Redirect(int from, const fs::path& file) {
    const int to = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (to < 0 || dup2(to, from) < 0) {
        _exit(126);
    }
}

}  // namespace

nlohmann::json Outcome::Json() const {
    return nlohmann::json::accept(out) ? nlohmann::json::parse(out) : nlohmann::json();
}

fs::path BuiltProgram() {
    return TWUPDATE_PROGRAM;
}

Program::Program(const std::vector<std::string>& arguments,
                 const std::map<std::string, std::string>& environment, RunAs user,
                 const fs::path& program) {
    pid_ = fork();
    if (pid_ == 0) {
        Redirect(STDIN_FILENO, folder_ / "in");
        Redirect(STDOUT_FILENO, folder_ / "out");
        Redirect(STDERR_FILENO, folder_ / "err");
        Become(arguments, environment, user, program);
    }
}

Program::~Program() {
    if (Running()) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &waitStatus_, 0);
    }
}

void Program::Signal(int signal) const {
    kill(pid_, signal);
}

bool Program::Running() {
    if (!ended_) {
        ended_ = waitpid(pid_, &waitStatus_, WNOHANG) != 0;
    }
    return !ended_;
}

Outcome Program::Wait() {
    if (!ended_) {
        waitpid(pid_, &waitStatus_, 0);
        ended_ = true;
    }
    return {ExitStatus(waitStatus_), ContentOf(folder_ / "out"), ContentOf(folder_ / "err")};
}

Outcome RunProgram(const std::vector<std::string>& arguments,
                   const std::map<std::string, std::string>& environment, RunAs user,
                   const fs::path& program) {
    return Program(arguments, environment, user, program).Wait();
}

void GiveToNobody(const fs::path& path) {
    if (geteuid() != 0) {
        return;  // it is the tests' own
    }
    const auto give = [](const fs::path& one) {
        if (lchown(one.c_str(), kNobody, kNogroup) != 0) {
            throw std::runtime_error("cannot give away " + one.string());
        }
    };
    give(path);
    if (fs::is_directory(path)) {
        for (const auto& entry : fs::recursive_directory_iterator(path)) {
            give(entry.path());
        }
    }
}

Outcome RunOnTerminal(const std::vector<std::string>& arguments, unsigned short columns,
                      const std::string& term, const fs::path& program) {
    winsize size{};
    size.ws_row = 25;
    size.ws_col = columns;
    int terminal = -1;
    const int pid = forkpty(&terminal, nullptr, nullptr, &size);
    if (pid == 0) {
        Become(arguments, {{"TERM", term}}, RunAs::kSelf, program);
    }
    Outcome outcome;
    char buffer[4096];
    for (ssize_t got = 0; (got = read(terminal, buffer, sizeof buffer)) > 0;) {
        outcome.out.append(buffer, static_cast<std::size_t>(got));
    }
    int waitStatus = 0;
    waitpid(pid, &waitStatus, 0);
    close(terminal);
    outcome.status = ExitStatus(waitStatus);
    return outcome;
}

std::string ContentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

void WriteFile(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

std::vector<nlohmann::json> JsonLinesOf(const fs::path& file) {
    std::vector<nlohmann::json> lines;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        if (nlohmann::json::accept(line)) {
            lines.push_back(nlohmann::json::parse(line));
        } else {
            ADD_FAILURE() << "no JSON: " << line;
        }
    }
    return lines;
}

bool WaitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace twupdate::test
