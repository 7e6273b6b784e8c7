#include "sample/installation.h"

#include <stdexcept>

#include "sample/rows.h"
#include "sample/shared_folder.h"

namespace twupdate::sample {
namespace {

/// The kinds of sites, in turn. Versions at which features came or changed: 1.0007 charges, 1.0054
/// addresses, 1.0210 to 1.0233 lookup feeds, 1.0235 feed files.
SitePlan KindOfSite(std::int32_t kind) {
    SitePlan plan;
    const auto at = [&](double version) {
        plan.age = {version, version};
        plan.recordedVersion = version;
    };
    switch (kind) {
        case 0:  // every feature, never upgraded
            plan.groups = AllGroups();
            break;
        case 1:  // its last upgrade was interrupted between the two ladders
            plan.groups = {Group::kForms, Group::kTemplates, Group::kShop, Group::kCharges,
                           Group::kAffiliates};
            plan.age = {1.0054, 1.0050};
            plan.recordedVersion = 1.0050;
            break;
        case 2:  // every feature, lookup feeds before they got tables of their own
            plan.groups = AllGroups();
            at(1.0210);
            break;
        case 3:
            plan.groups = {Group::kForum};
            at(1.0060);
            plan.deleted = true;
            plan.hardDeleted = true;
            plan.hasDomains = false;
            break;
        case 4:
            at(1.0090);
            plan.inTransaction = true;
            plan.hasLog = false;
            break;
        case 5:  // no optional feature, never upgraded
            break;
        case 6:
            plan.groups = {Group::kForms, Group::kTemplates, Group::kOAuth};
            at(1.0236);
            break;
        case 7:
            plan.groups = AllGroups();
            at(1.0250);
            plan.isTemplate = true;
            break;
        case 8:  // current
            plan.groups = {Group::kForum};
            at(kCurrentVersion);
            break;
        default:  // in the bin
            plan.groups = {Group::kForum, Group::kOAuth};
            at(1.0020);
            plan.deleted = true;
            plan.isTemplate = true;
            plan.hasDomains = false;
            plan.hasLog = false;
            break;
    }
    return plan;
}

/// Before anything is written: the files of an installation would be overwritten.
void RefuseAnInstallation(Utility& host) {
    const auto rows =
        host.GetDatabase()->OpenRecordset("SHOW DATABASES LIKE 'tw\\_tarnwick';", 0, 0);
    if (!rows->IsEOF()) {
        throw std::runtime_error(
            "the server already has an installation, the database tw_tarnwick; a sample needs a "
            "server without one");
    }
}

}  // namespace

std::filesystem::path InstallationOptions::DefaultRowFolder() {
    return SharedFolder("sample-rows", TWUPDATE_ROW_FOLDER);
}

std::filesystem::path InstallationOptions::DefaultResourceFolder() {
    return SharedFolder("resources", TWUPDATE_RESOURCE_FOLDER);
}

std::vector<SitePlan> PlanSites(std::int32_t count) {
    constexpr std::int32_t kKinds = 10;
    std::vector<SitePlan> sites;
    for (std::int32_t siteId = 1; siteId <= count; ++siteId) {
        SitePlan plan = KindOfSite((siteId - 1) % kKinds);
        plan.siteId = siteId;
        sites.push_back(std::move(plan));
    }
    return sites;
}

void MakeInstallation(const std::shared_ptr<Utility>& host, const InstallationOptions& options) {
    const auto sites = PlanSites(options.sites);
    RefuseAnInstallation(*host);
    if (!options.root.empty()) {
        WriteFiles(options, sites);
    }
    MakeCentral(host, options, sites);
    std::size_t number = 0;
    for (const SitePlan& plan : sites) {
        if (options.siteStarting) {
            options.siteStarting(++number, sites.size());
        }
        MakeSite(host, options, plan);
    }
}

void MakeSite(const std::shared_ptr<Utility>& host, const InstallationOptions& options,
              const SitePlan& plan) {
    const Layouts layouts(options.layoutFolder);
    Run(*host, layouts.Site(plan.siteId, plan.groups));
    AddSiteRows(*host, options, layouts, plan);
    if (plan.age.schema > 1.0 || plan.age.content > 1.0) {
        BringSiteTo(host, plan.siteId, plan.age);
        AddLaterSiteRows(*host, options, plan);
    }
    if (plan.hasLog) {
        Run(*host, layouts.Logs(plan.siteId));
        AddLogRows(*host, options, plan);
    }
}

void MakeCentral(const std::shared_ptr<Utility>& host, const InstallationOptions& options,
                 const std::vector<SitePlan>& sites) {
    Run(*host, Layouts(options.layoutFolder).Central());
    AddCentralRows(*host, options, sites);
}

}  // namespace twupdate::sample
