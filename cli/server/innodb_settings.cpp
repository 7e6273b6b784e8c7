#include "cli/server/innodb_settings.h"

#include <fmt/format.h>

#include <map>

namespace twupdate::cli {
namespace {

/// The row format of each InnoDB table that does not name one itself.
std::map<std::string, std::string> UnnamedFormats(host::Connection& connection,
                                                  const std::string& database) {
    std::map<std::string, std::string> formats;
    const auto rows = connection.Query(
        fmt::format("SELECT table_name, row_format FROM information_schema.tables WHERE "
                    "table_schema = '{}' AND engine = 'InnoDB' AND row_format IN('Redundant', "
                    "'Compact', 'Dynamic') AND create_options NOT LIKE '%row_format=%';",
                    database));
    while (rows->Next()) {
        formats[rows->Get(0).ToText()] = rows->Get(1).ToText();
    }
    return formats;
}

void SetDefault(host::Connection& copy, const std::string& format) {
    copy.Execute(fmt::format("SET GLOBAL innodb_default_row_format = {};", format));
}

}  // namespace

InnoDbSettings InnoDbSettings::Of(host::Connection& connection) {
    InnoDbSettings settings;
    const auto rows = connection.Query(
        "SHOW VARIABLES WHERE variable_name IN('innodb_default_row_format', "
        "'innodb_strict_mode');");
    while (rows->Next()) {
        if (rows->Get(0).ToText() == "innodb_strict_mode") {
            settings.strict = rows->Get(1).ToText() == "ON";
        } else {
            settings.defaultRowFormat = rows->Get(1).ToText();
        }
    }
    return settings;
}

void PrepareForCopies(host::Connection& copy, const InnoDbSettings& settings) {
    SetDefault(copy, settings.defaultRowFormat);
    copy.Execute("SET GLOBAL innodb_strict_mode = OFF;");
}

void FinishCopies(host::Connection& source, host::Connection& copy, const InnoDbSettings& settings,
                  const std::vector<std::string>& databases) {
    copy.Execute("SET SESSION innodb_strict_mode = OFF;");
    for (const std::string& database : databases) {
        const auto copied = UnnamedFormats(copy, database);
        for (const auto& [table, format] : UnnamedFormats(source, database)) {
            const auto found = copied.find(table);
            if (found != copied.end() && found->second != format) {
                SetDefault(copy, format);
                copy.Execute(fmt::format("ALTER TABLE {}.`{}` FORCE;", database, table));
            }
        }
    }
    SetDefault(copy, settings.defaultRowFormat);
    copy.Execute(fmt::format("SET SESSION innodb_strict_mode = {};", settings.strict ? 1 : 0));
}

}  // namespace twupdate::cli
