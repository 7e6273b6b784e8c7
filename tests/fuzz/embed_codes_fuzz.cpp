// The embed codes of view texts, which operators write.
#include "fuzz/target.h"
#include "migrations/site_content/embed_codes.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    std::size_t from = 0;
    while (const auto code = FindEmbedCode(text, from)) {
        Require(code->begin >= from, "a code begins behind the one before it");
        Require(code->end > code->begin && code->end <= text.size(), "a code is in its text");
        const std::string_view whole = text.substr(code->begin, code->end - code->begin);
        Require(whole.find(code->name) != std::string_view::npos, "its name is in it");
        Require(code->major >= 0 && code->minor >= 0, "its numbers are those of rows");
        from = code->end;
    }
}

const FuzzTarget kTarget("embed_codes", Read);

}  // namespace
}  // namespace twupdate::test
