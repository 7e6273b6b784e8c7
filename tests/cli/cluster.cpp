#include "cli/cluster.h"

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "cli/installation_fixture.h"
#include "support/free_port.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

fs::path Provider() {
    for (const char* folder : {"/usr/lib", TWUPDATE_SOURCE_FOLDER "/build/galera/usr/lib"}) {
        for (const char* name : {"galera/libgalera_smm.so", "libgalera_smm.so"}) {
            if (fs::exists(fs::path(folder) / name)) {
                return fs::path(folder) / name;
            }
        }
    }
    return {};
}

}  // namespace

bool Cluster::IsThere() {
    return !Provider().empty();
}

Cluster::Cluster() {
    for (unsigned i = 0; i < 3 * kNodes; ++i) {
        ports_.push_back(FreePort());
    }
    host::PrivateServerOptions options;
    options.fast = true;
    model_ = std::make_unique<host::PrivateServer>(folder_ / "model", options);
    CliServer::Get().UseInstead(model_->ConnectOptions());
    CliServer::Get().Root().Execute("CREATE USER 'upgrade'@'%' IDENTIFIED BY '';");
    CliServer::Get().Root().Execute("GRANT ALL ON *.* TO 'upgrade'@'%';");
    // The servers look for the script of the state transfer there.
    const char* path = std::getenv("PATH");
    const std::string scripts = TWUPDATE_SOURCE_FOLDER "/tests/cli";
    if (std::string(path).find(scripts) == std::string::npos) {
        setenv("PATH", fmt::format("{}:{}", scripts, path).c_str(), 1);
    }
}

Cluster::~Cluster() {
    CliServer::Get().UseInstead(std::nullopt);
    for (auto& node : nodes_) {
        node->Kill();  // nobody keeps its data
    }
}

void Cluster::Begin() {
    CliServer::Get().UseInstead(std::nullopt);
    model_.reset();
    // It gets a place in the cluster's history, with which all copies begin.
    model_ = Start("model", 0, true);
    model_->Stop();
    for (unsigned number = 0; number < kNodes; ++number) {
        const std::string name = fmt::format("n{}", number);
        fs::copy(folder_ / "model", folder_ / name, fs::copy_options::recursive);
        nodes_.push_back(Start(name, number, number == 0));
        if (!WaitUntilSynced(number)) {
            throw std::runtime_error(name +
                                     " does not come up: " + ContentOf(nodes_.back()->ErrorLog()));
        }
    }
    CliServer::Get().UseInstead(Node(0).ConnectOptions());
}

std::unique_ptr<host::PrivateServer> Cluster::Start(const std::string& name, unsigned number,
                                                    bool isFirst) const {
    host::PrivateServerOptions options;
    options.fast = true;
    options.startTimeout = std::chrono::seconds(20);
    options.serverOptions = Options(number, isFirst);
    return std::make_unique<host::PrivateServer>(folder_ / name, options);
}

std::vector<std::string> Cluster::Options(unsigned number, bool isFirst) const {
    std::string members;
    for (unsigned i = 0; i < kNodes; ++i) {
        members += fmt::format("{}127.0.0.1:{}", i == 0 ? "" : ",", ports_[3 * i + 1]);
    }
    const int own = ports_[3 * number + 1];
    std::vector<std::string> options{
        "--skip-networking=0", "--bind-address=127.0.0.1",
        fmt::format("--port={}", ports_[3 * number]), "--skip-name-resolve", "--binlog-format=ROW",
        "--innodb-autoinc-lock-mode=2", "--wsrep-on=ON", "--wsrep-provider=" + Provider().string(),
        "--wsrep-cluster-name=" + folder_.Path().filename().string(),
        "--wsrep-cluster-address=gcomm://" + members, fmt::format("--wsrep-node-name=n{}", number),
        fmt::format("--wsrep-node-address=127.0.0.1:{}", own), "--wsrep-sst-method=ist",
        fmt::format("--wsrep-sst-receive-address=127.0.0.1:{}", ports_[3 * number + 2]),
        // A dead node is found out after a second instead of five.
        fmt::format("--wsrep-provider-options=gmcast.listen_addr=tcp://127.0.0.1:{};ist.recv_addr="
                    "127.0.0.1:{};gcache.size=64M;pc.recovery=no;"
                    "evs.suspect_timeout=PT1S;evs.inactive_timeout=PT3S;evs.install_timeout=PT3S;"
                    "evs.keepalive_period=PT0.2S;evs.inactive_check_period=PT0.2S;"
                    "evs.join_retrans_period=PT0.3S;gmcast.peer_timeout=PT1S",
                    own, ports_[3 * number + 2])};
    if (isFirst) {
        options.emplace_back("--wsrep-new-cluster");
    }
    return options;
}

std::shared_ptr<host::Connection> Cluster::Connect(unsigned number) const {
    return host::Connection::Open(nodes_.at(number)->ConnectOptions());
}

std::vector<std::string> Cluster::Hosts(const std::vector<unsigned>& numbers) const {
    if (numbers.size() == 1) {
        return {"--host", "127.0.0.1", "--port", std::to_string(ports_[3 * numbers.front()])};
    }
    std::string hosts;
    for (const unsigned number : numbers) {
        hosts += fmt::format("{}127.0.0.1:{}", hosts.empty() ? "" : ",", ports_[3 * number]);
    }
    return {"--host", hosts};
}

bool Cluster::WaitUntilSynced(unsigned number) const {
    return WaitUntil([&] {
        try {
            const auto rows =
                Connect(number)->Query("SHOW STATUS LIKE 'wsrep_local_state_comment';");
            return rows->Next() && rows->Get(1).ToText() == "Synced";
        } catch (const HostError&) {
            return false;
        }
    });
}

}  // namespace twupdate::test
