#include "cli/check/rows.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>

#include "cli/check/column_range.h"
#include "cli/check/written_values.h"
#include "cli/terminal/text.h"
#include "host/sql_tokens.h"

namespace twupdate::cli {
namespace {

using Column = host::Catalogue::Column;
using Table = host::Catalogue::Table;

/// What must hold for no row of a question.
struct Condition {
    host::TableName table;  ///< whose rows they are
    std::string sql;
    std::string problem;  ///< what is reported for the rows for which it holds
    std::string fix;
};

/// One query of a table or of what a statement reads.
struct Question {
    std::string step;
    std::string from;  ///< what stands behind FROM
    std::string key;   ///< the column by which a row is named; empty: none
    std::vector<Condition> conditions;
};

/// A value on its way into a column.
struct Copy {
    host::TableName table;         ///< that has the value
    std::string value;             ///< an expression
    std::string name;              ///< as people know it
    const Column* from = nullptr;  ///< null: the value is no column as it stands
    const Column& to;
    std::string target;     ///< "table.column"
    bool converts = false;  ///< by an ALTER TABLE, which does not truncate blanks
};

std::string LongerThan(const Copy& copy, std::uint64_t length) {
    const std::string measure = BaseType(copy.to).ends_with("text") ? "LENGTH" : "CHAR_LENGTH";
    const std::string plain = fmt::format("{}({}) > {}", measure, copy.value, length);
    if (copy.converts) {
        return plain;
    }
    // White space at the end is truncated without an error.
    return fmt::format(
        "{} AND {}(RTRIM(REPLACE(REPLACE(REPLACE({}, '\\r', ' '), '\\n', ' '), '\\t', ' '))) > {}",
        plain, measure, copy.value, length);
}

void AddLength(const Copy& copy, std::vector<Condition>& conditions) {
    const auto length = TextLength(copy.to);
    const auto before = copy.from == nullptr ? std::nullopt : TextLength(*copy.from);
    if (length && (copy.from == nullptr || (before && *before > *length))) {
        conditions.push_back({copy.table, LongerThan(copy, *length),
                              fmt::format("{} is longer than the {} characters of {}", copy.name,
                                          *length, copy.target),
                              "shorten it"});
    }
}

void AddNumber(const Copy& copy, std::vector<Condition>& conditions) {
    const bool fromText = copy.from != nullptr && TextLength(*copy.from);
    constexpr const char* kNumber = "'^ *[-+]?([0-9]+[.]?[0-9]*|[.][0-9]+)([eE][-+]?[0-9]+)? *$'";
    const std::string noWord =
        fromText ? fmt::format("{} NOT REGEXP {} OR ", copy.value, kNumber) : "";
    if (const auto digits = WholeDigits(copy.to)) {
        const auto before = copy.from == nullptr ? std::nullopt : WholeDigits(*copy.from);
        if (!before || *before > *digits) {
            conditions.push_back(
                {copy.table, fmt::format("{}ABS({}) >= 1e{}", noWord, copy.value, *digits),
                 fmt::format("{} is no number of at most {} digits", copy.name, *digits),
                 "correct it"});
        }
        return;
    }
    const auto range = RangeOf(copy.to);
    const auto before = copy.from == nullptr ? std::nullopt : RangeOf(*copy.from);
    if (range && (!before || before->first < range->first || before->second > range->second)) {
        conditions.push_back({copy.table,
                              fmt::format("{}{} < {:.0f} OR {} > {:.0f}", noWord, copy.value,
                                          range->first, copy.value, range->second),
                              fmt::format("{} is out of the range of {}", copy.name, copy.target),
                              "correct it"});
    }
}

void AddCharacters(const Copy& copy, std::vector<Condition>& conditions) {
    const std::string& charset = copy.to.charset;
    if (charset.empty() || charset == "utf8mb4" ||
        (copy.from != nullptr && (copy.from->charset == charset || copy.from->charset.empty()))) {
        return;
    }
    const std::string lacks = fmt::format(
        "CONVERT(CONVERT({0} USING {1}) USING utf8mb4) <> CONVERT({0} USING utf8mb4) COLLATE "
        "utf8mb4_bin",
        copy.value, charset);
    conditions.push_back({copy.table, lacks,
                          fmt::format("{} has characters that {}, the character set of {}, lacks",
                                      copy.name, charset, copy.target),
                          "replace them"});
}

void AddConditions(const Copy& copy, std::vector<Condition>& conditions) {
    if (!copy.to.nullable && (copy.from == nullptr || copy.from->nullable)) {
        conditions.push_back({copy.table, copy.value + " IS NULL",
                              fmt::format("{} is NULL where the step needs a value", copy.name),
                              "give it a value"});
    }
    AddLength(copy, conditions);
    AddNumber(copy, conditions);
    AddCharacters(copy, conditions);
}

std::string Quoted(const std::string& name) {
    return "`" + name + "`";
}

/// Goes through the record and keeps in mind what it has changed so far.
class Questions {
  public:
    Questions(const host::Catalogue& stored, bool strict) : stored_(stored), strict_(strict) {}

