// What situations.txt lists: each makes the real upgrade fail where it says, and the command that
// it names finds it before.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "cli/installation_fixture.h"
#include "cli/sample_fixture.h"
#include "support/trials.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

struct Situation {
    std::string title;
    std::string step;     ///< empty: the upgrade goes well
    std::string table;    ///< at which it fails; "-" for the database
    std::string failure;  ///< a regular expression
    std::string finder;   ///< "check" or "rehearse"
    std::string version = "1.0000";
    std::vector<std::string> statements = {};  ///< with their semicolons
};

/// "SiteSchemaStep_1_0014 attribute: 1265 [check]".
Situation Titled(const std::string& line) {
    static const std::regex form(R"((\S+) (\S+): (.*) \[(\w+)\])");
    std::smatch parts;
    if (!std::regex_match(line, parts, form)) {
        return {line, "", "", "", ""};
    }
    std::string failure = parts[3];
    if (std::isdigit(static_cast<unsigned char>(failure.front())) != 0) {
        failure = "server error (" + failure + ") ";
    }
    return {line, parts[1], parts[2], failure, parts[4]};
}

std::vector<Situation> ReadSituations() {
    std::ifstream file(std::string(TWUPDATE_SOURCE_FOLDER) + "/tests/cli/situations.txt");
    std::map<std::string, std::vector<std::string>> fragments;
    std::vector<std::string>* statements = nullptr;
    std::vector<Situation> situations;
    situations.reserve(1000);  // the pointer stays
    for (std::string line; std::getline(file, line);) {
        const auto rest = [&line](std::string_view word) {
            return line.substr(line.find(word) + word.size());
        };
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (line.starts_with("let ")) {
            statements = &fragments[rest("let ")];
        } else if (line.front() != ' ') {
            situations.push_back(Titled(line));
            statements = &situations.back().statements;
        } else if (line.starts_with("    at ")) {
            situations.back().version = rest("at ");
        } else if (line.starts_with("    with ")) {
            const auto& fragment = fragments.at(rest("with "));
            statements->insert(statements->end(), fragment.begin(), fragment.end());
        } else {
            statements->push_back(line.substr(4));
        }
    }
    return situations;
}

bool IsOfASite(const Situation& situation) {
    return situation.step.empty() || situation.step.starts_with("Site");
}

/// All of them with TWUPDATE_SOAK=1, in an ordinary run every so many.
std::vector<Situation> Chosen(bool ofSites, std::size_t stride) {
    std::vector<Situation> chosen;
    std::size_t place = 0;
    for (const Situation& situation : ReadSituations()) {
        if (IsOfASite(situation) == ofSites && (SampleTest::IsSoak() || place++ % stride == 0)) {
            chosen.push_back(situation);
        }
    }
    return chosen;
}

class Situations : public InstallationTest {
  protected:
    static std::string Database(std::int32_t siteId) { return "tw_" + std::to_string(siteId); }

    void Make(const Situation& situation, std::int32_t siteId) {
        if (situation.version == "1.0000") {
            MakeSite(siteId, situation.version, sample::AllGroups());
        } else {
            MakeUpgradedSite(siteId, situation.version, sample::AllGroups());
        }
        // A layout of its own: sites of one layout are walked once.
        Execute(
            fmt::format("CREATE TABLE {0}.own_{1}(id INT PRIMARY KEY);", Database(siteId), siteId));
        static const std::regex ownDatabase(R"(\btw_8\b)");
        for (const std::string& statement : situation.statements) {
            Execute(std::regex_replace(statement, ownDatabase, Database(siteId)));
        }
    }

    /// Whether one of the findings, or failures of a rehearsal, is that of the situation.
    static bool IsAmong(const nlohmann::json& findings, const Situation& situation,
                        const std::string& database) {
        return std::any_of(findings.begin(), findings.end(), [&](const nlohmann::json& finding) {
            const bool isThere = !finding.contains("table") || situation.table == "-" ||
                                 finding["table"] == situation.table;
            return finding["step"] == situation.step && isThere &&
                   (finding["database"] == database || !IsOfASite(situation));
        });
    }

