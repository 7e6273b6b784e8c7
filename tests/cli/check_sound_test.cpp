#include <fmt/format.h>
#include <gmock/gmock.h>

#include "cli/sample_fixture.h"
#include "support/trials.h"

namespace twupdate::test {
namespace {

using testing::HasSubstr;

/// `check` against what the upgrade really does, on the sample's sites. With TWUPDATE_SOAK=1 every
/// version, column and table takes its turn, in an ordinary run a few.
using CheckSound = SampleTest;

TEST_F(CheckSound, FindsNothingInSitesOfAnyVersion) {
    std::vector<sample::SitePlan> plans;
    for (const double version :
         Versions(Ladder::kSiteSchema, Ladder::kSiteContent, IsSoak() ? 1 : 20)) {
        plans.push_back(Plan(static_cast<std::int32_t>(plans.size() + 1), version));
    }
    MakeCentralWith(plans);
    ExpectClean({"check"});
    ExpectClean({"upgrade"});
}

TEST_F(CheckSound, FindsNothingInACentralDatabaseOfAnyVersion) {
    Trials trials("check and upgrade of a central database of each start");
    for (const double version : Versions(Ladder::kServer, Ladder::kServerData, IsSoak() ? 1 : 12)) {
        trials.Next();
        for (const char* database : {"tw_tarnwick", "tw_logs", "tw_1"}) {
            Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
        }
        MakeCentralWith({Plan(1)});
        sample::BringCentralTo(host_, {version, version});
        SCOPED_TRACE(version);
        ExpectClean({"check"});
        ExpectClean({"upgrade"});
    }
}

TEST_F(CheckSound, FindsNothingInASampleInstallation) {
    options_.sites = 9;
    options_.rows = 15;
    sample::MakeInstallation(host_, options_);
    ExpectClean({"check"});
    ExpectClean({"upgrade"});
}

/// What is missing is found exactly when the upgrade fails for it.
class CheckMissing : public CheckSound {
  protected:
    /// The rows of a query, in an ordinary run every so many of them.
    static std::vector<std::vector<std::string>> Some(const std::string& sql, std::size_t stride) {
        std::vector<std::vector<std::string>> some;
        const auto rows = CliServer::Get().Root().Query(sql);
        for (std::size_t place = 1; rows->Next(); ++place) {
            if (IsSoak() || place % stride == 0) {
                auto& row = some.emplace_back();
                for (std::size_t i = 0; i < rows->ColumnCount(); ++i) {
                    row.push_back(rows->Get(i).ToText());
                }
            }
        }
        return some;
    }

    /// Makes the central database at 1.0000 and the site again.
    void MakeBoth() {
        for (const char* database : {"tw_tarnwick", "tw_logs", "tw_1"}) {
            Execute(fmt::format("DROP DATABASE IF EXISTS {};", database));
        }
        MakeCentralWith({Plan(1)});
    }

    /// Makes the site again, under a central database that is upgraded.
    void MakeOnlyTheSite() {
        if (Cell("SHOW DATABASES LIKE 'tw_1';") == "(no row)") {
            MakeCentralWith({Plan(1)});
            sample::BringCentralTo(host_, {kCurrentVersion, kCurrentVersion});
        }
        Execute("DROP DATABASE tw_1;");
        sample::SitePlan plan = Plan(1);
        plan.hasLog = false;
        sample::MakeSite(host_, options_, plan);
        Execute("UPDATE tw_tarnwick.site SET version = 1.0 WHERE siteid = 1;");
    }

    void Compare(const std::string& table, const std::string& statement, const std::string& problem,
                 const std::vector<std::string>& check, const std::vector<std::string>& upgrade) {
        SCOPED_TRACE(statement);
        Execute(statement);
        const Outcome found = Run(WithFolder(check));
        const Outcome upgraded = Run(WithFolder(upgrade));
        const auto result = found.Json();
        ASSERT_TRUE(result.contains("findings")) << found.out << found.err << upgraded.err;
        const auto& findings = result["findings"];
        if (upgraded.status == 0) {
            EXPECT_TRUE(findings.empty()) << found.out;
            return;
        }
        ASSERT_EQ(findings.size(), 1U) << upgraded.err << found.out;
        EXPECT_EQ(findings[0]["table"], table);
        EXPECT_EQ(findings[0]["problem"], problem);
        EXPECT_THAT(upgraded.err,
                    HasSubstr("step " + findings[0]["step"].get<std::string>() + ": "));
    }

