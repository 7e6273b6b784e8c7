#include "cli/terminal/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
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

/// The text cut to so many columns.
std::string_view Fitting(std::string_view text, std::size_t columns) {
    std::size_t i = 0;
    std::size_t width = 0;
    while (i < text.size()) {
        const bool starts = (static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U;
        if (starts && width == columns) {
            break;
        }
        width += starts ? 1 : 0;
        ++i;
    }
    return text.substr(0, i);
}

}  // namespace

Console::Console(bool json, bool quiet)
    : json_(json), quiet_(quiet), interactive_(!json && !quiet && isatty(STDOUT_FILENO) == 1) {}

Console::~Console() {
    ClearProgress();
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
        ClearProgress();
        PutLine(stdout, line);
    }
}

void Console::Print(std::string_view line) {
    if (json_) {
        return;
    }
    ClearProgress();
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
        // Names in the databases may hold any bytes; what is no UTF-8 must not end the program.
        PutResult(result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
    }
}

void Console::Warn(std::string_view line) {
    ClearProgress();
    PutLine(stderr, std::string("twupdate: warning: ").append(line));
}

void Console::Error(std::string_view line) {
    ClearProgress();
    PutLine(stderr, std::string("twupdate: ").append(line));
}

void Console::DrawProgress(std::string_view line) {
    if (!interactive_) {
        return;
    }
    const std::string_view fitting = Fitting(line, Width() - 1);
    std::fputs("\r\x1b[K", stdout);
    std::fwrite(fitting.data(), 1, fitting.size(), stdout);
    std::fflush(stdout);
    drawn_ = true;
}

void Console::ClearProgress() {
    if (drawn_) {
        std::fputs("\r\x1b[K", stdout);
        std::fflush(stdout);
        drawn_ = false;
    }
}

}  // namespace twupdate::cli
