#pragma once

#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <string>

#include "twupdate/ladder.h"
#include "twupdate/value.h"

namespace twupdate::test {

/// The current version as a server prints it: "1.0265", but "1.027" for 1.0270.
inline const std::string kCurrentStored = Value(kCurrentVersion).ToText();

/// The current version as the program prints it, with four decimals.
inline const std::string kCurrentShown = [] {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", kCurrentVersion);
    return std::string(text);
}();

/// How many steps of these ladders a database at `version` runs.
inline std::size_t PendingCount(std::initializer_list<Ladder> ladders, double version) {
    std::size_t count = 0;
    for (const Ladder ladder : ladders) {
        count += PendingSteps(ladder, version).size();
    }
    return count;
}

}  // namespace twupdate::test
