#include "cli/shops_fixture.h"

#include <fmt/format.h>

namespace twupdate::test {

void ShopsTest::MakeSites() {
    MakeCentralDatabase();
    for (const int siteId : kSites) {
        MakeShop(siteId);
    }
}

void ShopsTest::MakeShop(std::int32_t siteId) {
    MakeSite(siteId, "1.0000", sample::AllGroups());
    const std::string db = fmt::format("tw_{}.", siteId);
    Execute("INSERT INTO " + db +
            "charge(chargeid, featureid, name, sequence) VALUES(1, 3, 'Post', 1), (2, 3, "
            "'Wrap', 2), (3, 3, 'Ins', 3);");
    Execute("DELETE FROM " + db + "email;");
    Execute("INSERT INTO " + db +
            "email(emailid, fromlist, subject) VALUES(1, 'a <a@a.example>', 's'), "
            "(2, 'b <b@b.example>', 's'), (3, 'c <c@c.example>', 's');");
}

void ShopsTest::DropSites() {
    for (const int siteId : kSites) {
        Execute(fmt::format("DROP DATABASE IF EXISTS tw_{};", siteId));
    }
    Execute("DROP DATABASE IF EXISTS tw_tarnwick;");
    Execute("DROP DATABASE IF EXISTS tw_logs;");
}

std::map<std::string, std::string> ShopsTest::States() {
    std::map<std::string, std::string> states{{"tw_tarnwick", StateOf("tw_tarnwick")}};
    for (const int siteId : kSites) {
        const std::string database = fmt::format("tw_{}", siteId);
        states[database] = StateOf(database);
    }
    return states;
}

}  // namespace twupdate::test
