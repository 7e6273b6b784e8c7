// What `check` finds out about rows that InnoDB may refuse, against what the upgrade does.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "cli/sample_fixture.h"
#include "support/trials.h"

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

TEST_F(CheckRowSize, SkipsItWhereInnoDbIsNotStrict) {
    const GlobalSetting setting("innodb_default_row_format", "compact");
    const GlobalSetting strict("innodb_strict_mode", "OFF");
    MakeSiteAt(1.0);
    Goes();
}

// 1.0047 recreates the table, in the format that the server then gives it.
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
                                   "8126 bytes, and it can come to 8716, so SiteSchemaStep_1_0035 "
                                   "fails; ALTER TABLE tw_1.form_77 ROW_FORMAT=DYNAMIC\n"));
    Fails("SiteSchemaStep_1_0035");
    makeForm("memo", "VARCHAR(100) DEFAULT '' NOT NULL");
    Goes();  // recreated, and then DYNAMIC
    makeForm("memo", "VARCHAR(100) DEFAULT '' NOT NULL");
    Execute("ALTER TABLE tw_1.customerorder ROW_FORMAT=DYNAMIC;");
    const GlobalSetting setting("innodb_default_row_format", "compact");
    EXPECT_THAT(Found(), HasSubstr("tw_1.form_77: in the row format COMPACT "));
    Fails("SiteContentStep_1_0255");
}

TEST_F(CheckRowSize, FindsWhatFailsInSitesOfAnyVersion) {
    Trials trials("check against the upgrade: row formats, sites of each start");
    for (const char* format : {"compact", "redundant"}) {
        for (const double version :
             Versions(Ladder::kSiteSchema, Ladder::kSiteContent, IsSoak() ? 1 : 25)) {
            const GlobalSetting setting("innodb_default_row_format", format);
            {
                const GlobalSetting strict("innodb_strict_mode", "OFF");
                ConnectSample();
                MakeSiteAt(version);
            }
            trials.Next();
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

/// The table `tag` with columns of somebody's own, which 1.0050, 1.0061 and 1.0072 give an INT
/// each.
class CheckLongTable : public CheckRowSize {
  protected:
    /// @param finding  of tw_1.tag; empty: the upgrade goes well
    void Expect(const std::string& own, const std::string& finding = "",
                const std::string& failure = "") {
        MakeSiteAt(1.0);
        Execute("ALTER TABLE tw_1.tag " + own + ";");
        if (finding.empty()) {
            Goes();
            return;
        }
        EXPECT_EQ(Found(), "tw_1.tag: " + finding + "\n1 finding.\n");
        const Outcome upgrade = Run(WithFolder({"upgrade-site", "1"}));
        EXPECT_THAT(upgrade.err, ContainsRegex(failure));
    }
};

// Six columns of 1, 4, 4, 4, 4 and (255 characters of four bytes, and two for the length) 1,022
// bytes are 1,039; a VARBINARY has two bytes for its length.
TEST_F(CheckLongTable, IsFoundWhereTheServerTakesNoLongerRow) {
    const auto own = [](int bytes) {
        return fmt::format("ADD COLUMN own VARBINARY({}) DEFAULT '' NOT NULL", bytes);
    };
    const auto comesTo = [](int bytes, const std::string& step) {
        return fmt::format(
            "a row takes 65535 bytes without its long texts, and it comes to {}, so "
            "{} fails; make columns that the platform does not have shorter",
            bytes, step);
    };
    Expect(own(64482));
    Expect(own(64483), comesTo(65536, "SiteSchemaStep_1_0072"),
           "step SiteSchemaStep_1_0072: .*server error 1118 ");
    Expect(own(64490), comesTo(65539, "SiteSchemaStep_1_0061"),
           "step SiteSchemaStep_1_0061: .*server error 1118 ");
    Expect(own(64491), comesTo(65536, "SiteSchemaStep_1_0050"),
           "step SiteSchemaStep_1_0050: .*server error 1118 ");
}

// A column that may be NULL takes a bit, and the first eight of them a byte.
TEST_F(CheckLongTable, CountsTheBitsOfWhatMayBeNull) {
    Expect("ADD COLUMN own VARBINARY(64480) DEFAULT '' NOT NULL, ADD COLUMN b TINYINT");
    Expect("ADD COLUMN own VARBINARY(64481) DEFAULT '' NOT NULL, ADD COLUMN b TINYINT",
           "a row takes 65535 bytes without its long texts, and it comes to 65536, so "
           "SiteSchemaStep_1_0072 fails; make columns that the platform does not have shorter",
           "step SiteSchemaStep_1_0072: .*server error 1118 ");
}

TEST_F(CheckLongTable, IsFoundWhereTheServerTakesNoMoreColumns) {
    const auto own = [](int count) {
        std::string columns;
        for (int i = 1; i <= count; ++i) {
            columns +=
                fmt::format("{}ADD COLUMN own{} TINYINT DEFAULT 0 NOT NULL", i > 1 ? ", " : "", i);
        }
        return columns;
    };
    Expect(own(1008));
    Expect(own(1009),
           "a table takes 1017 columns, and it comes to 1018, so SiteSchemaStep_1_0072 fails; drop "
           "columns that the platform does not have",
           "step SiteSchemaStep_1_0072: .*server error 1005 .*Too many columns");
}

}  // namespace
}  // namespace twupdate::test
