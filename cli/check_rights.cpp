#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <regex>
#include <set>

#include "cli/check_finding.h"

namespace twupdate::cli {
namespace {

using Kind = PendingDatabase::Kind;

/// A right that the statements in a database need, as long as it is below a version.
struct Need {
    Kind kind;
    std::string_view right;
    double until;
    std::string_view table = {};  ///< needed only where this table is
};

constexpr std::array kNeeds{
    Need{Kind::kCentral, "SELECT", kCurrentVersion},
    Need{Kind::kCentral, "INSERT", 1.0263},  // the last import of reference data
    Need{Kind::kCentral, "UPDATE", kCurrentVersion},
    Need{Kind::kCentral, "DELETE", 1.0263},
    Need{Kind::kCentral, "CREATE", 1.0253},
    Need{Kind::kCentral, "ALTER", 1.0264},
    Need{Kind::kRecord, "SELECT", kCurrentVersion},
    Need{Kind::kRecord, "UPDATE", kCurrentVersion},
    Need{Kind::kLogs, "SELECT", 1.0030},
    Need{Kind::kLogs, "ALTER", 1.0030},
    Need{Kind::kRootSite, "SELECT", 1.0252},
    Need{Kind::kRootSite, "INSERT", 1.0252},
    Need{Kind::kSite, "SELECT", kCurrentVersion},
    Need{Kind::kSite, "INSERT", 1.0261},
    Need{Kind::kSite, "UPDATE", 1.0261},
    Need{Kind::kSite, "DELETE", 1.0261},
    Need{Kind::kSite, "CREATE", 1.0264},
    Need{Kind::kSite, "DROP", 1.0032, "formloadingproperty"},  // to rename it
    Need{Kind::kSite, "ALTER", 1.0264},
};

struct Grant {
    std::set<std::string> rights;
    std::string pattern;  ///< of database names, with the wildcards of LIKE; "*" for all
    std::string grantee;  ///< the user, a role that is switched on, or PUBLIC

    bool Gives(std::string_view right) const {
        return rights.contains("ALL PRIVILEGES") || rights.contains(std::string(right));
    }
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

std::set<std::string> Words(const std::string& list) {
    const std::regex comma(", ");
    return {std::sregex_token_iterator(list.begin(), list.end(), comma, -1),
            std::sregex_token_iterator()};
}

/// In the order of the server, which has the more special pattern first; nothing when the server
/// runs without grants.
std::optional<std::vector<Grant>> Grants(host::Connection& connection) {
    constexpr std::uint32_t kRunsWithoutGrants = 1290;
    // Rights on single tables or columns are not enough for a database that grows tables.
    const std::regex form(R"(^GRANT (.*) ON (?:`([^`]*)`|(\*))\.\* TO (.*?)(?: WITH .*)?$)");
    std::vector<Grant> grants;
    std::unique_ptr<host::Rows> rows;
    try {
        rows = connection.Query("SHOW GRANTS;");
    } catch (const HostError& error) {
        if (error.Code() == kRunsWithoutGrants) {
            return std::nullopt;
        }
        throw;
    }
    while (rows->Next()) {
        const std::string text = rows->Get(0).ToText();
        std::smatch parts;
        if (std::regex_search(text, parts, form)) {
            grants.push_back(
                {Words(parts[1]), parts[3].matched ? "*" : parts[2].str(), parts[4].str()});
        }
    }
    return grants;
}

/// Of several grants to one grantee that fit a database the server takes the first alone.
bool IsGranted(const std::vector<Grant>& grants, const std::string& database,
               std::string_view right) {
    std::set<std::string> seen;
    return std::any_of(grants.begin(), grants.end(), [&](const Grant& grant) {
        const bool everywhere = grant.pattern == "*";
        return (everywhere ||
                (Matches(grant.pattern, database) && seen.insert(grant.grantee).second)) &&
               grant.Gives(right);
    });
}

bool TableIsThere(host::Connection& connection, const std::string& database,
                  std::string_view table) {
    return connection
        .Query(fmt::format("SELECT 1 FROM information_schema.tables WHERE table_schema = '{}' AND "
                           "table_name = '{}';",
                           database, table))
        ->Next();
}

std::vector<std::string_view> MissingRights(host::Connection& connection,
                                            const std::vector<Grant>& grants,
                                            const std::string& database,
                                            const std::vector<PendingDatabase>& pending) {
    std::vector<std::string_view> missing;
    for (const Need& need : kNeeds) {
        const bool needed =
            std::any_of(pending.begin(), pending.end(), [&](const PendingDatabase& one) {
                return one.name == database && one.kind == need.kind &&
                       IsBelow(one.version, need.until);
            });
        const bool known = std::find(missing.begin(), missing.end(), need.right) != missing.end();
        if (needed && !known && !IsGranted(grants, database, need.right) &&
            (need.table.empty() || TableIsThere(connection, database, need.table))) {
            missing.push_back(need.right);
        }
    }
    return missing;
}

}  // namespace

std::set<std::string> CheckRights(host::Connection& connection,
                                  const std::vector<PendingDatabase>& pending,
                                  std::vector<CheckFinding>& findings) {
    std::set<std::string> unreadable;
    const auto grants = Grants(connection);
    if (!grants) {
        return unreadable;
    }
    const auto user = connection.Query(
        "SELECT CONCAT(QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', 1)), '@', "
        "QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', -1)));");
    const std::string account = user->Next() ? user->Get(0).ToText() : "CURRENT_USER()";
    std::set<std::string> seen;  // the root site may be one of the sites as well
    for (const PendingDatabase& database : pending) {
        if (!seen.insert(database.name).second) {
            continue;
        }
        const auto missing = MissingRights(connection, *grants, database.name, pending);
        if (missing.empty()) {
            continue;
        }
        const std::string list = fmt::format("{}", fmt::join(missing, ", "));
        findings.push_back({database.name, "", "", "the user lacks the right " + list,
                            fmt::format("GRANT {} ON `{}`.* TO {}", list, database.name, account)});
        if (missing.front() == "SELECT") {  // the first of every list
            unreadable.insert(database.name);
        }
    }
    return unreadable;
}

bool HasRight(host::Connection& connection, const std::string& database, std::string_view right) {
    const auto grants = Grants(connection);
    return !grants || IsGranted(*grants, database, right);
}

bool MayReadRoutines(host::Connection& connection) {
    try {
        connection.Query("SELECT 1 FROM mysql.proc LIMIT 1;");
        return true;
    } catch (const HostError&) {
        return false;
    }
}

bool MayWriteReadOnly(host::Connection& connection, bool superSuffices) {
    const auto grants = Grants(connection);
    return !grants || std::any_of(grants->begin(), grants->end(), [&](const Grant& grant) {
        return grant.pattern == "*" &&
               (grant.Gives("READ_ONLY ADMIN") || grant.Gives("CONNECTION_ADMIN") ||
                (superSuffices && grant.Gives("SUPER")));
    });
}

}  // namespace twupdate::cli
