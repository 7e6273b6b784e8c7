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

/// Appends ",(…)" for one line of a data file.
void AppendRow(std::string& rows, std::string_view line, const std::vector<std::string>& columns,
               const std::filesystem::path& file, std::size_t lineNumber) {
    const auto fields = SplitAtTabs(line);
    const std::size_t wanted = columns.size() / 2;
    if (fields.size() < wanted) {
        throw DataFileError(file.string() + " line " + std::to_string(lineNumber) + ": " +
                            std::to_string(fields.size()) + " fields where " +
                            std::to_string(wanted) + " must be");
    }
    rows += ",(";
    for (std::size_t i = 0; i < wanted; ++i) {
        if (i > 0) {
            rows += ',';
        }
        if (columns[2 * i + 1] == "VARCHAR") {
            AppendQuoted(rows, fields[i]);
        } else {
            rows += fields[i];
        }
    }
    rows += ')';
}

}  // namespace

void Update::ImportReferenceData(StringRef table, const std::vector<std::string>& columns) {
    const auto file = Host().InstallFolder() / "resources" / (table + "Data.txt");
    if (!std::filesystem::exists(file)) {
        return;
    }
    Execute(Sql("DELETE FROM tw_tarnwick.", table, ";"));

    std::ifstream lines(file, std::ios::binary);
    if (!lines) {
        throw FileError("cannot open " + file.string());
    }
    std::string rows;
    std::size_t lineNumber = 0;
    for (std::string line; std::getline(lines, line);) {
        ++lineNumber;
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (!line.empty()) {
            AppendRow(rows, line, columns, file, lineNumber);
        }
    }
    if (lines.bad()) {
        throw FileError("cannot read " + file.string());
    }
    if (rows.empty()) {
        return;
    }
    std::string names;
    for (std::size_t i = 0; i < columns.size(); i += 2) {
        names += ',' + columns[i];
    }
    const auto withoutComma = [](const std::string& list) {
        return std::string_view(list).substr(1);
    };
    Execute(Sql("INSERT INTO tw_tarnwick.", table, "(", withoutComma(names), ") VALUES",
                withoutComma(rows), ";"));
}

void Update::ImportComponentReferenceData() {
    ImportReferenceData("component", {"componentid",
                                      "INT",
                                      "componentname",
                                      "VARCHAR",
                                      "foldername",
                                      "VARCHAR",
                                      "componentfile",
                                      "VARCHAR",
                                      "available",
                                      "BOOL",
                                      "published",
                                      "BOOL",
                                      "mandatory",
                                      "BOOL",
                                      "layoutcomponent",
                                      "BOOL",
                                      "standalone",
                                      "BOOL",
                                      "section",
                                      "BOOL",
                                      "allowcopy",
                                      "BOOL",
                                      "allowcopywithoutdata",
                                      "BOOL",
                                      "widget",
                                      "BOOL"});
    ImportReferenceData("componenttype", {"componenttype", "INT", "componentid", "INT"});
}

}  // namespace twupdate
