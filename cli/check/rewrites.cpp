#include "cli/check/rewrites.h"

#include <fmt/format.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>

#include "cli/check/column_range.h"
#include "cli/server/queries.h"

namespace twupdate::cli {
namespace {

using Table = host::Catalogue::Table;
using Column = host::Catalogue::Column;

/// Whether a VARCHAR becomes longer and the length of a text stays as long as it is.
bool OnlyGrows(const Column& before, const Column& after) {
    constexpr std::uint64_t kOneByte = 255;
    const auto from = TextLength(before).value_or(0) * BytesOfCharacter(before.charset);
    const auto to = TextLength(after).value_or(0) * BytesOfCharacter(after.charset);
    return BaseType(before) == "varchar" && BaseType(after) == "varchar" &&
           before.charset == after.charset && from <= to && (from > kOneByte) == (to > kOneByte);
}

Rewrite RewriteOfColumn(const Column& before, const Column& after) {
    const bool same = before.type == after.type && before.charset == after.charset;
    if (before.autoIncrement != after.autoIncrement || !(same || OnlyGrows(before, after))) {
        return Rewrite::kCopy;
    }
    return before.nullable != after.nullable ? Rewrite::kRebuild : Rewrite::kNone;
}

bool IsPrimary(const host::Catalogue::Index& index) {
    return index.name == "PRIMARY";
}

Rewrite RewriteOfIndexes(const Table& before, const Table& after) {
    Rewrite most = Rewrite::kNone;
    const bool hadKey = before.FindIndex("PRIMARY") != nullptr;
    const bool hasKey = after.FindIndex("PRIMARY") != nullptr;
    if (hadKey != hasKey) {
        most = hasKey ? Rewrite::kRebuild : Rewrite::kCopy;
    }
    for (const auto& index : before.indexes) {
        if (after.FindIndex(index.name) == nullptr) {
            most = std::max(most, Rewrite::kIndex);
        }
    }
    for (const auto& index : after.indexes) {
        const auto* old = before.FindIndex(index.name);
        if (old != nullptr && old->parts == index.parts && old->unique == index.unique) {
            continue;
        }
        most = std::max(most, IsPrimary(index) ? Rewrite::kRebuild : Rewrite::kIndex);
    }
    return most;
}

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

/// From the server's plugin `disks`, if it is there and the user may read it (privilege FILE).
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

struct TableSize {
    std::string database;
    std::string table;
    std::string step;
    std::uint64_t bytes = 0;
};

/// The largest of the tables that the walks rewrite.
TableSize LargestRewrittenTable(host::Connection& connection, const std::vector<Walk>& walks) {
    const ServerVersion version = ServerVersion::Of(connection);
    TableSize largest;
    for (const Walk& walk : walks) {
        std::map<std::string, std::string> steps;  // the first one by table
        for (const DryStatement& statement : walk.record) {
            if (statement.target.database == walk.database &&
                RewriteOf(statement, version) > Rewrite::kNone) {
                steps.emplace(statement.target.table, StepOf(statement));
            }
        }
        if (steps.empty()) {
            continue;
        }
        std::string names;
        for (const auto& [table, step] : steps) {
            names += (names.empty() ? "'" : ", '") + table + "'";
        }
        for (const std::string& database : walk.databases) {
            const auto rows = connection.Query(
                fmt::format("SELECT table_name, data_length + index_length FROM "
                            "information_schema.tables WHERE table_schema = '{}' AND table_name "
                            "IN({});",
                            database, names));
            while (rows->Next()) {
                const std::string name = rows->Get(0).ToText();
                const std::uint64_t bytes =
                    rows->Get(1).IsNull() ? 0 : std::stoull(rows->Get(1).ToText());
                if (bytes > largest.bytes) {
                    largest = {database, name, steps[name], bytes};
                }
            }
        }
    }
    return largest;
}

std::string Megabytes(std::uint64_t bytes) {
    return fmt::format("{:.1f} MB", static_cast<double>(bytes) / 1e6);
}

}  // namespace

Rewrite RewriteOf(const DryStatement& statement, const ServerVersion& version) {
    if (statement.kind != StatementKind::kAlterTable || !statement.before || !statement.after) {
        return Rewrite::kNone;
    }
    const Table& before = *statement.before;
    const Table& after = *statement.after;
    Rewrite most = RewriteOfIndexes(before, after);
    bool sameColumns = before.columns.size() == after.columns.size();
    for (const Column& column : after.columns) {
        const Column* old = before.Find(column.name);
        sameColumns = sameColumns && old != nullptr;
        most = std::max(most, old != nullptr         ? RewriteOfColumn(*old, column)
                              : column.autoIncrement ? Rewrite::kRebuild
                                                     : Rewrite::kNone);
    }
    return sameColumns || version.AddsColumnsInstantly() ? most : std::max(most, Rewrite::kRebuild);
}

void CheckSpace(host::Connection& connection, const std::vector<Walk>& walks,
                std::vector<CheckFinding>& findings, std::vector<std::string>& notes) {
    const TableSize largest = LargestRewrittenTable(connection, walks);
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
