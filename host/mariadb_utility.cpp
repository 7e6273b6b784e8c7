#include "twupdate_host/mariadb_utility.h"

#include <limits>
#include <utility>
#include <vector>

#include "buffered_rows.h"
#include "timed_call.h"

namespace twupdate::host {
namespace {

/// The import of the reference data begins with this: the component list is about to change.
constexpr std::string_view kComponentsChange = "DELETE FROM tw_tarnwick.component;";

class MariaDbDatabase : public Database {
  public:
    MariaDbDatabase(std::shared_ptr<Connection> connection,
                    std::shared_ptr<StatementListener> listener,
                    std::shared_ptr<ComponentServices> services)
        : connection_(std::move(connection)),
          listener_(std::move(listener)),
          services_(std::move(services)) {}

    std::shared_ptr<Recordset> OpenRecordset(const std::string& sql, std::int32_t /*option1*/,
                                             std::int32_t /*option2*/) override {
        return std::make_shared<BufferedRecordset>(Query(Operation::kQuery, sql), sql);
    }
    void Execute(const std::string& sql, std::int64_t& rowsAffected) override {
        rowsAffected = TimedCall(listener_.get(), {.operation = Operation::kExecute, .sql = sql},
                                 [&] { return connection_->Execute(sql); });
        if (sql == kComponentsChange) {
            services_->ForgetComponents();
        }
    }
    void GetLastInsertId(std::int32_t& id) override {
        const std::uint64_t last = connection_->LastInsertId();
        if (last > std::numeric_limits<std::int32_t>::max()) {
            throw OverflowError("the id " + std::to_string(last) +
                                " of the last INSERT is out of range for a 32-bit integer");
        }
        id = static_cast<std::int32_t>(last);
    }
    std::shared_ptr<Reader> OpenReader(const std::string& sql) override {
        return std::make_shared<BufferedReader>(Query(Operation::kReader, sql), sql);
    }

    Connection& GetConnection() { return *connection_; }

  private:
    std::unique_ptr<Rows> Query(Operation operation, const std::string& sql) {
        return TimedCall(listener_.get(), {.operation = operation, .sql = sql},
                         [&] { return connection_->Query(sql); });
    }

    std::shared_ptr<Connection> connection_;
    std::shared_ptr<StatementListener> listener_;
    std::shared_ptr<ComponentServices> services_;
};

class MariaDbCommand : public Command {
  public:
    explicit MariaDbCommand(std::shared_ptr<StatementListener> listener)
        : listener_(std::move(listener)) {}

    void CloseCommand() override {
        parameters_.clear();
        sql_.clear();
    }
    void AddParameter(const Value& value) override { parameters_.push_back(value); }
    void SetText(const std::string& sql) override { sql_ = sql; }
    std::shared_ptr<Recordset> OpenCommandRecordset(
        const std::shared_ptr<Database>& database) override {
        auto& connection = ConnectionOf(database);
        auto rows = TimedCall(listener_.get(), Event(),
                              [&] { return connection.QueryPrepared(sql_, parameters_); });
        return std::make_shared<BufferedRecordset>(std::move(rows), sql_);
    }
    void ExecuteCommand(const std::shared_ptr<Database>& database,
                        std::int64_t& rowsAffected) override {
        auto& connection = ConnectionOf(database);
        rowsAffected = TimedCall(listener_.get(), Event(),
                                 [&] { return connection.ExecutePrepared(sql_, parameters_); });
    }

  private:
    StatementEvent Event() const {
        return {.operation = Operation::kCommand, .sql = sql_, .params = parameters_};
    }
    Connection& ConnectionOf(const std::shared_ptr<Database>& database) const {
        auto* own = dynamic_cast<MariaDbDatabase*>(database.get());
        if (own == nullptr) {
            throw HostError(sql_, 0, "", "the command uses a database of another host");
        }
        return own->GetConnection();
    }

    std::shared_ptr<StatementListener> listener_;
    std::vector<Value> parameters_;
    std::string sql_;
};

class MariaDbCommandFactory : public CommandFactory {
  public:
    explicit MariaDbCommandFactory(std::shared_ptr<StatementListener> listener)
        : listener_(std::move(listener)) {}
    std::shared_ptr<Command> NewCommand() override {
        return std::make_shared<MariaDbCommand>(listener_);
    }

  private:
    std::shared_ptr<StatementListener> listener_;
};

}  // namespace

namespace {

ComponentServicesOptions WithComponentData(ComponentServicesOptions options,
                                           const std::optional<std::filesystem::path>& folder) {
    if (options.componentData.empty() && folder) {
        options.componentData = *folder / "resources" / "componentData.txt";
    }
    return options;
}

}  // namespace

MariaDbUtility::MariaDbUtility(std::shared_ptr<Connection> connection,
                               MariaDbUtilityOptions options)
    : connection_(std::move(connection)),
      options_(std::move(options)),
      services_(
          ComponentServices::Make(WithComponentData(options_.services, options_.installFolder),
                                  connection_, options_.listener)),
      database_(std::make_shared<MariaDbDatabase>(connection_, options_.listener, services_)),
      commandFactory_(std::make_shared<MariaDbCommandFactory>(options_.listener)) {}

MariaDbUtility::~MariaDbUtility() = default;

std::shared_ptr<Database> MariaDbUtility::GetDatabase() {
    return database_;  // it keeps nothing of a statement, so one does for all
}

std::shared_ptr<ComponentHost> MariaDbUtility::GetComponentHost() {
    return services_;
}

std::shared_ptr<CommandFactory> MariaDbUtility::GetCommandFactory() {
    return commandFactory_;
}

std::filesystem::path MariaDbUtility::InstallFolder() {
    return options_.installFolder ? *options_.installFolder : Utility::InstallFolder();
}

std::shared_ptr<twupdate::Observer> MariaDbUtility::GetObserver() {
    return options_.observer;
}

std::string MariaDbUtility::LocalHostName() {
    return options_.localHostName ? *options_.localHostName : Utility::LocalHostName();
}

}  // namespace twupdate::host
