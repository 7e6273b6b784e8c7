#include "cli/old_server.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "cli/installation_fixture.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

/// Where `./dev test` unpacks the server.
fs::path ServerFolder() {
    return TWUPDATE_SOURCE_FOLDER "/build/old-server";
}

/// Starts the server with its own libraries. It dies with this thread.
pid_t Start(std::vector<std::string> words, const fs::path& log) {
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(127);  // it died before it could be watched
        }
        const int file = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        setenv("LD_LIBRARY_PATH", ServerFolder().c_str(), 1);
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    return pid;
}

}  // namespace

bool OldServer::IsThere() {
    return fs::exists(ServerFolder() / "mysqld");
}

OldServer::OldServer(const std::vector<std::string>& options) {
    const fs::path server = ServerFolder();
    fs::copy(server / "data" / "mysql", folder_ / "data", fs::copy_options::recursive);
    fs::remove(folder_ / "data" / "auto.cnf");
    folder_.MakeFolder("tmp");
    std::vector<std::string> words{(server / "mysqld").string(),
                                   "--no-defaults",
                                   "--basedir=" + server.string(),
                                   "--lc-messages-dir=" + (server / "share").string(),
                                   "--datadir=" + (folder_ / "data").string(),
                                   "--tmpdir=" + (folder_ / "tmp").string(),
                                   "--socket=" + (folder_ / "socket").string(),
                                   "--pid-file=" + (folder_ / "pid").string(),
                                   "--skip-networking",
                                   "--max-allowed-packet=1G",
                                   "--innodb-flush-log-at-trx-commit=0",
                                   "--innodb-doublewrite=0",
                                   "--innodb-log-file-size=16M",
                                   "--innodb-buffer-pool-size=64M"};
    if (geteuid() == 0) {
        words.emplace_back("--user=root");  // it refuses to run as root without this
    }
    words.insert(words.end(), options.begin(), options.end());
    pid_ = Start(std::move(words), folder_ / "log");
    const bool up = WaitUntil([this] {
        try {
            host::Connection::Open(ConnectOptions());
            return true;
        } catch (const HostError&) {
            return false;
        }
    });
    if (!up) {
        Kill();
        throw std::runtime_error("the old server does not start: " + ContentOf(folder_ / "log"));
    }
    CliServer::Get().UseInstead(ConnectOptions());
}

OldServer::~OldServer() {
    CliServer::Get().UseInstead(std::nullopt);
    Kill();
}

/// Nobody keeps its data.
void OldServer::Kill() const {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

host::ConnectionOptions OldServer::ConnectOptions() const {
    host::ConnectionOptions options;
    options.readOptionFiles = false;
    options.socket = folder_ / "socket";
    options.user = "root";
    options.password = "";
    return options;
}

}  // namespace twupdate::test
