#include <gmock/gmock.h>

#include <filesystem>
#include <set>

#include "cli/installation_fixture.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class TraceFile : public InstallationTest {
  protected:
    fs::path trace_ = folder_ / "trace.jsonl";

    std::vector<nlohmann::json> TraceOf(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--trace", trace_.string()});
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return JsonLinesOf(trace_);
    }
};

std::vector<std::string> KeysOf(const nlohmann::json& object) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.items()) {
        keys.push_back(key);
    }
    return keys;
}

TEST_F(TraceFile, HoldsEveryCallInOrder) {
    MakeNearlyCurrentInstallation();
    const auto lines = TraceOf({"upgrade"});
    ASSERT_GT(lines.size(), 4U);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i]["seq"], i + 1);
        EXPECT_GE(lines[i]["ms"].get<double>(), 0);
        EXPECT_EQ(lines[i]["database"], "tw_tarnwick");
    }
    // The site walk of an installation without sites, then the version.
    const auto& walk = lines[lines.size() - 2];
    EXPECT_EQ(walk["op"], "command");
    EXPECT_EQ(walk["sql"],
              "SELECT siteid, version FROM tw_tarnwick.site WHERE siteid > 0 AND version < ? AND "
              "harddeleted = 0 AND transaction = 0 ORDER BY siteid LIMIT 30;");
    EXPECT_EQ(walk["params"], nlohmann::json::array({kCurrentVersion}));
    EXPECT_THAT(KeysOf(walk), ElementsAre("database", "ms", "op", "params", "seq", "sql"));
    EXPECT_EQ(lines.back()["sql"], "UPDATE tw_tarnwick.installation SET version = ?;");
}

TEST_F(TraceFile, IsItsOwnersAlone) {
    MakeNearlyCurrentInstallation();
    constexpr auto kOwner = fs::perms::owner_read | fs::perms::owner_write;
    WriteFile(trace_, "an older one");
    fs::permissions(trace_, fs::perms::all);
    TraceOf({"upgrade"});
    EXPECT_EQ(fs::status(trace_).permissions(), kOwner);
    fs::remove(trace_);
    Execute("UPDATE tw_tarnwick.installation SET version = 1.0262;");
    TraceOf({"upgrade"});
    EXPECT_EQ(fs::status(trace_).permissions(), kOwner);
}

TEST_F(TraceFile, NamesTheStepOfAStatement) {
    MakeNearlyCurrentInstallation();
    MakeUpgradedSite(7, "1.0262");
    const auto lines = TraceOf({"upgrade"});
    std::set<std::string> stepsOfTheSite;
    for (const auto& line : lines) {
        if (line["database"] == "tw_7") {
            stepsOfTheSite.insert(line.value("step", "(none)"));
            EXPECT_THAT(line["sql"].get<std::string>(), HasSubstr("tw_7"));
        }
    }
    EXPECT_TRUE(stepsOfTheSite.contains("SiteSchemaStep_1_0264"));
    EXPECT_FALSE(stepsOfTheSite.contains("(none)"));
    // The record of the site's version belongs to the central database and to no step.
    const auto record = std::find_if(lines.begin(), lines.end(), [](const auto& line) {
        return line["sql"] == "UPDATE tw_tarnwick.site SET version = ? WHERE siteid = 7;";
    });
    ASSERT_NE(record, lines.end());
    EXPECT_EQ((*record)["database"], "tw_tarnwick");
    EXPECT_FALSE(record->contains("step"));
}

TEST_F(TraceFile, HasOpsForEveryKindOfCall) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000", sample::AllGroups());
    std::set<std::string> ops;
    std::set<std::string> services;
    for (const auto& line : TraceOf({"upgrade"})) {
        ops.insert(line["op"].get<std::string>());
        if (line["op"] == "service") {
            services.insert(line["service"].get<std::string>());
            EXPECT_EQ(line["site"], 7);
            EXPECT_TRUE(line["component"].is_number_integer());
            EXPECT_FALSE(line.contains("sql"));
        }
    }
    EXPECT_THAT(ops, ElementsAre("command", "execute", "query", "reader", "refresh", "service"));
    EXPECT_THAT(services, testing::Contains("UpgradeSiteComponent"));
}

