#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace twupdate::cli {

/// Calls a function once a second from a thread of its own, for as long as it lives. Signals stay
/// with the other threads.
class Ticker {
  public:
    /// @param tick  must not throw, and must not destroy the ticker
    explicit Ticker(std::function<void()> tick);
    /// Waits for a call in progress.
    ~Ticker();
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

  private:
    void Run();

    std::function<void()> tick_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
    std::thread thread_;
};

}  // namespace twupdate::cli
