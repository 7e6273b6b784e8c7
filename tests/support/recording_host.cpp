#include "support/recording_host.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace twupdate::test {
namespace {

bool EqualNames(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

/// Walks a result set; the base of both kinds of result that the host hands out.
class Cursor {
  public:
    Cursor(RecordingHost& host, ResultSet result) : host_(host), result_(std::move(result)) {
        ++host_.openRecordsets;
    }
    bool AtEnd() const {
        RequireOpen();
        return row_ >= result_.rows.size();
    }
    void Next() {
        RequireOpen();
        ++row_;
    }
    void Close() {
        if (std::exchange(open_, false)) {
            --host_.openRecordsets;
        }
    }
    const Value& Get(std::string_view column) const {
        RequireOpen();
        for (std::size_t i = 0; i < result_.columns.size(); ++i) {
            if (EqualNames(result_.columns[i], column)) {
                return result_.rows.at(row_).at(i);
            }
        }
        throw HostError("", 0, "", "the recordset has no column " + std::string(column));
    }

  private:
    /// Nothing but destruction follows Close.
    void RequireOpen() const {
        if (!open_) {
            throw HostError("", 0, "", "the recordset is closed");
        }
    }

    RecordingHost& host_;
    ResultSet result_;
    std::size_t row_ = 0;
    bool open_ = true;
};

class RecordingRecordset : public Recordset, private Fields {
  public:
    RecordingRecordset(RecordingHost& host, ResultSet result) : cursor_(host, std::move(result)) {}
    bool IsEOF() const override { return cursor_.AtEnd(); }
    const twupdate::Fields& Fields() const override { return *this; }
    void MoveNext() override { cursor_.Next(); }
    void Close() override { cursor_.Close(); }

  private:
    class CursorField : public Field {
      public:
        CursorField(const Cursor& cursor, std::string column)
            : cursor_(cursor), column_(std::move(column)) {}
        twupdate::Value Value() const override { return cursor_.Get(column_); }

      private:
        const Cursor& cursor_;
        std::string column_;
    };

    const Field& Item(std::string_view column) const override {
        static_cast<void>(cursor_.Get(column));  // an unknown name fails here
        auto& field = fields_[std::string(column)];
        if (!field) {
            field = std::make_unique<CursorField>(cursor_, std::string(column));
        }
        return *field;
    }

    Cursor cursor_;
    mutable std::map<std::string, std::unique_ptr<CursorField>> fields_;
};

class RecordingReader : public Reader {
  public:
    RecordingReader(RecordingHost& host, ResultSet result) : cursor_(host, std::move(result)) {}
    bool IsEOF() const override { return cursor_.AtEnd(); }
    void ReaderMoveNext() override { cursor_.Next(); }
    void ReaderClose() override { cursor_.Close(); }
    Value GetField(std::string_view column) const override { return cursor_.Get(column); }

  private:
    Cursor cursor_;
};

class RecordingComponent : public Component {
  public:
    RecordingComponent(std::int32_t id, std::string folder) : id_(id), folder_(std::move(folder)) {}
    std::int32_t GetComponentId() const override { return id_; }
    std::string GetComponentName() const override { return "Component " + std::to_string(id_); }
    std::string GetFolderName() const override { return folder_; }

  private:
    std::int32_t id_;
    std::string folder_;
};

class RecordingServices : public ComponentHost,
                          public ComponentList,
                          public Application,
                          public std::enable_shared_from_this<RecordingServices> {
  public:
    explicit RecordingServices(RecordingHost& host) : host_(host) {}

    std::shared_ptr<ComponentList> GetComponentList() override { return shared_from_this(); }
    std::shared_ptr<Component> Item(std::int32_t componentId) override {
        const auto folder = host_.componentFolders.find(componentId);
        if (folder != host_.componentFolders.end()) {
            return std::make_shared<RecordingComponent>(componentId, folder->second);
        }
        if (host_.knownComponentsOnly) {
            throw HostError("", 0, "", "no component " + std::to_string(componentId));
        }
        return std::make_shared<RecordingComponent>(componentId,
                                                    "component" + std::to_string(componentId));
    }
    void UpgradeSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Service("UpgradeSiteComponent", siteId, component->GetComponentId());
    }
    void RefreshSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Service("RefreshSiteComponent", siteId, component->GetComponentId());
    }
    void InitialiseSiteComponent(std::int32_t siteId,
                                 const std::shared_ptr<Component>& component) override {
        Service("InitialiseSiteComponent", siteId, component->GetComponentId());
    }
    void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) override {
        Service("ResetSiteComponent", siteId, componentId);
    }
    std::shared_ptr<Application> GetApplication() override { return shared_from_this(); }
    void Refresh() override { host_.Record("refresh", "Refresh"); }

  private:
    void Service(const std::string& name, std::int32_t siteId, std::int32_t componentId) {
        const std::string call =
            name + " " + std::to_string(siteId) + " " + std::to_string(componentId);
        host_.Record("service " + call, call);
    }

    RecordingHost& host_;
};

}  // namespace

class RecordingDatabase : public Database {
  public:
    explicit RecordingDatabase(RecordingHost& host) : host_(host) {}

