#include "cli/server/session.h"

#include <fmt/format.h>

#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/server/queries.h"
#include "cli/server/server_errors.h"
#include "cli/server/server_options.h"
#include "cli/server/server_version.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/json_lines.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

std::unique_ptr<host::PrivateServer> StartPrivateServer(const fs::path& folder, DataFolder kind) {
    if (folder.empty()) {
        return nullptr;
    }
    host::PrivateServerOptions options;
    options.initialise = kind == DataFolder::kAnyOrNew;
    // The whole word list goes out in one statement.
    options.serverOptions = {"--max-allowed-packet=1G"};
    try {
        return std::make_unique<host::PrivateServer>(folder, options);
    } catch (const host::NoServerDataError& error) {
        throw CommandError(
            options.initialise
                ? error.what()
                : fmt::format("{}\nhint: create-core initialises a new server there", error.what()),
            kUsageError);
    }
}

/// @throws CannotConnect
template <typename Connect>
auto Connected(const Connect& connect) {
    try {
        return connect();
    } catch (const HostError& error) {
        throw CannotConnect(
            fmt::format("cannot connect to the server: {}{}", error.what(),
                        error.Code() == 0 ? "" : fmt::format(" ({})", error.Code())),
            error.Code());
    }
}

fs::path ProgramFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path() : program.parent_path();
}

}  // namespace

Session::Session(const GlobalOptions& options) : Session(options, DataFolder::kWithData) {}

Session::Session(const GlobalOptions& options, DataFolder folder)
    : options_(options),
      server_(StartPrivateServer(options.datadir, folder)),
      connectOptions_(server_ ? server_->ConnectOptions() : ConnectionOptionsFrom(options)) {
    SetSessionOptions(options, connectOptions_);
    connectOptions_.lockWaitTimeoutSeconds = options.ddlTimeoutSeconds;
    Open();
}

Session::Session(const Session& other)
    : options_(other.options_), connectOptions_(other.connectOptions_), watch_(other.watch_) {
    Open();
}

void Session::Open() {
    connection_ = Connect();
    host::MariaDbUtilityOptions own;
    own.localHostName = options_.localHostName;
    own_ = std::make_shared<host::MariaDbUtility>(connection_, own);
}

std::shared_ptr<host::Connection> Session::Connect() const {
    Opening();
    return Connected([&] {
        auto connection = host::Connection::Open(connectOptions_);
        Opened(*connection);
        return connection;
    });
}

void Session::Reconnect() const {
    Connected([&] { Reopen(*connection_); });
}

void Session::Reopen(host::Connection& connection) const {
    Opening();
    connection.Reopen();
    Opened(connection);
}

void Session::Opening() const {
    if (watch_) {
        watch_->Opening();
    }
}

void Session::Opened(host::Connection& connection) const {
    if (watch_) {
        watch_->Opened(connection);
    }
}

std::string Session::NamingForClient() const {
    return watch_ ? watch_->Naming(*connection_) : "";
}

std::string Session::ServerText() const {
    const auto rows = connection_->Query("SELECT @@hostname, @@port;");
    rows->Next();
    const std::string port = TextOrEmpty(rows->Get(1));
    return fmt::format("{} on {}{}", ServerVersion::Of(*connection_).Name(),
                       TextOrEmpty(rows->Get(0)),
                       port == "0" ? "" : ", port " + port);  // a server without a network
}

std::string Session::Account() const {
    return FirstCell(*connection_, "SELECT CURRENT_USER();").value_or("");
}

std::shared_ptr<Utility> Session::ForComponent(
    std::shared_ptr<Observer> observer, std::shared_ptr<host::StatementListener> listener,
    std::shared_ptr<host::StatementListener> batchedCalls) {
    host::MariaDbUtilityOptions options;
    options.installFolder = InstallFolder(options_);
    options.localHostName = options_.localHostName;
    options.observer = std::move(observer);
    options.listener = std::move(listener);
    options.services.serviceCommand = options_.serviceCommand;
    options.services.servicesLog = WithFolders(options_.servicesLog);
    component_ = std::make_shared<host::MariaDbUtility>(connection_, options);
    if (!batchedCalls) {
        return component_;
    }
    batching_ = std::make_shared<host::BatchingUtility>(
        component_,
        host::BatchingOptions{.readLayout =
                                  [connection = connection_](const std::string& database) {
                                      return host::ReadCatalogue(*connection, {database});
                                  },
                              .servicesChangeLayout = component_->GetServices()->HasCommand(),
                              .listener = std::move(batchedCalls)});
    return batching_;
}

