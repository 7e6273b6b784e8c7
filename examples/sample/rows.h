#pragma once

#include <string>
#include <vector>

#include "sample/installation.h"
#include "sample/random.h"

/// What installation.cpp is made of.
namespace twupdate::sample {

/// A site's name and its domain, as all its rows and files call it.
std::string SiteName(const InstallationOptions& options, std::int32_t siteId);
std::string SiteDomain(std::int32_t siteId);

/// The source of what is made up for one site and purpose: adding rows to one table does not
/// change what another table gets.
Random RandomFor(const InstallationOptions& options, std::int32_t siteId, std::uint64_t purpose);

/// Executes the statements one by one.
void Run(Utility& host, const std::vector<std::string>& statements);

/// The rows of the central database.
void AddCentralRows(Utility& host, const InstallationOptions& options,
                    const std::vector<SitePlan>& sites);
/// The rows of a site at 1.0000: those with fixed ids and those in bulk.
void AddSiteRows(Utility& host, const InstallationOptions& options, const Layouts& layouts,
                 const SitePlan& plan);
/// The rows in tables and columns that the site's steps have added.
void AddLaterSiteRows(Utility& host, const InstallationOptions& options, const SitePlan& plan);
/// The rows of the site's web log.
void AddLogRows(Utility& host, const InstallationOptions& options, const SitePlan& plan);

/// A section of a file of rows and what it needs: `-- group: forum` or `-- since: 1.0210 feeds`.
struct RowSection {
    double since = 1.0;
    std::vector<std::string> groups;
    std::vector<std::string> statements;
};

/// Reads a file of rows, filling in the site's id, name and domain.
std::vector<RowSection> ReadRows(const InstallationOptions& options, const std::string& file,
                                 std::int32_t siteId);

/// The uploaded file of a catalogue record of the bulk, below the site's folder; empty for the
/// records that have none. Of those that have one, every third file has been lost.
std::string UploadedFile(std::int32_t replyId);
bool IsLost(std::int32_t replyId);

/// The commission of the bulk with that id, and when it was earned: what the site pays the
/// affiliate for order `commissionId`. The central database holds the payments.
double CommissionAmount(std::int32_t commissionId);
std::string CommissionDate(std::int32_t commissionId);
/// The user who earned it: every affiliate of the bulk has some twenty.
std::int32_t CommissionUser(std::int32_t commissionId);

inline constexpr std::int32_t kFirstBulkId = 1001;

}  // namespace twupdate::sample
