#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/replay.h"
#include "sample/installation.h"
#include "tests/support/temporary_folder.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/listener.h"
#include "twupdate_host/private_server.h"

namespace twupdate::bench {

/// A new folder in TMPDIR, which names the disk to be measured. It is removed with the object.
class DiskFolder : public test::TemporaryFolder {
  public:
    DiskFolder() : TemporaryFolder(std::filesystem::temp_directory_path()) {}
};

/// How a server is started that is as careful with the disk as any.
struct ServerSettings {
    std::vector<std::string> options = {};  ///< of mariadbd, e.g. "--sync-binlog=1"
    int fsyncMilliseconds = 0;              ///< that each fsync takes longer
    /// Its first eight bytes count the calls of fsync; empty: nobody counts.
    std::filesystem::path fsyncCount = {};
};

/// Starts a careful private server in the folder.
std::unique_ptr<host::PrivateServer> StartServer(const std::filesystem::path& folder,
                                                 const ServerSettings& settings);

/// Sites of every optional feature at 1.0000, on the disk, beside a current central database. They
/// can be put back as they were, as often as needed.
class OldSites {
  public:
    /// @param rows  in each of a site's large tables
    OldSites(std::int32_t sites, std::int32_t rows);

    /// Puts the data back as they were, and starts the server anew.
    void Restore(const ServerSettings& settings = {});
    /// What is done with a site.
    using Work = std::function<void(std::int32_t siteId, const std::shared_ptr<Utility>& host)>;
    /// Does the work once with all sites, each with a host of its own. @returns the statements of
    /// each
    std::vector<std::vector<Statement>> Record(const Work& work = Upgrade);
    /// Upgrades a site and records its version.
    static void Upgrade(std::int32_t siteId, const std::shared_ptr<Utility>& host);

    const std::vector<sample::SitePlan>& Plans() const { return plans_; }
    const host::PrivateServer& Server() const { return *server_; }
    std::filesystem::path InstallFolder() const { return options_.root / "update"; }
    std::shared_ptr<host::Connection> Connect() const;
    std::shared_ptr<Utility> MakeHost(
        std::shared_ptr<host::Connection> connection,
        std::shared_ptr<host::StatementListener> listener = nullptr) const;

  private:
    void Make(std::int32_t sites);

    DiskFolder folder_;
    std::filesystem::path data_ = folder_.Path() / "data";
    std::filesystem::path kept_ = folder_.Path() / "kept";
    sample::InstallationOptions options_;
    std::vector<sample::SitePlan> plans_;
    std::unique_ptr<host::PrivateServer> server_;
};

}  // namespace twupdate::bench
