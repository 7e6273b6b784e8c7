#pragma once

#include <string>
#include <vector>

#include "twupdate_host/dry_host.h"

namespace twupdate::cli {

/// What an INSERT or UPDATE writes into which columns.
struct WrittenValues {
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;  ///< expressions; of VALUES there may be several
    /// What stands behind FROM in a SELECT of the same rows; empty for an INSERT of VALUES.
    std::string from;
};

/// Of another statement nothing.
WrittenValues ValuesOf(const host::DryStatement& statement);

}  // namespace twupdate::cli
