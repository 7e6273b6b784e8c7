// The least host: one site upgraded over the reference host's connection.
//     embed SOCKET INSTALL-FOLDER SITE
#include <twupdate/update.h>
#include <twupdate_host/mariadb_utility.h>

#include <iostream>

struct Progress : twupdate::Observer {
    void StepStarting(const twupdate::LadderStep& step, const std::string& database) override {
        std::cout << database << "  " << step.name << "  " << step.description << '\n';
    }
};

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::cerr << "usage: embed SOCKET INSTALL-FOLDER SITE\n";
        return 2;
    }
    twupdate::host::ConnectionOptions server;  // user and password: ~/.my.cnf, group [client]
    server.socket = argv[1];
    twupdate::host::MariaDbUtilityOptions options;
    options.installFolder = argv[2];
    options.observer = std::make_shared<Progress>();
    const auto connection = twupdate::host::Connection::Open(server);
    const std::string where = " WHERE siteid = " + std::to_string(std::stoi(argv[3]));
    const auto site = connection->Query("SELECT version FROM tw_tarnwick.site" + where);
    if (!site->Next()) {
        throw std::runtime_error("there is no such site");
    }
    twupdate::Update update;
    update.Configure(std::make_shared<twupdate::host::MariaDbUtility>(connection, options));
    update.UpdateSite(std::stoi(argv[3]), site->Get(0).ToDouble());
    const std::string version = twupdate::Value(twupdate::kCurrentVersion).ToText();
    connection->Execute("UPDATE tw_tarnwick.site SET version = " + version + where);
} catch (const std::exception& error) {
    std::cerr << "embed: " << error.what() << '\n';  // once it is fixed, run it again
    return 1;
}
