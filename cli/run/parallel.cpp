#include "cli/run/parallel.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>

#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// One piece of parallel work while jobs are at it.
class Places {
  public:
    Places(std::size_t count, const ParallelWork& work)
        : work_(work), isDone_(count, false), errors_(count) {}

    void Work(unsigned job) {
        std::size_t place = 0;
        while (Next(place)) {
            try {
                work_.work(job, place);
                Done(place);
            } catch (...) {
                const std::lock_guard lock(mutex_);
                errors_[place] = std::current_exception();
                ending_ = true;
            }
        }
    }

    /// Once no job is at work.
    std::size_t End() {
        for (std::size_t place = 0; place < next_; ++place) {
            if (errors_[place]) {
                std::rethrow_exception(errors_[place]);
            }
        }
        return next_;
    }

  private:
    bool Next(std::size_t& place) {
        const std::lock_guard lock(mutex_);
        ending_ =
            ending_ || next_ == isDone_.size() || (next_ > 0 && work_.goesOn && !work_.goesOn());
        if (ending_) {
            return false;
        }
        place = next_++;
        return true;
    }

    void Done(std::size_t place) {
        const std::lock_guard lock(mutex_);
        isDone_[place] = true;
        for (; told_ < isDone_.size() && isDone_[told_]; ++told_) {
            if (work_.done) {
                work_.done(told_);
            }
        }
    }

    const ParallelWork& work_;
    std::mutex mutex_;  ///< guards what follows
    std::size_t next_ = 0;
    std::size_t told_ = 0;
    bool ending_ = false;
    std::vector<bool> isDone_;
    std::vector<std::exception_ptr> errors_;
};

}  // namespace

std::size_t InParallel(unsigned jobs, std::size_t count, const ParallelWork& work) {
    Places places(count, work);
    std::vector<std::thread> threads;
    for (unsigned job = 1; job < std::min<std::size_t>(jobs, count); ++job) {
        threads.emplace_back([&places, job] { places.Work(job); });
    }
    places.Work(0);
    for (std::thread& thread : threads) {
        thread.join();
    }
    return places.End();
}

JobSessions::JobSessions(const Session& session, unsigned jobs, std::size_t count, Console& console)
    : session_(session) {
    try {
        while (Count() < std::min<std::size_t>(jobs, count)) {
            others_.push_back(std::make_unique<Session>(session));
        }
    } catch (const CommandError& error) {
        console.Warn(fmt::format("no more than {} at a time: {}", cli::Count(Count(), "site"),
                                 error.what()));
    }
}

}  // namespace twupdate::cli
