#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "cli/server/options.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/console.h"
#include "cli/terminal/failure.h"
#include "twupdate/host.h"
#include "twupdate_host/batching_utility.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

namespace twupdate::cli {

/// A connection could not be opened.
class CannotConnect : public CommandError {
  public:
    /// @param serverCode  the server's or the client library's error number
    CannotConnect(const std::string& line, std::uint32_t serverCode)
        : CommandError(line, MayPass(serverCode) ? kTryAgain : kFailed), serverCode_(serverCode) {}
    std::uint32_t ServerCode() const noexcept { return serverCode_; }

  private:
    std::uint32_t serverCode_;
};

/// What became of the calls to component services.
struct ServiceCounts {
    std::uint64_t carriedOut = 0;
    std::uint64_t recorded = 0;
    std::string log;  ///< where they are recorded; empty when nowhere
};

/// What --datadir may name.
enum class DataFolder : std::uint8_t {
    kWithData,  ///< a server's data folder
    kAnyOrNew,  ///< a missing or empty one too, in which a server's data is then made
};

/// Who must know every connection of a run before a statement of the run comes over it.
class ConnectionWatch {
  public:
    virtual ~ConnectionWatch() = default;
    /// @throws to keep it from being opened
    virtual void Opening() = 0;
    /// It is open, and nothing of the run was sent.
    /// @throws HostError, and other errors to refuse it
    virtual void Opened(host::Connection& connection) = 0;
    /// A statement for a client program of the run to begin with, which connects to where this
    /// connection does.
    /// @throws as Opening()
    virtual std::string Naming(host::Connection& connection) const = 0;
};

/// The server and the host for the time of one command: the private server when one is asked for,
/// the connection, and the host's objects.
class Session {
  public:
    /// Starts and connects.
    /// @throws CommandError, host::PrivateServerError
    explicit Session(const GlobalOptions& options);
    Session(const GlobalOptions& options, DataFolder folder);

    /// One more session with the same server, on a connection of its own, e.g. for another thread.
    /// @param other  must outlive this one
    /// @throws CommandError
    explicit Session(const Session& other);
    Session& operator=(const Session&) = delete;

    /// For the program's own queries. Nobody watches them.
    std::shared_ptr<Utility> Own() const { return own_; }

    /// For the component: the observer hears of its run, the listener of every call.
    /// @param batchedCalls  given one, statements are batched: it hears of the component's calls,
    ///                      and the listener of what goes to the server
    std::shared_ptr<Utility> ForComponent(
        std::shared_ptr<Observer> observer, std::shared_ptr<host::StatementListener> listener,
        std::shared_ptr<host::StatementListener> batchedCalls = nullptr);

    /// Runs an operation of the component on that host; what was batched is on the server when it
    /// has ended, with an error too.
    void Run(const std::function<void()>& operation) const;

    /// Of the component's host.
    ServiceCounts Services() const;

    /// Opens one more connection like the session's own.
    /// @throws CannotConnect
    std::shared_ptr<host::Connection> Connect() const;
    /// Opens the session's own connection again, for all who use it.
    /// @throws CannotConnect
    void Reconnect() const;
    /// Opens again a connection that Connect() has opened.
    /// @throws HostError
    void Reopen(host::Connection& connection) const;

    /// From now on, this hears of the connections of the session, and of sessions made from it.
    /// @param watch  nullptr: nobody does
    void Watch(std::shared_ptr<ConnectionWatch> watch) const { watch_ = std::move(watch); }
    /// What a client program of the run must send first; may be empty.
    std::string NamingForClient() const;
    /// "10.11.19-MariaDB on db1, port 3306"; without the port where it takes no network.
    std::string ServerText() const;
    /// The account as the server knows it, e.g. "root@localhost".
    std::string Account() const;
    const host::ConnectionOptions& ConnectOptions() const { return connectOptions_; }
    const std::shared_ptr<host::Connection>& GetConnection() const { return connection_; }

  private:
    void Open();
    void Opening() const;
    void Opened(host::Connection& connection) const;

    const GlobalOptions& options_;
    std::unique_ptr<host::PrivateServer> server_;
    host::ConnectionOptions connectOptions_;
    std::shared_ptr<host::Connection> connection_;
    std::shared_ptr<Utility> own_;
    std::shared_ptr<host::MariaDbUtility> component_;
    std::shared_ptr<host::BatchingUtility> batching_;  ///< in front of it; may be null
    mutable std::shared_ptr<ConnectionWatch> watch_;
};

/// The component's folder: the one that is named, or the first of these that holds `resources`:
/// the program's folder, `../share/twupdate` beside it, the folders above it (a build tree).
/// @throws CommandError when there is none
std::filesystem::path InstallFolder(const GlobalOptions& options);

/// The same; nothing when there is none.
std::optional<std::filesystem::path> FindInstallFolder(const GlobalOptions& options);

/// The same, for commands that import the reference data: without it they would leave tables empty.
/// @throws CommandError when the folder that is named has no `resources`
std::filesystem::path InstallFolderWithData(const GlobalOptions& options);

/// The folder that holds `templates`, `components`, `wwwroot` and `sites_secure`.
std::filesystem::path InstallationRoot(const std::filesystem::path& installFolder);

/// Refuses an upgrade of sites where the folder above the install folder holds nothing of an
/// installation, unless --no-site-files says so: the component skips folders that are not
/// there, and what was not copied cannot be made up for.
/// @throws CommandError (exit 2), also when --no-site-files is given where there is one
void RequireSiteFiles(const GlobalOptions& options);

}  // namespace twupdate::cli
