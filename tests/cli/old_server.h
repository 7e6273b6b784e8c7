#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "cli/program.h"
#include "twupdate_host/connection.h"

namespace twupdate::test {

/// A real old server, MySQL 5.6, in the place of the private one for the time of a test. It begins
/// without databases and ends with the test program, even if that is killed.
class OldServer {
  public:
    /// Whether `./dev test` has fetched it.
    static bool IsThere();

    /// @param options  further options for mysqld, e.g. "--innodb-strict-mode=ON"
    /// @throws std::runtime_error when it does not come up
    explicit OldServer(const std::vector<std::string>& options = {});
    ~OldServer();
    OldServer(const OldServer&) = delete;
    OldServer& operator=(const OldServer&) = delete;

  private:
    host::ConnectionOptions ConnectOptions() const;
    void Kill() const;

    TemporaryFolder folder_;
    pid_t pid_ = 0;
};

}  // namespace twupdate::test
