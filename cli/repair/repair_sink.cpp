#include "cli/repair/repair_sink.h"

#include <utility>

namespace twupdate::cli {

RepairSink::RepairSink(const Session& session, std::shared_ptr<ProgressMarks> marks,
                       Console& console)
    : session_(session), marks_(std::move(marks)), console_(console) {}

void RepairSink::LadderStarting(const Position& where, double version) {
    if (where.ladder != Ladder::kServer) {
        return;
    }
    Repair([&] {
        return where.database == "tw_tarnwick"
                   ? FindCentralRepairs(session_, *marks_, version)
                   : FindCopyRepairs(session_, *marks_, where.database, version);
    });
}

void RepairSink::SiteStarting(const Position& where, double version) {
    SiteRow site;
    site.siteId = *where.siteId;
    site.version = version;
    Repair([&] { return FindSiteRepairs(session_, *marks_, site); });
}

void RepairSink::Repair(const std::function<std::vector<RepairFinding>()>& find) {
    FindAndRepair(session_, *marks_, true, find, [this](const RepairFinding& finding) {
        if (finding.CanBeApplied()) {
            console_.Say("repaired: " + finding.Text());
        } else {
            console_.Warn("compare by hand: " + finding.Text());
        }
    });
}

}  // namespace twupdate::cli
