#include "cli/run/stop_request.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <thread>

namespace twupdate::cli {
namespace {

std::atomic<bool> stopRequested = false;  // written by the handler, read by every job
static_assert(std::atomic<bool>::is_always_lock_free);
const char* volatile unitInHand = "statement";
volatile std::sig_atomic_t grace = 0;  // seconds

void Tell(const char* text) {
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, std::strlen(text));
}

void Request(int signal) {
    stopRequested = true;
    if (signal == SIGTERM && grace > 0) {
        alarm(static_cast<unsigned>(grace));
    }
    Tell("\ntwupdate: stopping after the current ");
    Tell(unitInHand);
    Tell("; repeat to stop at once\n");
}

void EndGrace(int /*signal*/) {
    Tell("\ntwupdate: the time of --grace is over; stopping at once\n");
    std::signal(SIGTERM, SIG_DFL);
    std::raise(SIGTERM);
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

StopSignals::StopSignals(const char* unit, unsigned graceSeconds) {
    unitInHand = unit;
    grace = static_cast<std::sig_atomic_t>(graceSeconds);
    Handle(SIGALRM, EndGrace);
    Handle(SIGINT, Request);
    Handle(SIGTERM, Request);
}

StopSignals::~StopSignals() {
    alarm(0);
    Handle(SIGALRM, SIG_DFL);
    Handle(SIGINT, SIG_DFL);
    Handle(SIGTERM, SIG_DFL);
}

bool StopSignals::Requested() {
    return stopRequested;
}

void PauseUnlessStopped(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds kLook{100};
    const auto end = std::chrono::steady_clock::now() + time;
    while (true) {
        if (StopSignals::Requested()) {
            throw StopRequested();
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left <= left.zero()) {
            return;
        }
        std::this_thread::sleep_for(std::min(left, kLook));
    }
}

}  // namespace twupdate::cli
