#include "twupdate_host/connection.h"

#include <errmsg.h>
#include <mysql.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <variant>

#include "option_file.h"

namespace twupdate::host {
namespace {

/// Character sets in which a byte that looks like a backslash or a quote may be the second half of
/// a character.
constexpr std::array<std::string_view, 5> kUnsafeCharsets = {"big5", "cp932", "gb18030", "gbk",
                                                             "sjis"};

/// How many prepared statements are kept for their next use.
constexpr std::size_t kPreparedKept = 8;

/// A peer that has vanished without closing the connection is noticed after two minutes, also while
/// a statement runs; one that is alive may take any time.
void NoticeVanishedPeer(MYSQL* mysql) {
    constexpr int kIdle = 60;
    constexpr int kBetweenProbes = 10;
    constexpr int kProbes = 6;
    constexpr int kUnanswered = 120'000;  // milliseconds
    const int on = 1;
    const auto socket = mysql_get_socket(mysql);
    // A Unix socket has none of these, and needs none.
    setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPIDLE, &kIdle, sizeof(kIdle));
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPINTVL, &kBetweenProbes, sizeof(kBetweenProbes));
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPCNT, &kProbes, sizeof(kProbes));
    setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &kUnanswered, sizeof(kUnanswered));
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualNames(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return x == y || Lower(x) == Lower(y);
           });
}

std::string LowerText(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return lower;
}

[[noreturn]] void FailStatement(MYSQL_STMT* statement, std::string_view sql) {
    throw HostError(std::string(sql), mysql_stmt_errno(statement), mysql_stmt_sqlstate(statement),
                    mysql_stmt_error(statement));
}

bool IsInteger(enum_field_types type) {
    switch (type) {
        case MYSQL_TYPE_TINY:
        case MYSQL_TYPE_SHORT:
        case MYSQL_TYPE_INT24:
        case MYSQL_TYPE_LONG:
        case MYSQL_TYPE_LONGLONG:
        case MYSQL_TYPE_YEAR:
            return true;
        default:
            return false;
    }
}

bool IsFloat(enum_field_types type) {
    return type == MYSQL_TYPE_FLOAT || type == MYSQL_TYPE_DOUBLE;
}

/// A cell as the server wrote it. What does not fit its number type stays text.
Value FromText(std::string_view text, enum_field_types type) {
    const char* end = text.data() + text.size();
    if (IsInteger(type)) {
        std::int64_t number = 0;
        const auto [rest, error] = std::from_chars(text.data(), end, number);
        if (error == std::errc() && rest == end) {
            return number;
        }
    } else if (IsFloat(type)) {
        double number = 0;
        const auto [rest, error] = std::from_chars(text.data(), end, number);
        if (error == std::errc() && rest == end) {
            return number;
        }
    }
    return text;
}

[[noreturn]] void FailWithoutRow() {
    throw HostError("", 0, "", "the result has no current row; call Next first");
}

/// The stored result of a plain statement.
class StoredRows : public Rows {
  public:
    explicit StoredRows(MYSQL_RES* result)
        : result_(result, &mysql_free_result),
          fields_(mysql_fetch_fields(result)),
          count_(mysql_num_fields(result)) {}

    std::size_t ColumnCount() const override { return count_; }
    std::optional<std::size_t> Find(std::string_view column) const override {
        for (std::size_t i = 0; i < count_; ++i) {
            if (EqualNames({fields_[i].name, fields_[i].name_length}, column)) {
                return i;
            }
        }
        return std::nullopt;
    }
    bool Next() override {
        row_ = mysql_fetch_row(result_.get());
        lengths_ = row_ == nullptr ? nullptr : mysql_fetch_lengths(result_.get());
        return row_ != nullptr;
    }
    Value Get(std::size_t column) const override {
        if (row_ == nullptr) {
            FailWithoutRow();
        }
        if (row_[column] == nullptr) {
            return {};
        }
        return FromText({row_[column], lengths_[column]}, fields_[column].type);
    }

  private:
    std::unique_ptr<MYSQL_RES, decltype(&mysql_free_result)> result_;
    MYSQL_FIELD* fields_;
    std::size_t count_;
    MYSQL_ROW row_ = nullptr;
    unsigned long* lengths_ = nullptr;
};

/// The rows of a prepared statement, copied, so that they outlive it. Also the empty result.
class CopiedRows : public Rows {
  public:
    std::vector<std::string> columns;
    std::vector<std::vector<Value>> rows;

