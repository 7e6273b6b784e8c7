#include "cli/check/writes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <map>
#include <optional>
#include <set>

#include "cli/check/column_range.h"
#include "cli/check/written_values.h"
#include "cli/server/queries.h"
#include "cli/terminal/text.h"
#include "host/sql_tokens.h"

namespace twupdate::cli {
namespace {

using Column = host::Catalogue::Column;
using host::SqlToken;

/// What is looked at together.
struct Stage {
    const ServerState& server;
    const host::Catalogue& stored;
    const Walk& walk;
};

/// The text or number of an expression that is one literal; nothing for another one.
std::optional<std::string> Literal(const std::string& expression) {
    const auto tokens = host::Tokenize(expression);
    const bool negative = tokens.size() == 3 && tokens.front().Is("-");
    const SqlToken& token = tokens[negative ? 1 : 0];
    const bool alone = tokens.size() == (negative ? 3 : 2);
    if (!alone || (token.kind != SqlToken::Kind::kText && token.kind != SqlToken::Kind::kNumber)) {
        return std::nullopt;
    }
    return (negative ? "-" : "") + token.Unescaped();
}

/// White space at the end of a text is truncated without an error.
std::size_t LengthThatCounts(const std::string& text) {
    return DisplayWidth(text.substr(0, text.find_last_not_of(" \t\n\v\f\r") + 1));
}

/// Nothing where it fits, or where that is not known.
std::optional<std::string> Misfit(const std::string& value, const Column& column) {
    if (const auto length = TextLength(column)) {
        if (LengthThatCounts(value) <= *length) {
            return std::nullopt;
        }
    } else if (const auto range = RangeOf(column)) {
        char* end = nullptr;
        const double number = std::strtod(value.c_str(), &end);
        const bool isNumber =
            end != value.c_str() &&
            value.find_first_not_of(' ', static_cast<std::size_t>(end - value.c_str())) ==
                std::string::npos;
        if (isNumber && number >= range->first - 0.5 && number < range->second + 0.5) {
            return std::nullopt;
        }
    } else {
        return std::nullopt;
    }
    constexpr std::size_t kEnough = 40;
    return value.size() <= kEnough ? fmt::format("\"{}\"", value)
                                   : fmt::format("\"{}…\" ({} characters)",
                                                 value.substr(0, kEnough), DisplayWidth(value));
}

/// Whether a trigger gives the column its value; an INSERT … SELECT is refused before it runs.
bool HasValueFromTrigger(const ServerState& server, const DryStatement& statement,
                         const std::string& column) {
    return statement.sql.find("SELECT") == std::string::npos &&
           HasRows(server.connection, statement.target.database,
                   fmt::format("SELECT 1 FROM information_schema.triggers WHERE "
                               "event_object_schema = '{{0}}' AND event_object_table = '{}' AND "
                               "action_timing = 'BEFORE' AND event_manipulation = 'INSERT' AND "
                               "action_statement LIKE '%NEW%{}%'",
                               statement.target.table, column));
}

/// Says it of the databases in which the statement has rows, as far as these can be asked.
void TellWhereRows(const Stage& stage, const DryStatement& statement, const CheckFinding& finding,
                   std::vector<CheckFinding>& findings) {
    const std::string from = ValuesOf(statement).from;
    const std::string select = "SELECT 1 FROM " + from;
    const bool canAsk = !from.empty() && !stage.stored.Missing(host::NamesIn(select));
    for (const std::string& database : stage.walk.databases) {
        if (!canAsk ||
            HasRows(stage.server.connection, WithDatabase(select, stage.walk.database, database))) {
            stage.walk.TellOf(database, finding, findings);
        }
    }
}

void CheckDefaults(const Stage& stage, const DryStatement& statement,
                   std::vector<CheckFinding>& findings) {
    for (const Column& column : statement.before->columns) {
        const bool named = std::any_of(
            statement.columns.begin(), statement.columns.end(),
            [&](const std::string& name) { return host::EqualNames(name, column.name); });
        if (!named && column.NeedsValue() &&
            !HasValueFromTrigger(stage.server, statement, column.name)) {
            const CheckFinding finding{
                statement.target.database, statement.target.table, StepOf(statement),
                fmt::format("{} has no default, and the step adds rows without it", column.name),
                "give it a default"};
            TellWhereRows(stage, statement, finding, findings);
        }
    }
}

void CheckValue(const Stage& stage, const DryStatement& statement, const std::string& name,
                const std::string& expression, std::vector<CheckFinding>& findings) {
    const Column* column = statement.before->Find(name);
    const auto literal = column == nullptr ? std::nullopt : Literal(expression);
    if (const auto misfit = literal ? Misfit(*literal, *column) : std::nullopt) {
        const CheckFinding finding{
            statement.target.database, statement.target.table, StepOf(statement),
            fmt::format("the step writes {} into {}, which is {}", *misfit, column->name,
                        column->type),
            fmt::format("make {} as wide as the layout has it", column->name)};
        TellWhereRows(stage, statement, finding, findings);
    }
}

}  // namespace

void CheckWrites(const ServerState& server, const host::Catalogue& stored, const Walk& walk,
                 std::vector<CheckFinding>& findings) {
    const Stage stage{server, stored, walk};
    for (const DryStatement& statement : walk.record) {
        if (!server.IsStrict() || !statement.before) {
            continue;
        }
        if (statement.kind == StatementKind::kInsert && !statement.columns.empty()) {
            CheckDefaults(stage, statement, findings);
        }
        const WrittenValues values = ValuesOf(statement);
        for (const auto& row : values.rows) {
            for (std::size_t i = 0; i < std::min(row.size(), values.columns.size()); ++i) {
                CheckValue(stage, statement, values.columns[i], row[i], findings);
            }
        }
    }
}

void CheckNextIds(const ServerState& server, const Walk& walk,
                  std::vector<CheckFinding>& findings) {
    struct Numbered {
        std::string step;
        double largest = 0;  ///< number that the server can give and the step can read
    };
    std::map<std::string, Numbered> tables;
    std::string names;
    for (const DryStatement& statement : walk.record) {
        const std::string& table = statement.target.table;
        if (statement.kind != StatementKind::kInsert || !statement.before ||
            statement.target.database != walk.database) {
            continue;
        }
        for (const Column& column : statement.before->columns) {
            if (column.autoIncrement && (!tables.contains(table) || statement.idIsRead)) {
                const double most = RangeOf(column).value_or(std::pair(0.0, 0.0)).second;
                const double read = std::numeric_limits<std::int32_t>::max();
                const double largest = statement.idIsRead ? std::min(most, read) : most;
                const auto [known, isNew] =
                    tables.try_emplace(table, Numbered{StepOf(statement), largest});
                if (!isNew && largest < known->second.largest) {
                    known->second = {StepOf(statement), largest};
                }
                names += isNew ? (names.empty() ? "'" : ", '") + table + "'" : "";
            }
        }
    }
    for (const std::string& database : walk.databases) {
        if (tables.empty()) {
            break;
        }
        const auto rows = server.connection.Query(
            fmt::format("SELECT table_name, auto_increment FROM information_schema.tables WHERE "
                        "table_schema = '{}' AND table_name IN({});",
                        database, names));
        while (rows->Next()) {
            const std::string table = rows->Get(0).ToText();
            const std::string next = TextOrEmpty(rows->Get(1));
            if (std::strtod(next.c_str(), nullptr) > tables[table].largest) {
                AddOnce({database, table, tables[table].step,
                         fmt::format("the number of a new row would be {}, which is out of range",
                                     next),
                         fmt::format("give the last rows smaller numbers, then ALTER TABLE {}.{} "
                                     "AUTO_INCREMENT = 1",
                                     database, table)},
                        findings);
            }
        }
    }
}

void NoteAdditions(const ServerState& server, const host::Catalogue& stored,
                   const std::vector<Walk>& walks, std::vector<std::string>& notes) {
    std::map<std::string, std::set<std::string>> written;  // tables, by database
    for (const Walk& walk : walks) {
        for (const DryStatement& statement : walk.record) {
            for (const std::string& database : walk.databases) {
                if (Writes(statement)) {
                    written[WithDatabase(statement.target.database, walk.database, database)]
                        .insert(statement.target.table);
                }
            }
        }
    }
    std::vector<std::string> triggers;
    const auto rows = server.connection.Query(
        "SELECT trigger_name, event_object_schema, event_object_table FROM "
        "information_schema.triggers WHERE event_object_schema LIKE 'tw\\_%' ORDER BY 2, 3, 1;");
    while (rows->Next()) {
        const host::TableName name{rows->Get(1).ToText(), rows->Get(2).ToText()};
        if (const auto tables = written.find(name.database);
            tables != written.end() && tables->second.contains(name.table)) {
            triggers.push_back(
                fmt::format("{} on {}.{}", rows->Get(0).ToText(), name.database, name.table));
        }
    }
    if (!triggers.empty()) {
        notes.push_back(
            fmt::format("triggers run when the upgrade changes rows, and check cannot tell whether "
                        "they fail: {}; rehearse runs them",
                        FirstFew(triggers)));
    }
    std::vector<std::string> constraints;
    for (const auto& [database, tables] : written) {
        for (const std::string& table : tables) {
            if (const auto* found = stored.Find(database, table)) {
                for (const std::string& name : found->constraints) {
                    constraints.push_back(fmt::format("{} on {}.{}", name, database, table));
                }
            }
        }
    }
    if (!constraints.empty()) {
        notes.push_back(
            fmt::format("check cannot tell whether the rows of the upgrade meet the constraints of "
                        "your own: {}; rehearse does",
                        FirstFew(constraints)));
    }
}

}  // namespace twupdate::cli
