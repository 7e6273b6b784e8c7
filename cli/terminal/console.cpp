#include "cli/terminal/console.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// @return 0, or why it could not be written
int PutLine(std::FILE* file, std::string_view line) {
    const bool written = std::fwrite(line.data(), 1, line.size(), file) == line.size() &&
                         std::fputc('\n', file) != EOF && std::fflush(file) == 0;
    return written ? 0 : errno;
}

}  // namespace

Console::Console(bool json, bool quiet)
    : json_(json), quiet_(quiet), terminal_(json || quiet ? Terminal::kNone : TerminalOfOutput()) {}

Console::~Console() {
    ClearProgress();
}

Console::Terminal Console::TerminalOfOutput() {
    if (isatty(STDOUT_FILENO) == 0) {
        return Terminal::kNone;
    }
    const char* name = std::getenv("TERM");
    const std::string_view term = name == nullptr ? "" : name;
    return term.empty() || term == "dumb" ? Terminal::kPlain : Terminal::kDrawable;
}

Console::Size Console::TerminalSize() {
    Size size;
    winsize known{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &known) == 0) {
        size.columns = known.ws_col > 0 ? known.ws_col : size.columns;
        size.lines = known.ws_row > 0 ? known.ws_row : size.lines;
    }
    return size;
}

void Console::Say(std::string_view line) {
    if (!quiet_ && !json_) {
        const std::lock_guard lock(mutex_);
        Clear();
        PutLine(stdout, line);
    }
}

void Console::Print(std::string_view line) {
    if (json_) {
        return;
    }
    const std::lock_guard lock(mutex_);
    Clear();
    PutResult(line);
}

void Console::PutResult(std::string_view line) {
    const int error = PutLine(stdout, line);
    if (outputError_ == 0 && error != EPIPE) {
        outputError_ = error;
    }
}

void Console::Result(const nlohmann::ordered_json& result) {
    if (json_) {
        const std::lock_guard lock(mutex_);
        // Names in the databases may contain any bytes; invalid UTF-8 must not end the program.
        PutResult(result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
    }
}

void Console::Warn(std::string_view line) {
    const std::lock_guard lock(mutex_);
    Clear();
    PutLine(stderr, MessageLines(std::string("warning: ").append(line)));
}

void Console::Error(std::string_view line) {
    const std::lock_guard lock(mutex_);
    Clear();
    PutLine(stderr, MessageLines(line));
}

void Console::DrawProgress(const std::vector<std::vector<std::string>>& lines) {
    if (!Interactive()) {
        return;
    }
    const Size size = TerminalSize();
    const std::size_t most = std::max<std::size_t>(size.lines, 2) - 1;
    const std::size_t shown = std::min(lines.size(), most);
    const std::lock_guard lock(mutex_);
    // Each line is erased behind its text alone, so that nothing flickers.
    std::string drawing = ToFirstLine(size);
    for (std::size_t i = 0; i < shown; ++i) {
        drawing += (i == 0 ? "" : "\n") + FittingParts(lines[i], size.columns - 1) + "\x1b[K";
    }
    if (shown < drawn_) {
        drawing += "\x1b[J";
    }
    std::fwrite(drawing.data(), 1, drawing.size(), stdout);
    std::fflush(stdout);
    drawn_ = shown;
    drawnAt_ = size;
}

std::string Console::ToFirstLine(Size size) const {
    // How a terminal of another size shows the old lines is not known: they stay, and new ones
    // begin below.
    return drawn_ > 1 && size == drawnAt_ ? fmt::format("\r\x1b[{}A", drawn_ - 1) : "\r";
}

void Console::ClearProgress() {
    const std::lock_guard lock(mutex_);
    Clear();
}

void Console::Clear() {
    if (drawn_ > 0) {
        const std::string erasing = ToFirstLine(TerminalSize()) + "\x1b[J";
        std::fwrite(erasing.data(), 1, erasing.size(), stdout);
        std::fflush(stdout);
        drawn_ = 0;
    }
}

}  // namespace twupdate::cli
