#include <fmt/format.h>

#include <array>
#include <fstream>
#include <regex>

#include "cli/check_finding.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

struct DataFile {
    std::string_view table;
    std::string_view kinds;  ///< a letter for each column: n number, t text
};

// What the central ladder imports; the other files are for the creation alone.
constexpr std::array kDataFiles{DataFile{"component", "ntttnnnnnnnnn"},
                                DataFile{"componenttype", "nn"}};

/// What is wrong with a line; empty when nothing is.
std::string Fault(const std::string& line, const DataFile& file) {
    static const std::regex number(R"([-+]?\d+(\.\d*)?)");
    std::vector<std::string> fields;
    std::size_t begin = 0;
    for (std::size_t tab = 0; tab != std::string::npos; begin = tab + 1) {
        tab = line.find('\t', begin);
        fields.push_back(line.substr(begin, tab - begin));
    }
    if (fields.size() < file.kinds.size()) {
        return fmt::format("has {}, not {}", Count(fields.size(), "field"), file.kinds.size());
    }
    for (std::size_t i = 0; i < file.kinds.size(); ++i) {
        if (file.kinds[i] == 'n' && !std::regex_match(fields[i], number)) {
            return fmt::format("has no number in field {}", i + 1);
        }
    }
    return "";
}

}  // namespace

void CheckDataFiles(const Session& session, const std::filesystem::path& installFolder,
                    std::vector<CheckFinding>& findings) {
    const auto rows = session.GetConnection()->Query("SELECT @@global.max_allowed_packet;");
    const auto packet = rows->Next() ? std::stoull(rows->Get(0).ToText()) : 0;
    for (const DataFile& file : kDataFiles) {
        const auto path = installFolder / "resources" / (std::string(file.table) + "Data.txt");
        std::ifstream stream(path);
        if (!stream) {
            continue;  // no file is no error: the table keeps its rows
        }
        std::size_t number = 0;
        std::uint64_t bytes = 0;
        for (std::string line; std::getline(stream, line);) {
            ++number;
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            // Each field is joined by a comma and, for text, two quotes.
            bytes += line.size() + 2 * file.kinds.size() + 3;
            const std::string fault = line.empty() ? "" : Fault(line, file);
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
