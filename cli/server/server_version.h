#pragma once

#include <string>

#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// The version of a server, and the features needed by an upgrade that not every version has.
class ServerVersion {
  public:
    /// @param version  as SELECT VERSION() gives it
    explicit ServerVersion(std::string version);
    static ServerVersion Of(host::Connection& connection);

    /// "10.11.19-MariaDB", "MySQL 5.6.24".
    std::string Name() const;
    bool IsMariaDb() const { return mariaDb_; }
    /// Of a dotted version as one number: 10.2.1 is 100201.
    int Number() const { return number_; }

    /// False: LONGTEXT DEFAULT '' is an error in a strict sql_mode, and otherwise a warning that
    /// the column has no default.
    bool TakesLongTextDefaults() const { return mariaDb_ && number_ >= 100201; }
    /// And silently: the rows stay unchanged.
    bool AddsColumnsInstantly() const { return mariaDb_ && number_ >= 100400; }
    /// False: a second GET_LOCK lets go of the first lock.
    bool HasSeveralLocksInASession() const { return number_ >= (mariaDb_ ? 100002 : 50705); }

  private:
    std::string text_;
    bool mariaDb_;
    int number_ = 0;
};

}  // namespace twupdate::cli
