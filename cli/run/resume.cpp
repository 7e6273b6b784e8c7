#include "cli/run/resume.h"

#include <fmt/format.h>

#include "cli/terminal/text.h"

namespace twupdate::cli {

std::vector<SiteRow> SetResumeVersions(const ProgressMarks& marks, std::vector<SiteRow>& sites,
                                       Console& console) {
    std::vector<SiteRow> resumed;
    for (SiteRow& site : sites) {
        const std::string database = fmt::format("tw_{}", site.siteId);
        const double version = marks.ResumeVersion(database, *site.version);
        if (version > *site.version) {
            console.Say(fmt::format("{}: goes on at {}, which an earlier run has come to", database,
                                    VersionText(version)));
            site.version = version;
            resumed.push_back(site);
        }
    }
    return resumed;
}

void UpgradeResumed(Update& update, Utility& host, ProgressMarks& marks,
                    const std::vector<SiteRow>& sites) {
    for (const SiteRow& site : sites) {
        update.UpdateSite(static_cast<std::int32_t>(site.siteId), *site.version);
        RecordVersion(host, site.siteId);
        marks.Recorded(fmt::format("tw_{}", site.siteId), Ladder::kSiteSchema,
                       Ladder::kSiteContent);
    }
}

void RecordVersion(Utility& host, std::int64_t siteId) {
    const auto command = host.GetCommandFactory()->NewCommand();
    command->AddParameter(kCurrentVersion);
    command->SetText(
        fmt::format("UPDATE tw_tarnwick.site SET version = ? WHERE siteid = {};", siteId));
    std::int64_t rowsAffected = 0;
    command->ExecuteCommand(host.GetDatabase(), rowsAffected);
    command->CloseCommand();
}

}  // namespace twupdate::cli
