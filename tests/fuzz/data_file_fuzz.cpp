// Files of reference data.
#include "fuzz/target.h"
#include "support/temporary_folder.h"
#include "support/update_test_peer.h"

namespace twupdate::test {
namespace {

/// Takes the import's statements and does nothing.
class Host : public Utility, public Database, public std::enable_shared_from_this<Host> {
  public:
    explicit Host(std::filesystem::path folder) : folder_(std::move(folder)) {}

    std::size_t statements = 0;

    std::shared_ptr<Database> GetDatabase() override { return shared_from_this(); }
    std::shared_ptr<ComponentHost> GetComponentHost() override { return nullptr; }
    std::shared_ptr<CommandFactory> GetCommandFactory() override { return nullptr; }
    std::filesystem::path InstallFolder() override { return folder_; }

    std::shared_ptr<Recordset> OpenRecordset(const std::string& /*sql*/, std::int32_t /*option1*/,
                                             std::int32_t /*option2*/) override {
        return nullptr;
    }
    void Execute(const std::string& /*sql*/, std::int64_t& rowsAffected) override {
        ++statements;
        rowsAffected = 0;
    }
    void GetLastInsertId(std::int32_t& id) override { id = 0; }
    std::shared_ptr<Reader> OpenReader(const std::string& /*sql*/) override { return nullptr; }

  private:
    std::filesystem::path folder_;
};

void Read(std::string_view text) {
    static const TemporaryFolder folder;
    folder.Write("resources/currencyData.txt", std::string(text));
    const auto host = std::make_shared<Host>(folder.Path());
    Update update;
    update.Configure(host);
    try {
        UpdateTestPeer(update).ImportReferenceData(
            "currency",
            {"currencyid", "INT", "currencycode", "VARCHAR", "currencysymbol", "VARCHAR"});
        const bool hasRows = text.find_first_not_of("\r\n") != std::string_view::npos;
        Require(
            host->statements == (hasRows ? 2U : 1U) || text.find('\r') != std::string_view::npos,
            "a file is one INSERT");
    } catch (const DataFileError&) {
        Require(host->statements == 1, "a file with a short line is not imported");
    }
}

const FuzzTarget kTarget("data_file", Read);

}  // namespace
}  // namespace twupdate::test
