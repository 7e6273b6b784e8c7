// What libFuzzer calls; each of its programs has one target.
#include <cstddef>
#include <cstdint>

#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    twupdate::test::FuzzTargets().front().read(
        {reinterpret_cast<const char*>(data), size});  // exceptions end the program
    return 0;
}
