#include "cli/server/unfinished_core.h"

#include <fmt/format.h>

#include "cli/server/queries.h"
#include "twupdate/interruption.h"

namespace twupdate::cli {
std::string UnfinishedCore(const Session& session, const std::filesystem::path& installFolder) {
    const auto unfinished = FindUnfinishedCreation(
        *session.Own(), installFolder.empty() ? installFolder : installFolder / "resources");
    if (!unfinished) {
        return "";
    }
    const bool hasSites = HasRows(*session.GetConnection(), "SELECT 1 FROM tw_tarnwick.site");
    return fmt::format(
        "the central database tw_tarnwick is there, but not complete: {}; {}", unfinished->seen,
        hasSites ? "it has sites, so bring it back from a backup"
                 : "after a create-core that failed drop it (DROP DATABASE tw_tarnwick) and run "
                   "create-core again, otherwise bring it back from a backup");
}

}  // namespace twupdate::cli
