#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// What one line of SHOW GRANTS gives.
struct Grant {
    std::set<std::string> privileges;
    std::string pattern;  ///< of database names, with the wildcards of LIKE; "*" for all
    std::string table;    ///< "*" for all; then the pattern is a name
    /// The user, PUBLIC, or the role that is switched on, with those that were granted to it.
    enum class Grantee : std::uint8_t { kUser, kPublic, kRole } grantee = Grantee::kUser;

    bool Gives(std::string_view privilege) const;
    bool IsGlobal() const { return pattern == "*"; }
};

/// The grants of a user, as the server adds them up.
class Grants {
  public:
    explicit Grants(std::vector<Grant> grants);

    /// Of the connection's user; nothing when the server runs without grants.
    static std::optional<Grants> Of(host::Connection& connection);

    bool Globally(std::string_view privilege) const;

    /// Of several patterns of one grantee that fit a database the server takes the most special
    /// one alone.
    bool OnDatabase(const std::string& database, std::string_view privilege) const;

    bool OnTable(const std::string& database, const std::string& table,
                 std::string_view privilege) const;

    /// Whether anything is granted on a single table of the database.
    bool NamesTables(const std::string& database) const;

  private:
    std::vector<Grant> grants_;
};

/// The privileges in a database as the server itself tells of three of them. What is granted to
/// another account, to everybody or to the same name at another host, counts as well, or hides
/// what is granted to the user; SHOW GRANTS does not list it.
class EffectivePrivileges {
  public:
    EffectivePrivileges(host::Connection& connection, const Grants& grants,
                        const std::string& database);

    bool Has(std::string_view privilege, const std::string& table) const;

  private:
    static constexpr std::array<std::string_view, 3> kShown{"SELECT", "INSERT", "UPDATE"};

    bool Shows(std::string_view privilege) const;
    bool AreGranted() const;

    const Grants& grants_;
    const std::string& database_;
    std::string shown_;  ///< ",select,insert,"; empty when nothing tells
};

/// Whether the user has a privilege in a database, by the same grants.
bool HasPrivilege(host::Connection& connection, const std::string& database,
                  std::string_view privilege);

/// Whether the user has a privilege that cannot be given for a single database; ALL PRIVILEGES on
/// any database does not hold it.
bool HasGlobalPrivilege(host::Connection& connection, std::string_view privilege);

/// Whether the user may read the procedures and functions of others.
bool MayReadRoutines(host::Connection& connection);

/// Whether the user may write on a server that is read_only.
/// @param superSuffices  as on servers before MariaDB 10.11
bool MayWriteReadOnly(host::Connection& connection, bool superSuffices);

}  // namespace twupdate::cli
