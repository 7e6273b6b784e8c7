#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/check/finding.h"
#include "cli/run/parallel.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"
#include "twupdate_host/catalogue.h"
#include "twupdate_host/dry_host.h"

namespace twupdate::cli {

using host::DryStatement;
using host::StatementKind;

/// A site that an upgrade comes to.
struct PendingSite {
    std::int32_t siteId = 0;
    double version = 0;

    std::string Database() const { return "tw_" + std::to_string(siteId); }
};

/// The ladders of the central database, or those of a site, as they go on the dry host. The walk
/// of one site stands for all that are like it: of one version, one layout and one set of fields
/// of forms.
struct Walk {
    std::string database;                ///< that was walked
    std::vector<std::string> databases;  ///< that it stands for, itself among them
    std::vector<DryStatement> record;

    /// What ended it before its time.
    struct Failure {
        std::string step;
        host::TableName table;  ///< that was read last
        std::uint32_t code;     ///< of the server's error; 0: the component's own
        std::string text;
    };
    std::optional<Failure> failure;

    /// Says of one of the databases what holds for the one that was walked.
    void TellOf(const std::string& other, const CheckFinding& finding,
                std::vector<CheckFinding>& findings) const;
    /// Says it of all.
    void Tell(const CheckFinding& finding, std::vector<CheckFinding>& findings) const;
};

/// The name of a statement's step; empty outside the ladders.
std::string StepOf(const DryStatement& statement);

/// True for a statement that changes rows or tables.
bool Writes(const DryStatement& statement);

/// The text with the name of one database in the place of another's.
std::string WithDatabase(std::string text, const std::string& from, const std::string& to);

/// What is walked.
struct WalkScope {
    std::filesystem::path installFolder;
    std::string localHostName;
    std::optional<double> centralVersion;  ///< nothing: the central database is not upgraded
    std::vector<PendingSite> sites;
    std::vector<std::string> otherDatabases;  ///< that the central ladders come to
};

/// The layouts of the databases as they are stored, read in one go.
host::Catalogue ReadLayouts(const Session& session, const WalkScope& scope);

/// The walk of the central database where it is upgraded, then one for each kind of site.
/// @param sessions  of the jobs that walk
std::vector<Walk> WalkLadders(const JobSessions& sessions, const WalkScope& scope,
                              const host::Catalogue& stored, Console& console);

}  // namespace twupdate::cli
