#pragma once

#include <filesystem>
#include <string>

#include "cli/server/session.h"

namespace twupdate::cli {

/// What shows that the creation of the central database was interrupted or failed, and what to do
/// about it; empty if it is complete. A database with pending steps is not examined.
/// @param installFolder  shows whether the last table that a creation fills should have rows; empty
/// if unknown
std::string UnfinishedCore(const Session& session, const std::filesystem::path& installFolder);

}  // namespace twupdate::cli
