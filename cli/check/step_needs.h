#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "cli/check/check_finding.h"

namespace twupdate::cli {

/// Where an upgrade first needs something.
struct FirstNeed {
    enum class Phase : std::uint8_t { kCentral, kSite };
    static constexpr int kNoStep = std::numeric_limits<int>::max();

    Phase phase = Phase::kSite;
    int place = kNoStep;    ///< of the step in the run of its ladders
    std::string step = {};  ///< empty: no step, as for the record of the version
    int order = 0;          ///< within the step
    bool dependsOnRows = false;

    /// What does not depend on rows comes before what does.
    bool IsBefore(const FirstNeed& other) const {
        return std::tuple(dependsOnRows, phase, place, order) <
               std::tuple(other.dependsOnRows, other.phase, other.place, other.order);
    }
};

/// What a step does that a setting of the server may refuse. Stands beside the rights.
inline constexpr std::string_view kWritesRows = "rows";
inline constexpr std::string_view kAddsIndex = "index";        ///< more than ALGORITHM=INSTANT
inline constexpr std::string_view kRebuildsTable = "rebuild";  ///< more than NOCOPY
inline constexpr std::string_view kCopiesTable = "copy";       ///< more than INPLACE
inline constexpr std::string_view kHasNoPrimaryKey = "no key";
inline constexpr std::string_view kHasEmptyDefault = "empty default";

/// The tables of a database for which each right, or something of the above, is needed.
using Needs = std::map<std::string_view, std::map<std::string, FirstNeed>>;

/// What is needed in one database, which may be the root site and a site to be upgraded as well. A
/// right is taken as needed when a pending step may use it, whatever the rows. "tw_%" stands for
/// logs that cannot be seen.
Needs NeedsOf(host::Connection& connection, const std::string& database,
              const std::vector<PendingDatabase>& pending);

/// The table at which something is needed first.
struct NeedAt {
    std::string database;
    std::string table;
    FirstNeed need;
};

/// Where an upgrade first needs one of these in any database; nothing when it needs none.
std::optional<NeedAt> FirstNeedOf(host::Connection& connection,
                                  const std::vector<PendingDatabase>& pending,
                                  const std::vector<std::string_view>& needs);

}  // namespace twupdate::cli
