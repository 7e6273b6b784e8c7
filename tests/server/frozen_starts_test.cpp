// Installations at the versions from which an upgrade starts, as they were when the version was
// new. They stand in the folder `frozen` as statements and do not follow the tree: a step that is
// changed by mistake cannot change the data of its own test.
//
// The file of 1.0000 holds every table; that of a later version those that differ from the version
// before it. `./dev refresh` adds the file of a new version, and never changes one.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <regex>
#include <set>

#include "sample_installation.h"
#include "support/expected_file.h"
#include "support/trials.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

constexpr double kFirstVersion = 1.0;
const std::vector<std::string> kDatabases{"tw_tarnwick", "tw_logs", "tw_1"};

/// The versions at which steps of the site schema ladder are left.
std::vector<double> StartingVersions() {
    std::set<double> versions{kFirstVersion};
    for (const LadderStep& step : LadderSteps(Ladder::kSiteSchema)) {
        versions.insert(step.threshold);
    }
    versions.erase(std::prev(versions.end()));
    return {versions.begin(), versions.end()};
}

std::string VersionName(double version) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", version);
    return text;
}

fs::path FileOf(double version) {
    return fs::path(TWUPDATE_TEST_FOLDER) / "frozen" / (VersionName(version) + ".sql");
}

/// The statements that make a table and its rows, by its name with the database.
using Installation = std::map<std::string, std::string>;

constexpr std::string_view kTable = "-- table ";
constexpr std::string_view kNoTable = "-- no table ";

/// Applies the file of a version to the installation of the version before it.
void Apply(const fs::path& path, Installation& installation) {
    std::ifstream file(path, std::ios::binary);
    ASSERT_TRUE(file) << path;
    std::string* table = nullptr;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(kTable)) {
            table = &installation[line.substr(kTable.size())];
            table->clear();
        } else if (line.starts_with(kNoTable)) {
            installation.erase(line.substr(kNoTable.size()));
        } else if (table != nullptr) {
            *table += line + "\n";
        }
    }
}

/// What Apply() reads.
std::string Difference(const Installation& before, const Installation& now) {
    std::string text;
    for (const auto& [table, statements] : before) {
        if (!now.contains(table)) {
            text += std::string(kNoTable) + table + "\n";
        }
    }
    for (const auto& [table, statements] : now) {
        const auto old = before.find(table);
        if (old == before.end() || old->second != statements) {
            text += std::string(kTable) + table + "\n" + statements;
        }
    }
    return text;
}

class FrozenStarts : public SampleTest {
  protected:
    /// Of a version, as its file and those before it have it.
    static Installation Frozen(double version) {
        Installation installation;
        for (const double step : StartingVersions()) {
            if (step <= version) {
                Apply(FileOf(step), installation);
            }
        }
        return installation;
    }

    /// Makes one with the steps of the tree.
    Installation MakeOne(double version) {
        DropDatabases();
        sample::SitePlan site;
        site.siteId = 1;
        site.groups = sample::AllGroups();
        WriteTheFiles(site);
        sample::MakeCentral(Host(), Options(0, 0), {site});
        sample::MakeSite(Host(), Options(0, 0), site);
        if (version > kFirstVersion) {
            sample::BringCentralTo(Host(), {version, version});
            sample::BringSiteTo(Host(), 1, {version, version});
        }
        SetVersions(kFirstVersion);  // the name of the file tells it
        Installation installation;
        for (const std::string& database : kDatabases) {
            for (const std::string& table : Rows("SHOW TABLES FROM " + database)) {
                std::string name = database;
                name.append(".").append(table);
                installation[name] = Statements(name);
            }
        }
        return installation;
    }

    void Load(double version) {
        const Installation installation = Frozen(version);
        DropDatabases();
        Sql("SET SESSION sql_mode = 'NO_AUTO_VALUE_ON_ZERO';");
        for (const std::string& database : kDatabases) {
            Sql("CREATE DATABASE " + database +
                " CHARACTER SET utf8mb4 COLLATE utf8mb4_general_ci;");
        }
        for (const auto& [table, statements] : installation) {
            Sql(statements);
        }
        Reconnect();
        SetVersions(version);
        sample::SitePlan site;
        site.siteId = 1;
        site.groups = sample::AllGroups();
        WriteTheFiles(site);
    }

    /// The layouts of the upgraded databases are those that the program knows.
    void ExpectVerified() {
        if (IsRefreshing()) {
            return;  // the program may not know the new layouts yet
        }
        const std::string command = std::string(TWUPDATE_PROGRAM) + " --socket '" +
                                    Server().Socket().string() + "' --user root verify >'" +
                                    (Root() / "verified").string() + "'";
        EXPECT_EQ(std::system(command.c_str()), 0) << ReadFile("verified");
    }

    /// The rows of all databases. The order of columns tells nothing, and neither do the numbers
    /// of settings, of which a later start makes fewer.
    RowSnapshot AllRows() {
        RowSnapshot all;
        for (const std::string& database : kDatabases) {
            for (auto& [name, table] : RowsOf(database).tables) {
                for (RowSnapshot::Row& row : table.rows) {
                    std::sort(row.values.begin(), row.values.end());
                    if (name == "setting") {
                        std::erase_if(row.values,
                                      [](const auto& cell) { return cell.first == "settingid"; });
                    }
                }
                table.hasPrimaryKey = table.hasPrimaryKey && name != "setting";
                all.tables[database + "." + name] = std::move(table);
            }
        }
        return all;
    }