    void CompareSite(const std::string& table, const std::string& statement,
                     const std::string& problem) {
        MakeOnlyTheSite();
        Compare(table, statement, problem, {"--json", "check", "--site", "1"},
                {"upgrade-site", "1"});
    }

    void CompareCentral(const std::string& table, const std::string& statement,
                        const std::string& problem) {
        MakeBoth();
        Compare(table, statement, problem, {"--json", "check"}, {"upgrade"});
    }
};

// A column of a primary key may be what keeps the rows apart; a table's only column cannot go.
constexpr const char* kColumns =
    "SELECT table_name, column_name FROM information_schema.columns c WHERE table_schema = '{0}' "
    "AND table_name NOT LIKE 'form\\_%' AND NOT (column_key = 'PRI' AND extra = '') AND EXISTS("
    "SELECT 1 FROM information_schema.columns d WHERE d.table_schema = '{0}' AND d.table_name = "
    "c.table_name AND d.column_name <> c.column_name) ORDER BY table_name, ordinal_position;";
constexpr const char* kTables =
    "SELECT table_name FROM information_schema.tables WHERE table_schema = '{0}' AND table_name "
    "NOT LIKE 'form\\_%' ORDER BY table_name;";

TEST_F(CheckMissing, FindsTheColumnsOfASiteThatAStepNeeds) {
    MakeOnlyTheSite();
    const auto columns = Some(fmt::format(fmt::runtime(kColumns), "tw_1"), 24);
    ASSERT_GT(columns.size(), 5U);
    Trials trials("check against the upgrade: a missing column of a site");
    for (const auto& column : columns) {
        trials.Next();
        CompareSite(column[0],
                    fmt::format("ALTER TABLE tw_1.{} DROP COLUMN {};", column[0], column[1]),
                    "the column " + column[1] + " is missing");
    }
}

TEST_F(CheckMissing, FindsTheTablesOfASiteThatAStepNeeds) {
    MakeOnlyTheSite();
    const auto tables = Some(fmt::format(fmt::runtime(kTables), "tw_1"), 9);
    ASSERT_GT(tables.size(), 3U);
    Trials trials("check against the upgrade: a missing table of a site");
    for (const auto& table : tables) {
        trials.Next();
        CompareSite(table[0], fmt::format("DROP TABLE tw_1.{};", table[0]), "the table is missing");
    }
}

TEST_F(CheckMissing, FindsTheColumnsOfTheCentralDatabaseThatAStepNeeds) {
    MakeBoth();
    const auto columns = Some(fmt::format(fmt::runtime(kColumns), "tw_tarnwick"), 24);
    ASSERT_GT(columns.size(), 3U);
    Trials trials("check against the upgrade: a missing column of the central database");
    for (const auto& column : columns) {
        // Without these nothing can be said of the installation at all.
        if (column[1] == "version" || column[0] == "site") {
            continue;
        }
        trials.Next();
        CompareCentral(
            column[0],
            fmt::format("ALTER TABLE tw_tarnwick.{} DROP COLUMN {};", column[0], column[1]),
            "the column " + column[1] + " is missing");
    }
}

TEST_F(CheckMissing, FindsTheTablesOfTheCentralDatabaseThatAStepNeeds) {
    MakeBoth();
    const auto tables = Some(fmt::format(fmt::runtime(kTables), "tw_tarnwick"), 9);
    ASSERT_GT(tables.size(), 1U);
    Trials trials("check against the upgrade: a missing table of the central database");
    for (const auto& table : tables) {
        if (table[0] == "installation" || table[0] == "site") {
            continue;
        }
        trials.Next();
        CompareCentral(table[0], fmt::format("DROP TABLE tw_tarnwick.{};", table[0]),
                       "the table is missing");
    }
}

/// A site that somebody has changed: a finding stands for the step at which the upgrade fails, and
/// no finding for a step that it passes.
class CheckChanged : public CheckMissing {
  protected:
    /// The place of a step in the run of a site.
    static std::size_t PlaceOf(const std::string& step) {
        std::size_t place = 0;
        for (const Ladder ladder : {Ladder::kSiteSchema, Ladder::kSiteContent}) {
            for (const LadderStep& rung : LadderSteps(ladder)) {
                if (rung.name == step) {
                    return place;
                }
                ++place;
            }
        }
        ADD_FAILURE() << "no step " << step;
        return place;
    }

