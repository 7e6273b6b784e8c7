#include "cli/server/option_files.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>

#include "cli/terminal/failure.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr int kDeepestInclude = 10;

/// The groups that the client library reads for this program.
constexpr std::array<std::string_view, 4> kGroups{"client", "client-server", "client-mariadb",
                                                  "twupdate"};

/// The options of the client library that the server's own programs have too.
constexpr std::array<std::string_view, 19> kOfPrograms{
    "host",        "port",         "socket",     "user",        "password",
    "protocol",    "ssl",          "ssl-key",    "ssl-cert",    "ssl-ca",
    "ssl-capath",  "ssl-cipher",   "ssl-crl",    "ssl-crlpath", "ssl-verify-server-cert",
    "tls-version", "default-auth", "plugin-dir", "compress"};

/// Those that it has alone.
constexpr std::array<std::string_view, 33> kOfLibrary{"bind-address",
                                                      "connect-timeout",
                                                      "connection",
                                                      "database",
                                                      "default-character-set",
                                                      "init-command",
                                                      "interactive-timeout",
                                                      "local-infile",
                                                      "max-allowed-packet",
                                                      "multi-queries",
                                                      "multi-results",
                                                      "multi-statements",
                                                      "reconnect",
                                                      "report-data-truncation",
                                                      "restricted-auth",
                                                      "server-public-key",
                                                      "ssl-enforce",
                                                      "ssl-fp",
                                                      "ssl-fp-list",
                                                      "ssl-fplist",
                                                      "ssl-passphrase",
                                                      "tls-ca",
                                                      "tls-capath",
                                                      "tls-cert",
                                                      "tls-cipher",
                                                      "tls-crl",
                                                      "tls-crlpath",
                                                      "tls-enforce",
                                                      "tls-fp",
                                                      "tls-fplist",
                                                      "tls-key",
                                                      "tls-passphrase",
                                                      "tls-verify-peer"};

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '-' || c == '_' || c == '.';
    });
}

/// Without what is behind a "#" outside of quotes.
std::string_view WithoutRemark(std::string_view text) {
    char quote = '\0';
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (quote != '\0') {
            quote = text[i] == quote ? '\0' : quote;
        } else if (text[i] == '"' || text[i] == '\'') {
            quote = text[i];
        } else if (text[i] == '#') {
            return Trimmed(text.substr(0, i));
        }
    }
    return text;
}

[[noreturn]] void ThrowUnusable(const fs::path& file, const std::string& why) {
    throw CommandError(fmt::format("the option file {} cannot be used: {}", file.string(), why),
                       kUsageError);
}

class Reader {
  public:
    explicit Reader(const std::string& suffix) {
        for (const std::string_view group : kGroups) {
            groups_.emplace_back(group);
            if (!suffix.empty()) {
                groups_.push_back(std::string(group) + suffix);
            }
        }
    }

    /// @returns false for a file that is not there
    bool Read(const fs::path& file, int depth = 0) {
        std::error_code ignored;
        if (!fs::exists(file, ignored) || fs::is_directory(file, ignored)) {
            return false;
        }
        std::ifstream stream(file, std::ios::binary);
        if (!stream) {
            return false;
        }
        std::optional<std::string> group;  // none before the first
        std::size_t number = 0;
        for (std::string text; std::getline(stream, text);) {
            const auto line = Trimmed(text);
            ++number;
            if (line.empty() || line.front() == '#' || line.front() == ';') {
                continue;
            }
            if (line.front() == '!') {
                Include(line, depth);
            } else if (line.front() == '[') {
                const auto end = line.find(']');
                if (end == std::string_view::npos) {
                    ThrowUnusable(
                        file, fmt::format("line {} has a group without a closing bracket", number));
                }
                group = Trimmed(line.substr(1, end - 1));
            } else if (!group) {
                ThrowUnusable(file,
                              fmt::format("line {} is not in a group such as [client]", number));
            } else if (std::find(groups_.begin(), groups_.end(), *group) != groups_.end()) {
                RequireOwn(file);
                Take(file, number, *group, line);
            }
        }
        return true;
    }

    std::vector<FileOption> options;

  private:
    void Include(std::string_view line, int depth) {
        constexpr std::string_view kFile = "!include ";
        constexpr std::string_view kFolder = "!includedir ";
        if (depth >= kDeepestInclude) {
            return;
        }
        if (line.starts_with(kFolder)) {
            std::vector<fs::path> files;
            std::error_code ignored;
            for (const auto& entry :
                 fs::directory_iterator(Trimmed(line.substr(kFolder.size())), ignored)) {
                if (entry.path().extension() == ".cnf") {
                    files.push_back(entry.path());
                }
            }
            std::sort(files.begin(), files.end());
            for (const fs::path& file : files) {
                Read(file, depth + 1);
            }
        } else if (line.starts_with(kFile)) {
            Read(Trimmed(line.substr(kFile.size())), depth + 1);
        }
    }

