#pragma once

#include <string_view>

namespace twupdate::cli {

/// central.txt, site.txt and logs.txt of cli/server/layouts, as they were when the program was
/// built.
extern const std::string_view kEmbeddedCentralLayout;
extern const std::string_view kEmbeddedSiteLayout;
extern const std::string_view kEmbeddedLogsLayout;

}  // namespace twupdate::cli