    std::vector<Question> Of(const std::vector<DryStatement>& record) {
        for (const DryStatement& statement : record) {
            if (statement.kind == StatementKind::kAlterTable) {
                AddChange(statement);
            } else if (statement.kind == StatementKind::kUpdate ||
                       statement.kind == StatementKind::kInsert) {
                AddCopies(statement);
            }
            Remember(statement);
        }
        return std::move(questions_);
    }

  private:
    const Column* StoredColumn(const host::TableName& name, const std::string& column) const {
        const Table* table = stored_.Find(name.database, name.table);
        return table == nullptr || changed_.contains(name.table + "." + column)
                   ? nullptr
                   : table->Find(column);
    }

    void AddChange(const DryStatement& statement) {
        const host::TableName& at = statement.target;
        if (!statement.before || !statement.after ||
            stored_.Find(at.database, at.table) == nullptr) {
            return;
        }
        Question question{
            StepOf(statement), fmt::format("{}.{}", at.database, Quoted(at.table)), KeyOf(at), {}};
        for (const Column& after : statement.after->columns) {
            const Column* before = statement.before->Find(after.name);
            const Column* stored = StoredColumn(at, after.name);
            if (strict_ && before != nullptr && stored != nullptr &&
                (before->type != after.type || before->charset != after.charset ||
                 before->nullable != after.nullable)) {
                AddConditions({at, Quoted(after.name), after.name, stored, after,
                               at.table + "." + after.name, true},
                              question.conditions);
            }
        }
        AddKeys(statement, question);
        Add(std::move(question));
    }

    void AddKeys(const DryStatement& statement, Question& question) const {
        for (const auto& index : statement.after->indexes) {
            if (!index.unique || statement.before->FindIndex(index.name) != nullptr) {
                continue;
            }
            std::string list;
            std::string names;
            std::string present;
            for (const auto& part : index.parts) {
                if (StoredColumn(statement.target, part.column) == nullptr) {
                    return;  // a column that is new has its own numbers
                }
                list += (list.empty() ? "" : ", ") + Quoted(part.column);
                names += (names.empty() ? "" : ", ") + part.column;
                present += (present.empty() ? "" : " AND ") + Quoted(part.column) + " IS NOT NULL";
            }
            question.conditions.push_back(
                {statement.target,
                 fmt::format("EXISTS(SELECT 1 FROM {} WHERE {} GROUP BY {} HAVING COUNT(*) > 1)",
                             question.from, present, list),
                 fmt::format("{} will be a key and is not unique", names),
                 "make the values differ"});
        }
    }

    /// What an UPDATE or an INSERT … SELECT copies from stored rows.
    void AddCopies(const DryStatement& statement) {
        const WrittenValues written = ValuesOf(statement);
        if (!strict_ || written.from.empty() || !statement.before || written.rows.size() != 1 ||
            written.rows.front().size() != written.columns.size()) {
            return;
        }
        const auto& expressions = written.rows.front();
        const auto namesOf = [&](const std::string& list) {
            return host::NamesIn("SELECT " + list + " FROM " + written.from);
        };
        const auto names = namesOf(fmt::format("{}", fmt::join(expressions, ", ")));
        if (stored_.Missing(names) || UsesChanged(names)) {
            return;
        }
        const std::size_t others = namesOf("1").uses.size();
        Question question{StepOf(statement), "", "", {}};
        std::vector<std::string> values;
        for (std::size_t i = 0; i < expressions.size(); ++i) {
            const Column* to = statement.before->Find(written.columns[i]);
            if (to == nullptr || namesOf(expressions[i]).uses.size() == others) {
                continue;  // a literal
            }
            const std::string alias = fmt::format("c{}", values.size());
            values.push_back(expressions[i] + " AS " + alias);
            const Source source = SourceOf(expressions[i], names);
            AddConditions({source.table, alias,
                           source.column == nullptr ? expressions[i] : source.column->name,
                           source.column, *to, statement.target.table + "." + to->name, false},
                          question.conditions);
        }
        question.from =
            fmt::format("(SELECT {} FROM {}) copied", fmt::join(values, ", "), written.from);
        Add(std::move(question));
    }

    /// Where an expression comes from.
    struct Source {
        host::TableName table;
        const Column* column = nullptr;  ///< null: it is more than a column
    };

    Source SourceOf(const std::string& expression, const host::StatementNames& names) const {
        const auto tokens = host::Tokenize(expression);
        const bool qualified = tokens.size() == 4 && tokens[1].Is(".");
        const bool isColumn = tokens.front().IsName() && (tokens.size() == 2 || qualified);
        const std::string column(tokens[tokens.size() - 2].text);
        Source source{names.tables.front()};
        std::size_t count = 0;
        for (const host::TableName& name : names.tables) {
            const Column* found = stored_.Find(name.database, name.table)->Find(column);
            if (isColumn && found != nullptr && count++ == 0) {
                source = {name, found};
            }
        }
        source.column = count == 1 ? source.column : nullptr;  // ambiguous when there are two
        return source;
    }

