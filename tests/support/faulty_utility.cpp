#include "support/faulty_utility.h"

#include <utility>

namespace twupdate::test {
namespace {

class FaultyDatabase : public Database {
  public:
    FaultyDatabase(FaultyUtility& owner, std::shared_ptr<Database> inner)
        : owner_(owner), inner_(std::move(inner)) {}

    std::shared_ptr<Recordset> OpenRecordset(const std::string& sql, std::int32_t option1,
                                             std::int32_t option2) override {
        return owner_.Make(sql, [&] { return inner_->OpenRecordset(sql, option1, option2); });
    }
    void Execute(const std::string& sql, std::int64_t& rowsAffected) override {
        owner_.Make(sql, [&] { inner_->Execute(sql, rowsAffected); });
    }
    void GetLastInsertId(std::int32_t& id) override { inner_->GetLastInsertId(id); }
    std::shared_ptr<Reader> OpenReader(const std::string& sql) override {
        return owner_.Make(sql, [&] { return inner_->OpenReader(sql); });
    }

    const std::shared_ptr<Database>& Inner() const { return inner_; }

  private:
    FaultyUtility& owner_;
    std::shared_ptr<Database> inner_;
};

class FaultyCommand : public Command {
  public:
    FaultyCommand(FaultyUtility& owner, std::shared_ptr<Command> inner)
        : owner_(owner), inner_(std::move(inner)) {}

    void CloseCommand() override { inner_->CloseCommand(); }
    void AddParameter(const Value& value) override { inner_->AddParameter(value); }
    void SetText(const std::string& sql) override {
        text_ = sql;
        inner_->SetText(sql);
    }
    std::shared_ptr<Recordset> OpenCommandRecordset(
        const std::shared_ptr<Database>& database) override {
        return owner_.Make(text_, [&] { return inner_->OpenCommandRecordset(Inner(database)); });
    }
    void ExecuteCommand(const std::shared_ptr<Database>& database,
                        std::int64_t& rowsAffected) override {
        owner_.Make(text_, [&] { inner_->ExecuteCommand(Inner(database), rowsAffected); });
    }

  private:
    /// The host's own object behind ours.
    static std::shared_ptr<Database> Inner(const std::shared_ptr<Database>& database) {
        const auto ours = std::dynamic_pointer_cast<FaultyDatabase>(database);
        return ours ? ours->Inner() : database;
    }

    FaultyUtility& owner_;
    std::shared_ptr<Command> inner_;
    std::string text_;
};

class FaultyCommandFactory : public CommandFactory {
  public:
    FaultyCommandFactory(FaultyUtility& owner, std::shared_ptr<CommandFactory> inner)
        : owner_(owner), inner_(std::move(inner)) {}
    std::shared_ptr<Command> NewCommand() override {
        return std::make_shared<FaultyCommand>(owner_, inner_->NewCommand());
    }

  private:
    FaultyUtility& owner_;
    std::shared_ptr<CommandFactory> inner_;
};

class FaultyApplication : public Application {
  public:
    FaultyApplication(FaultyUtility& owner, std::shared_ptr<Application> inner)
        : owner_(owner), inner_(std::move(inner)) {}
    void Refresh() override {
        owner_.Make("refresh", [&] { inner_->Refresh(); });
    }

  private:
    FaultyUtility& owner_;
    std::shared_ptr<Application> inner_;
};

class FaultyComponentHost : public ComponentHost {
  public:
    FaultyComponentHost(FaultyUtility& owner, std::shared_ptr<ComponentHost> inner)
        : owner_(owner), inner_(std::move(inner)) {}

    std::shared_ptr<ComponentList> GetComponentList() override {
        return inner_->GetComponentList();
    }
    void UpgradeSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        owner_.Make(Text("UpgradeSiteComponent", siteId, component->GetComponentId()),
                    [&] { inner_->UpgradeSiteComponent(siteId, component); });
    }
    void RefreshSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        owner_.Make(Text("RefreshSiteComponent", siteId, component->GetComponentId()),
                    [&] { inner_->RefreshSiteComponent(siteId, component); });
    }
    void InitialiseSiteComponent(std::int32_t siteId,
                                 const std::shared_ptr<Component>& component) override {
        owner_.Make(Text("InitialiseSiteComponent", siteId, component->GetComponentId()),
                    [&] { inner_->InitialiseSiteComponent(siteId, component); });
    }
    void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) override {
        owner_.Make(Text("ResetSiteComponent", siteId, componentId),
                    [&] { inner_->ResetSiteComponent(siteId, componentId); });
    }
    std::shared_ptr<Application> GetApplication() override {
        return std::make_shared<FaultyApplication>(owner_, inner_->GetApplication());
    }

  private:
    static std::string Text(const std::string& service, std::int32_t siteId,
                            std::int32_t componentId) {
        return "service " + service + " " + std::to_string(siteId) + " " +
               std::to_string(componentId);
    }

    FaultyUtility& owner_;
    std::shared_ptr<ComponentHost> inner_;
};

}  // namespace

InjectedFault::InjectedFault(const std::string& statement)
    : HostError(statement, 0, "", "a fault that the test asked for") {}

FaultyUtility::FaultyUtility(std::shared_ptr<twupdate::Utility> inner) : inner_(std::move(inner)) {}

FaultyUtility::~FaultyUtility() = default;

void FaultyUtility::FailAt(std::size_t n, When when) {
    At(n, when, [this] { throw InjectedFault(log_.back()); });
}

void FaultyUtility::At(std::size_t n, When when, std::function<void()> action) {
    left_ = n;
    when_ = when;
    action_ = std::move(action);
}

void FaultyUtility::Heal() {
    left_ = kNever;
    action_ = nullptr;
}

void FaultyUtility::Count(const std::string& text) {
    log_.push_back(text);
    if (left_ != kNever && left_ > 0) {
        --left_;
    }
}

void FaultyUtility::FaultAfter() {
    if (left_ == 0 && when_ == kAfter) {
        Fault();
    }
}

void FaultyUtility::Fault() {
    const auto action = std::exchange(action_, nullptr);
    left_ = kNever;
    action();
}

std::shared_ptr<Database> FaultyUtility::GetDatabase() {
    return std::make_shared<FaultyDatabase>(*this, inner_->GetDatabase());
}

std::shared_ptr<ComponentHost> FaultyUtility::GetComponentHost() {
    return std::make_shared<FaultyComponentHost>(*this, inner_->GetComponentHost());
}

std::shared_ptr<CommandFactory> FaultyUtility::GetCommandFactory() {
    return std::make_shared<FaultyCommandFactory>(*this, inner_->GetCommandFactory());
}

std::filesystem::path FaultyUtility::InstallFolder() {
    return inner_->InstallFolder();
}

std::shared_ptr<twupdate::Observer> FaultyUtility::GetObserver() {
    return inner_->GetObserver();
}

std::string FaultyUtility::LocalHostName() {
    return inner_->LocalHostName();
}

}  // namespace twupdate::test
