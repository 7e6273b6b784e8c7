#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace twupdate::test {

/// The four ways in which the tests run a step.
enum Run : std::uint8_t {
    kFullFirst = 1,  ///< on a site with every optional table, for the first time
    kFullAgain = 2,  ///< on that site once more: the effect is there
    kBareFirst = 4,  ///< on a site without optional tables
    kBareAgain = 8,
    kFirst = kFullFirst | kBareFirst,
    kFull = kFullFirst | kFullAgain,
    kAlways = kFull | kBareFirst | kBareAgain,
};

/// The calls that a step must make on site 7, as lines of RecordingHost::log, and in which runs it
/// makes them. Put together from the parts below; a column is written "table.column".
struct StepScript {
    struct Line {
        unsigned runs;
        std::string text;
    };
    std::vector<Line> lines;

    std::vector<std::string> For(Run run) const {
        std::vector<std::string> texts;
        for (const Line& line : lines) {
            if ((line.runs & run) != 0) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }
};

template <typename... Parts>
StepScript Join(const Parts&... parts) {
    StepScript script;
    (script.lines.insert(script.lines.end(), parts.lines.begin(), parts.lines.end()), ...);
    return script;
}

/// Parts that are carried out only in some runs.
template <typename... Parts>
StepScript Only(unsigned runs, const Parts&... parts) {
    StepScript script = Join(parts...);
    for (StepScript::Line& line : script.lines) {
        line.runs &= runs;
    }
    return script;
}

/// A statement sent by Execute, on every run.
inline StepScript Sends(const std::string& sql) {
    return {{{kAlways, "execute " + sql}}};
}
/// A statement sent by Execute as long as its effect is not there.
inline StepScript SendsOnce(const std::string& sql) {
    return {{{kFirst, "execute " + sql}}};
}
inline StepScript Queries(const std::string& sql) {
    return {{{kAlways, "query " + sql}}};
}

inline StepScript TestsTable(const std::string& table) {
    return Queries("SHOW TABLES FROM tw_7 LIKE '" + table + "';");
}
/// The test for any column of a table.
inline StepScript TestsColumn(const std::string& table) {
    return {{{kAlways, "reader DESCRIBE tw_7." + table + ";"}}};
}
/// The test for any index of a table.
inline StepScript TestsIndex(const std::string& table) {
    return {{{kAlways, "reader SHOW INDEXES FROM tw_7." + table + ";"}}};
}

/// The test for an optional table, and what is done where it exists.
template <typename... Parts>
StepScript Where(const std::string& table, const Parts&... parts) {
    return Join(TestsTable(table), Only(kFull, parts...));
}

inline StepScript Alters(const std::string& table, const std::string& change) {
    return SendsOnce("ALTER TABLE tw_7." + table + " " + change + ";");
}

/// A column that is added if it is missing.
inline StepScript Adds(const std::string& tableAndColumn, const std::string& definition) {
    const auto point = tableAndColumn.find('.');
    const std::string table = tableAndColumn.substr(0, point);
    return Join(TestsColumn(table),
                Alters(table, "ADD COLUMN " + tableAndColumn.substr(point + 1) + " " + definition));
}

/// An index that is added if it is missing.
inline StepScript Indexes(const std::string& table, const std::string& index,
                          const std::string& columns) {
    return Join(TestsIndex(table), Alters(table, "ADD INDEX " + index + "(" + columns + ")"));
}

/// A FLOAT column that becomes DOUBLE.
inline StepScript ToDouble(const std::string& tableAndColumn) {
    const auto point = tableAndColumn.find('.');
    const std::string table = tableAndColumn.substr(0, point);
    const std::string column = tableAndColumn.substr(point + 1);
    return Join(
        TestsColumn(table), Alters(table, "ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL"),
        SendsOnce("UPDATE tw_7." + table + " SET double_temp = CAST(" + column + " AS BINARY);"),
        Alters(table, "DROP COLUMN " + column),
        Alters(table, "CHANGE COLUMN double_temp " + column + " DOUBLE DEFAULT 0 NOT NULL"));
}

/// A money column that becomes DECIMAL, again on every run.
inline StepScript ToDecimal(const std::string& tableAndColumn) {
    const auto point = tableAndColumn.find('.');
    const std::string table = tableAndColumn.substr(0, point);
    const std::string column = tableAndColumn.substr(point + 1);
    return {{{kAlways, "reader DESCRIBE tw_7." + table + " " + column + ";"},
             {kAlways, "execute ALTER TABLE tw_7." + table + " MODIFY COLUMN " + column +
                           " DECIMAL(17,2) NOT NULL DEFAULT '0.00';"}}};
}

}  // namespace twupdate::test
