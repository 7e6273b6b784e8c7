#pragma once

#include <string>
#include <vector>

#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// What InnoDB gives a table that names no row format, and whether it refuses one whose rows can
/// become too long.
struct InnoDbSettings {
    std::string defaultRowFormat = "compact";  ///< of servers that have no setting for it
    bool strict = false;

    /// As the session has them.
    static InnoDbSettings Of(host::Connection& connection);
};

/// Lets a private server take the tables of another one as they are.
void PrepareForCopies(host::Connection& copy, const InnoDbSettings& settings);

/// Gives the tables of a copied database the row formats of the source, where they come from a
/// default that is not the one of now, and with all of them there the source's strictness.
void FinishCopies(host::Connection& source, host::Connection& copy, const InnoDbSettings& settings,
                  const std::vector<std::string>& databases);

}  // namespace twupdate::cli
