#include "cli/server/unfinished_core.h"

#include <fmt/format.h>

#include "cli/server/layout.h"
#include "cli/server/queries.h"
#include "cli/terminal/text.h"
#include "twupdate/ladder.h"

namespace twupdate::cli {
namespace {

/// What is missing; empty when nothing is.
std::string Missing(const Session& session, const Layout& layout,
                    const std::filesystem::path& installFolder) {
    host::Connection& connection = *session.GetConnection();
    if (!layout.tables.contains("installation")) {
        return "it has no table installation";
    }
    const auto version = connection.Query("SELECT version FROM tw_tarnwick.installation;");
    if (!version->Next()) {
        return "its table installation has no row";
    }
    const Value stored = version->Get(0);
    if (!stored.IsNumeric() || IsBelow(stored.ToDouble(), kCurrentVersion)) {
        return "";
    }
    for (const auto& [name, table] : CentralLayout().tables) {
        if (!layout.tables.contains(name)) {
            return "it has no table " + name;
        }
    }
    if (installFolder.empty()) {
        return "";
    }
    // The last import of a creation.
    std::error_code ignored;
    const auto data = installFolder / "resources" / "componenttypeData.txt";
    const bool hasData = std::filesystem::file_size(data, ignored) > 0 && !ignored;
    return hasData && !HasRows(connection, "SELECT 1 FROM tw_tarnwick.componenttype")
               ? "its table componenttype has no rows"
               : "";
}

}  // namespace

std::string UnfinishedCore(const Session& session, const std::filesystem::path& installFolder) {
    const Layout layout = ReadLayout(*session.GetConnection(), "tw_tarnwick");
    const std::string missing = Missing(session, layout, installFolder);
    if (missing.empty()) {
        return "";
    }
    const bool hasSites = HasRows(*session.GetConnection(), "SELECT 1 FROM tw_tarnwick.site");
    return fmt::format(
        "the central database tw_tarnwick is there, but not complete: {}; {}", missing,
        hasSites ? "it has sites, so bring it back from a backup"
                 : "after a create-core that failed drop it (DROP DATABASE tw_tarnwick) and run "
                   "create-core again, otherwise bring it back from a backup");
}

}  // namespace twupdate::cli
