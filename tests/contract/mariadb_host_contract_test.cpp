#include <filesystem>
#include <fstream>

#include "contract/contract_server.h"
#include "contract/host_contract.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {
namespace {

/// Writes down the services that succeeded.
class ServiceListener : public host::StatementListener {
  public:
    std::vector<std::string> calls;

    void After(const host::StatementEvent& event, std::chrono::nanoseconds,
               const HostError* error) override {
        if (error != nullptr) {
            return;
        }
        if (event.operation == host::Operation::kService) {
            calls.push_back(std::string(event.service) + " " +
                            std::to_string(event.siteId.value()) + " " +
                            std::to_string(event.componentId.value()));
        } else if (event.operation == host::Operation::kRefresh) {
            calls.push_back("Refresh");
        }
    }
};

class MariaDbHostUnderTest : public HostUnderTest {
  public:
    MariaDbHostUnderTest() {
        // `test -e FLAG SERVICE SITE COMPONENT` would not do: the words that are added are in the
        // way. A script looks for the flag.
        const auto folder = ContractServer::Get().Folder().parent_path();
        flag_ = folder / "services-work";
        std::ofstream(flag_).flush();
        const auto script = folder / "service";
        std::ofstream(script) << "#!/bin/sh\ntest -e '" << flag_.string() << "'\n";
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        host_ = std::make_shared<host::MariaDbUtility>(
            ConnectForContract(),
            host::MariaDbUtilityOptions{.listener = listener_,
                                        .services = {.serviceCommand = script.string()}});
    }

    std::shared_ptr<Utility> Host() override { return host_; }
    void AddComponent(std::int32_t id, const std::string& name,
                      const std::string& folder) override {
        StoreComponent(*host_->GetConnection(), id, name, folder);
    }
    bool FailServices() override { return std::filesystem::remove(flag_); }
    bool ServiceCalls(std::vector<std::string>& calls) override {
        calls = listener_->calls;
        return true;
    }

  private:
    std::filesystem::path flag_;
    std::shared_ptr<ServiceListener> listener_ = std::make_shared<ServiceListener>();
    std::shared_ptr<host::MariaDbUtility> host_;
};

INSTANTIATE_TEST_SUITE_P(MariaDbHost, HostContract,
                         testing::Values(HostFactory{
                             "MariaDbHost",
                             [] { return std::make_unique<MariaDbHostUnderTest>(); }}));

}  // namespace
}  // namespace twupdate::test
