// Statements that change or inspect a layout, as the host without a server follows them.
#include "fuzz/target.h"
#include "sql_tokens.h"
#include "twupdate_host/catalogue.h"

namespace twupdate::test {
namespace {

using host::Catalogue;
using host::Refusal;

const Catalogue& Start() {
    static const Catalogue catalogue = [] {
        Catalogue start;
        start.AddTable("tw_7",
                       "charge(chargeid INT AUTO_INCREMENT NOT NULL, name VARCHAR(100) DEFAULT '' "
                       "NOT NULL, price DECIMAL(17,2) DEFAULT '0.00' NOT NULL, note LONGTEXT, made "
                       "DATETIME DEFAULT '1000-01-01 00:00' NOT NULL, PRIMARY KEY(chargeid), INDEX "
                       "name_idx(name(20)))");
        start.AddTable("tw_7", "feature(featureid INT, PRIMARY KEY(featureid))");
        return start;
    }();
    return catalogue;
}

/// A refused statement changes nothing; one whose refusal is noted is followed as far as possible.
void Read(std::string_view text) {
    Catalogue strict = Start();
    Catalogue noting = Start();
    while (!text.empty()) {
        const auto [statement, rest] = AtLineFeed(text);
        const std::string before = strict.Text();
        try {
            strict.Run(statement);
        } catch (const Refusal&) {
            Require(strict.Text() == before, "a refused statement changes nothing");
        }
        std::optional<Refusal> refusal;
        try {
            noting.Run(statement, &refusal);
        } catch (const Refusal&) {  // a statement that cannot be followed
        }
        text = rest;
    }
    noting.Text();
}

const FuzzTarget kTarget("catalogue", Read);

}  // namespace
}  // namespace twupdate::test
