#include "twupdate_host/component_services.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "timed_call.h"

namespace twupdate::host {
namespace {

constexpr const char* kComponentQuery =
    "SELECT componentid, componentname, foldername FROM tw_tarnwick.component;";

class StoredComponent : public Component {
  public:
    StoredComponent(std::int32_t id, std::string name, std::string folder)
        : id_(id), name_(std::move(name)), folder_(std::move(folder)) {}
    std::int32_t GetComponentId() const override { return id_; }
    std::string GetComponentName() const override { return name_; }
    std::string GetFolderName() const override { return folder_; }

  private:
    std::int32_t id_;
    std::string name_;
    std::string folder_;
};

using Components = std::map<std::int32_t, std::shared_ptr<Component>>;

std::string TextOrEmpty(const Value& value) {
    return value.IsNull() ? std::string() : value.ToText();
}

/// The components of the data file that the next upgrade of the central database imports. Lines
/// that are none are skipped; the import itself reports them.
Components ShippedComponents(const std::filesystem::path& dataFile) {
    Components components;
    std::ifstream lines(dataFile, std::ios::binary);
    for (std::string line; std::getline(lines, line);) {
        const auto name = line.find('\t');
        const auto folder = name == std::string::npos ? name : line.find('\t', name + 1);
        const Value id(line.substr(0, name));
        if (folder != std::string::npos && id.IsNumeric()) {
            components[id.ToInt32()] = std::make_shared<StoredComponent>(
                id.ToInt32(), line.substr(name + 1, folder - name - 1),
                line.substr(folder + 1, line.find_first_of("\t\r", folder + 1) - folder - 1));
        }
    }
    return components;
}

/// What became of the command, in words; empty for success.
std::string RunCommand(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawnattr_t ordinary;  // a script could not take back that the program ignores the signal
    posix_spawnattr_init(&ordinary);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&ordinary, &signals);
    posix_spawnattr_setflags(&ordinary, POSIX_SPAWN_SETSIGDEF);
    pid_t pid = 0;
    const int error =
        posix_spawnp(&pid, arguments[0], nullptr, &ordinary, arguments.data(), environ);
    posix_spawnattr_destroy(&ordinary);
    if (error != 0) {
        return "cannot be started: " + std::string(std::strerror(error));
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return "cannot be waited for: " + std::string(std::strerror(errno));
        }
    }
    if (WIFSIGNALED(status)) {
        return "was ended by signal " + std::to_string(WTERMSIG(status));
    }
    if (WEXITSTATUS(status) != 0) {
        return "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    return {};
}

}  // namespace

struct ComponentServices::State {
    std::vector<std::string> command;
    std::filesystem::path componentData;
    std::filesystem::path logPath;
    std::ofstream log;
    std::shared_ptr<Connection> connection;
    std::shared_ptr<StatementListener> listener;
    std::map<std::string, std::size_t> calls;
    std::optional<Components> components;

    /// The host's own business, of which the listener does not hear.
    void ReadComponents() {
        const auto rows = connection->Query(kComponentQuery);
        Components read = ShippedComponents(componentData);
        while (rows->Next()) {
            const std::int32_t id = rows->Get(0).ToInt32();
            read[id] = std::make_shared<StoredComponent>(id, TextOrEmpty(rows->Get(1)),
                                                         TextOrEmpty(rows->Get(2)));
        }
        components = std::move(read);
    }

    void CarryOut(const std::string& name, std::int32_t siteId, std::int32_t componentId) {
        if (!command.empty()) {
            auto words = command;
            words.insert(words.end(), {name, std::to_string(siteId), std::to_string(componentId)});
            if (const std::string problem = RunCommand(std::move(words)); !problem.empty()) {
                Fail(name, siteId, componentId,
                     "the service command " + command.front() + " " + problem);
            }
        } else if (log.is_open()) {
            nlohmann::ordered_json line{{"service", name}};
            if (name != "RefreshApplication") {
                line["site"] = siteId;
                line["component"] = componentId;
            }
            log << line.dump() << std::endl;
            if (!log) {
                Fail(name, siteId, componentId,
                     "the services log " + logPath.string() + " cannot be written");
            }
        }
        ++calls[name];
    }

