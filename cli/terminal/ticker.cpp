#include "cli/terminal/ticker.h"

#include <chrono>
#include <csignal>
#include <utility>

namespace twupdate::cli {

Ticker::Ticker(std::function<void()> tick) : tick_(std::move(tick)) {
    // A thread begins with the signals blocked that its creator has blocked.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    thread_ = std::thread([this] { Run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Ticker::~Ticker() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void Ticker::Run() {
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, std::chrono::seconds(1), [this] { return ended_; })) {
        lock.unlock();
        tick_();
        lock.lock();
    }
}

}  // namespace twupdate::cli
