#include "component/ladder_walk.h"
#include "component/ladders.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {

Boolean Update::RunSiteSchemaLadder(std::int32_t siteId, double version) {
    WalkLadder(Ladder::kSiteSchema, Ladders::kSiteSchema, SiteDatabase(siteId), version,
               [&](const Ladders::SiteSchemaRung& rung) {
                   if (const auto* step = std::get_if<Ladders::SiteStep>(&rung.step)) {
                       (this->**step)(siteId);
                   }
               });
    return kTrue;
}

void Update::RunSiteContentLadder(std::int32_t siteId, double version) {
    Boolean result = kFalse;  // some steps write it; nobody reads it
    WalkLadder(
        Ladder::kSiteContent, Ladders::kSiteContent, SiteDatabase(siteId), version,
        [&](const Ladders::SiteContentRung& rung) {
            if (const auto* step = std::get_if<Ladders::SiteStep>(&rung.step)) {
                (this->**step)(siteId);
            } else if (const auto* withResult = std::get_if<Ladders::SiteResultStep>(&rung.step)) {
                (this->**withResult)(siteId, result);
            }
        });
}

}  // namespace twupdate
