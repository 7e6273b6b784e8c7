#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace twupdate::test {

/// How a run of the program ended and what it printed.
struct Outcome {
    int status = -1;  ///< exit status; 128 + the signal that ended it
    std::string out;
    std::string err;

    /// The standard output as JSON; a null value when it is none.
    nlohmann::json Json() const;
};

/// Who runs a program.
enum class RunAs : std::uint8_t {
    kSelf,
    kNobody,  ///< the user "nobody" where the tests run as root, whom no file's permissions stop
};

/// The program that was built.
std::filesystem::path BuiltProgram();

/// A program that runs in the background of a test. It is killed when it still runs at the end.
class Program {
  public:
    /// Starts twupdate with an environment that holds PATH and these variables alone.
    /// @param program  another file than the program that was built, e.g. a copy of it
    explicit Program(const std::vector<std::string>& arguments,
                     const std::map<std::string, std::string>& environment = {},
                     RunAs user = RunAs::kSelf,
                     const std::filesystem::path& program = BuiltProgram());
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    int Pid() const { return pid_; }
    void Signal(int signal) const;
    bool Running();
    /// Waits for the end.
    Outcome Wait();

  private:
    int pid_ = 0;
    int waitStatus_ = 0;
    bool ended_ = false;
    TemporaryFolder folder_;
};

/// Runs twupdate to its end.
Outcome RunProgram(const std::vector<std::string>& arguments,
                   const std::map<std::string, std::string>& environment = {},
                   RunAs user = RunAs::kSelf,
                   const std::filesystem::path& program = BuiltProgram());

/// Gives a file, or a folder with all that is in it, to the user of RunAs::kNobody.
void GiveToNobody(const std::filesystem::path& path);

/// Runs a program on a terminal of that width and kind; `out` holds all that appears on it.
Outcome RunOnTerminal(const std::vector<std::string>& arguments, unsigned short columns = 120,
                      const std::string& term = "xterm",
                      const std::filesystem::path& program = BuiltProgram());

std::string ContentOf(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, const std::string& content);
/// Each line of the file as JSON; fails the test for a line that is none.
std::vector<nlohmann::json> JsonLinesOf(const std::filesystem::path& file);

/// Waits until the condition holds, up to ten seconds.
bool WaitUntil(const std::function<bool()>& condition);

}  // namespace twupdate::test
