#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace twupdate::host {

/// A word, a literal or a sign of a statement. Comments and blanks are left out.
struct SqlToken {
    enum class Kind {
        kWord,        ///< a keyword or a name
        kQuotedName,  ///< between backquotes, which are left out
        kText,        ///< between quotes, which are left out; escaped as it stands
        kNumber,
        kSign,  ///< one character, such as '(' or '?'
        kEnd,
    };
    Kind kind = Kind::kEnd;
    std::string_view text;  ///< a part of the statement

    /// True for that keyword or sign, without regard to letter case.
    bool Is(std::string_view wordOrSign) const;
    bool IsName() const { return kind == Kind::kWord || kind == Kind::kQuotedName; }
    /// What a text literal says, its escapes resolved.
    std::string Unescaped() const;
};

/// The tokens of a statement, with one of kind kEnd behind them.
std::vector<SqlToken> Tokenize(std::string_view sql);

/// True when both are the same, but for the case of A to Z.
bool EqualNames(std::string_view a, std::string_view b);
std::string LowerCase(std::string_view text);

/// The statement with '?' for each literal: what statements of one loop have in common.
std::string ShapeOf(std::string_view sql);

}  // namespace twupdate::host
