#include "support/server_test.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "support/redo_log_folder.h"
#include "support/update_test_peer.h"
#include "support/without_waits.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

/// A folder for the data of this process: in memory where there is room.
fs::path DataFolder() {
    constexpr std::uintmax_t kRoom = std::uintmax_t{1} << 30;
    std::error_code error;
    const auto memory = fs::space("/dev/shm", error);
    const fs::path parent =
        !error && memory.available >= kRoom ? "/dev/shm" : fs::temp_directory_path();
    return parent / ("twupdate-test-" + std::to_string(getpid()));
}

/// The private server of the program, stopped and removed after the last test.
class ServerEnvironment : public testing::Environment {
  public:
    host::PrivateServer& Server() {
        if (!server_) {
            host::PrivateServerOptions options;
            options.fast = true;
            redoLog_.emplace();
            options.serverOptions = redoLog_->ServerOptions();
            const WithoutWaits none;
            server_ = std::make_unique<host::PrivateServer>(Folder() / "data", options);
        }
        return *server_;
    }
    const fs::path& Folder() {
        if (folder_.empty()) {
            folder_ = DataFolder();
            fs::create_directories(folder_);
        }
        return folder_;
    }
    void TearDown() override {
        server_.reset();
        redoLog_.reset();
        if (!folder_.empty()) {
            fs::remove_all(folder_);
        }
    }

  private:
    std::optional<RedoLogFolder> redoLog_;
    std::unique_ptr<host::PrivateServer> server_;
    fs::path folder_;
};

/// Known to googletest, which owns it, before main() runs the tests.
ServerEnvironment* const kEnvironment = new ServerEnvironment;
[[maybe_unused]] const auto* const kRegistered = testing::AddGlobalTestEnvironment(kEnvironment);

std::string Text(const Value& value) {
    return value.IsNull() ? "NULL" : value.ToText();
}

}  // namespace

host::PrivateServer& ServerTest::Server() {
    return kEnvironment->Server();
}

ServerTest::ServerTest() : root_(kEnvironment->Folder() / "root") {
    fs::remove_all(root_);
    fs::create_directories(InstallFolder());
    fs::create_directory_symlink(fs::path(TWUPDATE_SOURCE_FOLDER) / "resources",
                                 InstallFolder() / "resources");
    if (!Server().Running()) {
        Server().Start();
    }
    Reconnect();
    DropDatabases();
}

ServerTest::~ServerTest() = default;

void ServerTest::Reconnect(const std::string& sqlMode) {
    auto options = Server().ConnectOptions();
    if (!sqlMode.empty()) {
        options.sqlMode = sqlMode;
    }
    host::MariaDbUtilityOptions utilityOptions;
    utilityOptions.installFolder = InstallFolder();
    host_ = std::make_shared<host::MariaDbUtility>(host::Connection::Open(options),
                                                   std::move(utilityOptions));
}

std::shared_ptr<FaultyUtility> ServerTest::Faulty() const {
    return std::make_shared<FaultyUtility>(host_);
}