    std::size_t ColumnCount() const override { return columns.size(); }
    std::optional<std::size_t> Find(std::string_view column) const override {
        const auto found =
            std::find_if(columns.begin(), columns.end(),
                         [&](const std::string& name) { return EqualNames(name, column); });
        if (found == columns.end()) {
            return std::nullopt;
        }
        return static_cast<std::size_t>(found - columns.begin());
    }
    bool Next() override {
        next_ = std::min(next_, rows.size()) + 1;
        return next_ <= rows.size();
    }
    Value Get(std::size_t column) const override {
        if (next_ == 0 || next_ > rows.size()) {
            FailWithoutRow();
        }
        return rows[next_ - 1][column];
    }

  private:
    std::size_t next_ = 0;
};

std::string OptionFileQuoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"' || c == '\'') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

/// An option file in memory that includes the others and then sets what was asked for explicitly:
/// the library lets an option file win over what the program has set, and the last line wins.
class OptionFile {
  public:
    OptionFile(const ConnectionOptions& options, const std::string& describe) {
        std::string text;
        if (options.defaultsFile) {
            text = "!include " + options.defaultsFile->string() + "\n";
        } else {
            // In the library's own order.
            for (const char* folder : {"/etc", "/etc/mysql"}) {
                text += std::string("!include ") + folder + "/my.cnf\n";
            }
            const char* home = std::getenv("MARIADB_HOME");
            if (home == nullptr) {
                home = std::getenv("MYSQL_HOME");
            }
            if (home != nullptr) {
                text += std::string("!include ") + home + "/my.cnf\n";
            }
            if (const char* user = std::getenv("HOME"); user != nullptr) {
                text += std::string("!include ") + user + "/.my.cnf\n";
            }
        }
        text += "[twupdate]\n";
        if (options.sslCa) {
            text += "ssl-ca=" + OptionFileQuoted(options.sslCa->string()) + "\n";
        }
        if (options.sslVerifyServerCert) {
            text += std::string("ssl-verify-server-cert=") +
                    (*options.sslVerifyServerCert ? "1" : "0") + "\n";
        }
        file_ = memfd_create("twupdate-options", MFD_CLOEXEC);
        if (file_ < 0 ||
            write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw HostError(describe, 0, "", "cannot keep the connection options in memory");
        }
    }
    ~OptionFile() { close(file_); }
    OptionFile(const OptionFile&) = delete;
    OptionFile& operator=(const OptionFile&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(file_); }

  private:
    int file_ = -1;
};

/// "connect to /run/x.sock as root", for messages.
std::string Describe(const ConnectionOptions& options) {
    std::string text = "connect";
    if (options.socket && (!options.host || *options.host == "localhost")) {
        text += " to " + options.socket->string();
    } else if (options.host) {
        text += " to " + *options.host;
        if (options.port) {
            text += ":" + std::to_string(*options.port);
        }
    }
    if (options.user) {
        text += " as " + *options.user;
    }
    return text;
}

void RefuseUnsafeCharset(std::string_view name, const std::string& statement) {
    const std::string charset = LowerText(name);
    if (std::find(kUnsafeCharsets.begin(), kUnsafeCharsets.end(), charset) !=
        kUnsafeCharsets.end()) {
        throw HostError(statement, 0, "",
                        "the character set " + charset +
                            " is not supported, because its characters can contain a backslash or "
                            "a quote; use utf8mb4");
    }
}

void CheckReadable(const std::filesystem::path& path, const std::string& what,
                   const std::string& describe) {
    if (std::error_code error;
        std::filesystem::is_directory(path, error) || access(path.c_str(), R_OK) != 0) {
        throw HostError(describe, 0, "", what + " " + path.string() + " cannot be read");
    }
}

}  // namespace

/// A prepared statement with the buffers of its last run.
struct Connection::Prepared {
    Prepared(MYSQL* mysql, std::string text)
        : sql(std::move(text)), statement(mysql_stmt_init(mysql), &mysql_stmt_close) {
        if (!statement) {
            throw HostError(sql, CR_OUT_OF_MEMORY, "HY000", "out of memory");
        }
        if (mysql_stmt_prepare(statement.get(), sql.data(),
                               static_cast<unsigned long>(sql.size())) != 0) {
            FailStatement(statement.get(), sql);
        }
    }

