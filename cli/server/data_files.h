#pragma once

#include <filesystem>

namespace twupdate::cli {

/// Reads every data file as the import will, before the first statement of a run: the import
/// empties a table before it looks at the file.
/// @param installFolder  the folder in which `resources` lies
/// @throws CommandError when the import could not read one
void RequireSoundDataFiles(const std::filesystem::path& installFolder);

}  // namespace twupdate::cli
