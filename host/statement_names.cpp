#include <algorithm>
#include <map>
#include <set>

#include "sql_tokens.h"
#include "twupdate_host/catalogue.h"

namespace twupdate::host {
namespace {

/// Words that are never the name of a column unless they stand between backquotes.
bool IsKeyword(std::string_view word) {
    constexpr std::string_view kKeywords =
        " all and as asc between binary by case collate cross current_timestamp default"
        " delete desc distinct div duplicate else end exists false for force from group"
        " having ignore in inner insert interval into is join key left like limit"
        " low_priority mod not null offset on or order outer over partition regexp replace"
        " right rlike select separator set straight_join then true union update using values"
        " when where with xor ";
    return kKeywords.find(" " + LowerCase(word) + " ") != std::string_view::npos;
}

StatementKind KindOf(const SqlToken& first, const SqlToken& second) {
    static const std::map<std::string, StatementKind, std::less<>> kinds{
        {"select", StatementKind::kRead},      {"insert", StatementKind::kInsert},
        {"replace", StatementKind::kInsert},   {"update", StatementKind::kUpdate},
        {"delete", StatementKind::kDelete},    {"create", StatementKind::kCreateTable},
        {"alter", StatementKind::kAlterTable}, {"rename", StatementKind::kRenameTable},
        {"drop", StatementKind::kDropTable},   {"truncate", StatementKind::kDelete},
        {"show", StatementKind::kInspect},     {"describe", StatementKind::kInspect}};
    const auto found = kinds.find(LowerCase(first.text));
    if (found == kinds.end()) {
        return StatementKind::kAlterTable;  // never taken for a read
    }
    return found->second == StatementKind::kCreateTable && second.Is("DATABASE")
               ? StatementKind::kCreateDatabase
               : found->second;
}

class NameReader {
  public:
    explicit NameReader(std::string_view sql)
        : tokens_(Tokenize(sql)), isUsed_(tokens_.size() + kAhead) {
        tokens_.resize(tokens_.size() + kAhead);
    }

    StatementNames Read() {
        names_.kind = KindOf(tokens_[0], tokens_[1]);
        switch (names_.kind) {
            case StatementKind::kRead:
            case StatementKind::kInsert:
            case StatementKind::kUpdate:
            case StatementKind::kDelete:
                ReadTables();
                ReadUses();
                if (names_.kind == StatementKind::kRead && WritesOrLocks()) {
                    names_.kind = StatementKind::kAlterTable;
                }
                break;
            default:
                ReadDefinition();
        }
        return std::move(names_);
    }

  private:
    static constexpr std::size_t kAhead = 4;  ///< tokens that may be looked at past the end

    bool IsName(std::size_t i) const {
        return tokens_[i].kind == SqlToken::Kind::kQuotedName ||
               (tokens_[i].kind == SqlToken::Kind::kWord && !IsKeyword(tokens_[i].text));
    }
    bool IsTable(std::size_t i) const {
        return tokens_[i].IsName() && tokens_[i + 1].Is(".") && tokens_[i + 2].IsName();
    }
    TableName Table(std::size_t i) const {
        return {std::string(tokens_[i].text), std::string(tokens_[i + 2].text)};
    }
    std::size_t Count() const { return tokens_.size() - kAhead; }

    /// True for SELECT … INTO and SELECT … FOR UPDATE.
    bool WritesOrLocks() const {
        return std::any_of(tokens_.begin(), tokens_.end(), [](const SqlToken& token) {
            return token.Is("INTO") || token.Is("FOR") || token.Is("LOCK");
        });
    }

    void Use(std::size_t i, std::size_t count = 1) {
        for (; count > 0; ++i, --count) {
            isUsed_[i] = true;
        }
    }

    /// A statement that defines or inspects names its tables one after the other.
    void ReadDefinition() {
        for (std::size_t i = 0; i < Count() && !tokens_[i].Is("("); ++i) {
            if (IsTable(i)) {
                names_.tables.push_back(Table(i));
                i += 2;
                if (names_.kind != StatementKind::kRenameTable) {
                    break;
                }
            }
        }
        if (names_.kind == StatementKind::kInspect) {
            return;
        }
        if (!names_.tables.empty()) {
            names_.target = names_.tables.front();
            return;
        }
        for (std::size_t i = 1; i < Count(); ++i) {  // a database
            if (tokens_[i].IsName()) {
                names_.target.database = tokens_[i].text;
            }
        }
    }

