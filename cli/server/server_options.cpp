#include "cli/server/server_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate_host/password_file.h"

namespace twupdate::cli {
namespace {

constexpr const char* kServerGroup = "Server";

/// Accepts the password options of the server's own clients, to explain why this program has none.
/// The message omits the value.
void RefusePasswords(CLI::App& app) {
    app.add_option("-p,--password",
                   [](const CLI::results_t&) -> bool {
                       throw CLI::ValidationError(
                           "passwords are not accepted on the command line, because other users "
                           "can read it there\nhint: use --password-file, the variable "
                           "MYSQL_PWD or an option file (--defaults-file)");
                   })
        ->expected(0, 1)
        ->group("");
}

template <typename Text>
std::optional<Text> IfGiven(const Text& text) {
    return text.empty() ? std::nullopt : std::optional<Text>(text);
}

std::string PasswordFrom(const std::filesystem::path& file) {
    try {
        return host::ReadPasswordFile(file);
    } catch (const std::runtime_error& error) {
        throw CommandError(error.what(), kUsageError);
    }
}

}  // namespace

void AddServerOptions(CLI::App& app, GlobalOptions& options) {
    app.add_option("--defaults-file", options.files.only, "Read only this option file")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->group(kServerGroup);
    app.add_option("--socket,-S", options.socket, "Unix socket of the server")
        ->type_name("FILE")
        ->check(FaultOfEmptyValue)
        ->group(kServerGroup);
    app.add_option("--host,-H", options.host, "Host name of the server")
        ->type_name("NAME")
        ->check(FaultOfEmptyValue)
        ->group(kServerGroup);
    app.add_option("--port,-P", options.port, "TCP port of the server")
        ->type_name("NUMBER")
        ->transform(Decimal())
        ->check(CLI::Range(1, 65535))
        ->group(kServerGroup);
    app.add_option("--user,-u", options.user, "Account name on the server")
        ->type_name("NAME")
        ->check(FaultOfEmptyValue)
        ->group(kServerGroup);
    app.add_option("--password-file", options.passwordFile,
                   "File whose first line is the password (or use the variable MYSQL_PWD)")
        ->type_name("FILE")
        ->check(FaultOfEmptyValue)
        ->group(kServerGroup);
    app.add_option("--ssl-ca", options.sslCa, "File of certificate authorities; enables TLS")
        ->type_name("FILE")
        ->check(FaultOfEmptyValue)
        ->group(kServerGroup);
    app.add_flag("--ssl-verify-server-cert", options.sslVerifyServerCert,
                 "Verify the server's certificate and host name; enables TLS")
        ->group(kServerGroup);
    app.add_option("--charset", options.charset, "Character set of the connection")
        ->type_name("NAME")
        ->check(FaultOfEmptyValue)
        ->capture_default_str()
        ->group(kServerGroup);
    app.add_option("--sql-mode", options.sqlMode,
                   "sql_mode of the connection (default: the server's)")
        ->type_name("MODES")
        ->group(kServerGroup);
    RefusePasswords(app);
    auto* datadir = app.add_option("--datadir", options.datadir,
                                   "Run a private server on this folder for the duration of the "
                                   "command; not with the connection options")
                        ->type_name("DIR")
                        ->check(FaultOfEmptyValue)
                        ->group(kServerGroup);
    // Option files may name it; what they say of connections is then not used.
    for (const char* other : {"--socket", "--host", "--port", "--user", "--password-file",
                              "--ssl-ca", "--ssl-verify-server-cert"}) {
        datadir->excludes(app.get_option(other));
    }
}

std::vector<std::string> WordsOf(int argc, char** argv) {
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        std::string word = argv[i];
        const bool isEmptyValue =
            word.starts_with("--") && word.size() > 3 && word.find('=') == word.size() - 1;
        if (isEmptyValue) {
            word.pop_back();
        }
        words.push_back(std::move(word));
        if (isEmptyValue) {
            words.emplace_back();
        }
    }
    std::reverse(words.begin(), words.end());
    return words;
}

host::ConnectionOptions ConnectionOptionsFrom(const GlobalOptions& options) {
    host::ConnectionOptions connect;
    connect.readOptionFiles = !options.files.none;
    if (options.clientOptions) {
        connect.defaultsFile = options.clientOptions->ForLibrary();
    } else if (!options.files.only.empty()) {
        connect.defaultsFile = options.files.only;
    }
    connect.host = IfGiven(options.host);
    connect.port = options.port;
    if (!options.socket.empty()) {
        connect.socket = options.socket;
    }
    connect.user = IfGiven(options.user);
    if (!options.passwordFile.empty()) {
        connect.password = PasswordFrom(options.passwordFile);
    }
    if (!options.sslCa.empty()) {
        connect.sslCa = options.sslCa;
    }
    if (options.sslVerifyServerCert) {
        connect.sslVerifyServerCert = true;
    }
    SetSessionOptions(options, connect);
    return connect;
}

void SetSessionOptions(const GlobalOptions& options, host::ConnectionOptions& connect) {
    connect.charset = options.charset;
    connect.sqlMode = options.sqlMode;
}

}  // namespace twupdate::cli
