// Signing in, the session, and what the connection refuses.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/free_port.h"
#include "support/redo_log_folder.h"
#include "support/temporary_folder.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {
namespace {

using host::Connection;
using host::ConnectionOptions;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Sets an environment variable for the time of a test.
class Environment {
  public:
    Environment(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name); old != nullptr) {
            old_ = old;
        }
        setenv(name, value.c_str(), 1);
    }
    ~Environment() {
        if (old_) {
            setenv(name_, old_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

  private:
    const char* name_;
    std::optional<std::string> old_;
};

/// One server for all tests: on a socket and, encrypted, on a port of the local machine. Its
/// certificate is for the name "localhost". The account `guest` has the password `secret`.
class HostConnection : public testing::Test {
  public:
    static void SetUpTestSuite() {
        folder = std::make_unique<TemporaryFolder>();
        port = FreePort();
        const std::string path = folder->Path().string();
        const auto run = [&](const std::string& command) {
            ASSERT_EQ(std::system(("cd " + path + " && " + command + " 2>openssl.log").c_str()), 0)
                << folder->Read("openssl.log");
        };
        run("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=twUpdate-CA "
            "-keyout ca.key -out ca.pem");
        run("openssl req -newkey rsa:2048 -nodes -subj /CN=localhost -keyout server.key "
            "-out server.csr");
        run("openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 "
            "-out server.pem");
        run("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=stranger "
            "-keyout other.key -out other.pem");
        redoLog = std::make_unique<RedoLogFolder>();
        host::PrivateServerOptions options{.fast = true, .serverOptions = redoLog->ServerOptions()};
        for (const std::string& option :
             {std::string("--skip-networking=0"), std::string("--bind-address=127.0.0.1"),
              "--port=" + std::to_string(port), std::string("--local-infile=1"),
              "--ssl-cert=" + path + "/server.pem", "--ssl-key=" + path + "/server.key",
              "--ssl-ca=" + path + "/ca.pem"}) {
            options.serverOptions.push_back(option);
        }
        server = std::make_unique<host::PrivateServer>(folder->Path() / "server", options);
        const auto root = Connection::Open(server->ConnectOptions());
        for (const char* where : {"localhost", "127.0.0.1"}) {
            root->Execute(std::string("CREATE USER guest@'") + where + "' IDENTIFIED BY 'secret'");
            root->Execute(std::string("GRANT ALL ON *.* TO guest@'") + where + "'");
        }
        root->Execute("CREATE DATABASE tw_5");
        root->Execute("CREATE TABLE tw_5.thing(id INT)");
    }
    static void TearDownTestSuite() {
        server.reset();
        redoLog.reset();
        folder.reset();
    }

  protected:
    /// As `guest` with the right password over the socket, without option files.
    static ConnectionOptions Guest() {
        ConnectionOptions options = server->ConnectOptions();
        options.user = "guest";
        options.password = "secret";
        return options;
    }
    /// As `guest` over TCP.
    static ConnectionOptions GuestOverTcp() {
        ConnectionOptions options = Guest();
        options.socket.reset();
        options.host = "127.0.0.1";
        options.port = static_cast<unsigned>(port);
        return options;
    }
    static std::string Cell(Connection& connection, const std::string& sql) {
        const auto rows = connection.Query(sql);
        return rows->Next() && !rows->Get(0).IsNull() ? rows->Get(0).ToText() : "(nothing)";
    }
    static std::string Cell(const std::shared_ptr<Connection>& connection, const std::string& sql) {
        return Cell(*connection, sql);
    }
    static HostError ErrorOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const HostError& error) {
            return error;
        }
        ADD_FAILURE() << "the call does not fail with a HostError";
        return {"", 0, "", ""};
    }
    static HostError RefusalOf(const ConnectionOptions& options) {
        return ErrorOf([&] { Connection::Open(options); });
    }

    static std::unique_ptr<TemporaryFolder> folder;
    static std::unique_ptr<RedoLogFolder> redoLog;
    static std::unique_ptr<host::PrivateServer> server;
    static int port;
};