TEST_F(TraceFile, TellsOfCopiedFiles) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    const fs::path install = folder_ / "component";
    fs::create_directories(install);
    WriteFile(folder_ / "templates" / "site" / "index.htm", "x");
    fs::create_directories(folder_ / "wwwroot" / "sites");
    std::vector<nlohmann::json> copies;
    for (const auto& line : TraceOf({"--install-folder", install.string(), "upgrade-site", "7"})) {
        if (line["op"] == "copy") {
            copies.push_back(line);
        }
    }
    ASSERT_FALSE(copies.empty());
    EXPECT_EQ(copies[0]["database"], "tw_7");
    EXPECT_EQ(copies[0]["site"], 7);
    EXPECT_TRUE(copies[0].contains("step"));
    EXPECT_EQ(copies[0]["source"], (folder_ / "templates" / "site" / "index.htm").string());
    EXPECT_EQ(copies[0]["destination"],
              (folder_ / "wwwroot" / "sites" / "7" / "index.htm").string());
}

TEST_F(TraceFile, HidesPasswords) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000", sample::AllGroups());
    Execute("ALTER TABLE tw_7.charge ADD COLUMN password VARCHAR(20) DEFAULT '' NOT NULL;");
    Execute(
        "INSERT INTO tw_7.charge(featureid, name, sequence, password) "
        "VALUES(3, 'Gift wrap', 1, 'hushhush');");
    const auto lines = TraceOf({"upgrade-site", "7"});
    EXPECT_THAT(ContentOf(trace_), Not(HasSubstr("hushhush")));
    EXPECT_THAT(ContentOf(trace_), HasSubstr("'Gift wrap', '***'"));
    EXPECT_EQ(Cell("SELECT password FROM tw_7.chargeoption;"), "hushhush");
}

TEST_F(TraceFile, WhatBecomesOfServicesIsAskedBeforeTheyAreCalled) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    const auto run = [](const std::vector<std::string>& arguments) {
        auto words = Connect();
        words.emplace_back("--no-site-files");
        words.insert(words.end(), arguments.begin(), arguments.end());
        return RunProgram(words);
    };
    const std::string central = StateOf("tw_tarnwick");
    const std::string seven = StateOf("tw_7");
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"upgrade"}, {"upgrade-site", "7"}}) {
        const Outcome asked = run(command);
        EXPECT_EQ(asked.status, 2);
        EXPECT_EQ(asked.err,
                  "twupdate: the steps of this run call component services of the platform; "
                  "nothing was done\ntwupdate: hint: carry the calls out (--service-command), "
                  "record them (--services-log) or drop them (--no-services)\n");
    }
    EXPECT_EQ(StateOf("tw_tarnwick"), central);
    EXPECT_EQ(StateOf("tw_7"), seven);
    const Outcome without = run({"--no-services", "upgrade-site", "7", "--no-record"});
    EXPECT_EQ(without.status, 0) << without.err;
    EXPECT_EQ(without.err, "");
    EXPECT_THAT(without.out,
                testing::ContainsRegex("\nComponent services: [0-9]+ calls neither carried out nor "
                                       "recorded, as --no-services says.\n"));
    // Where none is called there is nothing to ask.
    Execute("UPDATE tw_tarnwick.site SET version = 1.0264;");
    EXPECT_EQ(run({"upgrade-site", "7"}).status, 0);
    for (const char* other : {"--service-command", "--services-log"}) {
        EXPECT_EQ(run({"--no-services", other, "x", "status"}).status, 2);
    }
}

TEST_F(TraceFile, ServicesAreRecorded) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    const fs::path log = folder_ / "services.jsonl";
    const Outcome logged = Run({"--services-log", log.string(), "--json", "upgrade-site", "7"});
    EXPECT_EQ(logged.status, 0) << logged.err;
    const auto calls = JsonLinesOf(log);
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(logged.Json()["services"]["recorded"], calls.size());
    EXPECT_EQ(logged.Json()["services"]["carried_out"], 0);
}

TEST_F(TraceFile, ServicesAreCarriedOutByTheOperatorsCommand) {
    MakeCentralDatabase();
    MakeSite(7, "1.0000");
    const Outcome done = Run({"--service-command", "/bin/true", "--json", "upgrade-site", "7"});
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_GT(done.Json()["services"]["carried_out"], 0);
    EXPECT_EQ(done.Json()["services"]["recorded"], 0);

    const Outcome failed =
        Run({"--service-command", "/bin/false", "upgrade-site", "7", "--from", "1.0000"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, HasSubstr("site content ladder, step SiteContentStep_"));
}

}  // namespace
}  // namespace twupdate::test