    bool UsesChanged(const host::StatementNames& names) const {
        return std::any_of(names.uses.begin(), names.uses.end(),
                           [&](const auto& use) {
                               return std::any_of(
                                   names.tables.begin(), names.tables.end(),
                                   [&](const auto& table) {
                                       return changed_.contains(table.table + "." + use.column);
                                   });
                           }) ||
               std::any_of(names.tables.begin(), names.tables.end(),
                           [&](const auto& table) { return changed_.contains(table.table + "."); });
    }

    /// The one column of the primary key; empty when it has more.
    std::string KeyOf(const host::TableName& name) const {
        const auto* key = stored_.Find(name.database, name.table)->FindIndex("PRIMARY");
        return key != nullptr && key->parts.size() == 1 ? key->parts.front().column : "";
    }

    void Add(Question question) {
        if (!question.conditions.empty()) {
            questions_.push_back(std::move(question));
        }
    }

    void Remember(const DryStatement& statement) {
        const std::string& table = statement.target.table;
        if (statement.kind == StatementKind::kUpdate) {
            for (const std::string& column : ValuesOf(statement).columns) {
                changed_.insert(table + "." + column);
            }
        } else if (statement.kind == StatementKind::kDelete) {
            changed_.insert(table + ".");  // which rows are left is not known here
        } else if (statement.kind == StatementKind::kAlterTable && statement.before &&
                   statement.after) {
            for (const Column& column : statement.before->columns) {
                const Column* after = statement.after->Find(column.name);
                if (after == nullptr || after->type != column.type) {
                    changed_.insert(table + "." + column.name);
                }
            }
        }
    }

    const host::Catalogue& stored_;
    bool strict_;
    std::set<std::string> changed_;  ///< "table.column", "table." for rows that come or go
    std::vector<Question> questions_;
};

/// The first row for which a condition holds, as " (attributeid 5)".
std::string FirstKey(host::Connection& connection, const Question& question,
                     const Condition& condition, bool several) {
    if (question.key.empty() || condition.sql.starts_with("EXISTS")) {
        return "";
    }
    const auto rows =
        connection.Query(fmt::format("SELECT {0} FROM {1} WHERE {2} ORDER BY {0} LIMIT 1;",
                                     Quoted(question.key), question.from, condition.sql));
    return rows->Next() ? fmt::format(" ({}{} {})", several ? "first: " : "", question.key,
                                      rows->Get(0).ToText())
                        : "";
}

void AskOne(host::Connection& connection, const Question& question,
            std::vector<CheckFinding>& findings) {
    std::vector<std::string> sums;
    for (const Condition& condition : question.conditions) {
        sums.push_back(fmt::format("COALESCE(SUM({}), 0)", condition.sql));
    }
    std::unique_ptr<host::Rows> rows;
    try {
        rows = connection.Query(
            fmt::format("SELECT {} FROM {};", fmt::join(sums, ", "), question.from));
    } catch (const HostError&) {
        return;  // the step's own statement meets it, and rehearse shows that
    }
    for (std::size_t i = 0; rows->ColumnCount() > 0 && i < sums.size(); ++i) {
        if (i == 0 && !rows->Next()) {
            return;
        }
        const auto count = static_cast<std::uint64_t>(std::stod(rows->Get(i).ToText()));
        if (count == 0) {
            continue;
        }
        const Condition& condition = question.conditions[i];
        const bool isKey = condition.sql.starts_with("EXISTS");
        const std::string where =
            isKey ? ""
                  : fmt::format(" in {}{}", Count(count, "row"),
                                FirstKey(connection, question, condition, count > 1));
        AddOnce({condition.table.database, condition.table.table, question.step,
                 condition.problem + where, condition.fix},
                findings);
    }
}

}  // namespace

struct RowQuestions::Content {
    std::string walked;  ///< the database of the walk
    std::vector<Question> questions;
};

RowQuestions::RowQuestions(const ServerState& server, const host::Catalogue& stored,
                           const Walk& walk)
    : content_(std::make_shared<const Content>(
          Content{walk.database, Questions(stored, server.IsStrict()).Of(walk.record)})) {}

void RowQuestions::Ask(host::Connection& connection, const std::string& database,
                       std::vector<CheckFinding>& findings) const {
    for (Question question : content_->questions) {
        question.from = WithDatabase(question.from, content_->walked, database);
        for (Condition& condition : question.conditions) {
            condition.sql = WithDatabase(condition.sql, content_->walked, database);
            condition.table.database =
                WithDatabase(condition.table.database, content_->walked, database);
        }
        AskOne(connection, question, findings);
    }
}

}  // namespace twupdate::cli
