#include <fmt/format.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <map>
#include <optional>

#include "cli/check/check_finding.h"
#include "cli/check/step_needs.h"
#include "cli/server/queries.h"
#include "cli/server/server_version.h"

namespace twupdate::cli {
namespace {

using Kind = PendingDatabase::Kind;

/// Whether the paths that the server names are this machine's: the connection goes through a
/// socket, and no container gives the server a name of its own.
bool IsOnThisMachine(host::Connection& connection) {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    return connection.HostInfo().find("socket") != std::string::npos &&
           FirstCell(connection, "SELECT @@hostname;") == name.data();
}

std::optional<std::uint64_t> FreeOnThisMachine(const std::string& folder) {
    struct statvfs space {};
    if (statvfs(folder.c_str(), &space) != 0) {
        return std::nullopt;
    }
    return std::uint64_t{space.f_bavail} * space.f_frsize;
}

/// From the server's plugin `disks`, if it is there and the user may read it (right FILE).
std::optional<std::uint64_t> FreeFromServer(host::Connection& connection) {
    try {
        const std::string kilobytes =
            FirstCell(connection,
                      "SELECT available FROM information_schema.disks WHERE @@datadir LIKE "
                      "CONCAT(path, '%') ORDER BY LENGTH(path) DESC LIMIT 1;")
                .value_or("");
        return kilobytes.empty() ? std::nullopt
                                 : std::optional<std::uint64_t>(std::stoull(kilobytes) * 1024);
    } catch (const HostError&) {
        return std::nullopt;
    }
}

/// What makes the server write a table, or a key of it, anew.
std::vector<std::string_view> Rewrites(const ServerVersion& version) {
    if (version.AddsColumnsInstantly()) {
        return {kCopiesTable, kRebuildsTable, kAddsIndex};
    }
    return {"ALTER"};
}

struct TableSize {
    std::string database;
    std::string table;
    std::string step;
    std::uint64_t bytes = 0;
};

/// The largest of the tables that the upgrade writes anew.
TableSize LargestRewrittenTable(host::Connection& connection,
                                const std::vector<PendingDatabase>& pending) {
    const auto rewrites = Rewrites(ServerVersion::Of(connection));
    TableSize largest;
    for (const PendingDatabase& database : pending) {
        if (database.kind != Kind::kCentral && database.kind != Kind::kSite) {
            continue;
        }
        Needs needs = NeedsOf(connection, database.name, pending);
        std::map<std::string, FirstNeed> steps;
        for (const std::string_view rewrite : rewrites) {
            for (const auto& [table, need] : needs[rewrite]) {
                const auto known = steps.emplace(table, need).first;
                if (need.IsBefore(known->second)) {
                    known->second = need;
                }
            }
        }
        const auto rows = connection.Query(fmt::format(
            "SELECT table_name, data_length + index_length FROM information_schema.tables WHERE "
            "table_schema = '{}' AND table_type = 'BASE TABLE';",
            database.name));
        while (rows->Next()) {
            const std::string name = rows->Get(0).ToText();
            const std::uint64_t bytes =
                rows->Get(1).IsNull() ? 0 : std::stoull(rows->Get(1).ToText());
            const auto step = steps.find(name);
            if (bytes > largest.bytes && step != steps.end()) {
                largest = {database.name, name, step->second.step, bytes};
            }
        }
    }
    return largest;
}

std::string Megabytes(std::uint64_t bytes) {
    return fmt::format("{:.1f} MB", static_cast<double>(bytes) / 1e6);
}

}  // namespace

void CheckSpace(const Session& session, const std::vector<PendingDatabase>& pending,
                std::vector<CheckFinding>& findings, std::vector<std::string>& notes) {
    host::Connection& connection = *session.GetConnection();
    const TableSize largest = LargestRewrittenTable(connection, pending);
    if (largest.bytes == 0) {
        return;
    }
    const std::string folder = FirstCell(connection, "SELECT @@datadir;").value_or("");
    const auto free =
        IsOnThisMachine(connection) ? FreeOnThisMachine(folder) : FreeFromServer(connection);
    if (!free) {
        notes.push_back(fmt::format(
            "the free space of the server's data folder {} cannot be seen from here; the largest "
            "table to be changed, {}.{}, has {}, and a change that copies it needs as much again",
            folder, largest.database, largest.table, Megabytes(largest.bytes)));
    } else if (*free < largest.bytes) {
        findings.push_back(
            {largest.database, largest.table, largest.step,
             fmt::format("a change that copies the table needs {}, and the data folder {} has {} "
                         "free",
                         Megabytes(largest.bytes), folder, Megabytes(*free)),
             "make room"});
    }
}

}  // namespace twupdate::cli
