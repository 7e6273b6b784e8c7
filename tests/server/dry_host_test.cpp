// The dry host against the real server: the layouts that it follows, the refusals that it foresees,
// and that it changes nothing.
#include "twupdate_host/dry_host.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include "server/site_schema_site.h"

namespace twupdate::test {
namespace {

using host::Catalogue;
using host::DryHost;
using host::DryHostOptions;
using host::DryStatement;
using testing::AnyOf;
using testing::Each;
using testing::IsEmpty;
using testing::StartsWith;

/// Calls a function at the end of every step and tells another observer of everything.
class AfterEachStep : public twupdate::Observer {
  public:
    using Call = std::function<void(const LadderStep&)>;
    AfterEachStep(std::shared_ptr<twupdate::Observer> observer, Call call)
        : observer_(std::move(observer)), call_(std::move(call)) {}

    void LadderStarting(Ladder ladder, const std::string& database, double version) override {
        observer_->LadderStarting(ladder, database, version);
    }
    void StepStarting(const LadderStep& step, const std::string& database) override {
        observer_->StepStarting(step, database);
    }
    void StepEnded(const LadderStep& step, const std::string& database) override {
        observer_->StepEnded(step, database);
        call_(step);
    }
    void SiteWalkStarting() override { observer_->SiteWalkStarting(); }

  private:
    std::shared_ptr<twupdate::Observer> observer_;
    Call call_;
};

/// A dry host that keeps the layout after each step.
class SnapshotHost : public DryHost {
  public:
    using DryHost::DryHost;
    std::shared_ptr<twupdate::Observer> GetObserver() override {
        return std::make_shared<AfterEachStep>(
            DryHost::GetObserver(), [this](const LadderStep& step) {
                layouts.emplace_back(std::string(step.name), Layout());
            });
    }
    std::vector<std::pair<std::string, Catalogue>> layouts;
};

/// A table as SHOW CREATE TABLE prints it, a line for each column and key; keys in order of their
/// text, because the server has an order of its own.
std::vector<std::string> Printed(const Catalogue::Table& table) {
    std::vector<std::string> columns;
    for (const auto& column : table.columns) {
        std::string line = "`" + column.name + "` " + column.type;
        if (column.charset != table.charset && !column.charset.empty()) {
            line += " CHARACTER SET " + column.charset;
        }
        if (column.collation != table.collation && !column.collation.empty()) {
            line += " COLLATE " + column.collation;
        }
        line += column.nullable ? "" : " NOT NULL";
        const bool isNumber = column.charset.empty() && !column.type.starts_with("date") &&
                              !column.type.starts_with("time");
        if (column.defaultText) {
            line += isNumber && !column.type.starts_with("decimal")
                        ? " DEFAULT " + *column.defaultText
                        : (isNumber ? " DEFAULT " + *column.defaultText
                                    : " DEFAULT '" + *column.defaultText + "'");
        } else if (column.nullable) {
            line += " DEFAULT NULL";
        }
        columns.push_back(line + (column.autoIncrement ? " AUTO_INCREMENT" : ""));
    }
    std::vector<std::string> keys;
    for (const auto& index : table.indexes) {
        std::string parts;
        for (const auto& part : index.parts) {
            parts += (parts.empty() ? "`" : ",`") + part.column + "`" +
                     (part.length ? "(" + std::to_string(*part.length) + ")" : "");
        }
        const std::string head = index.name == "PRIMARY" ? "PRIMARY KEY "
                                 : index.unique          ? "UNIQUE KEY `" + index.name + "` "
                                                         : "KEY `" + index.name + "` ";
        keys.push_back(head + "(" + parts + ")");
    }
    std::sort(keys.begin(), keys.end());
    columns.insert(columns.end(), keys.begin(), keys.end());
    columns.push_back("ENGINE=" + table.engine + " DEFAULT CHARSET=" + table.charset +
                      " COLLATE=" + table.collation);
    return columns;
}

/// The same lines out of what the server says.
std::vector<std::string> Printed(const std::string& showCreateTable) {
    std::istringstream text(showCreateTable);
    std::vector<std::string> columns;
    std::vector<std::string> keys;
    std::string line;
    std::getline(text, line);  // CREATE TABLE `name` (
    while (std::getline(text, line)) {
        if (line.starts_with(") ")) {
            line = line.substr(2);
            if (const auto at = line.find("AUTO_INCREMENT="); at != std::string::npos) {
                line.erase(at, line.find(' ', at) - at + 1);  // a matter of rows
            }
            break;
        }
        line = line.substr(2, line.size() - 2 - (line.ends_with(",") ? 1U : 0U));
        (line.starts_with("`") ? columns : keys).push_back(line);
    }
    std::sort(keys.begin(), keys.end());
    columns.insert(columns.end(), keys.begin(), keys.end());
    columns.push_back(line);
    return columns;
}

class DryHostOnServer : public SiteSchemaOnServer {
  protected:
    Catalogue Read(const std::vector<std::string>& databases) {
        return host::ReadCatalogue(*Host()->GetConnection(), databases);
    }
    std::vector<std::string> ReadByServer(const std::string& table) {
        const auto rows = Host()->GetConnection()->Query("SHOW CREATE TABLE " + table + ";");
        rows->Next();
        return Printed(rows->Get(1).ToText());
    }
    std::shared_ptr<SnapshotHost> MakeDryHost(const std::vector<std::string>& databases,
                                              bool refuses = false) {
        DryHostOptions options;
        options.resources = InstallFolder() / "resources";
        options.refuses = refuses;
        return std::make_shared<SnapshotHost>(Host()->GetConnection(), Read(databases), options);
    }

