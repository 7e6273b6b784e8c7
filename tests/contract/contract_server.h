#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {

/// One private server for all tests of a program, in a folder of its own that goes with it.
class ContractServer {
  public:
    static host::PrivateServer& Get() {
        static ContractServer server;
        return server.server_;
    }

  private:
    ContractServer() = default;

    TemporaryFolder folder_;
    host::PrivateServer server_{folder_.Path() / "server", {.fast = true, .serverOptions = {}}};
};

/// A new connection, with an empty table of components.
inline std::shared_ptr<host::Connection> ConnectForContract() {
    auto connection = host::Connection::Open(ContractServer::Get().ConnectOptions());
    connection->Execute("CREATE DATABASE IF NOT EXISTS tw_tarnwick");
    connection->Execute(
        "CREATE OR REPLACE TABLE tw_tarnwick.component(componentid INT DEFAULT 0 NOT NULL, "
        "componentname VARCHAR(255), foldername VARCHAR(50), PRIMARY KEY(componentid))");
    return connection;
}

inline void StoreComponent(host::Connection& connection, std::int32_t id, const std::string& name,
                           const std::string& folder) {
    connection.ExecutePrepared("INSERT INTO tw_tarnwick.component VALUES(?, ?, ?)",
                               std::vector<Value>{id, name, folder});
}

}  // namespace twupdate::test
