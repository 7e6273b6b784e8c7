// A line of SHOW GRANTS; the line after it is the name of a database.
#include "cli/server/grants.h"
#include "fuzz/target.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    const auto [line, database] = AtLineFeed(text);
    const auto grant = cli::Grant::Of(line);
    if (!grant) {
        return;
    }
    const cli::Grants grants({*grant});
    grants.Globally("SELECT");
    grants.OnDatabase(std::string(database), "SELECT");
    grants.OnTable(std::string(database), "site", "UPDATE");
}

const FuzzTarget kTarget("grants", Read);

}  // namespace
}  // namespace twupdate::test
