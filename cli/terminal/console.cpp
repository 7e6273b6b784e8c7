#include "cli/terminal/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

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

std::size_t Console::Width() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return 80;
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

void Console::DrawProgress(const std::vector<std::string>& parts) {
    if (!Interactive()) {
        return;
    }
    const std::string line = "\r\x1b[K" + FittingParts(parts, Width() - 1);
    const std::lock_guard lock(mutex_);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
    drawn_ = true;
}

void Console::ClearProgress() {
    const std::lock_guard lock(mutex_);
    Clear();
}

void Console::Clear() {
    if (drawn_) {
        std::fputs("\r\x1b[K", stdout);
        std::fflush(stdout);
        drawn_ = false;
    }
}

}  // namespace twupdate::cli
