#pragma once

#include <set>
#include <string>
#include <vector>

#include "cli/check/walk.h"

namespace twupdate::cli {

/// The databases that the user may not read, each a finding; they are not walked.
std::set<std::string> UnreadableDatabases(host::Connection& connection,
                                          const std::vector<std::string>& databases,
                                          std::vector<CheckFinding>& findings);

/// What the statements of a walk need on their tables and the user lacks, by SHOW GRANTS.
/// @param recordsVersion  the user must be able to record a site's version as well
void CheckPrivileges(host::Connection& connection, const std::vector<Walk>& walks,
                     bool recordsVersion, std::vector<CheckFinding>& findings);

/// What the account lacks for a run lock that is a lease.
void CheckLeasePrivileges(host::Connection& connection, std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
