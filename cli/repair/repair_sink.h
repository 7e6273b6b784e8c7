#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "cli/repair/repair_finding.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// Repairs what interrupted steps have left in each database, before a run changes it.
class RepairSink final : public RunSink {
  public:
    RepairSink(const Session& session, std::shared_ptr<ProgressMarks> marks, Console& console);

    void LadderStarting(const Position& where, double version) override;
    void SiteStarting(const Position& where, double version) override;

  private:
    void Repair(const std::function<std::vector<RepairFinding>()>& find);

    const Session& session_;
    std::shared_ptr<ProgressMarks> marks_;
    Console& console_;
};

}  // namespace twupdate::cli
