#include "cli/sample_run.h"

#include <memory>
#include <regex>

#include "cli/installation_fixture.h"
#include "sample/installation.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {

void MakeFirstSampleSite() {
    sample::InstallationOptions options;
    options.sites = 1;
    options.rows = 20;
    sample::MakeInstallation(std::make_shared<host::MariaDbUtility>(host::Connection::Open(
                                 CliServer::Get().Server().ConnectOptions())),
                             options);
}

FirstUses UsesOf(const std::filesystem::path& trace) {
    const std::regex write(
        R"(^(UPDATE|INSERT INTO|DELETE FROM|ALTER TABLE|CREATE TABLE IF NOT EXISTS) (tw_\w+\.\w+))");
    const std::regex rename(R"(^RENAME TABLE (\S+) TO ([^;]+);)");
    const std::regex repair(R"(^REPAIR TABLE ([^; ]+))");
    const std::regex described(R"(^(?:DESCRIBE|SHOW INDEXES FROM) ([^ ;]+))");
    const std::regex name(R"(tw_\w+\.\w+)");
    const std::regex rows(R"(^(SELECT|UPDATE|DELETE|INSERT INTO \S+ ?\([^)]*\) SELECT)\b)");
    FirstUses uses;
    for (const auto& line : JsonLinesOf(trace)) {
        const std::string sql = line.value("sql", "");
        const std::string step = line.value("step", "");
        const auto use = [&](const std::string& table, const std::string& privilege) {
            uses.emplace(std::pair(table, privilege), step);
        };
        std::smatch parts;
        bool isInsert = false;
        if (std::regex_search(sql, parts, write)) {
            const std::string verb = parts[1];
            use(parts[2], verb.substr(0, verb.find(' ')));
            isInsert = verb == "INSERT INTO";
            if (sql.find("ON DUPLICATE KEY UPDATE") != std::string::npos) {
                use(parts[2], "UPDATE");
            }
        } else if (std::regex_search(sql, parts, rename)) {
            use(parts[1], "ALTER");
            use(parts[1], "DROP");
            use(parts[2], "CREATE");
            use(parts[2], "INSERT");
        } else if (std::regex_search(sql, parts, repair)) {
            use(parts[1], "INSERT");
            use(parts[1], "SELECT");
        } else if (std::regex_search(sql, parts, described)) {
            use(parts[1], "SELECT");
        }
        if (std::regex_search(sql, rows)) {
            auto table = std::sregex_iterator(sql.begin(), sql.end(), name);
            if (isInsert) {
                ++table;
            }
            for (; table != std::sregex_iterator(); ++table) {
                use(table->str(), "SELECT");
            }
        }
    }
    return uses;
}

}  // namespace twupdate::test
