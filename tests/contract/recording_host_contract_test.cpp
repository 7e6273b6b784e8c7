#include "contract/host_contract.h"
#include "support/recording_host.h"

namespace twupdate::test {
namespace {

class RecordingHostUnderTest : public HostUnderTest {
  public:
    RecordingHostUnderTest() { host_->knownComponentsOnly = true; }

    std::shared_ptr<Utility> Host() override { return host_; }
    bool HasServer() const override { return false; }
    void WillAnswer(const std::string& sql, const Answer& answer) override {
        host_->Answer(sql, {answer.columns, answer.rows});
    }
    void WillInsert(std::int32_t id) override { host_->insertIds.push_back(id); }
    void AddComponent(std::int32_t id, const std::string&, const std::string& folder) override {
        host_->componentFolders[id] = folder;
    }
    bool FailServices() override {
        host_->FailAt(host_->log.size() + 1);
        return true;
    }
    bool ServiceCalls(std::vector<std::string>& calls) override {
        for (const std::string& line : host_->log) {
            if (line.starts_with("service ")) {
                calls.push_back(line.substr(8));
            } else if (line == "refresh") {
                calls.push_back("Refresh");
            }
        }
        return true;
    }

  private:
    std::shared_ptr<RecordingHost> host_ = std::make_shared<RecordingHost>();
};

INSTANTIATE_TEST_SUITE_P(RecordingHost, HostContract,
                         testing::Values(HostFactory{
                             "RecordingHost",
                             [] { return std::make_unique<RecordingHostUnderTest>(); }}));

}  // namespace
}  // namespace twupdate::test