    [[noreturn]] static void Fail(const std::string& name, std::int32_t siteId,
                                  std::int32_t componentId, const std::string& text) {
        const std::string call =
            name + " " + std::to_string(siteId) + " " + std::to_string(componentId);
        throw HostError(call, 0, "", call + ": " + text);
    }
};

class ServicesComponentList : public ComponentList {
  public:
    explicit ServicesComponentList(std::shared_ptr<ComponentServices> services)
        : services_(std::move(services)) {}

    std::shared_ptr<Component> Item(std::int32_t componentId) override {
        auto& state = *services_->state_;
        if (!state.components) {
            state.ReadComponents();
        }
        const auto found = state.components->find(componentId);
        if (found == state.components->end()) {
            throw HostError(kComponentQuery, 0, "",
                            "neither tw_tarnwick.component nor the data file " +
                                state.componentData.string() + " has component " +
                                std::to_string(componentId));
        }
        return found->second;
    }

  private:
    std::shared_ptr<ComponentServices> services_;
};

class ServicesApplication : public Application {
  public:
    explicit ServicesApplication(std::shared_ptr<ComponentServices> services)
        : services_(std::move(services)) {}

    void Refresh() override {
        auto& state = *services_->state_;
        TimedCall(state.listener.get(), {.operation = Operation::kRefresh},
                  [&] { state.CarryOut("RefreshApplication", 0, 0); });
        services_->ForgetComponents();
    }

  private:
    std::shared_ptr<ComponentServices> services_;
};

ComponentServices::ComponentServices(std::unique_ptr<State> state) : state_(std::move(state)) {}
ComponentServices::~ComponentServices() = default;

std::shared_ptr<ComponentServices> ComponentServices::Make(
    const ComponentServicesOptions& options, std::shared_ptr<Connection> connection,
    std::shared_ptr<StatementListener> listener) {
    auto state = std::make_unique<State>();
    state->connection = std::move(connection);
    state->listener = std::move(listener);
    state->componentData = options.componentData;
    if (!options.serviceCommand.empty()) {
        state->command = SplitCommand(options.serviceCommand);
    } else if (!options.servicesLog.empty()) {
        state->logPath = options.servicesLog;
        state->log.open(options.servicesLog, std::ios::app);
        if (!state->log) {
            throw FileError("the services log " + options.servicesLog.string() +
                            " cannot be opened: " + std::strerror(errno));
        }
    }
    return std::shared_ptr<ComponentServices>(new ComponentServices(std::move(state)));
}

std::shared_ptr<ComponentList> ComponentServices::GetComponentList() {
    return std::make_shared<ServicesComponentList>(shared_from_this());
}

void ComponentServices::UpgradeSiteComponent(std::int32_t siteId,
                                             const std::shared_ptr<Component>& component) {
    Call("UpgradeSiteComponent", siteId, component->GetComponentId());
}

void ComponentServices::RefreshSiteComponent(std::int32_t siteId,
                                             const std::shared_ptr<Component>& component) {
    Call("RefreshSiteComponent", siteId, component->GetComponentId());
}

void ComponentServices::InitialiseSiteComponent(std::int32_t siteId,
                                                const std::shared_ptr<Component>& component) {
    Call("InitialiseSiteComponent", siteId, component->GetComponentId());
}

void ComponentServices::ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) {
    Call("ResetSiteComponent", siteId, componentId);
}

std::shared_ptr<Application> ComponentServices::GetApplication() {
    return std::make_shared<ServicesApplication>(shared_from_this());
}

const std::map<std::string, std::size_t>& ComponentServices::Calls() const {
    return state_->calls;
}

bool ComponentServices::HasCommand() const {
    return !state_->command.empty();
}

void ComponentServices::ForgetComponents() {
    state_->components.reset();
}

void ComponentServices::Call(std::string_view service, std::int32_t siteId,
                             std::int32_t componentId) {
    const StatementEvent event{.operation = Operation::kService,
                               .service = service,
                               .siteId = siteId,
                               .componentId = componentId};
    TimedCall(state_->listener.get(), event,
              [&] { state_->CarryOut(std::string(service), siteId, componentId); });
}

}  // namespace twupdate::host
