// What the component asks of its host, on MariaDB's client library: the smallest host that upgrades
// a real installation.

#pragma once

#include <mysql.h>
#include <strings.h>
#include <twupdate/host.h>

#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// --- one connection ---------------------------------------------------------------------------

using Result = std::shared_ptr<MYSQL_RES>;

class Connection {
  public:
    explicit Connection(const char* optionFile) : mysql_(mysql_init(nullptr)) {
        mysql_options(mysql_, MYSQL_READ_DEFAULT_FILE, optionFile);
        mysql_options(mysql_, MYSQL_READ_DEFAULT_GROUP, "client");
        mysql_options(mysql_, MYSQL_SET_CHARSET_NAME, "utf8mb4");
        if (mysql_real_connect(mysql_, nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0) ==
            nullptr) {
            Fail("connect");
        }
        // The component escapes texts with backslashes.
        Query("SET SESSION sql_mode = REPLACE(@@sql_mode, 'NO_BACKSLASH_ESCAPES', '')");
    }
    ~Connection() { mysql_close(mysql_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // The rows, copied from the server, so that other statements can run while they are read; no
    // rows at all (an empty pointer) for a statement that returns none.
    Result Query(const std::string& sql) {
        if (mysql_real_query(mysql_, sql.data(), sql.size()) != 0) {
            Fail(sql);
        }
        if (const auto id = mysql_insert_id(mysql_); id != 0) {
            lastInsertId = id;
        }
        MYSQL_RES* rows = mysql_store_result(mysql_);
        if (rows == nullptr && mysql_errno(mysql_) != 0) {
            Fail(sql);
        }
        return {rows, [](MYSQL_RES* stored) { mysql_free_result(stored); }};
    }

    // The value as it stands in a statement.
    std::string Literal(const twupdate::Value& value) {
        if (value.IsNull()) {
            return "NULL";
        }
        std::string text = value.ToText();
        if (!std::holds_alternative<std::string>(value.Get())) {
            return text;
        }
        std::string escaped(text.size() * 2 + 1, '\0');
        escaped.resize(mysql_real_escape_string(mysql_, escaped.data(), text.data(), text.size()));
        return "'" + escaped + "'";
    }

    unsigned long long lastInsertId = 0;

  private:
    // Everything that goes wrong reaches the caller of Update as a HostError.
    [[noreturn]] void Fail(const std::string& sql) {
        throw twupdate::HostError(sql, mysql_errno(mysql_), mysql_sqlstate(mysql_),
                                  mysql_error(mysql_));
    }

    MYSQL* mysql_;
};

// --- rows -------------------------------------------------------------------------------------

// The rows of a query, one after the other. All values are text, as the server sends them: the
// component reads numbers from text.
class Rows {
  public:
    explicit Rows(Result result) : result_(std::move(result)) { Next(); }
    bool AtEnd() const { return row_ == nullptr; }
    void Next() {
        row_ = result_ ? mysql_fetch_row(result_.get()) : nullptr;
        lengths_ = row_ == nullptr ? nullptr : mysql_fetch_lengths(result_.get());
    }
    unsigned Column(std::string_view name) const {
        const unsigned count = result_ ? mysql_num_fields(result_.get()) : 0;
        for (unsigned i = 0; i < count; ++i) {
            const char* here = mysql_fetch_field_direct(result_.get(), i)->name;
            if (strcasecmp(here, std::string(name).c_str()) == 0) {
                return i;
            }
        }
        throw twupdate::HostError("", 0, "", "no column " + std::string(name));
    }
    twupdate::Value Get(unsigned column) const {
        return row_[column] == nullptr ? twupdate::Value()
                                       : std::string(row_[column], lengths_[column]);
    }

  private:
    Result result_;
    MYSQL_ROW row_ = nullptr;
    unsigned long* lengths_ = nullptr;
};

// The component reads rows through two interfaces that differ in their names alone.
class MyRecordset : public twupdate::Recordset, twupdate::Fields {
  public:
    explicit MyRecordset(Result result) : rows_(std::move(result)) {}
    bool IsEOF() const override { return rows_.AtEnd(); }
    void MoveNext() override { rows_.Next(); }
    void Close() override {}  // the destructor frees the rows
    const twupdate::Fields& Fields() const override { return *this; }
    const twupdate::Field& Item(std::string_view column) const override {
        return fields_.try_emplace(rows_.Column(column), rows_, rows_.Column(column)).first->second;
    }

  private:
    class MyField : public twupdate::Field {
      public:
        MyField(const Rows& rows, unsigned column) : rows_(rows), column_(column) {}
        twupdate::Value Value() const override { return rows_.Get(column_); }

      private:
        const Rows& rows_;
        unsigned column_;
    };

    Rows rows_;
    mutable std::map<unsigned, MyField> fields_;
};

class MyReader : public twupdate::Reader {
  public:
    explicit MyReader(Result result) : rows_(std::move(result)) {}
    bool IsEOF() const override { return rows_.AtEnd(); }
    void ReaderMoveNext() override { rows_.Next(); }
    void ReaderClose() override {}
    twupdate::Value GetField(std::string_view column) const override {
        return rows_.Get(rows_.Column(column));
    }

  private:
    Rows rows_;
};

// --- statements -------------------------------------------------------------------------------

class MyDatabase : public twupdate::Database {
  public:
    explicit MyDatabase(std::shared_ptr<Connection> connection)
        : connection_(std::move(connection)) {}
    std::shared_ptr<twupdate::Recordset> OpenRecordset(const std::string& sql, std::int32_t,
                                                       std::int32_t) override {
        return std::make_shared<MyRecordset>(connection_->Query(sql));
    }
    std::shared_ptr<twupdate::Reader> OpenReader(const std::string& sql) override {
        return std::make_shared<MyReader>(connection_->Query(sql));
    }
    void Execute(const std::string& sql, std::int64_t& rowsAffected) override {
        connection_->Query(sql);
        rowsAffected = -1;  // not known; the component does not read it
    }
    void GetLastInsertId(std::int32_t& id) override {
        id = twupdate::Value(static_cast<std::int64_t>(connection_->lastInsertId)).ToInt32();
    }

  private:
    std::shared_ptr<Connection> connection_;
};

// A statement with `?` parameters. The values are written into the text here, which has a `?`
// nowhere else; a host with prepared statements binds them.
class MyCommand : public twupdate::Command {
  public:
    explicit MyCommand(std::shared_ptr<Connection> connection)
        : connection_(std::move(connection)) {}
    void AddParameter(const twupdate::Value& value) override { parameters_.push_back(value); }
    void SetText(const std::string& sql) override { sql_ = sql; }
    std::shared_ptr<twupdate::Recordset> OpenCommandRecordset(
        const std::shared_ptr<twupdate::Database>&) override {
        return std::make_shared<MyRecordset>(connection_->Query(WithValues()));
    }
    void ExecuteCommand(const std::shared_ptr<twupdate::Database>& database,
                        std::int64_t& rowsAffected) override {
        database->Execute(WithValues(), rowsAffected);
    }
    void CloseCommand() override {}

  private:
    std::string WithValues() const {
        std::string sql;
        std::size_t next = 0;
        for (const char c : sql_) {
            sql += c == '?' ? connection_->Literal(parameters_.at(next++)) : std::string(1, c);
        }
        return sql;
    }

    std::shared_ptr<Connection> connection_;
    std::vector<twupdate::Value> parameters_;
    std::string sql_;
};

// --- the platform -----------------------------------------------------------------------------

// One component type of the platform, as the table `component` describes it.
class MyComponent : public twupdate::Component {
  public:
    MyComponent(std::int32_t id, std::string name, std::string folder)
        : id_(id), name_(std::move(name)), folder_(std::move(folder)) {}
    std::int32_t GetComponentId() const override { return id_; }
    std::string GetComponentName() const override { return name_; }
    std::string GetFolderName() const override { return folder_; }

  private:
    std::int32_t id_;
    std::string name_;
    std::string folder_;
};

// The platform's component services. A platform calls its own code in each; this program has no
// platform around it and prints what would be called.
class MyServices : public twupdate::ComponentHost,
                   twupdate::ComponentList,
                   twupdate::Application,
                   public std::enable_shared_from_this<MyServices> {
  public:
    explicit MyServices(std::shared_ptr<Connection> connection)
        : connection_(std::move(connection)) {}

    std::shared_ptr<twupdate::ComponentList> GetComponentList() override {
        return {shared_from_this(), static_cast<twupdate::ComponentList*>(this)};
    }
    std::shared_ptr<twupdate::Component> Item(std::int32_t id) override {
        const std::string sql =
            "SELECT componentname, foldername FROM tw_tarnwick.component WHERE componentid = " +
            std::to_string(id);
        const Rows rows(connection_->Query(sql));
        if (rows.AtEnd()) {
            throw twupdate::HostError(sql, 0, "", "there is no component " + std::to_string(id));
        }
        return std::make_shared<MyComponent>(id, rows.Get(0).ToText(), rows.Get(1).ToText());
    }
    void UpgradeSiteComponent(std::int32_t site,
                              const std::shared_ptr<twupdate::Component>& component) override {
        Print("upgrade", site, component->GetComponentId());
    }
    void RefreshSiteComponent(std::int32_t site,
                              const std::shared_ptr<twupdate::Component>& component) override {
        Print("refresh", site, component->GetComponentId());
    }
    void InitialiseSiteComponent(std::int32_t site,
                                 const std::shared_ptr<twupdate::Component>& component) override {
        Print("initialise", site, component->GetComponentId());
    }
    void ResetSiteComponent(std::int32_t site, std::int32_t component) override {
        Print("reset", site, component);
    }
    std::shared_ptr<twupdate::Application> GetApplication() override {
        return {shared_from_this(), static_cast<twupdate::Application*>(this)};
    }
    void Refresh() override { std::printf("    service: refresh the application\n"); }

  private:
    static void Print(const char* service, std::int32_t site, std::int32_t component) {
        std::printf("    service: %s component %d of site %d\n", service, component, site);
    }

    std::shared_ptr<Connection> connection_;
};

// --- the host ---------------------------------------------------------------------------------

class MyHost : public twupdate::Utility,
               twupdate::CommandFactory,
               public std::enable_shared_from_this<MyHost> {
  public:
    MyHost(const char* optionFile, std::filesystem::path installFolder,
           std::shared_ptr<twupdate::Observer> observer)
        : connection_(std::make_shared<Connection>(optionFile)),
          installFolder_(std::move(installFolder)),
          observer_(std::move(observer)) {}

    // Asked for before every statement: a host may hand out the same object or a new one.
    std::shared_ptr<twupdate::Database> GetDatabase() override {
        return std::make_shared<MyDatabase>(connection_);
    }
    std::shared_ptr<twupdate::ComponentHost> GetComponentHost() override {
        return std::make_shared<MyServices>(connection_);
    }
    std::shared_ptr<twupdate::CommandFactory> GetCommandFactory() override {
        return {shared_from_this(), static_cast<twupdate::CommandFactory*>(this)};
    }
    std::shared_ptr<twupdate::Command> NewCommand() override {
        return std::make_shared<MyCommand>(connection_);
    }
    std::filesystem::path InstallFolder() override { return installFolder_; }
    std::shared_ptr<twupdate::Observer> GetObserver() override { return observer_; }

    // For the program itself.
    void Run(const std::string& sql) { connection_->Query(sql); }
    double Number(const std::string& sql) {
        const Rows rows(connection_->Query(sql));
        if (rows.AtEnd() || rows.Get(0).IsNull()) {
            throw std::runtime_error("no number from " + sql);
        }
        return rows.Get(0).ToDouble();
    }

  private:
    std::shared_ptr<Connection> connection_;
    std::filesystem::path installFolder_;
    std::shared_ptr<twupdate::Observer> observer_;
};
