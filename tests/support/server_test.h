#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "sample/layouts.h"
#include "sample/older_host.h"
#include "support/faulty_utility.h"
#include "support/snapshot.h"
#include "twupdate/update.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {

/// A test on a real server. All tests of a program share one private server, started when the
/// first of them needs it; every test starts without any database of the platform.
///
///     class ChargeConversion : public ServerTest {};
///
///     TEST_F(ChargeConversion, KeepsTheNameOfACharge) {
///         LoadSite(7, {Group::kShop, Group::kCharges});
///         Sql("INSERT INTO tw_7.charge(chargeid, name) VALUES(1, 'O''Neill');");
///         const auto before = RowsOf("tw_7");
///         Upgrade(7, 1.0);
///         EXPECT_THAT(Rows("SELECT groupid, name FROM tw_7.chargegroup"),
///                     ElementsAre("1 | O'Neill"));
///         EXPECT_TRUE(OnlyTheseRowsChanged(before, RowsOf("tw_7"), {…}));
///     }
///
/// One step alone: RunStep("SiteContentStep_1_0007", 7) after LoadSite(7, groups,
/// {1.0007, 1.0006}), a site whose schema has come to 1.0007 and whose content to 1.0006.
class ServerTest : public testing::Test {
  protected:
    using Group = sample::Group;
    using Groups = sample::Groups;
    using Age = sample::Age;

    ServerTest();
    ~ServerTest() override;

    // --- the server -----------------------------------------------------------------------

    /// The program's server.
    static host::PrivateServer& Server();
    /// The test's connection and host; recreated by Reconnect().
    const std::shared_ptr<host::MariaDbUtility>& Host() const { return host_; }
    /// Opens a new connection, e.g. after Server().Kill() and Server().Start().
    /// @param sqlMode  empty: the server's default, which is strict
    void Reconnect(const std::string& sqlMode = "");
    /// A faulty host around a connection of the test's own; see FaultyUtility.
    std::shared_ptr<FaultyUtility> Faulty() const;

    // --- the installation's files -----------------------------------------------------------

    /// An empty folder of the test's own: the installation root.
    const std::filesystem::path& Root() const { return root_; }
    /// The component's folder below it, with the `resources` of the source tree.
    std::filesystem::path InstallFolder() const { return root_ / "update"; }
    /// Writes a file below the root, with the folders it needs.
    void WriteFile(const std::filesystem::path& path, const std::string& content) const;
    /// The content of a file below the root. @throws std::runtime_error when there is none
    std::string ReadFile(const std::filesystem::path& path) const;

    // --- databases ----------------------------------------------------------------------------

    /// The central database at a version, with its installation row. At versions above 1.0000
    /// its steps have run.
    void LoadCentral(double version = 1.0);
    /// The site's log table (and `tw_logs`).
    void LoadLogs(std::int32_t siteId);
    /// A site database without rows, brought to `age`, and its row in tw_tarnwick.site with the
    /// lower of the two versions. The central database is loaded at 1.0000 where it is missing.
    void LoadSite(std::int32_t siteId, const Groups& groups = sample::AllGroups(), Age age = {});
    /// One field of a form.
    struct FormField {
        std::int32_t id;
        std::string type;
        std::int32_t options = 0;
        std::int32_t targetForm = 0;
    };
    /// A form: its `form` row, its `formfield` rows and its data table, as at 1.0000.
    void LoadForm(std::int32_t siteId, std::int32_t featureId, const std::vector<FormField>& fields,
                  bool secureFiles = false);
    /// The `tw_`-prefixed copies of the central tables in a site's database, at 1.0000.
    void LoadImportedMasterData(std::int32_t siteId);

    /// Drops every database of the platform, as before each test.
    void DropDatabases();

    /// Runs the statements of a script.
    void Sql(const std::string& script);
    /// The rows of a query, each as its values with " | " between them; NULL is NULL.
    std::vector<std::string> Rows(const std::string& query);
    /// The one value of a query as text. @throws when it has not one row and one column
    std::string Cell(const std::string& query);

    Schema SchemaOf(const std::string& database);
    RowSnapshot RowsOf(const std::string& database);

    // --- upgrading
    // --------------------------------------------------------------------------------

    void SetSiteVersion(std::int32_t siteId, double version);
    void SetInstallationVersion(double version);
    /// UpdateSite on the test's host, or on another.
    void Upgrade(std::int32_t siteId, double from, std::shared_ptr<Utility> utility = nullptr);
    /// UpdateServer on the test's host, or on another, from the version that is stored.
    void UpgradeInstallation(std::shared_ptr<Utility> utility = nullptr);
    /// One step by its name: a site step, or a server step on the central database (siteId 0) or
    /// on a site's copies of its tables.
    void RunStep(const std::string& name, std::int32_t siteId,
                 std::shared_ptr<Utility> utility = nullptr);

    const sample::Layouts& Layouts() const { return layouts_; }
    /// True when the environment variable TWUPDATE_SOAK is 1: every case, however long it takes.
    static bool Soak();

  private:
    std::shared_ptr<Utility> HostOr(std::shared_ptr<Utility> utility) const;

    sample::Layouts layouts_;
    std::filesystem::path root_;
    std::shared_ptr<host::MariaDbUtility> host_;
};

}  // namespace twupdate::test
