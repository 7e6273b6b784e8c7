#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "cli/installation.h"
#include "cli/session.h"

namespace twupdate::cli {

/// Something that would make an upgrade fail.
struct CheckFinding {
    std::string database;  ///< empty when it concerns none
    std::string table;     ///< likewise
    std::string step;      ///< that would fail; empty when the run would not come that far
    std::string problem;
    std::string cure;

    /// One line: "tw_7.layoutzone: …, so SiteSchemaStep_1_0035 fails; …".
    std::string Text() const;
};

/// The server and the user: rights, another run in progress.
void CheckServer(const Session& session, const std::vector<std::string>& databases,
                 std::vector<CheckFinding>& findings);

/// The data files that the pending central steps import, against their format and against the
/// server's max_allowed_packet.
void CheckDataFiles(const Session& session, const std::filesystem::path& installFolder,
                    std::vector<CheckFinding>& findings);

/// The central database and tw_logs.
void CheckCentral(const Session& session, double version, std::vector<CheckFinding>& findings);

/// One site that the upgrade will come to.
void CheckSite(const Session& session, const SiteRow& site, std::vector<CheckFinding>& findings);

}  // namespace twupdate::cli