  private:
    void SetVersions(double version) {
        SetInstallationVersion(version);
        SetSiteVersion(1, version);
    }

    void WriteTheFiles(const sample::SitePlan& site) {
        fs::remove_all(Root() / "wwwroot");
        sample::WriteFiles(Options(0, 0), {site});
    }

    std::string Statements(const std::string& table) {
        const auto shown = Host()->GetConnection()->Query("SHOW CREATE TABLE " + table);
        shown->Next();
        std::string text = shown->Get(1).ToText();
        text.insert(text.find('`'), table.substr(0, table.find('.') + 1));
        text += ";\n";
        // In the order in which the table has them: a step reads them so.
        std::string rows;
        for (const std::string& row :
             Rows("SELECT CONCAT_WS(',', " + Literals(table) + ") FROM " + table)) {
            rows += (rows.empty() ? "(" : ",\n(") + row + ")";
        }
        return text + (rows.empty() ? "" : "INSERT INTO " + table + " VALUES\n" + rows + ";\n");
    }

    /// The expressions for the values of a row as they stand in a statement, on one line.
    std::string Literals(const std::string& table) {
        const auto dot = table.find('.');
        return Cell(
            "SELECT GROUP_CONCAT(IF(data_type IN('tinyint', 'smallint', 'mediumint', 'int', "
            "'bigint', 'decimal', 'float', 'double'), CONCAT('IFNULL(`', column_name, '`, "
            "\"NULL\")'), CONCAT('REPLACE(REPLACE(QUOTE(`', column_name, '`), CHAR(13), "
            "\"\\\\\\\\r\"), CHAR(10), \"\\\\\\\\n\")')) ORDER BY ordinal_position SEPARATOR ', ') "
            "FROM "
            "information_schema.columns WHERE table_schema = '" +
            table.substr(0, dot) + "' AND table_name = '" + table.substr(dot + 1) + "'");
    }
};

/// A row that ends otherwise than from 1.0000 when a site starts at one of these versions.
struct OtherEnd {
    double from;
    double until;
    std::string line;
};

const std::vector<OtherEnd>& OtherEnds() {
    constexpr double kNever = 2;
    static const std::vector<OtherEnd> kEnds{
        // The maker of older sites leaves out the content step 1.0081, whose column comes later,
        {1.0081, kNever,
         "- tw_1.setting: integer_value 77, name 'DefaultBillingCountryId', overrideid 3, type "
         "'integer'"},
        {1.0081, kNever,
         "- tw_1.setting: integer_value 77, name 'DefaultShippingCountryId', overrideid 3, type "
         "'integer'"},
        // and 1.0223, which writes into the central database.
        {1.0223, kNever, "tw_tarnwick.accountpayment 2: cartorderid 1 -> 0"},
        {1.0223, kNever, "tw_tarnwick.accountpayment 3: cartorderid 2 -> 0"},
        // The content step 1.0229 gives the fields of lookup feeds their page; the schema step
        // 1.0233 makes parameters from them, before it when a site starts earlier.
        {1.0229, 1.0233, "tw_1.externallookupfeedparam 1: featureid 0 -> 16"},
        {1.0229, 1.0233, "tw_1.externallookupfeedparam 2: featureid 0 -> 16"},
    };
    return kEnds;
}

std::vector<std::string> OtherEndsFrom(double version) {
    std::vector<std::string> lines;
    for (const OtherEnd& end : OtherEnds()) {
        if (version >= end.from && version < end.until) {
            lines.push_back(end.line);
        }
    }
    return lines;
}

TEST_F(FrozenStarts, AreThereForEveryVersion) {
    Installation before;
    for (const double version : StartingVersions()) {
        const fs::path file = FileOf(version);
        if (!fs::exists(file) && IsRefreshing()) {
            std::ofstream(file, std::ios::binary)
                << "-- An installation at " << VersionName(version)
                << ": the tables that differ from the version before it. Never changed.\n"
                << Difference(before, MakeOne(version));
        }
        ASSERT_TRUE(fs::exists(file)) << file << " is missing; ./dev refresh adds it";
        Apply(file, before);
    }
}

// The layouts are those that the program knows; the rows of the first are in a file of
// expectations, and all others end with the same rows.
TEST_F(FrozenStarts, EndAlike) {
    Load(kFirstVersion);
    const RowSnapshot before = AllRows();
    UpgradeInstallation();
    ExpectVerified();
    const RowSnapshot expected = AllRows();
    EXPECT_TRUE(ExpectedLines(TWUPDATE_TEST_FOLDER "/expected/frozen_road.txt",
                              {{"{current}", kCurrentStored}})
                    .Are(Changes(before, expected)));

    const std::vector<double> versions = StartingVersions();
    const std::size_t stride = Soak() ? 1 : 10;
    Trials trials("frozen installations of each start: the end of their upgrade");
    for (std::size_t i = stride; i < versions.size(); i += stride) {
        trials.Next();
        SCOPED_TRACE(VersionName(versions[i]));
        Load(versions[i]);
        UpgradeInstallation();
        ExpectVerified();
        EXPECT_THAT(Changes(expected, AllRows()),
                    testing::UnorderedElementsAreArray(OtherEndsFrom(versions[i])));
    }
}

}  // namespace
}  // namespace twupdate::test
