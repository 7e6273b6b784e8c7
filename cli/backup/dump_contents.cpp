#include "cli/backup/dump_contents.h"

#include <algorithm>
#include <cctype>
#include <regex>

namespace twupdate::cli {
namespace {

// A name has at most 80 characters, so everything that is searched for fits in here.
constexpr std::size_t kLineBytes = 2000;
constexpr std::size_t kTailBytes = 256;

/// The head of a statement that makes something else than a table: the account, if any, and the
/// kind.
const std::regex& CreateForm() {
    static const std::regex form(
        R"re(^(?:/\*!\d+ )?CREATE(?:\*/)? +(?:ALGORITHM=\w+ )?(?:/\*!\d+ )?)re"
        R"re((?:DEFINER=([`"].*?[`"])(?:\*/)? )?(?:/\*!\d+ )?(?:SQL SECURITY \w+ )?)re"
        R"re((?:AGGREGATE )?(VIEW|TRIGGER|EVENT|PROCEDURE|FUNCTION|PACKAGE)\b)re",
        std::regex::icase);
    return form;
}

/// The line on which a view has its account to itself.
const std::regex& DefinerForm() {
    static const std::regex form(R"re(^/\*!\d+ DEFINER=(`.*?`) SQL SECURITY )re");
    return form;
}

std::string UpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

}  // namespace

void DumpContents::Add(std::string_view bytes) {
    tail_.append(bytes.substr(bytes.size() - std::min(bytes.size(), kTailBytes)));
    tail_.erase(0, tail_.size() - std::min(tail_.size(), kTailBytes));
    while (!bytes.empty()) {
        const auto end = bytes.find('\n');
        const auto piece = bytes.substr(0, end);
        line_.append(piece.substr(0, kLineBytes - std::min(line_.size(), kLineBytes)));
        if (end == std::string_view::npos) {
            return;
        }
        TakeLine();
        line_.clear();
        bytes.remove_prefix(end + 1);
    }
}

void DumpContents::TakeLine() {
    const auto starts = [&](std::string_view text) { return line_.starts_with(text); };
    if (starts("DELIMITER ") || starts("/*!50106 DROP EVENT ")) {
        inBody_ = false;
    } else if (starts("USE `")) {
        databases_.insert(line_.substr(5, line_.find('`', 5) - 5));
    } else if (constexpr std::string_view kTable = "CREATE TABLE `"; !inBody_ && starts(kTable)) {
        const auto begin = kTable.size();
        tables_.insert(line_.substr(begin, line_.find('`', begin) - begin));
    } else if (!inBody_ && (starts("CREATE ") || starts("/*!"))) {
        std::smatch parts;
        if (std::regex_search(line_, parts, CreateForm())) {
            kinds_.insert(UpperCase(parts[2]));
            inBody_ = UpperCase(parts[2]) != "VIEW";  // which may hold anything
        } else if (!std::regex_search(line_, parts, DefinerForm())) {
            return;
        }
        if (parts[1].matched) {
            std::string definer = parts[1];
            std::replace(definer.begin(), definer.end(), '"', '`');  // as sql_mode=ORACLE quotes
            definers_.insert(definer);
        }
    }
}

}  // namespace twupdate::cli
