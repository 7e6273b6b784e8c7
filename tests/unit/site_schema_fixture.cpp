#include "unit/site_schema_fixture.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

namespace twupdate::test {
namespace {

std::string ForSiteSeven(std::string text) {
    const std::string placeholder = "{siteid}";
    for (auto at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder)) {
        text.replace(at, placeholder.size(), "7");
    }
    return text;
}

using MakeCases = std::vector<StepCase> (*)();

/// Made before the first use, since it is used before main().
std::vector<MakeCases>& CasesOfFiles() {
    static std::vector<MakeCases> files;
    return files;
}

}  // namespace

StepCases::StepCases(std::vector<StepCase> (*cases)()) {
    CasesOfFiles().push_back(cases);
}

std::vector<StepCase> AllStepCases() {
    std::vector<StepCase> all;
    for (const MakeCases cases : CasesOfFiles()) {
        std::ranges::move(cases(), std::back_inserter(all));
    }
    std::ranges::stable_sort(all, {}, [](const StepCase& stepCase) {
        return std::ranges::find(LadderSteps(Ladder::kSiteSchema), stepCase.step,
                                 &LadderStep::name) -
               LadderSteps(Ladder::kSiteSchema).begin();
    });
    return all;
}

SiteSchema::SiteSchema() {
    host->installFolder = "/nonexistent/twupdate/bin";
    update.Configure(host);
}

SiteSchema::~SiteSchema() {
    EXPECT_LE(host->mostStatementsOfOneDatabase, 1);
    EXPECT_EQ(host->commandsMade, host->commandsClosed);
}

void SiteSchema::LoadLayout(const std::string& file) {
    std::ifstream layout(TWUPDATE_SOURCE_FOLDER "/examples/sample/layouts/" + file);
    ASSERT_TRUE(layout) << file;
    Tables().RunScript(
        ForSiteSeven({std::istreambuf_iterator<char>(layout), std::istreambuf_iterator<char>()}));
}

void SiteSchema::MakeBareSite() {
    LoadLayout("site_core.sql");
}

void SiteSchema::MakeFullSite() {
    MakeBareSite();
    LoadLayout("site_optional.sql");
    Tables().AddTable("tw_7",
                      "form_50("
                      "replyid INT AUTO_INCREMENT NOT NULL, "
                      "field_1 FLOAT DEFAULT 0 NOT NULL, "
                      "field_2 FLOAT DEFAULT 0 NOT NULL, "
                      "field_3 INT DEFAULT 0 NOT NULL, "
                      "field_4 INT DEFAULT 0 NOT NULL, "
                      "field_5 VARCHAR(255) DEFAULT '' NOT NULL, "
                      "field_6 INT DEFAULT 0 NOT NULL, "
                      "PRIMARY KEY(replyid))");
    AnswerWithForms();
}

void SiteSchema::AnswerWithForms() {
    const std::vector<std::string> field{"featureid", "formfieldid"};
    host->Answer("SELECT featureid, formfieldid FROM tw_7.formfield WHERE type = 'float';",
                 {field, {{50, 1}}});
    host->Answer("SELECT featureid, formfieldid FROM tw_7.formfield WHERE type = 'currency';",
                 {field, {{50, 2}}});
    host->Answer(
        "SELECT featureid, formfieldid FROM tw_7.formfield WHERE type IN('file', 'image');",
        {field, {{50, 5}}});
    host->Answer(
        "SELECT formfieldid, featureid, type, targetformfeatureid FROM tw_7.formfield "
        "WHERE type IN('formlink', 'multiformlink', 'productfamily');",
        {{"formfieldid", "featureid", "type", "targetformfeatureid"},
         {{3, 50, "formlink", 60}, {4, 50, "multiformlink", 61}, {6, 50, "productfamily", 62}}});
}

void SiteSchema::UpgradeTo(const std::string& step) {
    for (const LadderStep& rung : LadderSteps(Ladder::kSiteSchema)) {
        if (rung.name == step) {
            host->log.clear();
            return;
        }
        peer.RunSiteStep(Ladder::kSiteSchema, static_cast<std::size_t>(rung.number), 7);
    }
    FAIL() << "no step " << step;
}

void SiteSchema::MakeSiteBefore(const std::string& step, bool full) {
    static std::map<std::string, Catalogue> states[2];
    auto& before = states[full ? 1 : 0];
    if (before.empty()) {
        full ? MakeFullSite() : MakeBareSite();
        for (const LadderStep& rung : LadderSteps(Ladder::kSiteSchema)) {
            before.emplace(rung.name, Tables());  // the first call of a repeated step stands
            peer.RunSiteStep(Ladder::kSiteSchema, static_cast<std::size_t>(rung.number), 7);
        }
    } else if (full) {
        AnswerWithForms();
    }
    Tables() = before.at(step);
    host->log.clear();
}

void SiteSchema::ExpectSameTables(const Catalogue& expected) {
    const auto lines = [](const Catalogue& catalogue) {
        std::istringstream text(catalogue.Text());
        std::multiset<std::string> indexes;
        std::vector<std::string> all;
        std::string table;
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with("    index ") || line.starts_with("    unique ")) {
                indexes.insert(table + line);
            } else {
                all.push_back(line);
                table = line.starts_with("    ") ? table : line;
            }
        }
        all.insert(all.end(), indexes.begin(), indexes.end());
        return all;
    };
    const auto wanted = lines(expected);
    const auto there = lines(Tables());
    EXPECT_EQ(there.size(), wanted.size());
    const auto [w, t] = std::mismatch(wanted.begin(), wanted.end(), there.begin(), there.end());
    EXPECT_TRUE(w == wanted.end() && t == there.end())
        << "first difference: " << (w == wanted.end() ? "nothing" : *w) << " became "
        << (t == there.end() ? "nothing" : *t);
}

std::vector<std::string> SiteSchema::LogOf(const std::string& step) {
    host->log.clear();
    Run(step);
    EXPECT_EQ(host->openRecordsets, 0);
    return host->log;
}

std::vector<std::string> SiteSchema::ChangesOf(const std::string& step) {
    host->log.clear();
    Run(step);
    EXPECT_EQ(host->openRecordsets, 0);
    return host->Changes();
}

}  // namespace twupdate::test
