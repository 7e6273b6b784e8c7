#pragma once

#include <string_view>

namespace twupdate::cli {

/// cli/layouts/central.txt and site.txt, as they were when the program was built.
extern const std::string_view kEmbeddedCentralLayout;
extern const std::string_view kEmbeddedSiteLayout;

}  // namespace twupdate::cli
