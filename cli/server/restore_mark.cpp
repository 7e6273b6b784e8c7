#include "cli/server/restore_mark.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/server/server_errors.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/error.h"

namespace twupdate::cli {

std::string RestoreMarkStatement(const std::string& database) {
    return fmt::format("CREATE TABLE IF NOT EXISTS {}.unfinished_restore(since DATETIME NOT NULL);",
                       database);
}

void MarkForRestore(host::Connection& connection, const std::string& database) {
    try {
        connection.Execute(RestoreMarkStatement(database));
    } catch (const HostError& error) {
        if (error.Code() != kUnknownDatabase) {
            throw;
        }
    }
}

void RemoveRestoreMark(host::Connection& connection, const std::string& database) {
    connection.Execute(fmt::format("DROP TABLE IF EXISTS {}.unfinished_restore;", database));
}

std::vector<std::string> MarkedForRestore(Utility& utility) {
    const auto rows = utility.GetDatabase()->OpenRecordset(
        "SELECT table_schema AS name FROM information_schema.tables WHERE table_name = "
        "'unfinished_restore' AND table_schema LIKE 'tw\\_%';",
        0, 0);
    std::vector<std::string> names;
    for (; !rows->IsEOF(); rows->MoveNext()) {
        names.push_back(rows->Fields().Item("name").Value().ToText());
    }
    rows->Close();
    std::sort(names.begin(), names.end(), ComesBefore);
    return names;
}

void RefuseUnfinishedRestore(Utility& utility) {
    if (const auto names = MarkedForRestore(utility); !names.empty()) {
        throw CommandError(
            fmt::format("a restore of {} is unfinished\nhint: repeat the same restore",
                        fmt::join(names, ", ")));
    }
}

}  // namespace twupdate::cli