    std::shared_ptr<Recordset> OpenRecordset(const std::string& sql, std::int32_t option1,
                                             std::int32_t option2) override {
        if (option1 != 0 || option2 != 0) {
            throw HostError(sql, 0, "", "the two options of OpenRecordset must be 0");
        }
        return std::make_shared<RecordingRecordset>(host_, Run("query", sql));
    }
    void Execute(const std::string& sql, std::int64_t& rowsAffected) override {
        Run("execute", sql);
        rowsAffected = -1;
    }
    void GetLastInsertId(std::int32_t& id) override {
        if (host_.insertIds.empty()) {
            id = host_.nextInsertId_++;
        } else {
            id = host_.insertIds.front();
            host_.insertIds.pop_front();
        }
    }
    std::shared_ptr<Reader> OpenReader(const std::string& sql) override {
        return std::make_shared<RecordingReader>(host_, Run("reader", sql));
    }
    ResultSet Run(const std::string& op, const std::string& sql,
                  const std::vector<Value>& parameters = {}) {
        host_.mostStatementsOfOneDatabase =
            std::max(host_.mostStatementsOfOneDatabase, ++statements_);
        return host_.Run(op, sql, parameters);
    }

  private:
    RecordingHost& host_;
    int statements_ = 0;
};

namespace {

class RecordingCommand : public Command {
  public:
    explicit RecordingCommand(RecordingHost& host) : host_(host) {}
    void CloseCommand() override {
        ++host_.commandsClosed;
        open_ = false;
    }
    void AddParameter(const Value& value) override {
        ++host_.parametersBound;
        parameters_.push_back(value);
    }
    void SetText(const std::string& sql) override { sql_ = sql; }
    std::shared_ptr<Recordset> OpenCommandRecordset(
        const std::shared_ptr<Database>& database) override {
        return std::make_shared<RecordingRecordset>(host_, Run(database));
    }
    void ExecuteCommand(const std::shared_ptr<Database>& database,
                        std::int64_t& rowsAffected) override {
        Run(database);
        rowsAffected = -1;
    }

  private:
    ResultSet Run(const std::shared_ptr<Database>& database) {
        if (!open_) {
            throw HostError(sql_, 0, "", "the command is closed");
        }
        return dynamic_cast<RecordingDatabase&>(*database).Run("command", sql_, parameters_);
    }

    RecordingHost& host_;
    std::string sql_;
    std::vector<Value> parameters_;
    bool open_ = true;
};

class RecordingCommandFactory : public CommandFactory {
  public:
    explicit RecordingCommandFactory(RecordingHost& host) : host_(host) {}
    std::shared_ptr<Command> NewCommand() override {
        ++host_.commandsMade;
        return std::make_shared<RecordingCommand>(host_);
    }

  private:
    RecordingHost& host_;
};

}  // namespace

RecordingHost::RecordingHost() = default;
RecordingHost::~RecordingHost() = default;

void RecordingHost::Answer(const std::string& sql, ResultSet result) {
    answers_[sql].results.push_back(std::move(result));
}

void RecordingHost::FailAt(std::size_t call, std::uint32_t code) {
    failAt_ = call;
    failCode_ = code;
}

std::vector<std::string> RecordingHost::Changes() const {
    std::vector<std::string> changes;
    std::copy_if(log.begin(), log.end(), std::back_inserter(changes), [](const std::string& line) {
        return line.starts_with("execute ") ||
               (line.starts_with("command ") && !line.starts_with("command SELECT"));
    });
    return changes;
}

std::vector<std::string> RecordingHost::Lines(const std::string& op) const {
    std::vector<std::string> lines;
    for (const std::string& line : log) {
        if (line.starts_with(op + " ")) {
            lines.push_back(line.substr(op.size() + 1));
        }
    }
    return lines;
}

std::shared_ptr<Database> RecordingHost::GetDatabase() {
    return std::make_shared<RecordingDatabase>(*this);
}

std::shared_ptr<ComponentHost> RecordingHost::GetComponentHost() {
    return std::make_shared<RecordingServices>(*this);
}

std::shared_ptr<CommandFactory> RecordingHost::GetCommandFactory() {
    return std::make_shared<RecordingCommandFactory>(*this);
}

std::filesystem::path RecordingHost::InstallFolder() {
    return installFolder.empty() ? Utility::InstallFolder() : installFolder;
}

std::shared_ptr<twupdate::Observer> RecordingHost::GetObserver() {
    return observer;
}

std::string RecordingHost::LocalHostName() {
    return localHostName ? *localHostName : Utility::LocalHostName();
}

void RecordingHost::Record(const std::string& line, const std::string& statement) {
    log.push_back(line);
    if (failAt_ == log.size()) {
        throw HostError(statement, failCode_, "HY000", "a failure made by the test");
    }
}

ResultSet RecordingHost::RunOnCatalogue(const std::string& sql) {
    host::StatementNames names = host::NamesIn(sql);
    if (names.kind > host::StatementKind::kDelete || names.kind == host::StatementKind::kInspect) {
        return catalogue.Run(sql);
    }
    names.columns.clear();  // a test's tables have only the columns that it is about
    names.uses.clear();
    if (const auto missing = catalogue.Missing(names)) {
        throw *missing;
    }
    return {};
}

ResultSet RecordingHost::Run(const std::string& op, const std::string& sql,
                             const std::vector<Value>& parameters) {
    std::string line = op + " " + sql;
    if (op == "command") {
        line += " [";
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            line += (i > 0 ? ", " : "") +
                    (parameters[i].IsNull() ? std::string("NULL") : parameters[i].ToText());
        }
        line += "]";
    }
    Record(line, sql);
    ResultSet result;
    try {
        result = RunOnCatalogue(sql);
    } catch (const host::Refusal& refused) {
        throw HostError(sql, refused.code, refused.sqlState, refused.text);
    }
    const auto answer = answers_.find(sql);
    if (answer == answers_.end()) {
        return result;
    }
    auto& results = answer->second.results;
    result = results.front();
    if (results.size() > 1) {
        results.pop_front();
    }
    return result;
}

}  // namespace twupdate::test
