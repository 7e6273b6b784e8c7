#include "capi/host_adapter.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <map>
#include <span>
#include <string_view>
#include <utility>

#include "capi/value.h"

namespace twupdate::capi {
namespace {

using SharedCallbacks = std::shared_ptr<const Callbacks>;

/// A pointer or number by which the C host knows one of its results or commands.
using Handle = void*;

/// A result of the C host: opened once, closed once.
class Result {
  public:
    Result(SharedCallbacks callbacks, std::string sql)
        : callbacks_(std::move(callbacks)), sql_(std::move(sql)) {}
    ~Result() { Close(); }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;

    template <typename Callback, typename... Arguments>
    void Open(Callback callback, Arguments... arguments) {
        callbacks_->Call(sql_, callback, arguments..., &handle_);
        isOpen_ = true;
    }

    bool IsEof() const {
        return callbacks_->Table().result_eof(callbacks_->Context(), handle_) != 0;
    }

    /// @throws HostError that names the column
    Value Read(const std::string& column) const {
        twu_value value{};
        try {
            callbacks_->Call(sql_, callbacks_->Table().result_field, handle_, column.c_str(),
                             &value);
        } catch (const HostError& error) {
            if (std::string_view(error.what()).find(column) != std::string_view::npos) {
                throw;
            }
            throw HostError(error.Statement(), error.Code(), error.SqlState(),
                            "column " + column + ": " + error.what());
        }
        return ToValue(value, sql_, column);
    }

    void MoveNext() { callbacks_->Call(sql_, callbacks_->Table().result_next, handle_); }

    void Close() noexcept {
        if (std::exchange(isOpen_, false)) {
            callbacks_->Release(callbacks_->Table().result_close, handle_);
        }
    }

  private:
    SharedCallbacks callbacks_;
    std::string sql_;  // for the errors
    Handle handle_ = nullptr;
    bool isOpen_ = false;
};

class CField final : public Field {
  public:
    CField(const Result& result, std::string_view column) : result_(result), column_(column) {}
    twupdate::Value Value() const override { return result_.Read(column_); }

  private:
    const Result& result_;
    std::string column_;
};

class CFields final : public Fields {
  public:
    explicit CFields(const Result& result) : result_(result) {}
    const Field& Item(std::string_view column) const override {
        auto found = fields_.find(column);
        if (found == fields_.end()) {
            // Reading it is the only way to learn whether the result has this column, and that
            // must be reported here: where a text is read, an error in Field::Value counts as "".
            (void)result_.Read(std::string(column));
            found = fields_.try_emplace(std::string(column), result_, column).first;
        }
        return found->second;
    }

  private:
    const Result& result_;
    mutable std::map<std::string, CField, std::less<>> fields_;
};

class CRecordset final : public Recordset {
  public:
    CRecordset(SharedCallbacks callbacks, std::string sql)
        : result_(std::move(callbacks), std::move(sql)), fields_(result_) {}
    Result& GetResult() { return result_; }

    bool IsEOF() const override { return result_.IsEof(); }
    const twupdate::Fields& Fields() const override { return fields_; }
    void MoveNext() override { result_.MoveNext(); }
    void Close() override { result_.Close(); }

  private:
    Result result_;
    CFields fields_;
};

class CReader final : public Reader {
  public:
    CReader(SharedCallbacks callbacks, std::string sql)
        : result_(std::move(callbacks), std::move(sql)) {}
    Result& GetResult() { return result_; }

    bool IsEOF() const override { return result_.IsEof(); }
    void ReaderMoveNext() override { result_.MoveNext(); }
    void ReaderClose() override { result_.Close(); }
    Value GetField(std::string_view column) const override {
        return result_.Read(std::string(column));
    }

  private:
    Result result_;
};

class CDatabase final : public Database {
  public:
    explicit CDatabase(SharedCallbacks callbacks) : callbacks_(std::move(callbacks)) {}

    std::shared_ptr<Recordset> OpenRecordset(const std::string& sql, std::int32_t,
                                             std::int32_t) override {
        return Open<CRecordset>(callbacks_->Table().open_query, sql);
    }

    void Execute(const std::string& sql, std::int64_t& rowsAffected) override {
        rowsAffected = -1;
        callbacks_->Call(sql, callbacks_->Table().execute, sql.c_str(), sql.size(), &rowsAffected);
    }

