#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "cli/server/session.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// Work on several things that do not depend on each other, such as the databases of sites.
struct ParallelWork {
    /// Does the one at this place. Jobs, numbered from 0, do so at the same time: each keeps what
    /// it finds at that place, and what it needs at the place of the job.
    std::function<void(unsigned job, std::size_t place)> work;
    /// Is told of each that is done, in the order of their places, one at a time. May be empty.
    std::function<void(std::size_t place)> done;
    /// Whether one more is begun; asked before each but the first. May be empty: yes.
    std::function<bool()> goesOn;
};

/// Does the work at the places 0 to `count` - 1; the calling thread is the first job. They are
/// begun in order, so that those that are done when it ends are the first ones.
/// @returns how many are done
/// @throws what the first of them in order has thrown, once all that were begun have ended; none is
///         begun after an error
std::size_t InParallel(unsigned jobs, std::size_t count, const ParallelWork& work);

/// A session for each of several jobs: the first is the command's own, each other one has a
/// connection of its own.
class JobSessions {
  public:
    /// @param session  must outlive this
    /// @param jobs     fewer, with a warning, if the server accepts no further connection
    /// @param count    of the things to work on, of which no job has less than one
    JobSessions(const Session& session, unsigned jobs, std::size_t count, Console& console);

    unsigned Count() const { return static_cast<unsigned>(others_.size()) + 1; }
    const Session& Of(unsigned job) const { return job == 0 ? session_ : *others_[job - 1]; }
    host::Connection& ConnectionOf(unsigned job) const { return *Of(job).GetConnection(); }

  private:
    const Session& session_;
    std::vector<std::unique_ptr<Session>> others_;
};

}  // namespace twupdate::cli
