#pragma once

#include <memory>
#include <string>

#include "cli/server/options.h"
#include "cli/server/session.h"

namespace twupdate::cli {

/// The lock that makes a run the only one on its server. It lives on a connection of its own, so
/// that the server lets go of it when the program ends, in whatever way.
class RunLock {
  public:
    /// Takes the lock, unless --no-lock was given. Waits for it as long as --lock-wait says.
    /// @throws CommandError (exit 4) naming who holds it, or that the server refuses it
    RunLock(const Session& session, const GlobalOptions& options);

    /// The name under which the server knows it.
    static constexpr const char* kName = "twupdate.run";

  private:
    std::shared_ptr<host::Connection> connection_;
};

}  // namespace twupdate::cli