    void GetLastInsertId(std::int32_t& id) override {
        std::int64_t wide = 0;
        callbacks_->Call("GetLastInsertId", callbacks_->Table().last_insert_id, &wide);
        if (!std::in_range<std::int32_t>(wide)) {
            throw OverflowError("the last insert id " + std::to_string(wide) +
                                " is out of range for a 32-bit integer");
        }
        id = static_cast<std::int32_t>(wide);
    }

    std::shared_ptr<Reader> OpenReader(const std::string& sql) override {
        const auto& table = callbacks_->Table();
        return Open<CReader>(table.open_reader == nullptr ? table.open_query : table.open_reader,
                             sql);
    }

  private:
    template <typename Opened, typename Callback>
    std::shared_ptr<Opened> Open(Callback callback, const std::string& sql) const {
        auto opened = std::make_shared<Opened>(callbacks_, sql);
        opened->GetResult().Open(callback, sql.c_str(), sql.size());
        return opened;
    }

    SharedCallbacks callbacks_;
};

class CCommand final : public Command {
  public:
    explicit CCommand(SharedCallbacks callbacks) : callbacks_(std::move(callbacks)) {}
    ~CCommand() override { Close(); }

    void Make() {
        callbacks_->Call("NewCommand", callbacks_->Table().command_new, &handle_);
        isOpen_ = true;
    }

    void CloseCommand() override { Close(); }

    void AddParameter(const Value& value) override {
        const twu_value parameter = FromValue(value);
        callbacks_->Call(sql_, callbacks_->Table().command_add_parameter, handle_, &parameter);
    }

    void SetText(const std::string& sql) override {
        sql_ = sql;
        callbacks_->Call(sql_, callbacks_->Table().command_set_text, handle_, sql_.c_str(),
                         sql_.size());
    }

    std::shared_ptr<Recordset> OpenCommandRecordset(const std::shared_ptr<Database>&) override {
        auto opened = std::make_shared<CRecordset>(callbacks_, sql_);
        opened->GetResult().Open(callbacks_->Table().command_open, handle_);
        return opened;
    }

    void ExecuteCommand(const std::shared_ptr<Database>&, std::int64_t& rowsAffected) override {
        rowsAffected = -1;
        callbacks_->Call(sql_, callbacks_->Table().command_execute, handle_, &rowsAffected);
    }

  private:
    void Close() noexcept {
        if (std::exchange(isOpen_, false)) {
            callbacks_->Release(callbacks_->Table().command_close, handle_);
        }
    }

    SharedCallbacks callbacks_;
    Handle handle_ = nullptr;
    std::string sql_;
    bool isOpen_ = false;
};

class CCommandFactory final : public CommandFactory {
  public:
    explicit CCommandFactory(SharedCallbacks callbacks) : callbacks_(std::move(callbacks)) {}

    std::shared_ptr<Command> NewCommand() override {
        auto command = std::make_shared<CCommand>(callbacks_);
        command->Make();
        return command;
    }

  private:
    SharedCallbacks callbacks_;
};

class CComponent final : public Component {
  public:
    CComponent(std::int32_t id, const twu_component& component, const std::string& about)
        : id_(id),
          name_(ToString(component.name, about, "name")),
          folder_(ToString(component.folder, about, "folder")) {}
    std::int32_t GetComponentId() const override { return id_; }
    std::string GetComponentName() const override { return name_; }
    std::string GetFolderName() const override { return folder_; }

  private:
    std::int32_t id_;
    std::string name_;
    std::string folder_;
};

class CComponentList final : public ComponentList {
  public:
    explicit CComponentList(SharedCallbacks callbacks) : callbacks_(std::move(callbacks)) {}

    std::shared_ptr<Component> Item(std::int32_t componentId) override {
        twu_component component{};
        const std::string about = "ComponentList.Item " + std::to_string(componentId);
        callbacks_->Call(about, callbacks_->Table().component_item, componentId, &component);
        return std::make_shared<CComponent>(componentId, component, about);
    }