    /// The tables whose layout is not the one that the server has, with both; all of them as
    /// ReadCatalogue() reads them, and those that the step may have changed as the server says.
    std::vector<std::string> Differences(const Catalogue& dry, const Catalogue& before) {
        std::vector<std::string> differences;
        std::vector<std::string> databases;
        for (const auto& [name, database] : dry.Databases()) {
            databases.push_back(name);
        }
        const Catalogue real = Read(databases);
        for (const auto& [name, database] : real.Databases()) {
            for (const auto& [table, content] : database.tables) {
                if (dry.Find(name, table) == nullptr) {
                    differences.push_back(name + "." + table + " is on the server alone");
                }
            }
        }
        for (const auto& [name, database] : dry.Databases()) {
            for (const auto& [table, content] : database.tables) {
                const std::string qualified = name + "." + table;
                const auto* there = real.Find(name, table);
                if (there == nullptr) {
                    differences.push_back(qualified + " is in the catalogue alone");
                    continue;
                }
                Compare(qualified, Printed(*there), Printed(*content), differences);
                if (there->rowFormat != content->rowFormat) {
                    differences.push_back(qualified + " has the row format " + there->rowFormat);
                }
                if (before.Share({name, table}) != content) {
                    Compare(qualified, ReadByServer(qualified), Printed(*content), differences);
                }
            }
        }
        return differences;
    }
    static void Compare(const std::string& table, const std::vector<std::string>& real,
                        const std::vector<std::string>& dry,
                        std::vector<std::string>& differences) {
        const auto [r, d] = std::mismatch(real.begin(), real.end(), dry.begin(), dry.end());
        if (r != real.end() || d != dry.end()) {
            differences.push_back(table + ": " + (r == real.end() ? "nothing" : *r) +
                                  " on the server, but " + (d == dry.end() ? "nothing" : *d));
        }
    }

