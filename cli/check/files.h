#pragma once

#include <filesystem>
#include <vector>

#include "cli/check/finding.h"
#include "cli/check/walk.h"

namespace twupdate::cli {

/// The files of the installation as the user that runs the program meets them: templates that it
/// cannot read or that lead elsewhere, and what it cannot look into, write or replace in the
/// folders of the sites. A folder that is not there is no finding: nothing is copied from it.
void CheckFiles(const std::filesystem::path& installFolder, const std::vector<PendingSite>& sites,
                std::vector<CheckFinding>& findings);

/// Notes of the sites whose uploads will be measured: a folder that is a link out of the site's
/// folder, as to another volume. The files behind it stay without a size.
void NoteUploads(const std::filesystem::path& installFolder, const std::vector<Walk>& walks,
                 std::vector<std::string>& notes);

}  // namespace twupdate::cli