    static std::size_t CountOf(const nlohmann::json& findings, const std::string& database) {
        return static_cast<std::size_t>(std::count_if(
            findings.begin(), findings.end(),
            [&](const nlohmann::json& finding) { return finding["database"] == database; }));
    }

    nlohmann::json Rehearsed(const std::vector<std::string>& sites) {
        std::vector<std::string> command{"--json", "rehearse", "--workdir",
                                         (folder_ / fmt::format("r{}", rehearsals_++)).string()};
        for (const std::string& site : sites) {
            command.insert(command.end(), {"--site", site});
        }
        return Run(command).Json()["failures"];
    }

    int rehearsals_ = 0;
};

TEST_F(Situations, OfSitesAreFoundAndComeTrue) {
    MakeCentralDatabase();
    MakeUpgradedSite(7, "1.0265", sample::AllGroups());  // whose tables some take over
    const auto chosen = Chosen(true, 12);
    std::vector<std::string> rehearsed;
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        const auto siteId = static_cast<std::int32_t>(101 + i);
        SCOPED_TRACE(chosen[i].title);
        Make(chosen[i], siteId);
        if (chosen[i].finder == "rehearse") {
            rehearsed.push_back(std::to_string(siteId));
        }
    }
    const auto checked = Run({"--json", "check"}).Json()["findings"];
    const auto failures = rehearsed.empty() ? nlohmann::json::array() : Rehearsed(rehearsed);
    Trials trials("situations of sites: found, and true in the upgrade");
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        trials.Next();
        const Situation& situation = chosen[i];
        const std::string site = std::to_string(101 + i);
        SCOPED_TRACE(situation.title + " in site " + site);
        const Outcome upgrade = Run({"upgrade-site", site});
        if (situation.step.empty()) {
            EXPECT_EQ(CountOf(checked, "tw_" + site), 0U) << checked.dump(1);
            EXPECT_EQ(upgrade.status, 0) << upgrade.err;
            continue;
        }
        EXPECT_EQ(upgrade.status, 1);
        EXPECT_THAT(upgrade.err,
                    ContainsRegex("step " + situation.step + ": .*" + situation.failure));
        const bool byCheck = IsAmong(checked, situation, "tw_" + site);
        EXPECT_EQ(byCheck, situation.finder == "check") << checked.dump(1);
        if (situation.finder == "rehearse") {
            EXPECT_TRUE(IsAmong(failures, situation, "tw_" + site)) << failures.dump(1);
        }
    }
}

TEST_F(Situations, OfTheCentralDatabaseAreFoundAndComeTrue) {
    Trials trials("situations of the central database: found, and true in the upgrade");
    for (const Situation& situation : Chosen(false, 4)) {
        trials.Next();
        SCOPED_TRACE(situation.title);
        for (const char* database : {"tw_tarnwick", "tw_logs", "tw_8"}) {
            Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
        }
        MakeCentralDatabase();
        Make(situation, 8);
        const auto checked = Run({"--json", "check"}).Json()["findings"];
        EXPECT_EQ(IsAmong(checked, situation, ""), situation.finder == "check") << checked.dump(1);
        if (situation.finder == "rehearse") {
            EXPECT_TRUE(IsAmong(Rehearsed({}), situation, ""));
        }
        const Outcome upgrade = Run({"upgrade"});
        EXPECT_EQ(upgrade.status, 1);
        EXPECT_THAT(upgrade.err,
                    ContainsRegex("step " + situation.step + ": .*" + situation.failure));
    }
}

// The manual says how many of them are found by which command.
TEST(SituationsInTheManual, AreCounted) {
    std::map<std::string, std::size_t> counts;
    for (const Situation& situation : ReadSituations()) {
        ++counts[situation.finder];
    }
    std::ifstream file(std::string(TWUPDATE_SOURCE_FOLDER) + "/docs/operating/before.md");
    const std::string manual((std::istreambuf_iterator<char>(file)), {});
    ASSERT_GT(counts["check"], 0U);
    EXPECT_THAT(manual, HasSubstr(fmt::format("Of {} such situations `check` finds {} and "
                                              "`rehearse` the other {}",
                                              counts["check"] + counts["rehearse"], counts["check"],
                                              counts["rehearse"])));
}

}  // namespace
}  // namespace twupdate::test