void ServerTest::WriteFile(const fs::path& path, const std::string& content) const {
    fs::create_directories((root_ / path).parent_path());
    std::ofstream file(root_ / path, std::ios::binary);
    file << content;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string ServerTest::ReadFile(const fs::path& path) const {
    std::ifstream file(root_ / path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void ServerTest::DropDatabases() {
    for (const std::string& database : Rows("SHOW DATABASES LIKE 'tw\\_%'")) {
        Sql("DROP DATABASE `" + database + "`;");
    }
}

void ServerTest::LoadCentral(double version) {
    for (const std::string& statement : layouts_.Central()) {
        host_->GetConnection()->Execute(statement);
    }
    if (version > 1.0) {
        sample::BringCentralTo(host_, {version, version});
    }
}

void ServerTest::LoadLogs(std::int32_t siteId) {
    for (const std::string& statement : layouts_.Logs(siteId)) {
        host_->GetConnection()->Execute(statement);
    }
}

void ServerTest::LoadSite(std::int32_t siteId, const Groups& groups, Age age) {
    if (Rows("SHOW DATABASES LIKE 'tw_tarnwick'").empty()) {
        LoadCentral();
    }
    for (const std::string& statement : layouts_.Site(siteId, groups)) {
        host_->GetConnection()->Execute(statement);
    }
    if (age.schema > 1.0 || age.content > 1.0) {
        sample::BringSiteTo(host_, siteId, age);
    }
    const std::string id = std::to_string(siteId);
    Sql("INSERT INTO tw_tarnwick.site(siteid, sitename) VALUES(" + id + ", 'Site " + id + "');");
    SetSiteVersion(siteId, std::min(age.schema, age.content));
}

void ServerTest::LoadForm(std::int32_t siteId, std::int32_t featureId,
                          const std::vector<FormField>& fields, bool secureFiles) {
    const std::string db = "tw_" + std::to_string(siteId);
    const std::string form = std::to_string(featureId);
    Sql("INSERT INTO " + db + ".form(formfeatureid, securefiles) VALUES(" + form + ", " +
        (secureFiles ? "-1" : "0") + ");");
    for (const std::string& statement : layouts_.FormTable(siteId, featureId)) {
        host_->GetConnection()->Execute(statement);
    }
    for (const FormField& field : fields) {
        const std::string id = std::to_string(field.id);
        Sql("INSERT INTO " + db +
            ".formfield(formfieldid, featureid, name, type, options, targetformfeatureid) "
            "VALUES(" +
            id + ", " + form + ", 'Field " + id + "', '" + field.type + "', " +
            std::to_string(field.options) + ", " + std::to_string(field.targetForm) + ");");
        Sql(layouts_.FormField(siteId, featureId, field.id, field.type));
    }
}

void ServerTest::LoadImportedMasterData(std::int32_t siteId) {
    for (const std::string& statement : layouts_.ImportedMasterData(siteId)) {
        host_->GetConnection()->Execute(statement);
    }
}

void ServerTest::Sql(const std::string& script) {
    for (const std::string& statement : sample::SplitStatements(script)) {
        host_->GetConnection()->Execute(statement);
    }
}

std::vector<std::string> ServerTest::Rows(const std::string& query) {
    std::vector<std::string> lines;
    const auto rows = host_->GetConnection()->Query(query);
    while (rows->Next()) {
        std::string line;
        for (std::size_t i = 0; i < rows->ColumnCount(); ++i) {
            line += (i == 0 ? "" : " | ") + Text(rows->Get(i));
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

std::string ServerTest::Cell(const std::string& query) {
    const auto rows = host_->GetConnection()->Query(query);
    if (rows->ColumnCount() != 1 || !rows->Next()) {
        throw std::runtime_error("no single value: " + query);
    }
    std::string text = Text(rows->Get(0));
    if (rows->Next()) {
        throw std::runtime_error("more than one value: " + query);
    }
    return text;
}

Schema ServerTest::SchemaOf(const std::string& database) {
    return test::SchemaOf(*host_, database);
}

RowSnapshot ServerTest::RowsOf(const std::string& database) {
    return test::RowsOf(*host_, database);
}

void ServerTest::SetSiteVersion(std::int32_t siteId, double version) {
    Sql("UPDATE tw_tarnwick.site SET version = " + Value(version).ToText() +
        " WHERE siteid = " + std::to_string(siteId) + ";");
}

void ServerTest::SetInstallationVersion(double version) {
    Sql("UPDATE tw_tarnwick.installation SET version = " + Value(version).ToText() + ";");
}

std::shared_ptr<Utility> ServerTest::HostOr(std::shared_ptr<Utility> utility) const {
    return utility ? std::move(utility) : host_;
}

void ServerTest::Upgrade(std::int32_t siteId, double from, std::shared_ptr<Utility> utility) {
    Update update;
    update.Configure(HostOr(std::move(utility)));
    update.UpdateSite(siteId, from);
}

void ServerTest::UpgradeInstallation(std::shared_ptr<Utility> utility) {
    const double version = std::stod(Cell("SELECT version FROM tw_tarnwick.installation"));
    Update update;
    update.Configure(HostOr(std::move(utility)));
    update.UpdateServer(version);
}

void ServerTest::RunStep(const std::string& name, std::int32_t siteId,
                         std::shared_ptr<Utility> utility) {
    Update update;
    update.Configure(HostOr(std::move(utility)));
    UpdateTestPeer peer(update);
    if (name.starts_with("Site")) {
        peer.RunSiteStep(name, siteId);
    } else {
        peer.RunServerStep(name, siteId);
    }
}

bool ServerTest::Soak() {
    const char* soak = std::getenv("TWUPDATE_SOAK");
    return soak != nullptr && std::string(soak) == "1";
}

}  // namespace twupdate::test
