#include <limits>

#include "dbutil/replace_all.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

std::string EscapeSql(std::string_view text) {
    // One pass does what the three replacements (quote, then backslash, then CR LF) do in turn:
    // none of them makes a character that a later one would find.
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 16);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\'') {
            escaped += "''";
        } else if (text[i] == '\\') {
            escaped += "\\\\";
        } else if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            escaped += "\\r\\n";
            ++i;
        } else {
            escaped += text[i];
        }
    }
    return escaped;
}

std::string Update::SqlEscape(std::string_view text) {
    return EscapeSql(text);
}

std::string Update::FieldText(const Field& field) {
    try {
        const Value value = field.Value();
        return value.IsNull() ? std::string() : value.ToText();
    } catch (const std::exception&) {
        return {};  // an unreadable field counts as empty
    }
}

std::int32_t Update::NumberOrDefault(const Value& value, std::int32_t defaultNumber) {
    // Half a number beyond either end rounds to the even one: the least fits, the greatest does
    // not.
    using Limits = std::numeric_limits<std::int32_t>;
    const bool fits = value.IsNumeric() && value.ToDouble() >= Limits::min() - 0.5 &&
                      value.ToDouble() < Limits::max() + 0.5;
    return fits ? value.ToInt32() : defaultNumber;
}

std::string Update::DecodeAngleBrackets(std::string_view text) {
    return ReplaceAll(ReplaceAll(text, "&lt;", "<"), "&gt;", ">");
}

std::string Update::NumberToLetters(std::int32_t n) {
    std::string letters;
    for (; n >= 26; n -= 26) {
        letters += 'Z';
    }
    if (n >= 1) {
        letters += static_cast<char>('A' + n - 1);
    }
    return letters;
}

std::vector<std::int32_t> Update::FixedIdList() {
    // The fourth entry was never given an id; callers walk the whole list.
    return {100, 400, 500, 0, 600, 700, 800, 900, 1000, 1300, 1600, 2900, 3700, 4100};
}

}  // namespace twupdate