  private:
    SharedCallbacks callbacks_;
};

class CApplication final : public Application {
  public:
    explicit CApplication(SharedCallbacks callbacks) : callbacks_(std::move(callbacks)) {}
    void Refresh() override {
        callbacks_->Call("Refresh", callbacks_->Table().refresh_application);
    }

  private:
    SharedCallbacks callbacks_;
};

class CComponentHost final : public ComponentHost {
  public:
    explicit CComponentHost(SharedCallbacks callbacks) : callbacks_(std::move(callbacks)) {}

    std::shared_ptr<ComponentList> GetComponentList() override {
        return std::make_shared<CComponentList>(callbacks_);
    }
    void UpgradeSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Serve("UpgradeSiteComponent", callbacks_->Table().upgrade_site_component, siteId,
              component->GetComponentId());
    }
    void RefreshSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Serve("RefreshSiteComponent", callbacks_->Table().refresh_site_component, siteId,
              component->GetComponentId());
    }
    void InitialiseSiteComponent(std::int32_t siteId,
                                 const std::shared_ptr<Component>& component) override {
        Serve("InitialiseSiteComponent", callbacks_->Table().initialise_site_component, siteId,
              component->GetComponentId());
    }
    void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) override {
        Serve("ResetSiteComponent", callbacks_->Table().reset_site_component, siteId, componentId);
    }
    std::shared_ptr<Application> GetApplication() override {
        return std::make_shared<CApplication>(callbacks_);
    }

  private:
    template <typename Callback>
    void Serve(const std::string& name, Callback callback, std::int32_t siteId,
               std::int32_t componentId) const {
        callbacks_->Call(name + " " + std::to_string(siteId) + " " + std::to_string(componentId),
                         callback, siteId, componentId);
    }

    SharedCallbacks callbacks_;
};

class CObserver final : public Observer {
  public:
    explicit CObserver(SharedCallbacks callbacks) : callbacks_(std::move(callbacks)) {}

    void LadderStarting(Ladder ladder, const std::string& database, double version) override {
        Tell("LadderStarting", callbacks_->Table().ladder_starting, ToC(ladder), database.c_str(),
             version);
    }
    void LadderEnded(Ladder ladder, const std::string& database) override {
        Tell("LadderEnded", callbacks_->Table().ladder_ended, ToC(ladder), database.c_str());
    }
    void StepStarting(const LadderStep& step, const std::string& database) override {
        Tell("StepStarting", callbacks_->Table().step_starting, ToC(step), database.c_str());
    }
    void StepEnded(const LadderStep& step, const std::string& database) override {
        Tell("StepEnded", callbacks_->Table().step_ended, ToC(step), database.c_str());
    }
    void SiteWalkStarting() override {
        Tell("SiteWalkStarting", callbacks_->Table().site_walk_starting);
    }
    void SiteStarting(std::int32_t siteId, double version) override {
        Tell("SiteStarting", callbacks_->Table().site_starting, siteId, version);
    }
    void SiteEnded(std::int32_t siteId) override {
        Tell("SiteEnded", callbacks_->Table().site_ended, siteId);
    }
    void FileCopied(const std::filesystem::path& source,
                    const std::filesystem::path& destination) override {
        Tell("FileCopied", callbacks_->Table().file_copied, source.c_str(), destination.c_str());
    }

  private:
    static twu_ladder ToC(Ladder ladder) { return static_cast<twu_ladder>(ladder); }
    static const twu_step* ToC(const LadderStep& step) {
        return FindStep(ToC(step.ladder), static_cast<std::size_t>(step.number - 1));
    }

    template <typename Callback, typename... Arguments>
    void Tell(const char* name, Callback callback, Arguments... arguments) const {
        if (callback != nullptr) {
            callbacks_->Call(name, callback, arguments...);
        }
    }

    SharedCallbacks callbacks_;
};

class CUtility final : public Utility {
  public:
    explicit CUtility(SharedCallbacks callbacks)
        : callbacks_(std::move(callbacks)), observer_(std::make_shared<CObserver>(callbacks_)) {}

