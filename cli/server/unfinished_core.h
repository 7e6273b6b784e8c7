#pragma once

#include <filesystem>
#include <string>

#include "cli/server/session.h"

namespace twupdate::cli {

/// What tells a central database whose creation was interrupted or failed from a finished one, and
/// what to do about it; empty when it is finished. One that ladders still have to bring up to date
/// is not looked at.
/// @param installFolder  tells whether the last table that a creation fills is meant to have rows;
///                       empty when it is not known
std::string UnfinishedCore(const Session& session, const std::filesystem::path& installFolder);

}  // namespace twupdate::cli
