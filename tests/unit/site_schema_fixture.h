#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "support/recording_host.h"
#include "support/step_script.h"
#include "support/update_test_peer.h"

namespace twupdate::test {

/// What one step must send.
struct StepCase {
    std::string step;
    StepScript script;

    friend void PrintTo(const StepCase& stepCase, std::ostream* out) { *out << stepCase.step; }
};

/// Adds the cases of one source file of steps to the others.
struct StepCases {
    explicit StepCases(std::vector<StepCase> (*cases)());
};

/// All cases, in ladder order.
std::vector<StepCase> AllStepCases();

/// Site 7 at version 1.0000 on the recording host.
class SiteSchema : public ::testing::Test {
  protected:
    SiteSchema();
    ~SiteSchema() override;

    /// The tables that every site has.
    void MakeBareSite();
    /// All tables, and form 50 with the fields 1 float, 2 currency, 3 formlink to form 60,
    /// 4 multiformlink to 61, 6 productfamily to 62, and 5 file.
    void MakeFullSite();
    /// Runs every rung before the first one of that step.
    void UpgradeTo(const std::string& step);
    /// The same on a full site; remembers the states that it has been through, for speed.
    void MakeFullSiteBefore(const std::string& step) { MakeSiteBefore(step, true); }
    void MakeBareSiteBefore(const std::string& step) { MakeSiteBefore(step, false); }
    void Run(const std::string& step) { peer.RunSiteStep(step, 7); }
    /// Runs the step and gives the calls that it made.
    std::vector<std::string> LogOf(const std::string& step);
    /// Runs the step and gives the statements that change something.
    std::vector<std::string> ChangesOf(const std::string& step);

    Catalogue& Tables() { return host->catalogue; }
    /// Compares tables, columns in order, and indexes in any order.
    void ExpectSameTables(const Catalogue& expected);

    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
    Update update;
    UpdateTestPeer peer{update};

  private:
    void LoadLayout(const std::string& file);
    void AnswerWithForms();
    void MakeSiteBefore(const std::string& step, bool full);
};

}  // namespace twupdate::test
