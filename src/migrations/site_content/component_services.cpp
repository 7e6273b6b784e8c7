#include "twupdate/update.h"

namespace twupdate {

std::shared_ptr<Component> Update::ComponentDefinition(std::int32_t componentId) {
    return Host().GetComponentHost()->GetComponentList()->Item(componentId);
}

void Update::UpgradeSiteComponent(std::int32_t siteId, std::int32_t componentId) {
    Host().GetComponentHost()->UpgradeSiteComponent(siteId, ComponentDefinition(componentId));
}

void Update::RefreshSiteComponent(std::int32_t siteId, std::int32_t componentId) {
    Host().GetComponentHost()->RefreshSiteComponent(siteId, ComponentDefinition(componentId));
}

void Update::InitialiseSiteComponent(std::int32_t siteId, std::int32_t componentId) {
    Host().GetComponentHost()->InitialiseSiteComponent(siteId, ComponentDefinition(componentId));
}

void Update::ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) {
    Host().GetComponentHost()->ResetSiteComponent(siteId, componentId);
}

void Update::RenewComponentFiles(std::int32_t siteId, std::int32_t componentId) {
    Boolean result = kFalse;
    CopyComponentTemplate(siteId, *ComponentDefinition(componentId), true, result);
}

}  // namespace twupdate
