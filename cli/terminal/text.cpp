#include "cli/terminal/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <new>
#include <optional>
#include <vector>

#include "twupdate/value.h"

namespace twupdate::cli {
namespace {

bool IsContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// The text shortened to so many columns.
std::string_view Fitting(std::string_view text, std::size_t columns) {
    std::size_t i = 0;
    std::size_t width = 0;
    while (i < text.size()) {
        const bool starts = !IsContinuationByte(text[i]);
        if (starts && width == columns) {
            break;
        }
        width += starts ? 1 : 0;
        ++i;
    }
    return text.substr(0, i);
}

/// The bytes of the character of UTF-8 with which the text begins; 0 if it is none.
std::size_t LengthOfCharacter(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80U                     ? 1
                               : lead >= 0xC2U && lead <= 0xDFU ? 2
                               : (lead & 0xF0U) == 0xE0U        ? 3
                               : lead >= 0xF0U && lead <= 0xF4U ? 4
                                                                : 0;
    for (std::size_t k = 1; k < length; ++k) {
        if (k >= text.size() || !IsContinuationByte(text[k])) {
            return 0;
        }
    }
    // Overlong forms, surrogates, and what is beyond U+10FFFF.
    const unsigned second = length > 2 ? static_cast<unsigned char>(text[1]) : 0;
    const bool isNone = (lead == 0xE0U && second < 0xA0U) || (lead == 0xEDU && second > 0x9FU) ||
                        (lead == 0xF0U && second < 0x90U) || (lead == 0xF4U && second > 0x8FU);
    return isNone ? 0 : length;
}

bool IsWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$' ||
           static_cast<unsigned char>(c) >= 0x80U;
}

bool NamesPassword(std::string_view word) {
    return LowerCase(word).find("password") != std::string::npos;
}

constexpr std::string_view kHint = "\nhint: ";

std::vector<std::string_view> HintsOf(std::string_view message) {
    std::vector<std::string_view> hints;
    for (auto at = message.find(kHint); at != std::string_view::npos; at = message.find(kHint)) {
        message.remove_prefix(at + kHint.size());
        hints.push_back(message.substr(0, message.find(kHint)));
    }
    return hints;
}

struct Token {
    enum class Kind { kBlank, kWord, kLiteral, kSign };
    Kind kind;
    std::string_view text;
};

/// Splits a statement into blanks, words, quoted literals and single signs, losing nothing.
std::vector<Token> Tokens(std::string_view sql) {
    std::vector<Token> tokens;
    std::size_t i = 0;
    while (i < sql.size()) {
        const std::size_t begin = i;
        const char c = sql[i];
        auto kind = Token::Kind::kSign;
        if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            kind = Token::Kind::kBlank;
            while (i < sql.size() && std::isspace(static_cast<unsigned char>(sql[i])) != 0) {
                ++i;
            }
        } else if (c == '\'' || c == '"') {
            kind = Token::Kind::kLiteral;
            ++i;
            while (i < sql.size()) {
                if (sql[i] == '\\') {
                    i += 2;
                } else if (sql[i] == c) {
                    ++i;
                    if (i >= sql.size() || sql[i] != c) {
                        break;
                    }
                    ++i;  // a doubled quote stands for itself
                } else {
                    ++i;
                }
            }
            i = std::min(i, sql.size());
        } else if (IsWordCharacter(c)) {
            kind = Token::Kind::kWord;
            while (i < sql.size() && IsWordCharacter(sql[i])) {
                ++i;
            }
        } else {
            ++i;
        }
        tokens.push_back({kind, sql.substr(begin, i - begin)});
    }
    return tokens;
}

/// Walks the tokens and knows, for each literal, whether it belongs to a password column: as a
/// value of an INSERT with a column list, or on the other side of a comparison or assignment.
class PasswordFinder {
  public:
    bool IsPassword(const Token& token) {
        switch (token.kind) {
            case Token::Kind::kBlank:
                return false;
            case Token::Kind::kWord:
                Word(token.text);
                return false;
            case Token::Kind::kSign:
                Sign(token.text.front());
                return false;
            case Token::Kind::kLiteral:
                return Literal();
        }
        return false;
    }

