#include "cli/installation_fixture.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "cli/server/layout.h"
#include "support/without_waits.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {
namespace {

void DropDatabases(host::Connection& root) {
    std::vector<std::string> names;
    const auto rows = root.Query("SHOW DATABASES LIKE 'tw\\_%';");
    while (rows->Next()) {
        names.push_back(rows->Get(0).ToText());
    }
    for (const std::string& name : names) {
        root.Execute("DROP DATABASE " + name + ";");
    }
    root.Execute("DROP DATABASE IF EXISTS twupdate;");  // a run that was killed has left its lease
}

bool Contains(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Whether there is an installation around the install folder that the arguments name; there is
/// none around the tree of the sources.
bool HasSiteFiles(const std::vector<std::string>& arguments) {
    const auto option = std::find(arguments.begin(), arguments.end(), "--install-folder");
    if (option == arguments.end() || option + 1 == arguments.end()) {
        return false;
    }
    const std::filesystem::path root = std::filesystem::path(*(option + 1)) / "..";
    return std::filesystem::exists(root / "templates") ||
           std::filesystem::exists(root / "components") ||
           std::filesystem::exists(root / "wwwroot");
}

class StopServerAtEnd : public testing::Environment {
  public:
    void TearDown() override { CliServer::Get().ShutDown(); }
};

[[maybe_unused]] const auto* const kStopServerAtEnd =
    testing::AddGlobalTestEnvironment(new StopServerAtEnd);

}  // namespace

CliServer& CliServer::Get() {
    static CliServer server;
    return server;
}

host::Connection& CliServer::Root() {
    if (!root_) {
        root_ = host::Connection::Open(ConnectOptions());
    }
    return *root_;
}

host::ConnectionOptions CliServer::ConnectOptions() {
    if (other_) {
        return *other_;
    }
    if (!server_) {
        Start({});
    }
    return server_->ConnectOptions();
}

void CliServer::UseInstead(std::optional<host::ConnectionOptions> other) {
    root_.reset();
    other_ = std::move(other);
}

void CliServer::Start(const std::vector<std::string>& options) {
    if (!folder_) {
        folder_ = std::make_unique<TemporaryFolder>();
        redoLog_ = std::make_unique<RedoLogFolder>();
    }
    host::PrivateServerOptions server;
    server.fast = true;
    server.serverOptions = redoLog_->ServerOptions();
    server.serverOptions.insert(server.serverOptions.end(), options.begin(), options.end());
    const WithoutWaits none;
    server_ = std::make_unique<host::PrivateServer>(*folder_ / "server", server);
}

void CliServer::RestartWith(const std::vector<std::string>& options) {
    root_.reset();
    server_.reset();
    Start(options);
}

void CliServer::ShutDown() {
    root_.reset();
    server_.reset();
    redoLog_.reset();
    folder_.reset();
}

std::string PluginFolder() {
    for (const std::string folder :
         {"/usr/lib/mysql/plugin", TWUPDATE_SOURCE_FOLDER "/build/plugins/usr/lib/mysql/plugin"}) {
        if (std::filesystem::exists(folder + "/metadata_lock_info.so")) {
            return folder;
        }
    }
    return "";
}

GlobalSetting::GlobalSetting(const std::string& name, const std::string& value) : name_(name) {
    CliServer::Get().Root().Execute("SET GLOBAL " + name + " = " + value + ";");
}

GlobalSetting::~GlobalSetting() {
    CliServer::Get().Root().Execute("SET GLOBAL " + name_ + " = DEFAULT;");
}

InstallationTest::InstallationTest() {
    DropDatabases(CliServer::Get().Root());
}

InstallationTest::~InstallationTest() = default;

void InstallationTest::Execute(const std::string& sql) {
    CliServer::Get().Root().Execute(sql);
}

std::string InstallationTest::Cell(const std::string& sql) {
    const auto rows = CliServer::Get().Root().Query(sql);
    if (!rows->Next()) {
        return "(no row)";
    }
    const Value value = rows->Get(0);
    return value.IsNull() ? "NULL" : value.ToText();
}

std::string InstallationTest::InstallationVersion() {
    return Cell("SELECT version FROM tw_tarnwick.installation;");
}

std::string InstallationTest::SiteVersion(std::int32_t siteId) {
    return Cell("SELECT version FROM tw_tarnwick.site WHERE siteid = " + std::to_string(siteId) +
                ";");
}

std::string InstallationTest::StateOf(const std::string& database) {
    host::MariaDbUtility utility(host::Connection::Open(CliServer::Get().ConnectOptions()));
    const auto layout = cli::ReadLayout(*utility.GetConnection(), database);
    std::string state = layout.Text();
    for (const auto& [table, ignored] : layout.tables) {
        const auto rows =
            CliServer::Get().Root().Query("CHECKSUM TABLE " + database + "." + table + ";");
        rows->Next();
        state += table + " " + rows->Get(1).ToText() + "\n";
    }
    return state;
}

void InstallationTest::MakeCentralDatabase() {
    const sample::Layouts layouts;
    for (const std::string& statement : layouts.Central()) {
        Execute(statement);
    }
    for (const std::string& statement : layouts.Logs(1)) {
        Execute(statement);
    }
    FillComponents();
}

void InstallationTest::FillComponents() {
    std::ifstream file(std::string(TWUPDATE_SOURCE_FOLDER) + "/resources/componentData.txt");
    std::vector<std::string> rows;
    for (std::string line; std::getline(file, line);) {
        std::string row = "(";
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, '\t');) {
            row += (row.size() > 1 ? ", '" : "'") + field + "'";
        }
        rows.push_back(row + ")");
    }
    Execute(
        "INSERT INTO tw_tarnwick.component(componentid, componentname, foldername, "
        "componentfile, available, published, mandatory, layoutcomponent, standalone, "
        "section, allowcopy, allowcopywithoutdata, widget) VALUES" +
        fmt::format("{}", fmt::join(rows, ", ")) + ";");
}

