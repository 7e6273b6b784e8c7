// What `check` finds out about rows that InnoDB may refuse, against what the upgrade does.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "cli/sample_fixture.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

class CheckRowSize : public SampleTest {
  protected:
    /// A site of that version under a central database that is upgraded.
    void MakeSiteAt(double version, const std::string& charset = "utf8mb4") {
        for (const char* database : {"tw_tarnwick", "tw_logs", "tw_1"}) {
            Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
        }
        Execute(fmt::format("CREATE DATABASE tw_1 CHARACTER SET {};", charset));
        MakeCentralWith({Plan(1, version)});
        sample::BringCentralTo(host_, {kCurrentVersion, kCurrentVersion});
    }

    void Goes() {
        ExpectClean({"check", "--site", "1"});
        ExpectClean({"upgrade-site", "1"});
    }

    void Fails(const std::string& step) {
        const Outcome upgrade = Run(WithFolder({"upgrade-site", "1"}));
        EXPECT_EQ(upgrade.status, 1);
        EXPECT_THAT(upgrade.err, ContainsRegex("step " + step + ": ALTER TABLE .*error 1118 "));
    }

    std::string Found() { return Run(WithFolder({"check", "--site", "1"})).out; }
};

TEST_F(CheckRowSize, FindsATableWhoseFormatTakesNoLongRows) {
    for (const char* format : {"compact", "redundant"}) {
        const GlobalSetting setting("innodb_default_row_format", format);
        MakeSiteAt(1.0);
        EXPECT_THAT(Found(), ContainsRegex("^tw_1.customerorder: in the row format [A-Z]+ a row "
                                           "takes less than 812[36] bytes, and it can come to "
                                           "8[0-9]+, so SiteSchemaStep_1_0054 fails; ALTER TABLE "
                                           "tw_1.customerorder ROW_FORMAT=DYNAMIC\n1 finding.\n$"));
        Fails("SiteSchemaStep_1_0054");
        Execute("ALTER TABLE tw_1.customerorder ROW_FORMAT=DYNAMIC;");
        Goes();
    }
}

TEST_F(CheckRowSize, FindsATableOfTheCentralDatabase) {
    MakeCentralWith({});
    Execute("CREATE DATABASE tw_logs;");
    const GlobalSetting setting("innodb_default_row_format", "compact");
    {
        const GlobalSetting strict("innodb_strict_mode", "OFF");
        CliServer::Get().ForgetConnection();
        std::string columns;
        for (int i = 1; i <= 11; ++i) {
            columns += fmt::format(", ADD COLUMN wide{} VARCHAR(255) DEFAULT '' NOT NULL", i);
        }
        Execute("ALTER TABLE tw_tarnwick.site ROW_FORMAT=COMPACT" + columns + ";");
    }
    EXPECT_THAT(
        Run(WithFolder({"check"})).out,
        ContainsRegex("^tw_tarnwick.site: in the row format COMPACT a row takes less than 8126 "
                      "bytes, and it can come to [0-9]+, so ServerStep_1_0[0-9]+ fails; ALTER "
                      "TABLE tw_tarnwick.site ROW_FORMAT=DYNAMIC\n1 finding.\n$"));
    EXPECT_THAT(Run(WithFolder({"upgrade"})).err,
                ContainsRegex("step ServerStep_1_0[0-9]+: ALTER TABLE tw_tarnwick.site .*error "
                              "1118 "));
    Execute("ALTER TABLE tw_tarnwick.site ROW_FORMAT=DYNAMIC;");
    ExpectClean({"check"});
    ExpectClean({"upgrade"});
}

TEST_F(CheckRowSize, PassesOverItWhereInnoDbIsNotStrict) {
    const GlobalSetting setting("innodb_default_row_format", "compact");
    const GlobalSetting strict("innodb_strict_mode", "OFF");
    MakeSiteAt(1.0);
    Goes();
}

// 1.0047 makes the table anew, in the format that the server then gives it.
TEST_F(CheckRowSize, KnowsWhichFormatATableWillHave) {
    const auto makeCompact = [this](double version) {
        const GlobalSetting setting("innodb_default_row_format", "compact");
        const GlobalSetting strict("innodb_strict_mode", "OFF");
        ConnectSample();
        MakeSiteAt(version);
    };
    makeCompact(1.0);
    Goes();
    makeCompact(1.0047);
    EXPECT_THAT(Found(), StartsWith("tw_1.customerorder: in the row format COMPACT a row takes "
                                    "less than 8126 bytes, and it can come to "));
    Fails("SiteSchemaStep_1_0054");
    ConnectSample();
    MakeSiteAt(1.0);
    const GlobalSetting setting("innodb_default_row_format", "compact");
    EXPECT_THAT(Found(), HasSubstr("so SiteSchemaStep_1_0054 fails; "));
    Fails("SiteSchemaStep_1_0054");
}