  private:
    void Word(std::string_view word) {
        const std::string lower = LowerCase(word);
        if (lower == "insert" || lower == "replace") {
            inInsert_ = true;
            columns_.clear();
            inValues_ = false;
        } else if (lower == "values" || lower == "value") {
            inValues_ = inInsert_;
        } else if (inInsert_ && !inValues_ && depth_ == 1) {
            columns_.push_back(lower);
        }
        // What follows "password =", "password LIKE" or "IDENTIFIED BY" is a password; the
        // default of a column of that name is not.
        if (NamesPassword(word) || lower == "identified") {
            named_ = true;
        } else if (named_ && (lower == "by" || lower == "like")) {
            compared_ = true;
        } else if (!compared_ || lower == "and" || lower == "or" || lower == "where" ||
                   lower == "from") {
            named_ = compared_ = false;
        }
    }

    void Sign(char c) {
        if (c == '(') {
            ++depth_;
            if (inValues_ && depth_ == 1) {
                value_ = 0;
            }
        } else if (c == ')') {
            --depth_;
            named_ = compared_ = false;
        } else if (c == ',') {
            if (inValues_ && depth_ == 1) {
                ++value_;
            }
            named_ = compared_ = false;
        } else if (c == '=' || c == '<' || c == '>') {
            compared_ = named_;
        } else if (c == ';') {
            *this = PasswordFinder();
        }
    }

    bool Literal() const {
        if (inValues_ && depth_ >= 1 && value_ < columns_.size()) {
            return NamesPassword(columns_[value_]);
        }
        return compared_;
    }

    bool inInsert_ = false;
    bool inValues_ = false;
    bool named_ = false;     // the last word names a password
    bool compared_ = false;  // and a literal may follow
    int depth_ = 0;
    std::size_t value_ = 0;
    std::vector<std::string> columns_;
};

}  // namespace

std::string ShortStatement(std::string_view sql, std::size_t longest) {
    const auto oneLine = [](std::string_view part) {
        std::string line;
        for (const char c : part) {
            const bool blank = static_cast<unsigned char>(c) <= 0x20U;
            if (!blank) {
                line += c;
            } else if (line.empty() || line.back() != ' ') {
                line += ' ';
            }
        }
        return line;
    };
    if (sql.size() <= longest) {
        return oneLine(sql);
    }
    std::size_t head = longest * 3 / 4;
    while (head > 0 && IsContinuationByte(sql[head])) {
        --head;
    }
    std::size_t tail = sql.size() - longest / 4;
    while (tail < sql.size() && IsContinuationByte(sql[tail])) {
        ++tail;
    }
    return fmt::format("{} ... [{} bytes in all] ... {}", oneLine(sql.substr(0, head)), sql.size(),
                       oneLine(sql.substr(tail)));
}

std::string WithoutPasswords(std::string_view sql) {
    // Few statements have one; only those that may are searched token by token.
    const std::string lower = LowerCase(sql.substr(0, std::min<std::size_t>(sql.size(), 4096)));
    if (lower.find("password") == std::string::npos &&
        lower.find("identified") == std::string::npos) {
        return std::string(sql);
    }
    PasswordFinder finder;
    std::string text;
    text.reserve(sql.size());
    for (const Token& token : Tokens(sql)) {
        text += finder.IsPassword(token) ? std::string_view("'***'") : token.text;
    }
    return text;
}

std::string VersionText(double version) {
    return std::isnan(version) ? "not a number" : fmt::format("{:.4f}", version);
}

std::string DurationText(std::chrono::nanoseconds duration) {
    const double seconds = std::chrono::duration<double>(duration).count();
    if (seconds < 9.95) {
        return fmt::format("{:.1f} s", seconds);
    }
    const auto whole = static_cast<std::int64_t>(std::llround(seconds));
    if (whole < 60) {
        return fmt::format("{} s", whole);
    }
    if (whole < 3600) {
        return fmt::format("{} min {:02} s", whole / 60, whole % 60);
    }
    return fmt::format("{} h {:02} min", whole / 3600, whole % 3600 / 60);
}

std::string Grouped(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3) {
        digits.insert(i - 3, ",");
    }
    return digits;
}

std::string Count(std::uint64_t number, std::string_view noun, std::string_view plural) {
    const std::string digits = Grouped(number);
    if (number == 1) {
        return fmt::format("{} {}", digits, noun);
    }
    return plural.empty() ? fmt::format("{} {}s", digits, noun)
                          : fmt::format("{} {}", digits, plural);
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

std::string FirstFew(std::vector<std::string> names) {
    constexpr std::size_t kNamed = 5;
    const std::string more =
        names.size() > kNamed ? fmt::format(" and {} more", names.size() - kNamed) : "";
    names.resize(std::min(names.size(), kNamed));
    return fmt::format("{}{}", fmt::join(names, ", "), more);
}

std::size_t DisplayWidth(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !IsContinuationByte(c); }));
}

