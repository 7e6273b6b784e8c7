#pragma once

#include <cstdlib>

namespace twupdate::test {

/// While it lives, programs are started with a library by which they never wait for a disk. Where
/// that is not installed, the loader says so and they wait.
class WithoutWaits {
  public:
    WithoutWaits() { setenv("LD_PRELOAD", "libeatmydata.so.1", 1); }
    ~WithoutWaits() { unsetenv("LD_PRELOAD"); }
    WithoutWaits(const WithoutWaits&) = delete;
    WithoutWaits& operator=(const WithoutWaits&) = delete;
};

}  // namespace twupdate::test