    void Run(std::span<const Value> parameters) {
        const std::size_t markers = mysql_stmt_param_count(statement.get());
        if (parameters.size() != markers) {
            throw HostError(sql, 0, "",
                            "the statement has " + std::to_string(markers) +
                                " parameter markers, but the command has " +
                                std::to_string(parameters.size()) + " parameters");
        }
        std::vector<MYSQL_BIND> binds(markers);
        for (std::size_t i = 0; i < markers; ++i) {
            Bind(binds[i], parameters[i]);
        }
        if (markers > 0 && mysql_stmt_bind_param(statement.get(), binds.data()) != 0) {
            FailStatement(statement.get(), sql);
        }
        if (mysql_stmt_execute(statement.get()) != 0) {
            FailStatement(statement.get(), sql);
        }
    }

    static void Bind(MYSQL_BIND& bind, const Value& value) {
        std::memset(&bind, 0, sizeof(bind));
        std::visit(
            [&](const auto& content) {
                using Content = std::decay_t<decltype(content)>;
                // The library only reads parameters, through pointers that are not const.
                // NOLINTBEGIN(cppcoreguidelines-pro-type-const-cast)
                if constexpr (std::is_same_v<Content, std::monostate>) {
                    bind.buffer_type = MYSQL_TYPE_NULL;
                } else if constexpr (std::is_same_v<Content, std::string>) {
                    bind.buffer_type = MYSQL_TYPE_STRING;
                    bind.buffer = const_cast<char*>(content.data());
                    bind.buffer_length = static_cast<unsigned long>(content.size());
                } else {
                    bind.buffer_type =
                        std::is_same_v<Content, double> ? MYSQL_TYPE_DOUBLE : MYSQL_TYPE_LONGLONG;
                    bind.buffer = const_cast<Content*>(&content);
                }
                // NOLINTEND(cppcoreguidelines-pro-type-const-cast)
            },
            value.Get());
    }

    /// Reads the current result to its end.
    std::unique_ptr<CopiedRows> CopyRows() {
        auto copied = std::make_unique<CopiedRows>();
        const std::unique_ptr<MYSQL_RES, decltype(&mysql_free_result)> meta(
            mysql_stmt_result_metadata(statement.get()), &mysql_free_result);
        if (!meta) {
            return copied;
        }
        if (mysql_stmt_store_result(statement.get()) != 0) {
            FailStatement(statement.get(), sql);
        }
        const std::size_t count = mysql_num_fields(meta.get());
        const MYSQL_FIELD* fields = mysql_fetch_fields(meta.get());
        for (std::size_t i = 0; i < count; ++i) {
            copied->columns.emplace_back(fields[i].name, fields[i].name_length);
        }
        while (true) {
            const int status = mysql_stmt_fetch(statement.get());
            if (status == MYSQL_NO_DATA) {
                break;
            }
            if (status != 0 && status != MYSQL_DATA_TRUNCATED) {
                FailStatement(statement.get(), sql);
            }
            auto& row = copied->rows.emplace_back();
            row.reserve(count);
            for (unsigned i = 0; i < count; ++i) {
                row.push_back(FetchCell(i, fields[i]));
            }
        }
        mysql_stmt_free_result(statement.get());
        return copied;
    }

    Value FetchCell(unsigned column, const MYSQL_FIELD& field) {
        MYSQL_BIND bind;
        std::memset(&bind, 0, sizeof(bind));
        my_bool isNull = 0;
        unsigned long length = 0;
        bind.is_null = &isNull;
        bind.length = &length;
        const auto fetch = [&] {
            if (mysql_stmt_fetch_column(statement.get(), &bind, column, 0) != 0) {
                FailStatement(statement.get(), sql);
            }
        };
        if (IsFloat(field.type)) {
            // A FLOAT is widened from its decimal form, as a plain statement does.
            if (field.type == MYSQL_TYPE_DOUBLE) {
                double number = 0;
                bind.buffer_type = MYSQL_TYPE_DOUBLE;
                bind.buffer = &number;
                fetch();
                return isNull != 0 ? Value() : Value(number);
            }
        } else if (IsInteger(field.type) && (field.flags & UNSIGNED_FLAG) == 0) {
            std::int64_t number = 0;
            bind.buffer_type = MYSQL_TYPE_LONGLONG;
            bind.buffer = &number;
            fetch();
            return isNull != 0 ? Value() : Value(number);
        }
        std::array<char, 256> small{};
        bind.buffer_type = MYSQL_TYPE_STRING;
        bind.buffer = small.data();
        bind.buffer_length = small.size();
        fetch();
        if (isNull != 0) {
            return {};
        }
        if (length <= small.size()) {
            return FromText({small.data(), length}, field.type);
        }
        std::string text(length, '\0');
        bind.buffer = text.data();
        bind.buffer_length = length;
        fetch();
        return Value(std::move(text));
    }

