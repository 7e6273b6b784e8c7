#include "component/ladder_walk.h"
#include "component/ladders.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

Boolean Update::RunSiteSchemaLadder(std::int32_t siteId, double version) {
    WalkLadder(Ladder::kSiteSchema, Ladders::kSiteSchema, SiteDatabase(siteId), version, siteId);
    return kTrue;
}

void Update::RunSiteContentLadder(std::int32_t siteId, double version) {
    WalkLadder(Ladder::kSiteContent, Ladders::kSiteContent, SiteDatabase(siteId), version, siteId);
}

}  // namespace twupdate
