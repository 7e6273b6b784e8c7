#pragma once

#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace twupdate::test {

/// A folder for the redo log of a server whose data is in memory. In /dev/shm the server maps its
/// redo log into memory, whatever its settings say, and a kill may leave the log torn. On a disk it
/// writes the log; started WithoutWaits (without_waits.h), it is as fast.
class RedoLogFolder {
  public:
    std::vector<std::string> ServerOptions() const {
        return {"--innodb-log-group-home-dir=" + folder_.Path().string(),
                "--loose-innodb-log-file-buffering=ON"};
    }

  private:
    TemporaryFolder folder_{std::filesystem::temp_directory_path()};
};

}  // namespace twupdate::test
