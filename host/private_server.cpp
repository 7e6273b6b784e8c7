#include "twupdate_host/private_server.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>
#include <thread>
#include <utility>

namespace twupdate::host {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr auto kPollInterval = 5ms;

std::string ErrnoText() {
    return std::strerror(errno);
}

/// The full path of a program. Servers live in folders that are not on everybody's PATH.
std::string FindProgram(const std::string& name, const std::string& package) {
    std::string folders = "/usr/sbin:/usr/libexec:/usr/local/sbin:/usr/local/bin:/usr/bin";
    if (const char* path = std::getenv("PATH"); path != nullptr) {
        folders.insert(0, std::string(path) + ":");
    }
    std::istringstream list(folders);
    for (std::string folder; std::getline(list, folder, ':');) {
        std::string program = folder + "/";
        program += name;
        if (!folder.empty() && access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    throw PrivateServerError("the program " + name + " is not installed (Debian package " +
                             package + ")");
}

/// Starts a program without a shell, away from the terminal's signals, with its output appended
/// to a file. It dies with this thread. @param keep  a descriptor that it inherits, or -1
pid_t StartProgram(std::vector<std::string> words, const fs::path& output, int keep) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const std::string outputName = output.string();
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid < 0) {
        throw PrivateServerError("cannot start " + words.front() + ": " + ErrnoText());
    }
    if (pid == 0) {
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) {
            _exit(127);  // it died before it could be watched
        }
        const int null = open("/dev/null", O_RDONLY);
        const int file = open(outputName.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(null, STDIN_FILENO);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        if (keep >= 0) {
            fcntl(keep, F_SETFD, 0);
        }
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    setpgid(pid, pid);  // whoever comes first
    return pid;
}

std::string EndInWords(int status) {
    if (WIFSIGNALED(status)) {
        return "ended by signal " + std::to_string(WTERMSIG(status));
    }
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

/// The first error that a log names from a byte on, which is mostly the cause of those that follow
/// it, and where the log is.
std::string Complaint(const fs::path& log, std::uintmax_t from) {
    constexpr std::string_view kError = "[ERROR] ";
    std::ifstream file(log);
    file.seekg(static_cast<std::streamoff>(from));
    std::string error;
    for (std::string line; error.empty() && std::getline(file, line);) {
        if (const auto at = line.find(kError); at != std::string::npos) {
            error = ": " + line.substr(at + kError.size());
        }
    }
    return error + "; its log is " + log.string();
}

/// Is there as long as an initialisation is unfinished.
constexpr const char* kInitialising = "twupdate.initialising";

fs::path LockFile(const fs::path& folder) {
    return folder / "twupdate.lock";
}

bool IsOwnFile(const std::string& name) {
    return name.starts_with("twupdate.");
}

/// What an initialisation makes, finished or not.
bool IsServerFile(const std::string& name) {
    constexpr std::array<std::string_view, 9> kPrefixes = {
        "aria_log", "ib", "undo0", "mysql", "performance_schema", "sys", "test", "ddl_", "tc.log"};
    return std::any_of(kPrefixes.begin(), kPrefixes.end(),
                       [&](std::string_view prefix) { return name.starts_with(prefix); });
}

std::vector<std::string> UserOption() {
    // A server refuses to run as root without an option for it.
    return geteuid() == 0 ? std::vector<std::string>{"--user=root"} : std::vector<std::string>{};
}

/// Temporary tables stay in the server's own folder. A server that starts deletes what is in its
/// folder for them; in a shared one those are the tables of another server at work.
std::string TemporaryTables(const fs::path& folder) {
    return "--tmpdir=" + folder.string();
}

std::vector<std::string> StorageOptions(const PrivateServerOptions& options) {
    if (!options.fast) {
        return {};
    }
    // The doublewrite buffer stays on: a killed server may leave a page half written.
    return {"--innodb-flush-log-at-trx-commit=2",
            "--innodb-flush-method=nosync",
            "--innodb-log-file-size=32M",
            "--innodb-buffer-pool-size=64M",
            "--aria-pagecache-buffer-size=8M",
            "--key-buffer-size=1M",
            "--sync-frm=0"};
}

}  // namespace

PrivateServer::PrivateServer(const fs::path& folder, PrivateServerOptions options)
    : folder_(fs::absolute(folder).lexically_normal()), options_(std::move(options)) {
    if (!folder_.has_filename() && folder_.has_relative_path()) {
        folder_ = folder_.parent_path();  // "folder/" is "folder"
    }
    Start();
}

PrivateServer::~PrivateServer() {
    try {
        Stop();
    } catch (const PrivateServerError&) {
        Kill();
    }
}

void PrivateServer::Start() {
    if (Running()) {
        return;
    }
    constexpr std::size_t kLongestPath = sizeof(sockaddr_un::sun_path) - 1;
    if (const std::size_t length = Socket().native().size(); length > kLongestPath) {
        throw PrivateServerError("the path " + Socket().string() +
                                 " is too long for a Unix socket: " + std::to_string(length) +
                                 " bytes of at most " + std::to_string(kLongestPath) +
                                 "; use a folder with a shorter path");
    }
    if (!options_.initialise && LacksData()) {
        throw NoServerDataError("there is no server data in the folder " + folder_.string());
    }
    Lock();
    try {
        std::error_code none;
        logStart_ = fs::exists(ErrorLog(), none) ? fs::file_size(ErrorLog()) : 0;
        RefuseForeignServer();
        if (options_.initialise) {
            InitialiseIfEmpty();
        }
        Spawn();
        WaitUntilItAnswers();
    } catch (...) {
        Kill();
        Unlock();
        throw;
    }
}

void PrivateServer::Lock() {
    std::error_code error;
    const bool isNew = fs::create_directories(folder_, error);
    if (error) {
        throw PrivateServerError("cannot create the folder " + folder_.string() + ": " +
                                 error.message());
    }
    if (isNew) {
        // The server's root has no password: the folder is its door.
        fs::permissions(folder_, fs::perms::owner_all, error);
    }
    const fs::path path = LockFile(folder_);
    lock_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_ < 0) {
        throw PrivateServerError("cannot write to the folder " + folder_.string() + ": " +
                                 ErrnoText());
    }
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        std::string pid;
        std::ifstream(path) >> pid;
        Unlock();
        throw PrivateServerError("another private server" +
                                 (pid.empty() ? std::string() : " (process " + pid + ")") +
                                 " runs in the folder " + folder_.string());
    }
}

