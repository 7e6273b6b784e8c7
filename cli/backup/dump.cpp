#include "cli/backup/dump.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

/// Reads to the end; `take` returns false to give up.
template <typename Take>
void ReadAll(int fd, const Take& take) {
    std::array<char, 65536> buffer{};
    for (;;) {
        const ssize_t got = read(fd, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0 || !take(std::string_view(buffer.data(), static_cast<std::size_t>(got)))) {
            return;
        }
    }
}

/// Whether the disk that holds the file has no room for one more block. The program that wrote to
/// it says so on its own error output alone.
bool IsFull(const fs::path& file) {
    constexpr std::uintmax_t kBlock = 4096;
    std::error_code error;
    const fs::space_info space = fs::space(file, error);
    return !error && space.available < kBlock;
}

std::string Quoted(const std::string& value) {
    std::string text = "\"";
    for (const char c : value) {
        text += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return text + "\"";
}

std::string OptionLines(const host::ConnectionOptions& connect) {
    std::string lines = "[client]\n";
    const auto add = [&](std::string_view name, const std::string& value) {
        lines += fmt::format("{}={}\n", name, Quoted(value));
    };
    if (connect.host) {
        add("host", *connect.host);
    }
    if (connect.port) {
        lines += fmt::format("port={}\n", *connect.port);
    }
    if (connect.socket) {
        add("socket", connect.socket->string());
    }
    if (connect.user) {
        add("user", *connect.user);
    }
    if (connect.password) {
        add("password", *connect.password);
    }
    if (connect.sslCa) {
        add("ssl-ca", connect.sslCa->string());
    }
    if (connect.sslVerifyServerCert.value_or(false)) {
        lines += "ssl-verify-server-cert\n";
    }
    return lines;
}

[[noreturn]] void ThrowNoOutput() {
    throw CommandError(std::string("cannot prepare the client's output: ") + std::strerror(errno));
}

}  // namespace

ClientOptionFile::ClientOptionFile(const Session& session, const GlobalOptions& options)
    : file_(MemoryFile((options.clientOptions && options.datadir.empty()
                            ? options.clientOptions->ForPrograms()
                            : std::string()) +
                       OptionLines(session.ConnectOptions()))) {}

std::string ClientOptionFile::Argument() const {
    return fmt::format("--defaults-file={}", PathOf(file_).string());
}

void DumpDatabase(const ClientOptionFile& client, const std::string& database,
                  const fs::path& file) {
    const fs::path part = file.string() + ".part";
    Descriptor target(open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (target.Get() < 0) {
        throw CommandError(fmt::format("cannot back up {}: cannot write {}: {}", database,
                                       part.string(), std::strerror(errno)));
    }
    try {
        Pipe dumped = Pipe::Make();
        Pipe packed = Pipe::Make();
        ChildProcess gzip({"gzip", "-c"}, packed.out.Get(), target.Get());
        ChildProcess dump(
            {"mariadb-dump", client.Argument(), "--single-transaction", "--quick", "--routines",
             "--skip-add-locks",  // so that a restore does not need LOCK TABLES
             "--triggers", "--events", "--hex-blob", "--default-character-set=utf8mb4",
             "--add-drop-database", "--databases", database},
            -1, dumped.in.Get());
        dumped.in.Close();
        packed.out.Close();
        DumpContents contents;
        bool written = true;
        ReadAll(dumped.out.Get(), [&](std::string_view bytes) {
            contents.Add(bytes);
            written = WriteAll(packed.in.Get(), bytes);
            return written;
        });
        dumped.out.Close();
        packed.in.Close();
        gzip.Wait();  // the writer reports a full disk
        dump.Wait();
        if (!written || !contents.IsWhole()) {
            throw CommandError("the dump is incomplete");
        }
        if (fsync(target.Get()) != 0) {
            throw CommandError(std::strerror(errno));
        }
        target.Close();
        fs::rename(part, file);
    } catch (const std::exception& error) {
        std::error_code ignored;
        const std::string full = IsFull(part) ? " (the disk is full)" : "";
        fs::remove(part, ignored);
        throw CommandError(
            fmt::format("cannot back up {} into {}: {}{}; the database was not changed", database,
                        file.string(), ErrorText(error), full));
    }
}

DumpContents ReadDump(const fs::path& file, const std::string& database) {
    Pipe unpacked = Pipe::Make();
    ChildProcess gzip({"gzip", "-dc", file.string()}, -1, unpacked.in.Get());
    unpacked.in.Close();
    DumpContents contents;
    ReadAll(unpacked.out.Get(), [&](std::string_view bytes) {
        contents.Add(bytes);
        return true;
    });
    bool unpackedWhole = true;
    try {
        gzip.Wait();
    } catch (const CommandError&) {
        unpackedWhole = false;
    }
    if (!unpackedWhole || !contents.IsWhole()) {
        throw CommandError(fmt::format("{} is not a complete dump", file.string()));
    }
    if (!contents.IsOf(database)) {
        throw CommandError(fmt::format("{} is not a dump of {}", file.string(), database));
    }
    return contents;
}

DumpContents CheckDump(const fs::path& file, const std::string& database) {
    try {
        return ReadDump(file, database);
    } catch (const CommandError& error) {
        throw CommandError(JoinMessages({error.what()}, "; nothing was restored"));
    }
}

ClientNumber::ClientNumber() : file_(memfd_create("twupdate-number", MFD_CLOEXEC)) {
    if (file_.Get() < 0) {
        ThrowNoOutput();
    }
}

int ClientNumber::ForClient() const {
    if (ftruncate(file_.Get(), 0) != 0 || lseek(file_.Get(), 0, SEEK_SET) != 0) {
        ThrowNoOutput();
    }
    return file_.Get();
}

std::optional<std::uint64_t> ClientNumber::Get() const {
    std::array<char, 32> text{};
    const ssize_t got = pread(file_.Get(), text.data(), text.size(), 0);
    std::uint64_t number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + std::max<ssize_t>(got, 0), number);
    return error == std::errc() && *end == '\n' ? std::optional(number) : std::nullopt;
}

void LoadDump(const ClientOptionFile& client, const fs::path& file, const std::string& database,
              const std::string& settings, const std::string& first, const ClientNumber& number) {
    Pipe unpacked = Pipe::Make();
    Pipe loaded = Pipe::Make();
    ChildProcess gzip({"gzip", "-dc", file.string()}, -1, unpacked.in.Get());
    ChildProcess load({"mariadb", client.Argument(), "--default-character-set=utf8mb4", "--batch",
                       "--skip-column-names", "--unbuffered"},
                      loaded.out.Get(), number.ForClient());
    unpacked.in.Close();
    loaded.out.Close();
    // What stands before the database's first statement: some lines of the head.
    const std::string use = fmt::format("\nUSE `{}`;\n", database);
    std::string head = "SELECT CONNECTION_ID();\n" + settings + "\n";
    bool begun = false;
    ReadAll(unpacked.out.Get(), [&](std::string_view bytes) {
        if (begun) {
            return WriteAll(loaded.in.Get(), bytes);
        }
        head += bytes;
        const auto at = head.find(use);
        if (at == std::string::npos) {
            return true;
        }
        begun = true;
        head.insert(at + use.size(), first + "\n");
        return WriteAll(loaded.in.Get(), head);
    });
    unpacked.out.Close();
    loaded.in.Close();
    load.Wait();
    gzip.Wait();
}

}  // namespace twupdate::cli
