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

/// What one line of SHOW GRANTS grants.
struct Grant {
    std::set<std::string> privileges;
    std::string pattern;  ///< of database names, with the wildcards of LIKE; "*" for all
    std::string table;    ///< "*" for all; then the pattern is a name
    /// The account, PUBLIC, or the active role, with the roles granted to it.
    enum class Grantee : std::uint8_t { kUser, kPublic, kRole } grantee = Grantee::kUser;

    /// Reads a line; nothing for one that grants no privilege on databases or tables, such as a
    /// role.
    static std::optional<Grant> Of(std::string_view line);

    bool Gives(std::string_view privilege) const;
    bool IsGlobal() const { return pattern == "*"; }
};

/// The grants of an account, as the server combines them.
class Grants {
  public:
    explicit Grants(std::vector<Grant> grants);

    /// Of the connection's account; nothing if the server runs without grants.
    static std::optional<Grants> Of(host::Connection& connection);

    bool Globally(std::string_view privilege) const;

    /// If several patterns of one grantee match a database, the server uses only the most specific
    /// one.
    bool OnDatabase(const std::string& database, std::string_view privilege) const;

    bool OnTable(const std::string& database, const std::string& table,
                 std::string_view privilege) const;

    /// Whether anything is granted on a single table of the database.
    bool NamesTables(const std::string& database) const;

  private:
    std::vector<Grant> grants_;
};

/// The privileges in a database, three of them as the server itself reports them. Grants to another
/// account, to everybody or to the same name at another host count as well, or hide those of the
/// account; SHOW GRANTS does not list them.
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
    std::string shown_;  ///< ",select,insert,"; empty if unknown
};

/// Whether the account has a privilege in a database, by the same grants.
bool HasPrivilege(host::Connection& connection, const std::string& database,
                  std::string_view privilege);

/// Whether the account has a privilege that cannot be granted on a single database; ALL PRIVILEGES
/// on a database does not include it.
bool HasGlobalPrivilege(host::Connection& connection, std::string_view privilege);

/// Whether the account may read the procedures and functions of others.
bool MayReadRoutines(host::Connection& connection);

/// Whether the account may write on a read_only server.
/// @param superSuffices  as on servers before MariaDB 10.11
bool MayWriteReadOnly(host::Connection& connection, bool superSuffices);

}  // namespace twupdate::cli
