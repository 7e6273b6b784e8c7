#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "twupdate/host.h"
#include "twupdate_host/component_services.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/listener.h"

namespace twupdate::host {

struct MariaDbUtilityOptions {
    /// See Utility::InstallFolder(); without one its default.
    std::optional<std::filesystem::path> installFolder = {};
    /// See Utility::LocalHostName(); without one its default.
    std::optional<std::string> localHostName = {};
    std::shared_ptr<twupdate::Observer> observer = {};  ///< may be null
    std::shared_ptr<StatementListener> listener = {};   ///< may be null
    ComponentServicesOptions services = {};
};

/// The reference host: everything goes over one connection, one statement after the other.
///
/// Recordsets and readers are buffered, so statements run while one is open. Integer columns give
/// integers (a BIGINT UNSIGNED beyond the 64-bit signed range gives text), FLOAT and DOUBLE give
/// doubles, everything else (DECIMAL, dates, times, text, BLOB) gives text.
///
///     auto connection = host::Connection::Open({.socket = "/run/mysqld/mysqld.sock"});
///     auto utility = std::make_shared<host::MariaDbUtility>(connection);
///     twupdate::Update update;
///     update.Configure(utility);
class MariaDbUtility : public Utility {
  public:
    explicit MariaDbUtility(std::shared_ptr<Connection> connection,
                            MariaDbUtilityOptions options = {});
    ~MariaDbUtility() override;

    std::shared_ptr<Database> GetDatabase() override;
    std::shared_ptr<ComponentHost> GetComponentHost() override;
    std::shared_ptr<CommandFactory> GetCommandFactory() override;
    std::filesystem::path InstallFolder() override;
    std::shared_ptr<twupdate::Observer> GetObserver() override;
    std::string LocalHostName() override;

    const std::shared_ptr<Connection>& GetConnection() const { return connection_; }
    const std::shared_ptr<ComponentServices>& GetServices() const { return services_; }

  private:
    std::shared_ptr<Connection> connection_;
    MariaDbUtilityOptions options_;
    std::shared_ptr<ComponentServices> services_;
    std::shared_ptr<Database> database_;
    std::shared_ptr<CommandFactory> commandFactory_;
};

}  // namespace twupdate::host
