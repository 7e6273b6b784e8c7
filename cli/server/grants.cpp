#include "cli/server/grants.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <regex>
#include <tuple>

#include "cli/server/server_errors.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

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

Grant::Grantee GranteeOf(const std::string& name) {
    if (name == "PUBLIC" || name == "`PUBLIC`") {
        return Grant::Grantee::kPublic;
    }
    return name.find("`@`") == std::string::npos ? Grant::Grantee::kRole : Grant::Grantee::kUser;
}

}  // namespace

bool Grant::Gives(std::string_view privilege) const {
    return privileges.contains("ALL PRIVILEGES") || privileges.contains(std::string(privilege));
}

Grants::Grants(std::vector<Grant> grants) : grants_(std::move(grants)) {
    std::stable_sort(grants_.begin(), grants_.end(), [](const Grant& a, const Grant& b) {
        return Generality(a.pattern) < Generality(b.pattern);
    });
}

std::optional<Grants> Grants::Of(host::Connection& connection) {
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
            // A privilege on columns, "UPDATE (`a`, `b`)", is none: a step adds columns to most
            // tables.
            grants.push_back({Words(parts[1]), parts[3].matched ? "*" : parts[2].str(),
                              parts[4].matched ? parts[4].str() : "*", GranteeOf(parts[5])});
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
               if (grant.IsGlobal() || grant.table != "*" || !Matches(grant.pattern, database)) {
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
