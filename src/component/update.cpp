#include "twupdate/update.h"

#include <utility>

namespace twupdate {

Update::~Update() {
    ShutDown();
}

void Update::Configure(std::shared_ptr<Utility> utility) {
    p_oUtility = std::move(utility);
}

void Update::ShutDown() {
    p_oUtility.reset();
}

Boolean Update::UpdateImportMasterData(std::int32_t siteId, double version) {
    return siteId > 0 ? RunServerUpgrade(version, siteId) : kFalse;
}

Boolean Update::UpdateServer(double version) {
    return RunServerUpgrade(version, 0);
}

Boolean Update::UpdateSite(std::int32_t siteId, double version) {
    const auto observer = p_oUtility ? p_oUtility->GetObserver() : nullptr;
    if (observer) {
        observer->SiteStarting(siteId, version);
    }
    RunSiteSchemaLadder(siteId, version);
    RunSiteContentLadder(siteId, version);
    if (observer) {
        observer->SiteEnded(siteId);
    }
    return kTrue;
}

Utility& Update::Host() const {
    if (!p_oUtility) {
        throw NotConfiguredError();
    }
    return *p_oUtility;
}

void Update::Execute(const std::string& sql) {
    std::int64_t rowsAffected = 0;
    Host().GetDatabase()->Execute(sql, rowsAffected);
}

std::shared_ptr<Recordset> Update::OpenRecordset(const std::string& sql) {
    return Host().GetDatabase()->OpenRecordset(sql, 0, 0);
}

std::shared_ptr<Reader> Update::OpenReader(const std::string& sql) {
    return Host().GetDatabase()->OpenReader(sql);
}

std::int32_t Update::GetLastInsertId() {
    std::int32_t id = 0;
    Host().GetDatabase()->GetLastInsertId(id);
    return id;
}

}  // namespace twupdate