    /// Nothing is compared where the server refuses the change, as that of a key.
    void CompareChanged(const std::vector<std::string>& statements) {
        SCOPED_TRACE(statements.back());
        try {
            for (const std::string& statement : statements) {
                Execute(statement);
            }
        } catch (const HostError&) {
            return;
        }
        const Outcome found = Run(WithFolder({"--json", "check", "--site", "1"}));
        const Outcome upgraded = Run(WithFolder({"upgrade-site", "1"}));
        const auto result = found.Json();
        ASSERT_TRUE(result.contains("findings")) << found.out << found.err << upgraded.err;
        ++compared_;
        if (upgraded.status == 0) {
            EXPECT_TRUE(result["findings"].empty()) << found.out;
            return;
        }
        ++failed_;
        const auto begin = upgraded.err.find("step ") + 5;
        const std::string step = upgraded.err.substr(begin, upgraded.err.find(':', begin) - begin);
        bool isFound = false;
        for (const auto& finding : result["findings"]) {
            const std::string its = finding["step"];
            EXPECT_GE(PlaceOf(its), PlaceOf(step)) << finding << "\n" << upgraded.err;
            isFound = isFound || its == step;
        }
        EXPECT_TRUE(isFound) << upgraded.err << found.out;
    }

    /// The columns for which the condition holds, as table, name, type, width and further
    /// properties; in an ordinary run those of the sample alone.
    /// @param sample  names such as "'email.subject', 'tag.name'"
    std::vector<std::vector<std::string>> Columns(const std::string& condition,
                                                  const std::string& sample) {
        MakeOnlyTheSite();
        std::vector<std::vector<std::string>> columns;
        const auto rows = CliServer::Get().Root().Query(
            "SELECT table_name, column_name, column_type, COALESCE(character_maximum_length, 0), "
            "extra FROM information_schema.columns WHERE table_schema = 'tw_1' AND " +
            condition +
            (IsSoak() ? "" : " AND CONCAT(table_name, '.', column_name) IN(" + sample + ")") +
            " ORDER BY table_name, ordinal_position;");
        while (rows->Next()) {
            auto& column = columns.emplace_back();
            for (std::size_t i = 0; i < rows->ColumnCount(); ++i) {
                column.push_back(rows->Get(i).ToText());
            }
        }
        return columns;
    }

    /// All columns of a kind, each with its own change. Some make the upgrade fail, some do not.
    /// @param someFail  false where none does in the sample's sites
    template <typename StatementsOf>
    void CompareColumns(const std::string& condition, const std::string& sample,
                        const StatementsOf& statementsOf, bool someFail = true) {
        Trials trials("check against the upgrade: a changed column");
        for (const auto& column : Columns(condition, sample)) {
            trials.Next();
            MakeOnlyTheSite();
            CompareChanged(statementsOf("tw_1." + column[0], column[1], column));
        }
        EXPECT_GT(compared_, 0U);
        if (IsSoak()) {  // a sample may hold one kind alone
            EXPECT_EQ(failed_ > 0, someFail);
            EXPECT_GT(compared_, failed_);
        }
    }