    /// Runs the same dry and then on the server, and compares after every step.
    void ExpectSameLayouts(const std::vector<std::string>& databases,
                           const std::function<void(Update&)>& upgrade) {
        const auto dry = MakeDryHost(databases);
        Catalogue before = dry->Layout();
        EXPECT_THAT(Differences(before, Catalogue()), IsEmpty());
        Update update;
        update.Configure(dry);
        upgrade(update);
        for (const DryStatement& statement : dry->Record()) {
            EXPECT_FALSE(statement.refusal)
                << statement.sql << ": " << (statement.refusal ? statement.refusal->text : "");
        }
        std::size_t steps = 0;
        host::MariaDbUtilityOptions options;
        options.installFolder = InstallFolder();
        options.observer = std::make_shared<AfterEachStep>(
            std::make_shared<twupdate::Observer>(), [&](const LadderStep& step) {
                ASSERT_LT(steps, dry->layouts.size()) << step.name;
                EXPECT_EQ(step.name, dry->layouts[steps].first);
                EXPECT_THAT(Differences(dry->layouts[steps].second, before), IsEmpty())
                    << step.name;
                before = dry->layouts[steps++].second;
            });
        update.Configure(std::make_shared<host::MariaDbUtility>(Host()->GetConnection(), options));
        upgrade(update);
        EXPECT_EQ(steps, dry->layouts.size());
    }
};

std::size_t CountOf(std::initializer_list<Ladder> ladders) {
    std::size_t count = 0;
    for (const Ladder ladder : ladders) {
        count += LadderSteps(ladder).size();
    }
    return count;
}

TEST_F(DryHostOnServer, FollowsEveryStepOfAFullSite) {
    MakeFullSite(7);
    ExpectSameLayouts({"tw_tarnwick", "tw_7"}, [](Update& update) { update.UpdateSite(7, 1.0); });
}

TEST_F(DryHostOnServer, FollowsEveryStepOfABareSite) {
    MakeBareSite(7);
    ExpectSameLayouts({"tw_tarnwick", "tw_7"}, [](Update& update) { update.UpdateSite(7, 1.0); });
}

TEST_F(DryHostOnServer, FollowsEveryStepOfTheCentralDatabase) {
    LoadSite(1);
    LoadSite(7);
    LoadLogs(1);
    LoadLogs(7);
    SetSiteVersion(1, kCurrentVersion);
    SetSiteVersion(7, kCurrentVersion);
    Sql("UPDATE tw_tarnwick.site SET parentsiteid = 1 WHERE siteid = 7;");
    ExpectSameLayouts({"tw_tarnwick", "tw_logs", "tw_1", "tw_7"},
                      [](Update& update) { update.UpdateServer(1.0); });
}

TEST_F(DryHostOnServer, FollowsEveryStepOfImportedMasterData) {
    LoadSite(7);
    LoadLogs(7);
    LoadImportedMasterData(7);
    ExpectSameLayouts({"tw_tarnwick", "tw_logs", "tw_7"},
                      [](Update& update) { update.UpdateImportMasterData(7, 1.0); });
}

TEST_F(DryHostOnServer, SeesEveryStepAndTheFieldsOfForms) {
    MakeFullSite(7);
    const auto dry = MakeDryHost({"tw_tarnwick", "tw_7"});
    Update update;
    update.Configure(dry);
    update.UpdateSite(7, 1.0);
    EXPECT_EQ(dry->layouts.size(), CountOf({Ladder::kSiteSchema, Ladder::kSiteContent}));
    // Field 6 of form 50 holds money: the loops over the real rows of formfield have been seen.
    EXPECT_EQ(dry->Layout().Definition("tw_7", "form_50", "field_6"),
              "DECIMAL(17,2) DEFAULT 0.00 NOT NULL");
    EXPECT_EQ(Read({"tw_7"}).Definition("tw_7", "form_50", "field_6"), "FLOAT DEFAULT 0 NOT NULL");
}

/// Every file below a folder with its content, and every folder.
std::map<std::string, std::string> Files(const std::filesystem::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        std::ifstream in(entry.path(), std::ios::binary);
        files[entry.path().string()] =
            entry.is_regular_file() ? std::string(std::istreambuf_iterator<char>(in), {}) : "";
    }
    return files;
}

TEST_F(DryHostOnServer, ChangesNoRowAndNoFile) {
    MakeFullSite(7);
    MakeBareSite(8);
    LoadLogs(7);
    WriteFile("templates/site/style.css", "body {}");
    WriteFile("components/100/template/page.css", "h1 {}");
    WriteFile("wwwroot/sites/7/own.css", "h2 {}");
    const auto checksums = [&] {
        std::vector<std::string> sums;
        for (const std::string& table :
             Rows("SELECT CONCAT(table_schema, '.', table_name) FROM information_schema.tables "
                  "WHERE table_schema LIKE 'tw\\_%' ORDER BY 1")) {
            const auto rows = Rows("CHECKSUM TABLE " + table);
            sums.insert(sums.end(), rows.begin(), rows.end());
        }
        return sums;
    };
    const auto sums = checksums();
    const auto files = Files(Root());
    ASSERT_GT(sums.size(), 100U);

    const auto connection = host::Connection::Open(Server().ConnectOptions());
    Sql("SET GLOBAL log_output = 'TABLE'; TRUNCATE TABLE mysql.general_log;"
        "SET GLOBAL general_log = 1;");
    for (const std::int32_t site : {0, 7, 8}) {
        const auto dry = std::make_shared<DryHost>(
            connection,
            host::ReadCatalogue(*connection, {"tw_tarnwick", "tw_logs", "tw_7", "tw_8"}),
            DryHostOptions{.resources = InstallFolder() / "resources"});
        Update update;
        update.Configure(dry);
        if (site == 0) {
            update.UpdateServer(1.0);
        } else {
            update.UpdateSite(site, 1.0);
        }
        EXPECT_GT(dry->Record().size(), 50U);
    }
    Sql("SET GLOBAL general_log = 0;");
    const auto sent = Rows(
        "SELECT argument FROM mysql.general_log WHERE command_type IN('Query', 'Execute', "
        "'Prepare') AND thread_id = " +
        std::to_string(connection->ThreadId()));
    EXPECT_GT(sent.size(), 20U);
    EXPECT_THAT(sent, Each(AnyOf(StartsWith("SELECT "), StartsWith("SHOW "))));
    EXPECT_EQ(checksums(), sums);
    EXPECT_EQ(Files(Root()), files);
    EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), "1");
}

