#pragma once

#include <string>
#include <vector>

#include "cli/server/layout.h"
#include "twupdate_host/catalogue.h"

namespace twupdate::cli {

/// What a database has beyond its layout.
struct BeyondLayout {
    std::vector<LayoutFinding> findings;  ///< what is left over, or refuses the platform's rows
    std::vector<std::string> notes;       ///< what is for its owner to decide
};

BeyondLayout FindBeyondLayout(const std::string& database, const Layout& expected,
                              const host::Catalogue::Database& actual);

}  // namespace twupdate::cli
