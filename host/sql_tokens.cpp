#include "sql_tokens.h"

#include <algorithm>

namespace twupdate::host {
namespace {

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsWordCharacter(char c) {
    return IsDigit(c) || (Lower(c) >= 'a' && Lower(c) <= 'z') || c == '_' || c == '$' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Reads one token after the other.
class Reader {
  public:
    explicit Reader(std::string_view sql) : sql_(sql) {}

    SqlToken Next() {
        SkipBlanks();
        if (at_ >= sql_.size()) {
            return {};
        }
        const char c = sql_[at_];
        if (c == '\'' || c == '"' || c == '`') {
            return Quoted(c);
        }
        if (IsDigit(c) || (c == '.' && at_ + 1 < sql_.size() && IsDigit(sql_[at_ + 1]))) {
            return Number();
        }
        const auto begin = at_;
        while (at_ < sql_.size() && IsWordCharacter(sql_[at_])) {
            ++at_;
        }
        if (at_ > begin) {
            return {SqlToken::Kind::kWord, sql_.substr(begin, at_ - begin)};
        }
        ++at_;
        return {SqlToken::Kind::kSign, sql_.substr(begin, 1)};
    }

  private:
    bool Has(std::string_view text) const { return sql_.substr(at_).starts_with(text); }

    void SkipTo(std::string_view end) {
        const auto found = sql_.find(end, at_);
        at_ = found == std::string_view::npos ? sql_.size() : found + end.size();
    }

    void SkipBlanks() {
        while (at_ < sql_.size()) {
            if (IsBlank(sql_[at_])) {
                ++at_;
            } else if (Has("-- ") || Has("--\n") || Has("#")) {
                SkipTo("\n");
            } else if (Has("/*")) {
                SkipTo("*/");
            } else {
                return;
            }
        }
    }

    SqlToken Quoted(char quote) {
        const auto begin = ++at_;
        for (; at_ < sql_.size(); ++at_) {
            if (sql_[at_] == '\\' && quote != '`') {
                ++at_;
            } else if (sql_[at_] == quote) {
                if (at_ + 1 >= sql_.size() || sql_[at_ + 1] != quote) {
                    break;
                }
                ++at_;  // a doubled quote stands for itself
            }
        }
        const auto end = std::min(at_, sql_.size());
        at_ = std::min(end + 1, sql_.size());
        return {quote == '`' ? SqlToken::Kind::kQuotedName : SqlToken::Kind::kText,
                sql_.substr(begin, end - begin)};
    }

    SqlToken Number() {
        const auto begin = at_;
        const auto digits = [&] {
            while (at_ < sql_.size() && IsDigit(sql_[at_])) {
                ++at_;
            }
        };
        digits();
        if (at_ < sql_.size() && sql_[at_] == '.') {
            ++at_;
            digits();
        }
        if (at_ + 1 < sql_.size() && Lower(sql_[at_]) == 'e' &&
            (IsDigit(sql_[at_ + 1]) || sql_[at_ + 1] == '-' || sql_[at_ + 1] == '+')) {
            at_ += 2;
            digits();
        }
        return {SqlToken::Kind::kNumber, sql_.substr(begin, at_ - begin)};
    }

    std::string_view sql_;
    std::size_t at_ = 0;
};

}  // namespace

bool EqualNames(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return lower;
}

bool SqlToken::Is(std::string_view wordOrSign) const {
    return (kind == Kind::kWord || kind == Kind::kSign) && EqualNames(text, wordOrSign);
}

std::string SqlToken::Unescaped() const {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            const char c = text[++i];
            plain += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == '0' ? '\0' : c;
        } else {
            plain += text[i];
            i += text[i] == '\'' ? 1U : 0U;  // a doubled quote
        }
    }
    return plain;
}

std::vector<SqlToken> Tokenize(std::string_view sql) {
    std::vector<SqlToken> tokens;
    Reader reader(sql);
    do {
        tokens.push_back(reader.Next());
    } while (tokens.back().kind != SqlToken::Kind::kEnd);
    return tokens;
}

std::string ShapeOf(std::string_view sql) {
    std::string shape;
    for (const SqlToken& token : Tokenize(sql)) {
        const bool literal =
            token.kind == SqlToken::Kind::kText || token.kind == SqlToken::Kind::kNumber;
        shape.append(literal ? "?" : token.text).append(" ");
    }
    return shape;
}

}  // namespace twupdate::host
