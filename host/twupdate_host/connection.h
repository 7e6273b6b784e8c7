#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/error.h"
#include "twupdate/value.h"

struct st_mysql;

namespace twupdate::host {

/// Where the server is and how to sign in. What is left empty comes from the option files, then
/// from the client library's defaults. What is given here wins over the option files.
struct ConnectionOptions {
    /// Read the groups [client] and [twupdate] of option files. The client library itself reads
    /// them, so that they mean what they mean to every other client.
    bool readOptionFiles = true;
    /// The one option file to read instead of the usual ones.
    std::optional<std::filesystem::path> defaultsFile = {};
    std::optional<std::string> host = {};
    std::optional<unsigned> port = {};
    std::optional<std::filesystem::path> socket = {};
    std::optional<std::string> user = {};
    /// Without one the option files are asked, then the environment variable MYSQL_PWD.
    std::optional<std::string> password = {};
    /// A file of certificate authorities. Given one, the connection is encrypted or fails.
    std::optional<std::filesystem::path> sslCa = {};
    /// The server must prove its name with a certificate of a known authority.
    std::optional<bool> sslVerifyServerCert = {};
    std::string charset = "utf8mb4";
    /// The session's sql_mode; without one the server's own.
    std::optional<std::string> sqlMode = {};
    /// How long a statement waits for a lock on a table or row before it fails.
    std::optional<unsigned> lockWaitTimeoutSeconds = {};
    std::chrono::seconds connectTimeout{10};
    /// How long the server may leave a statement without an answer before the connection counts as
    /// lost; without one any time, since a change of a large table takes hours.
    std::optional<std::chrono::seconds> answerTimeout = {};
};

/// Every row that a statement returned, copied from the server: independent of the connection and
/// of later statements. Starts before its first row.
class Rows {
  public:
    virtual ~Rows() = default;
    virtual std::size_t ColumnCount() const = 0;
    /// The index of the column of that name, without regard to letter case of A to Z.
    virtual std::optional<std::size_t> Find(std::string_view column) const = 0;
    /// Goes to the next row. @returns false past the last one
    virtual bool Next() = 0;
    /// The value of a column in the current row.
    /// @throws HostError before the first row and past the last one
    virtual Value Get(std::size_t column) const = 0;
};

/// One connection to a MariaDB or MySQL server. It sends one statement at a time, never several
/// in one text, hands the server no local file, and never connects again by itself: a connection
/// that is lost is an error at once, and every later statement fails likewise, until Reopen().
///
/// Escaped text is only safe where a backslash or a quote is never part of a longer character and
/// where the server takes a backslash for an escape. So the character sets big5, cp932, gb18030,
/// gbk and sjis and the sql_mode NO_BACKSLASH_ESCAPES are refused.
class Connection {
  public:
    /// @throws HostError with the client library's or server's code; with code 0 for what is
    ///         refused here (an unsafe or unknown character set, an sql_mode as above, an option
    ///         file that cannot be read)
    static std::shared_ptr<Connection> Open(const ConnectionOptions& options);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Asks the server whether it still serves this connection.
    bool IsLost();
    /// Connects again as Open() did, with another ThreadId(). Whatever the session held is gone.
    /// @throws HostError as Open(); the connection is then a lost one
    void Reopen();

    /// Runs one statement and returns the rows of its first result (none for a statement without
    /// rows: ColumnCount() is 0). Further results are read and dropped.
    /// @throws HostError
    std::unique_ptr<Rows> Query(std::string_view sql);

    /// Runs one statement and drops whatever rows it returns.
    /// @returns the number of rows changed, or -1 for a statement that returns rows
    /// @throws HostError, also for an error that only a later result of the statement reports
    std::int64_t Execute(std::string_view sql);

    /// Prepares a statement, unless it is among those that were used last, binds the parameters
    /// to its `?` markers in order and runs it. Surplus parameters are an error, missing ones too.
    /// @returns rows as Query()
    std::unique_ptr<Rows> QueryPrepared(const std::string& sql, std::span<const Value> parameters);
    /// @returns as Execute()
    std::int64_t ExecutePrepared(const std::string& sql, std::span<const Value> parameters);

    /// The AUTO_INCREMENT id of the last INSERT, 0 before the first one. Statements that make no
    /// id leave it alone.
    std::uint64_t LastInsertId() const noexcept { return lastInsertId_; }

    /// E.g. "10.11.6-MariaDB".
    std::string ServerVersion() const;
    /// E.g. "Localhost via UNIX socket".
    std::string HostInfo() const;
    /// The TLS cipher in use, empty on an unencrypted connection.
    std::string TlsCipher() const;
    /// The server's id of this connection.
    std::uint64_t ThreadId() const;

  private:
    struct Prepared;

    explicit Connection(ConnectionOptions options);
    void Connect(const ConnectionOptions& options);
    void SetUpSession(const ConnectionOptions& options);
    void RefuseTooLarge(std::string_view sql, std::size_t bytes) const;
    void Send(std::string_view sql);
    void DrainResults(std::string_view sql);
    void RefuseUnsafeSqlMode();
    std::shared_ptr<Prepared> Prepare(const std::string& sql);
    std::shared_ptr<Prepared> RunPrepared(const std::string& sql,
                                          std::span<const Value> parameters);
    [[noreturn]] void Fail(std::string_view sql);

    ConnectionOptions options_;
    st_mysql* mysql_ = nullptr;
    std::size_t maxPacket_ = 0;  ///< the session's max_allowed_packet
    std::uint64_t lastInsertId_ = 0;
    std::vector<std::shared_ptr<Prepared>> prepared_;  ///< the one used last comes first
};

}  // namespace twupdate::host
