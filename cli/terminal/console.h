#pragma once

#include <cstdint>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace twupdate::cli {

/// How a command ends, as the exit status of the program.
enum ExitCode : int {
    kDone = 0,
    kFailed = 1,
    kUsageError = 2,
    kFindings = 3,    ///< a check has found something
    kLocked = 4,      ///< another run is in progress, or the server refuses the run lock
    kStopped = 5,     ///< stopped between two statements as requested; the same command resumes
    kIncomplete = 6,  ///< done but for sites that have failed, each of which is named
};

/// What the program prints. Results go to the standard output, warnings and errors to the
/// standard error output. With --json the standard output holds one JSON object and nothing else;
/// with --quiet only the requested output is written to it. Threads may share it.
class Console {
  public:
    Console(bool json, bool quiet);
    ~Console();  ///< Leaves no half-drawn progress line behind.
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    bool Json() const { return json_; }
    bool Quiet() const { return quiet_; }
    /// True if a progress line may be drawn: the standard output is a terminal that can redraw a
    /// line.
    bool Interactive() const { return terminal_ == Terminal::kDrawable; }
    /// True if it is a terminal that accepts only plain lines (TERM=dumb).
    bool OnPlainTerminal() const { return terminal_ == Terminal::kPlain; }
    /// Columns of the terminal, 80 if unknown.
    static std::size_t Width();

    /// A line about progress; omitted with --json and --quiet.
    void Say(std::string_view line);
    /// A line of requested output; omitted only with --json.
    void Print(std::string_view line);
    /// The result, as the one JSON object of --json; nothing otherwise.
    void Result(const nlohmann::ordered_json& result);
    /// Why requested output could not be written, as a system error; 0 if all of it was, or if the
    /// reader closed the pipe.
    int OutputError() const { return outputError_; }
    /// A message: a line, and perhaps hints; see MessageLines.
    void Warn(std::string_view line);
    void Error(std::string_view line);

    /// Redraws the progress line with these parts, as FittingParts() returns them.
    void DrawProgress(const std::vector<std::string>& parts);
    void ClearProgress();

  private:
    enum class Terminal : std::uint8_t { kNone, kPlain, kDrawable };

    static Terminal TerminalOfOutput();
    void PutResult(std::string_view line);
    void Clear();

    bool json_;
    bool quiet_;
    Terminal terminal_;  ///< none where no progress is shown
    std::mutex mutex_;   ///< guards the two streams and what follows
    bool drawn_ = false;
    int outputError_ = 0;
};

}  // namespace twupdate::cli
