#include <gmock/gmock.h>

#include <memory>

#include "cli/installation_fixture.h"
#include "sample/installation.h"
#include "twupdate/update.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

/// Ends a run after the n-th statement that holds this text.
class InterruptAfter : public host::StatementListener {
  public:
    InterruptAfter(std::string text, int n) : text_(std::move(text)), left_(n) {}
    void Before(const host::StatementEvent&) override {
        if (left_ == 0) {
            throw HostError("", 0, "", "interrupted");
        }
    }
    void After(const host::StatementEvent& event, std::chrono::nanoseconds,
               const HostError*) override {
        if (event.sql.find(text_) != std::string_view::npos) {
            --left_;
        }
    }

  private:
    std::string text_;
    int left_;
};

class Repair : public InstallationTest {
  protected:
    Repair() { MakeCentralDatabase(); }

    /// A site whose rows make every one of these places do real work.
    void MakeWorkingSite(std::int32_t siteId) {
        MakeSite(siteId, "1.0000", sample::AllGroups());
        const std::string db = "tw_" + std::to_string(siteId) + ".";
        Execute("INSERT INTO " + db + "layoutzone(zoneid, elementid) VALUES(1, 1), (2, 1);");
        Execute("INSERT INTO " + db +
                "accesscodeaccount(accesscodeid, associatepercentage) "
                "VALUES(1, 12.5), (2, 0.25);");
        Execute("INSERT INTO " + db +
                "formfield(formfieldid, featureid, type) "
                "VALUES(5, 50, 'float'), (6, 50, 'float');");
        Execute("CREATE TABLE " + db +
                "form_50(replyid INT AUTO_INCREMENT PRIMARY KEY, "
                "field_5 FLOAT DEFAULT 0 NOT NULL, "
                "field_6 FLOAT DEFAULT 0 NOT NULL);");
        Execute("INSERT INTO " + db + "form_50(field_5, field_6) VALUES(1.5, 2.5), (3, 4);");
        Execute("INSERT INTO " + db +
                "charge(chargeid, featureid, name, sequence) "
                "VALUES(1, 3, 'Post', 1), (2, 3, 'Wrap', 2), (3, 3, 'Ins', "
                "3);");
        Execute("INSERT INTO " + db + "chargetocharge(chargeid, applytochargeid) VALUES(2, 1);");
        Execute("INSERT INTO " + db +
                "chargetoitemtype(chargeid, applytoitemtypeid) "
                "VALUES(3, 8);");
    }

    static void InterruptUpgrade(const std::string& text, int n) {
        host::MariaDbUtilityOptions options;
        options.installFolder = TWUPDATE_SOURCE_FOLDER;
        options.listener = std::make_shared<InterruptAfter>(text, n);
        Update update;
        update.Configure(std::make_shared<host::MariaDbUtility>(
            host::Connection::Open(CliServer::Get().Server().ConnectOptions()), options));
        EXPECT_THROW(update.UpdateSite(7, 1.0), HostError) << text;
    }
};

struct Interruption {
    std::string text;  ///< of the statement after which the run is interrupted
    int n;             ///< which of the statements with that text
    std::string finding;
};

