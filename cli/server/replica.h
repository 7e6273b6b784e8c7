#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// A server that replicates the one on which a run works.
class Replica {
  public:
    /// @param name     HOST[:PORT], as the command line has it
    /// @param primary  whose account and TLS settings are used there too
    Replica(std::string name, host::ConnectionOptions primary);

    const std::string& Name() const { return name_; }

    /// How many seconds it is behind; nothing while it does not replicate.
    /// @throws HostError when it cannot be asked
    /// @throws CommandError when it is no replica
    std::optional<std::int64_t> Lag();

  private:
    std::string name_;
    host::ConnectionOptions options_;
    std::shared_ptr<host::Connection> connection_;
};

/// What is wrong with a text that should be HOST[:PORT]; empty when nothing is.
std::string FaultOfReplica(const std::string& text);

}  // namespace twupdate::cli
