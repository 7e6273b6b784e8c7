#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace twupdate::cli {

/// The options that every command takes.
struct GlobalOptions {
    // How to reach the server. What is not given comes from the option files.
    std::string defaultsFile;
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
    std::optional<std::size_t> keep;  ///< how many backups of runs that have ended

    // How the run goes along with others.
    bool noLock = false;
    unsigned lockWaitSeconds = 0;
    std::optional<unsigned> ddlTimeoutSeconds;

    // For the component.
    std::filesystem::path installFolder;
    std::string localHostName = "localhost";

    // What happens with the component's calls.
    std::string serviceCommand;
    std::filesystem::path servicesLog;
    bool noServices = false;   ///< they are counted, and that is all
    bool noSiteFiles = false;  ///< no installation is around the install folder

    // For people and tools.
    std::filesystem::path trace;
    std::filesystem::path events;
    std::filesystem::path log;
    bool json = false;
    bool quiet = false;
};

}  // namespace twupdate::cli
