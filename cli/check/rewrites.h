#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/check/walk.h"
#include "cli/server/server_version.h"

namespace twupdate::cli {

/// What the server must write for a change of a table.
enum class Rewrite : std::uint8_t {
    kNone,     ///< ALGORITHM=INSTANT is enough
    kIndex,    ///< NOCOPY
    kRebuild,  ///< INPLACE
    kCopy,     ///< COPY
};

/// Of an ALTER TABLE, from what stands before and after it.
Rewrite RewriteOf(const DryStatement& statement, const ServerVersion& version);

/// The free space where the server keeps its data, against the largest table that is rewritten.
/// @param notes  receives a line when the space cannot be seen from here
void CheckSpace(host::Connection& connection, const std::vector<Walk>& walks,
                std::vector<CheckFinding>& findings, std::vector<std::string>& notes);

}  // namespace twupdate::cli
