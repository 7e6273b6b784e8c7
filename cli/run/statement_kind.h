#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string_view>

namespace twupdate::cli {

/// What a statement costs a server: what changes tables is written to its log of such changes, one
/// statement after the other for all connections.
enum class StatementKind : std::uint8_t {
    kTableChange,  ///< ALTER, CREATE, DROP, RENAME, TRUNCATE
    kWrite,        ///< of rows
    kRead,         ///< all others
};
constexpr std::size_t kStatementKinds = 3;

StatementKind KindOf(std::string_view sql);

/// As the events name it: "ddl", "write", "read".
const char* KindName(StatementKind kind);

struct KindTotal {
    std::uint64_t statements = 0;
    std::chrono::nanoseconds time{0};
};
using KindTotals = std::array<KindTotal, kStatementKinds>;

}  // namespace twupdate::cli
