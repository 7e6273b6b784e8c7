// The words of --service-command.
#include "fuzz/target.h"
#include "twupdate_host/component_services.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    try {
        Require(!host::SplitCommand(text).empty(), "a command has a word");
    } catch (const std::invalid_argument&) {
    }
}

const FuzzTarget kTarget("service_command", Read);

}  // namespace
}  // namespace twupdate::test
