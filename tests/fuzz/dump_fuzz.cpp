// A dump that is restored.
#include "cli/backup/dump_contents.h"
#include "fuzz/target.h"

namespace twupdate::test {
namespace {

/// However a dump comes in pieces, it holds the same.
void Read(std::string_view text) {
    cli::DumpContents whole;
    whole.Add(text);
    cli::DumpContents pieces;
    for (std::size_t at = 0, length = 1; at < text.size(); at += length, length = length * 7 % 31) {
        pieces.Add(text.substr(at, length));
    }
    Require(whole.IsWhole() == pieces.IsWhole() && whole.Tables() == pieces.Tables() &&
                whole.Definers() == pieces.Definers() &&
                whole.IsOf("tw_7") == pieces.IsOf("tw_7") &&
                whole.Holds("TRIGGER") == pieces.Holds("TRIGGER"),
            "pieces make no difference");
}

const FuzzTarget kTarget("dump", Read);

}  // namespace
}  // namespace twupdate::test