void Session::Run(const std::function<void()>& operation) const {
    if (batching_) {
        batching_->Run(operation);
    } else {
        operation();
    }
}

ServiceCounts Session::Services() const {
    ServiceCounts counts;
    if (!component_) {
        return counts;
    }
    const auto& services = component_->GetServices();
    auto& total = services->HasCommand() ? counts.carriedOut : counts.recorded;
    for (const auto& [service, calls] : services->Calls()) {
        total += calls;
    }
    counts.log = options_.servicesLog.string();
    return counts;
}

std::optional<fs::path> FindInstallFolder(const GlobalOptions& options) {
    if (!options.installFolder.empty()) {
        return fs::absolute(options.installFolder);
    }
    const fs::path program = ProgramFolder();
    std::vector<fs::path> candidates{program, program / ".." / "share" / "twupdate"};
    for (fs::path above = program; above.has_relative_path(); above = above.parent_path()) {
        candidates.push_back(above);
    }
    for (const fs::path& folder : candidates) {
        std::error_code ignored;
        if (fs::exists(folder / "resources" / "componentData.txt", ignored)) {
            return folder.lexically_normal();
        }
    }
    return std::nullopt;
}

fs::path InstallFolder(const GlobalOptions& options) {
    if (auto folder = FindInstallFolder(options)) {
        return *std::move(folder);
    }
    throw CommandError(
        "cannot find the folder resources with the reference data\nhint: name the component's "
        "folder with --install-folder",
        kUsageError);
}

fs::path InstallFolderWithData(const GlobalOptions& options) {
    fs::path folder = InstallFolder(options);
    std::error_code error;
    const fs::file_type type = fs::status(folder / "resources", error).type();
    if (type == fs::file_type::none) {
        throw CommandError(fmt::format("cannot access {}: {}", folder.string(), error.message()),
                           kUsageError);
    }
    if (type != fs::file_type::directory) {
        throw CommandError(fmt::format("{} has no folder resources with the reference data\nhint: "
                                       "--install-folder names the folder that contains resources",
                                       folder.string()),
                           kUsageError);
    }
    std::error_code ignored;  // a folder that cannot be listed has files that may be read
    for (const auto& entry : fs::directory_iterator(folder / "resources", ignored)) {
        if (entry.path().filename().string().ends_with("Data.txt") &&
            !entry.is_regular_file(ignored)) {
            throw CommandError(
                fmt::format("{} is not a file; nothing was done\nhint: restore the data file from "
                            "the package, or remove what has its name",
                            entry.path().string()),
                kUsageError);
        }
    }
    return folder;
}

fs::path InstallationRoot(const fs::path& installFolder) {
    fs::path folder = fs::absolute(installFolder).lexically_normal();
    return (folder.has_filename() ? folder : folder.parent_path()).parent_path();
}

void RequireSiteFiles(const GlobalOptions& options) {
    const fs::path root = InstallationRoot(InstallFolder(options));
    std::string found;
    for (const char* folder : {"templates", "components", "wwwroot"}) {
        std::error_code error;  // what may not be looked at is not missing
        if (fs::exists(root / folder, error) || error) {
            found = folder;
        }
    }
    if (found.empty() && !options.noSiteFiles) {
        throw CommandError(
            fmt::format("{} has none of the folders templates, components and wwwroot, so no site "
                        "files can be copied; nothing was done\nhint: name the component's folder "
                        "inside the installation with --install-folder, or use --no-site-files if "
                        "the sites have no files here",
                        root.string()),
            kUsageError);
    }
    if (!found.empty() && options.noSiteFiles) {
        throw CommandError(fmt::format("{} has the folder {}, so the sites have files there; "
                                       "nothing was done\nhint: omit --no-site-files",
                                       root.string(), found),
                           kUsageError);
    }
}

}  // namespace twupdate::cli