    /// Reads and drops what is left, so that the connection is free for the next statement.
    void Drain() {
        while (true) {
            mysql_stmt_free_result(statement.get());
            const int status = mysql_stmt_next_result(statement.get());
            if (status < 0) {
                return;
            }
            if (status > 0) {
                FailStatement(statement.get(), sql);
            }
        }
    }

    std::string sql;
    std::unique_ptr<MYSQL_STMT, decltype(&mysql_stmt_close)> statement;
};

Connection::Connection(ConnectionOptions options) : options_(std::move(options)) {}

Connection::~Connection() {
    prepared_.clear();
    if (mysql_ != nullptr) {
        mysql_close(mysql_);
    }
}

std::shared_ptr<Connection> Connection::Open(const ConnectionOptions& options) {
    RefuseUnsafeCharset(options.charset, Describe(options));
    std::shared_ptr<Connection> connection(new Connection(options));
    connection->Connect(options);
    connection->SetUpSession(options);
    return connection;
}

bool Connection::IsLost() {
    return mysql_ping(mysql_) != 0;
}

void Connection::Reopen() {
    prepared_.clear();
    mysql_close(mysql_);
    mysql_ = nullptr;
    lastInsertId_ = 0;
    Connect(options_);
    SetUpSession(options_);
}

void Connection::Connect(const ConnectionOptions& options) {
    const std::string describe = Describe(options);
    if (options.sslCa) {
        CheckReadable(*options.sslCa, "the file of certificate authorities", describe);
    }
    mysql_ = mysql_init(nullptr);
    if (mysql_ == nullptr) {
        throw HostError(describe, CR_OUT_OF_MEMORY, "HY000", "out of memory");
    }
    const auto seconds = static_cast<unsigned>(options.connectTimeout.count());
    mysql_options(mysql_, MYSQL_OPT_CONNECT_TIMEOUT, &seconds);
    if (options.answerTimeout) {
        const auto answer = static_cast<unsigned>(options.answerTimeout->count());
        mysql_options(mysql_, MYSQL_OPT_READ_TIMEOUT, &answer);
        mysql_options(mysql_, MYSQL_OPT_WRITE_TIMEOUT, &answer);
    }
    mysql_options(mysql_, MYSQL_SET_CHARSET_NAME, options.charset.c_str());
    if (options.sslCa) {
        mysql_options(mysql_, MYSQL_OPT_SSL_CA, options.sslCa->c_str());
    }
    if (options.sslVerifyServerCert) {
        const my_bool verify = *options.sslVerifyServerCert ? 1 : 0;
        mysql_options(mysql_, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &verify);
    }
    std::optional<OptionFile> explicitOptions;
    if (options.readOptionFiles) {
        if (options.defaultsFile) {
            CheckReadable(*options.defaultsFile, "the option file", describe);
            if (const auto fault = OptionFileFault(*options.defaultsFile); !fault.empty()) {
                throw HostError(describe, 0, "",
                                "the option file " + options.defaultsFile->string() +
                                    " cannot be used: " + fault);
            }
        }
        // The library reads [client] whenever it reads a group.
        mysql_options(mysql_, MYSQL_READ_DEFAULT_GROUP, "twupdate");
        if (options.sslCa || options.sslVerifyServerCert) {
            explicitOptions.emplace(options, describe);
            mysql_options(mysql_, MYSQL_READ_DEFAULT_FILE, explicitOptions->Path().c_str());
        } else if (options.defaultsFile) {
            mysql_options(mysql_, MYSQL_READ_DEFAULT_FILE, options.defaultsFile->c_str());
        }
    }
    // A socket that is asked for must not lose against a host name in an option file.
    const char* host = options.host     ? options.host->c_str()
                       : options.socket ? "localhost"
                                        : nullptr;
    if (mysql_real_connect(mysql_, host, options.user ? options.user->c_str() : nullptr,
                           options.password ? options.password->c_str() : nullptr, nullptr,
                           options.port.value_or(0),
                           options.socket ? options.socket->c_str() : nullptr, 0) == nullptr) {
        Fail(describe);
    }
    NoticeVanishedPeer(mysql_);
    // Option files may have switched these on; nothing here needs them.
    const my_bool off = 0;
    const unsigned no = 0;
    mysql_options(mysql_, MYSQL_OPT_RECONNECT, &off);
    mysql_options(mysql_, MYSQL_OPT_LOCAL_INFILE, &no);
    if (mysql_set_server_option(mysql_, MYSQL_OPTION_MULTI_STATEMENTS_OFF) != 0) {
        Fail(describe);
    }
    const bool mustBeEncrypted = options.sslCa || options.sslVerifyServerCert.value_or(false);
    if (mustBeEncrypted && TlsCipher().empty()) {
        throw HostError(describe, 0, "",
                        "the connection is not encrypted, although its options require it");
    }
}

