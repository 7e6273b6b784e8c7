#pragma once

#include <string>
#include <vector>

#include "cli/server/options.h"
#include "twupdate_host/connection.h"

namespace CLI {
class App;
}

namespace twupdate::cli {

/// Adds the options that say how the server is reached, --datadir among them, and refuses passwords
/// on the command line.
void AddServerOptions(CLI::App& app, GlobalOptions& options);

/// The words behind the program's name, the last first, as the parser takes them. It would take the
/// word after `--option=` for the value, so that an empty value becomes a word of its own.
std::vector<std::string> WordsOf(int argc, char** argv);

/// How to reach the server that the options name.
/// @throws CommandError (exit 2) for a password file that cannot be used
host::ConnectionOptions ConnectionOptionsFrom(const GlobalOptions& options);

/// What every session is given, also on a private server.
void SetSessionOptions(const GlobalOptions& options, host::ConnectionOptions& connect);

}  // namespace twupdate::cli