    std::shared_ptr<Database> GetDatabase() override {
        return std::make_shared<CDatabase>(callbacks_);
    }
    std::shared_ptr<ComponentHost> GetComponentHost() override {
        return std::make_shared<CComponentHost>(callbacks_);
    }
    std::shared_ptr<CommandFactory> GetCommandFactory() override {
        return std::make_shared<CCommandFactory>(callbacks_);
    }
    std::filesystem::path InstallFolder() override {
        const auto callback = callbacks_->Table().install_folder;
        return callback == nullptr ? Utility::InstallFolder()
                                   : std::filesystem::path(Ask("InstallFolder", callback));
    }
    std::shared_ptr<Observer> GetObserver() override { return observer_; }
    std::string LocalHostName() override {
        const auto callback = callbacks_->Table().local_host_name;
        return callback == nullptr ? Utility::LocalHostName() : Ask("LocalHostName", callback);
    }

  private:
    template <typename Callback>
    std::string Ask(const char* name, Callback callback) const {
        twu_text text{};
        callbacks_->Call(name, callback, &text);
        return ToString(text, name, "text");
    }

    SharedCallbacks callbacks_;
    std::shared_ptr<Observer> observer_;
};

class CFeature final : public Feature {
  public:
    CFeature(twu_get_setting getSetting, void* cart) : getSetting_(getSetting), cart_(cart) {}

    Value GetSetting(const std::string& name) override {
        twu_value value{};
        twu_error error;
        const twu_status status = getSetting_(cart_, name.c_str(), &value, &error);
        const std::string about = "GetSetting " + name;
        if (status != TWU_OK) {
            ThrowFailure(status, error, about);
        }
        return ToValue(value, about, name);
    }

  private:
    twu_get_setting getSetting_;
    void* cart_;
};

/// The size of the table in the library's first version, which ends with `released`. Callbacks that
/// are added later stand behind it.
constexpr std::size_t kFirstTableSize = offsetof(twu_host_callbacks, released) + sizeof(void*);

/// The table of a host that may have been built against another version of the header. What it
/// does not have is missing; what this version does not know must be missing.
twu_host_callbacks CopyTable(const twu_host_callbacks& given) {
    if (given.size < kFirstTableSize) {
        throw InvalidArgument("callbacks.size is " + std::to_string(given.size) +
                              ": set it to sizeof(twu_host_callbacks)");
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(&given);
    const std::size_t known = std::min(given.size, sizeof(twu_host_callbacks));
    if (std::any_of(bytes + known, bytes + given.size, [](unsigned char b) { return b != 0; })) {
        throw InvalidArgument("a callback is set that this version of the library does not know");
    }
    twu_host_callbacks table{};
    std::memcpy(&table, bytes, known);
    return table;
}

}  // namespace

Callbacks::Callbacks(const twu_host_callbacks& callbacks, void* context)
    : table_(CopyTable(callbacks)), context_(context) {
    const std::pair<bool, const char*> required[] = {
        {table_.execute != nullptr, "execute"},
        {table_.open_query != nullptr, "open_query"},
        {table_.last_insert_id != nullptr, "last_insert_id"},
        {table_.result_eof != nullptr, "result_eof"},
        {table_.result_field != nullptr, "result_field"},
        {table_.result_next != nullptr, "result_next"},
        {table_.result_close != nullptr, "result_close"},
        {table_.command_new != nullptr, "command_new"},
        {table_.command_add_parameter != nullptr, "command_add_parameter"},
        {table_.command_set_text != nullptr, "command_set_text"},
        {table_.command_open != nullptr, "command_open"},
        {table_.command_execute != nullptr, "command_execute"},
        {table_.command_close != nullptr, "command_close"},
    };
    for (const auto& [isThere, name] : required) {
        if (!isThere) {
            throw InvalidArgument(std::string("the required callback ") + name + " is missing");
        }
    }
}

Callbacks::~Callbacks() {
    if (tellsWhenReleased_ && table_.released != nullptr) {
        Release(table_.released);
    }
}

std::shared_ptr<Utility> MakeUtility(const twu_host_callbacks& callbacks, void* context) {
    const auto shared = std::make_shared<Callbacks>(callbacks, context);
    auto utility = std::make_shared<CUtility>(shared);
    shared->TellWhenReleased();
    return utility;
}

std::shared_ptr<Feature> MakeFeature(twu_get_setting getSetting, void* cart) {
    return std::make_shared<CFeature>(getSetting, cart);
}

}  // namespace twupdate::capi