    void Take(const fs::path& file, std::size_t number, const std::string& group,
              std::string_view line) {
        line = WithoutRemark(line);
        const auto equals = line.find('=');
        const auto name = Trimmed(line.substr(0, equals));
        if (!IsName(name)) {
            ThrowUnusable(file, fmt::format("line {} is not an option", number));
        }
        FileOption option{file, number, group, std::string(name), std::nullopt};
        std::replace(option.name.begin(), option.name.end(), '_', '-');
        if (equals != std::string_view::npos) {
            option.raw = Trimmed(line.substr(equals + 1));
        }
        options.push_back(std::move(option));
    }

    /// An option may name a program to be run, so that whoever may write the file decides on that.
    static void RequireOwn(const fs::path& file) {
        struct stat status {};
        if (stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            (status.st_mode & S_IWOTH) != 0) {
            ThrowUnusable(file, "everybody may write it\nhint: chmod o-w");
        }
    }

    std::vector<std::string> groups_;
};

/// In the order of the client library.
std::vector<fs::path> UsualFiles(const fs::path& extra) {
    std::vector<fs::path> files{"/etc/my.cnf", "/etc/mysql/my.cnf"};
    const char* home = std::getenv("MARIADB_HOME");
    if (home == nullptr) {
        home = std::getenv("MYSQL_HOME");
    }
    if (home != nullptr) {
        files.push_back(fs::path(home) / "my.cnf");
    }
    if (!extra.empty()) {
        files.push_back(extra);
    }
    if (const char* user = std::getenv("HOME"); user != nullptr) {
        files.push_back(fs::path(user) / ".my.cnf");
    }
    return files;
}

template <typename Names>
bool Contains(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::string FileOption::Value() const {
    std::string_view text = raw ? std::string_view(*raw) : std::string_view();
    const bool isQuoted = text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
                          text.back() == text.front();
    if (isQuoted) {
        text = text.substr(1, text.size() - 2);
    }
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            value += text[i];
            continue;
        }
        constexpr std::string_view kLetters = "btnrs\\\"'";
        constexpr std::string_view kMeanings = "\b\t\n\r \\\"'";
        const auto at = kLetters.find(text[++i]);
        value +=
            at == std::string_view::npos ? std::string{'\\', text[i]} : std::string{kMeanings[at]};
    }
    return value;
}

std::string FileOption::Place() const {
    return fmt::format("{}, line {}, group [{}]", file.string(), line, group);
}

OptionFiles ReadOptionFiles(const OptionFileChoice& choice) {
    OptionFiles files;
    if (choice.none) {
        return files;
    }
    for (const fs::path& file : {choice.only, choice.extra}) {
        std::error_code ignored;
        if (!file.empty() && fs::is_directory(file, ignored)) {
            ThrowUnusable(file, std::strerror(EISDIR));
        }
        if (!file.empty() && access(file.c_str(), R_OK) != 0) {
            ThrowUnusable(file, std::strerror(errno));
        }
    }
    Reader reader(choice.suffix);
    for (const fs::path& file :
         choice.only.empty() ? UsualFiles(choice.extra) : std::vector<fs::path>{choice.only}) {
        if (reader.Read(file)) {
            files.read.push_back(fs::absolute(file));
        }
    }
    files.options = std::move(reader.options);
    return files;
}

bool IsLibraryOption(const std::string& name) {
    return Contains(kOfPrograms, name) || Contains(kOfLibrary, name);
}

ClientOptions::ClientOptions(const OptionFiles& files) {
    std::string forLibrary = "[client]\n";
    for (const fs::path& file : files.read) {
        forPrograms_ += fmt::format("!include {}\n", file.string());
    }
    forPrograms_ += "[client]\n";
    for (const FileOption& option : files.options) {
        const std::string line =
            option.name + (option.raw ? fmt::format("={}", *option.raw) : "") + "\n";
        if (IsLibraryOption(option.name)) {
            forLibrary += line;
        }
        if (Contains(kOfPrograms, option.name)) {
            forPrograms_ += line;
        }
    }
    file_ = MemoryFile(forLibrary);
}

fs::path ClientOptions::ForLibrary() const {
    return PathOf(file_);
}

Descriptor MemoryFile(const std::string& content) {
    Descriptor file(memfd_create("twupdate-options", MFD_CLOEXEC));
    // The server's own programs skip a file that others may write.
    if (file.Get() < 0 || fchmod(file.Get(), S_IRUSR | S_IWUSR) != 0 ||
        !WriteAll(file.Get(), content)) {
        throw CommandError(std::string("cannot keep the options of the connection in memory: ") +
                           std::strerror(errno));
    }
    return file;
}

fs::path PathOf(const Descriptor& file) {
    return fmt::format("/proc/{}/fd/{}", getpid(), file.Get());
}

}  // namespace twupdate::cli