TEST_F(Repair, RepairsWhatEachInterruptionLeavesSoThatTheResumedRunEndsLikeAnUndisturbedOne) {
    MakeWorkingSite(9);
    ASSERT_EQ(Run({"upgrade-site", "9"}).status, 0);
    const std::string undisturbed = StateOf("tw_9");
    const std::string left = "the column double_temp is left over, and ";
    const std::vector<Interruption> places{
        {"accesscodeaccount ADD COLUMN double_temp", 1, "tw_7.accesscodeaccount: " + left},
        {"accesscodeaccount SET double_temp", 1, "tw_7.accesscodeaccount: " + left},
        {"accesscodeaccount DROP COLUMN associatepercentage", 1,
         "tw_7.accesscodeaccount: the column associatepercentage is missing, and its values are in "
         "double_temp; "},
        {"form_50 ADD COLUMN double_temp", 2, "tw_7.form_50: " + left},
        {"form_50 DROP COLUMN field_5", 1,
         "tw_7.form_50: the column field_5 is missing, and its values are in double_temp; "},
        {"layoutzone DROP COLUMN starthidedelay", 1,
         "tw_7.layoutzone: the column starthidedelay is missing, and its values are in "
         "double_temp; "},
        {"layoutzone ADD COLUMN startshowdelay", 1,
         "tw_7.layoutzone: missing timing columns: startfadein, starthidedelay, startfadeout; "},
        {"layoutzone ADD COLUMN starthidedelay", 1,
         "tw_7.layoutzone: missing timing columns: startfadeout; "},
        {"INSERT INTO tw_7.chargegroup(", 2,
         "tw_7.chargegroup: 2 groups of an unfinished conversion"},
        {"UPDATE tw_7.charge SET chargeoptionid", 3,
         "tw_7.chargegroup: 3 groups of an unfinished conversion"},
    };
    for (const Interruption& place : places) {
        Execute("DROP DATABASE IF EXISTS tw_7;");
        Execute("DELETE FROM tw_tarnwick.site WHERE siteid = 7;");
        MakeWorkingSite(7);
        InterruptUpgrade(place.text, place.n);
        const Outcome shown = Run({"repair", "--site", "7"});
        EXPECT_EQ(shown.status, 3) << place.text << shown.err;
        EXPECT_THAT(shown.out, HasSubstr(place.finding));
        EXPECT_EQ(Run({"repair"}).out, shown.out);  // nothing was changed, nothing else is found
        EXPECT_EQ(Run({"repair", "--site", "7", "--apply"}).status, 0);
        EXPECT_EQ(Run({"repair"}).status, 0) << place.text;
        EXPECT_EQ(Run({"check", "--site", "7"}).status, 0) << place.text;
        const Outcome resumed = Run({"upgrade-site", "7"});
        EXPECT_EQ(resumed.status, 0) << place.text << resumed.err;
        EXPECT_EQ(StateOf("tw_7"), undisturbed) << place.text;
    }
}

// The addresses are made by an earlier step, so they are put in place before the interruption.
TEST_F(Repair, CopiesTheFeedAddressesThatAnInterruptedRunHasNot) {
    MakeWorkingSite(7);
    InterruptUpgrade("externallookupfeedurl(", 1);
    Execute(
        "INSERT INTO tw_7.featurenamevalue(featureid, type, name, value, sequence) "
        "VALUES(4, 2, 'n', 'http://a.example/', 1);");
    EXPECT_THAT(Run({"repair"}).out, HasSubstr("tw_7.externallookupfeedurl: the table is empty, "
                                               "but featurenamevalue holds 1 address; "));
    EXPECT_EQ(Run({"repair", "--apply"}).status, 0);
    EXPECT_EQ(Cell("SELECT url FROM tw_7.externallookupfeedurl;"), "http://a.example/");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.externallookupfeedurl;"), "1");
}

TEST_F(Repair, FindsNothingInAnInstallationThatWasNeverInterrupted) {
    Execute("DROP DATABASE tw_tarnwick;");
    Execute("DROP DATABASE tw_logs;");
    const auto root = std::make_shared<host::MariaDbUtility>(
        host::Connection::Open(CliServer::Get().Server().ConnectOptions()));
    sample::InstallationOptions options;
    options.sites = 10;
    options.rows = 20;
    sample::MakeInstallation(root, options);
    const Outcome outcome = Run({"repair"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Nothing to repair.\n");
}

TEST_F(Repair, RemovesChargesThatWereConvertedTwice) {
    MakeWorkingSite(7);
    InterruptUpgrade("UPDATE tw_7.charge SET chargeoptionid", 2);
    ASSERT_EQ(Run({"upgrade-site", "7"}).status, 0);  // converts all three again
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.chargegroup;"), "5");
    EXPECT_THAT(
        Run({"repair"}).out,
        HasSubstr(
            "tw_7.chargegroup: 2 groups that no charge refers to, beside others of the same name"));
    EXPECT_EQ(Run({"repair", "--apply"}).status, 0);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.chargegroup;"), "3");
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.charge c INNER JOIN tw_7.chargeoption o ON "
                   "o.optionid = c.chargeoptionid INNER JOIN tw_7.chargegroup g ON g.groupid = "
                   "o.groupid AND g.name = c.name;"),
              "3");
    EXPECT_EQ(Run({"repair"}).status, 0);
}