void Connection::SetUpSession(const ConnectionOptions& options) {
    if (mysql_set_character_set(mysql_, options.charset.c_str()) != 0) {
        throw HostError(
            "SET NAMES " + options.charset, mysql_errno(mysql_), mysql_sqlstate(mysql_),
            "the character set " + options.charset + " cannot be used: " + mysql_error(mysql_));
    }
    // The name may have been another word for the character set that is in use now.
    RefuseUnsafeCharset(mysql_character_set_name(mysql_), "SET NAMES " + options.charset);
    if (options.sqlMode) {
        std::string quoted(options.sqlMode->size() * 2 + 1, '\0');
        quoted.resize(mysql_real_escape_string(mysql_, quoted.data(), options.sqlMode->data(),
                                               options.sqlMode->size()));
        Execute("SET SESSION sql_mode = '" + quoted + "'");
    }
    if (options.lockWaitTimeoutSeconds) {
        const std::string seconds = std::to_string(*options.lockWaitTimeoutSeconds);
        Execute("SET SESSION lock_wait_timeout = " + seconds +
                ", innodb_lock_wait_timeout = " + seconds);
    }
    // A server's defaults for new sessions are meant for people and applications: they would make
    // a statement fail, hand back a part of its rows, or lose what was written without a commit.
    Execute(
        "SET SESSION autocommit = 1, sql_safe_updates = 0, sql_big_selects = 1, "
        "sql_select_limit = 18446744073709551615 /*M!100101 , max_statement_time = 0 */");
    // A run says nothing while a dump is made or a service is at work; a year is the longest.
    Execute("SET SESSION wait_timeout = 31536000");
    // A database that is made over this connection holds what comes over it.
    Execute("SET SESSION character_set_server = " + std::string(mysql_character_set_name(mysql_)));
    const auto limits = Query("SELECT @@SESSION.max_allowed_packet AS bytes");
    if (limits->Next()) {
        maxPacket_ = static_cast<std::size_t>(std::stoull(limits->Get(0).ToText()));
    }
    RefuseUnsafeSqlMode();
}

void Connection::RefuseUnsafeSqlMode() {
    constexpr const char* kQuestion = "SELECT @@SESSION.sql_mode";
    const auto rows = Query(kQuestion);
    const std::string mode = rows->Next() ? rows->Get(0).ToText() : std::string();
    if (mode.find("NO_BACKSLASH_ESCAPES") != std::string::npos) {
        throw HostError(kQuestion, 0, "",
                        "the sql_mode NO_BACKSLASH_ESCAPES is not supported, because text is "
                        "escaped with backslashes; use an sql_mode without it");
    }
}

void Connection::Fail(std::string_view sql) {
    throw HostError(std::string(sql), mysql_errno(mysql_), mysql_sqlstate(mysql_),
                    mysql_error(mysql_));
}

void Connection::RefuseTooLarge(std::string_view sql, std::size_t bytes) const {
    // The server would drop the connection without a word about the reason.
    if (maxPacket_ > 0 && bytes >= maxPacket_) {
        throw HostError(std::string(sql), CR_NET_PACKET_TOO_LARGE, "HY000",
                        "the statement has " + std::to_string(bytes) +
                            " bytes, but the server accepts less than " +
                            std::to_string(maxPacket_) +
                            "; increase max_allowed_packet on the server and connect again");
    }
}

void Connection::Send(std::string_view sql) {
    RefuseTooLarge(sql, sql.size());
    if (mysql_real_query(mysql_, sql.data(), static_cast<unsigned long>(sql.size())) != 0) {
        Fail(sql);
    }
    if (const std::uint64_t id = mysql_insert_id(mysql_); id != 0) {
        lastInsertId_ = id;
    }
}