std::string FittingParts(const std::vector<std::string>& parts, std::size_t columns) {
    std::string line;
    std::size_t width = 0;
    for (const std::string& part : parts) {
        const std::size_t needed = DisplayWidth(part) + (line.empty() ? 0 : 2);
        if (line.empty() && needed > columns) {
            return std::string(Fitting(part, columns));
        }
        if (!part.empty() && width + needed <= columns) {
            line += (line.empty() ? "" : "  ") + part;
            width += needed;
        }
    }
    return line;
}

std::string Printable(std::string_view text) {
    std::string printable;
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t length = LengthOfCharacter(text.substr(i));
        if (length == 0) {
            printable += "\xEF\xBF\xBD";
            ++i;
        } else {
            const auto lead = static_cast<unsigned char>(text[i]);
            // U+0080 to U+009F are control characters too: a terminal may obey them.
            const bool control = lead < 0x20U || lead == 0x7FU ||
                                 (lead == 0xC2U && static_cast<unsigned char>(text[i + 1]) < 0xA0U);
            printable += control ? std::string_view(" ") : text.substr(i, length);
            i += length;
        }
    }
    return printable;
}

std::string DescribeError(std::string_view statement, std::uint32_t code, std::string_view sqlState,
                          std::string_view text) {
    std::string line;
    if (!statement.empty() && !text.starts_with(statement)) {  // a host may name it itself
        line += ShortStatement(WithoutPasswords(statement)) + ": ";
    }
    if (code != 0) {
        line += sqlState.empty() ? fmt::format("server error {}: ", code)
                                 : fmt::format("server error {} ({}): ", code, sqlState);
    }
    return line + Printable(text);
}

std::string DescribeError(const HostError& error) {
    return DescribeError(error.Statement(), error.Code(), error.SqlState(), error.what());
}

std::vector<std::string> SplitAtBlanks(std::string_view list) {
    std::vector<std::string> words;
    while (!list.empty()) {
        const auto blank = std::min(list.find(' '), list.size());
        words.emplace_back(list.substr(0, blank));
        list.remove_prefix(std::min(blank + 1, list.size()));
    }
    return words;
}

std::string MessageLines(std::string_view message, std::string_view program) {
    std::string lines = fmt::format("{}: {}", program, FactOf(message));
    for (const std::string_view hint : HintsOf(message)) {
        lines += fmt::format("\n{}: hint: {}", program, hint);
    }
    return lines;
}

std::string FactOf(std::string_view message) {
    return std::string(message.substr(0, message.find(kHint)));
}

std::string HintOf(std::string_view message) {
    return fmt::format("{}", fmt::join(HintsOf(message), "; "));
}

std::string JoinMessages(const std::vector<std::string>& messages, std::string_view ending) {
    std::string facts;
    std::string hints;
    for (const std::string& message : messages) {
        const std::string fact = FactOf(message);
        facts += (facts.empty() ? "" : "; ") + fact;
        hints += message.substr(fact.size());
    }
    return facts + std::string(ending) + hints;
}

std::string ErrorText(const std::exception& error) {
    const auto* file = dynamic_cast<const std::filesystem::filesystem_error*>(&error);
    if (file == nullptr) {
        const bool isMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
        return isMemory ? "out of memory" : error.what();
    }
    std::string paths = file->path1().string();
    if (!file->path2().empty()) {
        paths += ", " + file->path2().string();
    }
    return paths + ": " + file->code().message();
}

bool ComesBefore(std::string_view name, std::string_view other) {
    return name.size() != other.size() ? name.size() < other.size() : name < other;
}

std::string FaultOfNumber(std::string& word) {
    const std::size_t sign = word.starts_with('-') || word.starts_with('+') ? 1 : 0;
    const std::string digits = word.substr(sign);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return "'" + word + "' is not a decimal integer";
    }
    const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size() - 1);
    word = (word.starts_with('-') ? "-" : "") + digits.substr(first);
    return "";
}

std::string FaultOfEmptyValue(const std::string& value) {
    return value.empty() ? "the value must not be empty" : "";
}

std::string FaultOfVersion(const std::string& word) {
    const Value version(word);
    return version.IsNumeric() && version.ToDouble() >= 0
               ? ""
               : "'" + word + "' is not a version; a version is a number such as 1.0050";
}

}  // namespace twupdate::cli
