#pragma once

#include <string>
#include <vector>

#include "cli/server/options.h"
#include "twupdate_host/connection.h"

namespace CLI {
class App;
}

namespace twupdate::cli {

/// Adds the connection options, including --datadir, and refuses passwords on the command line.
void AddServerOptions(CLI::App& app, GlobalOptions& options);

/// The arguments, the last first, as the parser expects them. It would use the word after
/// `--option=` as the value, so an empty value becomes a word of its own.
std::vector<std::string> WordsOf(int argc, char** argv);

/// The connection options of the named server.
/// @throws CommandError (exit 2) for a password file that cannot be used
host::ConnectionOptions ConnectionOptionsFrom(const GlobalOptions& options);

/// Options of every session, also on a private server.
void SetSessionOptions(const GlobalOptions& options, host::ConnectionOptions& connect);

}  // namespace twupdate::cli
