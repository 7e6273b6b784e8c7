#include "cli/server/root_site.h"

namespace twupdate::cli {

std::optional<std::int64_t> RootSite(Utility& utility) {
    const auto sites = utility.GetDatabase()->OpenRecordset(
        "SELECT siteid FROM tw_tarnwick.site WHERE parentsiteid = 0;", 0, 0);
    return sites->IsEOF() ? std::nullopt
                          : std::optional<std::int64_t>(
                                std::stoll(sites->Fields().Item("siteid").Value().ToText()));
}

}  // namespace twupdate::cli
