#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "twupdate/export.h"

namespace twupdate {

/// The version that every completed upgrade records.
TWUPDATE_EXPORT extern const double kCurrentVersion;

/// The one test of every rung: strictly below, so that a version that is not a number is below
/// every threshold and runs everything.
constexpr bool IsBelow(double version, double threshold) {
    return !(version >= threshold);
}

enum class Ladder : std::uint8_t {
    kSiteSchema,   ///< tables and columns of a site database
    kSiteContent,  ///< stored data of a site database
    kServer,       ///< first run on the central database: its tables and columns
    kServerData,   ///< second run on the central database: its data
};

/// "site schema", "site content", "server" or "server data".
TWUPDATE_EXPORT std::string_view LadderName(Ladder ladder);

/// One rung of a ladder, for people and tools.
struct LadderStep {
    Ladder ladder;
    std::int32_t number;           ///< position in its ladder, from 1
    double threshold;              ///< runs when the version is strictly below
    std::string_view name;         ///< e.g. "SiteSchemaStep_1_0001"
    std::string_view description;  ///< what it does, in one line
    bool repeatable;  ///< false: run again after an interruption, it leaves something wrong
};

/// All rungs of a ladder, in the order in which they run. The data lives as long as the program.
TWUPDATE_EXPORT std::span<const LadderStep> LadderSteps(Ladder ladder);

/// The rungs that a database at `version` would run, in order.
TWUPDATE_EXPORT std::vector<LadderStep> PendingSteps(Ladder ladder, double version);

}  // namespace twupdate
