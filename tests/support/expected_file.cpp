#include "support/expected_file.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace twupdate::test {
namespace {

std::vector<std::string> ReadLines(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream) {
        throw std::runtime_error("cannot read " + file.string());
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

void WriteLines(const std::filesystem::path& file, const std::vector<std::string>& lines) {
    std::ofstream stream(file);
    for (const std::string& line : lines) {
        stream << line << '\n';
    }
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

std::string WithReplaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;
         at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

bool Counts(const std::string& line) {
    return !line.empty() && line[0] != '#';
}

/// What names the row of a line: "feature 3" of "feature 3: hidden (new) -> -1".
std::string RowOf(const std::string& line) {
    return line.substr(0, line.find(':'));
}

}  // namespace

bool IsRefreshing() {
    return std::getenv("TWUPDATE_REFRESH") != nullptr;
}

ExpectedLines::ExpectedLines(std::filesystem::path file,
                             std::map<std::string, std::string> placeholders)
    : file_(std::move(file)), placeholders_(std::move(placeholders)), text_(ReadLines(file_)) {
    std::ranges::copy_if(text_, std::back_inserter(lines_), Counts);
    for (std::string& line : lines_) {
        for (const auto& [placeholder, text] : placeholders_) {
            line = WithReplaced(line, placeholder, text);
        }
    }
}

testing::AssertionResult ExpectedLines::Are(std::vector<std::string> actual) const {
    auto expected = lines_;
    std::ranges::sort(expected);
    std::ranges::sort(actual);
    std::vector<std::string> missing;
    std::vector<std::string> surplus;
    std::ranges::set_difference(expected, actual, std::back_inserter(missing));
    std::ranges::set_difference(actual, expected, std::back_inserter(surplus));
    if (missing.empty() && surplus.empty()) {
        return testing::AssertionSuccess();
    }
    if (IsRefreshing()) {
        Write(std::move(missing), surplus);
        return testing::AssertionSuccess();
    }
    auto failure = testing::AssertionFailure() << file_.string();
    for (const std::string& line : missing) {
        failure << "\nexpected: " << line;
    }
    for (const std::string& line : surplus) {
        failure << "\nactual:   " << line;
    }
    return failure;
}

void ExpectedLines::Write(std::vector<std::string> missing,
                          const std::vector<std::string>& surplus) const {
    const auto withPlaceholders = [this](std::string line) {
        for (const auto& [placeholder, text] : placeholders_) {
            line = WithReplaced(line, text, placeholder);
        }
        return line;
    };
    auto added = surplus;
    std::vector<std::string> text;
    auto count = lines_.begin();
    for (const std::string& line : text_) {
        const std::string filled = Counts(line) ? *count++ : line;
        const auto gone = std::ranges::find(missing, filled);
        if (!Counts(line) || gone == missing.end()) {
            text.push_back(line);
            continue;
        }
        missing.erase(gone);
        const auto changed = std::ranges::find(added, RowOf(filled), RowOf);
        if (changed != added.end()) {
            text.push_back(withPlaceholders(*changed));
            added.erase(changed);
        }
    }
    std::ranges::transform(added, std::back_inserter(text), withPlaceholders);
    WriteLines(file_, text);
}

testing::AssertionResult IsSchemaOfFile(const std::filesystem::path& file, const Schema& actual) {
    if (IsRefreshing()) {
        const auto lines = ReadLines(file);
        const auto end = std::ranges::find_if(
            lines, [](const std::string& line) { return line.starts_with("table "); });
        std::vector<std::string> text(lines.begin(), end);
        text.push_back(actual.Text());
        text.back().pop_back();  // its last line break
        WriteLines(file, text);
    }
    return SameSchema(Schema::Load(file.string()), actual);
}

}  // namespace twupdate::test