void Connection::DrainResults(std::string_view sql) {
    while (true) {
        const int status = mysql_next_result(mysql_);
        if (status < 0) {
            return;
        }
        if (status > 0) {
            Fail(sql);
        }
        if (MYSQL_RES* result = mysql_store_result(mysql_); result != nullptr) {
            mysql_free_result(result);
        } else if (mysql_field_count(mysql_) != 0) {
            Fail(sql);
        }
    }
}

std::unique_ptr<Rows> Connection::Query(std::string_view sql) {
    Send(sql);
    std::unique_ptr<Rows> rows;
    if (MYSQL_RES* result = mysql_store_result(mysql_); result != nullptr) {
        rows = std::make_unique<StoredRows>(result);
    } else if (mysql_field_count(mysql_) != 0) {
        Fail(sql);
    } else {
        rows = std::make_unique<CopiedRows>();
    }
    DrainResults(sql);
    return rows;
}

std::int64_t Connection::Execute(std::string_view sql) {
    Send(sql);
    std::int64_t affected = -1;
    if (mysql_field_count(mysql_) == 0) {
        affected = static_cast<std::int64_t>(mysql_affected_rows(mysql_));
    } else if (MYSQL_RES* result = mysql_store_result(mysql_); result != nullptr) {
        mysql_free_result(result);
    } else {
        Fail(sql);
    }
    DrainResults(sql);
    return affected;
}

std::shared_ptr<Connection::Prepared> Connection::Prepare(const std::string& sql) {
    const auto found = std::find_if(prepared_.begin(), prepared_.end(),
                                    [&](const auto& kept) { return kept->sql == sql; });
    if (found != prepared_.end()) {
        std::rotate(prepared_.begin(), found, found + 1);
        return prepared_.front();
    }
    return std::make_shared<Prepared>(mysql_, sql);
}

std::shared_ptr<Connection::Prepared> Connection::RunPrepared(const std::string& sql,
                                                              std::span<const Value> parameters) {
    // A number takes fewer bytes than this, whatever its type.
    constexpr std::size_t kBytesOfAMarker = 16;
    std::size_t bytes = sql.size() + kBytesOfAMarker * parameters.size();
    for (const Value& parameter : parameters) {
        if (const auto* text = std::get_if<std::string>(&parameter.Get())) {
            bytes += text->size();
        }
    }
    RefuseTooLarge(sql, bytes);
    auto prepared = Prepare(sql);
    try {
        prepared->Run(parameters);
    } catch (...) {
        std::erase(prepared_, prepared);
        throw;
    }
    if (const std::uint64_t id = mysql_stmt_insert_id(prepared->statement.get()); id != 0) {
        lastInsertId_ = id;
    }
    return prepared;
}

std::unique_ptr<Rows> Connection::QueryPrepared(const std::string& sql,
                                                std::span<const Value> parameters) {
    const auto prepared = RunPrepared(sql, parameters);
    auto rows = prepared->CopyRows();
    prepared->Drain();
    return rows;
}

std::int64_t Connection::ExecutePrepared(const std::string& sql,
                                         std::span<const Value> parameters) {
    const auto prepared = RunPrepared(sql, parameters);
    if (mysql_stmt_field_count(prepared->statement.get()) != 0) {
        prepared->Drain();
        return -1;
    }
    const auto affected =
        static_cast<std::int64_t>(mysql_stmt_affected_rows(prepared->statement.get()));
    // Only statements without rows are kept: their handle holds nothing of the tables' layout.
    if (prepared_.empty() || prepared_.front() != prepared) {
        prepared_.insert(prepared_.begin(), prepared);
        if (prepared_.size() > kPreparedKept) {
            prepared_.pop_back();
        }
    }
    return affected;
}

std::string Connection::ServerVersion() const {
    return mysql_get_server_info(mysql_);
}

std::string Connection::HostInfo() const {
    return mysql_get_host_info(mysql_);
}

std::string Connection::TlsCipher() const {
    const char* cipher = mysql_get_ssl_cipher(mysql_);
    return cipher == nullptr ? std::string() : std::string(cipher);
}

std::uint64_t Connection::ThreadId() const {
    return mysql_thread_id(mysql_);
}

}  // namespace twupdate::host
