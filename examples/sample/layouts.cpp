#include "sample/layouts.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "sample/shared_folder.h"

namespace twupdate::sample {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read the layout " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Trim(std::string_view text) {
    const auto begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1));
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

/// The parts of a script that begin with a line of the given mark and a word, by that word; what
/// stands before the first mark has the empty word.
std::map<std::string, std::string> Sections(const std::string& script, std::string_view mark) {
    std::map<std::string, std::string> sections;
    std::istringstream lines(script);
    std::string line;
    std::string word;
    while (std::getline(lines, line)) {
        if (line.starts_with(mark)) {
            word = Trim(std::string_view(line).substr(mark.size()));
        } else {
            sections[word] += line + '\n';
        }
    }
    return sections;
}

std::vector<std::string> Fill(std::string script,
                              const std::map<std::string_view, std::int32_t>& ids) {
    for (const auto& [name, id] : ids) {
        ReplaceAll(script, name, std::to_string(id));
    }
    return SplitStatements(script);
}

/// The statements, appended.
void Append(std::vector<std::string>& to, std::vector<std::string> statements) {
    to.insert(to.end(), std::make_move_iterator(statements.begin()),
              std::make_move_iterator(statements.end()));
}

}  // namespace

Groups AllGroups() {
    return {Group::kForms,   Group::kTemplates,  Group::kFeeds, Group::kShop,
            Group::kCharges, Group::kAffiliates, Group::kForum, Group::kOAuth};
}

std::string_view GroupName(Group group) {
    switch (group) {
        case Group::kForms:
            return "forms";
        case Group::kTemplates:
            return "templates";
        case Group::kFeeds:
            return "feeds";
        case Group::kShop:
            return "shop";
        case Group::kCharges:
            return "charges";
        case Group::kAffiliates:
            return "affiliates";
        case Group::kForum:
            return "forum";
        case Group::kOAuth:
            return "oauth";
    }
    return "";
}

std::vector<std::string> SplitStatements(std::string_view script) {
    std::vector<std::string> statements;
    std::string statement;
    char quote = 0;
    for (std::size_t i = 0; i < script.size(); ++i) {
        const char c = script[i];
        if (quote != 0) {
            statement += c;
            if (c == '\\' && quote != '`' && i + 1 < script.size()) {
                statement += script[++i];
            } else if (c == quote) {
                quote = 0;  // a doubled quote closes here and opens again at once
            }
        } else if (c == '\'' || c == '"' || c == '`') {
            quote = c;
            statement += c;
        } else if (script.substr(i).starts_with("-- ")) {
            i = std::min(script.find('\n', i), script.size()) - 1;
        } else if (c == ';') {
            if (std::string whole = Trim(statement); !whole.empty()) {
                statements.push_back(std::move(whole) + ';');
            }
            statement.clear();
        } else {
            statement += c;
        }
    }
    if (std::string rest = Trim(statement); !rest.empty()) {
        statements.push_back(std::move(rest) + ';');
    }
    return statements;
}

Layouts::Layouts(const std::filesystem::path& folder)
    : central_(ReadFile(folder / "central.sql")),
      logs_(ReadFile(folder / "logs.sql")),
      siteCore_(ReadFile(folder / "site_core.sql")),
      groups_(Sections(ReadFile(folder / "site_optional.sql"), "-- group: ")),
      formFields_(Sections(ReadFile(folder / "form_table.sql"), "-- type: ")) {
    for (const Group group : AllGroups()) {
        if (!groups_.contains(std::string(GroupName(group)))) {
            throw std::runtime_error((folder / "site_optional.sql").string() + " has no group " +
                                     std::string(GroupName(group)));
        }
    }
    formTable_ = std::move(formFields_[""]);
    formFields_.erase("");
}

std::filesystem::path Layouts::DefaultFolder() {
    return SharedFolder("layouts", TWUPDATE_LAYOUT_FOLDER);
}

std::vector<std::string> Layouts::Central() const {
    return SplitStatements(central_);
}

std::vector<std::string> Layouts::Logs(std::int32_t siteId) const {
    return Fill(logs_, {{"{siteid}", siteId}});
}

std::vector<std::string> Layouts::Site(std::int32_t siteId, const Groups& groups) const {
    auto statements = Fill(siteCore_, {{"{siteid}", siteId}});
    for (const Group group : groups) {
        Append(statements, Fill(groups_.at(std::string(GroupName(group))), {{"{siteid}", siteId}}));
    }
    return statements;
}

std::vector<std::string> Layouts::FormTable(std::int32_t siteId, std::int32_t featureId) const {
    return Fill(formTable_, {{"{siteid}", siteId}, {"{featureid}", featureId}});
}

std::string Layouts::FormField(std::int32_t siteId, std::int32_t featureId,
                               std::int32_t formFieldId, const std::string& type) const {
    const auto found = formFields_.find(type);
    if (found == formFields_.end()) {
        throw std::runtime_error("form fields have no type \"" + type + "\"");
    }
    return Fill(found->second,
                {{"{siteid}", siteId}, {"{featureid}", featureId}, {"{formfieldid}", formFieldId}})
        .at(0);
}

std::vector<std::string> Layouts::FieldTypes() const {
    std::vector<std::string> types;
    for (const auto& [type, statement] : formFields_) {
        types.push_back(type);
    }
    return types;
}

std::vector<std::string> Layouts::ImportedMasterData(std::int32_t siteId) const {
    std::string script = central_;
    ReplaceAll(script, "CREATE DATABASE tw_tarnwick;", "");
    ReplaceAll(script, "tw_tarnwick.", "tw_" + std::to_string(siteId) + ".tw_");
    return SplitStatements(script);
}

}  // namespace twupdate::sample
