// Stored texts on their way into a statement.
#include "dbutil/replace_all.h"
#include "fuzz/target.h"
#include "sql_tokens.h"
#include "support/update_test_peer.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    const std::string sql = "SELECT '" + UpdateTestPeer::SqlEscape(text) + "';";
    const auto tokens = host::Tokenize(sql);
    Require(tokens.size() == 4, "an escaped text is one literal");
    Require(tokens[1].Unescaped() == text, "a literal says what was escaped");

    const std::string decoded = UpdateTestPeer::DecodeAngleBrackets(text);
    Require(decoded.size() <= text.size(), "decoding makes nothing longer");

    const auto [from, in] = AtLineFeed(text);
    if (!from.empty() && from.find('x') == std::string_view::npos) {
        Require(ReplaceAll(in, from, "x").find(from) == std::string::npos,
                "nothing is left of what was replaced");
    }
}

const FuzzTarget kTarget("literals", Read);

}  // namespace
}  // namespace twupdate::test
