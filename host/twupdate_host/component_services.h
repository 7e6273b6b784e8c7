#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate/host.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/listener.h"

namespace twupdate::host {

/// Splits a configured command into words: at blanks, tabs and line breaks; a part in 'single' or
/// "double" quotes is taken as it stands, without them; outside single quotes a backslash takes
/// the next character as it stands. Nothing else has a meaning: no variables, patterns or pipes.
/// @throws std::invalid_argument for an open quote, a backslash at the end, or no word at all
std::vector<std::string> SplitCommand(std::string_view command);

struct ComponentServicesOptions {
    /// The operator's command (see SplitCommand). Each service call runs it with three more
    /// arguments, `SERVICE SITEID COMPONENTID`, and waits for it; no shell is involved. The
    /// refresh of the application is `RefreshApplication 0 0`. Empty: none.
    std::string serviceCommand = {};
    /// Without a command every call is appended to this file, one JSON object a line, flushed
    /// line by line: {"service":"UpgradeSiteComponent","site":7,"component":1000}. Empty: the
    /// calls are only counted.
    std::filesystem::path servicesLog = {};
    /// The component data file, which knows the components that a central database that was not
    /// upgraded yet lacks. Empty: none; MariaDbUtility takes the one of its install folder.
    std::filesystem::path componentData = {};
};

/// The platform's component services as far as they exist outside the platform. The component
/// list is what tw_tarnwick.component holds and, where it lacks a component, the data file; an id
/// that is in neither is a HostError naming it.
class ComponentServices : public ComponentHost,
                          public std::enable_shared_from_this<ComponentServices> {
  public:
    /// @param listener  may be null
    /// @throws std::invalid_argument for a command that cannot be split
    /// @throws FileError             for a log file that cannot be opened
    static std::shared_ptr<ComponentServices> Make(const ComponentServicesOptions& options,
                                                   std::shared_ptr<Connection> connection,
                                                   std::shared_ptr<StatementListener> listener);
    ~ComponentServices() override;

    std::shared_ptr<ComponentList> GetComponentList() override;
    void UpgradeSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override;
    void RefreshSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override;
    void InitialiseSiteComponent(std::int32_t siteId,
                                 const std::shared_ptr<Component>& component) override;
    void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) override;
    std::shared_ptr<Application> GetApplication() override;

    /// The calls that succeeded, by service name ("UpgradeSiteComponent", …,
    /// "RefreshApplication").
    const std::map<std::string, std::size_t>& Calls() const;
    /// True when calls are carried out by a command; false when they are only written down.
    bool HasCommand() const;

    /// The component list is read again when it is asked next.
    void ForgetComponents();

  private:
    struct State;
    explicit ComponentServices(std::unique_ptr<State> state);
    void Call(std::string_view service, std::int32_t siteId, std::int32_t componentId);

    std::unique_ptr<State> state_;

    friend class ServicesComponentList;
    friend class ServicesApplication;
};

}  // namespace twupdate::host
