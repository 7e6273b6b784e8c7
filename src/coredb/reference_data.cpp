#include <fstream>
#include <iterator>

#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

std::vector<std::string_view> SplitAtTabs(std::string_view line) {
    std::vector<std::string_view> fields;
    for (;;) {
        const auto tab = line.find('\t');
        fields.push_back(line.substr(0, tab));
        if (tab == std::string_view::npos) {
            return fields;
        }
        line.remove_prefix(tab + 1);
    }
}

void AppendQuoted(std::string& sql, std::string_view field) {
    sql += '\'';
    for (const char c : field) {
        sql.append(c == '\'' ? 2 : 1, c);
    }
    sql += '\'';
}

/// Appends "(…)" for one line of a data file.
void AppendRow(std::string& sql, std::string_view line, const std::vector<std::string>& columns,
               const std::filesystem::path& file, std::size_t lineNumber) {
    const auto fields = SplitAtTabs(line);
    const std::size_t wanted = columns.size() / 2;
    if (fields.size() < wanted) {
        throw DataFileError(file.string() + " line " + std::to_string(lineNumber) + " has only " +
                            std::to_string(fields.size()) + " of " + std::to_string(wanted) +
                            " fields");
    }
    sql += '(';
    for (std::size_t i = 0; i < wanted; ++i) {
        if (i > 0) {
            sql += ',';
        }
        if (columns[2 * i + 1] == "VARCHAR") {
            AppendQuoted(sql, fields[i]);
        } else {
            sql += fields[i];
        }
    }
    sql += ')';
}

/// The names of a column list, separated by commas.
std::string ColumnNames(const std::vector<std::string>& columns) {
    std::string names;
    for (std::size_t i = 0; i < columns.size(); i += 2) {
        names += (i > 0 ? "," : "") + columns[i];
    }
    return names;
}

}  // namespace

void Update::ImportReferenceData(const std::string& table,
                                 const std::vector<std::string>& columns) {
    const auto file = Host().InstallFolder() / "resources" / (table + "Data.txt");
    if (!std::filesystem::is_regular_file(file)) {
        return;
    }
    Execute(Sql("DELETE FROM tw_tarnwick.", table, ";"));

    std::ifstream lines(file, std::ios::binary);
    if (!lines) {
        throw FileError("cannot open " + file.string());
    }
    // The rows go straight into the one statement: a word list may hold hundreds of thousands.
    std::string sql = Sql("INSERT INTO tw_tarnwick.", table, "(", ColumnNames(columns), ") VALUES");
    bool hasRows = false;
    std::size_t lineNumber = 0;
    for (std::string line; std::getline(lines, line);) {
        ++lineNumber;
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (line.empty()) {
            continue;
        }
        if (hasRows) {
            sql += ',';
        }
        AppendRow(sql, line, columns, file, lineNumber);
        hasRows = true;
    }
    if (lines.bad()) {
        throw FileError("cannot read " + file.string());
    }
    if (hasRows) {
        sql += ';';
        Execute(sql);
    }
}

void Update::ImportComponentReferenceData() {
    // clang-format off
    ImportReferenceData("component", {"componentid", "INT",
                                      "componentname", "VARCHAR",
                                      "foldername", "VARCHAR",
                                      "componentfile", "VARCHAR",
                                      "available", "BOOL",
                                      "published", "BOOL",
                                      "mandatory", "BOOL",
                                      "layoutcomponent", "BOOL",
                                      "standalone", "BOOL",
                                      "section", "BOOL",
                                      "allowcopy", "BOOL",
                                      "allowcopywithoutdata", "BOOL",
                                      "widget", "BOOL"});
    ImportReferenceData("componenttype", {"componenttype", "INT",
                                          "componentid", "INT"});
    // clang-format on
}

}  // namespace twupdate
