#include <fmt/format.h>

#include <array>
#include <fstream>
#include <regex>
#include <set>

#include "cli/check_finding.h"
#include "cli/run_lock.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

constexpr std::array<std::string_view, 8> kRights{"SELECT", "INSERT", "UPDATE", "DELETE",
                                                  "CREATE", "DROP",   "ALTER",  "INDEX"};

struct Grant {
    std::set<std::string> rights;
    std::string pattern;  ///< of database names, with the wildcards of LIKE; "*" for all
};

/// LIKE as the server uses it for the databases of a grant.
bool Matches(std::string_view pattern, std::string_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern.front() == '%') {
        return Matches(pattern.substr(1), name) ||
               (!name.empty() && Matches(pattern, name.substr(1)));
    }
    const bool escaped = pattern.front() == '\\' && pattern.size() > 1;
    const char wanted = escaped ? pattern[1] : pattern.front();
    const bool any = !escaped && wanted == '_';
    return !name.empty() && (any || wanted == name.front()) &&
           Matches(pattern.substr(escaped ? 2 : 1), name.substr(1));
}

std::vector<Grant> Grants(host::Connection& connection) {
    // Rights on single tables or columns are not enough for a database that grows tables.
    const std::regex form(R"(^GRANT (.*) ON (?:`([^`]*)`|(\*))\.\* TO )");
    std::vector<Grant> grants;
    const auto rows = connection.Query("SHOW GRANTS;");
    while (rows->Next()) {
        const std::string text = rows->Get(0).ToText();
        std::smatch parts;
        if (!std::regex_search(text, parts, form)) {
            continue;
        }
        Grant grant;
        grant.pattern = parts[3].matched ? "*" : parts[2].str();
        const std::string list = parts[1].str();
        const std::regex comma(", ");
        for (std::sregex_token_iterator word(list.begin(), list.end(), comma, -1), end; word != end;
             ++word) {
            grant.rights.insert(word->str());
        }
        grants.push_back(std::move(grant));
    }
    return grants;
}

std::string MissingRights(const std::vector<Grant>& grants, const std::string& database) {
    std::string missing;
    for (const std::string_view right : kRights) {
        bool granted = false;
        for (const Grant& grant : grants) {
            granted = granted || ((grant.pattern == "*" || Matches(grant.pattern, database)) &&
                                  (grant.rights.contains("ALL PRIVILEGES") ||
                                   grant.rights.contains(std::string(right))));
        }
        if (!granted) {
            missing += (missing.empty() ? "" : ", ") + std::string(right);
        }
    }
    return missing;
}

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

std::string CheckFinding::Text() const {
    std::string where = database + (table.empty() ? "" : "." + table);
    where += where.empty() ? "" : ": ";
    const std::string then = step.empty() ? "" : ", so " + step + " fails";
    return where + problem + then + "; " + cure;
}

void CheckServer(const Session& session, const std::vector<std::string>& databases,
                 std::vector<CheckFinding>& findings) {
    host::Connection& connection = *session.GetConnection();
    const auto used = connection.Query(fmt::format("SELECT IS_USED_LOCK('{}');", RunLock::kName));
    if (used->Next() && !used->Get(0).IsNull()) {
        findings.push_back(
            {"", "", "",
             fmt::format("another run is in progress (connection {})", used->Get(0).ToText()),
             "wait for its end"});
    }
    const auto grants = Grants(connection);
    for (const std::string& database : databases) {
        const std::string missing = MissingRights(grants, database);
        if (!missing.empty()) {
            findings.push_back({database, "", "", "the user lacks the right " + missing,
                                fmt::format("GRANT {} ON `{}`.* to the user", missing, database)});
        }
    }
}

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