/// A layout that is not as the steps expect it.
struct Damage {
    const char* name;
    const char* sql;
    std::uint32_t code;  ///< that the server answers, by its manual
};

void PrintTo(const Damage& damage, std::ostream* out) {
    *out << damage.name;
}

class DamagedLayout : public DryHostOnServer, public testing::WithParamInterface<Damage> {};

TEST_P(DamagedLayout, IsRefusedAsTheServerDoes) {
    MakeFullSite(7);
    Sql(GetParam().sql);
    const auto upgrade = [](std::shared_ptr<Utility> utility) {
        Update update;
        update.Configure(std::move(utility));
        try {
            update.UpdateSite(7, 1.0);
        } catch (const HostError& error) {
            return std::to_string(error.Code()) + ": " + error.Statement();
        }
        return std::string("no error");
    };
    const std::string dry = upgrade(MakeDryHost({"tw_tarnwick", "tw_7"}, true));
    EXPECT_THAT(dry, StartsWith(std::to_string(GetParam().code) + ": "));
    EXPECT_EQ(dry, upgrade(Host()));
}

INSTANTIATE_TEST_SUITE_P(
    All, DamagedLayout,
    testing::Values(
        Damage{"MissingTable", "DROP TABLE tw_7.image;", 1146},
        Damage{"MissingTableUnderARead", "DROP TABLE tw_7.override;", 1146},
        Damage{"MissingFormTable", "DROP TABLE tw_7.form_50;", 1146},
        Damage{"MissingColumnOfAnUpdate", "ALTER TABLE tw_7.tag DROP COLUMN name;", 1054},
        Damage{"MissingColumnOfARead", "ALTER TABLE tw_7.formfield DROP COLUMN type;", 1054},
        Damage{"MissingColumnThatIsModified", "ALTER TABLE tw_7.attribute DROP COLUMN value;",
               1054},
        Damage{"ColumnThatIsThere", "ALTER TABLE tw_7.commission ADD COLUMN double_temp DOUBLE;",
               1060},
        Damage{"CountedColumnWithoutAKey",
               "CREATE TABLE tw_7.taskstatus(taskid INT AUTO_INCREMENT NOT NULL, featureid INT, "
               "type INT, PRIMARY KEY(taskid));",
               1075},
        Damage{"ViewForATable",
               "RENAME TABLE tw_7.image TO tw_7.image_0; CREATE VIEW tw_7.image AS SELECT * FROM "
               "tw_7.image_0;",
               1347},
        Damage{"KeyColumnThatIsMissing", "ALTER TABLE tw_7.featurecache DROP COLUMN featureid;",
               1072}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace twupdate::test
