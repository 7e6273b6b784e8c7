// Numbers in stored texts: of settings and of versions.
#include "cli/server/server_version.h"
#include "cli/terminal/text.h"
#include "fuzz/target.h"
#include "support/update_test_peer.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    const Value value{std::string(text)};
    if (value.IsNumeric()) {
        value.ToDouble();
        value.ToBool();
    }
    try {
        value.ToInt32();
        Require(value.IsNumeric(), "only a number is read as one");
    } catch (const ConversionError&) {  // and OverflowError, which is one
    }
    UpdateTestPeer::NumberOrDefault(value, 7);

    cli::FaultOfVersion(std::string(text));
    std::string word(text);
    if (cli::FaultOfNumber(word).empty()) {
        Require(word.find_first_not_of("-0123456789") == std::string::npos,
                "a number has digits alone");
    }
    cli::ServerVersion(std::string(text)).Number();
}

const FuzzTarget kTarget("numbers", Read);

}  // namespace
}  // namespace twupdate::test
