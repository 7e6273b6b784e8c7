#pragma once

#include <string>
#include <vector>

#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// InnoDB's default row format, and whether it refuses a table whose rows can become too long.
struct InnoDbSettings {
    std::string defaultRowFormat = "compact";  ///< of servers that have no setting for it
    bool strict = false;

    /// As the session has them.
    static InnoDbSettings Of(host::Connection& connection);
};

/// Lets a private server accept the tables of another one unchanged.
void PrepareForCopies(host::Connection& copy, const InnoDbSettings& settings);

/// Gives the tables of a copied database the row formats of the source, if these come from an
/// earlier default, and finally the source's strictness.
void FinishCopies(host::Connection& source, host::Connection& copy, const InnoDbSettings& settings,
                  const std::vector<std::string>& databases);

}  // namespace twupdate::cli
