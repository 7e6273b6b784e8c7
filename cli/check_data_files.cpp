#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <optional>

#include "cli/check_finding.h"
#include "cli/data_files.h"
#include "cli/stored_columns.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

constexpr std::string_view kDigits = "0123456789";

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
    const auto begin = std::min(field.find_first_not_of(' '), field.size());
    const auto end = field.find_last_not_of(' ') + 1;
    const std::string number = field.substr(begin, std::max(begin, end) - begin);
    const std::size_t sign = number.starts_with('+') || number.starts_with('-') ? 1 : 0;
    const auto point = std::min(number.find_first_not_of(kDigits, sign), number.size());
    const bool rest =
        point < number.size() &&
        (number[point] != '.' || number.find_first_not_of(kDigits, point + 1) != std::string::npos);
    if (point == sign || rest) {
        return std::nullopt;
    }
    return std::round(std::strtod(number.c_str(), nullptr));
}

/// False for a number that the column refuses. Doubles are exact for all but BIGINT.
bool Holds(const StoredColumn& column, double number) {
    static const std::map<std::string, int> bits{
        {"tinyint", 8}, {"smallint", 16}, {"mediumint", 24}, {"int", 32}};
    const auto found = bits.find(column.type);
    if (found == bits.end()) {
        return true;
    }
    const bool isUnsigned = column.fullType.find("unsigned") != std::string::npos;
    const double largest = std::exp2(isUnsigned ? found->second : found->second - 1) - 1;
    return number <= largest && number >= (isUnsigned ? 0 : -largest - 1);
}

/// A text as the server reads it between quotes.
struct ReadText {
    std::string text;
    bool endsInBackslash = false;  ///< the closing quote would belong to the text
};

ReadText ReadBackslashes(const std::string& field) {
    ReadText read;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\') {
            if (i + 1 == field.size()) {
                read.endsInBackslash = true;
                break;
            }
            ++i;
            if (field[i] == '%' || field[i] == '_') {
                read.text += '\\';  // these two pairs stay
            }
        }
        read.text += field[i];
    }
    return read;
}

/// The lines of one file, against the format and against the table.
class Lines {
  public:
    Lines(const DataFile& file, const StoredTables& stored, const std::string& sqlMode)
        : kinds_(file.kinds),
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

  private:
    std::string NumberFault(double number, std::size_t i) const {
        const StoredColumn* column = stored_[i];
        if (!strict_ || column == nullptr || Holds(*column, number)) {
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
        // Blanks at the end are cut off without an error.
        const std::string kept = text.substr(0, text.find_last_not_of(' ') + 1);
        return DisplayWidth(kept) <= *column->length
                   ? ""
                   : fmt::format("has in field {} a text longer than the {} characters of {}",
                                 i + 1, *column->length, columns_[i]);
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

    std::string_view kinds_;
    std::vector<std::string> columns_;
    std::vector<const StoredColumn*> stored_;  ///< likewise; null: not there
    std::vector<std::size_t> key_;             ///< the fields of the primary key
    std::map<std::vector<double>, std::size_t> lines_;
    bool strict_;
    bool backslashes_;
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
        Lines lines(file, central, SqlMode(connection));
        std::size_t number = 0;
        std::uint64_t bytes = 0;
        for (std::string line; std::getline(stream, line);) {
            ++number;
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            // Each field is joined by a comma and, for text, two quotes.
            bytes += line.size() + 2 * file.kinds.size() + 3;
            const std::string fault = line.empty() ? "" : lines.Fault(line, number);
            if (!fault.empty()) {
                findings.push_back({"tw_tarnwick", std::string(file.table), "ReimportReferenceData",
                                    fmt::format("{} line {} {}", path.string(), number, fault),
                                    "mend the line, or bring the file back from the package"});
            }
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
