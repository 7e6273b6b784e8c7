#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <optional>
#include <regex>

#include "cli/check/check_finding.h"
#include "cli/check/data_files.h"
#include "cli/server/stored_columns.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

std::vector<std::string> SplitAtTabs(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t begin = 0;
    for (std::size_t tab = 0; tab != std::string::npos; begin = tab + 1) {
        tab = line.find('\t', begin);
        fields.push_back(line.substr(begin, tab - begin));
    }
    return fields;
}

/// The whole number that a column of whole numbers makes of a field such as " -1.5"; nothing for
/// a word.
std::optional<double> NumberOf(const std::string& field) {
    static const std::regex pattern(R"( *([-+]?([0-9]+[.]?[0-9]*|[.][0-9]+)([eE][-+]?[0-9]+)?) *)");
    std::smatch number;
    if (!std::regex_match(field, number, pattern)) {
        return std::nullopt;
    }
    return std::round(std::strtod(number[1].str().c_str(), nullptr));
}

/// A text as the server reads it between quotes.
struct ReadText {
    std::string text;
    bool endsInBackslash = false;  ///< the closing quote would belong to the text
};

/// The character that a backslash and this one stand for.
char Escaped(char character) {
    constexpr std::string_view kNames = "0bnrtZ";
    constexpr std::string_view kCharacters("\0\b\n\r\t\x1A", 6);
    const auto found = kNames.find(character);
    return found == std::string_view::npos ? character : kCharacters[found];
}

ReadText ReadBackslashes(const std::string& field) {
    ReadText read;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const bool isEscaped = field[i] == '\\';
        if (isEscaped) {
            if (i + 1 == field.size()) {
                read.endsInBackslash = true;
                break;
            }
            ++i;
            if (field[i] == '%' || field[i] == '_') {
                read.text += '\\';  // these two pairs stay
            }
        }
        read.text += isEscaped ? Escaped(field[i]) : field[i];
    }
    return read;
}

bool IsAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x80U; });
}

/// The lines of one file, against the format and against the table.
class Lines {
  public:
    Lines(host::Connection& connection, const DataFile& file, const StoredTables& stored,
          const std::string& sqlMode)
        : connection_(connection),
          kinds_(file.kinds),
          columns_(SplitAtBlanks(file.columns)),
          strict_(IsStrict(sqlMode)),
          backslashes_(sqlMode.find("NO_BACKSLASH_ESCAPES") == std::string::npos) {
        for (const std::string& column : columns_) {
            stored_.push_back(stored.Find(std::string(file.table), column));
        }
        const auto table = stored.tables.find(std::string(file.table));
        if (table == stored.tables.end()) {
            return;
        }
        cutsLaterRows_ = !table->second.transactional && !IsStrictForAll(sqlMode);
        for (const std::string& column : table->second.key) {
            const auto found = std::find(columns_.begin(), columns_.end(), column);
            const auto field = static_cast<std::size_t>(found - columns_.begin());
            if (found == columns_.end() || kinds_[field] != 'n') {
                key_.clear();  // the file alone does not tell whether such a key is double
                return;
            }
            key_.push_back(field);
        }
    }

    /// What is wrong with a line; empty when nothing is.
    std::string Fault(const std::string& line, std::size_t lineNumber) {
        std::string fault = FaultOfRow(line, lineNumber);
        if (cutsLaterRows_) {
            strict_ = false;
        }
        return fault;
    }

  private:
    std::string FaultOfRow(const std::string& line, std::size_t lineNumber) {
        const auto fields = SplitAtTabs(line);
        if (fields.size() < kinds_.size()) {
            return fmt::format("has {}, not {}", Count(fields.size(), "field"), kinds_.size());
        }
        std::vector<double> numbers(kinds_.size());
        for (std::size_t i = 0; i < kinds_.size(); ++i) {
            std::string fault;
            if (kinds_[i] == 't') {
                fault = TextFault(fields[i], i);
            } else if (const auto number = NumberOf(fields[i])) {
                numbers[i] = *number;
                fault = NumberFault(*number, i);
            } else {
                fault = fmt::format("has no number in field {}", i + 1);
            }
            if (!fault.empty()) {
                return fault;
            }
        }
        return KeyFault(numbers, lineNumber);
    }

    std::string NumberFault(double number, std::size_t i) const {
        const StoredColumn* column = stored_[i];
        if (!strict_ || column == nullptr || HoldsNumber(*column, number)) {
            return "";
        }
        return fmt::format("has in field {} a number that {}, {}, does not hold", i + 1,
                           columns_[i], column->fullType);
    }

