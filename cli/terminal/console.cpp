#include "cli/terminal/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

void PutLine(std::FILE* file, std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), file);
    std::fputc('\n', file);
    std::fflush(file);
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
    if (!quiet_) {
        Print(line);
    }
}

void Console::Print(std::string_view line) {
    if (json_) {
        return;
    }
    ClearProgress();
    PutLine(stdout, line);
}

void Console::Result(const nlohmann::ordered_json& result) const {
    if (json_) {
        // Names in the databases may hold any bytes; what is no UTF-8 must not end the program.
        PutLine(stdout, result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
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
