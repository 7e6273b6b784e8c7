#include "cli/server/grants.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "cli/server/server_errors.h"
#include "cli/terminal/text.h"
#include "host/like.h"

namespace twupdate::cli {
namespace {

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

std::set<std::string> Words(std::string_view list) {
    constexpr std::string_view kBetween = ", ";
    std::set<std::string> words;
    for (;;) {
        const auto end = list.find(kBetween);
        words.emplace(list.substr(0, end));
        if (end == std::string_view::npos) {
            return words;
        }
        list.remove_prefix(end + kBetween.size());
    }
}

bool TakeText(std::string_view& line, std::string_view text) {
    const bool is = line.starts_with(text);
    line.remove_prefix(is ? text.size() : 0);
    return is;
}

/// Takes "*", or a name in backquotes.
std::optional<std::string> TakeName(std::string_view& line) {
    if (TakeText(line, "*")) {
        return "*";
    }
    const auto end = line.starts_with('`') ? line.find('`', 1) : std::string_view::npos;
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string name(line.substr(1, end - 1));
    line.remove_prefix(end + 1);
    return name;
}

/// @param line  from the name on
Grant::Grantee GranteeOf(std::string_view line) {
    std::string_view rest = line;
    if (TakeName(rest) && TakeText(rest, "@") && TakeName(rest)) {
        return Grant::Grantee::kUser;
    }
    const std::string_view name = line.substr(0, line.find(' '));
    return name == "PUBLIC" || name == "`PUBLIC`" ? Grant::Grantee::kPublic : Grant::Grantee::kRole;
}

/// What is behind " ON ".
std::optional<Grant> GrantOf(std::string_view privileges, std::string_view rest) {
    const auto pattern = TakeName(rest);
    if (!pattern || !TakeText(rest, ".")) {
        return std::nullopt;
    }
    const auto table = TakeName(rest);
    if (!table || !TakeText(rest, " TO ")) {
        return std::nullopt;
    }
    // A privilege on columns, "UPDATE (`a`, `b`)", is none: a step adds columns to most tables.
    return Grant{Words(privileges), *pattern, *table, GranteeOf(rest)};
}

}  // namespace

std::optional<Grant> Grant::Of(std::string_view line) {
    // Not by a regular expression: the standard ones recurse once per character, and a line may
    // name thousands of columns.
    constexpr std::string_view kOn = " ON ";
    if (!TakeText(line, "GRANT ")) {
        return std::nullopt;
    }
    // Names of columns and accounts may hold the same: of the last one that fits, nothing more is
    // granted than by the line.
    for (auto at = line.rfind(kOn); at != std::string_view::npos;
         at = at == 0 ? std::string_view::npos : line.rfind(kOn, at - 1)) {
        if (auto grant = GrantOf(line.substr(0, at), line.substr(at + kOn.size()))) {
            return grant;
        }
    }
    return std::nullopt;
}

bool Grant::Gives(std::string_view privilege) const {
    return privileges.contains("ALL PRIVILEGES") || privileges.contains(std::string(privilege));
}

Grants::Grants(std::vector<Grant> grants) : grants_(std::move(grants)) {
    std::stable_sort(grants_.begin(), grants_.end(), [](const Grant& a, const Grant& b) {
        return Generality(a.pattern) < Generality(b.pattern);
    });
}

std::optional<Grants> Grants::Of(host::Connection& connection) {
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
        if (auto grant = Grant::Of(rows->Get(0).ToText())) {
            grants.push_back(std::move(*grant));
        }
    }
    return Grants(std::move(grants));
}

bool Grants::Globally(std::string_view privilege) const {
    return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
        return grant.IsGlobal() && grant.Gives(privilege);
    });
}

bool Grants::OnDatabase(const std::string& database, std::string_view privilege) const {
    std::map<Grant::Grantee, std::string> taken;
    return Globally(privilege) ||
           std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
               if (grant.IsGlobal() || grant.table != "*" ||
                   !host::IsLike(database, grant.pattern, '\\')) {
                   return false;
               }
               const auto& pattern = taken.emplace(grant.grantee, grant.pattern).first->second;
               return pattern == grant.pattern && grant.Gives(privilege);
           });
}

bool Grants::OnTable(const std::string& database, const std::string& table,
                     std::string_view privilege) const {
    return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
        return grant.pattern == database && grant.table == table && grant.Gives(privilege);
    });
}

bool Grants::NamesTables(const std::string& database) const {
    return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
        return grant.pattern == database && grant.table != "*";
    });
}

EffectivePrivileges::EffectivePrivileges(host::Connection& connection, const Grants& grants,
                                         const std::string& database)
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

bool EffectivePrivileges::Has(std::string_view privilege, const std::string& table) const {
    if (shown_.empty() || AreGranted()) {
        return grants_.OnDatabase(database_, privilege) ||
               grants_.OnTable(database_, table, privilege);
    }
    // The rest cannot be seen.
    return std::find(kShown.begin(), kShown.end(), privilege) == kShown.end() || Shows(privilege);
}

bool EffectivePrivileges::Shows(std::string_view privilege) const {
    return shown_.find("," + LowerCase(privilege) + ",") != std::string::npos;
}

bool EffectivePrivileges::AreGranted() const {
    return std::all_of(kShown.begin(), kShown.end(), [&](std::string_view privilege) {
        return Shows(privilege) == grants_.OnDatabase(database_, privilege);
    });
}

bool HasPrivilege(host::Connection& connection, const std::string& database,
                  std::string_view privilege) {
    const auto grants = Grants::Of(connection);
    return !grants || grants->OnDatabase(database, privilege);
}

bool HasGlobalPrivilege(host::Connection& connection, std::string_view privilege) {
    const auto grants = Grants::Of(connection);
    return !grants || grants->Globally(privilege);
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
    const auto grants = Grants::Of(connection);
    return !grants || grants->Globally("READ_ONLY ADMIN") || grants->Globally("CONNECTION_ADMIN") ||
           (superSuffices && grants->Globally("SUPER"));
}

}  // namespace twupdate::cli
