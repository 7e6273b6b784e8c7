#pragma once

#include <cstdint>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace twupdate::cli {

/// How a command ends, as the exit status of the program: what a scheduler decides on.
enum ExitCode : int {
    kDone = 0,
    kFailed = 1,  ///< and would fail again: the data, a privilege, the state of the installation
    kUsageError = 2,
    kFindings = 3,    ///< a check has found something
    kLocked = 4,      ///< another run is in progress, or the server refuses the run lock
    kStopped = 5,     ///< stopped between two statements as requested; the same command resumes
    kIncomplete = 6,  ///< done but for sites that have failed, each of which is named
    kTryAgain = 7,    ///< the server was not reached or went away, or a lock was not free in time
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
    /// The size of the terminal, 80 columns and 24 lines if unknown.
    struct Size {
        std::size_t columns = 80;
        std::size_t lines = 24;
        bool operator==(const Size&) const = default;
    };
    static Size TerminalSize();

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

    /// Draws the progress over the one before: a line for each list of parts, as FittingParts()
    /// returns them, as long as the terminal has room.
    void DrawProgress(const std::vector<std::vector<std::string>>& lines);
    void ClearProgress();

  private:
    enum class Terminal : std::uint8_t { kNone, kPlain, kDrawable };

    static Terminal TerminalOfOutput();
    void PutResult(std::string_view line);
    void Clear();
    /// Moves to the beginning of what was drawn.
    std::string ToFirstLine(Size size) const;

    bool json_;
    bool quiet_;
    Terminal terminal_;      ///< none where no progress is shown
    std::mutex mutex_;       ///< guards the two streams and what follows
    std::size_t drawn_ = 0;  ///< lines of progress
    Size drawnAt_;           ///< the terminal's size at that time
    int outputError_ = 0;
};

}  // namespace twupdate::cli
