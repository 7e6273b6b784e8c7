#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "site_content_scenarios.h"
#include "support/server_test.h"
#include "twupdate/ladder.h"

namespace twupdate::test {

/// The rows of both databases that the content ladder touches.
struct InstallationRows {
    RowSnapshot site;
    RowSnapshot central;
};

/// Site 7 with every optional feature, its schema current and its content old; the central
/// database has what the steps need of it. Cleared between scenarios instead of built again.
class SiteContentTest : public ServerTest {
  protected:
    /// Loads the site, without rows.
    void LoadContentSite(const Groups& groups = sample::AllGroups());
    /// Empties every table of the site and the accounts of the central database.
    void Clear();
    /// Clear, the scenario's undo, and its rows.
    void Prepare(const Scenario& scenario);

    InstallationRows AllRows();
    /// What a step of the site changed, in the notation of Scenario.
    static std::vector<std::string> SiteChanges(const RowSnapshot& before,
                                                const RowSnapshot& after);
    static std::vector<std::string> SchemaChanges(const Schema& before, const Schema& after);
};

inline void SiteContentTest::LoadContentSite(const Groups& groups) {
    LoadLogs(7);
    LoadCentral(kCurrentVersion);
    LoadSite(7, groups, Age{.schema = kCurrentVersion, .content = 1.0});
    Sql("TRUNCATE tw_tarnwick.englishword;");  // reference data, large and never touched here
}

inline void SiteContentTest::Clear() {
    for (const std::string& table :
         Rows("SELECT CONCAT(TABLE_SCHEMA, '.', TABLE_NAME) FROM information_schema.TABLES WHERE "
              "TABLE_SCHEMA = 'tw_7' OR (TABLE_SCHEMA = 'tw_tarnwick' AND TABLE_NAME IN('account', "
              "'accountpayment'))")) {
        if (!Rows("SELECT 1 FROM " + table + " LIMIT 1").empty()) {
            Sql("TRUNCATE " + table + ";");
        }
    }
    // A table that a step has emptied still counts its ids on.
    for (const std::string& table :
         Rows("SELECT CONCAT(TABLE_SCHEMA, '.', TABLE_NAME) FROM information_schema.TABLES WHERE "
              "TABLE_SCHEMA = 'tw_7' AND AUTO_INCREMENT > 1")) {
        Sql("TRUNCATE " + table + ";");
    }
}

inline void SiteContentTest::Prepare(const Scenario& scenario) {
    Sql(scenario.undo);
    Clear();
    Sql(scenario.rows);
}

inline InstallationRows SiteContentTest::AllRows() {
    return {RowsOf("tw_7"), RowsOf("tw_tarnwick")};
}

inline std::vector<std::string> SiteContentTest::SiteChanges(const RowSnapshot& before,
                                                             const RowSnapshot& after) {
    std::vector<std::string> changes = Changes(before, after);
    for (std::string& line : changes) {
        for (const std::string table : {"attribute", "setting"}) {
            const std::string added = "+ " + table + " ";
            if (line.starts_with(added)) {
                line.erase(added.size() - 1, line.find(':') - added.size() + 1);
            }
        }
    }
    return changes;
}

inline std::vector<std::string> SiteContentTest::SchemaChanges(const Schema& before,
                                                               const Schema& after) {
    const auto lines = [](const Schema& schema) {
        std::multiset<std::string> all;
        for (const auto& [name, table] : schema.tables) {
            for (const auto* list : {&table.columns, &table.keys}) {
                for (const std::string& line : *list) {
                    all.insert(name + '\t' + line);
                }
            }
        }
        return all;
    };
    const auto old = lines(before);
    const auto now = lines(after);
    std::vector<std::string> changes;
    const auto add = [&](const auto& from, const auto& in, const std::string& sign) {
        for (std::string line : from) {
            if (!in.contains(line)) {
                changes.push_back(line.replace(line.find('\t'), 1, " " + sign + " "));
            }
        }
    };
    add(old, now, "-");
    add(now, old, "+");
    return changes;
}

}  // namespace twupdate::test