TEST_F(Repair, LeavesASoundInstallationAlone) {
    MakeWorkingSite(7);
    EXPECT_EQ(Run({"repair"}).out, "Nothing to repair.\n");
    ASSERT_EQ(Run({"upgrade"}).status, 0);
    const Outcome outcome = Run({"repair", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.Json()["result"], "clean");
}

TEST_F(Repair, RepairsTheCentralDatabase) {
    Execute(
        "ALTER TABLE tw_tarnwick.account ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL, "
        "DROP COLUMN associatepercentage;");
    EXPECT_THAT(Run({"repair"}).out,
                AllOf(HasSubstr("tw_tarnwick.account: the column associatepercentage is missing, "
                                "and its values are in double_temp; "),
                      HasSubstr("CHANGE COLUMN double_temp associatepercentage DOUBLE")));
    EXPECT_EQ(Run({"repair", "--apply"}).status, 0);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

// A connection lost after the drop, and a repeat that added the column again and then stopped.
TEST_F(Repair, KeepsTheValuesThatARepeatHasLeftBesideAnEmptyColumn) {
    MakeWorkingSite(7);
    Execute("INSERT INTO tw_7.setting(settingid, name) VALUES(901, 'x');");
    InterruptUpgrade("setting ADD COLUMN float_value", 1);
    Execute("UPDATE tw_7.setting SET float_value = 2.5 WHERE settingid = 901;");
    InterruptUpgrade("setting DROP COLUMN float_value", 1);
    InterruptUpgrade("setting ADD COLUMN float_value", 1);
    for (const char* command : {"check", "upgrade-site"}) {
        EXPECT_NE(
            Run(command == std::string("check") ? std::vector<std::string>{"check", "--site", "7"}
                                                : std::vector<std::string>{"upgrade-site", "7"})
                .status,
            0)
            << command;
    }
    EXPECT_EQ(Run({"repair", "--apply"}).status, 0);
    EXPECT_EQ(Cell("SELECT float_value FROM tw_7.setting WHERE settingid = 901;"), "2.5");
    EXPECT_EQ(Run({"upgrade-site", "7"}).status, 0);
    EXPECT_EQ(Cell("SELECT float_value FROM tw_7.setting WHERE settingid = 901;"), "2.5");
}

TEST_F(Repair, CheckSeesWhatAConversionHasLeftInWhateverTable) {
    MakeWorkingSite(7);
    for (const std::string table :
         {"tw_7.setting", "tw_7.navigation", "tw_7.layoutzone", "tw_7.commission",
          "tw_7.accesscodeaccount", "tw_7.form_50", "tw_7.charge", "tw_tarnwick.account"}) {
        Execute("ALTER TABLE " + table + " ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;");
        const Outcome outcome = Run({"check"});
        EXPECT_EQ(outcome.status, 3) << table;
        EXPECT_THAT(outcome.out, testing::ContainsRegex(table + ": .*double_temp")) << table;
        EXPECT_EQ(Run({"repair"}).status, 3) << table;
        Execute("ALTER TABLE " + table + " DROP COLUMN double_temp;");
    }
    EXPECT_THAT(Run({"check"}).out, testing::Not(HasSubstr("double_temp")));
}

TEST_F(Repair, DropsAnUnfinishedCentralDatabaseInWhichNothingIsStored) {
    Execute("DROP DATABASE tw_tarnwick;");
    Execute("CREATE DATABASE tw_tarnwick;");
    EXPECT_THAT(Run({"repair"}).out,
                HasSubstr("tw_tarnwick: it has no table installation; create-core looks at nothing "
                          "but the name of the database\n  DROP DATABASE tw_tarnwick;\n"));
    EXPECT_EQ(Run({"repair", "--apply"}).status, 0);
    EXPECT_EQ(Run({"create-core"}).status, 0);
    EXPECT_EQ(Run({"repair"}).status, 0);
}

}  // namespace
}  // namespace twupdate::test
