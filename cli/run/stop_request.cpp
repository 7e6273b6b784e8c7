#include "cli/run/stop_request.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstring>

namespace twupdate::cli {
namespace {

std::atomic<bool> stopRequested = false;  // written by the handler, read by every job
static_assert(std::atomic<bool>::is_always_lock_free);
const char* volatile unitInHand = "statement";

void Tell(const char* text) {
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, std::strlen(text));
}

void Request(int /*signal*/) {
    stopRequested = true;
    Tell("\ntwupdate: stopping after the current ");
    Tell(unitInHand);
    Tell("; repeat to stop at once\n");
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    // The current statement goes on; the second signal finds the system's own action.
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

StopSignals::StopSignals(const char* unit) {
    unitInHand = unit;
    Handle(SIGINT, Request);
    Handle(SIGTERM, Request);
}

StopSignals::~StopSignals() {
    Handle(SIGINT, SIG_DFL);
    Handle(SIGTERM, SIG_DFL);
}

bool StopSignals::Requested() {
    return stopRequested;
}

}  // namespace twupdate::cli
