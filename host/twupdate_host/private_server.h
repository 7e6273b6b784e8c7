#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "twupdate_host/connection.h"

namespace twupdate::host {

/// A private server cannot be initialised, started or stopped. The text says why; for a failed
/// start it ends with what the server's own log says.
class PrivateServerError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The folder holds no server's data and none is to be made there, or other things lie in it. It
/// was left as it is.
class NoServerDataError : public PrivateServerError {
  public:
    using PrivateServerError::PrivateServerError;
};

struct PrivateServerOptions {
    /// False: what is committed survives a power failure, as on any server. True: nothing is forced
    /// to disk and little memory is taken, for tests and trials; the data survives the server's
    /// death, but not the machine's.
    bool fast = false;
    /// Further options for mariadbd, e.g. "--max-allowed-packet=1G". They come last and win. Those
    /// that begin with "--innodb-" hold for the initialisation too.
    std::vector<std::string> serverOptions = {};
    std::chrono::seconds startTimeout{60};
    std::chrono::seconds stopTimeout{120};
    /// False: a folder that is missing or empty, or whose initialisation was interrupted, is
    /// refused.
    bool initialise = true;
};

/// A MariaDB server of one's own: its data is in one folder, it listens on a Unix socket in
/// that folder and on no network, and it reads no option file. It needs the programs mariadbd and
/// mariadb-install-db (Debian: mariadb-server-core, mariadb-client) and runs as whoever starts it.
///
/// The folder is the server's data directory itself; of ours it holds `twupdate.sock`,
/// `twupdate.log` (the server's error log), `twupdate.pid` and `twupdate.lock`. The server ends
/// with the thread that started it, even if that is killed.
class PrivateServer {
  public:
    /// Initialises the folder when it is missing or empty (an initialisation that was interrupted
    /// is begun again), unless the options forbid it; starts the server and waits until it answers.
    /// @throws NoServerDataError when the folder holds something else than a server's data, or
    ///         nothing where it is not to be initialised
    /// @throws PrivateServerError when another server runs in the folder, when the path is too
    ///         long for a Unix socket, when the folder cannot be written, or when the server does
    ///         not come up
    explicit PrivateServer(const std::filesystem::path& folder, PrivateServerOptions options = {});
    /// Stops the server.
    ~PrivateServer();
    PrivateServer(const PrivateServer&) = delete;
    PrivateServer& operator=(const PrivateServer&) = delete;

    /// Starts the server after Stop() or Kill().
    void Start();
    /// Asks the server to end and waits for it. Does nothing when it does not run.
    /// @throws PrivateServerError when it has not ended after the stop timeout
    void Stop();
    /// Ends the server at once, as a crash would.
    void Kill();
    void Restart();

    /// False before the start and after the end, also when the server ended by itself.
    bool Running();
    /// The server's process id, 0 when it does not run.
    pid_t Pid() const { return pid_; }
    const std::filesystem::path& Folder() const { return folder_; }
    std::filesystem::path Socket() const { return folder_ / "twupdate.sock"; }
    std::filesystem::path ErrorLog() const { return folder_ / "twupdate.log"; }
    /// How to sign in as the server's root. No option file is read.
    ConnectionOptions ConnectOptions() const;

  private:
    void Lock();
    void Unlock();
    /// Leaves the folder as it was found.
    template <typename Error = PrivateServerError>
    [[noreturn]] void Refuse(const std::string& reason) const;
    /// Whether the folder is known to hold no server's data.
    bool LacksData() const;
    void RefuseForeignServer() const;
    void InitialiseIfEmpty();
    void Spawn();
    void WaitUntilItAnswers();
    bool HasEnded();
    void WaitForEnd();

    std::filesystem::path folder_;
    PrivateServerOptions options_;
    pid_t pid_ = 0;
    int lock_ = -1;
    std::uintmax_t logStart_ = 0;  ///< where in the error log this start begins
    std::string end_;              ///< how the last server process ended, in words
};

}  // namespace twupdate::host
