#pragma once

#include <cstdint>
#include <vector>

#include "cli/run/progress_marks.h"
#include "cli/server/installation.h"
#include "cli/terminal/console.h"
#include "twupdate/update.h"

namespace twupdate::cli {

/// Sets the version of these sites to the one from which their upgrade resumes, with a message if
/// it is not the recorded one.
/// @returns those sites
std::vector<SiteRow> SetResumeVersions(const ProgressMarks& marks, std::vector<SiteRow>& sites,
                                       Console& console);

/// Upgrades each of these sites from the version in its row, and records the new one.
void UpgradeResumed(Update& update, Utility& host, ProgressMarks& marks,
                    const std::vector<SiteRow>& sites);

/// Records in the central database that a site is at the current version.
void RecordVersion(Utility& host, std::int64_t siteId);

}  // namespace twupdate::cli
