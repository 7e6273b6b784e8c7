#pragma once

#include <regex>
#include <string>
#include <vector>

namespace twupdate::test {

/// A kind of interruption that is known to leave harm which a repeat does not heal;
/// docs/recovery.md says what to do.
struct Harm {
    const char* what;
    std::regex statement;  ///< finds the statements before which an interruption does harm
};
const std::vector<Harm>& KnownHarms();

/// Whether an interruption before that statement is one of them.
bool IsKnownHarm(const std::string& statement);

}  // namespace twupdate::test
