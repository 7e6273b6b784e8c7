#include "cli/check/written_values.h"

#include <algorithm>
#include <initializer_list>

#include "host/sql_tokens.h"

namespace twupdate::cli {
namespace {

using host::SqlToken;
using host::StatementKind;

class ValueReader {
  public:
    explicit ValueReader(const host::DryStatement& statement)
        : statement_(statement), sql_(statement.sql), tokens_(host::Tokenize(sql_)) {}

    WrittenValues Read() {
        if (statement_.kind == StatementKind::kInsert) {
            ReadInsert();
        } else if (statement_.kind == StatementKind::kUpdate) {
            ReadUpdate();
        }
        return std::move(values_);
    }

  private:
    void ReadInsert() {
        values_.columns = statement_.columns;
        if (!SkipTo({"VALUES", "SELECT"})) {
            return;
        }
        if (tokens_[at_ - 1].Is("VALUES")) {
            while (Take("(")) {
                values_.rows.push_back(ReadList());
                if (!Take(")") || !Take(",")) {
                    return;
                }
            }
            return;
        }
        Take("DISTINCT");
        values_.rows.push_back(ReadList());
        if (Take("FROM")) {
            const std::size_t begin = Begin(at_);
            const bool updates = SkipTo({"DUPLICATE"});
            values_.from = Text(begin, updates ? Begin(at_ - 2) : sql_.size());
        }
    }

    void ReadUpdate() {
        const std::size_t tables = Begin(1);
        if (!SkipTo({"SET"})) {
            return;
        }
        values_.from = Text(tables, Begin(at_ - 1));
        values_.rows.emplace_back();
        do {
            std::string column(tokens_[at_++].text);
            while (Take(".")) {
                column = tokens_[at_++].text;
            }
            if (!Take("=")) {
                break;
            }
            values_.columns.push_back(column);
            values_.rows.front().push_back(ReadExpression());
        } while (Take(","));
        if (!AtEnd()) {
            values_.from += " " + Text(Begin(at_), sql_.size());
        }
    }

    std::vector<std::string> ReadList() {
        std::vector<std::string> list;
        do {
            list.push_back(ReadExpression());
        } while (Take(","));
        return list;
    }

    std::string ReadExpression() {
        const std::size_t begin = Begin(at_);
        for (int depth = 0; !AtEnd(); ++at_) {
            const SqlToken& token = tokens_[at_];
            if (depth == 0 && (token.Is(",") || token.Is(")") || token.Is(";") ||
                               token.Is("FROM") || token.Is("WHERE") || token.Is("ORDER"))) {
                break;
            }
            depth += token.Is("(") ? 1 : token.Is(")") ? -1 : 0;
        }
        return Text(begin, Begin(at_));
    }

    bool AtEnd() const { return tokens_[at_].kind == SqlToken::Kind::kEnd; }
    bool Take(std::string_view word) {
        const bool is = !AtEnd() && tokens_[at_].Is(word);
        at_ += is ? 1 : 0;
        return is;
    }
    bool SkipTo(std::initializer_list<std::string_view> words) {
        while (!AtEnd()) {
            const SqlToken& token = tokens_[at_++];
            if (std::any_of(words.begin(), words.end(),
                            [&](std::string_view word) { return token.Is(word); })) {
                return true;
            }
        }
        return false;
    }

    /// Where a token begins in the statement, its quote included.
    std::size_t Begin(std::size_t token) const {
        if (token >= tokens_.size() || tokens_[token].kind == SqlToken::Kind::kEnd) {
            return sql_.size();
        }
        const bool quoted = tokens_[token].kind == SqlToken::Kind::kText ||
                            tokens_[token].kind == SqlToken::Kind::kQuotedName;
        return static_cast<std::size_t>(tokens_[token].text.data() - sql_.data()) -
               (quoted ? 1 : 0);
    }
    std::string Text(std::size_t begin, std::size_t end) const {
        std::string text(sql_.substr(begin, end - begin));
        text.erase(text.find_last_not_of("; \n\t") + 1);
        return text;
    }

    const host::DryStatement& statement_;
    std::string_view sql_;
    std::vector<SqlToken> tokens_;
    std::size_t at_ = 0;
    WrittenValues values_;
};

}  // namespace

WrittenValues ValuesOf(const host::DryStatement& statement) {
    return ValueReader(statement).Read();
}

}  // namespace twupdate::cli
