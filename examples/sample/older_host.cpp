#include "sample/older_host.h"

#include <string_view>
#include <utility>

#include "twupdate/update.h"

namespace twupdate::sample {
namespace {

constexpr double kFirstVersion = 1.0;

/// Steps that need more than their own version gives: an older site is better off without them.
bool IsLeftOut(std::string_view step) {
    return step == "SiteContentStep_1_0081"      // copies a column that came with 1.0244
           || step == "SiteContentStep_1_0223";  // writes into the central database
}

class EmptyRecordset : public Recordset, private Fields {
  public:
    bool IsEOF() const override { return true; }
    const twupdate::Fields& Fields() const override { return *this; }
    void MoveNext() override {}
    void Close() override {}

  private:
    const Field& Item(std::string_view column) const override {
        throw HostError("", 0, "", "no row to read " + std::string(column) + " from");
    }
};

class EmptyReader : public Reader {
  public:
    bool IsEOF() const override { return true; }
    void ReaderMoveNext() override {}
    void ReaderClose() override {}
    Value GetField(std::string_view column) const override {
        throw HostError("", 0, "", "no row to read " + std::string(column) + " from");
    }
};

class DeafDatabase : public Database {
  public:
    std::shared_ptr<Recordset> OpenRecordset(const std::string&, std::int32_t,
                                             std::int32_t) override {
        return std::make_shared<EmptyRecordset>();
    }
    void Execute(const std::string&, std::int64_t& rowsAffected) override { rowsAffected = 0; }
    void GetLastInsertId(std::int32_t& id) override { id = 0; }
    std::shared_ptr<Reader> OpenReader(const std::string&) override {
        return std::make_shared<EmptyReader>();
    }
};

class DeafCommand : public Command {
  public:
    void CloseCommand() override {}
    void AddParameter(const Value&) override {}
    void SetText(const std::string&) override {}
    std::shared_ptr<Recordset> OpenCommandRecordset(const std::shared_ptr<Database>&) override {
        return std::make_shared<EmptyRecordset>();
    }
    void ExecuteCommand(const std::shared_ptr<Database>&, std::int64_t& rowsAffected) override {
        rowsAffected = 0;
    }
};

class DeafCommandFactory : public CommandFactory {
  public:
    std::shared_ptr<Command> NewCommand() override { return std::make_shared<DeafCommand>(); }
};

/// A component that is looked up in the host's list only when its folder is asked for, and that
/// has no folder where the list does not know it: an installation may be older than the step.
class ListedComponent : public Component {
  public:
    ListedComponent(std::shared_ptr<ComponentHost> host, std::int32_t componentId)
        : host_(std::move(host)), componentId_(componentId) {}
    std::int32_t GetComponentId() const override { return componentId_; }
    std::string GetComponentName() const override { return {}; }
    std::string GetFolderName() const override {
        try {
            return host_->GetComponentList()->Item(componentId_)->GetFolderName();
        } catch (const HostError&) {
            return "none";
        }
    }

  private:
    std::shared_ptr<ComponentHost> host_;
    std::int32_t componentId_;
};

class ListedComponents : public ComponentList {
  public:
    explicit ListedComponents(std::shared_ptr<ComponentHost> host) : host_(std::move(host)) {}
    std::shared_ptr<Component> Item(std::int32_t componentId) override {
        return std::make_shared<ListedComponent>(host_, componentId);
    }

  private:
    std::shared_ptr<ComponentHost> host_;
};

class NoApplication : public Application {
  public:
    void Refresh() override {}
};

/// Services that do nothing; the components are the host's own.
class IdleComponentHost : public ComponentHost {
  public:
    explicit IdleComponentHost(std::shared_ptr<ComponentHost> host) : host_(std::move(host)) {}
    std::shared_ptr<ComponentList> GetComponentList() override {
        return std::make_shared<ListedComponents>(host_);
    }
    void UpgradeSiteComponent(std::int32_t, const std::shared_ptr<Component>&) override {}
    void RefreshSiteComponent(std::int32_t, const std::shared_ptr<Component>&) override {}
    void InitialiseSiteComponent(std::int32_t, const std::shared_ptr<Component>&) override {}
    void ResetSiteComponent(std::int32_t, std::int32_t) override {}
    std::shared_ptr<Application> GetApplication() override {
        return std::make_shared<NoApplication>();
    }

  private:
    std::shared_ptr<ComponentHost> host_;
};

/// Hands everything on to the host while a step of the wanted age runs.
class OlderHost : public Utility,
                  public twupdate::Observer,
                  public std::enable_shared_from_this<OlderHost> {
  public:
    OlderHost(std::shared_ptr<Utility> host, Age age) : host_(std::move(host)), age_(age) {}

    std::shared_ptr<Database> GetDatabase() override {
        return deaf_ ? std::make_shared<DeafDatabase>() : host_->GetDatabase();
    }
    std::shared_ptr<ComponentHost> GetComponentHost() override {
        return std::make_shared<IdleComponentHost>(host_->GetComponentHost());
    }
    std::shared_ptr<CommandFactory> GetCommandFactory() override {
        return deaf_ ? std::make_shared<DeafCommandFactory>() : host_->GetCommandFactory();
    }
    std::filesystem::path InstallFolder() override {
        return deaf_ ? "/nonexistent/component" : host_->InstallFolder();
    }
    std::string LocalHostName() override { return host_->LocalHostName(); }
    std::shared_ptr<twupdate::Observer> GetObserver() override { return shared_from_this(); }

    void StepStarting(const LadderStep& step, const std::string&) override {
        const bool isSchema = step.ladder == Ladder::kSiteSchema || step.ladder == Ladder::kServer;
        deaf_ = step.threshold > (isSchema ? age_.schema : age_.content) || IsLeftOut(step.name);
    }
    void StepEnded(const LadderStep&, const std::string&) override { deaf_ = false; }
    /// The server ladders have ended; nothing that comes after them belongs to an older database.
    void SiteWalkStarting() override { deaf_ = true; }

  private:
    std::shared_ptr<Utility> host_;
    Age age_;
    bool deaf_ = false;
};

}  // namespace

void BringSiteTo(const std::shared_ptr<Utility>& host, std::int32_t siteId, Age age) {
    Update update;
    update.Configure(std::make_shared<OlderHost>(host, age));
    update.UpdateSite(siteId, kFirstVersion);
}

void BringCentralTo(const std::shared_ptr<Utility>& host, Age age) {
    Update update;
    update.Configure(std::make_shared<OlderHost>(host, age));
    update.UpdateServer(kFirstVersion);
    const auto command = host->GetCommandFactory()->NewCommand();
    command->AddParameter(age.schema);
    command->SetText("UPDATE tw_tarnwick.installation SET version = ?;");
    std::int64_t rowsAffected = 0;
    command->ExecuteCommand(host->GetDatabase(), rowsAffected);
    command->CloseCommand();
}

}  // namespace twupdate::sample