std::unique_ptr<TemporaryFolder> HostConnection::folder;
std::unique_ptr<RedoLogFolder> HostConnection::redoLog;
std::unique_ptr<host::PrivateServer> HostConnection::server;
int HostConnection::port = 0;

// --- signing in ------------------------------------------------------------------------------

TEST_F(HostConnection, SignsInWithAPassword) {
    EXPECT_EQ(Cell(Connection::Open(Guest()), "SELECT USER()"), "guest@localhost");
}

TEST_F(HostConnection, ThePeerOfATcpConnectionIsProbedEveryMinute) {
    const auto connection = Connection::Open(GuestOverTcp());
    int found = 0;
    for (int file = 3; file < 1024; ++file) {
        sockaddr_in peer{};
        socklen_t size = sizeof(peer);
        if (getpeername(file, reinterpret_cast<sockaddr*>(&peer), &size) != 0 ||
            peer.sin_family != AF_INET || ntohs(peer.sin_port) != port) {
            continue;
        }
        ++found;
        const auto number = [file](int level, int option) {
            int value = 0;
            socklen_t length = sizeof(value);
            getsockopt(file, level, option, &value, &length);
            return value;
        };
        EXPECT_EQ(number(SOL_SOCKET, SO_KEEPALIVE), 1);
        EXPECT_EQ(number(IPPROTO_TCP, TCP_KEEPIDLE), 60);
        EXPECT_EQ(number(IPPROTO_TCP, TCP_KEEPINTVL), 10);
        EXPECT_EQ(number(IPPROTO_TCP, TCP_KEEPCNT), 6);
        EXPECT_EQ(number(IPPROTO_TCP, TCP_USER_TIMEOUT), 120'000);
    }
    EXPECT_EQ(found, 1);
}

TEST_F(HostConnection, WrongPasswordIsTheServersErrorAndStaysOutOfTheMessage) {
    auto options = Guest();
    options.password = "open sesame";
    const HostError error = RefusalOf(options);
    EXPECT_EQ(error.Code(), 1045u);
    EXPECT_EQ(error.SqlState(), "28000");
    EXPECT_THAT(error.what(), AllOf(HasSubstr("guest"), Not(HasSubstr("sesame"))));
    EXPECT_THAT(error.Statement(), AllOf(HasSubstr("connect"), Not(HasSubstr("sesame"))));
}

TEST_F(HostConnection, PasswordMayComeFromTheEnvironment) {
    const Environment password("MYSQL_PWD", "secret");
    auto options = Guest();
    options.password.reset();
    EXPECT_EQ(Cell(Connection::Open(options), "SELECT USER()"), "guest@localhost");
}

TEST_F(HostConnection, RootOfAPrivateServerNeedsNoPasswordWhateverTheEnvironmentSays) {
    const Environment password("MYSQL_PWD", "of another server");
    EXPECT_EQ(Cell(Connection::Open(server->ConnectOptions()), "SELECT USER()"), "root@localhost");
}

TEST_F(HostConnection, SocketWithoutAServerIsAnErrorThatNamesIt) {
    auto options = Guest();
    options.socket = *folder / "nobody.sock";
    const HostError error = RefusalOf(options);
    EXPECT_EQ(error.Code(), 2002u);
    EXPECT_THAT(error.what(), HasSubstr("nobody.sock"));
}

TEST_F(HostConnection, PortWithoutAServerIsAnErrorThatNamesTheHost) {
    auto options = GuestOverTcp();
    options.port = static_cast<unsigned>(FreePort());
    const HostError error = RefusalOf(options);
    EXPECT_EQ(error.Code(), 2002u);
    EXPECT_THAT(error.Statement(), HasSubstr("127.0.0.1:" + std::to_string(*options.port)));
}

TEST_F(HostConnection, ReachesAServerByHostAndPort) {
    const auto connection = Connection::Open(GuestOverTcp());
    EXPECT_THAT(connection->HostInfo(), HasSubstr("TCP"));
    EXPECT_THAT(connection->ServerVersion(), HasSubstr("MariaDB"));
}

// --- option files ----------------------------------------------------------------------------

TEST_F(HostConnection, ReadsTheGroupsClientAndTwupdateOfAnOptionFile) {
    ConnectionOptions options;
    options.defaultsFile = folder->Write(
        "both.cnf",
        "[mysqld]\nuser=nobody\n[client]\nuser=guest\npassword=wrong\n"
        "socket=" +
            server->Socket().string() + "\n[twupdate]\npassword=secret\n[mysql]\nuser=nobody\n");
    EXPECT_EQ(Cell(Connection::Open(options), "SELECT USER()"), "guest@localhost");
}

TEST_F(HostConnection, WhatIsGivenWinsOverTheOptionFile) {
    ConnectionOptions options;
    options.defaultsFile = folder->Write("wrong.cnf",
                                         "[twupdate]\nuser=root\npassword=wrong\nhost=192.0.2.1\n"
                                         "default-character-set=latin1\nsocket=/nowhere.sock\n");
    options.socket = server->Socket();
    options.user = "guest";
    options.password = "secret";
    const auto connection = Connection::Open(options);
    EXPECT_EQ(Cell(connection, "SELECT USER()"), "guest@localhost");
    EXPECT_EQ(Cell(connection, "SELECT @@character_set_client"), "utf8mb4");
}

TEST_F(HostConnection, OptionFileOfTheHomeFolderIsReadByDefault) {
    const TemporaryFolder home;
    home.Write(".my.cnf", "[twupdate]\nuser=guest\npassword=secret\n");
    const Environment environment("HOME", home.Path().string());
    ConnectionOptions options;
    options.socket = server->Socket();
    EXPECT_EQ(Cell(Connection::Open(options), "SELECT USER()"), "guest@localhost");

    options.sslVerifyServerCert = false;  // goes by way of an option file in memory
    EXPECT_EQ(Cell(Connection::Open(options), "SELECT USER()"), "guest@localhost");

    options.readOptionFiles = false;
    options.user = "guest";
    EXPECT_EQ(RefusalOf(options).Code(), 1045u);
}

TEST_F(HostConnection, MissingOptionFileIsAnErrorThatNamesIt) {
    auto options = Guest();
    options.readOptionFiles = true;
    options.defaultsFile = *folder / "missing.cnf";
    EXPECT_THAT(RefusalOf(options).what(), HasSubstr("missing.cnf"));
}

TEST_F(HostConnection, OptionFileDoesNotSwitchOnWhatIsRefused) {
    auto options = Guest();
    options.readOptionFiles = true;
    options.defaultsFile = folder->Write(
        "more.cnf", "[client]\nlocal-infile=1\nmulti-statements=1\nmulti-queries=1\nreconnect=1\n");
    const auto connection = Connection::Open(options);
    EXPECT_THROW(connection->Execute("SELECT 1; SELECT 2"), HostError);
    const auto file = folder->Write("rows.txt", "1\n");
    EXPECT_THROW(
        connection->Execute("LOAD DATA LOCAL INFILE '" + file.string() + "' INTO TABLE tw_5.thing"),
        HostError);
    Connection::Open(server->ConnectOptions())
        ->Execute("KILL CONNECTION " + std::to_string(connection->ThreadId()));
    EXPECT_THROW(connection->Query("SELECT 1"), HostError);
    EXPECT_THROW(connection->Query("SELECT 1"), HostError);
}

// --- encryption ------------------------------------------------------------------------------

TEST_F(HostConnection, IsEncryptedWhenGivenAnAuthority) {
    auto options = GuestOverTcp();
    EXPECT_EQ(Connection::Open(options)->TlsCipher(), "");
    options.sslCa = *folder / "ca.pem";
    const auto connection = Connection::Open(options);
    EXPECT_NE(connection->TlsCipher(), "");
    EXPECT_NE(Cell(connection,
                   "SELECT VARIABLE_VALUE FROM information_schema.session_status "
                   "WHERE VARIABLE_NAME = 'Ssl_cipher'"),
              "");
}

TEST_F(HostConnection, ServerOfAnotherAuthorityIsRefused) {
    auto options = GuestOverTcp();
    options.sslCa = *folder / "other.pem";
    options.sslVerifyServerCert = true;
    EXPECT_EQ(RefusalOf(options).Code(), 2026u);
}

TEST_F(HostConnection, ServerOfAnotherNameIsRefusedWhenItMustProveIt) {
    auto options = GuestOverTcp();
    options.sslCa = *folder / "ca.pem";
    options.sslVerifyServerCert = true;
    EXPECT_EQ(RefusalOf(options).Code(), 2026u) << "its certificate says localhost, not 127.0.0.1";

    auto byName = Guest();
    byName.host = "localhost";
    byName.sslCa = *folder / "ca.pem";
    byName.sslVerifyServerCert = true;
    EXPECT_NE(Connection::Open(byName)->TlsCipher(), "");
}

TEST_F(HostConnection, AuthorityThatIsGivenWinsOverTheOptionFile) {
    auto options = GuestOverTcp();
    options.readOptionFiles = true;
    options.defaultsFile =
        folder->Write("ssl.cnf", "[client]\nssl-ca=" + (*folder / "other.pem").string() + "\n");
    EXPECT_EQ(RefusalOf(options).Code(), 2026u) << "the option file's authority is used";
    options.sslCa = *folder / "ca.pem";
    EXPECT_NE(Connection::Open(options)->TlsCipher(), "");
}

TEST_F(HostConnection, MissingFileOfAuthoritiesIsAnErrorThatNamesIt) {
    auto options = GuestOverTcp();
    options.sslCa = *folder / "missing.pem";
    EXPECT_THAT(RefusalOf(options).what(), HasSubstr("missing.pem"));
}

// --- character set and sql_mode --------------------------------------------------------------

TEST_F(HostConnection, CharacterSetsWithQuotesInsideCharactersAreRefused) {
    for (const char* charset : {"big5", "cp932", "gb18030", "gbk", "sjis", "GBK"}) {
        auto options = Guest();
        options.charset = charset;
        const HostError error = RefusalOf(options);
        EXPECT_EQ(error.Code(), 0u) << charset;
        EXPECT_THAT(error.what(), HasSubstr("is not supported")) << charset;
    }
}

TEST_F(HostConnection, UnknownCharacterSetIsAnErrorThatNamesIt) {
    auto options = Guest();
    options.charset = "klingon";
    EXPECT_THAT(RefusalOf(options).what(), HasSubstr("klingon"));
}

TEST_F(HostConnection, TextGoesBothWaysInTheChosenCharacterSet) {
    auto options = Guest();
    options.charset = "latin1";
    const auto connection = Connection::Open(options);
    EXPECT_EQ(Cell(connection, "SELECT HEX(CONVERT('\xE9' USING utf8mb4))"), "C3A9");
    EXPECT_EQ(Cell(connection, "SELECT CONVERT(_utf8mb4 x'C3A9' USING utf8mb4)"), "\xE9");
}

TEST_F(HostConnection, NoBackslashEscapesIsRefusedWhereverItComesFrom) {
    auto options = Guest();
    options.sqlMode = "STRICT_TRANS_TABLES,NO_BACKSLASH_ESCAPES";
    EXPECT_THAT(RefusalOf(options).what(), HasSubstr("NO_BACKSLASH_ESCAPES"));

    const auto root = Connection::Open(server->ConnectOptions());
    root->Execute("SET GLOBAL sql_mode = 'NO_BACKSLASH_ESCAPES'");
    EXPECT_THAT(RefusalOf(Guest()).what(), HasSubstr("NO_BACKSLASH_ESCAPES"));
    options.sqlMode = "STRICT_TRANS_TABLES";
    EXPECT_NO_THROW(Connection::Open(options)) << "the session's own sql_mode is safe";
    root->Execute("SET GLOBAL sql_mode = DEFAULT");
}

TEST_F(HostConnection, SessionHasTheSqlModeThatIsGiven) {
    auto options = Guest();
    EXPECT_THAT(Cell(Connection::Open(options), "SELECT @@SESSION.sql_mode"),
                HasSubstr("STRICT_TRANS_TABLES"));
    options.sqlMode = "";
    EXPECT_EQ(Cell(Connection::Open(options), "SELECT @@SESSION.sql_mode"), "");
    options.sqlMode = "ANSI_QUOTES";
    EXPECT_EQ(Cell(Connection::Open(options), "SELECT @@SESSION.sql_mode"), "ANSI_QUOTES");
    options.sqlMode = "it's nonsense";
    EXPECT_EQ(RefusalOf(options).Code(), 1231u);
}

// What a server gives new sessions is meant for people and applications. Any of these would make a
// fixed statement fail, hand back fewer rows than there are, or lose what was written at the end.
TEST_F(HostConnection, SessionIsFreeOfWhatAServerSetsForItsPeople) {
    const auto root = Connection::Open(server->ConnectOptions());
    const std::vector<std::pair<std::string, std::string>> settings{
        {"autocommit", "OFF"},     {"sql_safe_updates", "ON"},     {"max_join_size", "1000"},
        {"sql_select_limit", "1"}, {"max_statement_time", "0.25"}, {"wait_timeout", "1"}};
    for (const auto& [name, value] : settings) {
        root->Execute("SET GLOBAL " + name + " = " + value);
    }
    const auto connection = Connection::Open(Guest());
    EXPECT_EQ(Cell(connection, "SELECT @@autocommit"), "1");
    EXPECT_EQ(Cell(connection, "SELECT @@sql_safe_updates"), "0");
    EXPECT_EQ(Cell(connection, "SELECT @@sql_big_selects"), "1");
    EXPECT_EQ(Cell(connection, "SELECT @@sql_select_limit"), "18446744073709551615");
    EXPECT_EQ(Cell(connection, "SELECT @@max_statement_time"), "0");
    EXPECT_EQ(Cell(connection, "SELECT @@wait_timeout"), "31536000");
    for (const auto& [name, value] : settings) {
        root->Execute("SET GLOBAL " + name + " = DEFAULT");
    }
}

TEST_F(HostConnection, LockIsWaitedForNoLongerThanGiven) {
    const auto holder = Connection::Open(Guest());
    holder->Execute("LOCK TABLES tw_5.thing WRITE");
    auto options = Guest();
    options.lockWaitTimeoutSeconds = 1;
    const auto connection = Connection::Open(options);
    EXPECT_EQ(Cell(connection, "SELECT @@innodb_lock_wait_timeout"), "1");
    EXPECT_EQ(
        ErrorOf([&] { connection->Execute("ALTER TABLE tw_5.thing ADD COLUMN a INT"); }).Code(),
        1205u);
    holder->Execute("UNLOCK TABLES");
}

// --- statements ------------------------------------------------------------------------------

TEST_F(HostConnection, WhereThereIsNoCurrentRowThereIsNoValue) {
    const auto connection = Connection::Open(Guest());
    const std::string sql = "SELECT 7";
    for (const bool prepared : {false, true}) {
        const auto rows = prepared ? connection->QueryPrepared(sql, {}) : connection->Query(sql);
        EXPECT_THROW(rows->Get(0), HostError) << "before the first";
        ASSERT_TRUE(rows->Next());
        EXPECT_EQ(rows->Get(0), Value(7));
        for (int past = 0; past < 3; ++past) {
            EXPECT_FALSE(rows->Next());
            EXPECT_THROW(rows->Get(0), HostError) << "past the last";
        }
    }
}

TEST_F(HostConnection, EveryResultOfAStatementIsReadToItsEnd) {
    const auto connection = Connection::Open(Guest());
    connection->Execute("CREATE OR REPLACE PROCEDURE tw_5.two() BEGIN SELECT 1; SELECT 2; END");
    EXPECT_EQ(Cell(connection, "CALL tw_5.two()"), "1");
    EXPECT_EQ(connection->Execute("CALL tw_5.two()"), -1);
    EXPECT_EQ(connection->ExecutePrepared("CALL tw_5.two()", {}), -1);
    const auto prepared = connection->QueryPrepared("CALL tw_5.two()", {});
    ASSERT_TRUE(prepared->Next());
    EXPECT_EQ(prepared->Get(0), Value(1));
    EXPECT_EQ(Cell(connection, "SELECT 3"), "3");
}

TEST_F(HostConnection, ErrorInALaterResultIsAnError) {
    const auto connection = Connection::Open(Guest());
    connection->Execute(
        "CREATE OR REPLACE PROCEDURE tw_5.half() BEGIN SELECT 1; SELECT 1 FROM tw_5.gone; END");
    EXPECT_EQ(ErrorOf([&] { connection->Execute("CALL tw_5.half()"); }).Code(), 1146u);
    EXPECT_EQ(ErrorOf([&] { connection->Query("CALL tw_5.half()"); }).Code(), 1146u);
    EXPECT_EQ(ErrorOf([&] { connection->QueryPrepared("CALL tw_5.half()", {}); }).Code(), 1146u);
    EXPECT_EQ(ErrorOf([&] { connection->ExecutePrepared("CALL tw_5.half()", {}); }).Code(), 1146u);
    EXPECT_EQ(Cell(connection, "SELECT 3"), "3");
}

TEST_F(HostConnection, StatementThatIsUsedAgainIsPreparedOnce) {
    const auto connection = Connection::Open(Guest());
    const auto prepared = [&] {
        return std::stoi(Cell(connection,
                              "SELECT VARIABLE_VALUE FROM "
                              "information_schema.session_status WHERE VARIABLE_NAME = "
                              "'Com_stmt_prepare'"));
    };
    const int before = prepared();
    for (int i = 0; i < 20; ++i) {
        connection->ExecutePrepared("INSERT INTO tw_5.thing(id) VALUES(?)", std::vector<Value>{i});
    }
    EXPECT_EQ(prepared() - before, 1);
    EXPECT_EQ(Cell(connection, "SELECT SUM(id) FROM tw_5.thing"), "190");
    connection->Execute("TRUNCATE TABLE tw_5.thing");
}

TEST_F(HostConnection, ManyDifferentPreparedStatementsAreNotAllKept) {
    const auto connection = Connection::Open(Guest());
    for (int i = 0; i < 100; ++i) {
        connection->ExecutePrepared("UPDATE tw_5.thing SET id = ? WHERE id = " + std::to_string(i),
                                    std::vector<Value>{1});
    }
    const auto count = [] {
        return std::stoi(Cell(Connection::Open(server->ConnectOptions()),
                              "SELECT VARIABLE_VALUE FROM information_schema.global_status "
                              "WHERE VARIABLE_NAME = 'Prepared_stmt_count'"));
    };
    int kept = count();
    for (int tries = 0; kept > 8 && tries < 100; ++tries) {
        // The server may not have ended the connection of an earlier test yet.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        kept = count();
    }
    EXPECT_LE(kept, 8);
    EXPECT_GE(kept, 1);
}

TEST_F(HostConnection, StatementBeyondTheServersLimitIsNamedAndBreaksNothing) {
    const auto root = Connection::Open(server->ConnectOptions());
    root->Execute("SET GLOBAL max_allowed_packet = 1048576");
    const auto connection = Connection::Open(Guest());
    root->Execute("SET GLOBAL max_allowed_packet = 1073741824");
    const std::string select = "SELECT LENGTH('" + std::string(1048576, 'x') + "')";
    const HostError error = ErrorOf([&] { connection->Query(select); });
    EXPECT_EQ(error.Code(), 2020u);
    EXPECT_THAT(error.what(), HasSubstr("max_allowed_packet"));
    const HostError ofCommand = ErrorOf([&] {
        connection->QueryPrepared("SELECT LENGTH(?)",
                                  std::vector<Value>{std::string(1048576, 'x')});
    });
    EXPECT_EQ(ofCommand.Code(), 2020u);
    EXPECT_EQ(Cell(connection, "SELECT 1"), "1");
}

TEST_F(HostConnection, DatabaseThatIsMadeHoldsWhatTheConnectionSends) {
    for (const auto& [charset, expected] :
         {std::pair{"utf8mb4", "utf8mb4"}, std::pair{"latin1", "latin1"}}) {
        auto options = Guest();
        options.charset = charset;
        const auto connection = Connection::Open(options);
        connection->Execute("CREATE DATABASE tw_6");
        EXPECT_EQ(Cell(connection,
                       "SELECT default_character_set_name FROM "
                       "information_schema.schemata WHERE schema_name = 'tw_6'"),
                  expected);
        connection->Execute("DROP DATABASE tw_6");
    }
}

// --- loss ------------------------------------------------------------------------------------

TEST_F(HostConnection, LostConnectionIsAnErrorAtOnceAndForEver) {
    const auto connection = Connection::Open(Guest());
    connection->Execute("SET @mine = 5");
    connection->ExecutePrepared("UPDATE tw_5.thing SET id = ?", std::vector<Value>{1});
    Connection::Open(server->ConnectOptions())
        ->Execute("KILL CONNECTION " + std::to_string(connection->ThreadId()));

    const HostError first = ErrorOf([&] { connection->Query("SELECT @mine"); });
    EXPECT_THAT(first.Code(), testing::AnyOf(2006u, 2013u, 1927u));
    EXPECT_EQ(first.Statement(), "SELECT @mine");
    const HostError second = ErrorOf([&] { connection->Execute("SELECT @mine"); });
    EXPECT_THAT(second.Code(), testing::AnyOf(2006u, 2013u));
    const HostError third = ErrorOf([&] {
        connection->ExecutePrepared("UPDATE tw_5.thing SET id = ?", std::vector<Value>{1});
    });
    EXPECT_THAT(third.Code(), testing::AnyOf(2006u, 2013u));
    EXPECT_THROW(connection->QueryPrepared("SELECT ?", std::vector<Value>{1}), HostError);
}

TEST_F(HostConnection, ServerThatDiesAndComesBackIsNotConnectedToAgain) {
    const auto connection = Connection::Open(Guest());
    const auto rows = connection->Query("SELECT 1 UNION SELECT 2");
    server->Kill();
    EXPECT_THROW(connection->Query("SELECT 1"), HostError);
    server->Start();
    EXPECT_THROW(connection->Query("SELECT 1"), HostError);
    EXPECT_TRUE(rows->Next() && rows->Next()) << "rows that were read stay readable";
    EXPECT_EQ(Cell(Connection::Open(Guest()), "SELECT 1"), "1");
}

TEST_F(HostConnection, LostConnectionIsANewOneAfterItIsReopened) {
    ConnectionOptions options = Guest();
    options.lockWaitTimeoutSeconds = 7;
    const auto connection = Connection::Open(options);
    EXPECT_FALSE(connection->IsLost());
    connection->Execute("SET @mine = 5");
    const std::vector<Value> one{1};
    connection->ExecutePrepared("UPDATE tw_5.thing SET id = ?", one);
    server->Kill();
    EXPECT_TRUE(connection->IsLost());
    EXPECT_THROW(connection->Reopen(), HostError);
    EXPECT_TRUE(connection->IsLost());
    EXPECT_THROW(connection->Query("SELECT 1"), HostError);
    server->Start();
    connection->Reopen();
    EXPECT_FALSE(connection->IsLost());
    EXPECT_EQ(Cell(connection, "SELECT CONNECTION_ID()"), std::to_string(connection->ThreadId()));
    EXPECT_EQ(Cell(connection, "SELECT @mine IS NULL"), "1");
    EXPECT_EQ(Cell(connection, "SELECT @@SESSION.lock_wait_timeout"), "7");
    EXPECT_EQ(connection->LastInsertId(), 0U);
    connection->ExecutePrepared("UPDATE tw_5.thing SET id = ?", one);
}

}  // namespace
}  // namespace twupdate::test