TEST_F(CheckRowSize, CountsTheBytesOfTheCharacterSet) {
    const GlobalSetting setting("innodb_default_row_format", "compact");
    MakeSiteAt(1.0, "latin1");
    Goes();
    // With three bytes each the row becomes too long by its last new column, shippingnotes.
    MakeSiteAt(1.0, "utf8mb3");
    Goes();
    MakeSiteAt(1.0, "utf8mb3");
    Execute("ALTER TABLE tw_1.customerorder ADD COLUMN ours VARCHAR(100) NOT NULL;");
    EXPECT_EQ(Found(),
              "tw_1.customerorder: in the row format COMPACT a row takes less than 8126 bytes, and "
              "it can come to 8216, so SiteSchemaStep_1_0094 fails; ALTER TABLE tw_1.customerorder "
              "ROW_FORMAT=DYNAMIC\n1 finding.\n");
    Fails("SiteSchemaStep_1_0094");
}

// Its rows are too long already: a column of its own that is changed is refused.
TEST_F(CheckRowSize, FindsTheFormsOfWhichAFieldIsChanged) {
    const auto makeForm = [this](const std::string& type, const std::string& column) {
        MakeSiteAt(1.0);
        const GlobalSetting setting("innodb_default_row_format", "compact");
        const GlobalSetting strict("innodb_strict_mode", "OFF");
        CliServer::Get().ForgetConnection();
        std::string columns;
        for (int i = 1; i <= 11; ++i) {
            columns += fmt::format("wide{} VARCHAR(255) DEFAULT '' NOT NULL, ", i);
        }
        Execute("CREATE TABLE tw_1.form_77(replyid INT AUTO_INCREMENT PRIMARY KEY, " + columns +
                "field_901 " + column + ");");
        Execute("INSERT INTO tw_1.formfield(formfieldid, featureid, type) VALUES(901, 77, '" +
                type + "');");
    };
    makeForm("float", "FLOAT DEFAULT 0 NOT NULL");
    EXPECT_THAT(Found(), HasSubstr("tw_1.form_77: in the row format COMPACT a row takes less than "
                                   "8126 bytes, and it can come to 8724, so SiteSchemaStep_1_0035 "
                                   "fails; ALTER TABLE tw_1.form_77 ROW_FORMAT=DYNAMIC\n"));
    Fails("SiteSchemaStep_1_0035");
    makeForm("memo", "VARCHAR(100) DEFAULT '' NOT NULL");
    Goes();  // made anew, and then DYNAMIC
    makeForm("memo", "VARCHAR(100) DEFAULT '' NOT NULL");
    Execute("ALTER TABLE tw_1.customerorder ROW_FORMAT=DYNAMIC;");
    const GlobalSetting setting("innodb_default_row_format", "compact");
    EXPECT_THAT(Found(), HasSubstr("tw_1.form_77: in the row format COMPACT "));
    Fails("SiteContentStep_1_0255");
}

TEST_F(CheckRowSize, FindsWhatFailsInSitesOfAnyVersion) {
    for (const char* format : {"compact", "redundant"}) {
        for (const double version :
             Versions(Ladder::kSiteSchema, Ladder::kSiteContent, IsSoak() ? 1 : 25)) {
            const GlobalSetting setting("innodb_default_row_format", format);
            {
                const GlobalSetting strict("innodb_strict_mode", "OFF");
                ConnectSample();
                MakeSiteAt(version);
            }
            SCOPED_TRACE(fmt::format("{} {}", format, version));
            const Outcome check = Run(WithFolder({"--json", "check", "--site", "1"}));
            const Outcome upgrade = Run(WithFolder({"upgrade-site", "1"}));
            const auto findings = check.Json()["findings"];
            if (upgrade.status == 0) {
                EXPECT_EQ(findings.size(), 0U) << check.out;
            } else {
                ASSERT_EQ(findings.size(), 1U) << check.out << upgrade.err;
                EXPECT_THAT(upgrade.err,
                            HasSubstr("step " + findings[0]["step"].get<std::string>() + ": "));
            }
        }
    }
}

}  // namespace
}  // namespace twupdate::test
