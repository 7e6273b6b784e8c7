#include "cli/run/stop_request.h"

#include <unistd.h>

#include <csignal>

namespace twupdate::cli {
namespace {

volatile std::sig_atomic_t stopRequested = 0;

void Request(int /*signal*/) {
    stopRequested = 1;
    constexpr char kLine[] =
        "\ntwupdate: stopping after the statement in hand; once more stops at once\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, kLine, sizeof kLine - 1);
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    // The statement in hand goes on; the second signal finds the system's own action.
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

StopSignals::StopSignals() {
    Handle(SIGINT, Request);
    Handle(SIGTERM, Request);
}

StopSignals::~StopSignals() {
    Handle(SIGINT, SIG_DFL);
    Handle(SIGTERM, SIG_DFL);
}

bool StopSignals::Requested() {
    return stopRequested != 0;
}

}  // namespace twupdate::cli
