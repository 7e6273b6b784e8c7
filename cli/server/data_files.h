#pragma once

#include <filesystem>
#include <string>

namespace twupdate::cli {

/// Reads every data file as the import will.
/// @param installFolder  the folder that contains `resources`
/// @returns why the import could not read one; empty when it can read all
std::string FaultOfDataFiles(const std::filesystem::path& installFolder);

/// The same before the first statement of a run, because the import empties a table before it opens
/// the file.
/// @throws CommandError with the fault
void RequireSoundDataFiles(const std::filesystem::path& installFolder);

}  // namespace twupdate::cli
