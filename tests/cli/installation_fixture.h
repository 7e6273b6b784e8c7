#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/program.h"
#include "sample/layouts.h"
#include "support/redo_log_folder.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {

/// The private server of this test program, started when it is first asked for.
class CliServer {
  public:
    static CliServer& Get();
    host::PrivateServer& Server() { return *server_; }
    /// A connection as the root of the server in use, opened again after that was stopped.
    host::Connection& Root();
    void ForgetConnection() { root_.reset(); }
    /// How to sign in as that root.
    host::ConnectionOptions ConnectOptions();
    /// Another server is in use; without options it is the private one again.
    void UseInstead(std::optional<host::ConnectionOptions> other);
    /// Restarts the server on the same data, with these options of its own.
    void RestartWith(const std::vector<std::string>& options);
    /// Lets go of the server and its folder, before the program ends.
    void ShutDown();

  private:
    void Start(const std::vector<std::string>& options);

    std::unique_ptr<TemporaryFolder> folder_;
    std::unique_ptr<RedoLogFolder> redoLog_;
    std::unique_ptr<host::PrivateServer> server_;
    std::optional<host::ConnectionOptions> other_;
    std::shared_ptr<host::Connection> root_;
};

/// The server with options of its own for the time of a test.
class ServerOptions {
  public:
    explicit ServerOptions(const std::vector<std::string>& options) {
        CliServer::Get().RestartWith(options);
    }
    ~ServerOptions() { CliServer::Get().RestartWith({}); }
    ServerOptions(const ServerOptions&) = delete;
    ServerOptions& operator=(const ServerOptions&) = delete;
};

/// The folder of the server's plugins: the server's own, or the one that `./dev test` unpacks.
/// Empty where neither is there.
std::string PluginFolder();

/// A setting that the server gives new sessions, for the time of a test.
class GlobalSetting {
  public:
    GlobalSetting(const std::string& name, const std::string& value);
    ~GlobalSetting();
    GlobalSetting(const GlobalSetting&) = delete;
    GlobalSetting& operator=(const GlobalSetting&) = delete;

  private:
    std::string name_;
};

/// A test against the server: begins without any database of an installation.
class InstallationTest : public testing::Test {
  protected:
    /// One more connection to the server, as an application has it.
    static std::shared_ptr<host::Connection> Application() {
        CliServer::Get().Root();
        return host::Connection::Open(CliServer::Get().Server().ConnectOptions());
    }

    /// An application that has read the settings of a site and not ended its transaction: the
    /// first ALTER TABLE of that table waits for it.
    static std::shared_ptr<host::Connection> ReaderOfSite(std::int32_t site = 7) {
        auto reader = Application();
        reader->Execute("START TRANSACTION;");
        reader->Query("SELECT COUNT(*) FROM tw_" + std::to_string(site) + ".setting;");
        return reader;
    }

    /// How many connections have that state, as a text.
    static std::string Waiting(const std::string& state = "table metadata lock") {
        return Cell("SELECT COUNT(*) FROM information_schema.processlist WHERE state LIKE '%" +
                    state + "%';");
    }
    static bool SomebodyWaits(const std::string& state = "table metadata lock") {
        return Waiting(state) != "0";
    }

    InstallationTest();
    ~InstallationTest() override;

    // --- the installation --------------------------------------------------------------------

    /// The central database at 1.0000 with its components, and the logs database.
    void MakeCentralDatabase();
    /// A site as a row of tw_tarnwick.site, with the database that belongs to it at 1.0000.
    void MakeSite(std::int32_t siteId, const std::string& version = "1.0000",
                  const sample::Groups& groups = {});
    /// A site at 1.0262 whose one schema step, SiteSchemaStep_1_0264, the server refuses.
    void MakeSiteThatFails(std::int32_t siteId);
    /// A site at 1.0262 with the one table that its schema step alters.
    void MakeSmallSite(std::int32_t siteId);
    /// A nearly current installation with such sites.
    void MakeSmallSites(const std::vector<std::int32_t>& sites);
    /// An application that has read that table of such sites and not ended its transaction: a run
    /// that begins one of them waits.
    static std::shared_ptr<host::Connection> ReaderOfSmallSites(
        const std::vector<std::int32_t>& sites);
    /// Both; the application is `reader_`.
    void MakeSitesInUse(const std::vector<std::int32_t>& sites);
    /// The row alone.
    void MakeSiteRow(std::int32_t siteId, const std::string& version);
    /// An installation that has a short way to go: the central database as create-core makes it,
    /// set back to 1.0262, so that few steps are pending.
    void MakeNearlyCurrentInstallation();
    /// The database of a site that has come to the current version, and its row at `version`.
    void MakeUpgradedSite(std::int32_t siteId, const std::string& version,
                          const sample::Groups& groups = {});

    static void FillComponents();
    static void Execute(const std::string& sql);
    static std::string Cell(const std::string& sql);  ///< "NULL" for NULL, "(no row)" without one
    static std::string InstallationVersion();
    static std::string SiteVersion(std::int32_t siteId);
    /// The layout of a database and a checksum of every table in it.
    static std::string StateOf(const std::string& database);

    // --- the program -------------------------------------------------------------------------

    /// How to reach the server as root.
    static std::vector<std::string> Connect();
    /// Runs the program against the server; with --no-site-files where there are none,
    /// and with --no-services unless the arguments say what becomes of the calls.
    static Outcome Run(const std::vector<std::string>& arguments);
    static std::vector<std::string> With(const std::vector<std::string>& arguments);

    TemporaryFolder folder_;
    std::shared_ptr<host::Connection> reader_;
};

}  // namespace twupdate::test
