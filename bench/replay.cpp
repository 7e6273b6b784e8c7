#include "bench/replay.h"

#include <mysql.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <variant>

namespace twupdate::bench {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

[[noreturn]] void Fail(const std::string& sql, const char* text) {
    throw std::runtime_error("replay: " + std::string(text) + " in " + sql);
}

void Send(MYSQL* mysql, const std::string& sql) {
    if (mysql_real_query(mysql, sql.data(), sql.size()) != 0) {
        Fail(sql, mysql_error(mysql));
    }
    for (;;) {
        if (MYSQL_RES* result = mysql_store_result(mysql)) {
            while (mysql_fetch_row(result) != nullptr) {
            }
            mysql_free_result(result);
        }
        const int more = mysql_next_result(mysql);
        if (more > 0) {
            Fail(sql, mysql_error(mysql));
        }
        if (more < 0) {
            return;
        }
    }
}

/// Runs prepared statements; the last one stays prepared.
class Preparer {
  public:
    explicit Preparer(MYSQL* mysql) : mysql_(mysql) {}
    ~Preparer() { Forget(); }
    Preparer(const Preparer&) = delete;
    Preparer& operator=(const Preparer&) = delete;

    void Run(const Statement& statement) {
        if (statement_ == nullptr || sql_ != statement.sql) {
            Prepare(statement.sql);
        }
        std::vector<MYSQL_BIND> binds(statement.parameters.size());
        for (std::size_t i = 0; i < binds.size(); ++i) {
            Bind(binds[i], statement.parameters[i]);
        }
        if (mysql_stmt_bind_param(statement_, binds.data()) != 0 ||
            mysql_stmt_execute(statement_) != 0 || mysql_stmt_store_result(statement_) != 0) {
            Fail(sql_, mysql_stmt_error(statement_));
        }
        mysql_stmt_free_result(statement_);
    }

  private:
    void Prepare(const std::string& sql) {
        Forget();
        sql_ = sql;
        statement_ = mysql_stmt_init(mysql_);
        if (statement_ == nullptr || mysql_stmt_prepare(statement_, sql.data(), sql.size()) != 0) {
            Fail(sql, mysql_error(mysql_));
        }
    }

    void Forget() {
        if (statement_ != nullptr) {
            mysql_stmt_close(statement_);
            statement_ = nullptr;
        }
    }

    static void Bind(MYSQL_BIND& bind, const Value& value) {
        bind = {};
        // The library only reads parameters, through pointers that are not const.
        // NOLINTBEGIN(cppcoreguidelines-pro-type-const-cast)
        if (const auto* integer = std::get_if<std::int64_t>(&value.Get())) {
            bind.buffer_type = MYSQL_TYPE_LONGLONG;
            bind.buffer = const_cast<std::int64_t*>(integer);
        } else if (const auto* number = std::get_if<double>(&value.Get())) {
            bind.buffer_type = MYSQL_TYPE_DOUBLE;
            bind.buffer = const_cast<double*>(number);
        } else if (const auto* text = std::get_if<std::string>(&value.Get())) {
            bind.buffer_type = MYSQL_TYPE_STRING;
            bind.buffer = const_cast<char*>(text->data());
            bind.buffer_length = text->size();
        } else {
            bind.buffer_type = MYSQL_TYPE_NULL;
        }
        // NOLINTEND(cppcoreguidelines-pro-type-const-cast)
    }

    MYSQL* mysql_;
    MYSQL_STMT* statement_ = nullptr;
    std::string sql_;
};

}  // namespace

void Recorder::Before(const host::StatementEvent& event) {
    if (!event.sql.empty()) {
        statements.push_back({std::string(event.sql),
                              {event.params.begin(), event.params.end()},
                              event.operation == host::Operation::kCommand});
    }
}

double Replay(const std::filesystem::path& socket, const std::vector<Statement>& statements) {
    const std::unique_ptr<MYSQL, void (*)(MYSQL*)> mysql(mysql_init(nullptr), mysql_close);
    mysql_options(mysql.get(), MYSQL_SET_CHARSET_NAME, "utf8mb4");
    if (mysql_real_connect(mysql.get(), nullptr, "root", nullptr, nullptr, 0, socket.c_str(), 0) ==
        nullptr) {
        Fail("connecting", mysql_error(mysql.get()));
    }
    Preparer preparer(mysql.get());
    const auto begin = Clock::now();
    for (const Statement& statement : statements) {
        if (statement.prepared) {
            preparer.Run(statement);
        } else {
            Send(mysql.get(), statement.sql);
        }
    }
    return SecondsSince(begin);
}

Comparison Compare(const host::PrivateServer& server, const std::filesystem::path& installFolder,
                   int rounds, const std::function<void()>& restore,
                   const std::function<void(const std::shared_ptr<Utility>&)>& upgrade) {
    const auto makeHost = [&](std::shared_ptr<host::StatementListener> listener) {
        host::MariaDbUtilityOptions options;
        options.installFolder = installFolder;
        options.listener = std::move(listener);
        return std::make_shared<host::MariaDbUtility>(
            host::Connection::Open(server.ConnectOptions()), options);
    };
    const auto recorder = std::make_shared<Recorder>();
    restore();
    upgrade(makeHost(recorder));

    std::vector<double> component;
    std::vector<double> replay;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        restore();
        const auto host = makeHost(nullptr);
        const auto begin = Clock::now();
        upgrade(host);
        component.push_back(SecondsSince(begin));
        restore();
        replay.push_back(Replay(server.Socket(), recorder->statements));
        ratios.push_back(component.back() / replay.back());
    }
    return {recorder->statements.size(), Median(component), Median(replay), Median(ratios)};
}

double Median(std::vector<double> numbers) {
    std::sort(numbers.begin(), numbers.end());
    const std::size_t middle = numbers.size() / 2;
    return numbers.size() % 2 == 1 ? numbers[middle] : (numbers[middle - 1] + numbers[middle]) / 2;
}

int FromEnvironment(const char* name, int otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::stoi(text);
}

}  // namespace twupdate::bench
