#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <tuple>

#include "cli/check/check_finding.h"
#include "cli/check/step_needs.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

/// The rights that are spoken of, in the order in which they are listed.
constexpr std::array<std::string_view, 7> kRights{"SELECT", "INSERT", "UPDATE", "DELETE",
                                                  "CREATE", "DROP",   "ALTER"};

// --- what the user has ---------------------------------------------------------------------------

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

/// Orders patterns as the server does: those without "%" come first, then those that need more
/// characters, then those with fewer of any value.
std::tuple<bool, std::size_t, std::size_t> Generality(std::string_view pattern) {
    constexpr std::size_t kLongest = 1000;
    bool isOpen = false;
    std::size_t length = 0;
    std::size_t any = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%') {
            isOpen = true;
            continue;
        }
        ++length;
        if (pattern[i] == '_') {
            ++any;
        } else if (pattern[i] == '\\') {
            ++i;
        }
    }
    return {isOpen, isOpen ? kLongest - length : 0, any};
}

std::set<std::string> Words(const std::string& list) {
    const std::regex comma(", ");
    return {std::sregex_token_iterator(list.begin(), list.end(), comma, -1),
            std::sregex_token_iterator()};
}

struct Grant {
    std::set<std::string> rights;
    std::string pattern;  ///< of database names, with the wildcards of LIKE; "*" for all
    std::string table;    ///< "*" for all; then the pattern is a name
    /// The user, PUBLIC, or the role that is switched on, with those that were granted to it.
    enum class Grantee : std::uint8_t { kUser, kPublic, kRole } grantee = Grantee::kUser;

    bool Gives(std::string_view right) const {
        return rights.contains("ALL PRIVILEGES") || rights.contains(std::string(right));
    }
    bool IsGlobal() const { return pattern == "*"; }
};

/// The grants of a user, as the server adds them up.
class Grants {
  public:
    explicit Grants(std::vector<Grant> grants) : grants_(std::move(grants)) {
        std::stable_sort(grants_.begin(), grants_.end(), [](const Grant& a, const Grant& b) {
            return Generality(a.pattern) < Generality(b.pattern);
        });
    }

    bool Globally(std::string_view right) const {
        return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
            return grant.IsGlobal() && grant.Gives(right);
        });
    }

    /// Of several patterns of one grantee that fit a database the server takes the most special
    /// one alone.
    bool OnDatabase(const std::string& database, std::string_view right) const {
        std::map<Grant::Grantee, std::string> taken;
        return Globally(right) ||
               std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
                   if (grant.IsGlobal() || grant.table != "*" ||
                       !Matches(grant.pattern, database)) {
                       return false;
                   }
                   const auto& pattern = taken.emplace(grant.grantee, grant.pattern).first->second;
                   return pattern == grant.pattern && grant.Gives(right);
               });
    }

    bool OnTable(const std::string& database, const std::string& table,
                 std::string_view right) const {
        return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
            return grant.pattern == database && grant.table == table && grant.Gives(right);
        });
    }

    /// Whether anything is granted on a single table of the database.
    bool NamesTables(const std::string& database) const {
        return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
            return grant.pattern == database && grant.table != "*";
        });
    }

  private:
    std::vector<Grant> grants_;
};

Grant::Grantee GranteeOf(const std::string& name) {
    if (name == "PUBLIC" || name == "`PUBLIC`") {
        return Grant::Grantee::kPublic;
    }
    return name.find("`@`") == std::string::npos ? Grant::Grantee::kRole : Grant::Grantee::kUser;
}

/// Nothing when the server runs without grants.
std::optional<Grants> ReadGrants(host::Connection& connection) {
    constexpr std::uint32_t kRunsWithoutGrants = 1290;
    const std::regex form(
        R"(^GRANT (.*) ON (?:`([^`]*)`|(\*))\.(?:`([^`]*)`|\*) TO (`[^`]*`@`[^`]*`|\S*)(?: .*)?$)");
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
            // A right on columns, "UPDATE (`a`, `b`)", is none: a step adds columns to most tables.
            grants.push_back({Words(parts[1]), parts[3].matched ? "*" : parts[2].str(),
                              parts[4].matched ? parts[4].str() : "*", GranteeOf(parts[5])});
        }
    }
    return Grants(std::move(grants));
}

