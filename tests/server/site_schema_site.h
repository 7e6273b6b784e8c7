#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/server_test.h"
#include "support/update_test_peer.h"

namespace twupdate::test {

/// Sites at version 1.0000 on the private server, and their way up the schema ladder alone.
class SiteSchemaOnServer : public ServerTest {
  protected:
    /// The tables that every site has, with a few rows.
    void MakeBareSite(std::int32_t siteId);
    /// All tables with a few rows, an older `ordercharge`, form 50 with a field of every type and
    /// two records, and the file of one of them.
    void MakeFullSite(std::int32_t siteId);
    /// A full site at 1.0224 with the rows of tables that came with the steps before.
    void MakeFullSiteAt_1_0224(std::int32_t siteId);
    void DropSite(std::int32_t siteId);

    /// Runs the schema ladder for a site at that version.
    void RunLadder(std::int32_t siteId, double version = 1.0,
                   std::shared_ptr<Utility> utility = nullptr);
    /// Runs the rungs whose threshold is not above that version, one by one.
    void RunRungsUpTo(std::int32_t siteId, double version);

    /// The expected schema of a folder `expected` beside the tests.
    static Schema Expected(const std::string& file);
    static std::string ExpectedFile(const std::string& name);

    /// The rows of a site without the ids of its feed parameters, which are recreated, with new
    /// ids, by every run.
    RowSnapshot RowsWithoutParameterIds(std::int32_t siteId);

  private:
    void AddCoreRows(const std::string& db);
    void AddOptionalRows(const std::string& db);
    void AddRecords(const std::string& db);
};

}  // namespace twupdate::test
