#pragma once

#include <set>
#include <string>
#include <string_view>

namespace twupdate::cli {

/// What a dump holds, as far as putting it back takes more than the rights on tables, and the names
/// of these. Takes the dump in pieces and keeps none of its rows.
class DumpContents {
  public:
    void Add(std::string_view bytes);

    /// Whether it is complete.
    bool IsWhole() const { return tail_.find(kEndMark) != std::string::npos; }
    /// Whether it is of that database.
    bool IsOf(const std::string& database) const { return databases_.contains(database); }
    const std::set<std::string>& Tables() const { return tables_; }
    /// "VIEW", "TRIGGER", "EVENT", "PROCEDURE", "FUNCTION" or "PACKAGE".
    bool Holds(const std::string& kind) const { return kinds_.contains(kind); }
    /// The accounts to which these belong, as the server quotes them: `night`@`localhost`; a role
    /// has no host.
    const std::set<std::string>& Definers() const { return definers_; }

  private:
    // What mariadb-dump writes at the end of a complete dump, and only then.
    static constexpr std::string_view kEndMark = "-- Dump completed";

    void TakeLine();

    std::string tail_;  ///< the last bytes
    std::string line_;  ///< the beginning of the current line
    bool inBody_ = false;
    std::set<std::string> databases_;
    std::set<std::string> tables_;
    std::set<std::string> kinds_;
    std::set<std::string> definers_;
};

}  // namespace twupdate::cli