/// The rights in a database as the server itself tells of three of them. What is granted to
/// another account, to everybody or to the same name at another host, counts as well, or hides
/// what is granted to the user; SHOW GRANTS does not list it.
class TrueRights {
  public:
    TrueRights(host::Connection& connection, const Grants& grants, const std::string& database)
        : grants_(grants), database_(database) {
        if (grants.NamesTables(database)) {
            return;
        }
        const auto rows = connection.Query(
            fmt::format("SELECT privileges FROM information_schema.columns WHERE table_schema = "
                        "'{}' LIMIT 1;",
                        database));
        if (rows->Next()) {
            shown_ = "," + rows->Get(0).ToText() + ",";
        }
    }

    bool Has(std::string_view right, const std::string& table) const {
        if (shown_.empty() || AreGranted()) {
            return grants_.OnDatabase(database_, right) || grants_.OnTable(database_, table, right);
        }
        // The rest cannot be seen.
        return std::find(kShown.begin(), kShown.end(), right) == kShown.end() || Shows(right);
    }

  private:
    static constexpr std::array<std::string_view, 3> kShown{"SELECT", "INSERT", "UPDATE"};

    bool Shows(std::string_view right) const {
        return shown_.find("," + LowerCase(right) + ",") != std::string::npos;
    }
    bool AreGranted() const {
        return std::all_of(kShown.begin(), kShown.end(), [&](std::string_view right) {
            return Shows(right) == grants_.OnDatabase(database_, right);
        });
    }

    const Grants& grants_;
    const std::string& database_;
    std::string shown_;  ///< ",select,insert,"; empty when nothing tells
};

/// The rights that a user lacks in a database.
struct Lack {
    std::vector<std::string_view> rights;
    std::string table;  ///< at which the upgrade first needs one of them
    FirstNeed need;
};

Lack LackIn(host::Connection& connection, const Grants& grants, const std::string& database,
            const std::vector<PendingDatabase>& pending) {
    Needs needs = NeedsOf(connection, database, pending);
    const TrueRights rights(connection, grants, database);
    Lack lack;
    for (const std::string_view right : kRights) {
        bool isMissing = false;
        for (const auto& [table, need] : needs[right]) {
            if (rights.Has(right, table)) {
                continue;
            }
            isMissing = true;
            if (lack.table.empty() || need.IsBefore(lack.need)) {
                lack.table = table;
                lack.need = need;
            }
        }
        if (isMissing) {
            lack.rights.push_back(right);
        }
    }
    return lack;
}

}  // namespace

std::set<std::string> CheckRights(host::Connection& connection,
                                  const std::vector<PendingDatabase>& pending,
                                  std::vector<CheckFinding>& findings) {
    std::set<std::string> unreadable;
    const auto grants = ReadGrants(connection);
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
        const Lack lack = LackIn(connection, *grants, database.name, pending);
        if (lack.rights.empty()) {
            continue;
        }
        const std::string list = fmt::format("{}", fmt::join(lack.rights, ", "));
        findings.push_back({database.name, lack.table, lack.need.step,
                            "the user lacks the right " + list,
                            fmt::format("GRANT {} ON `{}`.* TO {}", list, database.name, account)});
        if (lack.rights.front() == "SELECT") {  // the first of every list
            unreadable.insert(database.name);
        }
    }
    return unreadable;
}

bool HasRight(host::Connection& connection, const std::string& database, std::string_view right) {
    const auto grants = ReadGrants(connection);
    return !grants || grants->OnDatabase(database, right);
}

bool HasGlobalRight(host::Connection& connection, std::string_view right) {
    const auto grants = ReadGrants(connection);
    return !grants || grants->Globally(right);
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
    const auto grants = ReadGrants(connection);
    return !grants || grants->Globally("READ_ONLY ADMIN") || grants->Globally("CONNECTION_ADMIN") ||
           (superSuffices && grants->Globally("SUPER"));
}

}  // namespace twupdate::cli
