#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "twupdate/host.h"

namespace twupdate::sample {

/// How far a database has come. A ladder's steps up to its version have run.
struct Age {
    double schema = 1.0;   ///< the site schema ladder, or the first server run
    double content = 1.0;  ///< the site content ladder, or the second server run
};

/// Brings a site database that stands at 1.0000 to an older version than the current one, by the
/// component's own steps. The two ladders may stop at different versions: that is how an upgrade
/// leaves a site when it is interrupted between them.
///
/// The component always runs its ladders to their end. Here it runs on a host that plays deaf
/// while a step above the wanted version runs: such a step finds every query empty, and what it
/// executes, copies or asks of the platform's services goes nowhere. The services do nothing
/// for the other steps either: what they do is known to the platform alone.
///
/// Two content steps are left out at every version: SiteContentStep_1_0081 needs a column that
/// came later, and SiteContentStep_1_0223 writes into the central database, which may be older than
/// the site. Templates of a component that `tw_tarnwick.component` does not know are not copied.
/// @param host  a host with the site's database; its observer is not called
void BringSiteTo(const std::shared_ptr<Utility>& host, std::int32_t siteId, Age age);

/// Brings a central database that stands at 1.0000 to an older version, in the same way, and
/// records `age.schema` in its installation row. Sites are not touched.
void BringCentralTo(const std::shared_ptr<Utility>& host, Age age);

}  // namespace twupdate::sample