void InstallationTest::MakeSmallSite(std::int32_t siteId) {
    const std::string database = "tw_" + std::to_string(siteId);
    Execute("CREATE DATABASE " + database + ";");
    Execute("CREATE TABLE " + database + ".formtemplateinstance(featureid INT) ENGINE = InnoDB;");
    MakeSiteRow(siteId, "1.0262");
}

void InstallationTest::MakeSmallSites(const std::vector<std::int32_t>& sites) {
    MakeNearlyCurrentInstallation();
    for (const std::int32_t siteId : sites) {
        MakeSmallSite(siteId);
    }
}

std::shared_ptr<host::Connection> InstallationTest::ReaderOfSmallSites(
    const std::vector<std::int32_t>& sites) {
    auto reader = Application();
    reader->Execute("START TRANSACTION;");
    for (const std::int32_t siteId : sites) {
        reader->Query("SELECT COUNT(*) FROM tw_" + std::to_string(siteId) +
                      ".formtemplateinstance;");
    }
    return reader;
}

void InstallationTest::MakeSitesInUse(const std::vector<std::int32_t>& sites) {
    MakeSmallSites(sites);
    reader_ = ReaderOfSmallSites(sites);
}

void InstallationTest::MakeSiteRow(std::int32_t siteId, const std::string& version) {
    Execute("INSERT INTO tw_tarnwick.site(siteid, sitename, version) VALUES(" +
            std::to_string(siteId) + ", 'Site " + std::to_string(siteId) + "', " + version + ");");
}

void InstallationTest::MakeSite(std::int32_t siteId, const std::string& version,
                                const sample::Groups& groups) {
    const sample::Layouts layouts;
    for (const std::string& statement : layouts.Site(siteId, groups)) {
        Execute(statement);
    }
    MakeSiteRow(siteId, version);
}

void InstallationTest::MakeSiteThatFails(std::int32_t siteId) {
    const std::string database = fmt::format("tw_{}", siteId);
    Execute("CREATE DATABASE " + database + ";");
    // In the place of a table that the step gives a column.
    Execute("CREATE VIEW " + database + ".formtemplateinstance AS SELECT 1 AS featureid;");
    MakeSiteRow(siteId, "1.0262");
}

void InstallationTest::MakeNearlyCurrentInstallation() {
    const Outcome created = Run({"create-core"});
    if (created.status != 0) {
        throw std::runtime_error("create-core failed: " + created.err);
    }
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
}

void InstallationTest::MakeUpgradedSite(std::int32_t siteId, const std::string& version,
                                        const sample::Groups& groups) {
    MakeSite(siteId, "1.0000", groups);
    const Outcome upgraded = Run({"upgrade-site", std::to_string(siteId)});
    if (upgraded.status != 0) {
        throw std::runtime_error("upgrade-site failed: " + upgraded.err);
    }
    Execute("UPDATE tw_tarnwick.site SET version = " + version +
            " WHERE siteid = " + std::to_string(siteId) + ";");
}

std::vector<std::string> InstallationTest::Connect() {
    return {"--socket", CliServer::Get().ConnectOptions().socket->string(), "--user", "root"};
}

std::vector<std::string> InstallationTest::With(const std::vector<std::string>& arguments) {
    auto words = Connect();
    if (!HasSiteFiles(arguments)) {
        words.emplace_back("--no-site-files");
    }
    if (!Contains(arguments, "--service-command") && !Contains(arguments, "--services-log")) {
        words.emplace_back("--no-services");
    }
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

Outcome InstallationTest::Run(const std::vector<std::string>& arguments) {
    return RunProgram(With(arguments));
}

}  // namespace twupdate::test
