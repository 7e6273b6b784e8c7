// Statements on their way into logs and reports, and the names in them.
#include <nlohmann/json.hpp>

#include "cli/terminal/text.h"
#include "fuzz/target.h"
#include "sql_tokens.h"
#include "twupdate_host/catalogue.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    host::NamesIn(text);
    host::ShapeOf(text);
    cli::WithoutPasswords(text);
    cli::ShortStatement(text, 40);
    const std::string printable = cli::Printable(text);
    Require(printable.find_first_of(std::string_view("\0\n\r\x1b", 4)) == std::string::npos,
            "no control character is printed");
    nlohmann::json(printable).dump();  // throws for what is not UTF-8
    cli::FittingParts({printable, printable}, 20);
    cli::MessageLines(text);
    cli::HintOf(text);
    cli::JoinMessages({std::string(text), std::string(text)}, "!");
}

const FuzzTarget kTarget("statements", Read);

}  // namespace
}  // namespace twupdate::test
