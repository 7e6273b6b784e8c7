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
    return fmt::format("the central database tw_tarnwick is incomplete: {}\nhint: {}",
                       unfinished->seen,
                       hasSites ? "it has sites: restore it from a backup"
                                : "after a failed create-core, drop it (DROP DATABASE tw_tarnwick) "
                                  "and run create-core again; otherwise restore it from a backup");
}

}  // namespace twupdate::cli