    std::string TextFault(const std::string& field, std::size_t i) const {
        const auto [text, endsInBackslash] =
            backslashes_ ? ReadBackslashes(field) : ReadText{field};
        if (endsInBackslash) {
            return fmt::format("has in field {} a text that ends in a backslash", i + 1);
        }
        const StoredColumn* column = stored_[i];
        if (!strict_ || column == nullptr || !column->length) {
            return "";
        }
        // White space at the end is cut off without an error.
        const std::string kept = text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
        if (DisplayWidth(kept) > *column->length) {
            return fmt::format("has in field {} a text longer than the {} characters of {}", i + 1,
                               *column->length, columns_[i]);
        }
        return IsAscii(text) || IsTextIn(connection_, column->charset, text)
                   ? ""
                   : fmt::format(
                         "has in field {} a text that is not in {}, the character set of {}", i + 1,
                         column->charset, columns_[i]);
    }

    std::string KeyFault(const std::vector<double>& numbers, std::size_t lineNumber) {
        if (key_.empty()) {
            return "";
        }
        std::vector<double> key;
        std::vector<std::string> names;
        for (const std::size_t i : key_) {
            key.push_back(numbers[i]);
            names.push_back(columns_[i]);
        }
        const auto [same, isNew] = lines_.emplace(key, lineNumber);
        return isNew ? ""
                     : fmt::format("has the same {} as line {}", fmt::join(names, ", "),
                                   same->second);
    }

    host::Connection& connection_;
    std::string_view kinds_;
    std::vector<std::string> columns_;
    std::vector<const StoredColumn*> stored_;  ///< likewise; null: not there
    std::vector<std::size_t> key_;             ///< the fields of the primary key
    std::map<std::vector<double>, std::size_t> lines_;
    bool strict_;
    bool backslashes_;
    bool cutsLaterRows_ = false;  ///< a strict mode ends the statement at its first row alone
};

/// Why a file or its folder may not be read; empty when it may, and when there is none.
std::string Locked(const std::filesystem::path& file) {
    std::error_code error;
    const auto type = std::filesystem::status(file, error).type();
    const bool isFolder = type == std::filesystem::file_type::none;
    if (isFolder || (type == std::filesystem::file_type::regular && !std::ifstream(file))) {
        return (isFolder ? file.parent_path() : file).string() + " cannot be read";
    }
    return "";
}

}  // namespace

void CheckDataFiles(const Session& session, const std::filesystem::path& installFolder,
                    const StoredTables& central, std::vector<CheckFinding>& findings) {
    host::Connection& connection = *session.GetConnection();
    const auto rows = connection.Query("SELECT @@global.max_allowed_packet;");
    const auto packet = rows->Next() ? std::stoull(rows->Get(0).ToText()) : 0;
    const std::string mode = SqlMode(connection);
    for (const DataFile& file : kDataFiles) {
        const auto path = installFolder / "resources" / (std::string(file.table) + "Data.txt");
        const std::string locked = Locked(path);
        if (!locked.empty()) {
            AddOnce({"", "", "ReimportReferenceData", locked, "give the right to read it"},
                    findings);
            continue;
        }
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(path, ignored)) {
            continue;  // no file is no error: the table keeps its rows
        }
        std::ifstream stream(path);
        Lines lines(connection, file, central, mode);
        std::size_t number = 0;
        std::uint64_t bytes = 0;
        bool hasRows = false;
        for (std::string line; std::getline(stream, line);) {
            ++number;
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            // Each field is joined by a comma and, for text, two quotes.
            bytes += line.size() + 2 * file.kinds.size() + 3;
            hasRows = hasRows || !line.empty();
            const std::string fault = line.empty() ? "" : lines.Fault(line, number);
            if (!fault.empty()) {
                findings.push_back({"tw_tarnwick", std::string(file.table), "ReimportReferenceData",
                                    fmt::format("{} line {} {}", path.string(), number, fault),
                                    "mend the line, or bring the file back from the package"});
            }
        }
        if (hasRows && IsStrict(mode)) {
            CheckInsert(connection, "tw_tarnwick", central, file.table, file.columns,
                        "ReimportReferenceData", findings);
        }
        if (bytes > packet) {
            findings.push_back(
                {"tw_tarnwick", std::string(file.table), "ReimportReferenceData",
                 fmt::format("{} makes one statement of about {} bytes, and the server takes {}",
                             path.string(), bytes, packet),
                 "raise max_allowed_packet on the server"});
        }
    }
}

}  // namespace twupdate::cli