    std::size_t compared_ = 0;
    std::size_t failed_ = 0;
};

TEST_F(CheckChanged, AColumnWithoutADefault) {
    CompareColumns(
        "ordinal_position = 1", "'setting.settingid', 'text.textid', 'country.countryid'",
        [](const std::string& table, const std::string&, const auto&) {
            return std::vector{"ALTER TABLE " + table + " ADD COLUMN added INT NOT NULL;"};
        });
}

constexpr const char* kNoKey = "column_key <> 'PRI' AND ";

TEST_F(CheckChanged, ATextColumnAsNarrowAsItsRowsAllow) {
    CompareColumns(std::string(kNoKey) + "character_maximum_length IS NOT NULL",
                   "'event.name', 'setting.name', 'feature.featurename'",
                   [](const std::string& table, const std::string& name, const auto&) {
                       const std::string width = Cell("SELECT GREATEST(COALESCE(MAX(CHAR_LENGTH(" +
                                                      name + ")), 1), 1) FROM " + table + ";");
                       return std::vector{"ALTER TABLE " + table + " MODIFY " + name + " VARCHAR(" +
                                          width + ") DEFAULT '' NOT NULL;"};
                   });
}

TEST_F(CheckChanged, ATextColumnFullOfTheLongestTexts) {
    CompareColumns(std::string(kNoKey) + "data_type IN('char', 'varchar')",
                   "'email.subject', 'formfield.defaultvalue', 'event.name'",
                   [](const std::string& table, const std::string& name, const auto& column) {
                       return std::vector{"UPDATE " + table + " SET " + name + " = REPEAT('<', " +
                                          column[3] + ");"};
                   });
}

TEST_F(CheckChanged, AColumnFullOfNull) {
    CompareColumns(std::string(kNoKey) + "extra = ''",
                   "'layoutelement.sequence', 'override.featureid', 'feature.featurename'",
                   [](const std::string& table, const std::string& name, const auto& column) {
                       return std::vector{
                           "ALTER TABLE " + table + " MODIFY " + name + " " + column[2] + " NULL;",
                           "UPDATE " + table + " SET " + name + " = NULL;"};
                   });
}

TEST_F(CheckChanged, AColumnFullOfTheLargestNumber) {
    CompareColumns(
        std::string(kNoKey) + "data_type IN('int', 'float', 'double', 'decimal') AND extra = ''",
        "'orderitem.price', 'layoutzone.navuntil', 'forum.published'",
        [](const std::string& table, const std::string& name, const auto& column) {
            return std::vector{"UPDATE " + table + " SET " + name + " = " +
                               (column[2].starts_with("int") ? "2147483647" : "3e38") + ";"};
        });
}

TEST_F(CheckChanged, AColumnBeyond32Bits) {
    CompareColumns(std::string(kNoKey) + "data_type = 'int' AND extra = ''",
                   "'layoutzone.elementid', 'formfield.targetformfeatureid', 'pagehit.userid'",
                   [](const std::string& table, const std::string& name, const auto&) {
                       return std::vector{"ALTER TABLE " + table + " MODIFY " + name +
                                              " BIGINT DEFAULT 0 NOT NULL;",
                                          "UPDATE " + table + " SET " + name + " = 4294967296;"};
                   });
}

TEST_F(CheckChanged, AKeyBeyond32Bits) {
    CompareColumns("column_key = 'PRI' AND data_type = 'int'",
                   "'event.eventid', 'navigation.navigationid', 'pagehit.hitid'",
                   [](const std::string& table, const std::string& name, const auto& column) {
                       return std::vector{"ALTER TABLE " + table + " MODIFY " + name + " BIGINT " +
                                              column[4] + " NOT NULL;",
                                          "UPDATE " + table + " SET " + name + " = " + name +
                                              " + 4294967296 ORDER BY " + name + " DESC LIMIT 1;"};
                   });
}

TEST_F(CheckChanged, ANumberColumnAsNarrowAsItsRowsAllow) {
    CompareColumns(
        std::string(kNoKey) + "data_type = 'int' AND extra = ''",
        "'chargetoitemtype.applytoitemtypeid', 'tag.cssorder', 'setting.integer_value'",
        [](const std::string& table, const std::string& name, const auto&) {
            const std::string most =
                Cell("SELECT COALESCE(MAX(ABS(" + name + ")), 0) FROM " + table + ";");
            return std::vector{"ALTER TABLE " + table + " MODIFY " + name +
                               (std::stod(most) > 127 ? " SMALLINT" : " TINYINT") +
                               " DEFAULT 0 NOT NULL;"};
        },
        false);
}

}  // namespace
}  // namespace twupdate::test
