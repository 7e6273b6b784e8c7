#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "cli/terminal/console.h"

namespace CLI {
class App;
}

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

    // How the run goes along with others.
    bool noLock = false;
    unsigned lockWaitSeconds = 0;
    std::optional<unsigned> ddlTimeoutSeconds;

    // What the component is told.
    std::filesystem::path installFolder;
    std::string localHostName = "localhost";

    // What happens with the component's calls.
    std::string serviceCommand;
    std::filesystem::path servicesLog;

    // What is told to people and tools.
    std::filesystem::path trace;
    std::filesystem::path events;
    std::filesystem::path log;
    bool json = false;
    bool quiet = false;
};

/// What the command line asks for.
struct Invocation {
    GlobalOptions global;
    /// Carries out the command; set by the command that was named. Returns the exit status.
    std::function<int(const GlobalOptions&, Console&)> run;
};

/// Adds the global options to the parser.
void AddGlobalOptions(CLI::App& app, GlobalOptions& options);

/// Parses the command line.
/// @param status  receives the exit status when the program is to end at once: after --help or
///                --version (0) or after wrong use (2), about which a line has been printed
/// @return false when the program is to end at once
bool Parse(int argc, char** argv, Invocation& invocation, int& status);

}  // namespace twupdate::cli
