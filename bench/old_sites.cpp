#include "bench/old_sites.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "cli/run/resume.h"
#include "twupdate/update.h"

namespace twupdate::bench {

namespace fs = std::filesystem;

std::unique_ptr<host::PrivateServer> StartServer(const fs::path& folder,
                                                 const ServerSettings& settings) {
    struct stat memory {};
    struct stat here {};
    if (stat("/dev/shm", &memory) == 0 && stat(folder.parent_path().c_str(), &here) == 0 &&
        memory.st_dev == here.st_dev) {
        throw std::runtime_error(
            "in /dev/shm the server maps its redo log into memory and never waits for it: set "
            "TMPDIR to a folder of another file system, e.g. mount -t tmpfs none /mnt/memory");
    }
    setenv("TWUPDATE_FSYNC_MS", std::to_string(settings.fsyncMilliseconds).c_str(), 1);
    if (settings.fsyncCount.empty()) {
        unsetenv("TWUPDATE_FSYNC_COUNT");
    } else {
        setenv("TWUPDATE_FSYNC_COUNT", settings.fsyncCount.c_str(), 1);
    }
    setenv("LD_PRELOAD", TWUPDATE_SLOW_FSYNC, 1);
    auto server = std::make_unique<host::PrivateServer>(
        folder, host::PrivateServerOptions{.serverOptions = settings.options});
    unsetenv("LD_PRELOAD");
    return server;
}

OldSites::OldSites(std::int32_t sites, std::int32_t rows) {
    options_.sites = sites;
    options_.rows = rows;
    options_.root = folder_.Path() / "installation";
    Make(sites);
    server_->Stop();
    fs::rename(data_, kept_);
}

void OldSites::Make(std::int32_t sites) {
    for (std::int32_t siteId = 1; siteId <= sites; ++siteId) {
        sample::SitePlan plan;
        plan.siteId = siteId;
        plan.groups = sample::AllGroups();
        plans_.push_back(plan);
    }
    sample::WriteFiles(options_, plans_);
    server_ =
        std::make_unique<host::PrivateServer>(data_, host::PrivateServerOptions{.fast = true});
    const auto host = MakeHost(Connect());
    sample::MakeCentral(host, options_, plans_);
    for (const sample::SitePlan& plan : plans_) {
        sample::MakeSite(host, options_, plan);
    }
    sample::BringCentralTo(host, {kCurrentVersion, kCurrentVersion});
    // So `upgrade` begins, and has the sites alone to do.
    const double justOld = kCurrentVersion - 0.0001;
    Connect()->Execute(
        fmt::format("UPDATE tw_tarnwick.installation SET version = {:.4f};", justOld));
}

void OldSites::Restore(const ServerSettings& settings) {
    server_.reset();
    fs::remove_all(data_);
    fs::copy(kept_, data_, fs::copy_options::recursive);
    server_ = StartServer(data_, settings);
}

std::vector<std::vector<Statement>> OldSites::Record(const Work& work) {
    Restore();
    std::vector<std::vector<Statement>> recorded;
    for (const sample::SitePlan& plan : plans_) {
        const auto recorder = std::make_shared<Recorder>();
        work(plan.siteId, MakeHost(Connect(), recorder));
        recorded.push_back(recorder->statements);
    }
    return recorded;
}

void OldSites::Upgrade(std::int32_t siteId, const std::shared_ptr<Utility>& host) {
    Update update;
    update.Configure(host);
    update.UpdateSite(siteId, 1.0);
    cli::RecordVersion(*host, siteId);
}

std::shared_ptr<host::Connection> OldSites::Connect() const {
    return host::Connection::Open(server_->ConnectOptions());
}

std::shared_ptr<Utility> OldSites::MakeHost(
    std::shared_ptr<host::Connection> connection,
    std::shared_ptr<host::StatementListener> listener) const {
    host::MariaDbUtilityOptions options;
    options.installFolder = InstallFolder();
    options.listener = std::move(listener);
    return std::make_shared<host::MariaDbUtility>(std::move(connection), options);
}

}  // namespace twupdate::bench
