#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/installation_fixture.h"
#include "cli/program.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// An event at this minute after 22:00.
std::string Line(int minute, const std::string& event, const std::string& fields) {
    char time[40];
    std::snprintf(time, sizeof time, "2026-11-21T22:%02d:00.000Z", minute);
    return std::string(R"({"v":1,"time":")") + time + R"(","event":")" + event + "\"," + fields +
           "}\n";
}

std::string Started(int minute, const std::string& installation, const std::string& server) {
    return Line(minute, "run-started",
                R"("command":"upgrade","from":1.0262,"to":1.0265,"sites_to_do":2,)"
                R"("sites":[{"site":7,"from":1.0262},{"site":8,"from":1.0262}],"server":")" +
                    server + R"(","account":"u@h")" +
                    (installation.empty() ? "" : R"(,"installation":")" + installation + '"'));
}

std::string SiteStarted(int minute, int site) {
    const std::string name =
        R"("database":"tw_)" + std::to_string(site) + R"(","site":)" + std::to_string(site);
    return Line(minute, "site-started", name + R"(,"from":1.0262)");
}

std::string SiteDone(int minute, int site) {
    const std::string name =
        R"("database":"tw_)" + std::to_string(site) + R"(","site":)" + std::to_string(site);
    return SiteStarted(minute, site) +
           Line(minute + 1, "site-finished",
                name + R"(,"from":1.0262,"ms":60000,"steps":0,"statements":0)");
}

std::string Failed(int minute, int site, const std::string& error) {
    return SiteStarted(minute, site) +
           Line(minute, "run-failed",
                R"("database":"tw_)" + std::to_string(site) + R"(","site":)" +
                    std::to_string(site) +
                    R"(,"step":"SiteSchemaStep_1_0264","statement":"ALTER x","code":1060,)"
                    R"("sqlstate":"42S21","error":")" +
                    error + '"');
}

std::string Finished(int minute) {
    return Line(minute, "run-finished", R"("command":"upgrade","ms":60000)");
}

/// eu1 is done, after a run that failed; eu2 has failed in the same step; eu10 is under way.
class FleetReport : public testing::Test {
  protected:
    FleetReport() {
        Write("eu1", Started(0, "eu1", "10.11.6-MariaDB on db1") + SiteDone(0, 7) +
                         Failed(2, 8, "Duplicate column name 'a'") +
                         Started(4, "eu1", "10.11.6-MariaDB on db1") + SiteDone(4, 8) +
                         Finished(6));
        Write("eu2", Started(1, "eu2", "10.11.6-MariaDB on db1") +
                         Failed(3, 7, "Duplicate column name 'b'"));
        Write("eu10",
              Started(1, "eu10", "10.11.6-MariaDB on db1") + SiteDone(2, 7) + SiteStarted(5, 8));
    }

    void Write(const std::string& name, const std::string& events) {
        WriteFile(folder_ / (name + ".jsonl"), events);
    }
    std::string Events(const std::string& name) { return (folder_ / (name + ".jsonl")).string(); }

    std::string Page(const std::vector<std::string>& names) {
        std::vector<std::string> arguments{"report", (folder_ / "page.html").string()};
        for (const std::string& name : names) {
            arguments.insert(arguments.end(), {"--events", Events(name)});
        }
        last_ = RunProgram(arguments);
        EXPECT_EQ(last_.status, 0) << last_.err;
        return ContentOf(folder_ / "page.html");
    }

    TemporaryFolder folder_;
    Outcome last_;
};

