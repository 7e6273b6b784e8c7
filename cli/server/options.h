#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/server/option_files.h"

namespace twupdate::cli {

/// The options that every command takes.
struct GlobalOptions {
    OptionFileChoice files;
    /// What the option files say to the client library; without it the library reads the files.
    std::shared_ptr<const ClientOptions> clientOptions;

    // Connection options; those that are not given come from the option files.
    std::string socket;
    std::string host;
    std::optional<unsigned> port;
    std::string user;
    std::filesystem::path passwordFile;
    std::string sslCa;
    bool sslVerifyServerCert = false;
    std::string charset = "utf8mb4";
    std::optional<std::string> sqlMode;
    std::filesystem::path datadir;

    std::filesystem::path backup;
    std::optional<std::size_t> keep;  ///< number of backups of finished runs to keep

    // How the run coexists with others.
    bool noLock = false;
    unsigned lockWaitSeconds = 0;
    std::optional<unsigned> leaseSeconds;  ///< the lock is a lease
    std::optional<unsigned> ddlTimeoutSeconds;
    std::optional<unsigned> graceSeconds;  ///< after SIGTERM; without one a run takes its time

    // For the component.
    std::filesystem::path installFolder;
    std::string localHostName = "localhost";

    // What happens with the component's calls.
    std::string serviceCommand;
    std::filesystem::path servicesLog;
    bool noServices = false;   ///< they are only counted
    bool noSiteFiles = false;  ///< no installation is around the install folder

    // For people and tools.
    std::filesystem::path trace;
    std::filesystem::path events;
    std::filesystem::path log;
    std::filesystem::path metrics;
    std::filesystem::path report;
    bool json = false;
    bool quiet = false;
};

}  // namespace twupdate::cli
