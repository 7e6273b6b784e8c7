#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/export.h"
#include "twupdate/host.h"
#include "twupdate/ladder.h"

/// What an interruption of a step that does not simply run again leaves behind, and how it is put
/// right. These functions read, and write nothing.
namespace twupdate {

/// The column in which a conversion keeps the values of another between its statements. One that a
/// table has before a run is left over.
inline constexpr std::string_view kInterimColumn = "double_temp";

/// What is known about a step of one database besides what its tables show.
enum class StepHistory : std::uint8_t {
    kUnknown,      ///< nothing: only what cannot be explained otherwise counts
    kInterrupted,  ///< it began and did not end
    kNotRunning,   ///< it has not begun, or it has ended
};

/// The database in which a step ran.
struct SteppedDatabase {
    std::string name;         ///< e.g. "tw_7"
    std::string tablePrefix;  ///< of the central tables in it: "tw_" in a site's database
    double version = 0;       ///< the recorded one
};

/// Something that an interrupted step has left and that a repeat of the step does not see.
struct Leftover {
    std::string table;
    std::string seen;         ///< what the tables show
    std::string consequence;  ///< what comes of it when nothing is done
    /// What puts it right, in order; when it ends early it can be looked for and run again. No
    /// value is lost by it that is not stored elsewhere as well. Empty when that cannot be told:
    /// then a person must compare.
    std::vector<std::string> statements;
};

/// What a repeat of the step does after an interruption, as in "a repeat converts every charge
/// again"; empty for a step that is completed by running it again.
TWUPDATE_EXPORT std::string_view EffectOfRepeat(const LadderStep& step);

/// Looks for what an interruption of the step has left in a database.
/// @throws HostError
TWUPDATE_EXPORT std::vector<Leftover> FindLeftovers(Utility& host, const LadderStep& step,
                                                    const SteppedDatabase& database,
                                                    StepHistory history);

/// Looks for what an interrupted or failed Update::CreateCoreDb has left: a central database that
/// is not complete. One that is older than the current version is not looked at.
/// @param dataFolder  the folder of the reference data files, which tells whether rows are missing;
///                    empty when it is not known
/// @returns nothing when the database is complete, or when there is none
/// @throws HostError
TWUPDATE_EXPORT std::optional<Leftover> FindUnfinishedCreation(
    Utility& host, const std::filesystem::path& dataFolder);

}  // namespace twupdate
