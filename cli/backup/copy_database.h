#pragma once

#include <string>
#include <vector>

#include "cli/backup/dump.h"

namespace twupdate::cli {

/// What of a database is copied beside its tables and triggers.
struct CopyScope {
    bool rows = true;
    bool routines = true;
    std::vector<std::string> leftOut;  ///< tables or views of the database
};

/// Copies a database from one server to another, through a pipe. The source is only read.
/// @throws CommandError
void CopyDatabase(const ClientOptionFile& from, const ClientOptionFile& to,
                  const std::string& database, const CopyScope& scope);

}  // namespace twupdate::cli