TEST_F(FleetReport, OnePageHasARowForEachInstallation) {
    const std::string page = Page({"eu2", "eu10", "eu1"});
    EXPECT_THAT(last_.out, HasSubstr("3 installations, 1 of them finished"));
    EXPECT_THAT(page, HasSubstr("<strong>✗ 2 of 3 installations</strong> are not finished"));
    const auto row = [](const std::string& name, const std::string& rest) {
        return "<th scope=\"row\">" + name + "</th>" + rest;
    };
    EXPECT_THAT(page, HasSubstr(row("eu1",
                                    "<td><span class=\"good-word\">✓ finished</span></td>"
                                    "<td class=\"number\">2 of 2</td>"
                                    "<td class=\"number\">0</td>"
                                    "<td class=\"number\">2</td>")));
    EXPECT_THAT(page, HasSubstr(row("eu2",
                                    "<td><span class=\"bad-word\">✗ failed</span></td>"
                                    "<td class=\"number\">0 of 2</td>")));
    EXPECT_THAT(page, HasSubstr(row("eu10",
                                    "<td>… did not end</td>"
                                    "<td class=\"number\">1 of 2</td>"
                                    "<td class=\"number\">0</td>")));
    EXPECT_LT(page.find("\">eu2<"), page.find("\">eu10<")) << "numbers in their order";
    // Both failures are one group: the texts of the server differ, its error does not.
    EXPECT_THAT(page, HasSubstr("<h3>SiteSchemaStep_1_0264: server error 1060</h3>"));
    EXPECT_THAT(page, HasSubstr("<p>2 times:</p>"));
    EXPECT_THAT(page, HasSubstr("<li>eu1: tw_8, 2026-11-21 22:02:00 UTC: <span "
                                "class=\"good-word\">✓ resolved by a later run"));
    EXPECT_THAT(page, HasSubstr("<li>eu2: tw_7, 2026-11-21 22:03:00 UTC: <span "
                                "class=\"bad-word\">✗ still open"))
        << "tw_7 of another installation does not resolve it";
    EXPECT_THAT(page, HasSubstr("<li>eu2: 2 databases (tw_7, tw_8)</li>"));
    EXPECT_THAT(page, HasSubstr("<li>eu10: 1 database (tw_8)</li>"));
    // The time line: 22:00 to 22:06; the run of eu2 from minute 1 to 3.
    EXPECT_THAT(page, HasSubstr("<rect class=\"span\" x=\"16.67%\" y="));
    EXPECT_THAT(page, ContainsRegex("x=\"16.67%\" y=\"[0-9]+\" width=\"33.33%\""));
    EXPECT_THAT(page, HasSubstr("x=\"66.67%\""));
}

TEST_F(FleetReport, RunsOfOneInstallationMakeThePageThatTheyMadeBefore) {
    EXPECT_THAT(Page({"eu1"}), AllOf(HasSubstr("The last of 2 runs"), HasSubstr("id=\"steps")));
    // Without names the servers tell which runs belong together, whatever their version.
    Write("a", Started(0, "", "10.11.5-MariaDB on db1, port 3306") + Finished(1));
    Write("b", Started(2, "", "10.11.6-MariaDB on db1, port 3306") + Finished(3));
    Write("c", Started(2, "", "10.11.6-MariaDB on db1, port 3307") + Finished(3));
    EXPECT_THAT(Page({"a", "b"}), HasSubstr("The last of 2 runs"));
    EXPECT_THAT(Page({"a", "b", "c"}), HasSubstr("\">db1, port 3307<"));
}

TEST_F(FleetReport, NamesAreNoMarkup) {
    Write("x", Started(0, "<b>x", "s on a") + Finished(1));
    const std::string page = Page({"x", "eu1"});
    EXPECT_THAT(page, AllOf(HasSubstr("&lt;b&gt;x"), Not(HasSubstr("<b>"))));
}

TEST_F(FleetReport, StatusShowsTheSameOnATerminal) {
    const Outcome outcome = RunProgram(
        {"status", "--exit-code", "--events", Events("eu1"), Events("eu2"), Events("eu10")});
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    EXPECT_THAT(outcome.out, ContainsRegex("\neu1 +finished +2 of 2 +0 +0 +[0-9]"));
    EXPECT_THAT(outcome.out, ContainsRegex("\neu2 +failed +0 of 2 +0 +1 +[0-9]"));
    EXPECT_THAT(outcome.out, ContainsRegex("\neu10 +running, in tw_8 +1 of 2 +0 +0 +[0-9]"));
    EXPECT_THAT(outcome.out,
                HasSubstr("\nSiteSchemaStep_1_0264: Duplicate column name 'b': eu2: tw_7\n"));
    EXPECT_THAT(outcome.out, HasSubstr("Total: 1 of 3 installations finished.\n"));
    EXPECT_EQ(RunProgram({"status", "--exit-code", "--events", Events("eu1")}).status, 0);
    const auto json =
        RunProgram({"--json", "status", "--events", Events("eu1"), "--events", Events("eu2")})
            .Json();
    EXPECT_EQ(json["finished"], 1);
    EXPECT_EQ(json["installations"][1]["installation"], "eu2");
    EXPECT_EQ(json["installations"][1]["open_failures"], 1);
}

class FleetNames : public InstallationTest {};

TEST_F(FleetNames, TheGroupNamesTheInstallationInTheEvents) {
    MakeNearlyCurrentInstallation();
    const std::string events = (folder_ / "x.jsonl").string();
    EXPECT_EQ(Run({"--defaults-group-suffix=-eu1", "--events", events, "upgrade"}).status, 0);
    EXPECT_EQ(JsonLinesOf(events)[0]["installation"], "eu1");
}

}  // namespace
}  // namespace twupdate::test