void PrivateServer::Unlock() {
    if (lock_ >= 0) {
        close(std::exchange(lock_, -1));
    }
}

template <typename Error>
void PrivateServer::Refuse(const std::string& reason) const {
    std::error_code ignored;
    fs::remove(LockFile(folder_), ignored);
    throw Error(reason);
}

bool PrivateServer::LacksData() const {
    // What may not be looked at is not taken for missing: the lock then tells what is forbidden.
    const auto is = [this](const fs::path& name, fs::file_type type) {
        std::error_code ignored;
        return fs::status(folder_ / name, ignored).type() == type;
    };
    return is(kInitialising, fs::file_type::regular) || is("mysql", fs::file_type::not_found) ||
           is("ibdata1", fs::file_type::not_found);
}

void PrivateServer::RefuseForeignServer() const {
    // A server that somebody else started there holds a lock on its system tablespace. Ours would
    // wait half a minute for it.
    const int file = open((folder_ / "ibdata1").c_str(), O_RDWR | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    struct flock wanted {};
    wanted.l_type = F_WRLCK;
    wanted.l_whence = SEEK_SET;
    const bool known = fcntl(file, F_GETLK, &wanted) == 0;
    close(file);
    if (known && wanted.l_type != F_UNLCK) {
        Refuse("a server (process " + std::to_string(wanted.l_pid) + ") already uses the data in " +
               folder_.string());
    }
}

void PrivateServer::InitialiseIfEmpty() {
    const fs::path marker = folder_ / kInitialising;
    bool empty = true;
    const bool interrupted = fs::exists(marker);
    for (const auto& entry : fs::directory_iterator(folder_)) {
        const std::string name = entry.path().filename().string();
        if (IsOwnFile(name)) {
            continue;
        }
        if (interrupted && IsServerFile(name)) {
            fs::remove_all(entry.path());
        } else {
            empty = false;
        }
    }
    if (!empty) {
        if (LacksData()) {
            Refuse<NoServerDataError>("the folder " + folder_.string() +
                                      " is not empty and holds no server data");
        }
        return;
    }
    const std::string program = FindProgram("mariadb-install-db", "mariadb-server-core");
    std::ofstream(marker).flush();
    std::vector<std::string> words = {program,
                                      "--no-defaults",
                                      "--datadir=" + folder_.string(),
                                      TemporaryTables(folder_),
                                      "--auth-root-authentication-method=normal",
                                      "--skip-test-db",
                                      "--force"};  // it ends where no host name can be resolved
    for (const auto& more : {UserOption(), StorageOptions(options_)}) {
        words.insert(words.end(), more.begin(), more.end());
    }
    // InnoDB's options decide what is created, e.g. the folder of its redo log.
    std::copy_if(options_.serverOptions.begin(), options_.serverOptions.end(),
                 std::back_inserter(words),
                 [](const std::string& option) { return option.starts_with("--innodb-"); });
    pid_ = StartProgram(std::move(words), ErrorLog(), -1);
    WaitForEnd();
    if (end_ != EndInWords(0)) {
        throw PrivateServerError("the folder " + folder_.string() +
                                 " cannot be initialised: mariadb-install-db " + end_ +
                                 Complaint(ErrorLog(), logStart_));
    }
    fs::remove(marker);
}

void PrivateServer::Spawn() {
    std::error_code error;
    fs::remove(Socket(), error);  // what a killed server left behind
    std::vector<std::string> words = {FindProgram("mariadbd", "mariadb-server-core"),
                                      "--no-defaults",
                                      "--datadir=" + folder_.string(),
                                      TemporaryTables(folder_),
                                      "--socket=" + Socket().string(),
                                      "--pid-file=" + (folder_ / "twupdate.pid").string(),
                                      "--skip-networking",
                                      "--character-set-server=utf8mb4",
                                      "--collation-server=utf8mb4_general_ci",
                                      "--max-allowed-packet=1G"};
    for (const auto& more : {UserOption(), StorageOptions(options_), options_.serverOptions}) {
        words.insert(words.end(), more.begin(), more.end());
    }
    // The server inherits the lock, so that it holds even if this process is killed.
    pid_ = StartProgram(std::move(words), ErrorLog(), lock_);
    const std::string pid = std::to_string(pid_) + "\n";
    if (ftruncate(lock_, 0) != 0 ||
        pwrite(lock_, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) {
        throw PrivateServerError("cannot write to the folder " + folder_.string() + ": " +
                                 ErrnoText());
    }
}

void PrivateServer::WaitUntilItAnswers() {
    const auto end = std::chrono::steady_clock::now() + options_.startTimeout;
    std::string answer = "it does not answer";
    while (std::chrono::steady_clock::now() < end) {
        if (HasEnded()) {
            throw PrivateServerError("the server in " + folder_.string() + " does not start: it " +
                                     end_ + Complaint(ErrorLog(), logStart_));
        }
        std::error_code error;
        if (fs::exists(Socket(), error)) {
            try {
                Connection::Open(ConnectOptions());
                return;
            } catch (const HostError& failure) {
                constexpr std::uint32_t kFirstClientError = 2000;
                if (failure.Code() > 0 && failure.Code() < kFirstClientError) {
                    return;  // it does answer, if only to turn root away
                }
                answer = failure.what();
            }
        }
        std::this_thread::sleep_for(kPollInterval);
    }
    throw PrivateServerError("the server in " + folder_.string() + " did not start within " +
                             std::to_string(options_.startTimeout.count()) + " seconds: " + answer +
                             Complaint(ErrorLog(), logStart_));
}

bool PrivateServer::HasEnded() {
    if (pid_ == 0) {
        return true;
    }
    int status = 0;
    const pid_t ended = waitpid(pid_, &status, WNOHANG);
    if (ended == 0 || (ended < 0 && errno == EINTR)) {
        return false;
    }
    end_ = ended < 0 ? "ended unseen" : EndInWords(status);
    pid_ = 0;
    return true;
}

void PrivateServer::WaitForEnd() {
    while (!HasEnded()) {
        std::this_thread::sleep_for(kPollInterval);
    }
}

bool PrivateServer::Running() {
    if (pid_ != 0 && HasEnded()) {
        Unlock();
    }
    return pid_ != 0;
}

void PrivateServer::Stop() {
    if (!Running()) {
        return;
    }
    kill(pid_, SIGTERM);
    const auto end = std::chrono::steady_clock::now() + options_.stopTimeout;
    while (!HasEnded()) {
        if (std::chrono::steady_clock::now() > end) {
            throw PrivateServerError("the server in " + folder_.string() + " (process " +
                                     std::to_string(pid_) + ") did not stop within " +
                                     std::to_string(options_.stopTimeout.count()) + " seconds");
        }
        std::this_thread::sleep_for(kPollInterval);
    }
    Unlock();
}

void PrivateServer::Kill() {
    if (!Running()) {
        return;
    }
    kill(-pid_, SIGKILL);  // with what an initialisation has started
    WaitForEnd();
    Unlock();
}

void PrivateServer::Restart() {
    Stop();
    Start();
}

ConnectionOptions PrivateServer::ConnectOptions() const {
    ConnectionOptions options;
    options.readOptionFiles = false;
    options.socket = Socket();
    options.user = "root";
    options.password = "";  // and not what MYSQL_PWD holds for another server
    return options;
}

}  // namespace twupdate::host
