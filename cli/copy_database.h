#pragma once

#include <string>

#include "cli/dump.h"

namespace twupdate::cli {

/// Copies a database from one server to another, through a pipe. The source is only read.
/// @param schemaOnly  the tables without their rows
/// @throws CommandError
void CopyDatabase(const ClientOptionFile& from, const ClientOptionFile& to,
                  const std::string& database, bool schemaOnly);

}  // namespace twupdate::cli