    void ReadTables() {
        for (std::size_t i = 0; i < Count(); ++i) {
            if (tokens_[i].Is("FROM") || tokens_[i].Is("JOIN") || tokens_[i].Is("STRAIGHT_JOIN") ||
                tokens_[i].Is("INTO") || tokens_[i].Is("TABLE") ||
                (tokens_[i].Is("UPDATE") && i == 0)) {
                ReadTableList(i + 1);
            } else if (tokens_[i].Is("AS") || tokens_[i].Is(")")) {
                // The name of a computed column or of a derived table, or the type of a CAST.
                const std::size_t at = i + (tokens_[i].Is(")") && tokens_[i + 1].Is("AS") ? 2 : 1);
                if (IsName(at) && !tokens_[at + 1].Is(".")) {
                    computed_.insert(LowerCase(tokens_[at].text));
                    Use(at);
                }
            }
        }
        ReadTarget();
    }

    void ReadTableList(std::size_t i) {
        while (tokens_[i].Is("IGNORE") || tokens_[i].Is("LOW_PRIORITY")) {
            ++i;
        }
        while (IsTable(i)) {
            const TableName table = Table(i);
            names_.tables.push_back(table);
            aliases_[LowerCase(table.table)] = table;
            Use(i, 3);
            i += 3;
            i += tokens_[i].Is("AS") ? 1U : 0U;
            if (IsName(i)) {
                aliases_[LowerCase(tokens_[i].text)] = table;
                Use(i++);
            }
            if (tokens_[i].Is("(") && names_.tables.size() == 1 &&
                names_.kind == StatementKind::kInsert) {
                ReadInsertColumns(i + 1);
            }
            if (!tokens_[i].Is(",")) {
                return;
            }
            ++i;
        }
    }

    void ReadInsertColumns(std::size_t i) {
        for (; i < Count() && !tokens_[i].Is(")"); ++i) {
            if (tokens_[i].IsName()) {
                names_.columns.emplace_back(tokens_[i].text);
                Use(i);
            }
        }
    }

    void ReadTarget() {
        if (names_.kind == StatementKind::kRead || names_.tables.empty()) {
            return;
        }
        names_.target = names_.tables.front();
        if (names_.kind == StatementKind::kDelete && !tokens_[1].Is("FROM")) {
            for (std::size_t i = 1; i < Count() && !tokens_[i].Is("FROM"); ++i) {
                if (const auto alias = aliases_.find(LowerCase(tokens_[i].text));
                    alias != aliases_.end()) {
                    names_.target = alias->second;
                }
                Use(i);
            }
        }
    }

    void ReadUses() {
        for (std::size_t i = 0; i < Count(); ++i) {
            if (tokens_[i].Is("INTERVAL")) {
                Use(i + 1, 2);  // "1 DAY"
            }
            if (isUsed_[i] || !IsName(i) || tokens_[i + 1].Is("(") ||
                (i > 0 && (tokens_[i - 1].Is("@") || tokens_[i - 1].Is("USING")))) {
                continue;
            }
            if (!tokens_[i + 1].Is(".")) {
                if (!computed_.contains(LowerCase(tokens_[i].text))) {
                    names_.uses.push_back({std::nullopt, std::string(tokens_[i].text)});
                }
                continue;
            }
            std::size_t column = i + 2;
            if (tokens_[column + 1].Is(".")) {
                column += 2;  // database.table.column
            }
            const auto alias = aliases_.find(LowerCase(tokens_[column - 2].text));
            if (alias != aliases_.end() && tokens_[column].IsName()) {
                names_.uses.push_back({alias->second, std::string(tokens_[column].text)});
            }
            i = column;
        }
    }

    std::vector<SqlToken> tokens_;
    std::vector<bool> isUsed_;  ///< tokens that are no column
    std::map<std::string, TableName> aliases_;
    std::set<std::string> computed_;
    StatementNames names_;
};

}  // namespace

StatementNames NamesIn(std::string_view sql) {
    return NameReader(sql).Read();
}

}  // namespace twupdate::host
