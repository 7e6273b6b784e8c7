#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

#include "cli/program.h"

namespace twupdate::test {

/// A first finding as "tw_8.tag: …, so SiteContentStep_1_0009 fails; …" names the table and the
/// step at which the run failed. A finding may name no step: then nothing is said of one. One that
/// names a database alone says neither.
inline void ExpectFailedAtTheNamedPlace(const Outcome& found, const Outcome& failed) {
    const std::regex form(R"(^(tw_\w+)(?:\.([^ :]+))?: [^\n]*?(?:, so (\w+) fails)?; )");
    std::smatch parts;
    ASSERT_TRUE(std::regex_search(found.out, parts, form)) << found.out;
    if (!parts[2].matched) {
        return;
    }
    const std::string step = parts[3];
    if (step.empty()) {
        EXPECT_THAT(failed.err, testing::Not(testing::HasSubstr("step "))) << found.out;
    } else {
        EXPECT_THAT(failed.err, testing::HasSubstr("step " + step + ":")) << found.out;
    }
    EXPECT_THAT(failed.err, testing::ContainsRegex("[.`' ]" + parts[2].str() + "[^a-z]"))
        << found.out;
}

}  // namespace twupdate::test
